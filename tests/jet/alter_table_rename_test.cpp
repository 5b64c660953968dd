// Renaming tables: the catalog row and the relationships follow the new name; rows, indexes
// and properties stay; renaming back gives the original database.
#include <gtest/gtest.h>

#include "alter_table_support.h"
#include "jet/ddl/alter_table.h"
#include "jet/tools/diff.h"
#include "jet/base/error.h"
#include "jet/ddl/relationship_write.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace alter_table_rename_test_cases {

namespace {

using namespace alter_table_test;

using jet_test::joined;
TEST(AlterTableRename, AccessFileTableFollowedByItsRelationshipsAndBack) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string original = jet_test::fixture("indexTestV2000.mdb");
  const std::string path = jet_test::copy_fixture(dir, "indexTestV2000.mdb");
  const std::string rows_before = jet_test::mdb_export(path, "Table2");
  jet::TableDef def_before;
  std::vector<std::uint8_t> properties_before;
  {
    auto db = jet::Database::open(path);
    def_before = db->table("Table2").def();
    properties_before = db->catalog().find_table("Table2")->properties;
  }
  {
    auto db = jet::WritableDatabase::open(path);
    jet::rename_table(*db, "Table2", "Tableau deux é");
    EXPECT_EQ(db->catalog().find_table("Table2"), nullptr);
    ASSERT_NE(db->catalog().find_table("TABLEAU DEUX É"), nullptr);
  }
  EXPECT_EQ(problems(path), "");
  const auto tables = mdb_tables(path);
  EXPECT_TRUE(tables.count("Tableau deux é"));
  EXPECT_FALSE(tables.count("Table2"));
  EXPECT_EQ(jet_test::mdb_export(path, "Tableau deux é"), rows_before);
  {
    auto db = jet::Database::open(path);
    const jet::CatalogEntry* entry = db->catalog().find_table("Tableau deux é");
    EXPECT_EQ(entry->properties, properties_before);
    const jet::TableDef def = db->table("Tableau deux é").def();
    EXPECT_EQ(def.page, def_before.page);
    EXPECT_EQ(def.logical_indexes.size(), def_before.logical_indexes.size());
    int referring = 0;
    for (const auto& r : db->catalog().relationships()) {
      EXPECT_NE(r.referenced_table, "Table2");
      EXPECT_NE(r.table, "Table2");
      if (r.referenced_table == "Tableau deux é") ++referring;
    }
    EXPECT_GT(referring, 0);
  }
  {
    auto db = jet::WritableDatabase::open(path);
    // The relationship is still enforceable by its new name: deleting it finds both sides.
    jet::rename_table(*db, "tableau DEUX é", "Table2");
  }
  EXPECT_EQ(joined(jet::diff_files(original, path)), "");
}

TEST(AlterTableRename, NamesInUseOrInvalidAreRefusedWithoutChange) {
  jet_test::ScratchDir dir;
  const std::string path = jet_test::copy_fixture(dir, "queryTestV2000.mdb");
  const auto before = jet_test::read_file(path);
  {
    auto db = jet::WritableDatabase::open(path);
    const std::string table = db->catalog().tables(false).front()->name;
    const std::string other = db->catalog().tables(false).back()->name;
    const std::string query = db->catalog().queries().front()->name;
    ASSERT_NE(table, other);
    EXPECT_EQ(jet_test::error_of([&] { jet::rename_table(*db, table, other); }), 3010);
    EXPECT_EQ(jet_test::error_of([&] { jet::rename_table(*db, table, query); }), 3010);
    EXPECT_EQ(jet_test::error_of([&] { jet::rename_table(*db, table, "a.b"); }), 3125);
    EXPECT_EQ(jet_test::error_of([&] { jet::rename_table(*db, table, ""); }), 3125);
    EXPECT_EQ(jet_test::error_of([&] { jet::rename_table(*db, "Nowhere", "Elsewhere"); }), 3078);
    EXPECT_EQ(jet_test::error_of([&] { jet::rename_table(*db, "MSysObjects", "Objets"); }), 3251);
  }
  EXPECT_EQ(jet_test::read_file(path), before);
}

TEST(AlterTableRename, CaseOnlyChangeAndEngineMadeRelationships) {
  QUELIS_NEEDS_JET_PROGRAM();
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "related.mdb").string();
  make_related_database(path, 0, 0);
  {
    auto db = jet::WritableDatabase::open(path);
    jet::rename_table(*db, "Child", "CHILD");  // itself in another case
    jet::rename_table(*db, "Parent", "Parents");
    const auto relationships = db->catalog().relationships();
    for (const auto& r : relationships) {
      if (r.name == "ChildParent") {
        EXPECT_EQ(r.table, "CHILD");
        EXPECT_EQ(r.referenced_table, "Parents");
      } else {
        EXPECT_EQ(r.referenced_table, "CHILD");
      }
    }
    // The renamed relationship still removes cleanly from both sides.
    jet::delete_relationship(*db, "ChildParent");
  }
  EXPECT_EQ(problems(path), "");
  bool ok = false;
  jet_test::run(jet_test::jet_program() + " rename-table " + jet_test::shell_quote(path) + " Other Autre", &ok);
  EXPECT_TRUE(ok);
  EXPECT_TRUE(mdb_tables(path).count("Autre"));
  EXPECT_EQ(mdb_tables(path).count("Other"), 0u);
}

}  // namespace

}  // namespace alter_table_rename_test_cases
