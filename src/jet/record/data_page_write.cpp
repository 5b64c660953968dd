#include "jet/record/data_page_write.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "jet/record/data_page.h"
#include "jet/base/error.h"
#include "jet/storage/format.h"
#include "jet/base/bytes.h"

namespace jet {
namespace {

[[noreturn]] void no_room() {
  throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
              describe(static_cast<int>(ErrorCode::OperationNotSupported)) + " (page de données pleine)");
}

}  // namespace

DataPageEditor::DataPageEditor(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {
  // The read side's checks: kind, slot table inside the page, every row's bounds. The page
  // is seen in place (a non-owning pointer to bytes_ for the checks' duration).
  const std::shared_ptr<const std::vector<std::uint8_t>> seen(std::shared_ptr<void>(), &bytes_);
  const DataPage page(Page(0, seen, nullptr));
  rows_ = page.row_count();
  if (!page.rows_in_bounds())
    for (std::uint16_t r = 0; r < rows_; ++r) (void)page.row_bytes(r);  // raises the row's complaint
}

DataPageEditor DataPageEditor::blank(std::size_t page_size, std::uint32_t owner) {
  std::vector<std::uint8_t> b(page_size, 0);
  b[0] = 0x01;
  b[1] = 0x01;
  for (int i = 0; i < 4; ++i) b[4 + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(owner >> (8 * i));
  store_le16(b, 2, page_size - disk::kDataHeaderSize);
  return DataPageEditor(std::move(b));
}

std::size_t DataPageEditor::slot(std::uint8_t row) const {
  if (row >= rows_) no_room();
  return disk::kDataHeaderSize + 2 * std::size_t{row};
}
std::uint16_t DataPageEditor::flags(std::uint8_t row) const { return load_le16(&bytes_[slot(row)]) & ~disk::kRowOffsetMask; }
std::size_t DataPageEditor::start(std::uint8_t row) const { return load_le16(&bytes_[slot(row)]) & disk::kRowOffsetMask; }
std::size_t DataPageEditor::end(std::uint8_t row) const { return row == 0 ? bytes_.size() : start(static_cast<std::uint8_t>(row - 1)); }
std::size_t DataPageEditor::lowest() const { return rows_ == 0 ? bytes_.size() : start(static_cast<std::uint8_t>(rows_ - 1)); }

std::span<const std::uint8_t> DataPageEditor::row(std::uint8_t r) const {
  return std::span(bytes_).subspan(start(r), end(r) - start(r));
}

std::size_t DataPageEditor::free_space() const { return lowest() - disk::kDataHeaderSize - 2 * std::size_t{rows_}; }

bool DataPageEditor::fits(std::size_t length) const { return rows_ < disk::kDataMaxRows && free_space() >= length + 2; }

void DataPageEditor::set_slot(std::uint8_t row, std::size_t offset, std::uint16_t flags) {
  store_le16(bytes_, disk::kDataHeaderSize + 2 * std::size_t{row}, offset | flags);
}

void DataPageEditor::update_free_space() { store_le16(bytes_, 2, free_space()); }

std::uint8_t DataPageEditor::add_row(std::span<const std::uint8_t> data, std::uint16_t flags) {
  if (!fits(data.size())) no_room();
  const std::size_t at = lowest() - data.size();
  if (!data.empty()) std::memcpy(bytes_.data() + at, data.data(), data.size());
  const auto row = static_cast<std::uint8_t>(rows_);
  ++rows_;
  store_le16(bytes_, disk::kDataRowCount, rows_);
  set_slot(row, at, flags);
  update_free_space();
  return row;
}

bool DataPageEditor::replace_row(std::uint8_t r, std::span<const std::uint8_t> data) {
  const std::size_t old_start = start(r);
  const std::size_t row_end = end(r);
  const std::size_t old_length = row_end - old_start;
  if (data.size() > old_length && data.size() - old_length > free_space()) return false;
  const std::size_t low = lowest();
  const std::size_t new_start = row_end - data.size();
  // Rows stored below this one shift by the change of length.
  if (new_start != old_start) {
    const std::size_t new_low = low + new_start - old_start;  // wraps correctly for growth
    std::memmove(bytes_.data() + new_low, bytes_.data() + low, old_start - low);
    for (std::uint16_t k = static_cast<std::uint16_t>(r + 1); k < rows_; ++k) {
      const auto kr = static_cast<std::uint8_t>(k);
      set_slot(kr, start(kr) + new_start - old_start, flags(kr));
    }
    if (new_low > low) std::fill(bytes_.begin() + static_cast<std::ptrdiff_t>(low), bytes_.begin() + static_cast<std::ptrdiff_t>(new_low), 0);
  }
  if (!data.empty()) std::memcpy(bytes_.data() + new_start, data.data(), data.size());
  set_slot(r, new_start, flags(r));
  update_free_space();
  return true;
}

void DataPageEditor::mark_deleted(std::uint8_t r) {
  // Both flags, as Access leaves a deleted row.
  set_slot(r, start(r), flags(r) | disk::kRowDeleted | disk::kRowOverflow);
}

void DataPageEditor::make_pointer(std::uint8_t r, RowId target) {
  if (end(r) - start(r) < 4) {
    const std::vector<std::uint8_t> four(4, 0);
    if (!replace_row(r, four)) no_room();
  }
  const std::size_t at = start(r);
  std::fill(bytes_.begin() + static_cast<std::ptrdiff_t>(at), bytes_.begin() + static_cast<std::ptrdiff_t>(end(r)), 0);
  const std::uint32_t pointer = target.pointer();
  for (int i = 0; i < 4; ++i) bytes_[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(pointer >> (8 * i));
  set_slot(r, at, static_cast<std::uint16_t>((flags(r) & ~disk::kRowDeleted) | disk::kRowOverflow));
}

}  // namespace jet
