#include "jet/storage/memory_pager.h"

namespace jet {

PageNumber MemoryPager::add(std::vector<std::uint8_t> bytes) {
  bytes.resize(page_size_);
  pages_.push_back(std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes)));
  return static_cast<PageNumber>(pages_.size() - 1);
}

void MemoryPager::set(PageNumber number, std::vector<std::uint8_t> bytes) {
  bytes.resize(page_size_);
  pages_.at(number) = std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes));
}

Page MemoryPager::read(PageNumber number) {
  if (number >= pages_.size())
    throw_damaged(*name_, "page " + std::to_string(number) + " au-delà de la fin (" +
                              std::to_string(pages_.size()) + " pages)");
  return Page(number, pages_[number], name_, layout());
}

}  // namespace jet
