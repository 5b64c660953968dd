// Joins: inner, left and right, nested as Access writes them, comma joins driven by WHERE,
// equalities hashed and other conditions looped, texts joined case-blind and a text of
// digits joined to a number by value, table aliases.
#include <gtest/gtest.h>

#include <map>

#include "sql_exec_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_exec_join_test_cases {

namespace {

using namespace sql_exec_test;
using Lines = std::vector<std::string>;

// indexTestV2000: Table1 (id, otherfk1, otherfk2, data, otherfk3):
//   0,0,10,baz0 / 1,1,11,baz11 / 2,1,11,baz11-2 / 3,2,13,baz13, plus 4 with Nulls;
// Table2 (id, data): 0 foo0, 1 foo1, 2 foo2, plus 5 foo5; Table3 (id, data): 10..13 bar10..13.
class JoinTest : public ::testing::Test {
 protected:
  void SetUp() override {
    db = std::make_unique<Db>(scratch.copy("indexTestV2000.mdb"));
    db->fill("Table1", {{L(4), N(), N(), N(), N()}});
    db->fill("Table2", {{L(5), T("foo5")}});
  }
  Scratch scratch;
  std::unique_ptr<Db> db;
};

TEST_F(JoinTest, InnerLeftRight) {
  EXPECT_EQ(db->q("SELECT Table1.id, Table2.data FROM Table1 INNER JOIN Table2 ON Table1.otherfk1 = Table2.id "
                  "ORDER BY Table1.id"),
            (Lines{"0|foo0", "1|foo1", "2|foo1", "3|foo2"}));
  EXPECT_EQ(db->q("SELECT Table2.id, Table1.id FROM Table2 LEFT JOIN Table1 ON Table2.id = Table1.otherfk1 "
                  "ORDER BY Table2.id, Table1.id"),
            (Lines{"0|0", "1|1", "1|2", "2|3", "5|~"}));
  EXPECT_EQ(db->q("SELECT Table1.id, Table3.id FROM Table1 RIGHT JOIN Table3 ON Table1.otherfk2 = Table3.id "
                  "ORDER BY Table3.id, Table1.id"),
            (Lines{"0|10", "1|11", "2|11", "~|12", "3|13"}));
  // The row of Nulls on the preserved side of a left join keeps its place.
  EXPECT_EQ(db->q("SELECT Table1.id, Table2.data FROM Table1 LEFT JOIN Table2 ON Table1.otherfk1 = Table2.id "
                  "WHERE Table1.id >= 3 ORDER BY Table1.id"),
            (Lines{"3|foo2", "4|~"}));
}

TEST_F(JoinTest, ConditionsOnTheNullSideOfAnOuterJoin) {
  // WHERE on the Null side applies after the join: only Table3 rows without a match.
  EXPECT_EQ(db->q("SELECT Table3.id FROM Table3 LEFT JOIN Table1 ON Table3.id = Table1.otherfk2 "
                  "WHERE Table1.id IS NULL"),
            (Lines{"12"}));
  // In ON it restricts the matches, not the preserved rows.
  EXPECT_EQ(db->q("SELECT Table3.id, Table1.id FROM Table3 LEFT JOIN Table1 "
                  "ON (Table3.id = Table1.otherfk2) AND (Table1.id > 1) ORDER BY Table3.id"),
            (Lines{"10|~", "11|2", "12|~", "13|3"}));
}

TEST_F(JoinTest, NestedJoinsAsAccessWritesThem) {
  EXPECT_EQ(db->q("SELECT Table1.id, Table2.data, Table3.data FROM (Table1 INNER JOIN Table2 ON "
                  "Table1.otherfk1 = Table2.id) INNER JOIN Table3 ON Table1.otherfk2 = Table3.id ORDER BY Table1.id"),
            (Lines{"0|foo0|bar10", "1|foo1|bar11", "2|foo1|bar11", "3|foo2|bar13"}));
  EXPECT_EQ(db->q("SELECT Table3.id, Table2.data FROM Table3 LEFT JOIN (Table1 INNER JOIN Table2 ON "
                  "Table1.otherfk1 = Table2.id) ON Table3.id = Table1.otherfk2 WHERE Table3.id >= 12 "
                  "ORDER BY Table3.id"),
            (Lines{"12|~", "13|foo2"}));
}

TEST_F(JoinTest, CommaJoinsAndOtherConditions) {
  EXPECT_EQ(db->q("SELECT Table1.id, Table2.data FROM Table1, Table2 WHERE Table1.otherfk1 = Table2.id "
                  "AND Table2.id > 0 ORDER BY Table1.id"),
            (Lines{"1|foo1", "2|foo1", "3|foo2"}));
  EXPECT_EQ(db->q("SELECT Count(*) FROM Table1, Table2"), (Lines{"20"}));
  // No equality: every pair is tried.
  EXPECT_EQ(db->q("SELECT Count(*) FROM Table1 INNER JOIN Table3 ON Table1.otherfk2 > Table3.id"),
            (Lines{"5"}));
  EXPECT_EQ(db->q("SELECT a.id, b.id FROM Table1 AS a INNER JOIN Table1 AS b ON a.otherfk1 = b.otherfk1 "
                  "WHERE a.id < b.id"),
            (Lines{"1|2"}));
  // Once aliased, a table is known by its alias only: its own name is a parameter.
  EXPECT_EQ(error_of([&] { db->q("SELECT Table1.id FROM Table1 AS a"); }), 3061);
}

TEST_F(JoinTest, KeysCompareAsJetCompares) {
  db->fill("Table2", {{L(20), T("BAR10")}, {L(21), T("11")}, {L(22), T("bàr12")}});
  // Case-blind, accents significant.
  EXPECT_EQ(db->q("SELECT Table2.id, Table3.id FROM Table2 INNER JOIN Table3 ON Table2.data = Table3.data "
                  "ORDER BY Table2.id"),
            (Lines{"20|10"}));
  // A text of digits meets a number by value.
  EXPECT_EQ(db->q("SELECT Table2.id, Table3.data FROM Table2 INNER JOIN Table3 ON Table2.data = Table3.id "
                  "WHERE Table2.id = 21"),
            (Lines{"21|bar11"}));
  // A Null key matches nothing, not even another Null.
  EXPECT_EQ(db->q("SELECT Count(*) FROM Table1 AS a INNER JOIN Table1 AS b ON a.otherfk1 = b.otherfk1"),
            (Lines{"6"}));
}

TEST(JoinLarge, SelfJoinOfFiveHundredRowsCountsEveryMatchingPair) {
  Scratch scratch;
  Db db(scratch.copy("compIndexTestV2000.mdb"));
  std::map<std::int64_t, std::int64_t> per_value;
  db.db().table("Table1").scan([&](jet::RowId, const jet::Row& row) {
    if (!row[0].is_null()) ++per_value[row[0].to_int64()];
    return true;
  });
  std::int64_t pairs = 0;
  for (const auto& [v, n] : per_value) pairs += n * n;
  ASSERT_GT(per_value.size(), 10u);
  EXPECT_EQ(db.q("SELECT Count(*) FROM Table1 AS a INNER JOIN Table1 AS b ON a.CD_AGENTE = b.CD_AGENTE"),
            (Lines{std::to_string(pairs)}));
  EXPECT_EQ(db.q("SELECT Count(*) FROM Table1 AS a, Table1 AS b WHERE a.CD_AGENTE = b.CD_AGENTE "
                 "AND a.RS_AGENTE = b.RS_AGENTE"),
            (Lines{std::to_string(pairs)}));
}

}  // namespace

}  // namespace sql_exec_join_test_cases
