// The writable pager: an overlay of modified pages in front of a read-only base pager.
//
// Promises:
// - Nothing reaches the base (nor the file behind it) before the outermost commit: every
//   write lands in the overlay level of the innermost open transaction. Reads see the
//   newest version of a page (innermost level first, then outer levels, then the base).
// - Levels nest. begin() opens a level; commit() of an inner level merges its pages into the
//   level below; rollback() drops only the innermost level's pages (and pages it appended).
//   The outermost commit hands the dirty pages, in ascending page order, to the PageSink,
//   which writes and syncs them; rollback of the outermost level leaves the file untouched.
// - Memory is bounded: past a budget of pages held (a few tens of megabytes by default),
//   the changed pages touched least recently wait in a scratch file beside the database
//   (page_spill.h) and are read back when needed, so a transaction may change more pages
//   than memory holds. Without a scratch file (memory databases), every page stays in memory.
// - Writing outside a transaction is refused (3251): callers open one, or use an
//   autocommit Statement (transaction.h) around a single statement.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <vector>

#include "jet/storage/page_spill.h"
#include "jet/storage/pager.h"

namespace jet {

// Where committed pages go: the database file, or nowhere (tests, scratch databases).
class PageSink {
 public:
  using Bytes = std::shared_ptr<const std::vector<std::uint8_t>>;
  // The bytes of page `numbers[i]`, loaded when asked for (they may wait in a scratch file).
  using PageLoader = std::function<Bytes(std::size_t i)>;

  virtual ~PageSink() = default;
  // Writes whole pages (`numbers` ascending, each page exactly page_size bytes), extending
  // the file when a page lies past its end, then makes them durable. Throws jet::Error on
  // failure.
  virtual void write_pages(std::size_t page_size, const std::vector<PageNumber>& numbers, const PageLoader& load) = 0;
  // The same for pages all in memory.
  void write_pages(std::size_t page_size, const std::map<PageNumber, Bytes>& pages);
  // After write_pages threw: true when the file is known to be exactly as before the call
  // (the commit was undone), so that work may go on.
  virtual bool file_unchanged_after_failure() const noexcept { return false; }
  // True when pages of the outermost transaction may be written before its commit (a file
  // nobody uses until it is finished): the pager then writes the pages it lets go of
  // straight to the file, and a rollback leaves the file unusable.
  virtual bool takes_pages_early() const noexcept { return false; }
  // Writes pages let go of before the commit (takes_pages_early): as write_pages, except that
  // the writing may still be going on when it returns; what fails then is thrown by the
  // next write or by the commit.
  virtual void write_pages_early(std::size_t page_size, const std::vector<PageNumber>& numbers,
                                 const PageLoader& load) {
    write_pages(page_size, numbers, load);
  }
};

class OverlayPager final : public Pager {
 public:
  // Pages held in memory by default before the least recently used wait in the scratch
  // file: 16,384 pages of 4 KB (64 MB). The environment variable JET_OVERLAY_PAGES, when
  // set to a number, replaces it for the whole process (tests run with a few pages so that
  // every transaction goes through the scratch file).
  static std::size_t default_budget();

  // `base` must outlive this pager; `sink` may be null (committed pages then stay in
  // memory, which suits scratch databases and tests). With `spill` (a scratch file's path,
  // see spill_path), pages past `budget` wait there.
  OverlayPager(Pager& base, PageSink* sink, std::string spill = {}, std::size_t budget = default_budget());
  ~OverlayPager() override;
  OverlayPager(const OverlayPager&) = delete;
  OverlayPager& operator=(const OverlayPager&) = delete;

  std::size_t page_size() const noexcept override { return base_.page_size(); }
  PageNumber page_count() const noexcept override;
  const std::string& file_name() const noexcept override { return base_.file_name(); }
  const os::Services& services() const noexcept override { return base_.services(); }
  Page read(PageNumber number) override;

