// Page allocation for the writers. New pages are appended at the end of the file (the
// global usage map keeps them marked as used, and is widened first when it does not reach
// them: free_page_map.h); freed pages are zeroed and marked free in the global map. Table maps (owned pages, pages with free space) are kept by the caller
// through set_usage_bit (usage_map_write.h).
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "jet/storage/overlay_pager.h"

namespace jet {

class PageAllocator {
 public:
  explicit PageAllocator(OverlayPager& pager) : pager_(pager) {}

  // A new page holding `bytes` (padded to the page size), at the end of the file.
  PageNumber allocate(std::vector<std::uint8_t> bytes);
  // Gives `page` back: its bytes are cleared and the global map marks it free.
  // Throws 3251 for pages 0 and 1 (header, global map).
  void release(PageNumber page);
  // Whether the global map marks `page` free.
  bool is_free(PageNumber page);
  // Told that pages were marked free in the global map by other means than release():
  // the next allocation looks for holes from the start of the file again.
  void rescan_holes() noexcept { holes_from_ = 2; }

  OverlayPager& pager() noexcept { return pager_; }

  // The long-value page the writers of this database started last: the next writer fills
  // it before starting another, so that the values of many small tables and of catalog
  // properties share pages, as in the files Access compacts. Only a hint: the writer
  // checks the page is still a long-value page with room (a rollback may have undone it).
  std::optional<PageNumber> long_value_page() const noexcept { return long_value_page_; }
  void set_long_value_page(PageNumber page) noexcept { long_value_page_ = page; }

  // Long-value pages where values were freed: their room is filled before a new page is
  // started (a compaction replaces the new database's catalog properties, and would
  // otherwise leave those pages holding nothing). Hints too, checked before use.
  std::vector<PageNumber> long_value_pages_with_room() const {
    return {long_value_room_.begin(), long_value_room_.end()};
  }
  void note_long_value_room(PageNumber page, bool has_room) {
    if (has_room) long_value_room_.insert(page);
    else long_value_room_.erase(page);
  }

 private:
  OverlayPager& pager_;
  // Pages below this one were in use when last looked at, so a long fill does not read the
  // whole global map for every page it adds. Forgotten after a rollback (which may give
  // holes back) and lowered by release().
  PageNumber holes_from_ = 2;
  std::uint64_t rollbacks_seen_ = 0;
  std::optional<PageNumber> long_value_page_;
  std::set<PageNumber> long_value_room_;
};

}  // namespace jet
