// The definitions of the system tables the engine keeps in every database, as Access 2000
// lays them out: columns (numbers, slots, offsets), stored in name order, system column
// flags, indexes and their rules. Storage (pages, usage maps) is left to lay_out_table.
#pragma once

#include <vector>

#include "jet/record/table_def.h"

namespace jet {

struct SystemTable {
  const char* name;
  TableDef def;
};

// MSysObjects, MSysACEs, MSysQueries, MSysRelationships, in that order (MSysObjects must
// take page 2: readers look for the catalog there).
std::vector<SystemTable> system_tables(std::uint16_t sort_order = 0x0409);

}  // namespace jet
