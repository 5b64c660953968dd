#include "jet/catalog/query_rows.h"

#include <limits>

#include "jet/base/error.h"

namespace jet {
namespace {

[[noreturn]] void damaged_query_row(std::string_view column, const std::string& detail) {
  throw Error(static_cast<int>(ErrorCode::DatabaseDamaged),
              "Requêtes endommagées : colonne " + std::string(column) + " de MSysQueries " + detail);
}

bool ascii_iequals(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

template <class Int>
std::optional<Int> integer(std::string_view column, const Value& v) {
  if (v.is_null() || v.is_empty()) return std::nullopt;
  if (!v.is_numeric() || v.kind() == ValueKind::Decimal) {
    damaged_query_row(column, std::string("de type ") + kind_name(v.kind()) + " au lieu d'un nombre");
  }
  const std::int64_t n = v.to_int64();
  if (n < std::numeric_limits<Int>::min() || n > std::numeric_limits<Int>::max()) {
    damaged_query_row(column, "hors limites (" + std::to_string(n) + ")");
  }
  return static_cast<Int>(n);
}

std::optional<std::string> text(std::string_view column, const Value& v) {
  if (v.is_null() || v.is_empty()) return std::nullopt;
  if (v.kind() != ValueKind::Text) {
    damaged_query_row(column, std::string("de type ") + kind_name(v.kind()) + " au lieu d'un texte");
  }
  return v.as_text();
}

Value text_value(const std::optional<std::string>& s) { return s ? Value::text(*s) : Value::null(); }

}  // namespace

QueryRow query_row_from_columns(const std::vector<std::pair<std::string, Value>>& columns) {
  QueryRow row;
  for (const auto& [name, value] : columns) {
    if (ascii_iequals(name, "ObjectId")) {
      row.object_id = integer<std::int32_t>(name, value).value_or(0);
    } else if (ascii_iequals(name, "Attribute")) {
      row.attribute = integer<std::uint8_t>(name, value).value_or(0);
    } else if (ascii_iequals(name, "Order")) {
      if (value.kind() == ValueKind::Binary) {
        row.order = value.as_binary();
      } else if (!value.is_null() && !value.is_empty()) {
        damaged_query_row(name, std::string("de type ") + kind_name(value.kind()) + " au lieu d'un binaire");
      }
    } else if (ascii_iequals(name, "Name1")) {
      row.name1 = text(name, value);
    } else if (ascii_iequals(name, "Name2")) {
      row.name2 = text(name, value);
    } else if (ascii_iequals(name, "Expression")) {
      row.expression = text(name, value);
    } else if (ascii_iequals(name, "Flag")) {
      row.flag = integer<std::int16_t>(name, value);
    } else if (ascii_iequals(name, "LvExtra")) {
      row.extra = integer<std::int32_t>(name, value);
    }
  }
  return row;
}

std::vector<std::pair<std::string, Value>> query_row_columns(const QueryRow& row) {
  std::vector<std::pair<std::string, Value>> out;
  out.emplace_back("ObjectId", Value::long_(row.object_id));
  out.emplace_back("Attribute", Value::byte(row.attribute));
  out.emplace_back("Order", row.order ? Value::binary(*row.order) : Value::null());
  out.emplace_back("Name1", text_value(row.name1));
  out.emplace_back("Name2", text_value(row.name2));
  out.emplace_back("Expression", text_value(row.expression));
  out.emplace_back("Flag", row.flag ? Value::integer(*row.flag) : Value::null());
  out.emplace_back("LvExtra", row.extra ? Value::long_(*row.extra) : Value::null());
  return out;
}

}  // namespace jet
