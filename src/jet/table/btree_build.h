// Bulk build of one real index from its table's rows: the entries sorted in index order fill
// leaf pages one after the other (each as full as it can be with whole entries), then each
// level of intermediate pages is built over the one below until a single page is left,
// which is written on the index's root page (the table definition names it, so it stays).
// The pages of the previous tree, root excepted, are freed first.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "jet/btree/btree_write_page.h"
#include "jet/btree/btree_write_store.h"
#include "jet/table/table.h"
#include "jet/record/table_def.h"

namespace jet {

// The key an index already holds for a row whose key cannot be computed (nullopt: none).
using StoredKeyOf = std::function<std::optional<std::vector<std::uint8_t>>(RowId)>;

class IndexEntrySort;

// Adds to `sort` the entry (key, row) of every row of `table` the index lists. A row whose key
// cannot be computed takes the one `stored` gives; the key errors (3431 unknown character...)
// are raised, before anything is written, when there is none.
void gather_entries_of_rows(const Table& table, const IndexDef& index, IndexEntrySort& sort,
                            const StoredKeyOf& stored = {});

// Pages of the tree under `root` (root included), in walking order; 3049 on a damaged tree.
std::vector<PageNumber> index_tree_pages(Pager& pager, PageNumber root);

// Gives the next entry of a sequence into `item`; false once there is none left.
using IndexItemSource = std::function<bool(IndexNodeItem& item)>;

// Replaces the tree under `root` by one holding the entries `next` gives (in index order;
// 3049 otherwise). Pages are written as they fill: one page per level is held at a time,
// so an index of any size is built in little memory.
void build_index_tree_from(IndexPageStore& store, PageNumber table_page, PageNumber root, const IndexItemSource& next);
void build_index_tree(IndexPageStore& store, PageNumber table_page, PageNumber root,
                      const std::vector<IndexNodeItem>& sorted);

// The entries `sorted` gives, in order, `duplicate` called (it throws) on the second of two
// equal keys of a unique index; keys with a Null column may repeat, as in Jet.
IndexItemSource checking_unique(const TableDef& table, const IndexDef& index, IndexItemSource sorted,
                                std::function<void()> duplicate);

// Bytes of entries an index built from its rows sorts in memory; the rest wait in runs in
// an unnamed scratch file of the system's temporary folder.
inline constexpr std::size_t kIndexBuildSortBytes = std::size_t{32} << 20;

// gather_entries_of_rows then build_index_tree_from for the index's root page.
void rebuild_index(IndexPageStore& store, const Table& table, const IndexDef& index,
                   const StoredKeyOf& stored = {});

}  // namespace jet
