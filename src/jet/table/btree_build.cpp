#include "jet/table/btree_build.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "jet/base/error.h"
#include "jet/btree/index_page.h"
#include "jet/btree/index_row_key.h"
#include "jet/btree/index_stored_key.h"
#include "jet/storage/format.h"
#include "jet/table/index_entry_sort.h"

namespace jet {
namespace {

// Fills the pages of each level of a new tree in order, holding only the page being filled
// at each level. A page's number is taken when the page after it starts (its "next" link
// needs it); the first page of a level gets one only if a second follows, so that the one
// page of the top level can be written on the root page instead.
class TreeBuilder {
 public:
  TreeBuilder(IndexPageStore& store, PageNumber table_page, PageNumber root)
      : store_(store), table_page_(table_page), root_(root), room_(index_entry_room(store.pager().page_size())) {}

  // `item` is copied into an entry of a page written earlier, so that its buffer serves again.
  void add(std::size_t depth, const IndexNodeItem& item) {
    const std::size_t size = index_item_size(item, depth == 0);
    Level& level = room_for(depth, size);
    if (level.spare.empty()) {
      level.node.items.push_back(item);
    } else {
      IndexNodeItem& slot = level.node.items.emplace_back(std::move(level.spare.back()));
      level.spare.pop_back();
      slot.key.assign(item.key.begin(), item.key.end());
      slot.row = item.row;
      slot.child = item.child;
    }
    level.used += size;
  }
  // A leaf entry taken as it is, its key not copied: `item` is given the buffer of an entry
  // written earlier, for the next one.
  void take(IndexNodeItem& item) {
    const std::size_t size = index_item_size(item, true);
    Level& level = room_for(0, size);
    level.node.items.emplace_back(std::move(item));
    if (level.spare.empty()) {
      item = IndexNodeItem{};
    } else {
      item = std::move(level.spare.back());
      level.spare.pop_back();
    }
    level.used += size;
  }
  // The last leaf entry added or taken (there must be one).
  const IndexNodeItem& last() const { return levels_.front().node.items.back(); }

  void finish() {
    open_level(0);  // an index of no entry is one empty leaf
    for (std::size_t depth = 0;; ++depth) {
      Level& level = levels_[depth];
      if (!level.split) {
        level.node.number = root_;
        write(level.node);
        return;
      }
      IndexNodeItem up{level.node.items.back().key, level.node.items.back().row, level.node.number};
      write(level.node);
      add(depth + 1, up);
    }
  }

 private:
  struct Level {
    IndexNode node;
    std::size_t used = 0;
    bool split = false;  // a page of this level was written: it is not the top
    std::vector<IndexNodeItem> spare;  // entries of written pages, their buffers to reuse
  };
  // The level at `depth`, its page written first and a new one started when an entry of
  // `size` bytes would not fit.
  Level& room_for(std::size_t depth, std::size_t size) {
    open_level(depth);
    Level& level = levels_[depth];
    if (!level.node.items.empty() && level.used + size > room_) {
      if (!level.split) level.node.number = store_.allocate_page();
      const PageNumber next = store_.allocate_page();
      level.node.next = next;
      IndexNodeItem up{level.node.items.back().key, level.node.items.back().row, level.node.number};
      write(level.node);
      level.node.prev = level.node.number;
      level.node.number = next;
      level.node.next = 0;
      for (IndexNodeItem& written : level.node.items) level.spare.push_back(std::move(written));
      level.node.items.clear();
      level.used = 0;
      level.split = true;
      add(depth + 1, up);
    }
    return levels_[depth];  // `level` may have moved with the levels above added
  }
  void open_level(std::size_t depth) {
    if (depth < levels_.size()) return;
    Level level;
    level.node.leaf = depth == 0;
    level.node.owner = table_page_;
    level.node.level = static_cast<std::uint8_t>(depth);
    levels_.push_back(std::move(level));
  }
  void write(const IndexNode& node) {
    auto bytes = encode_index_node(node, store_.pager().page_size());
    if (!bytes) throw_damaged(store_.pager().file_name(), "entrée d'index trop longue pour une page");
    store_.write_page(node.number, std::move(*bytes));
  }

