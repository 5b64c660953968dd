// Page usage maps: bitmaps telling which pages belong to a table (or an index, or the file).
// Stored in a row of a data page: type 0 holds the bitmap inline after a start page;
// type 1 lists pages (kind 0x05) each holding a bitmap slice.
#pragma once

#include <cstdint>
#include <vector>

#include "jet/storage/pager.h"

namespace jet {

// A row pointer: page in the upper 24 bits, row number in the low byte.
struct RowId {
  PageNumber page = 0;
  std::uint8_t row = 0;
  static RowId from_pointer(std::uint32_t pointer) noexcept {
    return {pointer >> 8, static_cast<std::uint8_t>(pointer & 0xFF)};
  }
  std::uint32_t pointer() const noexcept { return (page << 8) | row; }
  friend bool operator==(const RowId&, const RowId&) = default;
  friend auto operator<=>(const RowId&, const RowId&) = default;
};

// Pages marked in the usage map stored at row `where`, ascending. Throws 3049 on a malformed
// map or one naming a page past the end of the file (a truncated file).
std::vector<PageNumber> read_usage_map(Pager& pager, RowId where);

}  // namespace jet
