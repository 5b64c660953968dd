// UPDATE: one table, a join of two local tables, and a table joined to the same table of
// another database (the backup the application restores dates from), with records-affected
// counts, conversions to the column types, refusals that change nothing, and transactions.
#include <gtest/gtest.h>

#include "jet/storage/transaction.h"
#include "jet/tools/verify.h"
#include "sql_exec_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_exec_update_test_cases {

namespace {

using namespace sql_exec_test;
using Lines = std::vector<std::string>;

TEST(Update, OneTableWithExpressionsAndConversions) {
  QUELIS_NEEDS_MDBTOOLS();
  Scratch scratch;
  const std::string path = scratch.copy("indexTestV2000.mdb");
  {
    Db db(path);
    EXPECT_EQ(db.x("UPDATE Table1 SET data = data & '-x', otherfk3 = otherfk3 + id WHERE otherfk1 = 1"), 2);
    EXPECT_EQ(db.q("SELECT id, data, otherfk3 FROM Table1 ORDER BY id"),
              (Lines{"0|baz0|0", "1|baz11-x|1", "2|baz11-2-x|2", "3|baz13|0"}));
    // A text of digits into a Long column, a number into a text column (French decimal comma).
    EXPECT_EQ(db.x("UPDATE Table1 SET otherfk3 = '12', data = 1.5 WHERE id = 0"), 1);
    EXPECT_EQ(db.q("SELECT otherfk3, data FROM Table1 WHERE id = 0"), (Lines{"12|1,5"}));
    // Every matching row counts, changed or not; no match, no record.
    EXPECT_EQ(db.x("UPDATE Table1 SET otherfk3 = otherfk3"), 4);
    EXPECT_EQ(db.x("UPDATE Table1 SET otherfk3 = 1 WHERE id > 100"), 0);
  }
  EXPECT_EQ(mdb_export(path, "Table1"),
            "id,otherfk1,otherfk2,data,otherfk3\n0,0,10,\"1,5\",12\n1,1,11,\"baz11-x\",1\n"
            "2,1,11,\"baz11-2-x\",2\n3,2,13,\"baz13\",0\n");
  auto db = jet::Database::open(path);
  EXPECT_TRUE(jet::verify_database(*db).empty());
}

TEST(Update, RefusedValuesChangeNothing) {
  Scratch scratch;
  const std::string path = scratch.copy("indexTestV2000.mdb");
  Db db(path);
  const auto before = jet_test::read_file(path);
  std::string text;
  // The second row's value does not convert: the first row's change is undone too.
  EXPECT_EQ(error_of([&] { db.x("UPDATE Table1 SET otherfk3 = IIf(id = 0, 5, 'abc')"); }), 13);
  EXPECT_EQ(error_of([&] { db.x("UPDATE Table1 SET data = String(51, 'x') WHERE id = 3"); }), 3163);
  // id is the primary key.
  EXPECT_EQ(error_of([&] { db.x("UPDATE Table1 SET id = 7 WHERE id <= 1"); }, &text), 3022);
  EXPECT_EQ(error_of([&] { db.x("UPDATE Table1 SET otherfk3 = 1 WHERE nosuch = 2"); }, &text), 3061);
  EXPECT_EQ(text, "Trop peu de paramètres. 1 attendu.");
  EXPECT_EQ(error_of([&] { db.x("UPDATE Nowhere SET a = 1"); }), 3078);
  EXPECT_EQ(db.q("SELECT Sum(otherfk3), Max(id) FROM Table1"), (Lines{"0|3"}));
  EXPECT_EQ(jet_test::read_file(path), before);
}

TEST(Update, JoinOfTwoLocalTables) {
  Scratch scratch;
  Db db(scratch.copy("indexTestV2000.mdb"));
  EXPECT_EQ(db.x("UPDATE Table1 INNER JOIN Table2 ON Table1.otherfk1 = Table2.id SET Table1.data = Table2.data "
                 "WHERE Table2.id > 0"),
            3);
  EXPECT_EQ(db.q("SELECT data FROM Table1 ORDER BY id"), (Lines{"baz0", "foo1", "foo1", "foo2"}));
  // The joined table changes too when it is assigned.
  EXPECT_EQ(db.x("UPDATE Table3 INNER JOIN Table1 ON Table3.id = Table1.otherfk2 SET Table3.data = 'used'"), 3);
  EXPECT_EQ(db.q("SELECT id, data FROM Table3 ORDER BY id"),
            (Lines{"10|used", "11|used", "12|bar12", "13|used"}));
}

TEST(Update, ValuesAreReadBeforeAnyRowChanges) {
  Scratch scratch;
  Db db(scratch.copy("indexTestV2000.mdb"));
  // Table2's values are read as they were, though the same statement changes them.
  db.x("UPDATE Table1 INNER JOIN Table2 ON Table1.otherfk1 = Table2.id "
       "SET Table1.data = Table2.data, Table2.data = 'changed' WHERE Table2.id > 0");
  EXPECT_EQ(db.q("SELECT data FROM Table1 ORDER BY id"), (Lines{"baz0", "foo1", "foo1", "foo2"}));
  EXPECT_EQ(db.q("SELECT data FROM Table2 ORDER BY id"), (Lines{"foo0", "changed", "changed"}));
}

// A listener hears the rows of an UPDATE and a DELETE as they are written, up to the whole;
// an UPDATE's reading of its table counts before (told every thousand rows or so).
TEST(Update, WritesAreToldAsTheyGo) {
  Scratch scratch;
  Db db(scratch.copy("indexTestV2000.mdb"));
  std::vector<std::pair<std::uint64_t, std::uint64_t>> heard;
  db.exec().set_progress([&](std::uint64_t done, std::uint64_t total) { heard.emplace_back(done, total); });
  EXPECT_EQ(db.x("UPDATE Table2 SET data = 'one'"), 3);
  EXPECT_EQ(heard, (std::vector<std::pair<std::uint64_t, std::uint64_t>>{{3, 6}, {4, 6}, {5, 6}, {6, 6}}));
  heard.clear();
  EXPECT_EQ(db.x("DELETE FROM Table1 WHERE id > 1"), 2);
  EXPECT_EQ(heard, (std::vector<std::pair<std::uint64_t, std::uint64_t>>{{0, 2}, {1, 2}, {2, 2}}));
  db.exec().set_progress({});
  heard.clear();
  db.x("UPDATE Table2 SET data = 'two'");
  EXPECT_TRUE(heard.empty());
}

// Over a large table the listener hears the reading before the few rows are written, the
// share of the work done never falling.
TEST(Update, TheReadingOfALargeTableIsToldBeforeItsWrites) {
  Scratch scratch;
  Db db(scratch.copy("indexTestV2000.mdb"));
  std::vector<jet::Row> rows;
  for (int i = 0; i < 3000; ++i) rows.push_back({L(100 + i), L(1), L(11), T(i % 1000 == 0 ? "marked" : "plain"), L(0)});
  db.fill("Table1", rows);
  std::vector<std::pair<std::uint64_t, std::uint64_t>> heard;
  db.exec().set_progress([&](std::uint64_t done, std::uint64_t total) { heard.emplace_back(done, total); });
  EXPECT_EQ(db.x("UPDATE Table1 SET otherfk3 = 5 WHERE data = 'marked'"), 3);
  const std::uint64_t table = 3004;
  ASSERT_GE(heard.size(), 3u);
  EXPECT_EQ(heard.front(), std::make_pair(std::uint64_t{1024}, 2 * table));
  EXPECT_EQ(heard.back(), std::make_pair(table + 3, table + 3));
  for (std::size_t i = 1; i < heard.size(); ++i)
    EXPECT_LE(static_cast<double>(heard[i - 1].first) / static_cast<double>(heard[i - 1].second),
              static_cast<double>(heard[i].first) / static_cast<double>(heard[i].second));
}

TEST(Update, InsideATransactionASavepoint) {
  Scratch scratch;
  const std::string path = scratch.copy("indexTestV2000.mdb");
  const auto before = jet_test::read_file(path);
  Db db(path);
  {
    jet::Transaction t(db.db().pager());
    EXPECT_EQ(db.x("UPDATE Table2 SET data = 'one'"), 3);
    // A failing statement loses its own changes only.
    EXPECT_EQ(error_of([&] { db.x("UPDATE Table2 SET data = 'two', id = 0"); }), 3022);
    EXPECT_EQ(db.q("SELECT DISTINCT data FROM Table2"), (Lines{"one"}));
    // Nothing reaches the file before commit.
    if (jet_test::kHeldFileReadable) {
      EXPECT_EQ(jet_test::read_file(path), before);
    }
    t.rollback();
  }
  EXPECT_EQ(db.q("SELECT data FROM Table2 ORDER BY id"), (Lines{"foo0", "foo1", "foo2"}));
  db.close();
  EXPECT_EQ(jet_test::read_file(path), before);
}

// The update the application runs against its backup: a table joined on four columns to
// the same table of another database, dates copied where the backup has the record.
// Here on overflowTestV2000's Table1 (nine Text(50) columns, data1..data10 without data2):
// data1/data3 the record keys, data4 its kind, data5/data8/data9 what must still be empty,
// data6/data7 the values copied from the backup.
class BackupUpdate : public ::testing::Test {
 protected:
  static jet::Row rec(const std::string& k1, const std::string& k2, const std::string& kind,
                      const std::string& v5, const std::string& v6, const std::string& v7,
                      const std::string& v8) {
    auto t = [](const std::string& s) { return s.empty() ? N() : T(s); };
    return {t(k1), t(k2), t(kind), t(v5), t(v6), t(v7), t(v8), N(), N()};
  }
  void SetUp() override {
    main_path = scratch.copy("overflowTestV2000.mdb", "main.mdb");
    backup_path = scratch.copy("overflowTestV2000.mdb", "backup.mdb");
    {
      Db backup(backup_path);
      EXPECT_EQ(backup.x("DELETE * FROM Table1"), 7);
      backup.fill("Table1", {rec("N1", "P1", "1", "", "2013-01-01", "T1", ""),
                             rec("N3", "P3", "1", "", "2013-01-03", "T3", ""),
                             rec("N4", "P4", "2", "", "2013-01-04", "T4", ""),
                             rec("N5", "p5", "1", "", "2013-01-05", "T5", ""),
                             rec("N6", "P6", "1", "", "2013-01-06", "T6", ""),
                             rec("N7", "P7", "1", "", "", "", ""),
                             rec("N9", "P9", "1", "", "2013-01-09", "T9", "")});
    }
    Db db(main_path);
    EXPECT_EQ(db.x("DELETE FROM Table1"), 7);
    db.fill("Table1", {rec("N1", "P1", "1", "", "", "", ""),        // twin: updated
                       rec("N2", "P2", "1", "", "", "", ""),        // no twin
                       rec("N3", "P3", "1", "X", "old", "", ""),   // already has its value
                       rec("N4", "P4", "2", "", "", "", ""),        // other kind
                       rec("n5", "P5", "1", "", "", "", ""),        // twin by case-blind keys
                       rec("N6", "P6", "1", "", "", "", "seen"),   // already processed
                       rec("N7", "P7", "1", "", "keep", "keep", "")});  // twin without values
  }
  std::string statement(const std::string& backup_as_written) const {
    return "UPDATE Table1 INNER JOIN [;database=" + backup_as_written +
           "].Table1 AS T1 ON (Table1.data1 = T1.data1) AND (Table1.DATA3 = T1.data3) "
           "SET Table1.data6 = [T1].[data6], Table1.data7 = [T1].[DATA7] "
           "WHERE table1.data4 = '1' AND table1.data5 is null AND table1.data8 is null AND Table1.data9 Is Null";
  }
  Scratch scratch;
  std::string main_path, backup_path;
};

TEST_F(BackupUpdate, CopiesTheBackupValuesOfTwinRecordsOnly) {
  QUELIS_NEEDS_MDBTOOLS();
  const auto backup_before = jet_test::read_file(backup_path);
  const std::string windows_path = "C:\\QUELIS\\Sauvegardes\\QuelisSauv_18012013.mdb";
  std::vector<std::string> asked;
  jet::sql::DatabaseOpener opener = [&](std::string_view p) {
    asked.emplace_back(p);
    return jet::Database::open(backup_path);
  };
  {
    Db db(main_path, opener);
    EXPECT_EQ(db.x(statement(windows_path)), 3);
    EXPECT_EQ(asked, (std::vector<std::string>{windows_path}));
    EXPECT_EQ(db.q("SELECT data1, data6, data7 FROM Table1 ORDER BY data1"),
              (Lines{"N1|2013-01-01|T1", "N2|~|~", "N3|old|~", "N4|~|~", "n5|2013-01-05|T5", "N6|~|~", "N7|~|~"}));
    // Run again: the same twins match again, with the same values.
    EXPECT_EQ(db.x(statement(windows_path)), 3);
  }
  EXPECT_EQ(jet_test::read_file(backup_path), backup_before);
  const std::string exported = mdb_export(main_path, "Table1");
  EXPECT_NE(exported.find("\"N1\",\"P1\",\"1\",,\"2013-01-01\",\"T1\""), std::string::npos) << exported;
  EXPECT_NE(exported.find("\"N7\",\"P7\",\"1\",,,,"), std::string::npos) << exported;
  auto db = jet::Database::open(main_path);
  EXPECT_TRUE(jet::verify_database(*db).empty());
}

TEST_F(BackupUpdate, ARecordWithTwoTwinsTakesTheLastOne) {
  {
    Db backup(backup_path);
    backup.fill("Table1", {rec("N2", "P2", "1", "", "2013-02-01", "first", ""),
                           rec("N2", "P2", "1", "", "2013-02-02", "second", "")});
  }
  Db db(main_path, [&](std::string_view) { return jet::Database::open(backup_path); });
  EXPECT_EQ(db.x(statement("backup.mdb")), 4);
  EXPECT_EQ(db.q("SELECT data6, data7 FROM Table1 WHERE data1 IN ('N1', 'N2') ORDER BY data1"),
            (Lines{"2013-01-01|T1", "2013-02-02|second"}));
}

TEST_F(BackupUpdate, MissingBackupFileOrTable) {
  Db db(main_path, [&](std::string_view p) { return jet::Database::open(scratch.dir().path().string() + "/" + std::string(p)); });
  std::string text;
  EXPECT_EQ(error_of([&] { db.x(statement("absent.mdb")); }, &text), 3024);
  EXPECT_EQ(text, "Fichier 'absent.mdb' introuvable.");
  std::string other = statement("backup.mdb");
  other.replace(other.find("].Table1"), 8, "].Nothing");
  EXPECT_EQ(error_of([&] { db.x(other); }, &text), 3078);
  EXPECT_NE(text.find("'Nothing'"), std::string::npos);
  // The backup is only read: naming it as the table to change is refused.
  EXPECT_EQ(error_of([&] { db.x("UPDATE [;database=backup.mdb].Table1 SET data1 = 'x'"); }), 3027);
  EXPECT_EQ(db.q("SELECT Count(*) FROM Table1 WHERE data6 IS NOT NULL"), (Lines{"2"}));
}

}  // namespace

}  // namespace sql_exec_update_test_cases
