// Helpers of the column-change tests: scratch copies, refusals, exports by both readers,
// simple CSV parsing, checks of soundness.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "jet/record/table_def.h"
#include "jet/base/value.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"

namespace alter_column_test {

using jet_test::error_of;
// Problems the checker finds (indexes included), one per line; empty when sound.
std::string problems(const std::string& path);
// mdbtools' export of a table; the test fails when mdb-export fails.
std::string mdb_export(const std::string& path, const std::string& table);
// The engine's export of the same table in mdbtools' conventions.
std::string our_export(const std::string& path, const std::string& table);
// Whether two exports are equal; on failure, the first line that differs (shortened).
::testing::AssertionResult same_lines(const std::string& ours, const std::string& theirs);
// mdb-schema's text for the whole file.
std::string mdb_schema(const std::string& path);
// CSV lines split into fields (quotes removed, doubled quotes undone).
std::vector<std::vector<std::string>> parse_csv(const std::string& text);
// The fields of named columns, header line first, from a CSV export.
std::vector<std::vector<std::string>> project(const std::vector<std::vector<std::string>>& csv,
                                              const std::vector<std::string>& columns);
// Every row of a table through the engine, in storage order.
std::vector<jet::Row> rows_of(const std::string& path, const std::string& table);
// The stored definition of a table.
jet::TableDef definition(const std::string& path, const std::string& table);
// Column names in display (stored definition) order.
std::vector<std::string> display_order(const jet::TableDef& def);
// Inserts one row given by column name (others Null) through a writer keeping indexes.
void insert(jet::WritableDatabase& db, const std::string& table,
            const std::vector<std::pair<std::string, jet::Value>>& values);
// The column names of a table as mdbtools lists them (mdb-export's header).
std::vector<std::string> mdb_columns(const std::string& path, const std::string& table);

}  // namespace alter_column_test
