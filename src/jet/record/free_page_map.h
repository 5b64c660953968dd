// The file's free-page map: the usage map at page 1, row 0, whose bits mark FREE pages.
//
// Other writers of the format read a page outside this map's reach as free (an inline map
// whose window they move forward marks every page it newly covers free), so the map must
// reach past the last page of the file at all times. Access keeps it inline, starting at
// page 0, and lengthens the row as the file grows (its 743-page files carry a 101-byte row
// reaching page 767). The engine does the same while page 1 has room for the row; past
// that (about 32,000 pages) the row becomes a reference map, one bitmap page per 32,736
// pages, created as the file reaches each range.
//
// Widening never frees a page: pages of the file the old map did not reach (or that lay
// before the start of a window another writer moved forward) are recorded as in use;
// pages past the end of the file are recorded as free, as Access records them.
#pragma once

#include <cstdint>

#include "jet/storage/overlay_pager.h"

namespace jet {

// The pages the map speaks for: [first, end). A reference map reaches the end of its
// last bitmap page's range when every range before it has its page.
struct FreeMapReach {
  PageNumber first = 0;
  std::uint64_t end = 0;
  bool covers(PageNumber page) const noexcept { return page >= first && page < end; }
};

// Throws 3049 when the row is not a usage map the engine can read.
FreeMapReach free_map_reach(Pager& pager);

// Widens the map so that it reaches pages 0 up to `page_count` - 1 (and some pages past
// them, so that the row is not rewritten at every new page). Bitmap pages a reference map
// needs are appended to the file and marked in use. Does nothing when the map already
// reaches that far. Throws 3049 on a malformed map.
void cover_file(OverlayPager& pager, PageNumber page_count);

}  // namespace jet
