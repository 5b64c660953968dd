#include "app/jet/csv_values.h"

#include <cctype>
#include <charconv>
#include <cstdint>
#include <optional>

#include "jet/base/error.h"
#include "jet/sql/datetime.h"

namespace jet_tool {
namespace {

std::string lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

std::optional<std::int64_t> whole(const std::string& s) {
  std::int64_t v = 0;
  const char* end = s.data() + s.size();
  const auto [p, ec] = std::from_chars(s.data() + (!s.empty() && s[0] == '+'), end, v);
  if (ec != std::errc() || p != end) return std::nullopt;
  return v;
}

std::optional<double> number(const std::string& s) {
  double v = 0;
  const char* end = s.data() + s.size();
  const auto [p, ec] = std::from_chars(s.data() + (!s.empty() && s[0] == '+'), end, v);
  if (ec != std::errc() || p != end) return std::nullopt;
  return v;
}

// Plain decimal notation ("-12.340"), kept exact for Decimal columns.
std::optional<jet::Decimal> decimal(const std::string& s) {
  jet::Decimal d;
  std::size_t i = 0;
  if (i < s.size() && (s[i] == '-' || s[i] == '+')) d.negative = s[i++] == '-';
  bool digits = false, point = false;
  for (; i < s.size(); ++i) {
    if (s[i] == '.' && !point) {
      point = true;
    } else if (std::isdigit(static_cast<unsigned char>(s[i]))) {
      if (d.magnitude > (static_cast<unsigned __int128>(1) << 100)) return std::nullopt;
      d.magnitude = d.magnitude * 10 + static_cast<unsigned>(s[i] - '0');
      if (point) ++d.scale;
      digits = true;
    } else {
      return std::nullopt;
    }
  }
  if (!digits || d.scale > 28) return std::nullopt;
  return d;
}

std::optional<bool> yes_no(const std::string& s) {
  const std::string l = lower(s);
  if (l == "1" || l == "-1" || l == "true" || l == "vrai" || l == "yes" || l == "oui") return true;
  if (l == "0" || l == "false" || l == "faux" || l == "no" || l == "non") return false;
  return std::nullopt;
}

}  // namespace

jet::Value csv_value(const jet::ColumnDef& column, const std::string& field, std::size_t line) {
  using jet::ColumnType;
  std::optional<jet::Value> value;
  switch (column.type) {
    case ColumnType::Text: case ColumnType::Memo:
      return jet::Value::text(field);
    case ColumnType::Boolean:
      if (auto b = yes_no(field)) value = jet::Value::boolean(*b);
      break;
    case ColumnType::Byte: case ColumnType::Integer: case ColumnType::Long:
      // Range checks (error 6) stay with the engine's conversion to the column.
      if (auto v = whole(field)) value = jet::Value::double_(static_cast<double>(*v));
      break;
    case ColumnType::Currency: case ColumnType::Single: case ColumnType::Double:
      if (auto v = number(field)) value = jet::Value::double_(*v);
      break;
    case ColumnType::Numeric:
      if (auto d = decimal(field)) value = jet::Value::decimal(*d);
      break;
    case ColumnType::DateTime:
      if (auto d = jet::sql::parse_date_literal(field)) value = jet::Value::date(*d);
      break;
    case ColumnType::Binary: case ColumnType::Ole: case ColumnType::Guid:
      break;  // no text form to read back
  }
  if (!value)
    throw jet::Error(13, jet::describe(13) + " (ligne " + std::to_string(line) + ", champ " + column.name +
                             " de type " + jet::column_type_name(column.type) + " : \"" + field + "\")");
  return *value;
}

}  // namespace jet_tool
