// Parsed index pages kept between B-tree operations, so that a run of inserts into one
// index parses each page once rather than once per row.
//
// A cached page is only ever served while the pager still shows the very buffer it was
// parsed from: every lookup reads the page through the pager and compares buffers. Pages are
// immutable shared buffers (pager.h) and the cache keeps the one it parsed alive, so a
// different buffer means the page was written, rolled back, committed and re-read, or
// freed since; the page is then parsed again. Nothing needs to tell the cache about
// savepoints, rollbacks or commits, and it can never serve bytes the pager no longer shows.
//
// Memory is bounded: past `capacity` pages, the oldest half of the entries is dropped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>

#include "jet/btree/index_page.h"
#include "jet/storage/pager.h"

namespace jet {

// A parsed index page with its level byte (offset 26), which the writer keeps as it was.
struct CachedIndexPage : IndexPage {
  std::uint8_t level = 0;
  // Of a leaf the writer patched: the bound its next patch starts from (leaf_with_entry).
  std::optional<std::size_t> shared_bound;
};

class IndexPageCache {
 public:
  explicit IndexPageCache(std::size_t capacity = 4096) : capacity_(capacity < 2 ? 2 : capacity) {}

  // Index page `number` as `pager` shows it now, parsed (3049 for a malformed page or a
  // page outside the file).
  std::shared_ptr<const CachedIndexPage> get(Pager& pager, PageNumber number);
  // The same, with the page's bytes as the pager shows them now in `bytes`.
  std::shared_ptr<const CachedIndexPage> get(Pager& pager, PageNumber number, Page& bytes);

  // Records `parsed` as what page `parsed.number` holds now: for a writer that has just
  // written that page from the node it parsed (it must be exactly what parse_index_page
  // would give for the page's bytes).
  void put(Pager& pager, CachedIndexPage parsed);
  void put(Pager& pager, std::shared_ptr<const CachedIndexPage> parsed);

  // Drops page `number` from the cache (a writer about to replace it).
  void forget(PageNumber number) { slots_.erase(number); }

  void clear() noexcept { slots_.clear(); }
  std::size_t size() const noexcept { return slots_.size(); }
  // Lookups served from the cache and pages parsed, since construction.
  std::uint64_t hits() const noexcept { return hits_; }
  std::uint64_t misses() const noexcept { return misses_; }

 private:
  struct Slot {
    Page page;  // keeps the parsed buffer alive, so its address identifies it
    std::shared_ptr<const CachedIndexPage> parsed;
    std::uint64_t stamp = 0;
  };
  void make_room();

  std::size_t capacity_;
  std::unordered_map<PageNumber, Slot> slots_;
  std::uint64_t clock_ = 0;
  std::uint64_t hits_ = 0;
  std::uint64_t misses_ = 0;
};

// Whether the index under `root` holds an entry whose key equals `key` with a row other than
// `except` (when given), read through `cache`. Follows the leaf links across equal keys.
bool index_holds_key(IndexPageCache& cache, Pager& pager, PageNumber root,
                     std::span<const std::uint8_t> key, const RowId* except);

}  // namespace jet
