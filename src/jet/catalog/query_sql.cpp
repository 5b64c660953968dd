#include "jet/catalog/query_sql.h"


#include "jet/base/error.h"
#include "jet/catalog/query_from.h"
#include "jet/base/text_codec.h"
#include "jet/base/unicode.h"

namespace jet {
namespace {

[[noreturn]] void damaged_query_text(const std::string& detail) {
  throw Error(static_cast<int>(ErrorCode::DatabaseDamaged), "Requête endommagée : " + detail);
}

std::string joined_items(const std::vector<std::string>& items, std::string_view separator = ", ") {
  std::string out;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0) out += separator;
    out += items[i];
  }
  return out;
}

// Letters and digits of any script (accented French names) and "_" need no brackets.
bool is_plain_name(std::string_view name) {
  if (name.empty()) return false;
  for (char32_t c : utf8_to_utf32(name)) {
    if (c != '_' && !unicode::is_letter_or_digit(c)) return false;
  }
  return true;
}

// Stored union parts and pass-through text end with line breaks or a NUL terminator.
std::string trimmed(std::string_view s) {
  auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\0'; };
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  return std::string(s);
}

std::string without_terminator(std::string s) {
  while (!s.empty() && s.back() == '\0') s.pop_back();
  return s;
}

class SqlWriter {
 public:
  SqlWriter(const QueryDef& def, const SqlLayout& layout) : def_(def), nl_(layout.line_break) {}

  std::string write() {
    switch (def_.type) {
      case QueryType::DataDefinition:
      case QueryType::PassThrough: return without_terminator(def_.type_expression.value_or(""));
      default: break;
    }
    parameters();
    switch (def_.type) {
      case QueryType::Select: select(true, def_.columns, false); break;
      case QueryType::MakeTable: select(true, def_.columns, true); break;
      case QueryType::Append: append(); break;
      case QueryType::Update: update(); break;
      case QueryType::Delete: out_ += "DELETE "; select(false, def_.columns, false); break;
      case QueryType::Crosstab: crosstab(); break;
      case QueryType::Union: union_(); break;
      default: break;
    }
    if (def_.has_flag(select_flags::OwnerAccess)) out_ += nl_ + "WITH OWNERACCESS OPTION";
    out_ += ";";
    return out_;
  }

 private:
  void parameters() {
    if (def_.parameters.empty()) return;
    std::vector<std::string> items;
    for (const auto& p : def_.parameters) {
      const char* type = parameter_type_name(p.type);
      if (type == nullptr) damaged_query_text("paramètre " + p.name + " de type " + std::to_string(p.type) + " inconnu");
      std::string item = sql_name(p.name) + " " + type;
      if (p.type == 10 && p.size.value_or(0) > 0) item += " ( " + std::to_string(*p.size) + " )";
      items.push_back(std::move(item));
    }
    out_ += "PARAMETERS " + joined_items(items) + ";" + nl_;
  }

  static std::string in_database(const std::optional<std::string>& path,
                                 const std::optional<std::string>& type) {
    if (!path && !type) return "";
    std::string out = " IN '" + path.value_or("") + "'";
    if (type) out += " [" + *type + "]";
    return out;
  }

  std::string predicate() const {
    std::string out;
    if (def_.has_flag(select_flags::Distinct)) {
      out += "DISTINCT ";
    } else if (def_.has_flag(select_flags::DistinctRow)) {
      out += "DISTINCTROW ";
    }
    if (def_.has_flag(select_flags::Top)) {
      out += "TOP " + def_.top.value_or("") + (def_.has_flag(select_flags::Percent) ? " PERCENT " : " ");
    }
    return out;
  }

  static std::string column_text(const QueryColumn& c) {
    std::string out = c.expression.value_or("");
    if (c.alias) out += " AS " + sql_name(*c.alias);
    return out;
  }

  // SELECT (or the column list of DELETE) and the clauses that follow it.
  void select(bool keyword, const std::vector<QueryColumn>& columns, bool into) {
    if (keyword) out_ += "SELECT ";
    out_ += predicate();
    std::vector<std::string> items;
    for (const auto& c : columns) items.push_back(column_text(c));
    if (def_.has_flag(select_flags::SelectStar)) items.push_back("*");
    out_ += joined_items(items);
    if (into) {
      out_ += " INTO " + sql_name(def_.type_name1.value_or("")) + in_database(def_.type_name2, def_.type_expression);
    }
    from_where();
    std::vector<std::string> groups;
    for (const auto& g : def_.group_by) {
      if (def_.type != QueryType::Crosstab || (g.flag.value_or(0) & query_column_flags::RowHeading)) {
        groups.push_back(g.expression);
      }
    }
    if (!groups.empty()) out_ += nl_ + "GROUP BY " + joined_items(groups);
    if (def_.having) out_ += nl_ + "HAVING " + *def_.having;
    order_by();
  }

