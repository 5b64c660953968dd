// Compaction: a new database file holding everything of the source, with no free space.
//
// The destination gets every table the engine does not make itself (user tables and the
// system tables Access adds, such as MSysAccessObjects) with its columns, properties and
// indexes; every row and long value, stored one after the other; indexes built in bulk
// (leaves filled); relationships (MSysRelationships rows and the foreign-key indexes of
// both tables); saved queries (MSysQueries rows); every other catalog row (forms,
// reports, containers, the database object) with its flags, dates and properties; the
// access rows (MSysACEs) of every object; and each table's next autonumber value.
//
// Column numbers are renumbered from 0 in column order: the gaps left by deleted columns
// are closed, as Access does when it compacts; the order of the columns is kept.
//
// Every table of the new file must hold as many rows as the source's and every catalog
// object's properties must decode: damage of the source that reading lets through (a
// property blob carried as bytes) fails the compaction. The new file is not verified in full
// (its indexes are built from the rows it received): `jet verify` does that when wanted.
// The source is opened shared and read-only and never modified. The destination must not
// exist (3204) and its folder must (3044). The new file is written as
// compaction_path(destination) and renamed to `destination` once complete and synchronised:
// killed or failing at any point, the compaction leaves no destination, and the next one
// removes the unfinished file (3045 when another compaction of that name holds it). On any
// failure the error says what could not be carried.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "os/services.h"

namespace jet {

struct CompactReport {
  std::size_t tables = 0;
  std::uint64_t rows = 0;
  std::size_t queries = 0;
  std::size_t relationships = 0;
  std::size_t catalog_rows = 0;  // other catalog objects carried (forms, containers...)
};

// Told the rows carried so far and the rows the source's tables hold (as their definitions
// count them), at each hundredth of the rows and once at the end.
using CompactProgress = std::function<void(std::uint64_t rows_done, std::uint64_t rows_total)>;

struct CompactOptions {
  // Memory held before the work goes through scratch files beside the new file (changed
  // pages, see overlay_pager.h; index entries being sorted, see index_entry_sort.h). The
  // defaults keep a compaction of any size within about 150 MB.
  std::size_t overlay_pages = 0;  // 0: 32 MB of pages, or less when the writer's default is less
  std::size_t index_sort_bytes = std::size_t{48} << 20;
  CompactProgress progress;
};

CompactReport compact(const std::string& source, const std::string& destination,
                      const os::Services* services = nullptr, const CompactOptions& options = {});

// The name the new file has while it is being written.
std::string compaction_path(const std::string& destination);

}  // namespace jet
