#include "jet/record/tdef_encode.h"

#include <algorithm>

#include "jet/record/data_page.h"
#include "jet/base/error.h"
#include "jet/record/row_encode.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

// Constants Access writes in every definition, in the header, each column and each index.
// Real indexes made by Access carry this bit besides unique / ignore nulls / required.
// Non foreign-key logical indexes: Access stores 4 in both cascade bytes.

class Out {
 public:
  void u8(std::uint8_t v) { b_.push_back(v); }
  void u16(std::uint16_t v) { u8(static_cast<std::uint8_t>(v)); u8(static_cast<std::uint8_t>(v >> 8)); }
  void u32(std::uint32_t v) { u16(static_cast<std::uint16_t>(v)); u16(static_cast<std::uint16_t>(v >> 16)); }
  void zeros(std::size_t n) { b_.insert(b_.end(), n, 0); }
  void name(std::string_view utf8) {
    const std::vector<std::uint8_t> text = utf8_to_utf16le(utf8);
    if (text.size() > 0xFFFF) throw Error(ErrorCode::DatabaseDamaged, "nom trop long");
    u16(static_cast<std::uint16_t>(text.size()));
    b_.insert(b_.end(), text.begin(), text.end());
  }
  std::vector<std::uint8_t>& bytes() { return b_; }

 private:
  std::vector<std::uint8_t> b_;
};

std::vector<const ColumnDef*> stored_order(const TableDef& def) {
  std::vector<const ColumnDef*> columns;
  for (const auto& c : def.columns) columns.push_back(&c);
  std::stable_sort(columns.begin(), columns.end(),
                   [](const ColumnDef* a, const ColumnDef* b) { return a->display_index < b->display_index; });
  return columns;
}

void put_column(Out& out, const ColumnDef& c, bool system) {
  out.u8(static_cast<std::uint8_t>(c.type));
  out.u32(disk::kTdefMagic);
  out.u16(c.number);
  out.u16(c.var_index);
  // The number again in user tables; Access leaves it 0 in its system tables.
  out.u16(system ? 0 : c.number);
  if (c.type == ColumnType::Numeric) {
    out.u8(c.precision);
    out.u8(c.scale);
  } else {
    // Access writes the General sort order in every column, textual or not.
    out.u16(c.sort_order != 0 ? c.sort_order : 0x0409);
  }
  out.u16(0);
  out.u8(c.flags);
  out.u8(c.compressed_unicode && is_textual(c.type) ? 0x01 : 0x00);
  out.u32(0);
  out.u16(c.is_fixed() ? c.fixed_offset : 0);
  out.u16(c.length);
}

void put_real_index(Out& out, const IndexDef& index) {
  if (index.columns.empty() || index.columns.size() > disk::kMaxIndexColumns)
    throw Error(ErrorCode::OperationNotSupported, "index de 1 à 10 colonnes");
  out.u32(disk::kRealIndexMagic);
  for (std::size_t k = 0; k < disk::kMaxIndexColumns; ++k) {
    if (k < index.columns.size()) {
      out.u16(index.columns[k].column_number);
      out.u8(index.columns[k].ascending ? 0x01 : 0x00);
    } else {
      out.u16(0xFFFF);
      out.u8(0);
    }
  }
  out.u32(index.usage_map);
  out.u32(index.root_page);
  out.u32(0);
  out.u8(static_cast<std::uint8_t>(index.flags | disk::kRealIndexBaseFlag));
  out.zeros(5);
}

void put_logical_index(Out& out, const LogicalIndex& index) {
  out.u32(disk::kTdefMagic);
  out.u32(index.number);
  out.u32(index.real_index);
  if (index.kind == IndexKind::ForeignKey) {
    out.u8(index.related_table_kind);
    out.u32(static_cast<std::uint32_t>(index.related_index));
    out.u32(index.related_table_page);
    out.u8(index.cascade_updates ? 0x01 : 0x00);
    out.u8(index.cascade_deletes ? 0x01 : 0x00);
  } else {
    out.u8(0);
    out.u32(0xFFFFFFFF);
    out.u32(0);
    out.u8(disk::kNoCascade);
    out.u8(disk::kNoCascade);
  }
  out.u8(static_cast<std::uint8_t>(index.kind));
  out.u32(0);
}

}  // namespace

