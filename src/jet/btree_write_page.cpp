#include "jet/btree_write_page.h"

#include <algorithm>

namespace jet {
namespace {

constexpr std::size_t kFreeSpaceOffset = 2;
constexpr std::size_t kOwnerOffset = 4;
constexpr std::size_t kPrevOffset = 12;
constexpr std::size_t kNextOffset = 16;
constexpr std::size_t kTailOffset = 20;
constexpr std::size_t kPrefixOffset = 24;
constexpr std::size_t kLevelOffset = 26;

void put_le16(std::vector<std::uint8_t>& b, std::size_t at, std::uint16_t v) {
  b[at] = static_cast<std::uint8_t>(v);
  b[at + 1] = static_cast<std::uint8_t>(v >> 8);
}

void put_le32(std::vector<std::uint8_t>& b, std::size_t at, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + i] = static_cast<std::uint8_t>(v >> (8 * i));
}

void append_be(std::vector<std::uint8_t>& b, std::uint32_t v, int bytes) {
  for (int i = bytes - 1; i >= 0; --i) b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

std::vector<std::uint8_t> entry_bytes(const IndexNodeItem& item, bool leaf) {
  std::vector<std::uint8_t> b(item.key);
  append_be(b, item.row.page, 3);
  b.push_back(item.row.row);
  if (!leaf) append_be(b, item.child, 4);
  return b;
}

}  // namespace

std::size_t index_entry_room(std::size_t page_size) noexcept {
  return page_size > kIndexEntriesOffset ? page_size - kIndexEntriesOffset : 0;
}

std::size_t index_item_size(const IndexNodeItem& item, bool leaf) noexcept {
  return item.key.size() + 4 + (leaf ? 0 : 4);
}

std::optional<std::vector<std::uint8_t>> encode_index_node(const IndexNode& node,
                                                           std::size_t page_size) {
  const std::size_t room = index_entry_room(page_size);
  // Items stored as entries: all on a leaf; on an intermediate page all but the tail.
  std::size_t stored = node.items.size();
  PageNumber tail = 0;
  if (!node.leaf && node.items.size() >= 2) {
    tail = node.items.back().child;
    --stored;
  }
  std::vector<std::vector<std::uint8_t>> entries;
  entries.reserve(stored);
  std::size_t whole = 0;
  for (std::size_t i = 0; i < stored; ++i) {
    entries.push_back(entry_bytes(node.items[i], node.leaf));
    whole += entries.back().size();
  }
  std::size_t prefix = 0;
  if (whole > room && !entries.empty()) {
    prefix = entries.front().size();
    for (const auto& e : entries) {
      const auto m = std::mismatch(e.begin(), e.end(), entries.front().begin(),
                                   entries.front().end());
      prefix = std::min<std::size_t>(prefix, static_cast<std::size_t>(m.first - e.begin()));
    }
    // Every later entry must keep at least one byte of its own.
    for (std::size_t i = 1; i < entries.size(); ++i) {
      prefix = std::min(prefix, entries[i].size() - 1);
    }
  }
  const std::size_t used = whole - (entries.empty() ? 0 : (entries.size() - 1) * prefix);
  if (used > room) return std::nullopt;

  std::vector<std::uint8_t> page(page_size, 0);
  page[0] = node.leaf ? kIndexLeafPageKind : kIndexNodePageKind;
  page[1] = 0x01;
  put_le16(page, kFreeSpaceOffset, static_cast<std::uint16_t>(room - used));
  put_le32(page, kOwnerOffset, node.owner);
  put_le32(page, kPrevOffset, node.prev);
  put_le32(page, kNextOffset, node.next);
  put_le32(page, kTailOffset, tail);
  put_le16(page, kPrefixOffset, static_cast<std::uint16_t>(prefix));
  page[kLevelOffset] = node.level;
  std::size_t at = 0;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const std::size_t skip = i == 0 ? 0 : prefix;
    std::copy(entries[i].begin() + static_cast<std::ptrdiff_t>(skip), entries[i].end(),
              page.begin() + static_cast<std::ptrdiff_t>(kIndexEntriesOffset + at));
    at += entries[i].size() - skip;
    page[kIndexEntryMaskOffset + at / 8] |= static_cast<std::uint8_t>(1u << (at % 8));
  }
  return page;
}

void set_index_page_link(std::vector<std::uint8_t>& page, bool previous, PageNumber target) {
  put_le32(page, previous ? kPrevOffset : kNextOffset, target);
}

}  // namespace jet
