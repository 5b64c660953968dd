#include "jet/record/data_page.h"

#include <string>

namespace jet {

const char* page_kind_name(std::uint8_t kind_byte) noexcept {
  switch (kind_byte) {
    case 0x00: return "en-tête";
    case 0x01: return "données";
    case 0x02: return "définition de table";
    case 0x03: return "index intermédiaire";
    case 0x04: return "index feuille";
    case 0x05: return "table d'utilisation";
    default: return "inconnue";
  }
}

DataPage::DataPage(Page page) : page_(std::move(page)) {
  const ByteView v = page_.view();
  if (v.u8(0) != static_cast<std::uint8_t>(PageKind::Data))
    v.damaged(std::string("page de données attendue, page de type ") + page_kind_name(v.u8(0)));
  // The row count (offset by format), then the slot table right after it.
  slots_at_ = page_.layout().data_row_count + 2;
  rows_ = v.u16(page_.layout().data_row_count);
  // Row ids keep the slot in one byte: a page never holds more rows than that.
  if (rows_ > 256) v.damaged("nombre de lignes impossible (" + std::to_string(rows_) + ")");
  v.check(slots_at_, std::size_t{rows_} * 2);
}

std::uint32_t DataPage::owner() const { return page_.view().u32(4); }

bool DataPage::is_long_value_page() const {
  const ByteView v = page_.view();
  return v.u8(4) == 'L' && v.u8(5) == 'V' && v.u8(6) == 'A' && v.u8(7) == 'L';
}

std::uint16_t DataPage::free_space() const { return page_.view().u16(2); }

std::uint16_t DataPage::slot(std::uint16_t row) const {
  if (row >= rows_)
    page_.view().damaged("ligne " + std::to_string(row) + " absente (" + std::to_string(rows_) + " lignes)");
  return page_.view().u16(slots_at_ + 2 * std::size_t{row});
}

bool DataPage::deleted(std::uint16_t row) const { return slot(row) & disk::kRowDeleted; }
bool DataPage::overflow(std::uint16_t row) const { return slot(row) & disk::kRowOverflow; }

ByteView DataPage::row_bytes(std::uint16_t row) const {
  const ByteView v = page_.view();
  const std::uint16_t s = slot(row);
  const std::size_t start = s & disk::kRowOffsetMask;
  // A row ends where the previous slot's row begins (rows grow down from the page end).
  const std::size_t end = row == 0 ? v.size() : (slot(static_cast<std::uint16_t>(row - 1)) & disk::kRowOffsetMask);
  if (start < slots_at_ + 2 * std::size_t{rows_} || end > v.size() || start > end)
    v.damaged("ligne " + std::to_string(row) + " aux bornes incohérentes (" + std::to_string(start) +
              ".." + std::to_string(end) + ")");
  return v.sub(start, end - start);
}

bool DataPage::rows_in_bounds() const noexcept {
  // The constructor checked that the slot table lies inside the page.
  const std::uint8_t* slots = page_.view().data() + slots_at_;
  const std::size_t size = page_.size();
  const std::size_t table_end = slots_at_ + 2 * std::size_t{rows_};
  std::size_t end = size;
  for (std::size_t row = 0; row < rows_; ++row) {
    const std::size_t start = (slots[2 * row] | (slots[2 * row + 1] << 8)) & disk::kRowOffsetMask;
    if (start < table_end || start > end) return false;
    end = start;
  }
  return true;
}

RowId DataPage::overflow_target(std::uint16_t row) const {
  const ByteView bytes = row_bytes(row);
  return RowId::from_pointer(bytes.u32(0));
}

}  // namespace jet
