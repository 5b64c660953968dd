// Tables removed and renamed. Each call is one statement (a savepoint inside an open
// transaction): a refused change leaves nothing behind.
//
// drop_table: everything of the table is given back: its data and long-value pages, its
//   index pages, its usage maps and definition pages (to the global usage map), its
//   relationships on either side (rows of MSysRelationships, their catalog rows and the
//   foreign-key indexes they put in the other table), its MSysObjects row, properties and
//   access rows. 3078 when there is no such table; system tables (MSys*) are refused (3251).
//   Saved queries that name the table are left alone, as Access leaves them.
//
// rename_table: the catalog row takes the new name, and the relationships that name the table
//   follow it; rows, indexes and properties stay where they are. 3010 when a table or query
//   already has the new name (other than the table itself in another case), 3078 when
//   missing, the name checks of validate().
#pragma once

#include <string>

#include "jet/db/writable_database.h"

namespace jet {

void drop_table(WritableDatabase& db, const std::string& table);
void rename_table(WritableDatabase& db, const std::string& table, const std::string& new_name);

}  // namespace jet
