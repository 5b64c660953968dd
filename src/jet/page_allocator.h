// Page allocation for the writers. New pages are appended at the end of the file (the
// global usage map keeps them marked as used); freed pages are zeroed and marked free in
// the global map. Table maps (owned pages, pages with free space) are kept by the caller
// through set_usage_bit (usage_map_write.h).
#pragma once

#include <cstdint>
#include <vector>

#include "jet/overlay_pager.h"

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

  OverlayPager& pager() noexcept { return pager_; }

 private:
  OverlayPager& pager_;
};

}  // namespace jet