std::vector<std::uint8_t> encode_table_def(const TableDef& def) {
  Out out;
  out.u8(static_cast<std::uint8_t>(PageKind::TableDefinition));
  out.u8(0x01);
  out.u16(0);  // free space, set per page
  out.u32(0);  // next page, set per page
  out.u32(0);  // total length, set below
  out.u32(disk::kTdefMagic);
  out.u32(def.row_count);
  out.u32(def.next_autonumber);
  out.u8(0x01);  // autonumbers enabled
  out.zeros(15);
  out.u8(def.system ? disk::kTableTypeSystem : disk::kTableTypeUser);
  std::uint16_t variable = 0;
  for (const auto& c : def.columns)
    if (!c.is_fixed()) ++variable;
  const std::uint16_t max_columns = std::max<std::uint16_t>(
      def.max_columns, def.columns.empty() ? 0 : static_cast<std::uint16_t>(def.columns.back().number + 1));
  out.u16(max_columns);
  // Slots of deleted variable columns stay counted, as they do in max_columns.
  out.u16(std::max(variable, def.variable_columns));
  out.u16(static_cast<std::uint16_t>(def.columns.size()));
  out.u32(static_cast<std::uint32_t>(def.logical_indexes.size()));
  out.u32(static_cast<std::uint32_t>(def.indexes.size()));
  out.u32(def.owned_pages);
  out.u32(def.free_pages);
  for (const auto& index : def.indexes) {
    out.u32(0);
    out.u32(index.row_count);
    out.u32(0);
  }
  const auto columns = stored_order(def);
  for (const ColumnDef* c : columns) put_column(out, *c, def.system);
  for (const ColumnDef* c : columns) out.name(c->name);
  for (const auto& index : def.indexes) put_real_index(out, index);
  for (const auto& index : def.logical_indexes) put_logical_index(out, index);
  for (const auto& index : def.logical_indexes) out.name(index.name);
  for (const auto& maps : def.long_value_maps) {
    out.u16(maps.column_number);
    out.u32(maps.owned_pages);
    out.u32(maps.free_pages);
  }
  out.u16(0xFFFF);
  auto& bytes = out.bytes();
  const auto total = static_cast<std::uint32_t>(bytes.size());
  for (int i = 0; i < 4; ++i) bytes[8 + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(total >> (8 * i));
  return std::move(bytes);
}

std::vector<std::vector<std::uint8_t>> split_table_def(const std::vector<std::uint8_t>& encoded,
                                                       std::size_t page_size,
                                                       const std::vector<PageNumber>& next) {
  std::vector<std::vector<std::uint8_t>> pages;
  std::size_t pos = 0;
  while (pos < encoded.size() || pages.empty()) {
    std::vector<std::uint8_t> page(page_size, 0);
    std::size_t from = 0;
    if (pages.empty()) {
      const std::size_t n = std::min(page_size, encoded.size());
      std::copy_n(encoded.begin(), n, page.begin());
      pos = n;
      from = n;
    } else {
      page[0] = static_cast<std::uint8_t>(PageKind::TableDefinition);
      page[1] = 0x01;
      const std::size_t n = std::min(page_size - disk::kTdefPageHeader, encoded.size() - pos);
      std::copy_n(encoded.begin() + static_cast<std::ptrdiff_t>(pos), n, page.begin() + disk::kTdefPageHeader);
      pos += n;
      from = disk::kTdefPageHeader + n;
    }
    const std::size_t free = page_size - from >= disk::kTdefPageHeader ? page_size - from - disk::kTdefPageHeader : 0;
    page[2] = static_cast<std::uint8_t>(free);
    page[3] = static_cast<std::uint8_t>(free >> 8);
    for (int i = 4; i < 8; ++i) page[static_cast<std::size_t>(i)] = 0;
    pages.push_back(std::move(page));
  }
  if (next.size() + 1 < pages.size())
    throw Error(ErrorCode::OperationNotSupported, "pages de définition manquantes");
  for (std::size_t i = 0; i + 1 < pages.size(); ++i) {
    const PageNumber n = next[i];
    for (int k = 0; k < 4; ++k) pages[i][4 + static_cast<std::size_t>(k)] = static_cast<std::uint8_t>(n >> (8 * k));
  }
  return pages;
}

void write_table_def(OverlayPager& pager, PageAllocator& allocator, const TableDef& def) {
  const std::vector<std::uint8_t> encoded = encode_table_def(def);
  const std::size_t page_size = pager.page_size();
  // The continuation chain as it stands (none for a fresh page).
  std::vector<PageNumber> chain;
  {
    const Page first = pager.read(def.page);
    if (first.view().u8(0) == static_cast<std::uint8_t>(PageKind::TableDefinition)) {
      PageNumber next = first.view().u32(4);
      while (next != 0) {
        if (chain.size() > 1024 || std::find(chain.begin(), chain.end(), next) != chain.end() || next == def.page)
          first.view().damaged("chaînage circulaire des pages de définition de table");
        chain.push_back(next);
        next = pager.read(next).view().u32(4);
      }
    }
  }
  const std::size_t first_room = page_size;
  const std::size_t other_room = page_size - disk::kTdefPageHeader;
  std::size_t needed = 1;
  if (encoded.size() > first_room) needed += (encoded.size() - first_room + other_room - 1) / other_room;
  while (chain.size() + 1 < needed) chain.push_back(allocator.allocate(std::vector<std::uint8_t>(page_size, 0)));
  std::vector<PageNumber> spare;
  while (chain.size() + 1 > needed) {
    spare.push_back(chain.back());
    chain.pop_back();
  }
  auto pages = split_table_def(encoded, page_size, chain);
  pager.write(def.page, std::move(pages[0]));
  for (std::size_t i = 1; i < pages.size(); ++i) pager.write(chain[i - 1], std::move(pages[i]));
  for (PageNumber p : spare) allocator.release(p);
}

}  // namespace jet
