#include "jet/sql/value_ops.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "jet/base/decimal.h"
#include "jet/sql/datetime.h"
#include "jet/sql/sql_error.h"
#include "jet/sql/text_compare.h"
#include "jet/sql/vb_convert.h"

namespace jet::sql {
namespace {

// Numeric kinds in widening order; Currency and Date are handled beside the ladder.
enum class Num { Byte, Integer, Long, Single, Double, Currency, Date };

Num num_kind(const Value& v) {
  switch (v.kind()) {
    case ValueKind::Byte: return Num::Byte;
    case ValueKind::Empty: case ValueKind::Boolean: case ValueKind::Integer: return Num::Integer;
    case ValueKind::Long: return Num::Long;
    case ValueKind::Single: return Num::Single;
    case ValueKind::Currency: return Num::Currency;
    case ValueKind::Date: return Num::Date;
    default: return Num::Double;  // Double, Decimal, numeric text
  }
}

double num_value(const Value& v) {
  if (v.is_empty()) return 0;
  if (v.kind() == ValueKind::Text) return to_number(v);
  if (v.kind() == ValueKind::Binary || v.kind() == ValueKind::Guid) {
    throw sql_error(SqlError::TypeMismatch);
  }
  return v.to_double();
}

// An integer result in the narrowest of `kind` or wider that holds it.
Value fit_integer(long double r, Num kind) {
  if (kind == Num::Byte && r >= 0 && r <= 255) return Value::byte(static_cast<std::uint8_t>(r));
  if (kind <= Num::Integer && r >= -32768 && r <= 32767) {
    return Value::integer(static_cast<std::int16_t>(r));
  }
  if (r >= std::numeric_limits<std::int32_t>::min() && r <= std::numeric_limits<std::int32_t>::max()) {
    return Value::long_(static_cast<std::int32_t>(r));
  }
  return Value::double_(static_cast<double>(r));
}

Value currency_of(long double ten_thousandths) {
  if (!(std::fabs(static_cast<double>(ten_thousandths)) < 9.2233720368547758e18)) {
    throw sql_error(SqlError::Overflow);
  }
  return Value::currency(static_cast<std::int64_t>(std::nearbyint(static_cast<double>(ten_thousandths))));
}

Value check_double(double d) {
  if (!std::isfinite(d)) throw sql_error(SqlError::Overflow);
  return Value::double_(d);
}

Value date_of(double d) {
  if (d < -657434.0 || d >= 2958466.0) throw sql_error(SqlError::Overflow);
  return Value::date(d);
}

std::int64_t whole(const Value& v) {
  double d = round_half_even(num_value(v));
  if (!(d >= -9.2e18 && d <= 9.2e18)) throw sql_error(SqlError::Overflow);
  return static_cast<std::int64_t>(d);
}

// Decimal with a whole number, a Yes/No, a Currency or another Decimal stays an exact
// Decimal; with a Single, a Double or a date the result is a Double, as in Jet.
bool decimal_arithmetic(const Value& a, const Value& b) {
  auto exact = [](const Value& v) {
    switch (v.kind()) {
      case ValueKind::Decimal: case ValueKind::Boolean: case ValueKind::Byte: case ValueKind::Integer:
      case ValueKind::Long: case ValueKind::Currency:
        return true;
      default:
        return false;
    }
  };
  return (a.kind() == ValueKind::Decimal || b.kind() == ValueKind::Decimal) && exact(a) && exact(b);
}

Value add_sub_mul(BinaryOp op, const Value& a, const Value& b) {
  if (decimal_arithmetic(a, b)) {
    const Decimal x = decimal_of(a), y = decimal_of(b);
    return Value::decimal(op == BinaryOp::Add        ? decimal_add(x, y)
                          : op == BinaryOp::Subtract ? decimal_subtract(x, y)
                                                     : decimal_multiply(x, y));
  }
  Num ka = num_kind(a), kb = num_kind(b);
  double x = num_value(a), y = num_value(b);
  auto apply = [&](long double p, long double q) -> long double {
    return op == BinaryOp::Add ? p + q : op == BinaryOp::Subtract ? p - q : p * q;
  };
  if (ka == Num::Date || kb == Num::Date) {
    double r = static_cast<double>(apply(x, y));
    if (op == BinaryOp::Multiply || (op == BinaryOp::Subtract && ka == Num::Date && kb == Num::Date)) {
      return check_double(r);
    }
    return date_of(r);
  }
  if (ka == Num::Currency || kb == Num::Currency) {
    Num other = ka == Num::Currency ? kb : ka;
    if (other == Num::Single || other == Num::Double) return check_double(static_cast<double>(apply(x, y)));
    if (op == BinaryOp::Multiply) return currency_of(apply(x, y) * 10000.0L);
    std::int64_t cx = ka == Num::Currency ? a.as_currency() : static_cast<std::int64_t>(x) * 10000;
    std::int64_t cy = kb == Num::Currency ? b.as_currency() : static_cast<std::int64_t>(y) * 10000;
    return currency_of(apply(cx, cy));
  }
  Num k = std::max(ka, kb);
  if (k == Num::Single && (ka == Num::Long || kb == Num::Long)) k = Num::Double;
  if (k <= Num::Long) return fit_integer(apply(static_cast<long double>(x), y), k);
  double r = static_cast<double>(apply(x, y));
  if (k == Num::Single && std::fabs(r) <= std::numeric_limits<float>::max()) {
    return Value::single(static_cast<float>(r));
  }
  return check_double(r);
}

Value concat(const Value& a, const Value& b) {
  if (a.is_null() && b.is_null()) return Value::null();
  std::string s = a.is_null() ? std::string() : to_text(a);
  s += b.is_null() ? std::string() : to_text(b);
  return Value::text(std::move(s));
}

}  // namespace

Value arithmetic(BinaryOp op, const Value& a, const Value& b) {
  if (op == BinaryOp::Concat) return concat(a, b);
  if (a.is_null() || b.is_null()) return Value::null();
  switch (op) {
    case BinaryOp::Add:
      if ((a.kind() == ValueKind::Text || a.is_empty()) &&
          (b.kind() == ValueKind::Text || b.is_empty()) && !(a.is_empty() && b.is_empty())) {
        return concat(a, b);
      }
      return add_sub_mul(op, a, b);
    case BinaryOp::Subtract:
    case BinaryOp::Multiply:
      return add_sub_mul(op, a, b);
    case BinaryOp::Divide: {
      double x = num_value(a), y = num_value(b);
      if (y == 0) throw sql_error(x == 0 ? SqlError::Overflow : SqlError::DivisionByZero);
      return check_double(x / y);
    }
    case BinaryOp::IntDivide:
    case BinaryOp::Modulo: {
      std::int64_t x = whole(a), y = whole(b);
      if (y == 0) throw sql_error(SqlError::DivisionByZero);
      Num k = std::max(num_kind(a), num_kind(b));
      if (k > Num::Long) k = Num::Long;
      return fit_integer(op == BinaryOp::IntDivide ? x / y : x % y, k);
    }
    case BinaryOp::Power: {
      double x = num_value(a), y = num_value(b);
      if (x < 0 && y != std::trunc(y)) throw sql_error(SqlError::InvalidProcedureCall);
      if (x == 0 && y < 0) throw sql_error(SqlError::DivisionByZero);
      return check_double(std::pow(x, y));
    }
    default:
      throw sql_error(SqlError::TypeMismatch);
  }
}

Value negate(const Value& v) {
  switch (v.kind()) {
    case ValueKind::Null: return v;
    case ValueKind::Empty: return Value::integer(0);
    case ValueKind::Byte: case ValueKind::Boolean: case ValueKind::Integer:
    case ValueKind::Long:
      return fit_integer(-static_cast<long double>(v.to_int64()),
                         v.kind() == ValueKind::Long ? Num::Long : Num::Integer);
    case ValueKind::Currency: return currency_of(-static_cast<long double>(v.as_currency()));
    case ValueKind::Single: return Value::single(-v.as_single());
    case ValueKind::Date: return date_of(-v.as_date());
    default: return check_double(-num_value(v));
  }
}

std::optional<int> compare_values(const Value& a, const Value& b) {
  if (a.is_null() || b.is_null()) return std::nullopt;
  bool ta = a.kind() == ValueKind::Text, tb = b.kind() == ValueKind::Text;
  if ((ta || a.is_empty()) && (tb || b.is_empty())) {
    return compare_text(ta ? a.as_text() : "", tb ? b.as_text() : "");
  }
  if (a.kind() == ValueKind::Guid || b.kind() == ValueKind::Guid ||
      a.kind() == ValueKind::Binary || b.kind() == ValueKind::Binary) {
    if (a.kind() == b.kind()) return a == b ? 0 : (to_text(a) < to_text(b) ? -1 : 1);
    if (a.kind() == ValueKind::Guid && tb) return compare_text(a.as_guid().to_string(), b.as_text());
    if (b.kind() == ValueKind::Guid && ta) return compare_text(a.as_text(), b.as_guid().to_string());
    throw sql_error(SqlError::CriteriaTypeMismatch);
  }
  // A text met with a date is read as a date first (French day/month/year), as Jet does
  // for criteria such as DAFICCRO > '01/02/2006'.
  bool dates = a.kind() == ValueKind::Date || b.kind() == ValueKind::Date;
  auto number = [dates](const Value& v) {
    if (v.kind() == ValueKind::Text) {
      if (dates) {
        if (auto d = parse_date_text(v.as_text())) return *d;
      }
      auto n = parse_number(v.as_text());
      if (!n) throw sql_error(SqlError::CriteriaTypeMismatch);
      return *n;
    }
    return v.is_empty() ? 0.0 : v.to_double();
  };
  if (a.kind() == ValueKind::Currency && b.kind() == ValueKind::Currency) {
    return a.as_currency() < b.as_currency() ? -1 : a.as_currency() > b.as_currency() ? 1 : 0;
  }
  double x = number(a), y = number(b);
  return x < y ? -1 : x > y ? 1 : 0;
}

Value comparison(BinaryOp op, const Value& a, const Value& b) {
  auto c = compare_values(a, b);
  if (!c) return Value::null();
  switch (op) {
    case BinaryOp::Equal: return Value::boolean(*c == 0);
    case BinaryOp::NotEqual: return Value::boolean(*c != 0);
    case BinaryOp::Less: return Value::boolean(*c < 0);
    case BinaryOp::LessEqual: return Value::boolean(*c <= 0);
    case BinaryOp::Greater: return Value::boolean(*c > 0);
    case BinaryOp::GreaterEqual: return Value::boolean(*c >= 0);
    default: throw sql_error(SqlError::TypeMismatch);
  }
}

namespace {

bool boolean_like(const Value& v) { return v.is_null() || v.kind() == ValueKind::Boolean; }

std::int64_t bits(const Value& v) {
  if (v.kind() == ValueKind::Boolean) return v.as_boolean() ? -1 : 0;
  double d = round_half_even(num_value(v));
  if (!(d >= std::numeric_limits<std::int32_t>::min() && d <= std::numeric_limits<std::int32_t>::max())) {
    throw sql_error(SqlError::Overflow);
  }
  return static_cast<std::int64_t>(d);
}

}  // namespace

Value logical(BinaryOp op, const Value& a, const Value& b) {
  bool as_boolean = boolean_like(a) && boolean_like(b);
  // Bitwise results keep the wider integer kind of the operands.
  Num width = Num::Integer;
  for (const Value* v : {&a, &b}) {
    if (!v->is_null() && num_kind(*v) > Num::Integer) width = Num::Long;
  }
  auto result = [&](std::int64_t r) {
    return as_boolean ? Value::boolean(r != 0) : fit_integer(r, width);
  };
  bool na = a.is_null(), nb = b.is_null();
  if (na && nb) return Value::null();
  if (na || nb) {
    std::int64_t known = bits(na ? b : a);
    switch (op) {
      case BinaryOp::And:  // Null And False is False
        return known == 0 ? result(0) : Value::null();
      case BinaryOp::Or:  // Null Or True is True
        return known == -1 ? result(-1) : Value::null();
      case BinaryOp::Imp:
        // False Imp anything is True; anything Imp True is True.
        if (na && known == -1) return result(-1);
        if (nb && known == 0) return result(-1);
        return Value::null();
      default:  // Xor, Eqv
        return Value::null();
    }
  }
  std::int64_t x = bits(a), y = bits(b);
  switch (op) {
    case BinaryOp::And: return result(x & y);
    case BinaryOp::Or: return result(x | y);
    case BinaryOp::Xor: return result(x ^ y);
    case BinaryOp::Eqv: return result(~(x ^ y));
    case BinaryOp::Imp: return result(~x | y);
    default: throw sql_error(SqlError::TypeMismatch);
  }
}

Value logical_not(const Value& v) {
  if (v.is_null()) return v;
  if (v.kind() == ValueKind::Boolean) return Value::boolean(!v.as_boolean());
  return fit_integer(~bits(v), num_kind(v) > Num::Integer ? Num::Long : Num::Integer);
}

bool is_true(const Value& v) {
  if (v.is_null() || v.is_empty()) return false;
  if (v.kind() == ValueKind::Boolean) return v.as_boolean();
  if (v.kind() == ValueKind::Text) {
    return to_boolean(v).as_boolean();
  }
  return num_value(v) != 0;
}

}  // namespace jet::sql
