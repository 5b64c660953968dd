// INSERT (values converted to the column types, default values, INSERT ... SELECT by
// position and by name) and DELETE (one table, a table of a join), each statement all or
// nothing: a refused row leaves the file as it was.
#include <gtest/gtest.h>

#include "jet/tools/verify.h"
#include "sql_exec_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_exec_insert_delete_test_cases {

namespace {

using namespace sql_exec_test;
using Lines = std::vector<std::string>;

// testV2000 Table1: A Text(50) primary key (no zero-length text), B Text(100) indexed,
// C Byte, D Integer, E Long, F Double, G Date/Time, H Currency, I Yes/No; C, D, E, F and H
// default to 0. Rows: abcdefg... and a/b.
constexpr const char* kAll = "SELECT A, B, C, D, E, F, G, H, I FROM Table1";

TEST(Insert, ValuesConvertedToTheColumnTypes) {
  QUELIS_NEEDS_MDBTOOLS();
  Scratch scratch;
  const std::string path = scratch.copy("testV2000.mdb");
  {
    Db db(path);
    EXPECT_EQ(db.x("INSERT INTO Table1 (A, B, E, G, I, F) VALUES ('k1', 'x', '12', '25/12/2012', 'Vrai', '2,5')"), 1);
    EXPECT_EQ(db.q(std::string(kAll) + " WHERE A = 'k1'"),
              (Lines{"k1|x|0|0|12|2.5|2012-12-25 00:00:00|0|True"}));
    EXPECT_EQ(db.x("INSERT INTO Table1 VALUES ('k2', 2.75, 1, 2, 3, 4.5, #2013-01-18 10:30:00#, 5, 0)"), 1);
    EXPECT_EQ(db.q(std::string(kAll) + " WHERE A = 'K2'"),
              (Lines{"k2|2,75|1|2|3|4.5|2013-01-18 10:30:00|5|False"}));
    // A whole-number column rounds half to even, as VB does.
    EXPECT_EQ(db.x("INSERT INTO Table1 (A, D, E) VALUES ('k3', 2.5, '3,5')"), 1);
    EXPECT_EQ(db.q("SELECT D, E FROM Table1 WHERE A = 'k3'"), (Lines{"2|4"}));
  }
  const std::string exported = mdb_export(path, "Table1");
  EXPECT_NE(exported.find("\"k1\",\"x\",0,0,12,2.5"), std::string::npos) << exported;
  EXPECT_NE(exported.find("\"k2\",\"2,75\",1,2,3,4.5"), std::string::npos) << exported;
  auto db = jet::Database::open(path);
  EXPECT_TRUE(jet::verify_database(*db).empty());
}

TEST(Insert, RefusalsNameTheirCause) {
  Scratch scratch;
  const std::string path = scratch.copy("testV2000.mdb");
  Db db(path);
  const auto before = jet_test::read_file(path);
  std::string text;
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO Table1 (A) VALUES ('a')"); }), 3022);
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO Table1 (A, B) VALUES ('', 'x')"); }, &text), 3315);
  EXPECT_EQ(text, "Le champ 'Table1.A' ne peut pas être une chaîne de longueur nulle.");
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO Table1 (A, C) VALUES ('k', 300)"); }), 6);
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO Table1 (A, E) VALUES ('k', 'douze')"); }), 13);
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO Table1 (A) VALUES ('" + std::string(51, 'x') + "')"); }), 3163);
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO Table1 (A, Z) VALUES ('k', 1)"); }, &text), 3127);
  EXPECT_NE(text.find("'Z'"), std::string::npos) << text;
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO Table1 VALUES ('k', 'b')"); }), 3346);
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO Table1 (A, B) VALUES ('k', [what])"); }), 3061);
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO Nowhere (A) VALUES (1)"); }), 3078);
  EXPECT_EQ(db.q("SELECT Count(*) FROM Table1"), (Lines{"2"}));
  EXPECT_EQ(jet_test::read_file(path), before);
}

TEST(Insert, FromASelectAllOrNothing) {
  Scratch scratch;
  const std::string path = scratch.copy("testV2000.mdb");
  Db db(path);
  // Table3: a (autonumber), b Text(50).
  EXPECT_EQ(db.x("INSERT INTO Table3 (b) SELECT A FROM Table1 ORDER BY A"), 2);
  EXPECT_EQ(db.q("SELECT a, b FROM Table3 ORDER BY a"), (Lines{"1|a", "2|abcdefg"}));
  // Without a column list the query's columns go to the fields of the same name.
  EXPECT_EQ(db.x("INSERT INTO Table3 SELECT B AS b FROM Table1 WHERE A = 'a'"), 1);
  EXPECT_EQ(db.q("SELECT a, b FROM Table3 WHERE a = 3"), (Lines{"3|b"}));
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO Table3 SELECT B, C AS x FROM Table1"); }), 3127);

  // Three new keys and one already there: none of the four goes in.
  db.fill("Table3", {{N(), T("m1")}, {N(), T("m2")}, {N(), T("abcdefg")}, {N(), T("m3")}});
  const auto before = jet_test::read_file(path);
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO Table1 (A, B) SELECT b, 'z' FROM Table3 WHERE a > 3"); }), 3022);
  EXPECT_EQ(jet_test::read_file(path), before);
  EXPECT_EQ(db.q("SELECT Count(*) FROM Table1"), (Lines{"2"}));
  EXPECT_EQ(db.x("INSERT INTO Table1 (A, B) SELECT b, 'z' FROM Table3 WHERE a > 3 AND b LIKE 'm*'"), 3);
  EXPECT_EQ(db.q("SELECT A FROM Table1 WHERE B = 'z' ORDER BY A"), (Lines{"m1", "m2", "m3"}));
}

TEST(Delete, OneTableAndATableOfAJoin) {
  QUELIS_NEEDS_MDBTOOLS();
  Scratch scratch;
  const std::string path = scratch.copy("indexTestV2000.mdb");
  {
    Db db(path);
    EXPECT_EQ(db.x("DELETE Table1.* FROM Table1 INNER JOIN Table2 ON Table1.otherfk1 = Table2.id "
                   "WHERE Table2.data = 'foo1'"),
              2);
    EXPECT_EQ(db.q("SELECT id FROM Table1 ORDER BY id"), (Lines{"0", "3"}));
    EXPECT_EQ(db.q("SELECT Count(*) FROM Table2"), (Lines{"3"}));
    EXPECT_EQ(error_of([&] { db.x("DELETE FROM Table1 INNER JOIN Table2 ON Table1.otherfk1 = Table2.id"); }),
              3128);
    // Table1 (row 0) still refers to Table3's 10 through a relationship without cascading
    // deletes: the whole statement is refused (3200); 11 and 12 are free to go.
    EXPECT_EQ(error_of([&] { db.x("DELETE FROM Table3 WHERE data LIKE '*1[01]'"); }), 3200);
    EXPECT_EQ(db.x("DELETE FROM Table3 WHERE data LIKE '*1[12]'"), 2);
    EXPECT_EQ(db.x("DELETE FROM Table3 WHERE id = 99"), 0);
    // Table2's relationship cascades deletions: the rows of Table1 that refer to it go too,
    // and only Table2's own rows are counted.
    EXPECT_EQ(db.x("DELETE * FROM Table2"), 3);
  }
  EXPECT_EQ(mdb_export(path, "Table1"), "id,otherfk1,otherfk2,data,otherfk3\n");
  EXPECT_EQ(mdb_export(path, "Table2"), "id,data\n");
  EXPECT_EQ(mdb_export(path, "Table3"), "id,data\n10,\"bar10\"\n13,\"bar13\"\n");
  auto db = jet::Database::open(path);
  EXPECT_TRUE(jet::verify_database(*db).empty());
}

TEST(DataDefinition, ADroppedTableIsGoneForTheStatementsThatFollow) {
  Scratch scratch;
  Db db(scratch.copy("testV2000.mdb"));
  EXPECT_EQ(error_of([&] { db.x("DROP TABLE Table3"); }), 0);
  EXPECT_EQ(error_of([&] { db.x("CREATE INDEX ix ON Table3 (b)"); }), 3078);
  EXPECT_EQ(error_of([&] { db.x("ALTER TABLE Table3 ADD COLUMN c LONG"); }), 3078);
  EXPECT_EQ(error_of([&] { db.x("DROP TABLE Table3"); }), 3078);
  EXPECT_EQ(error_of([&] { db.q("SELECT Count(*) FROM Table3"); }), 3078);
  // A SELECT is not a statement to execute.
  EXPECT_EQ(error_of([&] { db.x("SELECT A FROM Table1"); }), 3065);
}

}  // namespace

}  // namespace sql_exec_insert_delete_test_cases
