#include "jet/btree/btree_write.h"

#include <algorithm>
#include <string>

#include "jet/base/error.h"
#include "jet/btree/index_key.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

[[noreturn]] void damaged_at(Pager& pager, PageNumber page, const char* what) {
  throw_damaged(pager.file_name(), "index, page " + std::to_string(page) + " : " + what);
}

// The last entry of the subtree under `number` (its key and row; child left 0).
IndexNodeItem last_entry_below(IndexPageCache& cache, Pager& pager, PageNumber number,
                               std::size_t depth) {
  for (;; ++depth) {
    if (depth > disk::kMaxIndexDepth) damaged_at(pager, number, "arbre d'index trop profond");
    const auto page = cache.get(pager, number);
    if (page->leaf) {
      if (page->entries.empty()) damaged_at(pager, number, "feuille vide sous une page intermédiaire");
      return {page->entries.back().key, page->entries.back().row, 0};
    }
    if (page->tail != 0) {
      number = page->tail;
    } else if (!page->entries.empty()) {
      number = page->entries.back().child;
    } else {
      damaged_at(pager, number, "page intermédiaire sans enfant");
    }
  }
}

// The node of a parsed page, or a copy of a node, without its items.
template <class Header>
IndexNode header_of(const Header& from) {
  IndexNode node;
  node.number = from.number;
  node.leaf = from.leaf;
  node.owner = from.owner;
  node.prev = from.prev;
  node.next = from.next;
  node.level = from.level;
  return node;
}

void add_tail(IndexPageCache& cache, Pager& pager, const CachedIndexPage& page, bool derive_tail,
              IndexNode& node) {
  if (!page.leaf && page.tail != 0) {
    IndexNodeItem tail = derive_tail ? last_entry_below(cache, pager, page.tail, 1) : IndexNodeItem{};
    tail.child = page.tail;
    node.items.push_back(std::move(tail));
  }
  if (!page.leaf && node.items.empty()) damaged_at(pager, page.number, "page intermédiaire sans enfant");
}

// The node of a parsed page; the tail item's key is looked up below it only when
// `derive_tail` (a caller about to replace that item has no use for it).
IndexNode node_of(IndexPageCache& cache, Pager& pager, const CachedIndexPage& page, bool derive_tail) {
  IndexNode node = header_of(page);
  node.items.reserve(page.entries.size() + 2);
  for (const auto& e : page.entries) node.items.push_back({e.key, e.row, e.child});
  add_tail(cache, pager, page, derive_tail, node);
  return node;
}

// The node of a parsed page nobody else holds: its keys are moved, not copied.
IndexNode node_taken(IndexPageCache& cache, Pager& pager, CachedIndexPage& page, bool derive_tail) {
  IndexNode node = header_of(page);
  node.items.reserve(page.entries.size() + 2);
  for (auto& e : page.entries) node.items.push_back({std::move(e.key), e.row, e.child});
  add_tail(cache, pager, page, derive_tail, node);
  return node;
}

// What parse_index_page gives for the bytes encode_index_node made of `node`, taking the
// node's keys (the node is spent).
CachedIndexPage parsed_form(IndexNode&& node, const std::vector<std::uint8_t>& bytes) {
  CachedIndexPage p;
  p.number = node.number;
  p.leaf = node.leaf;
  p.level = node.level;
  p.owner = node.owner;
  p.prev = node.prev;
  p.next = node.next;
  p.free_space = static_cast<std::uint16_t>(bytes[2] | (bytes[3] << 8));
  p.prefix_length = static_cast<std::uint16_t>(bytes[24] | (bytes[25] << 8));
  const std::size_t stored = !node.leaf && node.items.size() >= 2 ? node.items.size() - 1 : node.items.size();
  if (stored < node.items.size()) p.tail = node.items.back().child;
  p.entries.reserve(stored);
  std::size_t at = 0;
  for (std::size_t i = 0; i < stored; ++i) {
    IndexNodeItem& item = node.items[i];
    IndexEntry e;
    e.offset = static_cast<std::uint16_t>(disk::kIndexEntries + at);
    at += index_item_size(item, node.leaf) - (i == 0 ? 0 : p.prefix_length);
    e.row = item.row;
    e.child = node.leaf ? 0 : item.child;
    e.key = std::move(item.key);
    p.entries.push_back(std::move(e));
  }
  p.used_bytes = static_cast<std::uint16_t>(at);
  return p;
}

}  // namespace

IndexNode read_index_node(IndexPageCache& cache, Pager& pager, PageNumber number) {
  return node_of(cache, pager, *cache.get(pager, number), true);
}

IndexNode read_index_node(Pager& pager, PageNumber number) {
  IndexPageCache cache(disk::kMaxIndexDepth + 1);
  return read_index_node(cache, pager, number);
}

