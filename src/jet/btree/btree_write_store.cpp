#include "jet/btree/btree_write_store.h"

#include <algorithm>
#include <string>

#include "jet/base/error.h"

namespace jet {

void MemoryIndexPageStore::write_page(PageNumber number, std::vector<std::uint8_t> bytes) {
  if (number == 0 || number >= pager_->page_count()) {
    throw_damaged(pager_->file_name(), "écriture de la page " + std::to_string(number) +
                                           " hors du fichier");
  }
  if (std::find(free_.begin(), free_.end(), number) != free_.end()) {
    throw_damaged(pager_->file_name(), "écriture de la page libérée " + std::to_string(number));
  }
  pager_->set(number, std::move(bytes));
}

PageNumber MemoryIndexPageStore::allocate_page() {
  if (!free_.empty()) {
    const PageNumber n = free_.back();
    free_.pop_back();
    return n;
  }
  return pager_->add(std::vector<std::uint8_t>(pager_->page_size(), 0));
}

void MemoryIndexPageStore::free_page(PageNumber number) {
  if (number == 0 || number >= pager_->page_count() ||
      std::find(free_.begin(), free_.end(), number) != free_.end()) {
    throw_damaged(pager_->file_name(), "libération de la page " + std::to_string(number));
  }
  pager_->set(number, std::vector<std::uint8_t>(pager_->page_size(), 0));
  free_.push_back(number);
}

}  // namespace jet
