// Saved queries written from SQL on copies of an Access-made file: each statement Access
// saved in the fixture, written again under a new name, reads back (by the engine and by
// mdbtools) as the same statement; replacing and deleting leave no trace.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "jet/tools/diff.h"
#include "jet/base/error.h"
#include "jet/catalog/query_rows.h"
#include "jet/catalog/query_sql.h"
#include "jet/ddl/query_write.h"
#include "jet/sql/parser.h"
#include "jet/sql/printer.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace query_write_test_cases {

namespace {

using jet_test::error_of;
std::map<std::string, std::string> saved_sql(const std::string& path) {
  auto db = jet::Database::open(path);
  std::map<std::int32_t, std::vector<jet::QueryRow>> rows;
  for (const auto& columns : db->catalog().query_rows()) {
    jet::QueryRow row = jet::query_row_from_columns(columns);
    rows[row.object_id].push_back(std::move(row));
  }
  std::map<std::string, std::string> out;
  for (const auto* q : db->catalog().queries()) out[q->name] = jet::query_sql(rows[q->id]);
  return out;
}

// The tables of mdbtools' FROM list, sorted.
std::vector<std::string> from_tables(const std::string& mdb) {
  std::vector<std::string> out;
  const auto from = mdb.find(" FROM ");
  if (from == std::string::npos) return out;
  std::string list = mdb.substr(from + 6);
  for (const char* end : {" WHERE", " ORDER", " GROUP", " HAVING", "\n"})
    if (auto at = list.find(end); at != std::string::npos) list = list.substr(0, at);
  std::string item;
  for (char c : list + ",") {
    if (c == ',') {
      out.push_back(item);
      item.clear();
    } else if (c != ' ') {
      item += c;
    }
  }
  std::sort(out.begin(), out.end());
  return out;
}

// Two texts of one statement: equal once parsed and printed the same way.
std::string canonical(const std::string& sql) { return jet::sql::to_sql(jet::sql::parse_statement(sql)); }

TEST(QueryWrite, StatementsAccessSavedAreWrittenAgainAndReadBackTheSame) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string copy = dir.write("q.mdb", jet_test::read_file(jet_test::fixture("queryTestV2000.mdb")));
  const auto original = saved_sql(copy);
  std::vector<std::string> written;
  {
    auto db = jet::WritableDatabase::open(copy);
    for (const std::string name : {"SelectQuery", "UpdateQuery", "AppendQuery", "DeleteQuery", "MakeTableQuery",
                                   "DataDefinitionQuery"}) {
      SCOPED_TRACE(name);
      ASSERT_TRUE(original.count(name));
      jet::create_query(*db, "Copy" + name, original.at(name));
      written.push_back(name);
    }
  }
  const auto again = saved_sql(copy);
  for (const auto& name : written) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(again.count("Copy" + name));
    EXPECT_EQ(canonical(again.at("Copy" + name)), canonical(original.at(name)));
    // mdbtools reads the new rows as it reads Access's own: it shows every query as a
    // SELECT over its tables (without joins, expressions as stored, in its own order).
    bool ok = false;
    const std::string mdb = jet_test::run("mdb-queries " + jet_test::shell_quote(copy) + " Copy" + name + " 2>&1", &ok);
    EXPECT_TRUE(ok) << mdb;
    EXPECT_EQ(from_tables(mdb), from_tables(jet_test::run("mdb-queries " + jet_test::shell_quote(copy) + " " + name)));
  }
  // The object flags give each query its kind, as Access's own.
  auto db = jet::Database::open(copy);
  for (const auto& name : written)
    EXPECT_EQ(db->catalog().find_object("Copy" + name, 5)->flags & 0xF0, db->catalog().find_object(name, 5)->flags & 0xF0)
        << name;
}

TEST(QueryWrite, ClausesAndParametersAreStoredAsWritten) {
  jet_test::ScratchDir dir;
  const std::string copy = dir.write("q.mdb", jet_test::read_file(jet_test::fixture("queryTestV2000.mdb")));
  const std::string sql =
      "PARAMETERS [Début] DateTime, Nom Text ( 20 );\r\n"
      "SELECT DISTINCT TOP 5 t.col1 AS Code, Count(*) AS N\r\n"
      "FROM Table1 AS t LEFT JOIN Table2 ON t.col1 = Table2.col1\r\n"
      "WHERE t.col2 Like 'a*' AND Table2.col3 > [Début]\r\n"
      "GROUP BY t.col1\r\nHAVING Count(*) > 1\r\nORDER BY t.col1 DESC;";
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::create_query(*db, "Clauses", sql);
  }
  EXPECT_EQ(canonical(saved_sql(copy).at("Clauses")), canonical(sql));
}

TEST(QueryWrite, ReplaceAndDeleteLeaveNoTrace) {
  jet_test::ScratchDir dir;
  const std::string fixture = jet_test::fixture("queryTestV2000.mdb");
  const std::string copy = dir.write("q.mdb", jet_test::read_file(fixture));
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::create_query(*db, "Temp", "SELECT Table1.col1 FROM Table1;");
    jet::replace_query(*db, "Temp", "DELETE * FROM Table1 WHERE Table1.col1 = 'x';");
  }
  EXPECT_EQ(canonical(saved_sql(copy).at("Temp")), canonical("DELETE * FROM Table1 WHERE Table1.col1 = 'x';"));
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::delete_query(*db, "Temp");
    // Replacing a query that does not exist creates it.
    jet::replace_query(*db, "SelectQuery", saved_sql(fixture).at("SelectQuery"));
  }
  // Catalog, access rows and query rows as they were (SelectQuery was written anew).
  const auto lines = jet::diff_files(fixture, copy);
  for (const auto& line : lines) EXPECT_NE(line.find("SelectQuery"), std::string::npos) << line;
  EXPECT_EQ(saved_sql(copy).count("Temp"), 0u);
  EXPECT_EQ(canonical(saved_sql(copy).at("SelectQuery")), canonical(saved_sql(fixture).at("SelectQuery")));
}

TEST(QueryWrite, NamesInUseMissingQueriesAndBadTextAreRefused) {
  jet_test::ScratchDir dir;
  const std::string copy = dir.write("q.mdb", jet_test::read_file(jet_test::fixture("queryTestV2000.mdb")));
  const auto before = jet_test::read_file(copy);
  {
    auto db = jet::WritableDatabase::open(copy);
    EXPECT_EQ(error_of([&] { jet::create_query(*db, "Table1", "SELECT * FROM Table2;"); }), 3012);
    EXPECT_EQ(error_of([&] { jet::create_query(*db, "selectquery", "SELECT * FROM Table2;"); }), 3012);
    EXPECT_EQ(error_of([&] { jet::delete_query(*db, "Absente"); }), 3265);
    EXPECT_NE(error_of([&] { jet::create_query(*db, "Bad", "SELECT FROM WHERE"); }), 0);
    EXPECT_EQ(error_of([&] { jet::create_query(*db, "U", "SELECT a FROM t UNION SELECT b FROM u;"); }), 3251);
  }
  EXPECT_TRUE(jet_test::read_file(copy) == before) << "a refused write changed the file";
}

}  // namespace

}  // namespace query_write_test_cases
