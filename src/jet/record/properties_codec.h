// Typed values of property blobs: how one stored property value (type code + bytes) becomes a
// jet::Value and back. Text is stored as plain UTF-16LE (never the compressed form), numbers
// little-endian. Fixed-width types may be stored wider than their natural size (Access writes
// some Yes/No properties on four bytes), so the width is part of the encoding.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "jet/record/table_def.h"
#include "jet/base/value.h"

namespace jet {

// Natural stored size of a fixed-width property type; 0 for variable-length types
// (Text, Memo, Binary, OLE, Numeric and unknown codes).
std::size_t property_natural_width(ColumnType type) noexcept;

// Stored bytes → value. Text/Memo → Text; Binary/OLE/Numeric/unknown codes → Binary
// (bytes kept as they are); GUID → Guid. Throws jet::Error 3049 when the bytes are too few
// for the type.
Value decode_property_value(ColumnType type, std::span<const std::uint8_t> bytes);

// Value → stored bytes. `width` is the stored size for fixed-width types (0 = natural size);
// Boolean True is written as 1, the way Access writes it. Throws jet::Error 13 (type mismatch)
// when the value's kind does not fit the type.
std::vector<std::uint8_t> encode_property_value(ColumnType type, const Value& value,
                                                std::size_t width = 0);

// The type code Access uses for a value of this kind when it creates a property
// (Text → Text, Binary → Binary, Date → DateTime...).
ColumnType property_type_for(ValueKind kind);

// Property text (UTF-16LE) ↔ UTF-8. Unlike general stored text, unpaired surrogates survive
// the round trip (as three-byte sequences) so that a blob is written back byte for byte.
std::string decode_property_text(std::span<const std::uint8_t> bytes);
std::vector<std::uint8_t> encode_property_text(std::string_view utf8);

// Case-insensitive comparison of property and column names, as Jet compares them
// (Unicode case folding, so "Été" matches "ÉTÉ").
bool property_name_equals(std::string_view a, std::string_view b);

}  // namespace jet
