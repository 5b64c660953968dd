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
// - Memory grows with the number of pages changed, not with the file size.
// - Writing outside a transaction is refused (3251): callers open one, or use an
//   autocommit Statement (transaction.h) around a single statement.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <vector>

#include "jet/storage/pager.h"

namespace jet {

// Where committed pages go: the database file, or nowhere (tests, scratch databases).
class PageSink {
 public:
  virtual ~PageSink() = default;
  // Writes whole pages (page order, each exactly page_size bytes), extending the file when
  // a page lies past its end, then makes them durable. Throws jet::Error on failure.
  virtual void write_pages(std::size_t page_size,
                           const std::map<PageNumber, std::shared_ptr<const std::vector<std::uint8_t>>>& pages) = 0;
  // After write_pages threw: true when the file is known to be exactly as before the call
  // (the commit was undone), so that work may go on.
  virtual bool file_unchanged_after_failure() const noexcept { return false; }
};

class OverlayPager final : public Pager {
 public:
  // `base` must outlive this pager; `sink` may be null (committed pages then stay in
  // memory, which suits scratch databases and tests).
  OverlayPager(Pager& base, PageSink* sink);

  std::size_t page_size() const noexcept override { return base_.page_size(); }
  PageNumber page_count() const noexcept override;
  const std::string& file_name() const noexcept override { return base_.file_name(); }
  const os::Services& services() const noexcept override { return base_.services(); }
  Page read(PageNumber number) override;

  // Replaces page `number` (< page_count()) with `bytes` (exactly page_size bytes) in the
  // innermost level. Throws 3251 outside a transaction, 3049 for a page past the end.
  void write(PageNumber number, std::vector<std::uint8_t> bytes);
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
  // Pages changed in the open levels (distinct numbers), for memory and tests.
  std::size_t dirty_pages() const;
  // Committed pages served from memory: those a base pager cannot re-read (no sink, or a
  // base that cannot follow the file). Zero over a database file.
  std::size_t held_pages() const noexcept { return committed_.size(); }

 private:
  using Bytes = std::shared_ptr<const std::vector<std::uint8_t>>;
  struct Level {
    std::map<PageNumber, Bytes> pages;
    PageNumber page_count_at_begin = 0;
  };
  const Bytes* find(PageNumber number) const;

  Pager& base_;
  PageSink* sink_;
  std::shared_ptr<const std::string> name_;
  std::vector<Level> levels_;
  bool write_failed_ = false;  // the sink failed: the file's state is unknown
  // Committed pages the base cannot serve, read in place of it.
  std::map<PageNumber, Bytes> committed_;
  PageNumber page_count_;
};

}  // namespace jet