  void from_where() {
    const auto from = from_items(def_);
    if (!from.empty()) out_ += nl_ + "FROM " + joined_items(from);
    if (def_.has_remote_database) out_ += in_database(def_.remote_path, def_.remote_type);
    if (def_.where) out_ += nl_ + "WHERE " + *def_.where;
  }

  void order_by() {
    std::vector<std::string> items;
    for (const auto& o : def_.order_by) items.push_back(o.expression + (o.descending ? " DESC" : ""));
    if (!items.empty()) out_ += nl_ + "ORDER BY " + joined_items(items);
  }

  void append() {
    std::vector<QueryColumn> selected;
    std::vector<std::string> targets;
    std::vector<std::string> values;
    for (const auto& c : def_.columns) {
      const bool value = c.flag && (*c.flag & query_column_flags::AppendValue);
      if (c.target) targets.push_back(sql_qualified_name(*c.target));
      if (value) {
        values.push_back(c.expression.value_or(""));
      } else {
        selected.push_back(c);
      }
    }
    out_ += "INSERT INTO " + sql_name(def_.type_name1.value_or(""));
    if (!targets.empty()) out_ += " ( " + joined_items(targets) + " )";
    out_ += in_database(def_.type_name2, def_.type_expression) + nl_;
    if (!values.empty()) {
      out_ += "VALUES (" + joined_items(values) + ")";
    } else {
      select(true, selected, false);
    }
  }

  void update() {
    out_ += "UPDATE " + joined_items(from_items(def_));
    if (def_.has_remote_database) out_ += in_database(def_.remote_path, def_.remote_type);
    std::vector<std::string> sets;
    for (const auto& c : def_.columns) {
      sets.push_back(sql_qualified_name(c.target.value_or("")) + " = " + c.expression.value_or(""));
    }
    out_ += " SET " + joined_items(sets);
    if (def_.where) out_ += nl_ + "WHERE " + *def_.where;
  }

  void crosstab() {
    const QueryColumn* transform = nullptr;
    const QueryColumn* pivot = nullptr;
    std::vector<QueryColumn> headings;
    for (const auto& c : def_.columns) {
      const std::int16_t flag = c.flag.value_or(0);
      if (flag & query_column_flags::Pivot) {
        pivot = &c;
      } else if (flag & query_column_flags::RowHeading) {
        headings.push_back(c);
      } else {
        transform = &c;
      }
    }
    if (transform != nullptr) out_ += "TRANSFORM " + column_text(*transform) + nl_;
    select(true, headings, false);
    if (pivot != nullptr) out_ += nl_ + "PIVOT " + pivot->expression.value_or("");
  }

  void union_() {
    const std::string* parts[2] = {nullptr, nullptr};
    for (const auto& t : def_.tables) {
      if (!t.expression) continue;
      if (t.alias == "X7YZ_____1") parts[0] = &*t.expression;
      if (t.alias == "X7YZ_____2") parts[1] = &*t.expression;
    }
    if (parts[0] == nullptr || parts[1] == nullptr) damaged_query_text("requête UNION sans ses deux parties");
    out_ += trimmed(*parts[0]) + nl_ + "UNION ";
    if (!def_.has_flag(select_flags::Distinct)) out_ += "ALL ";
    out_ += trimmed(*parts[1]);
    order_by();
  }

  const QueryDef& def_;
  std::string nl_;
  std::string out_;
};

}  // namespace

const char* parameter_type_name(std::int16_t type) noexcept {
  switch (type) {
    case 0: return "Value";
    case 1: return "Bit";
    case 2: return "Byte";
    case 3: return "Short";
    case 4: return "Long";
    case 5: return "Currency";
    case 6: return "IEEESingle";
    case 7: return "IEEEDouble";
    case 8: return "DateTime";
    case 9: return "Binary";
    case 10: return "Text";
    case 11: return "LongBinary";
    case 12: return "LongText";
    case 15: return "Guid";
    case 16: return "Decimal";
    default: return nullptr;
  }
}

std::string sql_name(std::string_view name) {
  if (name.size() >= 2 && name.front() == '[' && name.back() == ']') return std::string(name);
  return is_plain_name(name) ? std::string(name) : "[" + std::string(name) + "]";
}

std::string sql_qualified_name(std::string_view name) {
  std::string out;
  std::size_t start = 0;
  bool bracket = false;
  for (std::size_t i = 0; i <= name.size(); ++i) {
    if (i < name.size() && name[i] == '[') bracket = true;
    if (i < name.size() && name[i] == ']') bracket = false;
    if (i == name.size() || (name[i] == '.' && !bracket)) {
      if (start > 0) out += '.';
      out += sql_name(name.substr(start, i - start));
      start = i + 1;
    }
  }
  return out;
}

std::string query_sql(const QueryDef& def, const SqlLayout& layout) {
  std::string sql = SqlWriter(def, layout).write();
  if (layout.final_line_break) sql += layout.line_break;
  return sql;
}

std::string query_sql(std::span<const QueryRow> rows, const SqlLayout& layout) {
  return query_sql(read_query_def(rows), layout);
}

}  // namespace jet
