// Adding and dropping columns: the definition is rewritten, the rows are not.
//
// A new column takes the next column number never used in the table (max_columns: numbers
// of dropped columns are not reused until a compaction), so no stored row can hold a value
// for it: rows written before it hold fewer columns and read it as Null. A variable column
// takes the next slot of the row's variable-offset table (the slots of dropped columns stay
// counted, as Access counts them), a fixed one the offset after the last fixed column and,
// as Access records it, the number of variable slots before it.
#include "jet/ddl/alter_column.h"

#include <algorithm>

#include "jet/ddl/alter_column_internal.h"
#include "jet/catalog/catalog_write.h"
#include "jet/db/create_table.h"
#include "jet/base/error.h"
#include "jet/base/names.h"
#include "jet/record/tdef_encode.h"
#include "jet/storage/transaction.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

using namespace column_change;

// Access refuses a 256th column, deleted ones counted, until the table is compacted.

[[noreturn]] void refuse_column_change(const std::string& why) {
  throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
              describe(static_cast<int>(ErrorCode::OperationNotSupported)) + " (" + why + ")");
}

// The stored form of the new column, placed after everything the table ever held.
ColumnDef new_column(const TableDef& def, const ColumnDesign& design, std::uint16_t sort_order) {
  TableDesign probe;
  probe.name = "T";
  probe.columns.push_back(design);
  ColumnDef column = table_def_of(probe, sort_order).columns.front();
  column.number = def.max_columns;
  for (const ColumnDef& c : def.columns) column.number = std::max<std::uint16_t>(column.number, c.number + 1);
  std::uint16_t slots = def.variable_columns;
  for (const ColumnDef& c : def.columns)
    if (!c.is_fixed()) slots = std::max<std::uint16_t>(slots, c.var_index + 1);
  column.var_index = slots;
  column.fixed_offset = 0;
  if (column.is_fixed() && column.type != ColumnType::Boolean) {
    std::size_t end = 0;
    for (const ColumnDef& c : def.columns)
      if (c.is_fixed() && c.type != ColumnType::Boolean)
        end = std::max(end, std::size_t{c.fixed_offset} + fixed_column_size(c));
    column.fixed_offset = static_cast<std::uint16_t>(end);
  }
  column.display_index = static_cast<std::uint32_t>(def.columns.size());
  return column;
}

}  // namespace

void add_column(WritableDatabase& db, const std::string& table, const ColumnDesign& design,
                std::optional<std::uint16_t> ordinal_position) {
  const CatalogEntry& entry = table_entry(db, table);
  TableDef def = read_table_def(db.pager(), entry.table_page());
  if (def.find_column(design.name)) throw Error(ErrorCode::FieldDefinedTwice, design.name);
  if (def.columns.size() >= disk::kMaxColumns || def.max_columns >= disk::kMaxColumns)
    refuse_column_change("trop de champs, colonnes supprimées comprises : compactez la base");
  if (design.autonumber) {
    if (def.row_count > 0) refuse_column_change("numérotation automatique ajoutée à une table qui contient des lignes");
    for (const ColumnDef& c : def.columns)
      if (c.is_autonumber()) refuse_column_change("une seule numérotation automatique par table");
  }
  const std::uint16_t sort_order =
      static_cast<std::uint16_t>(db.header().sort_order ? db.header().sort_order : 0x0409);
  ColumnDef column = new_column(def, design, sort_order);  // validates the design
  const CatalogEntry saved = entry;  // the catalog is reloaded below

  Statement statement(db.pager());
  if (is_long_value(column.type)) {
    UsageMapPages maps(db.pager(), db.allocator());
    LongValueMaps lv;
    lv.column_number = column.number;
    lv.owned_pages = maps.add_map();
    lv.free_pages = maps.add_map();
    def.long_value_maps.push_back(lv);
  }
  if (!column.is_fixed()) def.variable_columns = static_cast<std::uint16_t>(column.var_index + 1);
  def.max_columns = static_cast<std::uint16_t>(column.number + 1);
  const std::uint16_t number = column.number;
  def.columns.push_back(std::move(column));
  if (ordinal_position) place_in_display_order(def, number, *ordinal_position);
  renumber(def);
  write_table_def(db.pager(), db.allocator(), def);

  // The column's properties (DefaultValue, Required, AllowZeroLength...) replace any block
  // a dropped column of the same name left behind.
  TableDesign probe;
  probe.name = saved.name;
  probe.columns.push_back(design);
  const PropertySet wanted = properties_of(probe);
  PropertySet properties = read_properties(db, saved);
  auto stale = std::remove_if(properties.blocks.begin(), properties.blocks.end(), [&](const PropertyBlock& b) {
    return b.kind == PropertyBlockKind::Column && same_name(b.name, design.name);
  });
  const bool had_block = stale != properties.blocks.end();
  properties.blocks.erase(stale, properties.blocks.end());
  if (const PropertyBlock* block = wanted.column(design.name)) properties.column_block(design.name) = *block;
  if (had_block || wanted.column(design.name)) write_properties(db, saved, properties);
  statement.commit();
  db.reload_catalog();
}

void drop_column(WritableDatabase& db, const std::string& table, const std::string& name) {
  const CatalogEntry& entry = table_entry(db, table);
  TableDef def = read_table_def(db.pager(), entry.table_page());
  const ColumnDef& column = column_of(def, entry.name, name);
  for (const IndexDef& index : def.indexes)
    for (const IndexColumn& c : index.columns)
      if (c.column_number == column.number) throw Error(ErrorCode::FieldInUse, column.name);
  if (relationship_uses(db.catalog(), entry.name, column.name)) throw Error(ErrorCode::FieldInUse, column.name);
  if (def.columns.size() == 1) refuse_column_change("le dernier champ d'une table");
  const std::string dropped = column.name;
  const std::uint16_t number = column.number;
  const CatalogEntry saved = entry;

  Statement statement(db.pager());
  // max_columns and the variable slot count keep counting the dropped column: rows stored
  // with it keep their shape, and its number is not given to another column.
  def.variable_columns = std::max<std::uint16_t>(def.variable_columns, [&] {
    std::uint16_t slots = 0;
    for (const ColumnDef& c : def.columns)
      if (!c.is_fixed()) slots = std::max<std::uint16_t>(slots, c.var_index + 1);
    return slots;
  }());
  def.columns.erase(std::find_if(def.columns.begin(), def.columns.end(),
                                 [&](const ColumnDef& c) { return c.number == number; }));
  def.long_value_maps.erase(std::remove_if(def.long_value_maps.begin(), def.long_value_maps.end(),
                                           [&](const LongValueMaps& m) { return m.column_number == number; }),
                            def.long_value_maps.end());
  compact_display_order(def);
  renumber(def);
  write_table_def(db.pager(), db.allocator(), def);

  PropertySet properties = read_properties(db, saved);
  auto block = std::remove_if(properties.blocks.begin(), properties.blocks.end(), [&](const PropertyBlock& b) {
    return b.kind == PropertyBlockKind::Column && same_name(b.name, dropped);
  });
  if (block != properties.blocks.end()) {
    properties.blocks.erase(block, properties.blocks.end());
    write_properties(db, saved, properties);
  }
  statement.commit();
  db.reload_catalog();
}

}  // namespace jet