BtreeWriter::BtreeWriter(IndexPageStore& store, PageNumber table_page, PageNumber root)
    : store_(&store), table_page_(table_page), root_(root),
      cache_(store.page_cache() ? store.page_cache() : &own_cache_) {}

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
// Pages on the path are rewritten only when what they hold changes: most inserts write the
// leaf alone.
std::optional<BtreeWriter::Change> BtreeWriter::modify(PageNumber number, const Target& t,
                                                       std::size_t depth) {
  if (depth > disk::kMaxIndexDepth) damaged(number, "arbre d'index trop profond");
  Pager& pager = store_->pager();
  Page bytes;
  auto page = cache_->get(pager, number, bytes);
  const auto& entries = page->entries;
  const auto pos = static_cast<std::size_t>(
      std::partition_point(entries.begin(), entries.end(),
                           [&](const IndexEntry& e) { return compare_entries(e.key, e.row, t.key, t.row) < 0; }) -
      entries.begin());
  if (page->leaf) {
    const bool present = pos < entries.size() && compare_entries(entries[pos].key, entries[pos].row, t.key, t.row) == 0;
    if (t.insert && present) damaged(number, "entrée déjà présente dans l'index");
    if (!t.insert && !present) return std::nullopt;
    if (auto c = changed_in_place(page, bytes, pos, t)) return c;
    const std::size_t count = entries.size();
    IndexNode node = take_node(page);
    const auto at = node.items.begin() + static_cast<std::ptrdiff_t>(pos);
    bool at_end = false;
    bool last_changed = false;
    if (t.insert) {
      at_end = last_changed = pos == count;
      node.items.insert(at, IndexNodeItem{{t.key.begin(), t.key.end()}, t.row, 0});
    } else {
      last_changed = pos + 1 == count;
      node.items.erase(at);
    }
    return stored(std::move(node), at_end, last_changed);
  }

  // Children: the entries' children, then the tail (which has no key on the page).
  const bool has_tail = page->tail != 0;
  const std::size_t children = entries.size() + (has_tail ? 1 : 0);
  if (children == 0) damaged(number, "page intermédiaire sans enfant");
  std::size_t child = pos;
  if (child == children) {
    if (!t.insert) return std::nullopt;  // beyond the last entry of the whole subtree
    child = children - 1;
  }
  const PageNumber child_page = child < entries.size() ? entries[child].child : page->tail;
  const bool child_is_tail = has_tail && child == entries.size();
  const bool last_child = child + 1 == children;
  auto sub = modify(child_page, t, depth + 1);
  if (!sub) return std::nullopt;
  const bool at_end = sub->at_end && last_child;
  const bool last_changed = sub->last_changed && last_child;
  if (!sub->moved && !(sub->last_changed && !child_is_tail)) {
    // Same child page, same key for it here: this page stays as it is.
    Change same;
    same.at_end = at_end;
    same.last_changed = last_changed;
    if (last_changed) same.items = {{sub->items.back().key, sub->items.back().row, number}};
    return same;
  }
  // Only pages of the levels below were written meanwhile: `page` still shows this one.
  IndexNode node = node_of(*cache_, pager, *page, !child_is_tail);
  auto& items = node.items;
  items.erase(items.begin() + static_cast<std::ptrdiff_t>(child));
  items.insert(items.begin() + static_cast<std::ptrdiff_t>(child), sub->items.begin(), sub->items.end());
  return stored(std::move(node), at_end, last_changed);
}

