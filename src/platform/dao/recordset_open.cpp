// Opening record sets: choosing the kind, binding the fields, collecting the records.
#include <cctype>

#include "jet/api/sql.h"
#include "platform/dao/constants.h"
#include "platform/dao/dao_error.h"
#include "platform/dao/recordset_impl.h"
#include "platform/vbstring.h"

namespace platform::dao::detail {
namespace {

bool looksLikeName(std::string_view source) {
  for (char c : source)
    if (std::isspace(static_cast<unsigned char>(c))) return false;
  return !source.empty();
}

std::string unbracket(std::string_view name) {
  if (name.size() >= 2 && name.front() == '[' && name.back() == ']') return std::string(name.substr(1, name.size() - 2));
  return std::string(name);
}

void bindTableColumns(RecordsetImpl& rs) {
  for (std::size_t i = 0; i < rs.def.columns.size(); ++i) {
    RecordsetImpl::Column column;
    column.def = fieldDefOf(rs.def.columns[i], *rs.table);
    column.def.ordinalPosition = static_cast<int>(i);
    column.tableColumn = static_cast<int>(i);
    rs.columns.push_back(std::move(column));
  }
}

void openOnTable(RecordsetImpl& rs, std::string_view tableName) {
  DatabaseImpl& db = *rs.db;
  const jet::CatalogEntry& entry = db.tableEntry(tableName);
  rs.def = jet::read_table_def(db.pager(), entry.table_page());
  rs.table = entry.name;
  rs.name = entry.name;
  bindTableColumns(rs);
  jet::Table table(db.pager(), entry.name, rs.def);
  const bool keepValues = rs.type == dbOpenSnapshot || rs.type == dbOpenForwardOnly;
  table.scan([&](jet::RowId id, const jet::Row& row) {
    rs.ids.push_back(id);
    if (keepValues) rs.values.push_back(row);
    rs.deleted.push_back(false);
    return true;
  });
  if (keepValues) {
    // A snapshot holds copies: it no longer reads the table.
    rs.table.reset();
    rs.ids.clear();
    for (auto& column : rs.columns) column.resultColumn = column.tableColumn, column.tableColumn = -1;
  }
  rs.updatable = !keepValues && db.writable != nullptr;
  rs.tableType = rs.type == dbOpenTable;
}

void openOnQuery(RecordsetImpl& rs, const std::string& sql) {
  DatabaseImpl& db = *rs.db;
  jet::sql::ResultSet result = db.sql().select(sql);
  const bool dynaset = rs.type == dbOpenDynaset;
  const bool rowBacked = dynaset && result.updatable() && db.writable != nullptr;
  if (rowBacked) {
    rs.table = *result.base_table();
    rs.def = db.tableDef(*rs.table);
  }
  for (std::size_t i = 0; i < result.columns().size(); ++i) {
    const jet::sql::ResultColumn& rc = result.columns()[i];
    RecordsetImpl::Column column;
    column.def.name = rc.name;
    column.def.type = fieldTypeOf(rc.type);
    column.def.ordinalPosition = static_cast<int>(i);
    column.def.sourceTable = rc.base_table.value_or("");
    column.def.sourceField = rc.base_column.value_or("");
    column.resultColumn = static_cast<int>(i);
    if (rowBacked && rc.base_column && rc.base_table && EqualsNoCase(*rc.base_table, *rs.table)) {
      if (const jet::ColumnDef* c = rs.def.find_column(*rc.base_column)) {
        column.tableColumn = static_cast<int>(c->definition_order);
        FieldDef stored = fieldDefOf(*c, *rs.table);
        stored.name = rc.name;
        stored.ordinalPosition = static_cast<int>(i);
        column.def = stored;
      }
    }
    rs.columns.push_back(std::move(column));
  }
  rs.values = result.rows();
  if (rowBacked) rs.ids = result.row_ids();
  rs.deleted.assign(rs.values.size(), false);
  rs.updatable = rowBacked;
}

}  // namespace

std::string savedQuerySql(DatabaseImpl& db, std::string_view name) {
  const jet::Catalog& catalog = db.catalog();
  const jet::CatalogEntry* query = catalog.find_object(name, static_cast<std::int16_t>(jet::ObjectType::Query));
  if (!query) throw daoError(dao_errors::ItemNotFound);
  std::vector<jet::QueryRow> rows;
  for (const auto& columns : catalog.query_rows()) {
    jet::QueryRow row = jet::query_row_from_columns(columns);
    if (row.object_id == query->id) rows.push_back(std::move(row));
  }
  return jet::query_sql(rows);
}

std::shared_ptr<RecordsetImpl> openRecordset(const std::shared_ptr<DatabaseImpl>& db, std::string_view source,
                                             int type, int options) {
  db->checkOpen();
  return guarded([&] {
    auto rs = std::make_shared<RecordsetImpl>();
    rs->db = db;
    rs->name = std::string(source);
    const std::string bare = unbracket(source);
    const bool isName = looksLikeName(source);
    const jet::CatalogEntry* table = isName ? db->catalog().find_table(bare) : nullptr;
    const jet::CatalogEntry* query =
        isName && !table ? db->catalog().find_object(bare, static_cast<std::int16_t>(jet::ObjectType::Query)) : nullptr;
    if (type == dbOpenDefault) type = table ? dbOpenTable : dbOpenDynaset;
    if (type != dbOpenTable && type != dbOpenDynaset && type != dbOpenSnapshot && type != dbOpenForwardOnly)
      throw daoError(dao_errors::InvalidArgument);
    rs->type = type;
    if (type == dbOpenTable) {
      // Only a local table opens as a table: a query or a statement cannot.
      if (!table) {
        if (isName && !query) throw jet::Error(jet::ErrorCode::TableNotFound, bare);
        throw daoError(dao_errors::InvalidOperation);
      }
      openOnTable(*rs, table->name);
    } else if (table) {
      openOnTable(*rs, table->name);
    } else if (query) {
      rs->name = query->name;
      openOnQuery(*rs, savedQuerySql(*db, query->name));
    } else if (isName && bare.find('(') == std::string::npos) {
      throw jet::Error(jet::ErrorCode::TableNotFound, bare);
    } else {
      openOnQuery(*rs, std::string(source));
    }
    if (options & dbReadOnly) rs->updatable = false;
    rs->cur = rs->firstLive(0, 1);
    if (rs->cur < rs->size()) rs->touch();
    return rs;
  });
}

}  // namespace platform::dao::detail
