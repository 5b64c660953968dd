// Helpers of the table-removal, renaming and referential-integrity tests: a database made by
// the engine with related tables and long values, page accounting read from page contents,
// and short ways to write rows.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "jet/record/row.h"
#include "jet/base/value.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"

namespace alter_table_test {

using Values = std::vector<std::pair<std::string, jet::Value>>;

// Pages the global usage map marks free (below the end of the file).
std::set<jet::PageNumber> free_pages(const std::string& path);

// Pages that are neither free nor explained by what they hold: a definition page in the
// chain of a catalogued table, a data or index page naming such a table as its owner, a
// usage-map page, or a data page of another owner (long values, usage-map rows) holding at
// least one live row. Pages 0-2 always count as explained.
std::set<jet::PageNumber> unaccounted_pages(const std::string& path);

// Non-free pages whose header names `definition_page` as their table (data and index
// pages), and the definition page itself when it is not free.
std::set<jet::PageNumber> pages_of_table(const std::string& path, jet::PageNumber definition_page);

// Long-value pages ("LVAL" data pages) not marked free.
std::set<jet::PageNumber> long_value_pages(const std::string& path);

// mdb-tables' list of user tables.
std::set<std::string> mdb_tables(const std::string& path);
// The checker's problems (indexes included), one per line; empty when sound.
std::string problems(const std::string& path);

// Inserts / updates / removes through `db.writer(table)` (relationships enforced), values
// by column name, others Null (updates keep the values not named).
jet::RowId insert(jet::WritableDatabase& db, const std::string& table, const Values& values);
void update(jet::WritableDatabase& db, const std::string& table, jet::RowId id, const Values& values);
void remove(jet::WritableDatabase& db, const std::string& table, jet::RowId id);
// The row ids and rows of a table, in storage order.
std::vector<std::pair<jet::RowId, jet::Row>> rows(jet::WritableDatabase& db, const std::string& table);
// The id of the row whose `column` equals `value` (a Long); the test fails when none.
jet::RowId find(jet::WritableDatabase& db, const std::string& table, const std::string& column, std::int32_t value);
// The Long values of one column over the rows, sorted (Nulls as -1).
std::vector<std::int32_t> longs(jet::WritableDatabase& db, const std::string& table, const std::string& column);

// A text long enough to be stored on long-value pages (`pages` > 1: a chain of rows).
std::string long_text(char fill, std::size_t length);

// Creates a database with tables Parent(Id PK, Name, Notes memo), Child(Id PK, ParentId,
// Body memo), GrandChild(Id PK, ChildId) and Other(Id PK, Label), the relationships
// ChildParent (Child.ParentId -> Parent.Id) and GrandChildChild (GrandChild.ChildId ->
// Child.Id) with `attributes` and `grand_attributes`, and rows: Parents 1-3, Children 10 (->1), 11 (->1), 12 (->2),
// 13 (Null), GrandChildren 100 (->10), 101 (->12), Others 1-2. Closes it.
void make_related_database(const std::string& path, std::uint32_t attributes, std::uint32_t grand_attributes);

}  // namespace alter_table_test
