#include "jet/record/page_allocator.h"

#include <algorithm>

#include "jet/base/error.h"
#include "jet/record/free_page_map.h"
#include "jet/record/usage_map_write.h"

namespace jet {

PageNumber PageAllocator::allocate(std::vector<std::uint8_t> bytes) {
  bytes.resize(pager_.page_size(), 0);
  // A hole the global map marks free is reused before the file grows.
  if (pager_.rollbacks() != rollbacks_seen_) {
    rollbacks_seen_ = pager_.rollbacks();
    holes_from_ = 2;
  }
  if (const auto hole = first_marked_page(pager_, kGlobalUsageMap, std::max<PageNumber>(holes_from_, 2),
                                          pager_.page_count())) {
    pager_.write(*hole, std::move(bytes));
    set_usage_bit(pager_, kGlobalUsageMap, *hole, false, false);
    holes_from_ = *hole + 1;
    return *hole;
  }
  const PageNumber page = pager_.append(std::move(bytes));
  holes_from_ = pager_.page_count();
  // The free-page map must reach the new last page before the page is marked used in it.
  cover_file(pager_, pager_.page_count());
  set_usage_bit(pager_, kGlobalUsageMap, page, false, false);
  return page;
}

void PageAllocator::release(PageNumber page) {
  if (page < 2 || page >= pager_.page_count())
    throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
                describe(static_cast<int>(ErrorCode::OperationNotSupported)) + " (page réservée ou absente)");
  pager_.write(page, std::vector<std::uint8_t>(pager_.page_size(), 0));
  holes_from_ = std::min(holes_from_, page);
  cover_file(pager_, pager_.page_count());  // a file grown by an older writer may lack the reach
  set_usage_bit(pager_, kGlobalUsageMap, page, true, false);
}

bool PageAllocator::is_free(PageNumber page) {
  const std::vector<PageNumber> free_pages = marked_pages(pager_, kGlobalUsageMap, page + 1);
  return std::binary_search(free_pages.begin(), free_pages.end(), page);
}

}  // namespace jet
