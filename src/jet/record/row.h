// Rows: decoding the stored bytes of one row into values, and reading a row by its id.
// A row holds fixed-length data, variable-length data, a table of variable offsets and a
// null mask (one bit per column number; for Yes/No columns the bit is the value).
// Rows written before a column was added hold fewer columns: the missing ones read as Null
// (Yes/No ones as No: they have no Null).
// Memo/OLE columns hold a 12-byte reference resolved through the long-value reader.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "jet/storage/pager.h"
#include "jet/record/table_def.h"
#include "jet/record/usage_map.h"
#include "jet/base/value.h"

namespace jet {

// Values of one row, in the order of TableDef::columns.
using Row = std::vector<Value>;

// Which columns a reader needs, by position in TableDef::columns; empty means all of them.
// The others are left Null without being decoded (nor their long values read).
using ColumnSelection = std::vector<bool>;

// Decodes `bytes` (one live row of `def`) into values. Long values are read from `pager`.
Row decode_row(Pager& pager, const TableDef& def, const ByteView& bytes, const ColumnSelection& wanted = {});
// The same into `row`, whose values (and their text buffers) are reused: for scans.
void decode_row_into(Pager& pager, const TableDef& def, const ByteView& bytes, Row& row,
                     const ColumnSelection& wanted = {});
// Decodes only the columns at `positions` (in TableDef::columns) into `row`, sized to the
// columns, leaving the others as they are; reads no page, for threads that must not: none of
// those columns may be a Memo or OLE column holding a value (std::logic_error). For a row
// framed before (read_row_frame): only the offsets of the columns decoded are checked.
void decode_columns_into(const FormatLayout& layout, const TableDef& def, const ByteView& bytes, Row& row,
                         std::span<const std::size_t> positions);

// Decodes one column of a stored fixed-length or variable-length field (no long values).
Value decode_field(const ColumnDef& column, const ByteView& bytes);

// The row `id` of table `def`: follows overflow pointers (bounded, so a cycle is reported as
// damage). Returns nullopt for a deleted row. Throws 3049 when the row does not belong to
// a data page of this table.
std::optional<Row> read_row(Pager& pager, const TableDef& def, RowId id, const ColumnSelection& wanted = {});

// The stored bytes of the live row `id`, after following overflow pointers; nullopt if deleted.
std::optional<ByteView> locate_row(Pager& pager, RowId id, std::uint32_t owner_page,
                                   Page* keep_alive);

}  // namespace jet
