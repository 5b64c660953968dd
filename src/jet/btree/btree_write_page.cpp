#include "jet/btree/btree_write_page.h"

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

// Appends the stored bytes of one item as a whole entry.
void append_entry(std::vector<std::uint8_t>& b, const IndexNodeItem& item, bool leaf) {
  b.insert(b.end(), item.key.begin(), item.key.end());
  append_be(b, item.row.page, 3);
  b.push_back(item.row.row);
  if (!leaf) append_be(b, item.child, 4);
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
  // Every entry whole, one after the other in one buffer; ends[i] is where entry i stops.
  std::vector<std::uint8_t> flat;
  std::vector<std::size_t> ends;
  flat.reserve(room + 64);
  ends.reserve(stored);
  for (std::size_t i = 0; i < stored; ++i) {
    append_entry(flat, node.items[i], node.leaf);
    ends.push_back(flat.size());
  }
  const std::size_t whole = flat.size();
  auto begin_of = [&](std::size_t i) { return i == 0 ? std::size_t{0} : ends[i - 1]; };
  std::size_t prefix = 0;
  if (whole > room && stored > 0) {
    prefix = ends[0];
    for (std::size_t i = 1; i < stored && prefix > 0; ++i) {
      const std::size_t start = begin_of(i);
      // Every later entry must keep at least one byte of its own.
      const std::size_t limit = std::min(prefix, ends[i] - start - 1);
      std::size_t same = 0;
      while (same < limit && flat[start + same] == flat[same]) ++same;
      prefix = same;
    }
  }
  const std::size_t used = whole - (stored == 0 ? 0 : (stored - 1) * prefix);
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
  for (std::size_t i = 0; i < stored; ++i) {
    const std::size_t skip = i == 0 ? 0 : prefix;
    const std::size_t start = begin_of(i) + skip;
    std::copy(flat.begin() + static_cast<std::ptrdiff_t>(start), flat.begin() + static_cast<std::ptrdiff_t>(ends[i]),
              page.begin() + static_cast<std::ptrdiff_t>(kIndexEntriesOffset + at));
    at += ends[i] - start;
    page[kIndexEntryMaskOffset + at / 8] |= static_cast<std::uint8_t>(1u << (at % 8));
  }
  return page;
}

void set_index_page_link(std::vector<std::uint8_t>& page, bool previous, PageNumber target) {
  put_le32(page, previous ? kPrevOffset : kNextOffset, target);
}

}  // namespace jet
