// Whole-database consistency check: catalog (system tables present, names distinct,
// properties readable), every table definition (one compaction can recreate), usage map,
// data page, row (values that fit their columns), moved row and long value (chains that
// end), and (through a caller-supplied checker) every index. A database it calls sound can be read in full by
// every command of the engine and by mdbtools, compacted and written to.
// Each problem is one French sentence naming the table, page and row concerned; an empty
// result means the database is sound. Never throws for damage it can describe.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "jet/db/database.h"

namespace jet {

// Told now and then how many rows of a table an index check has read.
using RowsRead = std::function<void(std::uint64_t rows)>;
// Checks every index of a table: one list of findings per index, in the table's order
// (verify_indexes, index_verify.h).
using IndexChecker = std::function<std::vector<std::vector<std::string>>(const Table&, const RowsRead&)>;

std::vector<std::string> verify_database(Database& db, const IndexChecker& check_index = {});

// Told how far a check has gone (work done, work in all) as each table's rows, then its
// indexes, are checked; a table weighs its row count plus one, once for its rows and once
// per index.
using VerifyProgress = std::function<void(std::uint64_t done, std::uint64_t total)>;

// The same checks on the pages `pager` serves (an open transaction's overlay included),
// `catalog` read from them.
std::vector<std::string> verify_database(Pager& pager, const Catalog& catalog, const IndexChecker& check_index = {},
                                         const VerifyProgress& progress = {});

// The same checks for one table.
std::vector<std::string> verify_table(const Table& table, const IndexChecker& check_index = {});

}  // namespace jet
