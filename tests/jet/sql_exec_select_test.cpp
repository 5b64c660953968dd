// SELECT on copies of Access-made files: filters and Null logic, ordering by the General
// sort order with Nulls first, grouping and aggregates, DISTINCT, TOP with ties, subqueries,
// result columns, parameters and name errors with Jet's numbers and texts.
#include <gtest/gtest.h>

#include "sql_exec_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_exec_select_test_cases {

namespace {

using namespace sql_exec_test;
using jet::Value;
using Lines = std::vector<std::string>;

// indexTestV2000: Table1 (id, otherfk1, otherfk2, data, otherfk3) holds
//   0,0,10,baz0,0 / 1,1,11,baz11,0 / 2,1,11,baz11-2,0 / 3,2,13,baz13,0
// Table2 (id, data): 0 foo0, 1 foo1, 2 foo2. Table3 (id, data): 10..13 bar10..bar13.
class SelectTest : public ::testing::Test {
 protected:
  void SetUp() override {
    db = std::make_unique<Db>(scratch.copy("indexTestV2000.mdb"));
    // One row of Nulls (its id aside) to exercise Null logic.
    db->fill("Table1", {{L(4), N(), N(), N(), N()}});
  }
  Scratch scratch;
  std::unique_ptr<Db> db;
};

TEST_F(SelectTest, ComparisonsAndNullLogic) {
  EXPECT_EQ(db->q("SELECT id FROM Table1 WHERE otherfk1 = 1 ORDER BY id"), (Lines{"1", "2"}));
  // Null is neither equal nor unequal to 1: the Null row is in neither set.
  EXPECT_EQ(db->q("SELECT id FROM Table1 WHERE otherfk1 <> 1 ORDER BY id"), (Lines{"0", "3"}));
  EXPECT_EQ(db->q("SELECT id FROM Table1 WHERE NOT (otherfk1 = 1) ORDER BY id"), (Lines{"0", "3"}));
  // Null Or True is True.
  EXPECT_EQ(db->q("SELECT id FROM Table1 WHERE otherfk1 = 1 OR id = 4 ORDER BY id"), (Lines{"1", "2", "4"}));
  EXPECT_EQ(db->q("SELECT id FROM Table1 WHERE otherfk1 IS NULL"), (Lines{"4"}));
  EXPECT_EQ(db->q("SELECT id FROM Table1 WHERE data IS NOT NULL AND otherfk2 BETWEEN 11 AND 12 AND NOT id = 2"),
            (Lines{"1"}));
  EXPECT_EQ(db->q("SELECT id FROM Table1 WHERE data LIKE 'BAZ1*' ORDER BY id DESC"), (Lines{"3", "2", "1"}));
  EXPECT_EQ(db->q("SELECT id FROM Table1 WHERE id IN (0, 3, 7) ORDER BY id"), (Lines{"0", "3"}));
  // Texts compare without regard to case; a text of digits compares with a number by value.
  EXPECT_EQ(db->q("SELECT id FROM Table1 WHERE data = 'BAZ13'"), (Lines{"3"}));
  EXPECT_EQ(db->q("SELECT id FROM Table1 WHERE id = '3'"), (Lines{"3"}));
  // Expressions and aliases in the select list.
  EXPECT_EQ(db->q("SELECT id * 10 + otherfk2 AS v, data & '!' AS d, Nz(otherfk1, -1) FROM Table1 "
                  "WHERE id >= 3 ORDER BY id"),
            (Lines{"43|baz13!|2", "~|!|-1"}));
}

TEST_F(SelectTest, OrderByPutsNullsFirstAndTextsInTheGeneralSortOrder) {
  db->fill("Table2", {{L(10), T("élan")}, {L(11), T("Elan")}, {L(12), T("eland")}, {L(13), T("zèbre")},
                      {L(14), T("Zebre")}, {L(15), N()}, {L(16), T("abc")}});
  // Case is ignored; an accent only decides between texts equal without it.
  EXPECT_EQ(db->q("SELECT id, data FROM Table2 WHERE id >= 10 ORDER BY data"),
            (Lines{"15|~", "16|abc", "11|Elan", "10|élan", "12|eland", "14|Zebre", "13|zèbre"}));
  EXPECT_EQ(db->q("SELECT id FROM Table2 WHERE id >= 10 ORDER BY data DESC"),
            (Lines{"13", "14", "12", "10", "11", "16", "15"}));
  // Several keys, the second descending.
  EXPECT_EQ(db->q("SELECT id FROM Table1 ORDER BY otherfk1, id DESC"), (Lines{"4", "0", "2", "1", "3"}));
  // A key that is not in the select list.
  EXPECT_EQ(db->q("SELECT data FROM Table1 WHERE id < 4 ORDER BY otherfk2 DESC, id"),
            (Lines{"baz13", "baz11", "baz11-2", "baz0"}));
}

TEST_F(SelectTest, GroupingAndAggregates) {
  EXPECT_EQ(db->q("SELECT otherfk1, Count(*) AS n, Count(data), Sum(id), Min(data), Max(data), Avg(id) "
                  "FROM Table1 GROUP BY otherfk1"),
            (Lines{"~|1|0|4|~|~|4", "0|1|1|0|baz0|baz0|0", "1|2|2|3|baz11|baz11-2|1.5", "2|1|1|3|baz13|baz13|3"}));
  EXPECT_EQ(db->q("SELECT otherfk1 FROM Table1 GROUP BY otherfk1 HAVING Count(*) > 1"), (Lines{"1"}));
  EXPECT_EQ(db->q("SELECT otherfk2, Sum(id) AS s FROM Table1 WHERE id < 4 GROUP BY otherfk2 ORDER BY Sum(id) DESC"),
            (Lines{"11|3", "13|3", "10|0"}));
  // Aggregates without GROUP BY give one row, even over no row at all.
  EXPECT_EQ(db->q("SELECT Count(*), Sum(id), Max(data) FROM Table1"), (Lines{"5|10|baz13"}));
  EXPECT_EQ(db->q("SELECT Count(*), Sum(id), Min(id) FROM Table1 WHERE id > 100"), (Lines{"0|~|~"}));
  // First and Last follow the rows of the group, Nulls included.
  EXPECT_EQ(db->q("SELECT First(otherfk1), Last(otherfk1) FROM Table1"), (Lines{"0|~"}));
  // An expression over grouped columns and aggregates.
  EXPECT_EQ(db->q("SELECT otherfk1 * 100 + Count(*) FROM Table1 WHERE id < 4 GROUP BY otherfk1"),
            (Lines{"1", "102", "201"}));
  std::string text;
  EXPECT_EQ(error_of([&] { db->q("SELECT data, Count(*) FROM Table1 GROUP BY otherfk1"); }, &text), 3122);
  EXPECT_NE(text.find("'data'"), std::string::npos) << text;
}

TEST_F(SelectTest, DistinctAndTop) {
  EXPECT_EQ(db->q("SELECT DISTINCT otherfk2 FROM Table1 WHERE id < 4 ORDER BY otherfk2"),
            (Lines{"10", "11", "13"}));
  db->fill("Table2", {{L(20), T("Elan")}, {L(21), T("ELAN")}, {L(22), T("élan")}});
  // Jet's DISTINCT ignores case but not accents.
  EXPECT_EQ(db->q("SELECT DISTINCT data FROM Table2 WHERE id >= 20").size(), 2u);
  // TOP keeps the rows tied with the last one.
  EXPECT_EQ(db->q("SELECT TOP 2 id FROM Table1 WHERE id < 4 ORDER BY otherfk1"), (Lines{"0", "1", "2"}));
  EXPECT_EQ(db->q("SELECT TOP 1 id FROM Table1 ORDER BY id DESC"), (Lines{"4"}));
  EXPECT_EQ(db->q("SELECT TOP 40 PERCENT id FROM Table1 ORDER BY id"), (Lines{"0", "1"}));
}

TEST_F(SelectTest, Subqueries) {
  EXPECT_EQ(db->q("SELECT id FROM Table2 WHERE id IN (SELECT otherfk1 FROM Table1) ORDER BY id"),
            (Lines{"0", "1", "2"}));
  EXPECT_EQ(db->q("SELECT id, (SELECT Count(*) FROM Table1 WHERE Table1.otherfk1 = Table2.id) AS n "
                  "FROM Table2 ORDER BY id"),
            (Lines{"0|1", "1|2", "2|1"}));
  EXPECT_EQ(db->q("SELECT id FROM Table3 WHERE NOT EXISTS (SELECT * FROM Table1 WHERE otherfk2 = Table3.id) "
                  "ORDER BY id"),
            (Lines{"12"}));
  EXPECT_EQ(db->q("SELECT id FROM Table2 UNION SELECT otherfk1 FROM Table1 WHERE id < 4 ORDER BY id"),
            (Lines{"0", "1", "2"}));
  EXPECT_EQ(db->q("SELECT id FROM Table2 UNION ALL SELECT otherfk1 FROM Table1 WHERE id < 4").size(), 7u);
}

TEST_F(SelectTest, ResultColumnsAndUpdatability) {
  auto rs = db->exec().select(
      "SELECT Table1.id, Table2.id, Table1.id * 2, Table1.data AS d, Table2.data FROM Table1 INNER JOIN Table2 "
      "ON Table1.otherfk1 = Table2.id");
  ASSERT_EQ(rs.columns().size(), 5u);
  EXPECT_EQ(rs.columns()[0].name, "Table1.id");
  EXPECT_EQ(rs.columns()[1].name, "Table2.id");
  EXPECT_EQ(rs.columns()[2].name, "Expr1000");
  EXPECT_EQ(rs.columns()[3].name, "d");
  EXPECT_EQ(rs.columns()[4].name, "data");
  EXPECT_EQ(rs.columns()[0].type, jet::ColumnType::Long);
  EXPECT_EQ(rs.columns()[3].base_table, "Table1");
  EXPECT_EQ(rs.columns()[3].base_column, "data");
  EXPECT_FALSE(rs.columns()[2].base_table.has_value());
  EXPECT_FALSE(rs.updatable());

  auto one = db->exec().select("SELECT * FROM table1 WHERE id >= 2 ORDER BY id DESC");
  ASSERT_TRUE(one.updatable());
  EXPECT_EQ(*one.base_table(), "Table1");
  ASSERT_EQ(one.row_ids().size(), 3u);
  ASSERT_EQ(one.columns().size(), 5u);
  // Each row id names the row the values came from.
  const jet::Table table = db->db().table("Table1");
  for (std::size_t i = 0; i < one.size(); ++i) {
    const auto row = table.read(one.row_ids()[i]);
    ASSERT_TRUE(row);
    EXPECT_EQ((*row)[0], one.rows()[i][0]);
  }
  EXPECT_EQ(show(one.rows()[0][0]), "4");
  EXPECT_FALSE(db->exec().select("SELECT DISTINCT data FROM Table1").updatable());
  EXPECT_FALSE(db->exec().select("SELECT Count(*) FROM Table1").updatable());
}

TEST_F(SelectTest, ParametersAndUnknownNames) {
  std::string text;
  EXPECT_EQ(error_of([&] { db->q("SELECT id FROM Table1 WHERE id = [which]"); }, &text), 3061);
  EXPECT_EQ(text, "Trop peu de paramètres. 1 attendu.");
  // Each unknown name counts once, however often it is used.
  EXPECT_EQ(error_of([&] { db->q("SELECT nosuch, id FROM Table1 WHERE id = [which] OR id = which + nosuch"); },
                     &text),
            3061);
  EXPECT_EQ(text, "Trop peu de paramètres. 2 attendu.");
  EXPECT_EQ(db->q("SELECT id FROM Table1 WHERE id = [which]", {{"WHICH", L(2)}}), (Lines{"2"}));
  // Declared parameters take their declared type; a declared one without a value is missing.
  EXPECT_EQ(db->q("PARAMETERS [n] Long; SELECT id FROM Table1 WHERE id > [n] ORDER BY id", {{"n", T("2")}}),
            (Lines{"3", "4"}));
  EXPECT_EQ(error_of([&] { db->q("PARAMETERS [n] Long; SELECT id FROM Table1 WHERE id > [n]"); }), 3061);
  // A table qualifier that names no source makes the name a parameter too.
  EXPECT_EQ(error_of([&] { db->q("SELECT id FROM Table1 WHERE Other.id = 1"); }), 3061);
  EXPECT_EQ(error_of([&] { db->q("SELECT id FROM Nowhere"); }, &text), 3078);
  EXPECT_NE(text.find("'Nowhere'"), std::string::npos) << text;
  EXPECT_EQ(error_of([&] { db->q("SELECT id FROM Table1, Table2"); }, &text), 3079);
  EXPECT_NE(text.find("'id'"), std::string::npos) << text;
  EXPECT_EQ(db->exec().parameter_names("SELECT id FROM Table1 WHERE id = [a] OR data = b OR id = [A]"),
            (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(db->exec().parameter_names("PARAMETERS [which] Long; UPDATE Table1 SET data = [new data] "
                                       "WHERE id = [which] AND otherfk1 = id"),
            (std::vector<std::string>{"which", "new data"}));
}

// A comparison of an indexed column with a constant seeks the index; the rows must be those
// a plain scan finds (the same condition written so no index applies).
TEST(SelectIndexSeek, FindsWhatAScanFinds) {
  Scratch scratch;
  Db db(scratch.copy("compIndexTestV2000.mdb"));
  const auto values = db.q("SELECT DISTINCT CD_AGENTE FROM Table1");
  ASSERT_GT(values.size(), 10u);
  for (std::size_t i = 0; i < values.size(); i += 7) {
    const std::string& v = values[i];
    EXPECT_EQ(db.q("SELECT Count(*) FROM Table1 WHERE CD_AGENTE = " + v),
              db.q("SELECT Count(*) FROM Table1 WHERE CD_AGENTE + 0 = " + v))
        << v;
    EXPECT_EQ(db.q("SELECT Count(*) FROM Table1 WHERE '" + v + "' = CD_AGENTE AND RS_AGENTE IS NOT NULL"),
              db.q("SELECT Count(*) FROM Table1 WHERE CD_AGENTE + 0 = " + v + " AND RS_AGENTE IS NOT NULL"))
        << v;
  }
  EXPECT_EQ(db.q("SELECT Count(*) FROM Table1 WHERE CD_AGENTE = -12345"), (Lines{"0"}));
  EXPECT_EQ(db.q("SELECT Count(*) FROM Table1 WHERE CD_AGENTE = Null"), (Lines{"0"}));

  Db text(scratch.copy("testIndexPropertiesV2000.mdb"));
  // A text index: case-blind equality, and the rows of other keys left out.
  EXPECT_EQ(text.q("SELECT row FROM TableUnique1_temp WHERE data = 'MORE'"), (Lines{"row2"}));
  EXPECT_EQ(text.q("SELECT row FROM TableUnique1_temp WHERE data = 'mor'"), (Lines{}));
  EXPECT_EQ(text.q("SELECT row FROM TableUnique1_temp WHERE row = 'ROW7' AND data LIKE 'another*'"),
            (Lines{"row7"}));
}

// A saved query named in FROM is read as a table: its rows, computed by its own SQL.
TEST(SelectSavedQuery, ReadsASavedSelectAsATable) {
  Scratch scratch;
  Db db(scratch.copy("queryTestV2000.mdb"));
  db.fill("Table1", {{T("foo"), T("b"), T("c")}, {T("buzz"), T("b2"), T("c2")}, {T("zzz"), T("q"), T("r")}});
  db.fill("Table3", {{T("foo"), N(), T("k")}, {T("buzz"), N(), T("m")}});
  db.fill("Table2", {{T("foo"), T("foo"), T("x")}, {T("buzz"), T("buzz"), T("y")}, {T("FOO"), T("foo"), T("z")}});
  // SelectQuery: SELECT DISTINCT Table1.*, Table2.col1, Table2.col2, Table3.col3 FROM (Table1
  // LEFT JOIN Table3 ON Table1.col1 = Table3.col1) INNER JOIN Table2 ON (Table3.col1 =
  // Table2.col2) AND (Table3.col1 = Table2.col1) WHERE Table2.col2 is foo, buzz or bazz,
  // ORDER BY Table2.col1. The two foo rows differ by case only: DISTINCT keeps one.
  const auto rs = db.exec().select("SELECT * FROM SelectQuery");
  EXPECT_EQ(lines(rs), (Lines{"buzz|b2|c2|buzz|buzz|m", "foo|b|c|foo|foo|k"}));
  ASSERT_EQ(rs.columns().size(), 6u);
  EXPECT_FALSE(rs.updatable());
  // Columns of the same name in two tables are told apart by their table.
  EXPECT_EQ(rs.columns()[0].name, "Table1.col1");
  EXPECT_EQ(rs.columns()[3].name, "Table2.col1");
  EXPECT_EQ(rs.columns()[5].name, "Table3.col3");
  EXPECT_EQ(db.q("SELECT Count(*) FROM SelectQuery AS q WHERE q.[Table2.col1] > 'c'"), (Lines{"1"}));
}

TEST(SelectReadOnly, SelectsOnADatabaseOpenedForReadingAndRefusesChanges) {
  auto db = jet::Database::open(jet_test::fixture("indexTestV2000.mdb"));
  jet::sql::Executor exec(*db);
  EXPECT_EQ(lines(exec.select("SELECT Count(*) FROM Table3 WHERE data LIKE 'bar1[0-2]'")), (Lines{"3"}));
  EXPECT_EQ(error_of([&] { exec.execute("DELETE FROM Table3"); }), 3027);
}

}  // namespace

}  // namespace sql_exec_select_test_cases
