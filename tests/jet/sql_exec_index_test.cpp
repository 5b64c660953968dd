// CREATE INDEX, DROP INDEX and DROP TABLE through the executor, on a copy of an Access-made
// database: the options of an index as the engine keeps them, refusals that leave the table
// as it was, a dropped table gone for the engine and for mdbtools with its relationships.
#include <gtest/gtest.h>

#include <algorithm>

#include "jet/catalog/catalog.h"
#include "jet/storage/transaction.h"
#include "jet/tools/index_verify.h"
#include "sql_exec_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_exec_index_test_cases {

namespace {

using namespace sql_exec_test;
using Lines = std::vector<std::string>;

class SqlIndexes : public ::testing::Test {
 protected:
  void SetUp() override {
    path = scratch.copy("indexTestV2000.mdb");
    db = std::make_unique<Db>(path);
  }
  const jet::IndexDef* real_index(const std::string& table, const std::string& name, jet::TableDef& def) {
    def = db->db().table(table).def();
    for (const auto& logical : def.logical_indexes)
      if (logical.name == name) return def.real_index(logical.real_index);
    return nullptr;
  }
  Scratch scratch;
  std::string path;
  std::unique_ptr<Db> db;
};

TEST_F(SqlIndexes, CreateIndexOptionsBecomeTheIndexRules) {
  jet::TableDef def;
  db->x("CREATE UNIQUE INDEX DataU ON Table3 (data DESC)");
  const jet::IndexDef* u = real_index("Table3", "DataU", def);
  ASSERT_NE(u, nullptr);
  EXPECT_TRUE(u->unique());
  EXPECT_FALSE(u->columns.at(0).ascending);
  EXPECT_EQ(error_of([&] { db->x("INSERT INTO Table3 (id, data) VALUES (50, 'BAR11')"); }), 3022);  // case-blind

  db->x("CREATE INDEX Mixte ON Table1 (otherfk1, data ASC) WITH IGNORE NULL");
  const jet::IndexDef* m = real_index("Table1", "Mixte", def);
  ASSERT_NE(m, nullptr);
  EXPECT_FALSE(m->unique());
  EXPECT_TRUE(m->ignore_nulls());
  EXPECT_EQ(m->columns.size(), 2u);

  db->x("CREATE INDEX Obligatoire ON Table1 (data) WITH DISALLOW NULL");
  const jet::IndexDef* r = real_index("Table1", "Obligatoire", def);
  ASSERT_NE(r, nullptr);
  EXPECT_TRUE(r->required());
}

TEST_F(SqlIndexes, APrimaryIndexOnATableWithoutOne) {
  db->x("CREATE TABLE Neuve (code TEXT(5), libelle TEXT(20))");
  db->x("INSERT INTO Neuve VALUES ('a', 'un')");
  db->x("CREATE INDEX Cle ON Neuve (code) WITH PRIMARY");
  jet::TableDef def = db->db().table("Neuve").def();
  ASSERT_EQ(def.logical_indexes.size(), 1u);
  EXPECT_EQ(def.logical_indexes[0].kind, jet::IndexKind::Primary);
  EXPECT_EQ(error_of([&] { db->x("INSERT INTO Neuve VALUES ('A', 'deux')"); }), 3022);
  EXPECT_EQ(error_of([&] { db->x("CREATE INDEX Autre ON Neuve (libelle) WITH PRIMARY"); }), 3283);
}

// A unique index over rows that repeat a key only where a column is Null, as Jet allows, and
// over a few thousand rows: every row is listed once, in order.
TEST_F(SqlIndexes, AUniqueIndexAllowsRepeatedNullsAndListsEveryRow) {
  db->x("CREATE TABLE Parcelles (section TEXT(2), numero LONG, libelle TEXT(30))");
  jet::Transaction tx(db->db().pager());
  for (int i = 0; i < 3000; ++i)
    db->x("INSERT INTO Parcelles VALUES ('A" + std::to_string(i % 7) + "', " + std::to_string(i) + ", 'parcelle " +
          std::to_string(i) + "')");
  db->x("INSERT INTO Parcelles VALUES (NULL, 5, 'sans section')");
  db->x("INSERT INTO Parcelles VALUES (NULL, 5, 'sans section non plus')");
  tx.commit();
  db->x("CREATE UNIQUE INDEX Cle ON Parcelles (section, numero)");
  const jet::Table table = db->db().table("Parcelles");
  const jet::IndexDef* index = table.def().real_index(table.def().logical_indexes.at(0).real_index);
  ASSERT_NE(index, nullptr);
  EXPECT_TRUE(jet::verify_index(table, *index).empty());
  EXPECT_EQ(db->q("SELECT COUNT(*) FROM Parcelles WHERE section = 'A3' AND numero < 100"), (std::vector<std::string>{"14"}));
  EXPECT_EQ(error_of([&] { db->x("INSERT INTO Parcelles VALUES ('A1', 1, 'doublon')"); }), 3022);
  // Sections repeat: refused, and nothing of the index is left.
  EXPECT_EQ(error_of([&] { db->x("CREATE UNIQUE INDEX Sections ON Parcelles (section)"); }), 3022);
  EXPECT_EQ(db->db().table("Parcelles").def().indexes.size(), 1u);
}

TEST_F(SqlIndexes, CreateIndexRefusals) {
  EXPECT_EQ(error_of([&] { db->x("CREATE UNIQUE INDEX Doublons ON Table1 (otherfk1)"); }), 3022);
  EXPECT_EQ(error_of([&] { db->x("CREATE INDEX id ON Table1 (data)"); }), 3284);
  EXPECT_EQ(error_of([&] { db->x("CREATE INDEX X ON Table1 (absente)"); }), 3265);
  EXPECT_EQ(error_of([&] { db->x("CREATE INDEX X ON Absente (id)"); }), 3078);
  EXPECT_EQ(error_of([&] { db->x("CREATE INDEX X ON Table1 (id) WITH PLUS"); }), 3291);
  jet::TableDef def;
  EXPECT_EQ(real_index("Table1", "Doublons", def), nullptr);
  EXPECT_EQ(real_index("Table1", "X", def), nullptr);
}

TEST_F(SqlIndexes, DropIndexLetsDuplicatesIn) {
  db->x("CREATE UNIQUE INDEX DataU ON Table2 (data)");
  EXPECT_EQ(error_of([&] { db->x("INSERT INTO Table2 (id, data) VALUES (5, 'foo0')"); }), 3022);
  db->x("DROP INDEX datau ON Table2");  // names without regard to case
  EXPECT_EQ(db->x("INSERT INTO Table2 (id, data) VALUES (5, 'foo0')"), 1);
  EXPECT_EQ(error_of([&] { db->x("DROP INDEX DataU ON Table2"); }), 3265);
  EXPECT_EQ(error_of([&] { db->x("DROP INDEX DataU ON Absente"); }), 3078);
  jet::TableDef def;
  EXPECT_EQ(real_index("Table2", "DataU", def), nullptr);
}

TEST_F(SqlIndexes, DropTableTakesItsRowsAndRelationships) {
  QUELIS_NEEDS_MDBTOOLS();
  db->x("DROP TABLE Table3");
  EXPECT_EQ(db->db().catalog().find_table("Table3"), nullptr);
  EXPECT_EQ(error_of([&] { db->q("SELECT * FROM Table3"); }), 3078);
  for (const auto& r : db->db().catalog().relationships()) EXPECT_NE(r.name, "Table3Table1");
  // The other side of the relationship is free of it: any value goes in.
  EXPECT_EQ(db->x("UPDATE Table1 SET otherfk2 = 999 WHERE id = 0"), 1);
  EXPECT_EQ(error_of([&] { db->x("DROP TABLE Table3"); }), 3078);
  db->close();
  bool ok = false;
  const std::string tables = jet_test::run("mdb-tables -1 " + jet_test::shell_quote(path), &ok);
  EXPECT_TRUE(ok);
  EXPECT_EQ(tables.find("Table3"), std::string::npos) << tables;
  EXPECT_NE(tables.find("Table2"), std::string::npos) << tables;
  EXPECT_EQ(mdb_export(path, "Table2"), "id,data\n0,\"foo0\"\n1,\"foo1\"\n2,\"foo2\"\n");
}

}  // namespace

}  // namespace sql_exec_index_test_cases
