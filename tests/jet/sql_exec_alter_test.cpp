// ALTER TABLE through the executor on a copy of an Access-made database (Table1 refers to
// Table2 and Table3 by enforced relationships): columns added, dropped, resized and retyped,
// constraints added and dropped; each change read back by the engine and by mdbtools, each
// refusal leaving the table as it was.
#include <gtest/gtest.h>

#include <optional>

#include "jet/catalog/catalog.h"
#include "jet/storage/transaction.h"
#include "sql_exec_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_exec_alter_test_cases {

namespace {

using namespace sql_exec_test;
using Lines = std::vector<std::string>;

class SqlAlterTable : public ::testing::Test {
 protected:
  void SetUp() override {
    path = scratch.copy("indexTestV2000.mdb");
    db = std::make_unique<Db>(path);
  }
  std::string schema() {
    db->close();
    db.reset();
    bool ok = false;
    const std::string out = jet_test::run("mdb-schema " + jet_test::shell_quote(path) + " 2>/dev/null", &ok);
    EXPECT_TRUE(ok);
    db = std::make_unique<Db>(path);
    return out;
  }
  std::string exported(const std::string& table) {
    db->close();
    db.reset();
    const std::string out = mdb_export(path, table);
    db = std::make_unique<Db>(path);
    return out;
  }
  bool has_relationship(const std::string& name) {
    for (const auto& r : db->db().catalog().relationships())
      if (r.name == name) return true;
    return false;
  }
  Scratch scratch;
  std::string path;
  std::unique_ptr<Db> db;
};

TEST_F(SqlAlterTable, AddColumnLeavesOldRowsNullAndTakesNewValues) {
  QUELIS_NEEDS_MDBTOOLS();
  EXPECT_EQ(db->x("ALTER TABLE Table2 ADD COLUMN note TEXT(20)"), 0);
  EXPECT_EQ(db->q("SELECT id, note FROM Table2 ORDER BY id"), (Lines{"0|~", "1|~", "2|~"}));
  EXPECT_EQ(db->x("UPDATE Table2 SET note = 'n' & id WHERE id > 0"), 2);
  EXPECT_EQ(db->x("ALTER TABLE Table2 ADD quantite LONG"), 0);  // COLUMN is optional
  EXPECT_EQ(db->x("INSERT INTO Table2 (id, data, note, quantite) VALUES (7, 'x', 'sept', 70)"), 1);
  EXPECT_EQ(exported("Table2"), "id,data,note,quantite\n0,\"foo0\",,\n1,\"foo1\",\"n1\",\n2,\"foo2\",\"n2\",\n"
                                "7,\"x\",\"sept\",70\n");
  const std::string s = schema();
  EXPECT_NE(s.find("[note]\t\t\tText (20)"), std::string::npos) << s;
  EXPECT_NE(s.find("[quantite]\t\t\tLong Integer"), std::string::npos) << s;
  // A text longer than the new column is refused like any other.
  EXPECT_EQ(error_of([&] { db->x("UPDATE Table2 SET note = 'vingt et un caracteres' WHERE id = 7"); }), 3163);
}

TEST_F(SqlAlterTable, AddColumnNotNullIsRequiredForRowsWrittenAfter) {
  db->x("ALTER TABLE Table3 ADD COLUMN code TEXT(5) NOT NULL");
  EXPECT_EQ(error_of([&] { db->x("INSERT INTO Table3 (id, data) VALUES (20, 'x')"); }), 3314);
  EXPECT_EQ(db->x("INSERT INTO Table3 (id, data, code) VALUES (20, 'x', 'c')"), 1);
  EXPECT_EQ(db->q("SELECT code FROM Table3 WHERE id = 20"), (Lines{"c"}));
}

TEST_F(SqlAlterTable, AddColumnRefusals) {
  QUELIS_NEEDS_MDBTOOLS();
  std::string text;
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Table2 ADD COLUMN DATA TEXT(10)"); }, &text), 3191);
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Absente ADD COLUMN x LONG"); }, &text), 3078);
  EXPECT_NE(text.find("Absente"), std::string::npos) << text;
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Table2 ADD COLUMN x TEXT(300)"); }), 3292);
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Table2 ADD COLUMN x CHOSE"); }), 3292);
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Table2 RENAME x"); }), 3293);
  EXPECT_EQ(exported("Table2"), "id,data\n0,\"foo0\"\n1,\"foo1\"\n2,\"foo2\"\n");
}

TEST_F(SqlAlterTable, DropColumnKeepsTheOtherColumnsData) {
  QUELIS_NEEDS_MDBTOOLS();
  db->x("ALTER TABLE Table3 ADD COLUMN extra LONG");
  db->x("UPDATE Table3 SET extra = id * 2");
  db->x("ALTER TABLE Table3 DROP COLUMN data");
  EXPECT_EQ(db->q("SELECT * FROM Table3 ORDER BY id"), (Lines{"10|20", "11|22", "12|24", "13|26"}));
  EXPECT_EQ(exported("Table3"), "id,extra\n10,20\n11,22\n12,24\n13,26\n");
  EXPECT_EQ(error_of([&] { db->q("SELECT data FROM Table3"); }), 3061);  // no such column any more
}

TEST_F(SqlAlterTable, DropColumnRefusals) {
  // Indexed (primary key) and used by a relationship.
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Table2 DROP COLUMN id"); }), 3280);
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Table1 DROP COLUMN otherfk1"); }), 3280);
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Table2 DROP COLUMN absente"); }), 3265);
  EXPECT_EQ(db->q("SELECT id, data FROM Table2 WHERE id = 1"), (Lines{"1|foo1"}));
}

TEST_F(SqlAlterTable, AlterColumnResizesATextKeepingItsValues) {
  QUELIS_NEEDS_MDBTOOLS();
  db->x("ALTER TABLE Table2 ALTER COLUMN data TEXT(4)");
  EXPECT_EQ(db->q("SELECT data FROM Table2 ORDER BY id"), (Lines{"foo0", "foo1", "foo2"}));
  EXPECT_EQ(error_of([&] { db->x("UPDATE Table2 SET data = 'cinq5' WHERE id = 0"); }), 3163);
  // Smaller than a stored value: refused, nothing changes.
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Table2 ALTER COLUMN data TEXT(3)"); }), 3163);
  db->x("ALTER TABLE Table2 ALTER COLUMN data TEXT(100)");
  db->x("UPDATE Table2 SET data = 'une valeur bien plus longue que quatre' WHERE id = 0");
  const std::string s = schema();
  EXPECT_NE(s.find("[data]\t\t\tText (100)"), std::string::npos) << s;
}

TEST_F(SqlAlterTable, AlterColumnToAnotherTypeConvertsEveryRowOrNone) {
  QUELIS_NEEDS_MDBTOOLS();
  db->x("ALTER TABLE Table3 ADD COLUMN nombre TEXT(10)");
  db->x("UPDATE Table3 SET nombre = '' & (id * 3)");
  db->x("UPDATE Table3 SET nombre = Null WHERE id = 12");
  db->x("ALTER TABLE Table3 ALTER COLUMN nombre LONG");
  EXPECT_EQ(db->q("SELECT id, nombre + 1 FROM Table3 ORDER BY id"), (Lines{"10|31", "11|34", "12|~", "13|40"}));
  // Same name, same place among the columns.
  EXPECT_EQ(exported("Table3"), "id,data,nombre\n10,\"bar10\",30\n11,\"bar11\",33\n12,\"bar12\",\n13,\"bar13\",39\n");
  // Texts that are not numbers: the column keeps its type and values.
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Table3 ALTER COLUMN data LONG"); }), 13);
  EXPECT_EQ(db->q("SELECT data FROM Table3 WHERE id = 10"), (Lines{"bar10"}));
  const std::string s = schema();
  EXPECT_NE(s.find("[nombre]\t\t\tLong Integer"), std::string::npos) << s;
  EXPECT_NE(s.find("[data]\t\t\tText (50)"), std::string::npos) << s;
}

TEST_F(SqlAlterTable, UniqueAndPrimaryKeyConstraints) {
  db->x("ALTER TABLE Table3 ADD CONSTRAINT DataUnique UNIQUE (data)");
  EXPECT_EQ(error_of([&] { db->x("INSERT INTO Table3 (id, data) VALUES (99, 'bar10')"); }), 3022);
  EXPECT_EQ(db->x("INSERT INTO Table3 (id, data) VALUES (99, 'bar99')"), 1);
  // Over duplicate values, or a second primary key.
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Table1 ADD CONSTRAINT U1 UNIQUE (otherfk1)"); }), 3022);
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Table3 ADD CONSTRAINT Autre PRIMARY KEY (data)"); }), 3283);
  db->x("ALTER TABLE Table3 DROP CONSTRAINT DataUnique");
  EXPECT_EQ(db->x("INSERT INTO Table3 (id, data) VALUES (100, 'bar10')"), 1);
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Table3 DROP CONSTRAINT DataUnique"); }), 3265);
}

TEST_F(SqlAlterTable, ForeignKeyConstraintsAreRelationships) {
  db->x("ALTER TABLE Table1 ADD COLUMN ref3 LONG");
  db->x("ALTER TABLE Table1 ADD CONSTRAINT Ref3Table3 FOREIGN KEY (ref3) REFERENCES Table3 (id)");
  ASSERT_TRUE(has_relationship("Ref3Table3"));
  std::optional<jet::Relationship> made;
  for (const auto& r : db->db().catalog().relationships())
    if (r.name == "Ref3Table3") made = r;
  ASSERT_TRUE(made);
  EXPECT_EQ(made->table, "Table1");
  EXPECT_EQ(made->referenced_table, "Table3");
  EXPECT_EQ(made->columns, (std::vector<std::string>{"ref3"}));
  EXPECT_EQ(made->referenced_columns, (std::vector<std::string>{"id"}));
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Table1 DROP COLUMN ref3"); }), 3280);
  db->x("ALTER TABLE Table1 DROP CONSTRAINT Ref3Table3");
  EXPECT_FALSE(has_relationship("Ref3Table3"));
  db->x("ALTER TABLE Table1 DROP COLUMN ref3");
  // Without columns the reference is to the primary key.
  db->x("ALTER TABLE Table1 ADD CONSTRAINT Vers2 FOREIGN KEY (otherfk3) REFERENCES Table2");
  EXPECT_TRUE(has_relationship("Vers2"));
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Table1 ADD CONSTRAINT Faux FOREIGN KEY (otherfk3) REFERENCES Absente"); }),
            3078);
  EXPECT_EQ(error_of([&] { db->x("ALTER TABLE Table1 ADD CONSTRAINT Faux FOREIGN KEY (absente) REFERENCES Table2 (id)"); }),
            3265);
  EXPECT_FALSE(has_relationship("Faux"));
}

TEST_F(SqlAlterTable, ChangesInsideATransactionGoWithItsRollback) {
  QUELIS_NEEDS_MDBTOOLS();
  {
    jet::Transaction t(db->db().pager());
    db->x("ALTER TABLE Table2 ADD COLUMN temp LONG");
    EXPECT_EQ(db->q("SELECT temp FROM Table2 WHERE id = 0"), (Lines{"~"}));
  }
  db->db().reload_catalog();
  EXPECT_EQ(error_of([&] { db->q("SELECT temp FROM Table2"); }), 3061);
  EXPECT_EQ(exported("Table2"), "id,data\n0,\"foo0\"\n1,\"foo1\"\n2,\"foo2\"\n");
}

}  // namespace

}  // namespace sql_exec_alter_test_cases
