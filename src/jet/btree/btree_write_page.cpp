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

struct Header {
  bool leaf = true;
  PageNumber owner = 0;
  PageNumber prev = 0;
  PageNumber next = 0;
  PageNumber tail = 0;
  std::size_t free_space = 0;
  std::size_t prefix = 0;
  std::uint8_t level = 0;
};

// A blank page with its header; every other byte zero.
std::vector<std::uint8_t> blank_page(std::size_t page_size, const Header& h) {
  std::vector<std::uint8_t> page(page_size, 0);
  page[0] = h.leaf ? disk::kPageIndexLeaf : disk::kPageIndexNode;
  page[1] = 0x01;
  store_le16(page, disk::kPageFreeSpace, static_cast<std::uint16_t>(h.free_space));
  store_le32(page, disk::kPageOwner, h.owner);
  store_le32(page, disk::kIndexPrev, h.prev);
  store_le32(page, disk::kIndexNext, h.next);
  store_le32(page, disk::kIndexTail, h.tail);
  store_le16(page, disk::kIndexPrefix, static_cast<std::uint16_t>(h.prefix));
  page[disk::kIndexLevel] = h.level;
  return page;
}

// Marks an entry ending `at` bytes into the entry area.
void mark_end(std::vector<std::uint8_t>& page, std::size_t at) {
  page[disk::kIndexMask + at / 8] |= static_cast<std::uint8_t>(1u << (at % 8));
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

  std::vector<std::uint8_t> page =
      blank_page(page_size, {node.leaf, node.owner, node.prev, node.next, tail, room - used, prefix, node.level});
  std::size_t at = 0;
  for (std::size_t i = 0; i < stored; ++i) {
    const std::size_t skip = i == 0 ? 0 : prefix;
    const std::size_t start = begin_of(i) + skip;
    std::copy(flat.begin() + static_cast<std::ptrdiff_t>(start), flat.begin() + static_cast<std::ptrdiff_t>(ends[i]),
              page.begin() + static_cast<std::ptrdiff_t>(disk::kIndexEntries + at));
    at += ends[i] - start;
    mark_end(page, at);
  }
  return page;
}

std::optional<std::vector<std::uint8_t>> leaf_with_entry(const Page& page, const IndexPage& parsed,
                                                         std::uint8_t level, std::size_t pos,
                                                         std::span<const std::uint8_t> key, RowId row) {
  const FormatLayout& layout = page.layout();
  // The stored entries must sit exactly where encode_index_node puts them.
  if (!parsed.leaf || parsed.prefix_length != 0 || layout.index_entries != disk::kIndexEntries ||
      layout.index_mask != disk::kIndexMask || pos > parsed.entries.size()) {
    return std::nullopt;
  }
  const std::size_t page_size = page.size();
  const std::size_t room = index_entry_room(page_size);
  const std::size_t size = key.size() + disk::kIndexRowPointerSize;
  const std::size_t used = parsed.used_bytes;
  if (used + size > room) return std::nullopt;  // needs a shared prefix, or a split
  std::vector<std::uint8_t> out =
      blank_page(page_size, {true, parsed.owner, parsed.prev, parsed.next, 0, room - used - size, 0, level});
  const std::size_t at = pos < parsed.entries.size() ? parsed.entries[pos].offset - disk::kIndexEntries : used;
  const std::uint8_t* old = page.view().data() + disk::kIndexEntries;
  std::uint8_t* area = out.data() + disk::kIndexEntries;
  std::copy(old, old + at, area);
  std::copy(key.begin(), key.end(), area + at);
  std::uint8_t* pointer = area + at + key.size();
  pointer[0] = static_cast<std::uint8_t>(row.page >> 16);
  pointer[1] = static_cast<std::uint8_t>(row.page >> 8);
  pointer[2] = static_cast<std::uint8_t>(row.page);
  pointer[3] = row.row;
  std::copy(old + at, old + used, area + at + size);
  std::size_t end = 0;
  for (std::size_t i = 0; i <= parsed.entries.size(); ++i) {
    if (i == pos) mark_end(out, end += size);
    if (i < parsed.entries.size()) mark_end(out, end += parsed.entries[i].key.size() + disk::kIndexRowPointerSize);
  }
  return out;
}

void set_index_page_link(std::vector<std::uint8_t>& page, bool previous, PageNumber target) {
  store_le32(page, previous ? disk::kIndexPrev : disk::kIndexNext, target);
}

}  // namespace jet
