#include "jet/base/decimal.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "jet/base/error.h"

namespace jet {
namespace {

using u128 = unsigned __int128;
constexpr u128 kMaxMagnitude = (static_cast<u128>(1) << 96) - 1;
constexpr int kMaxScale = 28;

[[noreturn]] void field_overflow() { throw Error(ErrorCode::NumericFieldOverflow); }
[[noreturn]] void decimal_overflow() { throw Error(ErrorCode::Overflow); }

// One decimal dropped, half away from zero.
void drop_digit(Decimal& d) {
  const auto rest = static_cast<unsigned>(d.magnitude % 10);
  d.magnitude /= 10;
  if (rest >= 5) ++d.magnitude;
  --d.scale;
}

// Trailing zeros after the point removed: 5.50 and 5.5 are one value.
Decimal normalized(Decimal d) {
  while (d.scale > 0 && d.magnitude % 10 == 0) {
    d.magnitude /= 10;
    --d.scale;
  }
  if (d.magnitude == 0) d.negative = false;
  return d;
}

// `d` with `scale` decimals, false when the magnitude would pass 96 bits.
bool raise_scale(Decimal& d, int scale) {
  while (d.scale < scale) {
    if (d.magnitude > kMaxMagnitude / 10) return false;
    d.magnitude *= 10;
    ++d.scale;
  }
  return true;
}

// A result whose magnitude may pass 96 bits: decimals dropped until it fits.
Decimal fitted(bool negative, u128 magnitude, int scale) {
  Decimal d;
  d.negative = negative;
  d.magnitude = magnitude;
  int s = scale;  // may pass 255 for a product: kept apart from the stored scale
  while (d.magnitude > kMaxMagnitude || s > kMaxScale) {
    if (s == 0) decimal_overflow();
    d.scale = 1;
    drop_digit(d);
    --s;
  }
  d.scale = static_cast<std::uint8_t>(s);
  return normalized(d);
}

Decimal signed_sum(const Decimal& a, const Decimal& b) {
  Decimal x = a, y = b;
  const int scale = std::max(x.scale, y.scale);
  // Aligning may pass 96 bits; then the finer operand loses its last decimals instead.
  int target = scale;
  while (!(raise_scale(x, target) && raise_scale(y, target))) {
    x = a, y = b;
    --target;
    while (x.scale > target) drop_digit(x);
    while (y.scale > target) drop_digit(y);
  }
  if (x.negative == y.negative) return fitted(x.negative, x.magnitude + y.magnitude, target);
  if (x.magnitude >= y.magnitude) return fitted(x.negative, x.magnitude - y.magnitude, target);
  return fitted(y.negative, y.magnitude - x.magnitude, target);
}

}  // namespace

std::optional<Decimal> decimal_from_text(std::string_view text) {
  std::size_t i = 0, end = text.size();
  while (i < end && (text[i] == ' ' || text[i] == '\t')) ++i;
  while (end > i && (text[end - 1] == ' ' || text[end - 1] == '\t')) --end;
  Decimal d;
  if (i < end && (text[i] == '+' || text[i] == '-')) d.negative = text[i++] == '-';
  bool digits = false, point = false, rounded = false;
  int scale = 0;
  for (; i < end; ++i) {
    const char c = text[i];
    if (c >= '0' && c <= '9') {
      digits = true;
      if (rounded) continue;  // decimals past the 28th
      const auto digit = static_cast<unsigned>(c - '0');
      if (d.magnitude > (kMaxMagnitude - digit) / 10 || (point && scale == kMaxScale)) {
        // No room for this digit: a decimal rounds the value, a whole digit overflows it.
        if (!point) field_overflow();
        if (c >= '5') ++d.magnitude;
        rounded = true;
        continue;
      }
      d.magnitude = d.magnitude * 10 + digit;
      if (point) ++scale;
    } else if ((c == '.' || c == ',') && !point) {
      point = true;
    } else {
      break;
    }
  }
  if (!digits) return std::nullopt;
  int exponent = 0;
  if (i < end && (text[i] == 'E' || text[i] == 'e')) {
    ++i;
    bool minus = false;
    if (i < end && (text[i] == '+' || text[i] == '-')) minus = text[i++] == '-';
    bool exp_digits = false;
    for (; i < end && text[i] >= '0' && text[i] <= '9'; ++i) {
      exp_digits = true;
      if (exponent < 1000) exponent = exponent * 10 + (text[i] - '0');
    }
    if (!exp_digits) return std::nullopt;
    if (minus) exponent = -exponent;
  }
  if (i != end) return std::nullopt;
  scale -= exponent;
  if (scale < 0) {
    d.scale = 0;
    Decimal whole = d;
    if (!raise_scale(whole, -scale)) field_overflow();
    whole.scale = 0;
    return normalized(whole);
  }
  if (scale > kMaxScale + 40) return Decimal{};  // far below the smallest decimal: zero
  d.scale = static_cast<std::uint8_t>(scale);
  while (d.scale > 0 && (d.scale > kMaxScale || d.magnitude > kMaxMagnitude)) drop_digit(d);
  if (d.magnitude > kMaxMagnitude) field_overflow();
  return normalized(d);
}

Decimal decimal_from_double(double value, int significant) {
  if (!std::isfinite(value)) field_overflow();
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*e", significant - 1, value);
  return *decimal_from_text(buf);
}

Decimal decimal_of(const Value& value) {
  switch (value.kind()) {
    case ValueKind::Decimal: return value.as_decimal();
    case ValueKind::Boolean: case ValueKind::Byte: case ValueKind::Integer: case ValueKind::Long: {
      const std::int64_t n = value.to_int64();
      Decimal d;
      d.negative = n < 0;
      d.magnitude = static_cast<u128>(n < 0 ? -n : n);
      return d;
    }
    case ValueKind::Currency: {
      const std::int64_t c = value.as_currency();
      Decimal d;
      d.negative = c < 0;
      d.magnitude = c < 0 ? static_cast<u128>(-(c + 1)) + 1 : static_cast<u128>(c);
      d.scale = 4;
      return normalized(d);
    }
    case ValueKind::Single: return decimal_from_double(value.as_single(), 7);
    case ValueKind::Double: case ValueKind::Date: return decimal_from_double(value.to_double(), 15);
    default: throw Error(ErrorCode::TypeMismatch);
  }
}

Decimal fit_decimal(const Decimal& value, int precision, int scale) {
  Decimal d = value;
  while (d.scale > scale) drop_digit(d);
  if (!raise_scale(d, scale)) field_overflow();
  u128 limit = 1;
  for (int i = 0; i < precision; ++i) limit *= 10;
  if (precision > 0 && d.magnitude >= limit) field_overflow();
  if (d.magnitude == 0) d.negative = false;
  return d;
}

Decimal decimal_add(const Decimal& a, const Decimal& b) { return signed_sum(a, b); }

Decimal decimal_subtract(const Decimal& a, const Decimal& b) {
  Decimal negated = b;
  negated.negative = !b.negative;
  return signed_sum(a, negated);
}

Decimal decimal_multiply(const Decimal& a, const Decimal& b) {
  u128 product = 0;
  if (__builtin_mul_overflow(a.magnitude, b.magnitude, &product)) {
    // Past 128 bits: multiply with the decimals of the finer operand cut first.
    Decimal x = a, y = b;
    while (__builtin_mul_overflow(x.magnitude, y.magnitude, &product)) {
      Decimal& finer = x.scale >= y.scale ? x : y;
      if (finer.scale == 0) decimal_overflow();
      drop_digit(finer);
    }
    return fitted(a.negative != b.negative, product, x.scale + y.scale);
  }
  return fitted(a.negative != b.negative, product, a.scale + b.scale);
}

std::int64_t currency_of_decimal(const Decimal& value) {
  Decimal d = value;
  bool dropped_nonzero = false;  // digits below the rounding one, for half to even
  while (d.scale > 4) {
    const auto rest = static_cast<unsigned>(d.magnitude % 10);
    d.magnitude /= 10;
    --d.scale;
    if (d.scale > 4) {
      dropped_nonzero = dropped_nonzero || rest != 0;
    } else if (rest > 5 || (rest == 5 && (dropped_nonzero || d.magnitude % 2 == 1))) {
      ++d.magnitude;  // half to even, as Automation converts to Currency
    }
  }
  if (!raise_scale(d, 4) || d.magnitude > static_cast<u128>(std::numeric_limits<std::int64_t>::max())) decimal_overflow();
  const auto n = static_cast<std::int64_t>(d.magnitude);
  return d.negative ? -n : n;
}

}  // namespace jet
