#include "jet/table/btree_build.h"

#include <algorithm>
#include <set>
#include <string>

#include "jet/base/error.h"
#include "jet/btree/index_page.h"
#include "jet/btree/index_row_key.h"
#include "jet/btree/index_stored_key.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

// Groups items into consecutive pages, each filled while its whole entries fit.
std::vector<std::vector<IndexNodeItem>> pack(const std::vector<IndexNodeItem>& items, bool leaf,
                                             std::size_t room) {
  std::vector<std::vector<IndexNodeItem>> pages(1);
  std::size_t used = 0;
  for (const auto& item : items) {
    const std::size_t size = index_item_size(item, leaf);
    if (!pages.back().empty() && used + size > room) {
      pages.emplace_back();
      used = 0;
    }
    pages.back().push_back(item);
    used += size;
  }
  return pages;
}

}  // namespace

std::vector<IndexNodeItem> index_entries_of_rows(const Table& table, const IndexDef& index,
                                                 const StoredKeyOf& stored) {
  std::vector<IndexNodeItem> out;
  table.scan([&](RowId id, const Row& row) {
    if (row_left_out_of_index(table.def(), index, row)) return true;
    try {
      out.push_back({index_key_for_row(table.def(), index, row), id, 0});
    } catch (const Error& e) {
      if (!key_not_computable(e) || !stored) throw;
      auto key = stored(id);
      if (!key) throw;
      out.push_back({std::move(*key), id, 0});
    }
    return true;
  });
  std::sort(out.begin(), out.end(), [](const IndexNodeItem& a, const IndexNodeItem& b) {
    return compare_entries(a.key, a.row, b.key, b.row) < 0;
  });
  return out;
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

void build_index_tree(IndexPageStore& store, PageNumber table_page, PageNumber root,
                      const std::vector<IndexNodeItem>& sorted) {
  Pager& pager = store.pager();
  for (std::size_t i = 1; i < sorted.size(); ++i) {
    if (compare_entries(sorted[i - 1].key, sorted[i - 1].row, sorted[i].key, sorted[i].row) >= 0) {
      throw_damaged(pager.file_name(), "entrées d'index à construire hors d'ordre");
    }
  }
  const auto old_pages = index_tree_pages(pager, root);
  for (PageNumber p : old_pages) {
    if (p != root) store.free_page(p);
  }

  const std::size_t room = index_entry_room(pager.page_size());
  std::vector<IndexNodeItem> level_items = sorted;
  bool leaf = true;
  std::uint8_t level = 0;
  for (;;) {
    auto groups = pack(level_items, leaf, room);
    std::vector<IndexNode> nodes(groups.size());
    for (std::size_t i = 0; i < groups.size(); ++i) {
      nodes[i].leaf = leaf;
      nodes[i].owner = table_page;
      nodes[i].level = level;
      nodes[i].items = std::move(groups[i]);
    }
    if (nodes.size() == 1) {
      nodes[0].number = root;
      auto bytes = encode_index_node(nodes[0], pager.page_size());
      if (!bytes) throw_damaged(pager.file_name(), "entrée d'index trop longue pour une page");
      store.write_page(root, std::move(*bytes));
      return;
    }
    for (auto& n : nodes) n.number = store.allocate_page();
    std::vector<IndexNodeItem> above;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      nodes[i].prev = i > 0 ? nodes[i - 1].number : 0;
      nodes[i].next = i + 1 < nodes.size() ? nodes[i + 1].number : 0;
      auto bytes = encode_index_node(nodes[i], pager.page_size());
      if (!bytes) throw_damaged(pager.file_name(), "entrée d'index trop longue pour une page");
      store.write_page(nodes[i].number, std::move(*bytes));
      const auto& last = nodes[i].items.back();
      above.push_back({last.key, last.row, nodes[i].number});
    }
    level_items = std::move(above);
    leaf = false;
    ++level;
  }
}

void rebuild_index(IndexPageStore& store, const Table& table, const IndexDef& index,
                   const StoredKeyOf& stored) {
  store.select_index(index);
  build_index_tree(store, table.def().page, index.root_page,
                   index_entries_of_rows(table, index, stored));
}

}  // namespace jet
