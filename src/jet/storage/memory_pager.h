// Pages held in memory: built by hand in tests, or a whole file loaded at once.
#pragma once

#include "jet/storage/pager.h"

namespace jet {

class MemoryPager final : public Pager {
 public:
  explicit MemoryPager(std::size_t page_size = 4096, std::string name = "mémoire",
                       const os::Services* services = nullptr)
      : page_size_(page_size), name_(std::make_shared<const std::string>(std::move(name))),
        services_(services ? services : &os::system_services()) {}

  // Appends a page (padded with zeros or cut to the page size); returns its number.
  PageNumber add(std::vector<std::uint8_t> bytes);
  // Replaces page `number` (which must exist).
  void set(PageNumber number, std::vector<std::uint8_t> bytes);

  std::size_t page_size() const noexcept override { return page_size_; }
  PageNumber page_count() const noexcept override { return static_cast<PageNumber>(pages_.size()); }
  const std::string& file_name() const noexcept override { return *name_; }
  Page read(PageNumber number) override;
  const os::Services& services() const noexcept override { return *services_; }

 private:
  std::size_t page_size_;
  std::shared_ptr<const std::string> name_;
  const os::Services* services_;
  std::vector<std::shared_ptr<const std::vector<std::uint8_t>>> pages_;
};

}  // namespace jet
