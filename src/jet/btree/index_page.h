// Index pages: intermediate (0x03) and leaf (0x04) pages of an index B-tree.
//
// Jet 4 layout (header little-endian, entries big-endian): kind, 0x01, free space (2), owning
// table-definition page (4), 4 unused bytes, previous and next page at the same level (4+4),
// tail page (4: on an intermediate page, the right-most child, which has no entry of its
// own), shared prefix length (2), then from 0x1B a bitmap marking where each entry ends and
// from 0x1E0 the entries. Jet 3 pages lack the 4 unused bytes, have their bitmap at 0x16 and
// their entries from 0xF8; the reader takes these offsets from the page's FormatLayout. Every entry after the first omits the first `prefix_length`
// bytes it shares with the first entry. An entry is the key, the row it points to (page:
// 3 bytes, row: 1 byte) and, on intermediate pages, the child page (4) whose last entry it is.
//
// parse_index_page checks every offset and length against the page: a malformed page
// raises jet::Error 3049 naming the page, never reads outside it.
#pragma once

#include <compare>
#include <cstdint>
#include <span>
#include <vector>

#include "jet/storage/pager.h"
#include "jet/record/usage_map.h"
#include "jet/storage/format.h"

namespace jet {

struct IndexEntry {
  std::vector<std::uint8_t> key;
  RowId row;
  PageNumber child = 0;     // intermediate pages only
  std::uint16_t offset = 0; // where its stored bytes start in the page (for messages)
};

struct IndexPage {
  PageNumber number = 0;
  bool leaf = true;
  std::uint16_t free_space = 0;
  PageNumber owner = 0;  // table-definition page
  PageNumber prev = 0;
  PageNumber next = 0;
  PageNumber tail = 0;
  std::uint16_t prefix_length = 0;
  std::uint16_t used_bytes = 0;  // entry bytes actually stored (after the bitmap)
  std::vector<IndexEntry> entries;

  // Children of an intermediate page in key order: the entries' children, then the tail.
  std::vector<PageNumber> children() const;
};

IndexPage parse_index_page(const Page& page);
IndexPage read_index_page(Pager& pager, PageNumber number);

// Index order of entries: by key (compare_keys), ties broken by row id (page, then row).
std::strong_ordering compare_entries(std::span<const std::uint8_t> key_a, RowId row_a,
                                     std::span<const std::uint8_t> key_b, RowId row_b) noexcept;

}  // namespace jet