  // Replaces page `number` (< page_count()) with `bytes` (exactly page_size bytes) in the
  // innermost level. Throws 3251 outside a transaction, 3049 for a page past the end.
  void write(PageNumber number, std::vector<std::uint8_t> bytes);
  // Changes page `number` through `change`, as write() of a changed copy of read(number)
  // would. The bytes are changed where they lie when the innermost level made them and nobody
  // else holds them (no Page read from them is alive): a page changed over and over, as a
  // usage map is by every page taken, is then not copied each time.
  void edit(PageNumber number, const std::function<void(std::span<std::uint8_t>)>& change);
  // Appends a new page at the end of the file (in the overlay); returns its number.
  // Usage maps are not touched here: PageAllocator (page_allocator.h) does that.
  PageNumber append(std::vector<std::uint8_t> bytes);

  // Opens a level. Refused with 3043 once the sink has failed to write a commit: the file
  // then holds an unknown mix of old and new pages.
  void begin();
  // Merges the innermost level into the one below; the outermost commit writes to the sink
  // (nothing is written when no page changed).
  void commit();
  // Drops the innermost level's changes.
  void rollback();
  // Number of open levels (0: no transaction).
  int depth() const noexcept { return static_cast<int>(levels_.size()); }
  // Rollbacks so far: what a writer remembered about the pages may no longer hold.
  std::uint64_t rollbacks() const noexcept { return rollbacks_; }
  // Pages changed in the open levels (distinct numbers), for memory and tests.
  std::size_t dirty_pages() const;
  // Committed pages served from memory: those a base pager cannot re-read (no sink, or a
  // base that cannot follow the file). Zero over a database file.
  std::size_t held_pages() const noexcept { return committed_.size(); }
  // Changed pages held in memory, and waiting in the scratch file.
  std::size_t resident_pages() const noexcept { return resident_; }
  std::size_t spilled_pages() const noexcept { return spill_ ? spill_->used() : 0; }
  void set_budget(std::size_t pages) noexcept { budget_ = pages < 2 ? 2 : pages; }

 private:
  using Bytes = std::shared_ptr<const std::vector<std::uint8_t>>;
  static constexpr std::uint32_t kNoSlot = 0xFFFFFFFF;
  // A changed page: in memory, in the scratch file, or both (read back and not changed
  // since, so that it can leave memory again without being written).
  struct Entry {
    Bytes bytes;
    std::uint32_t slot = kNoSlot;
    std::uint64_t used = 0;  // last read or write, for choosing what leaves memory
    // `bytes` were made by write() or append() from the caller's vector: edit() may change
    // them in place while no one else holds them.
    bool own = false;
  };
  struct Level {
    std::map<PageNumber, Entry> pages;
    PageNumber page_count_at_begin = 0;
  };
  Entry* find(PageNumber number);
  // The bytes of `entry`, read back from the scratch file when needed (kept in memory when
  // `keep`).
  Bytes bytes_of(Entry& entry, bool keep);
  // Puts `bytes` as page `number` into the innermost level.
  void place(PageNumber number, std::shared_ptr<std::vector<std::uint8_t>> bytes);
  // Lets go of an entry dropped or replaced.
  void discard(Entry& entry) noexcept;
  std::uint64_t rollbacks_ = 0;
  // Moves the least recently used pages to the scratch file while memory holds too many,
  // or those of the outermost level to the file when the sink takes pages early.
  void make_room();
  // Writes the outermost level's `victims` to the file and forgets them (the base reads
  // them from the file again).
  void write_early(std::vector<std::pair<PageNumber, Entry*>>& victims);
  // Ends the outermost level: the scratch file is emptied.
  void end_outermost() noexcept;

  Pager& base_;
  PageSink* sink_;
  std::shared_ptr<const std::string> name_;
  std::vector<Level> levels_;
  bool write_failed_ = false;  // the sink failed: the file's state is unknown
  bool written_early_ = false;  // the outermost level has pages on the file already
  // Committed pages the base cannot serve, read in place of it.
  std::map<PageNumber, Bytes> committed_;
  PageNumber page_count_;
  std::unique_ptr<PageSpill> spill_;
  std::size_t budget_;
  std::size_t resident_ = 0;  // entries of the levels holding their bytes
  std::uint64_t clock_ = 0;
};

}  // namespace jet
