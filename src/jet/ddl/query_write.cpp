#include "jet/ddl/query_write.h"

#include <algorithm>
#include <cctype>

#include "jet/catalog/catalog_write.h"
#include "jet/base/error.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/base/names.h"
#include "jet/catalog/query_sql.h"
#include "jet/sql/parser.h"
#include "jet/sql/printer.h"
#include "jet/storage/transaction.h"

namespace jet {
// Reading a statement's tree is easier with the SQL layer's names; they stay in here.
namespace sql_to_query {
using namespace jet::sql;

[[noreturn]] void unsupported_query(const std::string& what) {
  throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
              describe(static_cast<int>(ErrorCode::OperationNotSupported)) + " (" + what + ")");
}

std::string upper(std::string s) {
  for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return s;
}

// The Jet type code of a PARAMETERS declaration ("Text", "Long", "DateTime"...).
std::int16_t parameter_code(const DataType& type) {
  const std::string name = upper(type.name);
  static const std::pair<const char*, std::int16_t> synonyms[] = {
      {"TEXT", 10}, {"CHAR", 10}, {"VARCHAR", 10}, {"STRING", 10}, {"LONG", 4}, {"INTEGER", 4},
      {"INT", 4}, {"SHORT", 3}, {"SMALLINT", 3}, {"BYTE", 2}, {"BIT", 1}, {"YESNO", 1},
      {"CURRENCY", 5}, {"MONEY", 5}, {"SINGLE", 6}, {"REAL", 6}, {"DOUBLE", 7}, {"FLOAT", 7},
      {"DATETIME", 8}, {"DATE", 8}, {"TIME", 8}, {"BINARY", 9}, {"LONGBINARY", 11},
      {"MEMO", 12}, {"LONGTEXT", 12}, {"GUID", 15}, {"DECIMAL", 16}, {"VALUE", 0}};
  for (const auto& [word, code] : synonyms)
    if (name == word) return code;
  for (std::int16_t code = 0; code < 32; ++code)
    if (const char* n = parameter_type_name(code); n && upper(n) == name) return code;
  unsupported_query("type de paramètre " + type.name);
}

// Names of the tables (aliases where given) a FROM item holds, left to right.
void table_names(const TableRef& ref, std::vector<std::string>& out) {
  if (const auto* t = std::get_if<NamedTable>(&ref.node)) {
    out.push_back(t->alias.empty() ? t->name : t->alias);
    return;
  }
  const auto& j = std::get<sql::Join>(ref.node);
  table_names(*j.left, out);
  table_names(*j.right, out);
}

void column_tables(const Expr& e, std::vector<std::string>& out);
void column_tables(const ExprPtr& e, std::vector<std::string>& out) {
  if (e) column_tables(*e, out);
}
void column_tables(const Expr& e, std::vector<std::string>& out) {
  std::visit(
      [&](const auto& n) {
        using T = std::decay_t<decltype(n)>;
        if constexpr (std::is_same_v<T, ColumnRef>) {
          if (!n.table.empty()) out.push_back(n.table);
        } else if constexpr (std::is_same_v<T, Unary>) {
          column_tables(n.operand, out);
        } else if constexpr (std::is_same_v<T, sql::Binary>) {
          column_tables(n.left, out);
          column_tables(n.right, out);
        } else if constexpr (std::is_same_v<T, Like>) {
          column_tables(n.value, out);
          column_tables(n.pattern, out);
        } else if constexpr (std::is_same_v<T, InList>) {
          column_tables(n.value, out);
        } else if constexpr (std::is_same_v<T, Between>) {
          column_tables(n.value, out);
        } else if constexpr (std::is_same_v<T, IsNull>) {
          column_tables(n.value, out);
        } else if constexpr (std::is_same_v<T, Call>) {
          for (const auto& a : n.args) column_tables(a, out);
        }
      },
      e.node);
}

// The table of one side of a join that its ON expression names (Access records the join
// between those two tables), else the side's nearest table.
std::string join_side(const TableRef& side, const Expr* on, bool left) {
  std::vector<std::string> names;
  table_names(side, names);
  if (on) {
    std::vector<std::string> used;
    column_tables(*on, used);
    for (const auto& u : used)
      for (const auto& n : names)
        if (same_name(u, n)) return n;
  }
  return left ? names.back() : names.front();
}

void add_from(const TableRef& ref, QueryDef& def) {
  if (const auto* t = std::get_if<NamedTable>(&ref.node)) {
    if (!t->connect.empty() || !t->in_database.empty()) unsupported_query("table d'une autre base");
    QueryTable table;
    table.name = t->name;
    if (!t->alias.empty()) table.alias = t->alias;
    def.tables.push_back(std::move(table));
    return;
  }
  const auto& j = std::get<sql::Join>(ref.node);
  add_from(*j.left, def);
  add_from(*j.right, def);
  QueryJoin join;
  join.left = join_side(*j.left, j.on.get(), true);
  join.right = join_side(*j.right, j.on.get(), false);
  if (j.on) join.on = to_sql(*j.on);
  join.kind = static_cast<std::int16_t>(j.kind == sql::JoinKind::Inner  ? jet::JoinKind::Inner
                                        : j.kind == sql::JoinKind::Left ? jet::JoinKind::Left
                                                                        : jet::JoinKind::Right);
  def.joins.push_back(std::move(join));
}

void add_select(const Select& s, QueryDef& def) {
  if (s.union_next) unsupported_query("requête Union");
  std::int16_t flags = 0;
  if (s.distinct == Distinctness::Distinct) flags |= select_flags::Distinct;
  if (s.distinct == Distinctness::DistinctRow) flags |= select_flags::DistinctRow;
  if (s.top) {
    flags |= select_flags::Top;
    def.top = *s.top;
  }
  if (s.top_percent) flags |= select_flags::Percent;
  bool star_only = s.items.size() == 1;
  for (const auto& item : s.items) {
    const auto* c = std::get_if<ColumnRef>(&item.expr->node);
    if (c && c->star && c->table.empty()) {
      if (!star_only) unsupported_query("* parmi d'autres colonnes");
      flags |= select_flags::SelectStar;
      continue;
    }
    QueryColumn column;
    column.expression = to_sql(*item.expr);
    if (!item.alias.empty()) column.alias = item.alias;
    column.flag = 0;
    def.columns.push_back(std::move(column));
  }
  def.flags = flags;
  for (const auto& f : s.from) add_from(*f, def);
  if (s.where) def.where = to_sql(*s.where);
  for (const auto& g : s.group_by) def.group_by.push_back({to_sql(*g), 0});
  if (s.having) def.having = to_sql(*s.having);
  for (const auto& o : s.order_by) def.order_by.push_back({to_sql(*o.expr), o.descending});
}

std::string assignment_target(const ColumnRef& c) {
  return c.table.empty() ? quote_name(c.name) : quote_name(c.table) + "." + quote_name(c.name);
}

}  // namespace sql_to_query

