// The frame of a stored row: where its null mask, variable-offset table and fixed data are.
// Jet 4 rows start with a 2-byte column count and keep 2-byte offsets; Jet 3 rows start
// with a 1-byte count and keep 1-byte offsets, the high part of each offset given by a
// jump table (one entry per 256-byte boundary: the first variable column past it).
//
// From the row's end backwards: null mask (one bit per column of the row), then the count
// of variable columns, then (Jet 3) the jump table, then the offsets of the variable
// columns in column order with the end of their data last.
#pragma once

#include <cstdint>
#include <vector>

#include "jet/storage/format_layout.h"
#include "jet/storage/pager.h"

namespace jet {

struct RowFrame {
  std::uint16_t stored_columns = 0;  // columns the row was written with
  std::size_t mask_at = 0;           // first byte of the null mask
  std::uint16_t var_count = 0;
  std::size_t fixed_end = 0;         // end of the fixed data (first variable column)
  std::size_t var_table = 0;         // Jet 4: offset of variable column 0 in the table
  std::vector<std::uint16_t> offsets;  // Jet 3: var_count + 1 resolved offsets

  // Start of variable column `i` (i == var_count: end of the variable data).
  std::size_t var_offset(const ByteView& bytes, std::size_t i) const {
    if (!offsets.empty()) return offsets.at(i);
    return bytes.u16(var_table - 2 * i);
  }
};

// Reads the frame of `bytes` (one live row); `has_variable` when the table has variable
// columns (a row of a table without any keeps no offset table). Throws 3049 on a frame
// that does not fit in the row, or (unless `offsets_checked`, for a row framed before) on
// variable offsets out of order or past their table.
RowFrame read_row_frame(const ByteView& bytes, const FormatLayout& layout, bool has_variable,
                        bool offsets_checked = false);

}  // namespace jet
