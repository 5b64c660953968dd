// Everything a table occupies in the file, found from its definition, and giving it back.
//
// table_storage lists whole pages (definition chain, data pages of its owned-pages map,
// long-value pages of its long-value maps, index tree pages and the pages of its indexes'
// maps, bitmap pages of reference-kind maps) and single rows on pages it may share (its
// usage-map rows, the long-value rows its rows point to). give_back releases the pages to
// the global usage map and deletes the rows; a page left without a live row is released too.
#pragma once

#include <cstdint>
#include <map>
#include <set>

#include "jet/storage/overlay_pager.h"
#include "jet/record/page_allocator.h"
#include "jet/record/table_def.h"

namespace jet {

struct TableStorage {
  std::set<PageNumber> pages;
  std::map<PageNumber, std::set<std::uint8_t>> rows;
};

// Throws 3049 when the table's maps, rows or index trees cannot be read.
TableStorage table_storage(Pager& pager, const TableDef& def);
// Adds the long-value rows of the row `id` of the table at `definition_page` (a catalog row's
// property blob, say), so that pages they leave empty once the row is removed are released.
void add_row_long_values(TableStorage& storage, Pager& pager, PageNumber definition_page, RowId id);
void give_back(OverlayPager& pager, PageAllocator& allocator, const TableStorage& storage);

}  // namespace jet
