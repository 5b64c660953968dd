// Pieces of the compaction shared by its source files.
#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "jet/catalog/catalog_write.h"
#include "jet/tools/compact.h"
#include "jet/db/database.h"
#include "jet/db/writable_database.h"
#include "jet/table/table_design.h"

namespace jet::compact_detail {

// The tables the engine makes in every new database: never copied, only their rows that
// describe objects (catalog, access, queries, relationships) are carried.
bool engine_table(std::string_view name);

// A carried table: where it went and the placeholder names its foreign-key indexes were
// created under (a foreign-key name such as ".rC" is not a name a table design may use).
struct CarriedTable {
  std::string name;
  PageNumber source_page = 0;
  PageNumber page = 0;
  std::map<std::string, std::string> foreign_keys;  // placeholder -> name in the source
  std::uint64_t rows = 0;                           // rows read from the source
};

// The design a carried table is created from: the source's (design_of), with the columns
// Access stores in forms a design may not state restated as binaries (their stored type
// and size kept aside) and its foreign-key indexes as plain indexes under placeholder names.
// Throws what table creation would (3125 for a name Jet refuses, 3191, 3251...): a
// definition no design can express cannot be carried. `path` names the source in errors.
struct CarriedDesign {
  TableDesign design;
  std::map<std::string, std::pair<ColumnType, std::uint16_t>> restated;
  std::map<std::string, std::string> foreign_keys;  // placeholder -> name in the source
};
CarriedDesign carried_design(const std::string& path, const std::string& name, const TableDef& def,
                             const PropertySet& properties);

// Creates the table (definition, indexes, foreign-key indexes under placeholders) and
// copies its rows in storage order, its indexes then built in bulk and its next
// autonumber value set as in the source.
// Rows carried, told to the caller's progress callback at each hundredth of the rows (each
// 4096 rows past the expected count).
struct RowsProgress {
  CompactProgress report;
  std::uint64_t done = 0;
  std::uint64_t total = 0;
  void add() {
    ++done;
    if (!report) return;
    const bool step = done < total ? done * 100 / total != (done - 1) * 100 / total : done % 4096 == 0;
    if (step) report(done, std::max(done, total));
  }
  void finish() {
    if (report) report(done, std::max(done, total));
  }
};

// Index entries past `sort_bytes` wait in sorted runs in scratch files.
CarriedTable carry_table(Database& source, const CatalogEntry& entry, WritableDatabase& destination,
                         CompactReport& report, std::size_t sort_bytes, RowsProgress* progress = nullptr);

// Gives the foreign-key indexes their names, kind and related table (all tables carried).
void finish_foreign_keys(Database& source, WritableDatabase& destination, const std::vector<CarriedTable>& tables);

// Copies every row of a table of the source into the table of that name in the destination,
// columns matched by name, `adjust` applied to each row first. Returns the rows copied.
// With `overwrite`, the rows the destination table holds are replaced: overwritten in
// place first, the ones left over removed, so that no deleted slot is left where the
// copied rows could have gone.
std::uint64_t copy_rows(Database& source, std::string_view table, WritableDatabase& destination,
                        const std::function<bool(const TableDef&, Row&)>& adjust = {}, bool overwrite = false,
                        std::size_t sort_bytes = std::size_t{48} << 20, RowsProgress* progress = nullptr);

}  // namespace jet::compact_detail
