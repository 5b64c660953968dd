#include "jet/record/long_value_write.h"

#include <optional>

#include "jet/record/data_page.h"
#include "jet/record/data_page_write.h"
#include "jet/base/error.h"
#include "jet/record/long_value.h"
#include "jet/storage/format.h"
#include "jet/base/bytes.h"

namespace jet {
namespace {

struct EditorRoom {
  std::uint16_t rows = 0;
  std::size_t free_space = 0;
};

// What a DataPageEditor made of `page` would report, read in place rather than on a copy of
// the page; nullopt when the editor's own checks are to be run instead (a page they may
// refuse, whose complaint they word).
std::optional<EditorRoom> room_in_place(const Page& page) {
  if (page.layout().data_row_count != disk::kDataRowCount) return std::nullopt;
  try {
    const DataPage data(page);
    if (!data.rows_in_bounds()) return std::nullopt;
    EditorRoom room;
    room.rows = data.row_count();
    const std::size_t lowest =
        room.rows == 0 ? page.size()
                       : static_cast<std::size_t>(data.row_bytes(static_cast<std::uint16_t>(room.rows - 1)).data() -
                                                  page.view().data());
    room.free_space = lowest - disk::kDataHeaderSize - 2 * std::size_t{room.rows};
    return room;
  } catch (const Error&) {
    return std::nullopt;
  }
}

// Adds the row on `page` if it is still a long-value page with room for it.
std::optional<RowId> place_on(OverlayPager& pager, PageNumber page, std::span<const std::uint8_t> bytes) {
  if (page >= pager.page_count()) return std::nullopt;
  const Page existing = pager.read(page);
  const ByteView v = existing.view();
  if (v.u8(0) != static_cast<std::uint8_t>(PageKind::Data) || v.u32(4) != disk::kLongValueOwner) return std::nullopt;
  // Most pages looked at are too full: they are not copied (DataPageEditor::fits, in place).
  if (const auto room = room_in_place(existing);
      room && !(room->rows < disk::kDataMaxRows && room->free_space >= bytes.size() + 2)) {
    return std::nullopt;
  }
  DataPageEditor editor(v.copy());
  if (!editor.fits(bytes.size())) return std::nullopt;
  const std::uint8_t row = editor.add_row(bytes);
  pager.write(page, editor.release());
  return RowId{page, row};
}

}  // namespace

RowId LongValueWriter::place(std::span<const std::uint8_t> bytes) {
  if (!current_) current_ = allocator_.long_value_page();
  if (current_)
    if (const auto id = place_on(pager_, *current_, bytes)) return *id;
  // Room freed earlier on other pages, before the file grows.
  for (const PageNumber page : allocator_.long_value_pages_with_room()) {
    if (const auto id = place_on(pager_, page, bytes)) return *id;
    // A page gone, no longer for long values, or nearly full is no longer worth a look.
    const bool gone = page >= pager_.page_count();
    const Page held = gone ? Page{} : pager_.read(page);
    auto free_space = [&held] {
      const auto room = room_in_place(held);
      return room ? room->free_space : DataPageEditor(held.view().copy()).free_space();
    };
    if (gone || held.view().u8(0) != static_cast<std::uint8_t>(PageKind::Data) || held.view().u32(4) != disk::kLongValueOwner ||
        free_space() < 64)
      allocator_.note_long_value_room(page, false);
  }
  DataPageEditor page = DataPageEditor::blank(pager_.page_size(), disk::kLongValueOwner);
  const std::uint8_t row = page.add_row(bytes);
  current_ = allocator_.allocate(page.release());
  allocator_.set_long_value_page(*current_);
  return {*current_, row};
}

std::vector<std::uint8_t> LongValueWriter::write(std::span<const std::uint8_t> data, std::size_t inline_room) {
  if (data.size() > 0x3FFFFFFFu)
    throw Error(ErrorCode::FieldTooSmall);
  const auto length = static_cast<std::uint32_t>(data.size());
  std::vector<std::uint8_t> field(disk::kLongValueFieldSize, 0);
  if (data.size() <= disk::kLongValueMaxInline && disk::kLongValueFieldSize + data.size() <= inline_room) {
    store_le32(field, 0, length | disk::kLongValueInline);
    field.insert(field.end(), data.begin(), data.end());
    return field;
  }
  if (data.size() <= max_row_data()) {
    const RowId id = place(data);
    store_le32(field, 0, length | disk::kLongValueSinglePage);
    store_le32(field, 4, id.pointer());
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
    store_le32(row, 0, next);
    row.insert(row.end(), data.begin() + static_cast<std::ptrdiff_t>(from),
               data.begin() + static_cast<std::ptrdiff_t>(from + take));
    next = place(row).pointer();
  }
  store_le32(field, 0, length);
  store_le32(field, 4, next);
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
    // Emptied, as Access leaves a freed long value: its bytes become room on the page.
    page.replace_row(id.row, {});
    page.mark_deleted(id.row);
    pager_.write(id.page, page.release());
    allocator_.note_long_value_room(id.page, true);
    pointer = next;
  }
}

}  // namespace jet
