// Referential integrity on row writes: the index hook of the database's own table writers
// (WritableDatabase::writer without a hook of the caller's).
//
// It keeps the table's indexes (as TableIndexHook; a Null in a primary key or required
// index is refused with 3058) and enforces each relationship whose
// foreign-key indexes the table carries (relationships without integrity have none):
//  - a row holding a foreign key, inserted or with its key changed, needs the referenced row
//    when none of the key's columns is Null: 3201 naming the referenced table otherwise;
//  - a referenced row removed, or its key changed, while rows refer to it: 3200 naming the
//    referring table, unless the relationship cascades deletions (the referring rows are
//    removed) or updates (they take the new key), through the same enforcing writers, so
//    cascades go on over further relationships.
// Lookups go through the foreign-key indexes of both tables. Refusals come from check(),
// before the row is written; cascades run in apply(), inside the writer's statement, so a
// refusal anywhere down the cascade takes the whole change back.
#pragma once

#include "jet/table/index_maintain_hook.h"
#include "jet/table/table_writer.h"

namespace jet {

class WritableDatabase;

class ReferentialHook final : public IndexHook {
 public:
  explicit ReferentialHook(WritableDatabase& db);

  void check(const TableDef& def, const Row* old_values, const Row* new_values,
             std::optional<RowId> id) override;
  void apply(const TableDef& def, const Row* old_values, const Row* new_values, RowId id) override;

 private:
  WritableDatabase& db_;
  TableIndexHook indexes_;
};

}  // namespace jet