  IndexPageStore& store_;
  PageNumber table_page_;
  PageNumber root_;
  std::size_t room_;
  std::vector<Level> levels_;
};

}  // namespace

void gather_entries_of_rows(const Table& table, const IndexDef& index, IndexEntrySort& sort,
                            const StoredKeyOf& stored) {
  KeyWriter key;  // one buffer for every key
  table.scan([&](RowId id, const Row& row) {
    if (row_left_out_of_index(table.def(), index, row)) return true;
    try {
      key.clear();
      append_row_key(key, table.def(), index, row);
      sort.add(key.bytes(), id);
    } catch (const Error& e) {
      if (!key_not_computable(e) || !stored) throw;
      auto kept = stored(id);
      if (!kept) throw;
      sort.add(*kept, id);
    }
    return true;
  });
}

IndexItemSource checking_unique(const TableDef& table, const IndexDef& index, IndexItemSource sorted,
                                std::function<void()> duplicate) {
  if (!index.unique()) return sorted;
  auto previous = std::make_shared<std::optional<std::vector<std::uint8_t>>>();
  return [columns = key_columns(table, index), sorted = std::move(sorted), duplicate = std::move(duplicate),
          previous](IndexNodeItem& item) {
    if (!sorted(item)) return false;
    const auto has_null = [&] {
      try {
        KeyReader r(item.key);
        for (const KeyColumn& c : columns)
          if (r.next(c).is_null) return true;
      } catch (const Error&) {
      }
      return false;
    };
    if (*previous && compare_keys(**previous, item.key) == 0 && !has_null()) duplicate();
    *previous = item.key;
    return true;
  };
}

std::vector<PageNumber> index_tree_pages(Pager& pager, PageNumber root) {
  std::vector<PageNumber> out;
  std::set<PageNumber> seen;
  std::vector<std::pair<PageNumber, std::size_t>> todo{{root, 0}};
  while (!todo.empty()) {
    const auto [number, depth] = todo.back();
    todo.pop_back();
    if (number == 0 || number >= pager.page_count() || depth > disk::kMaxIndexDepth ||
        !seen.insert(number).second) {
      throw_damaged(pager.file_name(), "index, page " + std::to_string(number) +
                                           " : arbre d'index incohérent");
    }
    out.push_back(number);
    const IndexPage page = read_index_page(pager, number);
    const auto children = page.children();
    for (auto c = children.rbegin(); c != children.rend(); ++c) todo.push_back({*c, depth + 1});
  }
  return out;
}

void build_index_tree_from(IndexPageStore& store, PageNumber table_page, PageNumber root, const IndexItemSource& next) {
  Pager& pager = store.pager();
  const auto old_pages = index_tree_pages(pager, root);
  for (PageNumber p : old_pages) {
    if (p != root) store.free_page(p);
  }
  TreeBuilder builder(store, table_page, root);
  IndexNodeItem item;
  bool first = true;
  while (next(item)) {
    if (!first) {
      const IndexNodeItem& previous = builder.last();
      if (compare_entries(previous.key, previous.row, item.key, item.row) >= 0)
        throw_damaged(pager.file_name(), "entrées d'index à construire hors d'ordre");
    }
    first = false;
    item.child = 0;
    builder.take(item);
  }
  builder.finish();
}

void build_index_tree(IndexPageStore& store, PageNumber table_page, PageNumber root,
                      const std::vector<IndexNodeItem>& sorted) {
  std::size_t at = 0;
  build_index_tree_from(store, table_page, root, [&](IndexNodeItem& item) {
    if (at == sorted.size()) return false;
    item = sorted[at++];
    return true;
  });
}

void rebuild_index(IndexPageStore& store, const Table& table, const IndexDef& index,
                   const StoredKeyOf& stored) {
  IndexEntrySort sort(table.pager().services(), {}, kIndexBuildSortBytes);
  gather_entries_of_rows(table, index, sort, stored);
  store.select_index(index);
  build_index_tree_from(store, table.def().page, index.root_page, sort.sorted());
}

}  // namespace jet
