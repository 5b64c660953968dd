// Where the index B-tree writer reads and puts pages. Reads go through pager(), which must
// show every page written so far; the writer only ever writes whole pages.
//
// A store may keep a cache of parsed pages (page_cache) that every writer over it shares;
// the cache checks each page against the pager, so it needs no notice of writes or rollbacks.
//
// allocate_page returns a page the index may fill (its content is irrelevant: the writer
// overwrites it entirely); free_page gives back a page the index no longer uses. The store
// keeps the usage maps right. MemoryIndexPageStore serves a database held in a
// MemoryPager; the transactional store of a writable database implements the same calls.
#pragma once

#include <cstdint>
#include <vector>

#include "jet/btree/btree_write_cache.h"
#include "jet/storage/memory_pager.h"
#include "jet/storage/pager.h"
#include "jet/record/table_def.h"

namespace jet {

class IndexPageStore {
 public:
  virtual ~IndexPageStore() = default;
  virtual Pager& pager() = 0;
  virtual void write_page(PageNumber number, std::vector<std::uint8_t> bytes) = 0;
  virtual PageNumber allocate_page() = 0;
  virtual void free_page(PageNumber number) = 0;
  // The index whose pages the next allocations and frees concern (its own usage map).
  virtual void select_index(const IndexDef& /*index*/) {}
  // Parsed pages kept across writers of this store (btree_write_cache.h), or null.
  virtual IndexPageCache* page_cache() { return nullptr; }
};

// Pages of a MemoryPager: freed pages are blanked and reused first, new ones appended.
// It does not maintain the file's usage maps (a memory image has none to keep).
class MemoryIndexPageStore final : public IndexPageStore {
 public:
  explicit MemoryIndexPageStore(MemoryPager& pager) : pager_(&pager) {}
  Pager& pager() override { return *pager_; }
  void write_page(PageNumber number, std::vector<std::uint8_t> bytes) override;
  PageNumber allocate_page() override;
  void free_page(PageNumber number) override;
  const std::vector<PageNumber>& free_pages() const noexcept { return free_; }
  IndexPageCache* page_cache() override { return &cache_; }

 private:
  MemoryPager* pager_;
  std::vector<PageNumber> free_;
  IndexPageCache cache_;
};

}  // namespace jet
