// Property blobs: the LvProp long value of an MSysObjects row, holding the properties Access
// keeps outside the table definition (DefaultValue, Required, AllowZeroLength, Description,
// Format, ValidationRule, DecimalPlaces, column widths...).
//
// A blob is "MR2\0" followed by blocks: one pool of property names, then blocks of values,
// one for the object itself and one per column (named after the column). Each value has a
// type code, a flag byte (bit 0: DDL property, one the engine itself enforces) and its bytes.
//
// parse_properties keeps everything the blob says, in its order, including pool names no
// value uses (Access leaves them), so encode_properties(parse_properties(b)) == b for blobs
// Access wrote. Parsing is bounds-checked: a damaged blob throws jet::Error 3049.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "jet/record/table_def.h"
#include "jet/base/value.h"

namespace jet {

namespace property_flags {
inline constexpr std::uint8_t Ddl = 0x01;  // set by the engine's data definition, not the UI
}  // namespace property_flags

struct Property {
  std::string name;
  ColumnType type = ColumnType::Text;  // stored type code (may be one ColumnType does not name)
  std::uint8_t flags = 0;              // property_flags, other bits kept as stored
  Value value;
  // Stored size of a fixed-width value when it differs from the type's natural size
  // (some Yes/No properties are stored on four bytes); 0 otherwise.
  std::uint16_t width = 0;

  bool is_ddl() const noexcept { return flags & property_flags::Ddl; }
  friend bool operator==(const Property&, const Property&) = default;
};

enum class PropertyBlockKind : std::uint16_t {
  Object = 0x0000,  // properties of the object itself (table, query, database...)
  Column = 0x0001,  // properties of one column, block named after it
};

struct PropertyBlock {
  PropertyBlockKind kind = PropertyBlockKind::Object;
  std::string name;  // column name; empty for the object block
  std::vector<Property> properties;

  // Property by name (case-insensitive), or nullptr.
  const Property* find(std::string_view property) const;
  // Adds or replaces a property; a new one goes last. The type defaults from the value's kind.
  void set(std::string_view property, Value value, std::uint8_t flags = 0);
  void set(std::string_view property, ColumnType type, Value value, std::uint8_t flags = 0);
  // Removes a property; false when there was none.
  bool remove(std::string_view property);

  friend bool operator==(const PropertyBlock&, const PropertyBlock&) = default;
};

// The stored form Access gives the column properties the engine itself enforces:
// DefaultValue as a Memo, ValidationRule and ValidationText as Texts, Required and
// AllowZeroLength as Yes/No, all five marked Ddl. nullopt for any other property, which is
// stored in its value's own type without flags.
struct PropertyForm {
  ColumnType type;
  std::uint8_t flags;
};
std::optional<PropertyForm> engine_column_property_form(std::string_view property);

// Sets a column property as Access would store it: a property already in the block keeps its
// stored type and flags, an engine-enforced one takes its form above (expressions given as
// numbers or dates are kept as their text), any other goes in as its value.
void set_column_property(PropertyBlock& block, std::string_view property, const Value& value);

struct PropertySet {
  // The name pool in stored order. Names a block uses but the pool lacks are added at the
  // end when encoding, so callers may leave this alone when they add properties.
  std::vector<std::string> names;
  std::vector<PropertyBlock> blocks;  // in stored order

  // The object block / a column's block (case-insensitive), or nullptr.
  const PropertyBlock* object() const;
  const PropertyBlock* column(std::string_view column_name) const;
  // The same, created at the end when missing (the object block goes first).
  PropertyBlock& object_block();
  PropertyBlock& column_block(std::string_view column_name);

  bool empty() const noexcept { return blocks.empty(); }
  friend bool operator==(const PropertySet&, const PropertySet&) = default;
};

// An empty input gives an empty set (objects without properties have no blob).
PropertySet parse_properties(std::span<const std::uint8_t> blob);

// The blob for a set; empty when the set has no names and no blocks. Throws jet::Error 13 when
// a value does not fit its type code, 3049 when a block or value would exceed the sizes the
// format can record.
std::vector<std::uint8_t> encode_properties(const PropertySet& set);

}  // namespace jet
