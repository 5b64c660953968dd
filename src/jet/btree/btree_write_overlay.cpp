#include "jet/btree/btree_write_overlay.h"

#include "jet/base/error.h"
#include "jet/record/usage_map_write.h"

namespace jet {

void OverlayIndexPageStore::write_page(PageNumber number, std::vector<std::uint8_t> bytes) {
  allocator_->pager().write(number, std::move(bytes));
}

PageNumber OverlayIndexPageStore::allocate_page() {
  if (usage_map_ == 0) throw Error(ErrorCode::OperationNotSupported);
  OverlayPager& pager = allocator_->pager();
  const PageNumber page = allocator_->allocate(std::vector<std::uint8_t>(pager.page_size(), 0));
  set_usage_bit(pager, RowId::from_pointer(usage_map_), page, true, true,
                [this](std::vector<std::uint8_t> b) { return allocator_->allocate(std::move(b)); });
  return page;
}

void OverlayIndexPageStore::free_page(PageNumber number) {
  if (usage_map_ == 0) throw Error(ErrorCode::OperationNotSupported);
  set_usage_bit(allocator_->pager(), RowId::from_pointer(usage_map_), number, false, true,
                [this](std::vector<std::uint8_t> b) { return allocator_->allocate(std::move(b)); });
  allocator_->release(number);
}

}  // namespace jet
