// Pieces shared by the column changes of alter_column.h: finding the table, the display
// order of the stored definition, the table's property blob, what the stored rows hold, and
// the MSysRelationships rows that name columns.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "jet/catalog/catalog.h"
#include "jet/record/properties.h"
#include "jet/record/table_def.h"
#include "jet/db/writable_database.h"

namespace jet::column_change {

// The table's catalog entry (3078 when there is no local table of that name).
const CatalogEntry& table_entry(WritableDatabase& db, const std::string& table);

// The column of that name (3265 when there is none).
const ColumnDef& column_of(const TableDef& def, const std::string& table, const std::string& column);

// Display order is the order of the column blocks in the stored definition (what DAO's
// OrdinalPosition and Access's design view show); TableDef::columns stays in column-number
// order. Moves the column numbered `number` to `position` (clamped), the others closing up.
void place_in_display_order(TableDef& def, std::uint16_t number, std::size_t position);
// Renumbers display_index 0..n-1 in the current display order (after a column left).
void compact_display_order(TableDef& def);
// The display position of the column numbered `number`.
std::size_t display_position(const TableDef& def, std::uint16_t number);
// definition_order follows the position in TableDef::columns again; the long-value usage
// maps are listed in display order, as the definition stores them.
void renumber(TableDef& def);

// What the stored rows hold in one column.
struct StoredColumn {
  std::uint64_t rows = 0;
  bool has_null = false;
  bool has_empty = false;          // a zero-length Text or Memo value
  std::size_t longest_text = 0;    // Text: UTF-16 units of the longest value
};
StoredColumn stored_column(WritableDatabase& db, const CatalogEntry& entry, const TableDef& def,
                           const ColumnDef& column);

// The table's properties as stored now / stored back (in the caller's statement).
PropertySet read_properties(WritableDatabase& db, const CatalogEntry& entry);
void write_properties(WritableDatabase& db, const CatalogEntry& entry, const PropertySet& properties);

// Whether a relationship names the column (as the table holding the foreign key or as the
// referenced table).
bool relationship_uses(const Catalog& catalog, const std::string& table, const std::string& column);
// MSysRelationships rows naming table.old_name name table.new_name instead.
void rename_in_relationships(WritableDatabase& db, const std::string& table, const std::string& old_name,
                             const std::string& new_name);

// Properties the engine keeps itself (a caller cannot set them: 3219).
bool engine_kept(std::string_view property);

}  // namespace jet::column_change
