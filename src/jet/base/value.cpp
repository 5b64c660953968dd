#include "jet/base/value.h"

#include <cmath>
#include <cstdio>
#include <ctime>

#include "jet/base/error.h"

namespace jet {
namespace {

[[noreturn]] void value_type_mismatch() { throw Error(ErrorCode::TypeMismatch); }

template <class T, class D>
const T& checked(const D& data) {
  if (auto* p = std::get_if<T>(&data)) return *p;
  value_type_mismatch();
}

// Round half to even, as VB's CLng/CInt do.
std::int64_t bankers_round(double x) {
  if (!std::isfinite(x) || x >= 9.2e18 || x <= -9.2e18) throw Error(ErrorCode::Overflow);
  double r = std::nearbyint(x);  // default rounding mode is to-nearest-even
  return static_cast<std::int64_t>(r);
}

}  // namespace

std::string Decimal::to_string() const {
  std::string digits;
  unsigned __int128 m = magnitude;
  do {
    digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(m % 10)));
    m /= 10;
  } while (m != 0);
  if (scale > 0) {
    while (digits.size() <= scale) digits.insert(digits.begin(), '0');
    digits.insert(digits.end() - scale, '.');
  }
  if (negative && magnitude != 0) digits.insert(digits.begin(), '-');
  return digits;
}

double Decimal::to_double() const {
  double v = static_cast<double>(magnitude);
  for (int i = 0; i < scale; ++i) v /= 10.0;
  return negative ? -v : v;
}

std::string Guid::to_string() const {
  const auto& b = bytes;
  char out[40];
  std::snprintf(out, sizeof out,
                "{%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X}", b[3],
                b[2], b[1], b[0], b[5], b[4], b[7], b[6], b[8], b[9], b[10], b[11], b[12], b[13],
                b[14], b[15]);
  return out;
}

bool Value::is_numeric() const noexcept {
  switch (kind()) {
    case ValueKind::Boolean: case ValueKind::Byte: case ValueKind::Integer:
    case ValueKind::Long: case ValueKind::Currency: case ValueKind::Single:
    case ValueKind::Double: case ValueKind::Date: case ValueKind::Decimal:
      return true;
    default:
      return false;
  }
}

bool Value::as_boolean() const { return checked<bool>(data_); }
std::uint8_t Value::as_byte() const { return checked<std::uint8_t>(data_); }
std::int16_t Value::as_integer() const { return checked<std::int16_t>(data_); }
std::int32_t Value::as_long() const { return checked<std::int32_t>(data_); }
std::int64_t Value::as_currency() const { return checked<CurrencyTag>(data_).ten_thousandths; }
float Value::as_single() const { return checked<float>(data_); }
double Value::as_double() const { return checked<double>(data_); }
double Value::as_date() const { return checked<DateTag>(data_).days; }
const std::string& Value::as_text() const { return checked<std::string>(data_); }

std::string& Value::assign_text() {
  if (auto* text = std::get_if<std::string>(&data_)) {
    text->clear();
    return *text;
  }
  return data_.emplace<std::string>();
}
const std::vector<std::uint8_t>& Value::as_binary() const {
  return get<std::vector<std::uint8_t>>(data_);
}
const Guid& Value::as_guid() const { return checked<Guid>(data_); }
const Decimal& Value::as_decimal() const { return checked<Decimal>(data_); }

double Value::to_double() const {
  switch (kind()) {
    case ValueKind::Boolean: return as_boolean() ? -1.0 : 0.0;
    case ValueKind::Byte: return as_byte();
    case ValueKind::Integer: return as_integer();
    case ValueKind::Long: return as_long();
    case ValueKind::Currency: return static_cast<double>(as_currency()) / 10000.0;
    case ValueKind::Single: return as_single();
    case ValueKind::Double: return as_double();
    case ValueKind::Date: return as_date();
    case ValueKind::Decimal: return as_decimal().to_double();
    default: value_type_mismatch();
  }
}

