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

// An entry as encode_index_node lays it out whole: key, then the row pointer.
struct WholeEntry {
  std::span<const std::uint8_t> key;
  RowId row;
  std::size_t size() const noexcept { return key.size() + disk::kIndexRowPointerSize; }
  std::uint8_t at(std::size_t j) const noexcept {
    if (j < key.size()) return key[j];
    switch (j - key.size()) {
      case 0: return static_cast<std::uint8_t>(row.page >> 16);
      case 1: return static_cast<std::uint8_t>(row.page >> 8);
      case 2: return static_cast<std::uint8_t>(row.page);
      default: return row.row;
    }
  }
};

// Leading bytes `e` shares with `first`, at most `limit`.
std::size_t same_start(const WholeEntry& first, const WholeEntry& e, std::size_t limit) {
  const std::size_t keys = std::min({limit, first.key.size(), e.key.size()});
  std::size_t same = static_cast<std::size_t>(
      std::mismatch(first.key.begin(), first.key.begin() + static_cast<std::ptrdiff_t>(keys), e.key.begin()).first -
      first.key.begin());
  if (same < keys) return same;
  while (same < limit && e.at(same) == first.at(same)) ++same;
  return same;
}

// The shared bound of leaf entries: the bytes every entry has in common with the first,
// each later entry keeping one byte of its own (the first entry's size when alone). It is
// the prefix encode_index_node shares once the entries no longer fit whole.
template <class Get>
std::size_t shared_bound(std::size_t n, Get entry) {
  const WholeEntry first = entry(0);
  std::size_t bound = first.size();
  for (std::size_t i = 1; i < n && bound > 0; ++i) {
    const WholeEntry e = entry(i);
    bound = same_start(first, e, std::min(bound, e.size() - 1));
  }
  return bound;
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
                                                         std::span<const std::uint8_t> key, RowId row,
                                                         std::optional<std::size_t>& bound) {
  const FormatLayout& layout = page.layout();
  const auto& entries = parsed.entries;
  const std::size_t count = entries.size();
  if (!parsed.leaf || layout.index_entries != disk::kIndexEntries || layout.index_mask != disk::kIndexMask ||
      pos > count) {
    return std::nullopt;
  }
  const std::size_t room = index_entry_room(page.size());
  const std::size_t prefix = parsed.prefix_length;
  const std::size_t size = key.size() + disk::kIndexRowPointerSize;
  const std::size_t whole_before = parsed.used_bytes + (count > 0 ? (count - 1) * prefix : 0);
  const std::size_t whole = whole_before + size;
  const WholeEntry added{key, row};
  auto old_entry = [&](std::size_t i) { return WholeEntry{entries[i].key, entries[i].row}; };
  // The bound of the entries as they are (computed once, then kept by the caller) and with
  // the new one.
  auto bound_before = [&]() -> std::size_t {
    if (!bound) bound = shared_bound(count, old_entry);
    return *bound;
  };
  std::optional<std::size_t> bound_after;
  if (count == 0) {
    bound_after = size;
  } else if (pos > 0 && (bound || whole > room)) {
    const std::size_t before = bound_before();
    bound_after = same_start(old_entry(0), added, std::min(before, size - 1));
  } else if (whole > room) {
    bound_after = shared_bound(count + 1, [&](std::size_t i) { return i == 0 ? added : old_entry(i - 1); });
  }
  // The page must be laid out as the encoder lays it out, and keep its prefix.
  if (prefix != (whole_before > room ? bound_before() : 0)) return std::nullopt;
  if (prefix != (whole > room ? *bound_after : 0)) return std::nullopt;
  bound = bound_after;
  const std::size_t used = whole - count * prefix;
  if (used > room) return std::nullopt;  // a split

  std::vector<std::uint8_t> out =
      blank_page(page.size(), {true, parsed.owner, parsed.prev, parsed.next, 0, room - used, prefix, level});
  const std::uint8_t* old = page.view().data() + disk::kIndexEntries;
  std::uint8_t* area = out.data() + disk::kIndexEntries;
  std::uint8_t* at = area;
  auto put_added = [&](std::size_t skip) {
    std::uint8_t bytes[4] = {static_cast<std::uint8_t>(row.page >> 16), static_cast<std::uint8_t>(row.page >> 8),
                             static_cast<std::uint8_t>(row.page), row.row};
    for (std::size_t j = skip; j < size; ++j) *at++ = j < key.size() ? key[j] : bytes[j - key.size()];
  };
  // Where the entry at `pos` starts now (the end of the one before it).
  const std::size_t split = pos < count ? entries[pos].offset - disk::kIndexEntries : parsed.used_bytes;
  if (pos == 0) {
    // The new entry goes first, whole; the former first entry loses the shared bytes.
    put_added(0);
    at = std::copy(old + prefix, old + parsed.used_bytes, at);
  } else {
    at = std::copy(old, old + split, at);
    put_added(prefix);
    at = std::copy(old + split, old + parsed.used_bytes, at);
  }
  // Entry ends: those up to the new entry are the page's own (every bit its mask sets is
  // the end of an entry); the others are marked again.
  std::size_t end = 0;
  if (pos > 0) {
    end = split;
    const std::uint8_t* mask = page.view().data() + disk::kIndexMask;
    std::copy(mask, mask + end / 8, out.data() + disk::kIndexMask);
    out[disk::kIndexMask + end / 8] = static_cast<std::uint8_t>(mask[end / 8] & ((2u << (end % 8)) - 1));
  }
  for (std::size_t i = pos; i <= count; ++i) {
    const std::size_t entry_size = i == pos ? size : entries[i - 1].key.size() + disk::kIndexRowPointerSize;
    end += entry_size - (i == 0 ? 0 : prefix);
    mark_end(out, end);
  }
  return out;
}

