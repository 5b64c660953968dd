// Page access. A database file is a sequence of fixed-size pages; everything above this layer
// reads pages through a Pager and never touches the file. Pages are immutable snapshots
// (shared, cheap to copy); a later write layer puts an overlay of modified pages in front of
// the file without changing this interface.
//
// Every accessor is bounds-checked: reading outside a page throws jet::Error 3049
// (database damaged) naming the file and the page, never reads past the buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "jet/storage/format_layout.h"
#include "os/file.h"
#include "os/services.h"

namespace jet {

using PageNumber = std::uint32_t;

// Throws jet::Error 3049 for `file` with `detail` (French) appended to the standard text.
[[noreturn]] void throw_damaged(const std::string& file, std::string_view detail);

// A read-only view of bytes inside one page, with checked little-endian readers.
// `offset` arguments are relative to the view.
class ByteView {
 public:
  ByteView() = default;
  ByteView(const std::uint8_t* data, std::size_t size, PageNumber page,
           const std::string* file)
      : data_(data), size_(size), page_(page), file_(file) {}

  std::size_t size() const noexcept { return size_; }
  const std::uint8_t* data() const noexcept { return data_; }
  PageNumber page() const noexcept { return page_; }

  std::uint8_t u8(std::size_t offset) const { check(offset, 1); return data_[offset]; }
  // Inline: rows and keys are read through these, field by field.
  std::uint16_t u16(std::size_t offset) const {
    check(offset, 2);
    return static_cast<std::uint16_t>(data_[offset] | (data_[offset + 1] << 8));
  }
  std::uint32_t u24(std::size_t offset) const;
  std::uint32_t u32(std::size_t offset) const {
    check(offset, 4);
    return data_[offset] | (data_[offset + 1] << 8) | (static_cast<std::uint32_t>(data_[offset + 2]) << 16) |
           (static_cast<std::uint32_t>(data_[offset + 3]) << 24);
  }
  std::uint64_t u64(std::size_t offset) const;
  // A checked sub-range [offset, offset + length).
  ByteView sub(std::size_t offset, std::size_t length) const {
    check(offset, length);
    return ByteView(data_ + offset, length, page_, file_);
  }
  std::vector<std::uint8_t> copy() const { return {data_, data_ + size_}; }
  std::span<const std::uint8_t> span() const noexcept { return {data_, size_}; }

  // Throws 3049 "page N : <what>" unless [offset, offset + length) lies inside the view.
  void check(std::size_t offset, std::size_t length) const {
    if (offset > size_ || length > size_ - offset) fail(offset, length);
  }
  [[noreturn]] void damaged(std::string_view what) const;

 private:
  [[noreturn]] void fail(std::size_t offset, std::size_t length) const;
  const std::uint8_t* data_ = nullptr;
  std::size_t size_ = 0;
  PageNumber page_ = 0;
  const std::string* file_ = nullptr;
};

// One page of the file, with the layout of the file's format. Copies share the buffer.
class Page {
 public:
  Page() = default;
  Page(PageNumber number, std::shared_ptr<const std::vector<std::uint8_t>> bytes,
       std::shared_ptr<const std::string> file, const FormatLayout& layout = jet4_layout())
      : number_(number),
        data_(bytes ? bytes->data() : nullptr),
        size_(bytes ? bytes->size() : 0),
        owner_(std::move(bytes)),
        file_(std::move(file)),
        layout_(&layout) {}
  // A page lying at `data` inside a larger buffer kept alive by `owner` (a block read at once).
  Page(PageNumber number, std::shared_ptr<const void> owner, const std::uint8_t* data, std::size_t size,
       std::shared_ptr<const std::string> file, const FormatLayout& layout = jet4_layout())
      : number_(number), data_(data), size_(size), owner_(std::move(owner)), file_(std::move(file)), layout_(&layout) {}

  PageNumber number() const noexcept { return number_; }
  std::size_t size() const noexcept { return size_; }
  std::uint8_t kind_byte() const { return view().u8(0); }
  ByteView view() const { return ByteView(data_, size_, number_, file_.get()); }
  const std::string& file() const;
  const FormatLayout& layout() const noexcept { return *layout_; }

 private:
  PageNumber number_ = 0;
  const std::uint8_t* data_ = nullptr;
  std::size_t size_ = 0;
  std::shared_ptr<const void> owner_;
  std::shared_ptr<const std::string> file_;
  const FormatLayout* layout_ = &jet4_layout();
};

// Source of pages. Implementations: FilePager (a file on disk); later a write overlay.
class Pager {
 public:
  virtual ~Pager() = default;
  virtual std::size_t page_size() const noexcept = 0;
  virtual PageNumber page_count() const noexcept = 0;
  // The file name used in error texts.
  virtual const std::string& file_name() const noexcept = 0;
  // Page `number`; throws 3049 when it lies beyond the end of the file.
  virtual Page read(PageNumber number) = 0;
  // The file system, clock and random source of the database these pages belong to.
  virtual const os::Services& services() const noexcept { return os::system_services(); }
  // Told that `pages` were just written to the storage behind this pager (which may have
  // grown): a pager that can follow drops what it cached of them, learns the new length and
  // returns true; one that cannot (memory pagers) returns false and the writer keeps serving
  // those pages itself.
  virtual bool refresh(const std::vector<PageNumber>& pages) {
    (void)pages;
    return false;
  }

  // Where the file's format keeps things, and the code page its text is stored in when the
  // format stores single-byte text (Jet 3). Set from the header when the file is opened;
  // Jet 4 for every pager that was not told otherwise (new and in-memory databases).
  const FormatLayout& layout() const noexcept { return *layout_; }
  std::uint16_t code_page() const noexcept { return code_page_; }
  void set_format(const FormatLayout& layout, std::uint16_t code_page) noexcept {
    layout_ = &layout;
    code_page_ = code_page;
  }

 private:
  const FormatLayout* layout_ = &jet4_layout();
  std::uint16_t code_page_ = 1252;
};

// Pages read from an open database file (see database_file.h for the opening and its
// refusals), with a small cache. Pages read in order are read ahead in blocks (a scan makes
// one system call per block, not per page). The file stays open, and locked in its sharing
// mode, for the pager's life.
class FilePager final : public Pager {
 public:
  FilePager(std::shared_ptr<os::File> file, const std::string& name, std::size_t page_size,
            const os::Services& services);
  ~FilePager() override;
  FilePager(const FilePager&) = delete;
  FilePager& operator=(const FilePager&) = delete;

  std::size_t page_size() const noexcept override { return page_size_; }
  PageNumber page_count() const noexcept override { return page_count_; }
  const std::string& file_name() const noexcept override { return *name_; }
  const os::Services& services() const noexcept override { return services_; }
  Page read(PageNumber number) override;
  bool refresh(const std::vector<PageNumber>& pages) override;
  // The open file, shared with the writer of committed pages.
  const std::shared_ptr<os::File>& file() const noexcept { return file_; }

 private:
  std::shared_ptr<os::File> file_;
  const os::Services& services_;
  std::size_t page_size_;
  PageNumber page_count_ = 0;
  std::shared_ptr<const std::string> name_;
  struct Cache;
  std::unique_ptr<Cache> cache_;
  // The last page read from the file: a miss on the next one starts a block.
  PageNumber last_read_ = 0xFFFFFFFF;
};

}  // namespace jet
