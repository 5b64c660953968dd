// Table definitions written back: the inverse of read_table_def (table_def.h).
//
// encode_table_def lays out the whole definition (header, index row counts, columns, names,
// real indexes, logical indexes, long-value usage maps, end marker) as Access does: the
// first page's 8-byte page header included, continuation pages not yet split off.
// write_table_def stores it at def.page, splitting it over as many pages as needed: the
// chain of continuation pages is reused, grown (pages allocated) or shrunk (pages freed).
#pragma once

#include <cstdint>
#include <vector>

#include "jet/storage/overlay_pager.h"
#include "jet/record/page_allocator.h"
#include "jet/record/table_def.h"
#include "jet/storage/format.h"

namespace jet {

// Table type byte of the definition.

std::vector<std::uint8_t> encode_table_def(const TableDef& def);

// Splits encoded bytes into page images; `next` gives the number of each continuation page.
std::vector<std::vector<std::uint8_t>> split_table_def(const std::vector<std::uint8_t>& encoded,
                                                       std::size_t page_size,
                                                       const std::vector<PageNumber>& next);

// Writes `def` at def.page (which must be a definition page, or a fresh page for a new
// table), reusing, adding or freeing continuation pages. Inside a transaction.
void write_table_def(OverlayPager& pager, PageAllocator& allocator, const TableDef& def);

}  // namespace jet
