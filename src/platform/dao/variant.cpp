#include "platform/dao/variant.h"

#include <limits>

#include "jet/api/sql.h"
#include "platform/dao/dao_error.h"

namespace platform::dao {
namespace {

jet::Value fromWhole(long long v) {
  if (v >= std::numeric_limits<std::int32_t>::min() && v <= std::numeric_limits<std::int32_t>::max())
    return jet::Value::long_(static_cast<std::int32_t>(v));
  return jet::Value::double_(static_cast<double>(v));
}

// VB's comparison of two variants: Null when either is Null; texts compare binary.
std::optional<int> compareVb(const jet::Value& a, const jet::Value& b) {
  if (a.is_null() || b.is_null()) return std::nullopt;
  if (a.kind() == jet::ValueKind::Text && b.kind() == jet::ValueKind::Text) {
    int c = a.as_text().compare(b.as_text());
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
  }
  // Empty compares as "" with a text and as 0 with a number.
  if (a.is_empty() && b.kind() == jet::ValueKind::Text) return b.as_text().empty() ? 0 : -1;
  if (b.is_empty() && a.kind() == jet::ValueKind::Text) return a.as_text().empty() ? 0 : 1;
  const jet::Value zero = jet::Value::long_(0);
  return guarded([&] { return jet::sql::compare_values(a.is_empty() ? zero : a, b.is_empty() ? zero : b); });
}

}  // namespace

Variant::Variant(long v) : value_(fromWhole(v)) {}
Variant::Variant(long long v) : value_(fromWhole(v)) {}

int Variant::VarType() const noexcept {
  switch (value_.kind()) {
    case jet::ValueKind::Empty: return 0;
    case jet::ValueKind::Null: return 1;
    case jet::ValueKind::Integer: return 2;
    case jet::ValueKind::Long: return 3;
    case jet::ValueKind::Single: return 4;
    case jet::ValueKind::Double: return 5;
    case jet::ValueKind::Currency: return 6;
    case jet::ValueKind::Date: return 7;
    case jet::ValueKind::Text: return 8;
    case jet::ValueKind::Guid: return 8;
    case jet::ValueKind::Boolean: return 11;
    case jet::ValueKind::Decimal: return 14;
    case jet::ValueKind::Byte: return 17;
    case jet::ValueKind::Binary: return 8209;
  }
  return 0;
}

std::string Variant::CStr() const {
  if (value_.kind() == jet::ValueKind::Guid) return value_.as_guid().to_string();
  return guarded([&] { return jet::sql::to_text(value_); });
}
std::int32_t Variant::CLng() const { return guarded([&] { return jet::sql::to_long(value_).as_long(); }); }
std::int16_t Variant::CInt() const { return guarded([&] { return jet::sql::to_integer(value_).as_integer(); }); }
double Variant::CDbl() const { return guarded([&] { return jet::sql::to_number(value_); }); }
bool Variant::CBool() const { return guarded([&] { return jet::sql::to_boolean(value_).as_boolean(); }); }
double Variant::CDate() const { return guarded([&] { return jet::sql::to_date(value_); }); }

std::string Variant::Text() const {
  if (value_.is_null() || value_.is_empty()) return {};
  return CStr();
}

bool operator==(const Variant& a, const Variant& b) {
  auto c = compareVb(a.value_, b.value_);
  return c && *c == 0;
}

bool operator!=(const Variant& a, const Variant& b) {
  auto c = compareVb(a.value_, b.value_);
  return c && *c != 0;
}

Variant Format(const Variant& value, std::string_view pattern) {
  return Variant(guarded([&] { return jet::sql::format_value(value.value(), pattern); }));
}

}  // namespace platform::dao