QueryDef query_def_of_sql(std::string_view sql) {
  using namespace sql_to_query;
  const sql::Statement statement = parse_statement(sql);
  QueryDef def;
  for (const auto& p : statement.parameters) {
    QueryParameter parameter;
    parameter.name = p.name;
    parameter.type = parameter_code(p.type);
    if (parameter.type == 10 && p.type.size) parameter.size = *p.type.size;
    def.parameters.push_back(std::move(parameter));
  }
  std::visit(
      [&](const auto& body) {
        using T = std::decay_t<decltype(body)>;
        if constexpr (std::is_same_v<T, Select>) {
          def.type = body.into ? QueryType::MakeTable : QueryType::Select;
          if (body.into) {
            if (!body.into->in_database.empty() || !body.into->connect.empty()) unsupported_query("table d'une autre base");
            def.type_name1 = body.into->name;
          }
          add_select(body, def);
        } else if constexpr (std::is_same_v<T, sql::Update>) {
          def.type = QueryType::Update;
          def.flags = 0;
          add_from(*body.target, def);
          for (const auto& a : body.assignments) {
            QueryColumn column;
            column.expression = to_sql(*a.value);
            column.target = assignment_target(a.column);
            column.flag = 0;
            def.columns.push_back(std::move(column));
          }
          if (body.where) def.where = to_sql(*body.where);
        } else if constexpr (std::is_same_v<T, sql::Delete>) {
          def.type = QueryType::Delete;
          def.flags = 0;
          // `DELETE t.a, t.b FROM` keeps its column list, `DELETE [t.]* FROM` one star column.
          std::vector<std::string> listed;
          for (const auto& c : body.columns) listed.push_back(assignment_target(c));
          if (listed.empty()) listed.push_back(body.star_table.empty() ? "*" : quote_name(body.star_table) + ".*");
          for (auto& text : listed) {
            QueryColumn column;
            column.expression = std::move(text);
            column.flag = 0;
            def.columns.push_back(std::move(column));
          }
          for (const auto& f : body.from) add_from(*f, def);
          if (body.where) def.where = to_sql(*body.where);
        } else if constexpr (std::is_same_v<T, sql::Insert>) {
          def.type = QueryType::Append;
          if (!body.table.in_database.empty() || !body.table.connect.empty()) unsupported_query("table d'une autre base");
          def.type_name1 = body.table.name;
          if (body.select) {
            add_select(*body.select, def);
            if (!body.columns.empty()) {
              if (body.columns.size() != def.columns.size()) unsupported_query("nombre de colonnes");
              for (std::size_t i = 0; i < def.columns.size(); ++i) def.columns[i].target = body.columns[i];
            }
          } else {
            if (body.columns.size() != body.values.size()) unsupported_query("INSERT sans liste de colonnes");
            for (std::size_t i = 0; i < body.values.size(); ++i) {
              QueryColumn column;
              column.expression = to_sql(*body.values[i]);
              column.target = body.columns[i];
              column.flag = query_column_flags::AppendValue;
              def.columns.push_back(std::move(column));
            }
          }
        } else {
          // Data definition: Access keeps the text as written.
          def.type = QueryType::DataDefinition;
          std::string text(sql);
          while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
          if (text.empty() || text.back() != ';') text += ';';
          def.type_expression = text;
        }
      },
      statement.body);
  return def;
}