// The common change: an entry added to or removed from a leaf that keeps its shared
// prefix (and at least one entry). The page's bytes are patched (leaf_with_entry,
// leaf_without_entry) and its parsed form updated rather than rebuilt, so a change costs a
// copy of the page instead of an encoding of every entry. nullopt (nothing written) when
// the node must be encoded.
std::optional<BtreeWriter::Change> BtreeWriter::changed_in_place(std::shared_ptr<const CachedIndexPage>& page,
                                                                 const Page& before, std::size_t pos,
                                                                 const Target& t) {
  Pager& pager = store_->pager();
  const PageNumber number = page->number;
  std::optional<std::size_t> bound = page->shared_bound;
  auto bytes = t.insert ? leaf_with_entry(before, *page, page->level, pos, t.key, t.row, bound)
                        : leaf_without_entry(before, *page, page->level, pos, bound);
  if (!bytes) return std::nullopt;
  const std::size_t count = page->entries.size();
  cache_->forget(number);
  std::shared_ptr<CachedIndexPage> parsed;
  if (page.use_count() == 1) {
    // Created non-const by the cache, and now held here alone.
    parsed = std::const_pointer_cast<CachedIndexPage>(std::move(page));
  } else {
    parsed = std::make_shared<CachedIndexPage>(*page);
    page.reset();
  }
  // What parse_index_page would now read: the same prefix, every entry after the first
  // stored without it.
  auto& entries = parsed->entries;
  if (t.insert) {
    IndexEntry entry;
    entry.key.assign(t.key.begin(), t.key.end());
    entry.row = t.row;
    entries.insert(entries.begin() + static_cast<std::ptrdiff_t>(pos), std::move(entry));
  } else {
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(pos));
  }
  // Entries before `pos` stay where they were.
  std::size_t at = pos == 0 ? disk::kIndexEntries
                            : entries[pos - 1].offset + entries[pos - 1].key.size() + disk::kIndexRowPointerSize -
                                  (pos == 1 ? 0 : parsed->prefix_length);
  for (std::size_t i = pos; i < entries.size(); ++i) {
    entries[i].offset = static_cast<std::uint16_t>(at);
    at += entries[i].key.size() + disk::kIndexRowPointerSize - (i == 0 ? 0 : parsed->prefix_length);
  }
  parsed->used_bytes = static_cast<std::uint16_t>(at - disk::kIndexEntries);
  parsed->free_space = static_cast<std::uint16_t>((*bytes)[disk::kPageFreeSpace] | ((*bytes)[disk::kPageFreeSpace + 1] << 8));
  parsed->tail = 0;
  parsed->shared_bound = bound;

  Change c;
  c.at_end = t.insert && pos == count;
  c.last_changed = t.insert ? pos == count : pos + 1 == count;
  // The parent only looks at the item when the subtree's last entry changed.
  if (c.last_changed) c.items = {{entries.back().key, entries.back().row, number}};
  store_->write_page(number, std::move(*bytes));
  cache_->put(pager, std::move(parsed));
  return c;
}

// The node of a leaf about to be rewritten. The cache forgets the page (the write records
// its new form); when nothing else holds the parsed page its keys move into the node.
IndexNode BtreeWriter::take_node(std::shared_ptr<const CachedIndexPage>& page) {
  cache_->forget(page->number);
  if (page.use_count() != 1) return node_of(*cache_, store_->pager(), *page, false);
  // Created non-const by the cache, and now held here alone.
  auto& owned = const_cast<CachedIndexPage&>(*page);
  IndexNode node = node_taken(*cache_, store_->pager(), owned, false);
  page.reset();
  return node;
}

// Stores the node and describes the result to its parent.
BtreeWriter::Change BtreeWriter::stored(IndexNode node, bool at_end, bool last_changed) {
  const PageNumber number = node.number;
  Change c;
  c.at_end = at_end;
  c.last_changed = last_changed;
  c.items = store(std::move(node), at_end);
  c.moved = c.items.size() != 1 || c.items[0].child != number;
  return c;
}

void BtreeWriter::write(IndexNode node) {
  auto bytes = encode_index_node(node, store_->pager().page_size());
  if (!bytes) damaged(node.number, "entrées trop longues pour une page d'index");
  put(std::move(node), std::move(*bytes));
}

// Writes the page and keeps its parsed form, so the next change does not parse it again.
void BtreeWriter::put(IndexNode node, std::vector<std::uint8_t> bytes) {
  CachedIndexPage parsed = parsed_form(std::move(node), bytes);
  store_->write_page(parsed.number, std::move(bytes));
  cache_->put(store_->pager(), std::move(parsed));
}

void BtreeWriter::relink(PageNumber page, bool previous, PageNumber target) {
  if (page == 0) return;
  auto bytes = store_->pager().read(page).view().copy();
  if (bytes.empty() || (bytes[0] != disk::kPageIndexLeaf && bytes[0] != disk::kPageIndexNode)) {
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
      write(std::move(node));
    } else {
      relink(node.prev, false, node.next);
      relink(node.next, true, node.prev);
      store_->free_page(node.number);
    }
    return {};
  }
  const std::size_t page_size = store_->pager().page_size();
  if (auto bytes = encode_index_node(node, page_size)) {
    std::vector<IndexNodeItem> out{{node.items.back().key, node.items.back().row, node.number}};
    put(std::move(node), std::move(*bytes));
    return out;
  }

  std::vector<IndexNode> pieces;
  bool head_fits = false;
  if (at_end && node.next == 0) {
    IndexNodeItem last = std::move(node.items.back());
    node.items.pop_back();
    head_fits = encode_index_node(node, page_size).has_value();
    node.items.push_back(std::move(last));
  }
  if (head_fits) {
    pieces.push_back(header_of(node));
    pieces.back().items.assign(node.items.begin(), node.items.end() - 1);
    pieces.push_back(header_of(node));
    pieces.back().items.assign(1, node.items.back());
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
  for (auto& p : pieces) {
    out.push_back({p.items.back().key, p.items.back().row, p.number});
    write(std::move(p));
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
  IndexNode piece = header_of(node);
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
