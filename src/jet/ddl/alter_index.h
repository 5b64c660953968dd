// Indexes added to and removed from a table that holds rows.
//
// create_index adds a named index (primary, unique, ignore nulls, required, 1..10 columns):
// it shares the real index of another named index with the same columns and rules, as
// Access does, or gets a real index of its own, filled from the rows. A unique index over
// rows that hold duplicate keys is refused (3022), like a second primary key (3283), a name
// in use (3284), a missing column (3265) or a Memo/OLE column (3251).
//
// drop_index removes a named index (the primary key included); its real index goes too
// when no other named index uses it, and its pages are given back. An index a relationship
// relies on is refused (3251); a missing one is 3265.
//
// Each call is one statement (a savepoint inside an open transaction).
#pragma once

#include <string>

#include "jet/table/table_design.h"
#include "jet/db/writable_database.h"

namespace jet {

void create_index(WritableDatabase& db, const std::string& table, const IndexDesign& index);
void drop_index(WritableDatabase& db, const std::string& table, const std::string& index);

}  // namespace jet
