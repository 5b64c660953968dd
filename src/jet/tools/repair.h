// Repairing a database file in place, as the update tool does on its working copy before
// changing it.
//
// Every table (system tables included) is checked in depth. What can be rebuilt without
// touching a row is put right:
// - an index that disagrees with its table (damaged tree, missing or extra entries, wrong
//   keys) is rebuilt from the rows; the pages of its old tree are given back; a root page
//   that is not the index's own (another table's page, past the end of the file, another
//   index's root) is replaced by a fresh page in the definition;
// - data pages of a table missing from its usage map are added back; pages a table's maps
//   name that are not of the kind the map holds (pages it let go of, another table's) are
//   taken out of them; pages in use that the file's global map marks free are marked used
//   again; a global map that does not reach the end of the file is widened to the whole file;
// - a data page recording a wrong free space gets the true figure; a data page whose row
//   count or row bounds are impossible and that holds only rows no table reads is emptied
//   and given back;
// - the row count of a user table's definition is set to the rows actually present.
// Damage that cannot be rebuilt (an unreadable catalog, table definition, data page, row,
// long value or property blob, a system table missing from the catalog, an index key the
// engine cannot compute) raises 3049 for the file and leaves it byte for byte as it was: all
// work is done in the overlay and written only once the whole-database check
// (verify_database with the index checker, as `jet verify` makes it) finds nothing. A sound
// file is not written at all.
#pragma once

#include <string>
#include <vector>

#include "jet/tools/verify.h"

namespace jet {

struct RepairReport {
  std::vector<std::string> actions;  // what was put right, one French sentence each
  bool changed() const noexcept { return !actions.empty(); }
};

// Opens `path` exclusively (3045 when in use, 3051 when it cannot be written), repairs it.
// `progress` is told how far the first whole check has gone (most of the work on a sound
// file, which needs nothing more).
RepairReport repair(const std::string& path, const VerifyProgress& progress = {});

}  // namespace jet
