// Columns added to, changed in and removed from a table that may already hold rows, the way
// Access does it: the table definition (and the column's properties) are rewritten, the rows
// are not. Each call is one statement (a savepoint inside an open transaction): a refused
// change leaves nothing behind.
//
// add_column: the new column takes the next free column number and goes last in display
//   order (or at `ordinal_position`, the others moving up). Rows written before it read it as
//   Null (a Yes/No column as No); its default value is a property that applies to rows added
//   later (filling the existing rows is the caller's UPDATE). 3191 when the name is in use,
//   3078 when the table is missing, 3251 past 255 columns (dropped ones counted until a
//   compaction) or for an autonumber added to a table holding rows, otherwise the checks of
//   validate(). Numbers of dropped columns are never given again before a compaction.
//
// Display order (DAO's OrdinalPosition, 0-based) is the order of the column blocks in the
// stored definition, ColumnDef::display_index; TableDef::columns and mdbtools list columns
// by column number instead.
//
// drop_column: the column leaves the definition and its properties go with it; the other
//   columns keep their numbers and their data (the gap is closed by compaction). 3280 when
//   an index or a relationship uses it (drop those first), 3265 when there is no such column.
//
// alter_column: whatever the change sets. A rename carries the column's properties and its
//   place in indexes and relationships (3191 when the new name is taken). A text size below
//   a stored value, Required over stored Nulls, or a zero-length text stored when it is no
//   longer allowed are refused (3163, 3314, 3315) and nothing changes. `properties` sets
//   other properties of the column's property block (DefaultValue, ValidationRule,
//   ValidationText, Description, Format...); a Null value removes the property.
//
// Column properties read back with column_properties: the definition's own attributes first
// (Name, Type, Size, OrdinalPosition, Required, AllowZeroLength, Attributes...) then the
// stored ones in their order. A property the engine keeps itself and that a caller cannot
// set (Type, Attributes of a stored column...) is marked not settable; asking alter_column
// to set it is refused with 3219 (invalid operation).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "jet/table/table_design.h"
#include "jet/base/value.h"
#include "jet/db/writable_database.h"

namespace jet {

struct ColumnChange {
  std::optional<std::string> name;
  std::optional<std::uint16_t> size;              // Text: 1..255 characters
  std::optional<bool> required;
  std::optional<bool> allow_zero_length;          // Text and Memo
  std::optional<std::uint16_t> ordinal_position;  // 0-based display position
  std::vector<std::pair<std::string, Value>> properties;  // others; Null removes
};

struct ColumnProperty {
  std::string name;
  Value value;
  bool settable = true;
};

void add_column(WritableDatabase& db, const std::string& table, const ColumnDesign& column,
                std::optional<std::uint16_t> ordinal_position = std::nullopt);
void drop_column(WritableDatabase& db, const std::string& table, const std::string& column);
void alter_column(WritableDatabase& db, const std::string& table, const std::string& column,
                  const ColumnChange& change);

std::vector<ColumnProperty> column_properties(WritableDatabase& db, const std::string& table,
                                              const std::string& column);

}  // namespace jet
