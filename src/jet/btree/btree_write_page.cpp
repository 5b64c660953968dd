#include "jet/btree/btree_write_page.h"

#include <algorithm>

#include "jet/storage/format.h"
#include "jet/base/bytes.h"

namespace jet {
namespace {

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
  return page_size > disk::kIndexEntries ? page_size - disk::kIndexEntries : 0;
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
  page[0] = node.leaf ? disk::kPageIndexLeaf : disk::kPageIndexNode;
  page[1] = 0x01;
  store_le16(page, disk::kPageFreeSpace, static_cast<std::uint16_t>(room - used));
  store_le32(page, disk::kPageOwner, node.owner);
  store_le32(page, disk::kIndexPrev, node.prev);
  store_le32(page, disk::kIndexNext, node.next);
  store_le32(page, disk::kIndexTail, tail);
  store_le16(page, disk::kIndexPrefix, static_cast<std::uint16_t>(prefix));
  page[disk::kIndexLevel] = node.level;
  std::size_t at = 0;
  for (std::size_t i = 0; i < stored; ++i) {
    const std::size_t skip = i == 0 ? 0 : prefix;
    const std::size_t start = begin_of(i) + skip;
    std::copy(flat.begin() + static_cast<std::ptrdiff_t>(start), flat.begin() + static_cast<std::ptrdiff_t>(ends[i]),
              page.begin() + static_cast<std::ptrdiff_t>(disk::kIndexEntries + at));
    at += ends[i] - start;
    page[disk::kIndexMask + at / 8] |= static_cast<std::uint8_t>(1u << (at % 8));
  }
  return page;
}

void set_index_page_link(std::vector<std::uint8_t>& page, bool previous, PageNumber target) {
  store_le32(page, previous ? disk::kIndexPrev : disk::kIndexNext, target);
}

}  // namespace jet
