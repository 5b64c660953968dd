// Editing data pages. Works on a private copy of the page bytes and keeps what readers
// rely on: the slot table after the 14-byte header, rows stored from the page end
// downwards in slot order (a row ends where the previous slot's row begins), and the
// free-space count (page size - header - slots - row bytes, deleted rows included,
// since their bytes stay).
//
// - add_row appends a slot (rows are never renumbered: a row id lives as long as its row).
// - replace_row resizes a row in place, moving the rows stored below it; when the page
//   lacks room it returns false and changes nothing (the caller moves the row away).
// - mark_deleted flags a row deleted (its bytes stay, as Access leaves them).
// - make_pointer turns a row into the 4-byte pointer to its new place (the rest of its
//   bytes cleared); the new place is added flagged deleted so that scans skip it.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "jet/storage/pager.h"
#include "jet/record/usage_map.h"
#include "jet/storage/format.h"

namespace jet {

class DataPageEditor {
 public:
  // Throws 3049 unless `bytes` is a data page with a consistent slot table.
  explicit DataPageEditor(std::vector<std::uint8_t> bytes);
  // An empty data page owned by the table whose definition starts at `owner`
  // (or the long-value marker "LVAL" for long-value pages).
  static DataPageEditor blank(std::size_t page_size, std::uint32_t owner);

  std::uint16_t row_count() const noexcept { return rows_; }
  std::size_t free_space() const;
  // Whether a new row of `length` bytes (and its slot) fits.
  bool fits(std::size_t length) const;
  std::uint16_t flags(std::uint8_t row) const;
  std::span<const std::uint8_t> row(std::uint8_t row) const;

  // Appends a row; returns its number. Throws 3251 when it does not fit.
  std::uint8_t add_row(std::span<const std::uint8_t> bytes, std::uint16_t flags = 0);
  bool replace_row(std::uint8_t row, std::span<const std::uint8_t> bytes);
  void mark_deleted(std::uint8_t row);
  void make_pointer(std::uint8_t row, RowId target);

  const std::vector<std::uint8_t>& bytes() const noexcept { return bytes_; }
  std::vector<std::uint8_t> release() { return std::move(bytes_); }

 private:
  std::size_t slot(std::uint8_t row) const;
  std::size_t start(std::uint8_t row) const;
  std::size_t end(std::uint8_t row) const;
  std::size_t lowest() const;
  void set_slot(std::uint8_t row, std::size_t offset, std::uint16_t flags);
  void update_free_space();

  std::vector<std::uint8_t> bytes_;
  std::uint16_t rows_ = 0;
};

}  // namespace jet