namespace {

std::int32_t object_flags_of(QueryType type) {
  switch (type) {
    case QueryType::Select: return 0;
    case QueryType::Crosstab: return 16;
    case QueryType::Delete: return 32;
    case QueryType::Update: return 48;
    case QueryType::Append: return 64;
    case QueryType::MakeTable: return 80;
    case QueryType::DataDefinition: return 96;
    case QueryType::PassThrough: return 112;
    case QueryType::Union: return 128;
  }
  return 0;
}

TableWriter queries_writer(WritableDatabase& db, IndexHook& hook) {
  const CatalogEntry* entry = db.catalog().find_table("MSysQueries");
  if (!entry) throw Error(ErrorCode::TableNotFound, "MSysQueries");
  return TableWriter(db.pager(), db.allocator(), entry->name, entry->table_page(), {}, &hook);
}

void add_query(WritableDatabase& db, const std::string& name, const QueryDef& def) {
  for (const CatalogEntry& e : db.catalog().entries())
    if (e.parent_id == object_ids::Tables && same_name(e.name, name)) throw Error(ErrorCode::ObjectExists, name);
  CatalogWriter catalog(db.pager(), db.allocator());
  ObjectRow row;
  row.id = catalog.next_object_id();
  row.parent_id = object_ids::Tables;
  row.name = name;
  row.type = static_cast<std::int16_t>(ObjectType::Query);
  row.flags = static_cast<std::uint32_t>(object_flags_of(def.type));
  catalog.add(row);
  catalog.add_access(row.id, default_access(ObjectType::Query));
  TableIndexHook hook(db.allocator());
  TableWriter writer = queries_writer(db, hook);
  const TableDef table = writer.definition();
  for (const QueryRow& q : query_def_rows(def, row.id)) {
    Row values(table.columns.size(), Value::null());
    for (auto& [column, value] : query_row_columns(q))
      if (const jet::ColumnDef* c = table.find_column(column)) values[c->definition_order] = std::move(value);
    writer.insert(values);
  }
}

void remove_query(WritableDatabase& db, const CatalogEntry& entry) {
  TableIndexHook hook(db.allocator());
  TableWriter writer = queries_writer(db, hook);
  const TableDef table = writer.definition();
  const jet::ColumnDef* object = table.find_column("ObjectId");
  if (!object) throw_damaged(db.path(), "MSysQueries sans colonne ObjectId");
  std::vector<RowId> rows;
  Table(db.pager(), "MSysQueries", table).scan([&](RowId id, const Row& row) {
    const Value& v = row[object->definition_order];
    if (v.is_numeric() && v.to_int64() == entry.id) rows.push_back(id);
    return true;
  });
  for (RowId id : rows) writer.remove(id);
  CatalogWriter(db.pager(), db.allocator()).remove(entry.id);
}

const CatalogEntry* find_query(WritableDatabase& db, const std::string& name) {
  return db.catalog().find_object(name, static_cast<std::int16_t>(ObjectType::Query));
}

}  // namespace

void create_query(WritableDatabase& db, const std::string& name, std::string_view sql) {
  const QueryDef def = query_def_of_sql(sql);
  jet::Statement statement(db.pager());
  add_query(db, name, def);
  statement.commit();
  db.reload_catalog();
}

void delete_query(WritableDatabase& db, const std::string& name) {
  const CatalogEntry* entry = find_query(db, name);
  if (!entry) throw Error(ErrorCode::ItemNotFound, name);
  jet::Statement statement(db.pager());
  remove_query(db, *entry);
  statement.commit();
  db.reload_catalog();
}

void replace_query(WritableDatabase& db, const std::string& name, std::string_view sql) {
  const QueryDef def = query_def_of_sql(sql);
  try {
    jet::Statement statement(db.pager());
    if (const CatalogEntry* entry = find_query(db, name)) {
      remove_query(db, *entry);
      db.reload_catalog();
    }
    add_query(db, name, def);
    statement.commit();
  } catch (...) {
    db.reload_catalog();  // the removal was rolled back with the statement
    throw;
  }
  db.reload_catalog();
}

}  // namespace jet
