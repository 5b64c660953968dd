// Entry insertion and removal in one real index's B-tree.
//
// Entries are ordered by key, ties by row id. The root page never moves (the table
// definition names it): when the root overflows its entries go to new pages below it and
// the tree grows a level. A full page splits into two linked pages at the same level (the
// original keeps the lower half; an entry appended past the end of the last page of a
// level starts the new page alone, as Access does for ascending inserts); the parent gets
// an entry for the new page. A page that loses its last entry is unlinked from its
// neighbours, dropped from its parent and freed, except the root, which becomes an empty
// leaf again. Every page written keeps its free-space count, entry bitmap, prefix and
// previous/next links right.
//
// Every page written has the bytes encode_index_node gives for its node. An entry added to
// or removed from a leaf that keeps its shared prefix (the common case) gets them by
// patching the page's bytes and its kept parse (leaf_with_entry, leaf_without_entry) rather
// than encoding each entry again; the page is still written whole through the store, so
// savepoints, rollbacks and readers see it as any other write.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "jet/btree/btree_write_cache.h"
#include "jet/btree/btree_write_page.h"
#include "jet/btree/btree_write_store.h"

namespace jet {

// Index page `number` as a node; the tail child's item gets the last entry of its subtree.
IndexNode read_index_node(Pager& pager, PageNumber number);
// The same, parsing pages through `cache`.
IndexNode read_index_node(IndexPageCache& cache, Pager& pager, PageNumber number);

// Pages are read through the store's page cache when it has one (else through a cache of
// the writer's own), so consecutive changes parse only the pages that changed.
class BtreeWriter {
 public:
  // `table_page` is the table's definition page (written as every new page's owner).
  BtreeWriter(IndexPageStore& store, PageNumber table_page, PageNumber root);

  // Adds the entry; 3049 when the very same entry (key and row) is already there.
  void insert(std::span<const std::uint8_t> key, RowId row);
  // Removes the entry; false (nothing written) when it is not there.
  bool remove(std::span<const std::uint8_t> key, RowId row);

 private:
  struct Target {
    std::span<const std::uint8_t> key;
    RowId row;
    bool insert;
  };
  struct Change {
    // What replaces the node's item in its parent: the pieces when `moved`, else the node
    // itself when its last entry changed (else nothing: the parent has no use for it).
    std::vector<IndexNodeItem> items;
    bool at_end = false;        // the change was an append after the last entry
    bool moved = false;         // split, freed, or grown a level: the parent must change
    bool last_changed = false;  // the last entry of the subtree is another one
  };

  std::optional<Change> modify(PageNumber number, const Target& t, std::size_t depth);
  std::vector<IndexNodeItem> store(IndexNode node, bool at_end);
  void split_into(const IndexNode& node, std::size_t first, std::size_t last,
                  std::vector<IndexNode>& out);
  void relink(PageNumber page, bool previous, PageNumber target);
  void write(IndexNode node);
  void put(IndexNode node, std::vector<std::uint8_t> bytes);
  [[noreturn]] void damaged(PageNumber page, const char* what);

  std::optional<Change> changed_in_place(std::shared_ptr<const CachedIndexPage>& page, const Page& before,
                                         std::size_t pos, const Target& t);
  Change stored(IndexNode node, bool at_end, bool last_changed);
  IndexNode take_node(std::shared_ptr<const CachedIndexPage>& page);

  IndexPageStore* store_;
  PageNumber table_page_;
  PageNumber root_;
  IndexPageCache own_cache_{64};
  IndexPageCache* cache_;
};

}  // namespace jet
