#include "jet/btree_write.h"

#include <algorithm>
#include <string>

#include "jet/error.h"
#include "jet/index_key.h"

namespace jet {
namespace {

constexpr std::size_t kMaxDepth = 32;
constexpr std::size_t kLevelOffset = 26;

std::strong_ordering compare_item(const IndexNodeItem& item, std::span<const std::uint8_t> key,
                                  RowId row) {
  return compare_entries(item.key, item.row, key, row);
}

[[noreturn]] void damaged_at(Pager& pager, PageNumber page, const char* what) {
  throw_damaged(pager.file_name(), "index, page " + std::to_string(page) + " : " + what);
}

// The last entry of the subtree under `number` (its key and row; child left 0).
IndexNodeItem last_entry_below(Pager& pager, PageNumber number, std::size_t depth) {
  for (;; ++depth) {
    if (depth > kMaxDepth) damaged_at(pager, number, "arbre d'index trop profond");
    const IndexPage page = read_index_page(pager, number);
    if (page.leaf) {
      if (page.entries.empty()) damaged_at(pager, number, "feuille vide sous une page intermédiaire");
      return {page.entries.back().key, page.entries.back().row, 0};
    }
    if (page.tail != 0) {
      number = page.tail;
    } else if (!page.entries.empty()) {
      number = page.entries.back().child;
    } else {
      damaged_at(pager, number, "page intermédiaire sans enfant");
    }
  }
}

}  // namespace

IndexNode read_index_node(Pager& pager, PageNumber number) {
  if (number == 0 || number >= pager.page_count()) {
    damaged_at(pager, number, "numéro de page d'index hors du fichier");
  }
  const Page raw = pager.read(number);
  const IndexPage page = parse_index_page(raw);
  IndexNode node;
  node.number = number;
  node.leaf = page.leaf;
  node.owner = page.owner;
  node.prev = page.prev;
  node.next = page.next;
  node.level = raw.view().u8(kLevelOffset);
  node.items.reserve(page.entries.size() + 1);
  for (const auto& e : page.entries) node.items.push_back({e.key, e.row, e.child});
  if (!page.leaf && page.tail != 0) {
    IndexNodeItem tail = last_entry_below(pager, page.tail, 1);
    tail.child = page.tail;
    node.items.push_back(std::move(tail));
  }
  if (!page.leaf && node.items.empty()) damaged_at(pager, number, "page intermédiaire sans enfant");
  return node;
}

BtreeWriter::BtreeWriter(IndexPageStore& store, PageNumber table_page, PageNumber root)
    : store_(&store), table_page_(table_page), root_(root) {}

void BtreeWriter::damaged(PageNumber page, const char* what) {
  throw_damaged(store_->pager().file_name(),
                "index, page " + std::to_string(page) + " : " + what);
}

void BtreeWriter::insert(std::span<const std::uint8_t> key, RowId row) {
  modify(root_, {key, row, true}, 0);
}

bool BtreeWriter::remove(std::span<const std::uint8_t> key, RowId row) {
  return modify(root_, {key, row, false}, 0).has_value();
}

// Applies the change under page `number`; nullopt when nothing changed (entry not found).
std::optional<BtreeWriter::Change> BtreeWriter::modify(PageNumber number, const Target& t,
                                                       std::size_t depth) {
  if (depth > kMaxDepth) damaged(number, "arbre d'index trop profond");
  IndexNode node = read_index_node(store_->pager(), number);
  auto& items = node.items;
  const auto it = std::partition_point(items.begin(), items.end(), [&](const IndexNodeItem& i) {
    return compare_item(i, t.key, t.row) < 0;
  });
  const auto pos = static_cast<std::size_t>(it - items.begin());
  bool at_end = false;
  if (node.leaf) {
    const bool present = it != items.end() && compare_item(*it, t.key, t.row) == 0;
    if (t.insert) {
      if (present) damaged(number, "entrée déjà présente dans l'index");
      at_end = pos == items.size();
      items.insert(it, IndexNodeItem{{t.key.begin(), t.key.end()}, t.row, 0});
    } else {
      if (!present) return std::nullopt;
      items.erase(it);
    }
  } else {
    std::size_t child = pos;
    if (child == items.size()) {
      if (!t.insert) return std::nullopt;  // beyond the last entry of the whole subtree
      child = items.size() - 1;
    }
    auto sub = modify(items[child].child, t, depth + 1);
    if (!sub) return std::nullopt;
    at_end = sub->at_end && child + 1 == items.size();
    items.erase(items.begin() + static_cast<std::ptrdiff_t>(child));
    items.insert(items.begin() + static_cast<std::ptrdiff_t>(child), sub->items.begin(),
                 sub->items.end());
  }
  return Change{store(std::move(node), at_end), at_end};
}

void BtreeWriter::write(const IndexNode& node) {
  auto bytes = encode_index_node(node, store_->pager().page_size());
  if (!bytes) damaged(node.number, "entrées trop longues pour une page d'index");
  store_->write_page(node.number, std::move(*bytes));
}

void BtreeWriter::relink(PageNumber page, bool previous, PageNumber target) {
  if (page == 0) return;
  auto bytes = store_->pager().read(page).view().copy();
  if (bytes.empty() || (bytes[0] != kIndexLeafPageKind && bytes[0] != kIndexNodePageKind)) {
    damaged(page, "voisine d'une page d'index qui n'est pas une page d'index");
  }
  set_index_page_link(bytes, previous, target);
  store_->write_page(page, std::move(bytes));
}

// Writes the node (splitting it, or dropping it when empty) and returns the items that
// stand for it in its parent.
std::vector<IndexNodeItem> BtreeWriter::store(IndexNode node, bool at_end) {
  const bool root = node.number == root_;
  if (node.items.empty()) {
    if (root) {
      node.leaf = true;
      node.level = 0;
      write(node);
    } else {
      relink(node.prev, false, node.next);
      relink(node.next, true, node.prev);
      store_->free_page(node.number);
    }
    return {};
  }
  const std::size_t page_size = store_->pager().page_size();
  if (auto bytes = encode_index_node(node, page_size)) {
    store_->write_page(node.number, std::move(*bytes));
    const auto& last = node.items.back();
    return {{last.key, last.row, node.number}};
  }

  std::vector<IndexNode> pieces;
  IndexNode head = node;
  head.items.pop_back();
  if (at_end && node.next == 0 && encode_index_node(head, page_size)) {
    pieces.push_back(std::move(head));
    IndexNode tail_piece = node;
    tail_piece.items.assign(1, node.items.back());
    pieces.push_back(std::move(tail_piece));
  } else {
    split_into(node, 0, node.items.size(), pieces);
  }

  // The root keeps its page: every piece moves to a new page under it.
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    pieces[i].number = (i == 0 && !root) ? node.number : store_->allocate_page();
    pieces[i].owner = root ? table_page_ : node.owner;
  }
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    pieces[i].prev = i == 0 ? (root ? 0 : node.prev) : pieces[i - 1].number;
    pieces[i].next = i + 1 < pieces.size() ? pieces[i + 1].number : (root ? 0 : node.next);
  }
  if (!root) relink(node.next, true, pieces.back().number);
  std::vector<IndexNodeItem> out;
  for (const auto& p : pieces) {
    write(p);
    out.push_back({p.items.back().key, p.items.back().row, p.number});
  }
  if (!root) return out;

  IndexNode top;
  top.number = root_;
  top.leaf = false;
  top.owner = node.owner;
  top.level = static_cast<std::uint8_t>(node.level + 1);
  top.items = out;
  return store(std::move(top), false);
}

// Cuts items [first, last) into pieces that each fit a page, halving by stored size.
void BtreeWriter::split_into(const IndexNode& node, std::size_t first, std::size_t last,
                             std::vector<IndexNode>& out) {
  IndexNode piece = node;
  piece.items.assign(node.items.begin() + static_cast<std::ptrdiff_t>(first),
                     node.items.begin() + static_cast<std::ptrdiff_t>(last));
  const bool whole = first == 0 && last == node.items.size();
  if (!whole && encode_index_node(piece, store_->pager().page_size())) {
    out.push_back(std::move(piece));
    return;
  }
  if (last - first < 2) damaged(node.number, "entrée d'index trop longue pour une page");
  std::size_t total = 0;
  for (std::size_t i = first; i < last; ++i) total += index_item_size(node.items[i], node.leaf);
  std::size_t mid = first + 1;
  for (std::size_t acc = index_item_size(node.items[first], node.leaf);
       mid < last - 1 && acc * 2 < total; ++mid) {
    acc += index_item_size(node.items[mid], node.leaf);
  }
  split_into(node, first, mid, out);
  split_into(node, mid, last, out);
}

}  // namespace jet
