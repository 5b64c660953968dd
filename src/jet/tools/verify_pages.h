// The page-level part of the whole-database check: every page against the maps that claim
// it, and every map against the pages it names.
// - Each table's maps read in full and name pages of the right kind: its owned-pages map and
//   its free-space map only data pages of that table, each index's map only index pages of
//   that table, each long-value column's maps only long-value pages; no map names a page
//   past the end of the file; no two maps share a row.
// - No page has two owners (definition pages, data pages, index pages and the bitmap pages
//   of reference maps); no claimed page is marked free; the free-page map reaches every page
//   in use; a data page naming a table as its owner is in that table's map or marked free.
// - Every data page has a possible row count, rows inside the page in slot order, and
//   records its true free space.
// Problems are appended as French sentences.
#pragma once

#include <string>
#include <vector>

#include "jet/catalog/catalog.h"
#include "jet/record/row_id.h"
#include "jet/storage/pager.h"

namespace jet {

void verify_pages(Pager& pager, const Catalog& catalog, std::vector<std::string>& problems);

// The bitmap pages of the usage map at `where` when it is a reference map (none inline).
std::vector<PageNumber> bitmap_pages(Pager& pager, RowId where);

// Continuation pages of the table definition starting at `first` (`first` not included).
std::vector<PageNumber> definition_pages(Pager& pager, PageNumber first);

// Free space a data page should record: what lies between its slot table and its lowest
// row. Throws 3049 when the page is not a data page with a consistent slot table.
std::size_t expected_free_space(const Page& page);

}  // namespace jet
