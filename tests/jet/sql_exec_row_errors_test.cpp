// Statements run without failing on errors (RowErrors::Skip) against the same statements
// all or nothing: rows the engine refuses are passed over and counted out, values that
// cannot be converted are stored as Null, statements that cannot run at all still raise.
#include <gtest/gtest.h>

#include "jet/exec/executor.h"
#include "sql_exec_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_exec_row_errors_test_cases {

namespace {

using namespace sql_exec_test;
using Lines = std::vector<std::string>;
using jet::sql::RowErrors;

class SqlRowErrors : public ::testing::Test {
 protected:
  void SetUp() override {
    db = std::make_unique<Db>(scratch.copy("indexTestV2000.mdb"));
    db->x("CREATE TABLE Cible (code TEXT(4) NOT NULL, nombre LONG, CONSTRAINT Cle PRIMARY KEY (code))");
    db->x("INSERT INTO Cible VALUES ('a', 1)");
  }
  std::int64_t skip(const std::string& sql) { return db->exec().execute(sql, {}, RowErrors::Skip); }
  Scratch scratch;
  std::unique_ptr<Db> db;
};

TEST_F(SqlRowErrors, UpdatePassesOverRowsThatWouldDuplicateAKey) {
  // Table3 holds ids 10..13 (Table1 refers to them, updates cascade): only the row already
  // at 11 can take it.
  EXPECT_EQ(error_of([&] { db->x("UPDATE Table3 SET id = 11"); }), 3022);
  EXPECT_EQ(db->q("SELECT id FROM Table3 ORDER BY id"), (Lines{"10", "11", "12", "13"}));
  EXPECT_EQ(skip("UPDATE Table3 SET id = 11"), 1);
  EXPECT_EQ(db->q("SELECT id, data FROM Table3 ORDER BY id"), (Lines{"10|bar10", "11|bar11", "12|bar12", "13|bar13"}));
  // Distinct new keys all go through, and the rows referring to them follow.
  EXPECT_EQ(skip("UPDATE Table3 SET id = id + 100, data = data & '!'"), 4);
  EXPECT_EQ(db->q("SELECT id, data FROM Table3 ORDER BY id"),
            (Lines{"110|bar10!", "111|bar11!", "112|bar12!", "113|bar13!"}));
  EXPECT_EQ(db->q("SELECT otherfk2 FROM Table1 ORDER BY id"), (Lines{"110", "111", "111", "113"}));
}

TEST_F(SqlRowErrors, InsertSelectKeepsTheRowsThatFit) {
  // Table3's texts 'bar10'..'bar13' are five characters, too long for code: all or nothing
  // refuses; otherwise each becomes Null, which code refuses, so no row goes in.
  const std::string too_long = "INSERT INTO Cible (code, nombre) SELECT data, id FROM Table3";
  EXPECT_EQ(error_of([&] { db->x(too_long); }), 3163);
  EXPECT_EQ(skip(too_long), 0);
  EXPECT_EQ(db->q("SELECT COUNT(*) FROM Cible"), (Lines{"1"}));
  // 'bar0' .. 'bar3' are new keys; running again, every one is a duplicate.
  const std::string rows = "INSERT INTO Cible (code, nombre) SELECT Left(data, 3) & Right(data, 1), id FROM Table3";
  EXPECT_EQ(skip(rows), 4);
  EXPECT_EQ(skip(rows), 0);
  EXPECT_EQ(error_of([&] { db->x(rows); }), 3022);
  // Required: the row without a code is left out, the other goes in.
  EXPECT_EQ(skip("INSERT INTO Cible (code, nombre) SELECT IIf(id = 10, Null, 'z' & id), id FROM Table3 WHERE id <= 11"), 1);
  EXPECT_EQ(db->q("SELECT code, nombre FROM Cible ORDER BY nombre, code"),
            (Lines{"a|1", "bar0|10", "bar1|11", "z11|11", "bar2|12", "bar3|13"}));
}

TEST_F(SqlRowErrors, ValuesThatCannotBeConvertedAreStoredAsNull) {
  db->x("INSERT INTO Cible VALUES ('b', 2)");
  EXPECT_EQ(error_of([&] { db->x("UPDATE Cible SET nombre = IIf(code = 'a', 'dix', '20')"); }), 13);
  EXPECT_EQ(db->q("SELECT code, nombre FROM Cible ORDER BY code"), (Lines{"a|1", "b|2"}));
  EXPECT_EQ(skip("UPDATE Cible SET nombre = IIf(code = 'a', 'dix', '20')"), 2);
  EXPECT_EQ(db->q("SELECT code, nombre FROM Cible ORDER BY code"), (Lines{"a|~", "b|20"}));
  // A value too long for a required text: Null, then refused as Null.
  EXPECT_EQ(skip("UPDATE Cible SET code = code & 'xxxxx'"), 0);
  EXPECT_EQ(db->q("SELECT code FROM Cible ORDER BY code"), (Lines{"a", "b"}));
}

TEST_F(SqlRowErrors, DeleteCountsWhatWentAndInsertValuesRowsToo) {
  EXPECT_EQ(skip("INSERT INTO Cible (code, nombre) VALUES ('a', 5)"), 0);
  EXPECT_EQ(skip("INSERT INTO Cible (code, nombre) VALUES ('c', 5)"), 1);
  EXPECT_EQ(skip("DELETE FROM Cible WHERE nombre >= 1"), 2);
  EXPECT_EQ(db->q("SELECT COUNT(*) FROM Cible"), (Lines{"0"}));
}

TEST_F(SqlRowErrors, StatementsThatCannotRunStillRaise) {
  EXPECT_EQ(error_of([&] { skip("UPDATE Absente SET x = 1"); }), 3078);
  EXPECT_EQ(error_of([&] { skip("UPDATE Cible SET inconnu = 1"); }), 3061);
  EXPECT_EQ(error_of([&] { skip("UPDATE Cible SET nombre = nombre + [param]"); }), 3061);
  EXPECT_EQ(error_of([&] { skip("UPDATE Cible nombre = 1"); }), 3144);
  EXPECT_EQ(error_of([&] { skip("INSERT INTO Cible (absente) VALUES (1)"); }), 3127);
  EXPECT_EQ(error_of([&] { skip("SELECT * FROM Cible"); }), 3065);
  EXPECT_EQ(db->q("SELECT code, nombre FROM Cible"), (Lines{"a|1"}));
}

}  // namespace

}  // namespace sql_exec_row_errors_test_cases
