#include "jet/long_value_write.h"

#include <set>

#include "jet/data_page.h"
#include "jet/data_page_write.h"
#include "jet/error.h"
#include "jet/long_value.h"

namespace jet {
namespace {

constexpr std::uint32_t kInlineFlag = 0x80000000u;
constexpr std::uint32_t kSinglePageFlag = 0x40000000u;
constexpr std::uint32_t kLongValueOwner = 0x4C41564C;  // "LVAL" read as a little-endian u32

void put32(std::vector<std::uint8_t>& out, std::size_t at, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) out[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(v >> (8 * i));
}

}  // namespace

RowId LongValueWriter::place(std::span<const std::uint8_t> bytes) {
  if (!current_) current_ = allocator_.long_value_page();
  if (current_ && *current_ < pager_.page_count()) {
    const Page existing = pager_.read(*current_);
    const ByteView v = existing.view();
    if (v.u8(0) == static_cast<std::uint8_t>(PageKind::Data) && v.u32(4) == kLongValueOwner) {
      DataPageEditor page(v.copy());
      if (page.fits(bytes.size())) {
        const std::uint8_t row = page.add_row(bytes);
        pager_.write(*current_, page.release());
        return {*current_, row};
      }
    }
  }
  DataPageEditor page = DataPageEditor::blank(pager_.page_size(), kLongValueOwner);
  const std::uint8_t row = page.add_row(bytes);
  current_ = allocator_.allocate(page.release());
  allocator_.set_long_value_page(*current_);
  return {*current_, row};
}

std::vector<std::uint8_t> LongValueWriter::write(std::span<const std::uint8_t> data, std::size_t inline_room) {
  if (data.size() > 0x3FFFFFFFu)
    throw Error(ErrorCode::FieldTooSmall);
  const auto length = static_cast<std::uint32_t>(data.size());
  std::vector<std::uint8_t> field(kLongValueRefSize, 0);
  if (data.size() <= kMaxInlineLongValue && kLongValueRefSize + data.size() <= inline_room) {
    put32(field, 0, length | kInlineFlag);
    field.insert(field.end(), data.begin(), data.end());
    return field;
  }
  if (data.size() <= max_row_data()) {
    const RowId id = place(data);
    put32(field, 0, length | kSinglePageFlag);
    put32(field, 4, id.pointer());
    return field;
  }
  // A chain: written from the last piece back, so each row knows its successor.
  const std::size_t piece = max_row_data();
  std::size_t pieces = (data.size() + piece - 1) / piece;
  std::uint32_t next = 0;
  while (pieces-- > 0) {
    const std::size_t from = pieces * piece;
    const std::size_t take = std::min(piece, data.size() - from);
    std::vector<std::uint8_t> row(4, 0);
    put32(row, 0, next);
    row.insert(row.end(), data.begin() + static_cast<std::ptrdiff_t>(from),
               data.begin() + static_cast<std::ptrdiff_t>(from + take));
    next = place(row).pointer();
  }
  put32(field, 0, length);
  put32(field, 4, next);
  return field;
}

void LongValueWriter::free(std::span<const std::uint8_t> field_bytes) {
  const ByteView field(field_bytes.data(), field_bytes.size(), 0, &pager_.file_name());
  const LongValueRef ref = parse_long_value_ref(field);
  if (ref.storage == LongValueStorage::Inline) return;
  std::uint32_t pointer = ref.pointer;
  std::set<std::uint32_t> seen;
  while (pointer != 0 && seen.insert(pointer).second) {
    const RowId id = RowId::from_pointer(pointer);
    DataPageEditor page(pager_.read(id.page).view().copy());
    if (id.row >= page.row_count()) break;
    std::uint32_t next = 0;
    if (ref.storage == LongValueStorage::Chain) {
      const auto row = page.row(id.row);
      if (row.size() >= 4) next = row[0] | (row[1] << 8) | (static_cast<std::uint32_t>(row[2]) << 16) | (static_cast<std::uint32_t>(row[3]) << 24);
    }
    page.mark_deleted(id.row);
    pager_.write(id.page, page.release());
    pointer = next;
  }
}

}  // namespace jet
