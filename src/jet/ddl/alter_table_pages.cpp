#include "jet/ddl/alter_table_pages.h"

#include <algorithm>

#include "jet/table/btree_build.h"
#include "jet/record/data_page.h"
#include "jet/record/data_page_write.h"
#include "jet/record/long_value.h"
#include "jet/record/long_value_write.h"
#include "jet/record/row.h"
#include "jet/record/row_encode.h"
#include "jet/record/usage_map_write.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

// Pages 0 and 1 (header, global map) and 2 (the catalog's definition) are never given back.

void add_page(TableStorage& s, Pager& pager, PageNumber page) {
  if (page >= disk::kFirstOwnablePage && page < pager.page_count()) s.pages.insert(page);
}

// The map row itself, the bitmap pages of a reference map, and the pages it marks.
std::vector<PageNumber> take_map(TableStorage& s, Pager& pager, std::uint32_t pointer) {
  const RowId where = RowId::from_pointer(pointer);
  if (where.page < disk::kFirstOwnablePage || where.page >= pager.page_count()) return {};
  const Page holder = pager.read(where.page);
  const RowSpan span = row_span(holder, where.row);
  const ByteView row = holder.view().sub(span.offset, span.length);
  if (row.size() > 0 && row.u8(0) == disk::kMapReference)
    for (std::size_t at = 1; at + 4 <= row.size(); at += 4) add_page(s, pager, row.u32(at));
  else if (row.size() == 0 || row.u8(0) != disk::kMapInline)
    row.damaged("table d'utilisation de type inconnu");
  s.rows[where.page].insert(where.row);
  return marked_pages(pager, where, pager.page_count());
}

// The long-value rows a stored Memo/OLE field points to (none for inline values).
void take_long_value(TableStorage& s, Pager& pager, const ByteView& field) {
  const LongValueRef ref = parse_long_value_ref(field);
  if (ref.storage == LongValueStorage::Inline) return;
  std::set<std::uint32_t> seen;
  for (std::uint32_t pointer = ref.pointer; pointer != 0 && seen.insert(pointer).second;) {
    const RowId id = RowId::from_pointer(pointer);
    if (id.page < disk::kFirstOwnablePage || id.page >= pager.page_count()) break;
    s.rows[id.page].insert(id.row);
    if (ref.storage != LongValueStorage::Chain) break;
    const Page page = pager.read(id.page);
    const DataPage data(page);
    if (id.row >= data.row_count() || data.deleted(id.row)) break;
    const ByteView bytes = data.row_bytes(id.row);
    pointer = bytes.size() >= 4 ? bytes.u32(0) : 0;
  }
}

void take_row_long_values(TableStorage& s, Pager& pager, const TableDef& def, RowId id) {
  Page keep;
  const auto bytes = locate_row(pager, id, def.page, &keep);
  if (!bytes) return;
  const RowLayout layout = read_row_layout(def, *bytes);
  for (const ColumnDef& c : def.columns) {
    const auto& field = layout.fields[c.definition_order];
    if (is_long_value(c.type) && field && field->size() >= disk::kLongValueFieldSize) take_long_value(s, pager, *field);
  }
}

void take_rows_long_values(TableStorage& s, Pager& pager, const TableDef& def, const std::vector<PageNumber>& data_pages) {
  if (def.long_value_maps.empty() &&
      std::none_of(def.columns.begin(), def.columns.end(), [](const ColumnDef& c) { return is_long_value(c.type); }))
    return;
  for (PageNumber p : data_pages) {
    const DataPage page(pager.read(p));
    for (std::uint16_t r = 0; r < page.row_count(); ++r) {
      if (!page.deleted(r)) take_row_long_values(s, pager, def, RowId{p, static_cast<std::uint8_t>(r)});
    }
  }
}

// Definition page and its continuation pages (each names the next at offset 4).
void take_definition(TableStorage& s, Pager& pager, PageNumber first) {
  std::set<PageNumber> seen;
  for (PageNumber p = first; p != 0 && p < pager.page_count() && seen.insert(p).second;) {
    const Page page = pager.read(p);
    if (page.view().u8(0) != static_cast<std::uint8_t>(PageKind::TableDefinition)) break;
    add_page(s, pager, p);
    p = page.view().u32(4);
  }
}

}  // namespace

TableStorage table_storage(Pager& pager, const TableDef& def) {
  TableStorage s;
  take_definition(s, pager, def.page);
  const std::vector<PageNumber> data_pages = take_map(s, pager, def.owned_pages);
  take_rows_long_values(s, pager, def, data_pages);
  for (PageNumber p : data_pages) add_page(s, pager, p);
  take_map(s, pager, def.free_pages);
  for (const LongValueMaps& lv : def.long_value_maps) {
    for (PageNumber p : take_map(s, pager, lv.owned_pages)) add_page(s, pager, p);
    take_map(s, pager, lv.free_pages);
  }
  for (const IndexDef& index : def.indexes) {
    for (PageNumber p : take_map(s, pager, index.usage_map)) add_page(s, pager, p);
    if (index.root_page >= disk::kFirstOwnablePage && index.root_page < pager.page_count())
      for (PageNumber p : index_tree_pages(pager, index.root_page)) add_page(s, pager, p);
  }
  return s;
}

void add_row_long_values(TableStorage& storage, Pager& pager, PageNumber definition_page, RowId id) {
  take_row_long_values(storage, pager, read_table_def(pager, definition_page), id);
}

void give_back(OverlayPager& pager, PageAllocator& allocator, const TableStorage& storage) {
  for (const auto& [page, rows] : storage.rows) {
    if (storage.pages.count(page)) continue;
    DataPageEditor editor(pager.read(page).view().copy());
    for (std::uint8_t r : rows)
      if (r < editor.row_count() && !(editor.flags(r) & disk::kRowDeleted)) editor.mark_deleted(r);
    bool live = false;
    for (std::uint16_t r = 0; r < editor.row_count(); ++r)
      if (!(editor.flags(static_cast<std::uint8_t>(r)) & disk::kRowDeleted)) live = true;
    if (live)
      pager.write(page, editor.release());
    else
      allocator.release(page);
  }
  for (PageNumber page : storage.pages) allocator.release(page);
}

}  // namespace jet
