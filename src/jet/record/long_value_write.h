// Writing long values (Memo, OLE): the 12-byte reference a row holds, and the data.
//
// Placement follows Access: up to 64 bytes inline after the reference (when the row has
// room), up to one long-value row (page size - header - slot - 4 bytes) on a long-value page,
// longer values as a chain of rows each starting with the pointer to the next one.
// Long-value pages (data pages marked "LVAL") are shared by the values of every writer of
// the database (the allocator remembers the page started last) and allocated through the
// PageAllocator when the current one is full.
// free() marks the rows of a stored value deleted; an inline value has none.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "jet/storage/overlay_pager.h"
#include "jet/record/page_allocator.h"
#include "jet/record/usage_map.h"
#include "jet/storage/format.h"

namespace jet {

class LongValueWriter {
 public:
  LongValueWriter(OverlayPager& pager, PageAllocator& allocator) : pager_(pager), allocator_(allocator) {}

  // Stores `data`; returns the field for the row. `inline_room`: bytes the row can still
  // give to this field (inline storage only when the value fits there too).
  std::vector<std::uint8_t> write(std::span<const std::uint8_t> data, std::size_t inline_room = 4096);
  // Marks deleted the long-value rows of a stored field (no-op for inline values).
  void free(std::span<const std::uint8_t> field);

  // Largest data of one long-value row.
  std::size_t max_row_data() const noexcept { return pager_.page_size() - 14 - 2 - 4; }

 private:
  // A row of `bytes` on a long-value page with room; returns its id.
  RowId place(std::span<const std::uint8_t> bytes);

  OverlayPager& pager_;
  PageAllocator& allocator_;
  std::optional<PageNumber> current_;
};

}  // namespace jet
