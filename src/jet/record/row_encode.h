// Encoding values into Jet 4 rows, the inverse of decode_row (row.h).
//
// A row is: column count (u16), the fixed-length area, the variable-length data, the table
// of variable offsets (reversed: end of data first, column 0 last), the variable count (u16)
// and the null mask (one bit per column number; Yes/No values live in their bit).
// New rows take the shape Access gives them: every column of the definition, the fixed
// area up to the last fixed column, zeros in the place of a Null fixed column.
//
// Values are converted to the column's type first (numbers widen or narrow, with 6
// Overflow when out of range, 13 when the kind cannot be converted); text longer than the
// column allows -> 3163. Text is stored in the compressed form when the column asks for it
// and every character fits in one byte, as Access does, and only when that is shorter
// (three characters or more).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "jet/storage/pager.h"
#include "jet/record/row.h"
#include "jet/record/table_def.h"

namespace jet {

// The stored form of one non-long field (fixed: exactly its size; variable: its bytes).
std::vector<std::uint8_t> encode_field(const ColumnDef& column, const Value& value);

// Text as Access stores it in a column (compressed when allowed and possible).
std::vector<std::uint8_t> encode_stored_text(std::string_view utf8, bool compress);
// UTF-8 to UTF-16LE (invalid bytes become U+FFFD).
std::vector<std::uint8_t> utf8_to_utf16le(std::string_view utf8);

// Where each column of a stored row is: its bytes, or nullopt (Null / not stored).
// Yes/No columns have no bytes; their value is in `booleans`.
struct RowLayout {
  std::uint16_t column_count = 0;  // columns the row holds (rows older than a new column hold fewer)
  std::uint16_t var_count = 0;     // variable columns the row holds
  std::size_t fixed_length = 0;    // bytes of the fixed area
  std::size_t data_end = 0;        // end of the variable data (its offset-table end entry)
  std::size_t slack = 0;           // unused bytes between the data and the offset table
  std::vector<std::optional<ByteView>> fields;  // by TableDef::columns order
};
RowLayout read_row_layout(const TableDef& def, const ByteView& row);
// The same into `layout`, whose list of fields is reused: for rows read one after another.
void read_row_layout_into(const TableDef& def, const ByteView& row, RowLayout& layout);

// Stored field of a Memo/OLE value: the 12-byte reference (and inline data), made by the
// long-value writer. Called only for non-Null long values.
using LongValueEncoder = std::function<std::vector<std::uint8_t>(const ColumnDef&, const Value&)>;

// Encodes `values` (TableDef::columns order, one per column) into a new row.
std::vector<std::uint8_t> encode_row(const TableDef& def, const Row& values,
                                     const LongValueEncoder& long_values);

// Converts `value` to what `column` stores (Null stays Null); throws 6, 13 or 3163.
Value coerce_to_column(const ColumnDef& column, const Value& value);
// The same without copying a value that needs no conversion: returns `value` itself, or
// `converted` set to the converted value.
const Value& coerce_into(const ColumnDef& column, const Value& value, Value& converted);

}  // namespace jet
