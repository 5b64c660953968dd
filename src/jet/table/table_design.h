// What a table is made of, as its creator states it: columns with their types and
// properties, indexes, table properties. create_table (writable_database.h) turns a design into
// a definition, usage maps, empty index trees and catalog rows; design_of gives the design of an
// existing table, so that a table can be rebuilt elsewhere (compaction, copies).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "jet/record/properties.h"
#include "jet/record/table_def.h"
#include "jet/base/value.h"

namespace jet {

struct ColumnDesign {
  std::string name;
  ColumnType type = ColumnType::Text;
  // Text: characters (1..255); Binary: bytes (1..255); ignored for the other types, whose
  // size follows from the type.
  std::uint16_t size = 255;
  bool autonumber = false;           // Long: incremented by the engine; Guid: drawn at random
  bool compressed_unicode = true;    // Text and Memo: Access's "Unicode compression"
  std::uint8_t precision = 18;       // Numeric
  std::uint8_t scale = 0;            // Numeric
  // Column properties kept in the table's property blob.
  std::optional<std::string> default_value;
  bool required = false;
  // Text and Memo. nullopt stores no AllowZeroLength property, as Jet's SQL DDL does; Jet then
  // accepts "" in the column (the rule is enforced only once the property is stored false).
  std::optional<bool> allow_zero_length;
  std::optional<std::string> description;
  std::vector<std::pair<std::string, Value>> properties;  // any other, in order
};

struct IndexColumnDesign {
  std::string column;
  bool descending = false;
};

struct IndexDesign {
  std::string name;
  std::vector<IndexColumnDesign> columns;  // 1..10
  bool primary = false;   // implies unique and required
  bool unique = false;
  bool ignore_nulls = false;
  bool required = false;
};

struct TableDesign {
  std::string name;
  std::vector<ColumnDesign> columns;
  std::vector<IndexDesign> indexes;
  std::vector<std::pair<std::string, Value>> properties;  // table properties (Description...)
};

// Checks a design before anything is written: names (non-empty, at most 64 characters, none of
// . ! ` [ ] and no leading space), no column or index named twice (3191 / 3284), index
// columns that exist, sizes and types that can be stored. Throws jet::Error.
void validate(const TableDesign& design);

// The design of an existing table: columns in definition order, logical indexes (foreign-key
// indexes left out: relationships recreate them), column and table properties from `properties`.
TableDesign design_of(std::string_view name, const TableDef& def, const PropertySet& properties);

}  // namespace jet
