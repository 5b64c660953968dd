#include "jet/btree/btree_write_cache.h"

#include <algorithm>
#include <string>
#include <vector>

#include "jet/btree/index_key.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

[[noreturn]] void damaged_cached_page(Pager& pager, PageNumber page, const char* what) {
  throw_damaged(pager.file_name(), "index, page " + std::to_string(page) + " : " + what);
}

}  // namespace

std::shared_ptr<const CachedIndexPage> IndexPageCache::get(Pager& pager, PageNumber number) {
  Page page;
  return get(pager, number, page);
}

std::shared_ptr<const CachedIndexPage> IndexPageCache::get(Pager& pager, PageNumber number, Page& bytes) {
  if (number == 0 || number >= pager.page_count()) {
    damaged_cached_page(pager, number, "numéro de page d'index hors du fichier");
  }
  Page page = pager.read(number);
  bytes = page;
  auto it = slots_.find(number);
  if (it != slots_.end() && it->second.page.view().data() == page.view().data() &&
      it->second.page.size() == page.size()) {
    ++hits_;
    it->second.stamp = ++clock_;
    return it->second.parsed;
  }
  ++misses_;
  auto fresh = std::make_shared<CachedIndexPage>();
  static_cast<IndexPage&>(*fresh) = parse_index_page(page);
  fresh->level = page.view().u8(disk::kIndexLevel);
  std::shared_ptr<const CachedIndexPage> parsed = std::move(fresh);
  if (it != slots_.end()) {
    it->second = Slot{std::move(page), parsed, ++clock_};
  } else {
    if (slots_.size() >= capacity_) make_room();
    slots_.emplace(number, Slot{std::move(page), parsed, ++clock_});
  }
  return parsed;
}

void IndexPageCache::put(Pager& pager, CachedIndexPage parsed) {
  put(pager, std::make_shared<CachedIndexPage>(std::move(parsed)));
}

void IndexPageCache::put(Pager& pager, std::shared_ptr<const CachedIndexPage> shared) {
  const PageNumber number = shared->number;
  Page page = pager.read(number);
  auto it = slots_.find(number);
  if (it != slots_.end()) {
    it->second = Slot{std::move(page), std::move(shared), ++clock_};
    return;
  }
  if (slots_.size() >= capacity_) make_room();
  slots_.emplace(number, Slot{std::move(page), std::move(shared), ++clock_});
}

// Drops the least recently used half: a full sweep now and then costs less than keeping
// an ordered list up to date on every hit.
void IndexPageCache::make_room() {
  std::vector<std::uint64_t> stamps;
  stamps.reserve(slots_.size());
  for (const auto& entry : slots_) stamps.push_back(entry.second.stamp);
  auto middle = stamps.begin() + static_cast<std::ptrdiff_t>(stamps.size() / 2);
  std::nth_element(stamps.begin(), middle, stamps.end());
  const std::uint64_t cut = *middle;
  for (auto it = slots_.begin(); it != slots_.end();) {
    it = it->second.stamp < cut ? slots_.erase(it) : std::next(it);
  }
}

bool index_holds_key(IndexPageCache& cache, Pager& pager, PageNumber root,
                     std::span<const std::uint8_t> key, const RowId* except) {
  auto before = [&](const IndexEntry& e) { return compare_keys(e.key, key) < 0; };
  // The path from the root, each page with the position of the child (or entry) taken: the
  // walk goes through parents rather than sibling links, as the read-side cursor does.
  struct Step {
    std::shared_ptr<const CachedIndexPage> page;
    std::size_t pos;
  };
  std::vector<Step> path;
  std::uint64_t visits = 0;
  auto descend = [&](PageNumber number, bool first) {
    for (;;) {
      if (path.size() >= disk::kMaxIndexDepth) damaged_cached_page(pager, number, "arbre d'index trop profond");
      if (++visits > static_cast<std::uint64_t>(pager.page_count()) * 2 + disk::kMaxIndexDepth) {
        damaged_cached_page(pager, number, "arbre d'index bouclé");
      }
      auto page = cache.get(pager, number);
      const auto& es = page->entries;
      const std::size_t pos =
          first ? 0 : static_cast<std::size_t>(std::partition_point(es.begin(), es.end(), before) - es.begin());
      const bool leaf = page->leaf;
      const std::size_t children = es.size() + (page->tail != 0 ? 1 : 0);
      path.push_back({std::move(page), pos});
      if (leaf) return;
      if (pos >= children) return;  // past every key below this page
      const IndexPage& p = *path.back().page;
      number = pos < p.entries.size() ? p.entries[pos].child : p.tail;
      if (number == 0) damaged_cached_page(pager, p.number, "pointeur d'enfant nul");
    }
  };
  descend(root, false);
  for (;;) {
    Step& at = path.back();
    if (at.page->leaf && at.pos < at.page->entries.size()) {
      const IndexEntry& e = at.page->entries[at.pos];
      if (compare_keys(e.key, key) != 0) return false;
      if (!except || e.row != *except) return true;
      ++at.pos;
      continue;
    }
    // This page is done: the next child of the nearest ancestor that has one.
    path.pop_back();
    for (;;) {
      if (path.empty()) return false;
      Step& parent = path.back();
      const IndexPage& p = *parent.page;
      const std::size_t children = p.entries.size() + (p.tail != 0 ? 1 : 0);
      if (++parent.pos < children) {
        const PageNumber child = parent.pos < p.entries.size() ? p.entries[parent.pos].child : p.tail;
        if (child == 0) damaged_cached_page(pager, p.number, "pointeur d'enfant nul");
        descend(child, true);
        break;
      }
      path.pop_back();
    }
  }
}

}  // namespace jet