std::optional<std::vector<std::uint8_t>> leaf_without_entry(const Page& page, const IndexPage& parsed,
                                                            std::uint8_t level, std::size_t pos,
                                                            std::optional<std::size_t>& bound) {
  const FormatLayout& layout = page.layout();
  const auto& entries = parsed.entries;
  const std::size_t count = entries.size();
  if (!parsed.leaf || layout.index_entries != disk::kIndexEntries || layout.index_mask != disk::kIndexMask ||
      count < 2 || pos >= count) {
    return std::nullopt;  // an emptied leaf is freed or becomes an empty root: encoded
  }
  const std::size_t room = index_entry_room(page.size());
  const std::size_t prefix = parsed.prefix_length;
  const std::size_t size = entries[pos].key.size() + disk::kIndexRowPointerSize;
  const std::size_t whole_before = parsed.used_bytes + (count - 1) * prefix;
  const std::size_t whole = whole_before - size;
  auto old_entry = [&](std::size_t i) { return WholeEntry{entries[i].key, entries[i].row}; };
  if (whole_before > room && !bound) bound = shared_bound(count, old_entry);
  if (prefix != (whole_before > room ? *bound : 0)) return std::nullopt;
  // Without the entry the bound may only grow: it is worked out again when it matters.
  std::optional<std::size_t> bound_after;
  if (whole > room) {
    bound_after = shared_bound(count - 1, [&](std::size_t i) { return old_entry(i < pos ? i : i + 1); });
  }
  if (prefix != (whole > room ? *bound_after : 0)) return std::nullopt;
  bound = bound_after;
  const std::size_t used = whole - (count - 2) * prefix;

  std::vector<std::uint8_t> out =
      blank_page(page.size(), {true, parsed.owner, parsed.prev, parsed.next, 0, room - used, prefix, level});
  const std::uint8_t* old = page.view().data() + disk::kIndexEntries;
  std::uint8_t* at = out.data() + disk::kIndexEntries;
  const std::size_t start = entries[pos].offset - disk::kIndexEntries;
  const std::size_t end = pos + 1 < count ? entries[pos + 1].offset - disk::kIndexEntries : parsed.used_bytes;
  if (pos == 0) {
    // The second entry becomes the first, stored whole: the shared bytes, then its own.
    at = std::copy(old, old + prefix, at);
  } else {
    at = std::copy(old, old + start, at);
  }
  std::copy(old + end, old + parsed.used_bytes, at);
  // Entry ends: those before the removed entry are the page's own.
  std::size_t mark = 0;
  if (pos > 0) {
    mark = start;
    const std::uint8_t* mask = page.view().data() + disk::kIndexMask;
    std::copy(mask, mask + mark / 8, out.data() + disk::kIndexMask);
    out[disk::kIndexMask + mark / 8] = static_cast<std::uint8_t>(mask[mark / 8] & ((2u << (mark % 8)) - 1));
  }
  for (std::size_t i = pos + 1; i < count; ++i) {
    mark += entries[i].key.size() + disk::kIndexRowPointerSize - (i == 1 && pos == 0 ? 0 : prefix);
    mark_end(out, mark);
  }
  return out;
}

void set_index_page_link(std::vector<std::uint8_t>& page, bool previous, PageNumber target) {
  store_le32(page, previous ? disk::kIndexPrev : disk::kIndexNext, target);
}

}  // namespace jet
