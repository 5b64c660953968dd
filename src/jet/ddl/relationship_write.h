// Relationships written as Access writes them: one MSysRelationships row per column pair,
// an MSysObjects row under the Relationships container, and, unless the relationship does
// not enforce integrity, a foreign-key logical index in both tables' definitions: on the
// table holding the foreign key (over an index of its columns, made and filled from the
// rows when there is none), and ".rC" on the referenced table (over its unique index of
// the referenced columns, which must exist).
//
// Attributes as Access's: 0 enforced integrity, 2 no integrity, 256 cascade updates, 4096
// cascade deletes. Each call is one statement (a savepoint inside an open transaction).
// Checking enforced relationships on row writes is not part of this release.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "jet/db/writable_database.h"

namespace jet {

namespace relationship_attributes {
inline constexpr std::uint32_t NoIntegrity = 2;
inline constexpr std::uint32_t CascadeUpdates = 256;
inline constexpr std::uint32_t CascadeDeletes = 4096;
}  // namespace relationship_attributes

struct RelationshipDesign {
  std::string name;
  std::string table;                  // holds the foreign key
  std::string referenced_table;
  std::vector<std::string> columns;   // 1..10, paired with referenced_columns
  std::vector<std::string> referenced_columns;
  std::uint32_t attributes = 0;
};

// 3012 name in use, 3078 missing table, 3265 missing column, 3251 when the columns do not
// pair up or, for enforced integrity, the referenced columns have no unique index.
void create_relationship(WritableDatabase& db, const RelationshipDesign& design);

// Removes the rows, the catalog row and the foreign-key indexes (the index made for the
// relationship goes too when nothing else uses it); 3265 when there is none.
void delete_relationship(WritableDatabase& db, const std::string& name);

}  // namespace jet
