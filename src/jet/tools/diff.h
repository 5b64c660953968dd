// Comparing two databases, for checking that a copy, a repair or a compaction kept
// everything: tables and their columns (type, size, flags, order), table and column
// properties, indexes (columns, order, primary / unique / ignore-nulls / required, foreign
// keys), relationships, saved queries (SQL text and object flags), access rows
// (MSysACEs, matched by object name), the autonumber next value of each table, and every
// row with its long values (matched by primary key when the table has one, else in storage
// order).
//
// Each difference is one French sentence naming the object concerned; an empty result means
// the databases hold the same things. Storage details are not compared: page numbers,
// object ids, dates of the catalog, free space, and (unless asked) column numbers, which a
// compaction may renumber. Read side only: neither database is changed.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "jet/db/database.h"

namespace jet {

struct DiffOptions {
  bool rows = true;             // compare the rows of every user table
  bool column_numbers = false;  // also compare the stored column numbers (gaps included)
  // Row differences reported per table before the rest are only counted.
  std::size_t max_row_differences = 20;
};

std::vector<std::string> diff_databases(Database& first, Database& second,
                                        const DiffOptions& options = {});

// Opens both files shared and read-only and compares them.
std::vector<std::string> diff_files(const std::string& first, const std::string& second,
                                    const DiffOptions& options = {});

}  // namespace jet
