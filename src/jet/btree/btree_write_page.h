// One index page as the B-tree writer handles it, and its encoding into page bytes.
//
// An IndexNode lists every child of an intermediate page as an item, the right-most one
// included: on the page, as in the Access-made trees, a page with two children or more
// stores that last child as its tail (no entry, no key), while a page with a single child
// stores it as an ordinary entry. Each item carries the last entry (key, row) of its child's
// subtree, which is what the entry of an intermediate page holds.
//
// Entries are stored whole while they fit; only a page whose entries would not fit shares
// their common leading bytes once (the page's prefix), which is how Access fills its pages.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "jet/btree/index_page.h"
#include "jet/storage/pager.h"

namespace jet {

struct IndexNodeItem {
  std::vector<std::uint8_t> key;
  RowId row;
  PageNumber child = 0;  // intermediate pages only
};

struct IndexNode {
  PageNumber number = 0;
  bool leaf = true;
  PageNumber owner = 0;  // table-definition page
  PageNumber prev = 0;
  PageNumber next = 0;
  std::uint8_t level = 0;  // byte 26: 0 on leaves, 1 on the pages above them in Access files
  std::vector<IndexNodeItem> items;
};

// Bytes an index page has for its entries (page size less the header and entry bitmap).
std::size_t index_entry_room(std::size_t page_size) noexcept;

// Stored size of one item as a whole entry (key, row pointer, child on intermediate pages).
std::size_t index_item_size(const IndexNodeItem& item, bool leaf) noexcept;

// The page bytes of `node`, or nullopt when its entries do not fit even with a shared prefix.
std::optional<std::vector<std::uint8_t>> encode_index_node(const IndexNode& node,
                                                           std::size_t page_size);

// The page bytes of leaf `page` (parsed as `parsed`, level byte `level`) with one more entry
// (`key`, `row`) at position `pos` of its entries: exactly what encode_index_node gives for
// that node, made by moving the page's stored entries rather than encoding each again.
// Only for a Jet 4 leaf laid out as the encoder lays it out whose shared prefix (none while
// the entries fit whole) stays the same with the new entry; nullopt otherwise (the caller
// encodes the node, or splits it). `bound` is what the encoder's prefix is computed from for
// the page's entries (the bytes all share with the first, each later one keeping one of its
// own), which takes a pass over the entries: given when known, and set for the new entries
// when a page is returned (left empty when unknown).
std::optional<std::vector<std::uint8_t>> leaf_with_entry(const Page& page, const IndexPage& parsed,
                                                         std::uint8_t level, std::size_t pos,
                                                         std::span<const std::uint8_t> key, RowId row,
                                                         std::optional<std::size_t>& bound);

// The same for the leaf without its entry at `pos`, when at least one entry stays.
std::optional<std::vector<std::uint8_t>> leaf_without_entry(const Page& page, const IndexPage& parsed,
                                                            std::uint8_t level, std::size_t pos,
                                                            std::optional<std::size_t>& bound);

// Rewrites the previous (or next) page link of index page bytes.
void set_index_page_link(std::vector<std::uint8_t>& page, bool previous, PageNumber target);

}  // namespace jet
