#include "jet/btree/index_cursor.h"

#include <algorithm>
#include <string>

#include "jet/base/error.h"
#include "jet/btree/index_row_key.h"
#include "jet/storage/format.h"

namespace jet {
namespace {
constexpr std::size_t kMaxCachedPages = 64;

[[noreturn]] void damaged_cursor_page(Pager& pager, PageNumber page, const std::string& what) {
  throw_damaged(pager.file_name(), "index, page " + std::to_string(page) + " : " + what);
}

// Whether entry `e` lies before the searched position.
bool before_target(const IndexEntry& e, std::span<const std::uint8_t> key, RowId row,
                   bool with_row) {
  if (with_row) return compare_entries(e.key, e.row, key, row) < 0;
  return compare_keys(e.key, key) < 0;
}

bool same_ascii_name(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    auto lower = [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

}  // namespace

const IndexDef* find_real_index(const TableDef& table, std::string_view logical_name) {
  for (const auto& logical : table.logical_indexes) {
    if (same_ascii_name(logical.name, logical_name)) return table.real_index(logical.real_index);
  }
  return nullptr;
}

IndexCursor::IndexCursor(Pager& pager, const TableDef& table, const IndexDef& index)
    : pager_(&pager), table_(&table), index_(&index), columns_(key_columns(table, index)) {}

std::shared_ptr<const IndexPage> IndexCursor::load(PageNumber number) {
  if (auto it = cache_.find(number); it != cache_.end()) return it->second;
  if (number == 0 || number >= pager_->page_count()) {
    damaged_cursor_page(*pager_, number, "numéro de page d'index hors du fichier");
  }
  if (cache_.size() >= kMaxCachedPages) cache_.clear();
  auto page = std::make_shared<const IndexPage>(read_index_page(*pager_, number));
  cache_.emplace(number, page);
  return page;
}

void IndexCursor::reset() {
  path_.clear();
  visits_ = 0;
}

// Pushes page `number` under the current path, positioned on its first (or last) child or
// entry; returns the child to descend to, or 0 for a leaf.
PageNumber IndexCursor::push_one(PageNumber number, bool from_end) {
  if (++visits_ > static_cast<std::uint64_t>(pager_->page_count()) * 2 + disk::kMaxIndexDepth) {
    damaged_cursor_page(*pager_, number, "arbre d'index bouclé (plus de pages visitées que le fichier n'en contient)");
  }
  if (path_.size() >= disk::kMaxIndexDepth) damaged_cursor_page(*pager_, number, "arbre d'index trop profond");
  for (const auto& f : path_) {
    if (f.page->number == number) damaged_cursor_page(*pager_, number, "page d'index ancêtre d'elle-même");
  }
  Frame f;
  f.page = load(number);
  if (f.page->leaf) {
    f.pos = from_end ? static_cast<std::ptrdiff_t>(f.page->entries.size()) - 1 : 0;
    path_.push_back(std::move(f));
    return 0;
  }
  f.children = f.page->children();
  if (f.children.empty()) damaged_cursor_page(*pager_, number, "page intermédiaire sans enfant");
  f.pos = from_end ? static_cast<std::ptrdiff_t>(f.children.size()) - 1 : 0;
  const PageNumber child = f.children[static_cast<std::size_t>(f.pos)];
  path_.push_back(std::move(f));
  if (child == 0) damaged_cursor_page(*pager_, number, "pointeur d'enfant nul");
  return child;
}

// Pushes pages from `number` down to a leaf, along the first (or last) children.
void IndexCursor::push(PageNumber number, bool from_end) {
  while (number != 0) number = push_one(number, from_end);
}

// From a leaf position that may be past its last entry, moves to the next existing entry.
bool IndexCursor::settle_forward() {
  while (!path_.empty()) {
    Frame& leaf = path_.back();
    if (leaf.pos < static_cast<std::ptrdiff_t>(leaf.page->entries.size())) {
      state_ = State::OnEntry;
      return true;
    }
    path_.pop_back();
    while (!path_.empty()) {
      Frame& parent = path_.back();
      if (++parent.pos < static_cast<std::ptrdiff_t>(parent.children.size())) {
        push(parent.children[static_cast<std::size_t>(parent.pos)], false);
        break;
      }
      path_.pop_back();
    }
  }
  state_ = State::AfterLast;
  return false;
}

bool IndexCursor::settle_backward() {
  while (!path_.empty()) {
    Frame& leaf = path_.back();
    if (leaf.pos >= 0) {
      state_ = State::OnEntry;
      return true;
    }
    path_.pop_back();
    while (!path_.empty()) {
      Frame& parent = path_.back();
      if (--parent.pos >= 0) {
        push(parent.children[static_cast<std::size_t>(parent.pos)], true);
        break;
      }
      path_.pop_back();
    }
  }
  state_ = State::BeforeFirst;
  return false;
}

void IndexCursor::before_first() {
  reset();
  state_ = State::BeforeFirst;
}

void IndexCursor::after_last() {
  reset();
  state_ = State::AfterLast;
}

bool IndexCursor::next() {
  switch (state_) {
    case State::AfterLast:
      return false;
    case State::BeforeFirst:
      reset();
      push(index_->root_page, false);
      return settle_forward();
    case State::OnEntry:
      ++path_.back().pos;
      return settle_forward();
  }
  return false;
}

bool IndexCursor::previous() {
  switch (state_) {
    case State::BeforeFirst:
      return false;
    case State::AfterLast:
      reset();
      push(index_->root_page, true);
      return settle_backward();
    case State::OnEntry:
      --path_.back().pos;
      return settle_backward();
  }
  return false;
}

bool IndexCursor::seek_with(std::span<const std::uint8_t> key, RowId row, bool with_row) {
  reset();
  PageNumber number = index_->root_page;
  for (;;) {
    // Descend one level at a time, choosing the first child whose last entry is not before
    // the target; past every entry, the tail child (if any) holds the larger ones.
    const bool leaf = push_one(number, false) == 0;
    Frame& f = path_.back();
    const auto& es = f.page->entries;
    auto it = std::partition_point(es.begin(), es.end(), [&](const IndexEntry& e) {
      return before_target(e, key, row, with_row);
    });
    f.pos = it - es.begin();
    if (leaf) return settle_forward();
    if (f.pos >= static_cast<std::ptrdiff_t>(f.children.size())) {
      path_.clear();
      state_ = State::AfterLast;
      return false;
    }
    number = f.children[static_cast<std::size_t>(f.pos)];
  }
}

bool IndexCursor::seek(std::span<const std::uint8_t> key) { return seek_with(key, {}, false); }

bool IndexCursor::seek_exact(std::span<const std::uint8_t> key) {
  return seek(key) && compare_keys(entry().key, key) == 0;
}

bool IndexCursor::seek_entry(std::span<const std::uint8_t> key, RowId row) {
  return seek_with(key, row, true);
}

bool IndexCursor::seek(const std::vector<Value>& values) {
  const auto key = index_key_for_values(*table_, *index_, values);
  return seek(key);
}

const IndexEntry& IndexCursor::entry() const {
  if (state_ != State::OnEntry || path_.empty()) throw Error(ErrorCode::NoCurrentRecord);
  const Frame& f = path_.back();
  return f.page->entries[static_cast<std::size_t>(f.pos)];
}

}  // namespace jet
