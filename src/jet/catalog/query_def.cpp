#include "jet/catalog/query_def.h"

#include <algorithm>
#include <map>

#include "jet/base/error.h"

namespace jet {
namespace {

namespace qa = query_attribute;

[[noreturn]] void damaged_query_def(const std::string& detail) {
  throw Error(static_cast<int>(ErrorCode::DatabaseDamaged), "Requête endommagée : " + detail);
}

// A clause held by a single row may appear once only.
const QueryRow* single(const QueryRow* seen, const QueryRow& row, const char* clause) {
  if (seen != nullptr) damaged_query_def(std::string("deux lignes ") + clause);
  return &row;
}

std::string required_text(const std::optional<std::string>& s, const char* what) {
  if (!s) damaged_query_def(std::string(what) + " sans valeur");
  return *s;
}

}  // namespace

std::vector<std::uint8_t> order_number(std::uint32_t n) {
  return {static_cast<std::uint8_t>(n >> 24), static_cast<std::uint8_t>(n >> 16),
          static_cast<std::uint8_t>(n >> 8), static_cast<std::uint8_t>(n)};
}

const char* query_type_name(QueryType type) noexcept {
  switch (type) {
    case QueryType::Select: return "Select";
    case QueryType::MakeTable: return "MakeTable";
    case QueryType::Append: return "Append";
    case QueryType::Update: return "Update";
    case QueryType::Delete: return "Delete";
    case QueryType::Crosstab: return "Crosstab";
    case QueryType::DataDefinition: return "DataDefinition";
    case QueryType::PassThrough: return "PassThrough";
    case QueryType::Union: return "Union";
  }
  return "Unknown";
}

std::optional<QueryType> query_type_from_object_flags(std::int32_t flags) noexcept {
  switch (flags & 0xF0) {
    case 0: return QueryType::Select;
    case 16: return QueryType::Crosstab;
    case 32: return QueryType::Delete;
    case 48: return QueryType::Update;
    case 64: return QueryType::Append;
    case 80: return QueryType::MakeTable;
    case 96: return QueryType::DataDefinition;
    case 112: return QueryType::PassThrough;
    case 128: return QueryType::Union;
    default: return std::nullopt;
  }
}

QueryDef read_query_def(std::span<const QueryRow> stored) {
  // Items of a clause follow their Order numbers, whatever order the rows were stored in.
  std::vector<const QueryRow*> sorted;
  for (const auto& row : stored) sorted.push_back(&row);
  std::stable_sort(sorted.begin(), sorted.end(), [](const QueryRow* a, const QueryRow* b) {
    if (a->attribute != b->attribute) return a->attribute < b->attribute;
    if (!a->order || !b->order) return !a->order && b->order;
    return *a->order < *b->order;  // big-endian numbers: byte order is number order
  });
  QueryDef def;
  const QueryRow* type_row = nullptr;
  const QueryRow* flags_row = nullptr;
  const QueryRow* remote_row = nullptr;
  const QueryRow* where_row = nullptr;
  const QueryRow* having_row = nullptr;
  for (const QueryRow* item : sorted) {
    const QueryRow& row = *item;
    switch (row.attribute) {
      case qa::Start:
      case qa::End: break;
      case qa::Type: type_row = single(type_row, row, "de type"); break;
      case qa::Parameter:
        def.parameters.push_back(
            {required_text(row.name1, "paramètre"), row.flag.value_or(0), row.extra});
        break;
      case qa::Flags: flags_row = single(flags_row, row, "d'options"); break;
      case qa::RemoteDatabase: remote_row = single(remote_row, row, "de base externe"); break;
      case qa::Table: def.tables.push_back({row.name1, row.name2, row.expression}); break;
      case qa::Column: def.columns.push_back({row.expression, row.name1, row.name2, row.flag}); break;
      case qa::Join:
        def.joins.push_back({required_text(row.name1, "jointure"), required_text(row.name2, "jointure"),
                             row.expression, row.flag.value_or(0)});
        break;
      case qa::Where: where_row = single(where_row, row, "WHERE"); break;
      case qa::GroupBy: def.group_by.push_back({required_text(row.expression, "GROUP BY"), row.flag}); break;
      case qa::Having: having_row = single(having_row, row, "HAVING"); break;
      case qa::OrderBy:
        def.order_by.push_back({required_text(row.expression, "ORDER BY"),
                                row.name1 && (*row.name1 == "D" || *row.name1 == "d")});
        break;
      default: def.other_rows.push_back(row); break;
    }
  }
  if (type_row == nullptr) damaged_query_def("pas de ligne de type");
  const std::int16_t type = type_row->flag.value_or(0);
  if (type < static_cast<std::int16_t>(QueryType::Select) || type > static_cast<std::int16_t>(QueryType::Union)) {
    damaged_query_def("type de requête " + std::to_string(type) + " inconnu");
  }
  def.type = static_cast<QueryType>(type);
  def.type_name1 = type_row->name1;
  def.type_name2 = type_row->name2;
  def.type_expression = type_row->expression;
  if (flags_row != nullptr) {
    def.flags = flags_row->flag.value_or(0);
    def.top = flags_row->name1;
  }
  if (remote_row != nullptr) {
    def.has_remote_database = true;
    def.remote_path = remote_row->name1;
    def.remote_type = remote_row->expression;
  }
  if (where_row != nullptr) def.where = where_row->expression;
  if (having_row != nullptr) def.having = having_row->expression;
  return def;
}

std::vector<QueryRow> query_def_rows(const QueryDef& def, std::int32_t object_id) {
  std::vector<QueryRow> rows;
  std::map<std::uint8_t, std::uint32_t> numbers;
  auto number = [&](QueryRow& row) { row.order = order_number(++numbers[row.attribute]); };
  auto add = [&](std::uint8_t attribute) -> QueryRow& {
    QueryRow& row = rows.emplace_back();
    row.object_id = object_id;
    row.attribute = attribute;
    number(row);
    return row;
  };
  add(qa::Start).flag = 0;
  {
    QueryRow& row = add(qa::Type);
    row.flag = static_cast<std::int16_t>(def.type);
    row.name1 = def.type_name1;
    row.name2 = def.type_name2;
    row.expression = def.type_expression;
  }
  for (const auto& p : def.parameters) {
    QueryRow& row = add(qa::Parameter);
    row.name1 = p.name;
    row.flag = p.type;
    row.extra = p.size;
  }
  if (def.flags) {
    QueryRow& row = add(qa::Flags);
    row.flag = *def.flags;
    row.name1 = def.top;
  }
  if (def.has_remote_database) {
    QueryRow& row = add(qa::RemoteDatabase);
    row.name1 = def.remote_path;
    row.expression = def.remote_type;
  }
  for (const auto& t : def.tables) {
    QueryRow& row = add(qa::Table);
    row.name1 = t.name;
    row.name2 = t.alias;
    row.expression = t.expression;
  }
  for (const auto& c : def.columns) {
    QueryRow& row = add(qa::Column);
    row.expression = c.expression;
    row.name1 = c.alias;
    row.name2 = c.target;
    row.flag = c.flag;
  }
  for (const auto& j : def.joins) {
    QueryRow& row = add(qa::Join);
    row.name1 = j.left;
    row.name2 = j.right;
    row.expression = j.on;
    row.flag = j.kind;
  }
  if (def.where) add(qa::Where).expression = def.where;
  for (const auto& g : def.group_by) {
    QueryRow& row = add(qa::GroupBy);
    row.expression = g.expression;
    row.flag = g.flag;
  }
  if (def.having) add(qa::Having).expression = def.having;
  for (const auto& o : def.order_by) {
    QueryRow& row = add(qa::OrderBy);
    row.expression = o.expression;
    if (o.descending) row.name1 = "D";
  }
  for (const auto& other : def.other_rows) {
    QueryRow& row = rows.emplace_back(other);
    row.object_id = object_id;
    number(row);
  }
  add(qa::End);
  return rows;
}

}  // namespace jet
