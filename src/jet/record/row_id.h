// Where a row lives: the page and the row's slot in it, as Jet packs them in one 32-bit
// pointer (in usage maps, index entries, long value references and overflow rows).
#pragma once

#include <compare>
#include <cstdint>

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

}  // namespace jet
