#include "jet/ddl/alter_table.h"

#include <algorithm>
#include <optional>

#include "jet/ddl/alter_table_pages.h"
#include "jet/catalog/catalog_write.h"
#include "jet/base/error.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/base/names.h"
#include "jet/ddl/relationship_write.h"
#include "jet/table/table_design.h"
#include "jet/storage/transaction.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

const CatalogEntry& user_table(WritableDatabase& db, const std::string& table) {
  const CatalogEntry* entry = db.catalog().find_table(table);
  if (!entry) throw Error(ErrorCode::TableNotFound, table);
  if (entry->is_system())
    throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
                describe(static_cast<int>(ErrorCode::OperationNotSupported)) + " (" + entry->name + ")");
  return *entry;
}

// The relationships naming the table on either side (each name once).
std::vector<std::string> relationships_of(const Catalog& catalog, const std::string& table) {
  std::vector<std::string> names;
  for (const Relationship& r : catalog.relationships()) {
    if (!same_name(r.table, table) && !same_name(r.referenced_table, table)) continue;
    if (std::none_of(names.begin(), names.end(), [&](const std::string& n) { return same_name(n, r.name); }))
      names.push_back(r.name);
  }
  return names;
}

// Object names as a table name must be (the rules of a table design's name).
void check_table_name(const std::string& name) {
  TableDesign probe;
  probe.name = name;
  ColumnDesign column;
  column.name = "x";
  column.type = ColumnType::Long;
  probe.columns.push_back(column);
  validate(probe);
}

// MSysRelationships rows naming `from` as either table take the name `to`.
void rename_in_relationships(WritableDatabase& db, const std::string& from, const std::string& to) {
  const CatalogEntry* entry = db.catalog().find_table("MSysRelationships");
  if (!entry) return;
  TableIndexHook hook(db.allocator());
  TableWriter writer(db.pager(), db.allocator(), entry->name, entry->table_page(), {}, &hook);
  const TableDef def = writer.definition();
  const ColumnDef* object = def.find_column("szObject");
  const ColumnDef* referenced = def.find_column("szReferencedObject");
  if (!object || !referenced) throw Error(ErrorCode::DatabaseDamaged, "MSysRelationships");
  auto names = [&](const Row& row, const ColumnDef* c) {
    const Value& v = row[c->definition_order];
    return v.kind() == ValueKind::Text && same_name(v.as_text(), from);
  };
  std::vector<std::pair<RowId, Row>> changed;
  Table(db.pager(), entry->name, def).scan([&](RowId id, const Row& row) {
    if (!names(row, object) && !names(row, referenced)) return true;
    Row updated = row;
    if (names(row, object)) updated[object->definition_order] = Value::text(to);
    if (names(row, referenced)) updated[referenced->definition_order] = Value::text(to);
    changed.emplace_back(id, std::move(updated));
    return true;
  });
  for (const auto& [id, row] : changed) writer.update(id, row);
}

std::optional<RowId> catalog_row(WritableDatabase& db, std::int32_t id) {
  const Table objects(db.pager(), "MSysObjects", read_table_def(db.pager(), disk::kCatalogPage));
  const ColumnDef* column = objects.def().find_column("Id");
  if (!column) throw Error(ErrorCode::DatabaseDamaged, "MSysObjects");
  std::optional<RowId> found;
  objects.scan([&](RowId rid, const Row& row) {
    const Value& v = row[column->definition_order];
    if (!v.is_null() && v.to_int64() == id) found = rid;
    return !found;
  });
  return found;
}

// Runs `change` as one statement; on failure the catalog view is read again, since the
// rolled-back changes may already have been reloaded into it.
template <class Change>
void as_statement(WritableDatabase& db, Change change) {
  try {
    Statement statement(db.pager());
    change();
    statement.commit();
  } catch (...) {
    db.reload_catalog();
    throw;
  }
  db.reload_catalog();
}

}  // namespace

void drop_table(WritableDatabase& db, const std::string& table) {
  const std::string name = user_table(db, table).name;
  as_statement(db, [&] {
    // Relationships first: they take their foreign-key indexes out of both definitions.
    for (const std::string& relationship : relationships_of(db.catalog(), name)) delete_relationship(db, relationship);
    const CatalogEntry& entry = user_table(db, name);
    const std::int32_t id = entry.id;
    TableStorage storage = table_storage(db.pager(), read_table_def(db.pager(), entry.table_page()));
    // The catalog row's property blob lives on a long-value page that may be left empty.
    if (auto row = catalog_row(db, id)) add_row_long_values(storage, db.pager(), disk::kCatalogPage, *row);
    CatalogWriter(db.pager(), db.allocator()).remove(id);
    give_back(db.pager(), db.allocator(), storage);
  });
}

void rename_table(WritableDatabase& db, const std::string& table, const std::string& new_name) {
  const CatalogEntry& entry = user_table(db, table);
  check_table_name(new_name);
  const std::string old_name = entry.name;
  const std::int32_t id = entry.id;
  for (const CatalogEntry& e : db.catalog().entries()) {
    if (e.id == id) continue;
    const bool table_or_query = e.parent_id == object_ids::Tables;
    if (table_or_query && same_name(e.name, new_name)) throw Error(ErrorCode::TableExists, new_name);
  }
  as_statement(db, [&] {
    CatalogWriter(db.pager(), db.allocator()).rename(id, new_name);
    rename_in_relationships(db, old_name, new_name);
  });
}

}  // namespace jet
