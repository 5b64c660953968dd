// Changing usage maps in place: one bit per page, in the map stored at a row of a data page
// (inline: start page then bitmap; reference: pointers to usage-map pages).
//
// - set_usage_bit marks or clears `page`. An inline map that cannot hold the page is turned
//   into a reference map of the same row length (Access does the same when a table outgrows
//   its inline map); a missing usage-map page of a reference map is allocated.
// - The global map (page 1, row 0) marks FREE pages, including those past the end of the
//   file. Pages it does not cover count as in use here, so a page is never handed out
//   twice: marking such a page free is simply not recorded. The page allocator widens the
//   map to the whole file before it sets a bit (free_page_map.h).
#pragma once

#include <functional>
#include <optional>

#include "jet/storage/overlay_pager.h"
#include "jet/record/usage_map.h"
#include "jet/storage/format.h"

namespace jet {

inline constexpr RowId kGlobalUsageMap{disk::kGlobalMapPage, 0};

// Appends a page and returns its number; used to create usage-map pages.
using PageAppender = std::function<PageNumber(std::vector<std::uint8_t>)>;

// Marks (`on`) or clears `page` in the map at `where`. Returns false when the map cannot
// record the page and `grow` is false (the global map). Throws 3049 on a malformed map.
bool set_usage_bit(OverlayPager& pager, RowId where, PageNumber page, bool on,
                   bool grow = true, const PageAppender& append = {});

// Pages marked in the map at `where` that lie below `limit`, ascending. Unlike
// read_usage_map, bits past the end of the file are allowed (the global map marks the
// pages past the end as free) and skipped.
std::vector<PageNumber> marked_pages(Pager& pager, RowId where, PageNumber limit);

// The first page marked in the map at `where` at or after `from` and below `limit`, reading
// only the part of the map from `from` on (a writer filling pages in order asks this once
// per row: the whole map each time would make a fill quadratic).
std::optional<PageNumber> first_marked_page(Pager& pager, RowId where, PageNumber from, PageNumber limit);

// Byte offset of row `row` inside data page `page`, and its length.
struct RowSpan {
  std::size_t offset = 0;
  std::size_t length = 0;
};
RowSpan row_span(const Page& page, std::uint16_t row);

}  // namespace jet
