// Changing the indexes listed in a table definition: shared by index and relationship
// changes.
#pragma once

#include <map>
#include <vector>

#include "jet/record/table_def.h"
#include "jet/db/writable_database.h"

namespace jet::index_layout {

// A new, empty real index over `numbers` (ascending) numbered after `def`'s, with its usage
// map and an empty root page. The caller adds it to the definition.
IndexDef new_real_index(WritableDatabase& db, const TableDef& def, const std::vector<std::uint16_t>& numbers);

// Removes logical index `number` from the definition at `page` in `defs` and, when no other
// logical index uses it, its real index (tree pages given back); logical and real indexes
// are renumbered, and the foreign keys of `defs` pointing at renumbered indexes follow.
// Only `defs` changes: the caller writes the definitions back.
void remove_logical(WritableDatabase& db, std::map<PageNumber, TableDef>& defs, PageNumber page, std::uint32_t number);

}  // namespace jet::index_layout
