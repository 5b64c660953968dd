// Test support: an in-memory page source and builders of index pages, for trees the tests
// shape (and damage) at will.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "jet/btree/index_page.h"
#include "jet/storage/pager.h"

namespace index_test {

using Bytes = std::vector<std::uint8_t>;
inline constexpr std::size_t kPageSize = 4096;

class MemoryPager final : public jet::Pager {
 public:
  explicit MemoryPager(std::size_t pages) {
    for (std::size_t i = 0; i < pages; ++i) pages_.push_back(std::make_shared<Bytes>(kPageSize, 0));
  }
  std::size_t page_size() const noexcept override { return kPageSize; }
  jet::PageNumber page_count() const noexcept override {
    return static_cast<jet::PageNumber>(pages_.size());
  }
  const std::string& file_name() const noexcept override { return *name_; }
  jet::Page read(jet::PageNumber n) override {
    if (n >= pages_.size()) jet::throw_damaged(*name_, "page " + std::to_string(n) + " hors du fichier");
    return jet::Page(n, std::make_shared<const Bytes>(*pages_[n]), name_);
  }
  Bytes& bytes(jet::PageNumber n) { return *pages_.at(n); }

 private:
  std::vector<std::shared_ptr<Bytes>> pages_;
  std::shared_ptr<const std::string> name_ = std::make_shared<const std::string>("memoire.mdb");
};

inline void put_le32(Bytes& b, std::size_t at, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(v >> (8 * i));
}

// Key bytes + row pointer (page on 3 bytes, row), big-endian as entries store them.
inline Bytes leaf_entry(const Bytes& key, std::uint32_t page, std::uint8_t row) {
  Bytes e = key;
  e.push_back(static_cast<std::uint8_t>(page >> 16));
  e.push_back(static_cast<std::uint8_t>(page >> 8));
  e.push_back(static_cast<std::uint8_t>(page));
  e.push_back(row);
  return e;
}

inline Bytes node_entry(const Bytes& key, std::uint32_t page, std::uint8_t row, std::uint32_t child) {
  Bytes e = leaf_entry(key, page, row);
  for (int s = 24; s >= 0; s -= 8) e.push_back(static_cast<std::uint8_t>(child >> s));
  return e;
}

struct PageLinks {
  std::uint32_t owner = 2, prev = 0, next = 0, tail = 0;
};

// Lays out an index page: header, entry-end bitmap, entries with the first `prefix` bytes
// left out of every entry after the first.
inline Bytes index_page(bool leaf, const std::vector<Bytes>& entries, std::uint16_t prefix = 0,
                        PageLinks links = {}) {
  Bytes p(kPageSize, 0);
  p[0] = leaf ? jet::disk::kPageIndexLeaf : jet::disk::kPageIndexNode;
  p[1] = 0x01;
  put_le32(p, 4, links.owner);
  put_le32(p, 12, links.prev);
  put_le32(p, 16, links.next);
  put_le32(p, 20, links.tail);
  p[24] = static_cast<std::uint8_t>(prefix);
  p[25] = static_cast<std::uint8_t>(prefix >> 8);
  std::size_t at = 0;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const std::size_t skip = i == 0 ? 0 : prefix;
    for (std::size_t k = skip; k < entries[i].size(); ++k) p[jet::disk::kIndexEntries + at++] = entries[i][k];
    p[jet::disk::kIndexMask + at / 8] |= static_cast<std::uint8_t>(1u << (at % 8));
  }
  const std::size_t free = kPageSize - jet::disk::kIndexEntries - at;
  p[2] = static_cast<std::uint8_t>(free);
  p[3] = static_cast<std::uint8_t>(free >> 8);
  return p;
}

// Long key (ascending) of `v`.
inline Bytes long_key(std::int32_t v) {
  const auto u = static_cast<std::uint32_t>(v) ^ 0x80000000u;
  return {0x7F, static_cast<std::uint8_t>(u >> 24), static_cast<std::uint8_t>(u >> 16),
          static_cast<std::uint8_t>(u >> 8), static_cast<std::uint8_t>(u)};
}

}  // namespace index_test
