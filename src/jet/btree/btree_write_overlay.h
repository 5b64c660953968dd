// The index page store of a writable database: pages read and written through the overlay
// (so they commit or roll back with the statement), new pages from the PageAllocator, and
// the selected index's own usage map marking the pages its tree holds.
#pragma once

#include "jet/btree/btree_write_store.h"
#include "jet/storage/overlay_pager.h"
#include "jet/record/page_allocator.h"

namespace jet {

class OverlayIndexPageStore final : public IndexPageStore {
 public:
  explicit OverlayIndexPageStore(PageAllocator& allocator) : allocator_(&allocator) {}

  Pager& pager() override { return allocator_->pager(); }
  void write_page(PageNumber number, std::vector<std::uint8_t> bytes) override;
  // 3251 when no index was selected (its usage map would be left wrong).
  PageNumber allocate_page() override;
  void free_page(PageNumber number) override;
  void select_index(const IndexDef& index) override { usage_map_ = index.usage_map; }
  IndexPageCache* page_cache() override { return &cache_; }

 private:
  PageAllocator* allocator_;
  IndexPageCache cache_;
  std::uint32_t usage_map_ = 0;
};

}  // namespace jet
