// Building blocks of table creation, shared by create_table and create_database.
//
// table_def_of turns a design into a definition without storage: columns numbered in design
// order (fixed data offsets, variable slots), real indexes (shared by logical indexes with
// the same columns and rules, as Access does), logical indexes.
// UsageMapPages hands out usage-map rows on data pages kept for them.
// lay_out_table gives a definition its storage: usage maps (owned pages, pages with room,
// one per real index, two per long-value column), an empty root page per real index, and
// writes the definition at def.page.
#pragma once

#include <optional>

#include "jet/storage/overlay_pager.h"
#include "jet/record/page_allocator.h"
#include "jet/record/properties.h"
#include "jet/record/table_def.h"
#include "jet/table/table_design.h"

namespace jet {

TableDef table_def_of(const TableDesign& design, std::uint16_t sort_order = 0x0409);

// The property blob content of a design: table properties, then one block per column with
// DefaultValue, Required, AllowZeroLength, Description and the others.
PropertySet properties_of(const TableDesign& design);

class UsageMapPages {
 public:
  UsageMapPages(OverlayPager& pager, PageAllocator& allocator) : pager_(pager), allocator_(allocator) {}
  // A new, empty inline usage map; returns its row pointer.
  std::uint32_t add_map();

 private:
  OverlayPager& pager_;
  PageAllocator& allocator_;
  std::optional<PageNumber> current_;
};

// `def.page` must be an allocated page (its content is replaced).
void lay_out_table(OverlayPager& pager, PageAllocator& allocator, UsageMapPages& maps, TableDef& def);

}  // namespace jet