std::int64_t Value::to_int64() const {
  switch (kind()) {
    case ValueKind::Boolean: return as_boolean() ? -1 : 0;
    case ValueKind::Byte: return as_byte();
    case ValueKind::Integer: return as_integer();
    case ValueKind::Long: return as_long();
    default: return bankers_round(to_double());
  }
}

namespace {

// Civil date from a day count since 1970-01-01 (proleptic Gregorian).
void civil_from_days(std::int64_t z, int& y, unsigned& m, unsigned& d) {
  z += 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const unsigned doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  d = doy - (153 * mp + 2) / 5 + 1;
  m = mp < 10 ? mp + 3 : mp - 9;
  y = static_cast<int>(yoe + era * 400 + (m <= 2));
}

}  // namespace

void civil_date(std::int64_t days, int& year, unsigned& month, unsigned& day) {
  civil_from_days(days, year, month, day);
}

// Jet dates count days from 1899-12-30; before that day the fraction is still the time of
// day (the value -1.25 is 1899-12-29 06:00), which is why the integer and fractional parts
// are taken apart on their absolute values.
std::string format_date_time(double days) {
  if (!std::isfinite(days) || std::fabs(days) > 3.0e6) return "#invalid date#";
  double whole = std::trunc(days);
  double frac = std::fabs(days - whole);
  auto seconds = static_cast<std::int64_t>(std::llround(frac * 86400.0));
  auto day = static_cast<std::int64_t>(whole);
  if (seconds >= 86400) { seconds -= 86400; day += days < 0 ? -1 : 1; }
  int y; unsigned m, d;
  civil_from_days(day - 25569, y, m, d);
  char out[48];
  std::snprintf(out, sizeof out, "%04d-%02u-%02u %02d:%02d:%02d", y, m, d,
                static_cast<int>(seconds / 3600), static_cast<int>(seconds / 60 % 60),
                static_cast<int>(seconds % 60));
  return out;
}

std::string Value::to_display() const {
  char buf[64];
  switch (kind()) {
    case ValueKind::Empty: case ValueKind::Null: return {};
    case ValueKind::Boolean: return as_boolean() ? "True" : "False";
    case ValueKind::Byte: case ValueKind::Integer: case ValueKind::Long:
      return std::to_string(to_int64());
    case ValueKind::Currency: {
      std::int64_t c = as_currency();
      unsigned long long a = c < 0 ? 0ULL - static_cast<unsigned long long>(c) : static_cast<unsigned long long>(c);
      std::snprintf(buf, sizeof buf, "%s%llu.%04llu", c < 0 ? "-" : "", a / 10000, a % 10000);
      return buf;
    }
    case ValueKind::Single: std::snprintf(buf, sizeof buf, "%.7g", static_cast<double>(as_single())); return buf;
    case ValueKind::Double: std::snprintf(buf, sizeof buf, "%.15g", as_double()); return buf;
    case ValueKind::Date: return format_date_time(as_date());
    case ValueKind::Text: return as_text();
    case ValueKind::Binary: {
      std::string out;
      for (auto b : as_binary()) { std::snprintf(buf, sizeof buf, "%02X", b); out += buf; }
      return out;
    }
    case ValueKind::Guid: return as_guid().to_string();
    case ValueKind::Decimal: return as_decimal().to_string();
  }
  return {};
}

const char* kind_name(ValueKind kind) noexcept {
  switch (kind) {
    case ValueKind::Empty: return "Empty";
    case ValueKind::Null: return "Null";
    case ValueKind::Boolean: return "Boolean";
    case ValueKind::Byte: return "Byte";
    case ValueKind::Integer: return "Integer";
    case ValueKind::Long: return "Long";
    case ValueKind::Currency: return "Currency";
    case ValueKind::Single: return "Single";
    case ValueKind::Double: return "Double";
    case ValueKind::Date: return "Date";
    case ValueKind::Text: return "Text";
    case ValueKind::Binary: return "Binary";
    case ValueKind::Guid: return "GUID";
    case ValueKind::Decimal: return "Decimal";
  }
  return "?";
}

}  // namespace jet
