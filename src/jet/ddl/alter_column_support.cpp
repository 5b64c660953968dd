#include <algorithm>
#include <vector>

#include "jet/ddl/alter_column_internal.h"
#include "jet/catalog/catalog_write.h"
#include "jet/base/error.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/base/names.h"
#include "jet/record/row_encode.h"
#include "jet/table/table.h"

namespace jet::column_change {
namespace {

std::vector<ColumnDef*> by_display(TableDef& def) {
  std::vector<ColumnDef*> order;
  for (ColumnDef& c : def.columns) order.push_back(&c);
  std::stable_sort(order.begin(), order.end(),
                   [](const ColumnDef* a, const ColumnDef* b) { return a->display_index < b->display_index; });
  return order;
}

}  // namespace

const CatalogEntry& table_entry(WritableDatabase& db, const std::string& table) {
  const CatalogEntry* entry = db.catalog().find_table(table);
  if (!entry) throw Error(ErrorCode::TableNotFound, table);
  return *entry;
}

const ColumnDef& column_of(const TableDef& def, const std::string& table, const std::string& column) {
  const ColumnDef* found = def.find_column(column);
  if (!found) throw Error(static_cast<int>(ErrorCode::ItemNotFound),
                          describe(static_cast<int>(ErrorCode::ItemNotFound)) + " (" + table + "." + column + ")");
  return *found;
}

void place_in_display_order(TableDef& def, std::uint16_t number, std::size_t position) {
  std::vector<ColumnDef*> order = by_display(def);
  auto moved = std::find_if(order.begin(), order.end(), [&](const ColumnDef* c) { return c->number == number; });
  if (moved == order.end()) return;
  ColumnDef* column = *moved;
  order.erase(moved);
  order.insert(order.begin() + static_cast<std::ptrdiff_t>(std::min(position, order.size())), column);
  for (std::size_t i = 0; i < order.size(); ++i) order[i]->display_index = static_cast<std::uint32_t>(i);
}

void compact_display_order(TableDef& def) {
  std::vector<ColumnDef*> order = by_display(def);
  for (std::size_t i = 0; i < order.size(); ++i) order[i]->display_index = static_cast<std::uint32_t>(i);
}

std::size_t display_position(const TableDef& def, std::uint16_t number) {
  std::size_t position = 0;
  const ColumnDef* column = def.column_by_number(number);
  if (!column) return 0;
  for (const ColumnDef& c : def.columns)
    if (c.display_index < column->display_index) ++position;
  return position;
}

void renumber(TableDef& def) {
  std::sort(def.columns.begin(), def.columns.end(),
            [](const ColumnDef& a, const ColumnDef& b) { return a.number < b.number; });
  for (std::size_t i = 0; i < def.columns.size(); ++i) def.columns[i].definition_order = static_cast<std::uint32_t>(i);
  std::vector<LongValueMaps> maps;
  for (const ColumnDef* c : by_display(def)) {
    if (!is_long_value(c->type)) continue;
    auto found = std::find_if(def.long_value_maps.begin(), def.long_value_maps.end(),
                              [&](const LongValueMaps& m) { return m.column_number == c->number; });
    if (found != def.long_value_maps.end()) maps.push_back(*found);
  }
  def.long_value_maps = std::move(maps);
}

StoredColumn stored_column(WritableDatabase& db, const CatalogEntry& entry, const TableDef& def,
                           const ColumnDef& column) {
  StoredColumn facts;
  const Table table(db.pager(), entry.name, def);
  table.scan([&](RowId, const Row& row) {
    ++facts.rows;
    const Value& v = row[column.definition_order];
    if (v.is_null()) {
      facts.has_null = true;
    } else if (v.kind() == ValueKind::Text) {
      if (v.as_text().empty()) facts.has_empty = true;
      if (column.type == ColumnType::Text)
        facts.longest_text = std::max(facts.longest_text, utf8_to_utf16le(v.as_text()).size() / 2);
    }
    return true;
  });
  return facts;
}

PropertySet read_properties(WritableDatabase& db, const CatalogEntry& entry) {
  CatalogWriter catalog(db.pager(), db.allocator());
  const auto row = catalog.find(entry.id);
  if (!row) throw Error(ErrorCode::TableNotFound, entry.name);
  return parse_properties(row->properties);
}

void write_properties(WritableDatabase& db, const CatalogEntry& entry, const PropertySet& properties) {
  CatalogWriter(db.pager(), db.allocator()).set_properties(entry.id, properties);
}

bool relationship_uses(const Catalog& catalog, const std::string& table, const std::string& column) {
  for (const Relationship& r : catalog.relationships()) {
    if (same_name(r.table, table))
      for (const auto& c : r.columns)
        if (same_name(c, column)) return true;
    if (same_name(r.referenced_table, table))
      for (const auto& c : r.referenced_columns)
        if (same_name(c, column)) return true;
  }
  return false;
}

void rename_in_relationships(WritableDatabase& db, const std::string& table, const std::string& old_name,
                             const std::string& new_name) {
  if (!relationship_uses(db.catalog(), table, old_name)) return;
  const CatalogEntry& entry = table_entry(db, "MSysRelationships");
  TableIndexHook hook(db.allocator());
  TableWriter writer(db.pager(), db.allocator(), entry.name, entry.table_page(), {}, &hook);
  const TableDef def = writer.definition();
  const ColumnDef* object = def.find_column("szObject");
  const ColumnDef* column = def.find_column("szColumn");
  const ColumnDef* referenced_object = def.find_column("szReferencedObject");
  const ColumnDef* referenced_column = def.find_column("szReferencedColumn");
  if (!object || !column || !referenced_object || !referenced_column)
    throw Error(ErrorCode::DatabaseDamaged, "MSysRelationships");
  auto names = [&](const Row& row, const ColumnDef* t, const ColumnDef* c) {
    const Value& tv = row[t->definition_order];
    const Value& cv = row[c->definition_order];
    return tv.kind() == ValueKind::Text && cv.kind() == ValueKind::Text && same_name(tv.as_text(), table) &&
           same_name(cv.as_text(), old_name);
  };
  std::vector<std::pair<RowId, Row>> changed;
  Table(db.pager(), entry.name, def).scan([&](RowId id, const Row& row) {
    Row updated = row;
    bool touched = false;
    if (names(row, object, column)) updated[column->definition_order] = Value::text(new_name), touched = true;
    if (names(row, referenced_object, referenced_column))
      updated[referenced_column->definition_order] = Value::text(new_name), touched = true;
    if (touched) changed.emplace_back(id, std::move(updated));
    return true;
  });
  for (const auto& [id, row] : changed) writer.update(id, row);
}

}  // namespace jet::column_change
