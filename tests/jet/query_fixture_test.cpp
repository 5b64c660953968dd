// Saved queries of the Access-made fixtures, read through the engine's catalog: their SQL
// as Access shows it, row round trips, and agreement with mdb-queries on the parts it
// reads right.
#include <gtest/gtest.h>

#include <algorithm>

#include "jet/catalog/query_def.h"
#include "jet/catalog/query_sql.h"
#include "query_oracle.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace query_fixture_test_cases {

namespace {

const std::vector<jet_oracle::SavedQuery>& fixture_queries() {
  static const auto cached = jet_oracle::engine_queries(jet_oracle::fixture("queryTestV2000.mdb"));
  return cached;
}

const jet_oracle::SavedQuery& query(const std::string& name) {
  for (const auto& q : fixture_queries()) {
    if (q.name == name) return q;
  }
  throw std::runtime_error("no query " + name);
}

TEST(FixtureQueries, SqlIsWhatAccessShows) {
  const std::map<std::string, std::string> expected = {
      {"SelectQuery",
       "SELECT DISTINCT Table1.*, Table2.col1, Table2.col2, Table3.col3\r\n"
       "FROM (Table1 LEFT JOIN Table3 ON Table1.col1 = Table3.col1) INNER JOIN Table2 ON "
       "(Table3.col1 = Table2.col2) AND (Table3.col1 = Table2.col1)\r\n"
       "WHERE (((Table2.col2)=\"foo\" Or (Table2.col2) In (\"buzz\",\"bazz\")))\r\n"
       "ORDER BY Table2.col1;"},
      {"UpdateQuery",
       "PARAMETERS [User Name] Text;\r\n"
       "UPDATE Table1 SET Table1.col1 = \"foo\", Table1.col2 = [Table2].[col3], [Table2].[col1] = [User Name]\r\n"
       "WHERE ((([Table2].[col1]) Is Not Null));"},
      {"AppendQuery",
       "INSERT INTO Table3 ( col2, col2, col3 )\r\n"
       "SELECT [Table1].[col2], [Table2].[col2], [Table2].[col3]\r\n"
       "FROM Table3, Table1 INNER JOIN Table2 ON [Table1].[col1]=[Table2].[col1];"},
      {"DeleteQuery",
       "DELETE Table1.col1, Table1.col2, Table1.col3\r\n"
       "FROM Table1\r\n"
       "WHERE (((Table1.col1)>\"blah\"));"},
      {"MakeTableQuery",
       "SELECT Max(Table2.col1) AS MaxOfcol1, Table2.col2, Table3.col2 INTO Table4\r\n"
       "FROM (Table2 INNER JOIN Table1 ON Table2.col1 = Table1.col2) RIGHT JOIN Table3 ON Table1.col2 = Table3.col3\r\n"
       "GROUP BY Table2.col2, Table3.col2\r\n"
       "HAVING (((Max(Table2.col1))=\"buzz\") AND ((Table2.col2)<>\"blah\"));"},
      {"CrosstabQuery",
       "TRANSFORM Count([Table2].[col2]) AS CountOfcol2\r\n"
       "SELECT Table2_1.col1, [Table2].[col3], Avg(Table2_1.col2) AS AvgOfcol2\r\n"
       "FROM (Table1 INNER JOIN Table2 ON [Table1].[col1]=[Table2].[col1]) INNER JOIN Table2 AS Table2_1 "
       "ON [Table2].[col1]=Table2_1.col3\r\n"
       "WHERE ((([Table1].[col1])>\"10\") And ((Table2_1.col1) Is Not Null) And ((Avg(Table2_1.col2))>\"10\"))\r\n"
       "GROUP BY Table2_1.col1, [Table2].[col3]\r\n"
       "ORDER BY [Table2].[col3]\r\n"
       "PIVOT [Table1].[col1];"},
      {"UnionQuery",
       "Select Table1.col1, Table1.col2\r\nwhere Table1.col1 = \"foo\"\r\nUNION\r\n"
       "Select Table2.col1, Table2.col2\r\n"
       "UNION ALL Select Table3.col1, Table3.col2\r\nwhere Table3.col3 > \"blah\";"},
      {"PassthroughQuery", "ALTER TABLE Table4 DROP COLUMN col5;"},
      {"DataDefinitionQuery", "CREATE TABLE Table5 (col1 CHAR, col2 CHAR);"},
  };
  ASSERT_EQ(fixture_queries().size(), expected.size());
  for (const auto& q : fixture_queries()) {
    SCOPED_TRACE(q.name);
    ASSERT_TRUE(expected.count(q.name));
    EXPECT_EQ(jet::query_sql(q.rows), expected.at(q.name));
  }
}

TEST(FixtureQueries, TypeRowAgreesWithTheObjectFlags) {
  for (const auto& q : fixture_queries()) {
    SCOPED_TRACE(q.name);
    const jet::QueryDef def = jet::read_query_def(q.rows);
    EXPECT_EQ(jet::query_type_from_object_flags(q.flags), def.type);
  }
}

bool by_clause_then_rank(const jet::QueryRow& a, const jet::QueryRow& b) {
  return a.attribute != b.attribute ? a.attribute < b.attribute : a.order < b.order;
}

TEST(FixtureQueries, RowsReadBackAsTheSameRows) {
  std::size_t queries = 0;
  for (const auto& db : jet_oracle::fixtures()) {
    for (const auto& q : jet_oracle::engine_queries(db)) {
      SCOPED_TRACE(db.filename().string() + " / " + q.name);
      // Rows are written grouped by attribute (End last), each clause numbered in order.
      std::vector<jet::QueryRow> expected = q.rows;
      std::sort(expected.begin(), expected.end(), by_clause_then_rank);
      const jet::QueryDef def = jet::read_query_def(q.rows);
      EXPECT_EQ(jet::query_def_rows(def, q.id), expected);
      EXPECT_EQ(jet::read_query_def(jet::query_def_rows(def, q.id)), def);
      ++queries;
    }
  }
  EXPECT_EQ(queries, 9u);
}

TEST(FixtureQueries, ClauseItemsFollowTheirOrderNumbersNotStorage) {
  for (const auto& q : fixture_queries()) {
    SCOPED_TRACE(q.name);
    std::vector<jet::QueryRow> reversed(q.rows.rbegin(), q.rows.rend());
    EXPECT_EQ(jet::read_query_def(reversed), jet::read_query_def(q.rows));
    EXPECT_EQ(jet::query_sql(reversed), jet::query_sql(q.rows));
  }
  // Without Order numbers, storage order is all there is: reversing then changes the SQL.
  std::vector<jet::QueryRow> unnumbered = query("SelectQuery").rows;
  for (auto& row : unnumbered) row.order.reset();
  EXPECT_EQ(jet::query_sql(unnumbered), jet::query_sql(query("SelectQuery").rows));
  std::reverse(unnumbered.begin(), unnumbered.end());
  EXPECT_NE(jet::query_sql(unnumbered), jet::query_sql(query("SelectQuery").rows));
}

TEST(FixtureQueries, ValuesOfTheCatalogBecomeRowsAndBack) {
  QUELIS_NEEDS_MDBTOOLS();
  const auto values = jet_oracle::query_row_values(jet_oracle::fixture("queryTestV2000.mdb"));
  ASSERT_EQ(values.size(), 90u);
  const jet_oracle::ExportedTable raw = jet_oracle::export_table(jet_oracle::fixture("queryTestV2000.mdb"), "MSysQueries");
  for (std::size_t i = 0; i < values.size(); ++i) {
    const jet::QueryRow row = jet::query_row_from_columns(values[i]);
    // Compare with the exported text directly, column by column.
    const auto& r = raw.rows[i];
    EXPECT_EQ(std::to_string(row.object_id), *r[raw.column("ObjectId")]);
    EXPECT_EQ(std::to_string(row.attribute), *r[raw.column("Attribute")]);
    EXPECT_EQ(row.name1, r[raw.column("Name1")]);
    EXPECT_EQ(row.name2, r[raw.column("Name2")]);
    EXPECT_EQ(row.expression, r[raw.column("Expression")]);
    EXPECT_EQ(row.flag ? std::optional(std::to_string(*row.flag)) : std::nullopt, r[raw.column("Flag")]);
    EXPECT_FALSE(row.order.has_value());
    // Back to columns: same values, whatever order the catalog listed them in.
    auto back = jet::query_row_columns(row);
    auto original = values[i];
    auto by_name = [](const auto& a, const auto& b) { return a.first < b.first; };
    std::sort(back.begin(), back.end(), by_name);
    std::sort(original.begin(), original.end(), by_name);
    EXPECT_EQ(back, original);
  }
}

// mdb-queries shows every query as a SELECT, without joins or aliases, but it reads the
// output expressions, the tables and the criteria from the same rows: those must agree.
struct MdbQueriesView {
  std::vector<std::string> columns;
  std::vector<std::string> tables;
  std::string where;
};

MdbQueriesView mdb_queries_view(const std::string& name) {
  std::string sql = jet_oracle::run("mdb-queries " +
                                    jet_oracle::shell_quote(jet_oracle::fixture("queryTestV2000.mdb").string()) +
                                    " " + jet_oracle::shell_quote(name));
  while (!sql.empty() && (sql.back() == '\n' || sql.back() == ' ')) sql.pop_back();
  MdbQueriesView v;
  std::size_t start = sql.rfind("SELECT ", 0) == 0 ? 7 : 0;
  if (sql.compare(start, 9, "DISTINCT ") == 0) start += 9;
  const std::size_t from = sql.find(" FROM ");
  const std::size_t where = sql.find(" WHERE ");
  const std::size_t order = sql.find(" ORDER BY ");
  for (auto& c : jet_oracle::split(sql.substr(start, from - start), ',')) v.columns.push_back(c);
  const std::size_t tables_end = where != std::string::npos ? where : order;
  for (auto& t : jet_oracle::split(sql.substr(from + 6, tables_end - from - 6), ',')) {
    v.tables.push_back(t.substr(1, t.size() - 2));  // drop its brackets
  }
  if (where != std::string::npos) v.where = sql.substr(where + 7, (order == std::string::npos ? sql.size() : order) - where - 7);
  return v;
}

TEST(FixtureQueries, AgreeWithMdbQueriesOnColumnsTablesAndCriteria) {
  QUELIS_NEEDS_MDBTOOLS();
  std::size_t compared = 0;
  for (const auto& q : fixture_queries()) {
    const jet::QueryDef def = jet::read_query_def(q.rows);
    if (def.type == jet::QueryType::Union || def.type == jet::QueryType::PassThrough ||
        def.type == jet::QueryType::DataDefinition) {
      continue;
    }
    SCOPED_TRACE(q.name);
    const MdbQueriesView v = mdb_queries_view(q.name);
    std::vector<std::string> columns;
    for (const auto& c : def.columns) columns.push_back(c.expression.value_or(""));
    if (def.has_flag(jet::select_flags::SelectStar)) columns.push_back("*");
    EXPECT_EQ(columns, v.columns);
    std::vector<std::string> tables;
    for (const auto& t : def.tables) tables.push_back(t.name.value_or(""));
    EXPECT_EQ(tables, v.tables);
    EXPECT_EQ(def.where.value_or(""), v.where);
    ++compared;
  }
  EXPECT_EQ(compared, 6u);
}

}  // namespace

}  // namespace query_fixture_test_cases
