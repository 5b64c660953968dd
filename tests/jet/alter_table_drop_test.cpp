// Dropping tables: on copies of an Access-made file holding relationships and on databases
// the engine made. Every page the table held goes back to the global map, its relationships
// leave both sides, the other tables keep their rows, and the freed pages are used again.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "alter_table_support.h"
#include "jet/ddl/alter_table.h"
#include "jet/catalog/catalog_write.h"
#include "jet/base/error.h"
#include "jet/base/names.h"
#include "jet/storage/transaction.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace alter_table_drop_test_cases {

namespace {

using namespace alter_table_test;

bool names_table(const jet::Relationship& r, const std::string& table) {
  return jet::same_name(r.table, table) || jet::same_name(r.referenced_table, table);
}

jet::PageNumber definition_page(const std::string& path, const std::string& table) {
  auto db = jet::Database::open(path);
  return db->catalog().find_table(table)->table_page();
}

TEST(AlterTableDrop, AccessFileWithRelationshipsGivesBackEveryPage) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = jet_test::copy_fixture(dir, "indexTestV2000.mdb");
  const std::set<std::string> tables_before = mdb_tables(path);
  ASSERT_TRUE(tables_before.count("Table2"));
  const jet::PageNumber dropped = definition_page(path, "Table2");
  const std::set<jet::PageNumber> owned = pages_of_table(path, dropped);
  const std::set<jet::PageNumber> orphans_before = unaccounted_pages(path);
  std::map<std::string, std::string> exports;
  for (const std::string& t : tables_before)
    if (t != "Table2") exports[t] = jet_test::mdb_export(path, t);
  const auto size_before = std::filesystem::file_size(path);
  {
    auto db = jet::WritableDatabase::open(path);
    const auto relationships = db->catalog().relationships();
    ASSERT_TRUE(std::any_of(relationships.begin(), relationships.end(), [](const auto& r) { return names_table(r, "Table2"); }));
    jet::drop_table(*db, "table2");  // names compare without regard to case
  }
  EXPECT_EQ(problems(path), "");
  std::set<std::string> expected = tables_before;
  expected.erase("Table2");
  EXPECT_EQ(mdb_tables(path), expected);
  bool ok = false;
  const std::string schema = jet_test::run("mdb-schema " + jet_test::shell_quote(path), &ok);
  EXPECT_TRUE(ok);
  EXPECT_EQ(schema.find("[Table2]"), std::string::npos);
  for (const auto& [t, csv] : exports) EXPECT_EQ(jet_test::mdb_export(path, t), csv) << t;

  auto db = jet::Database::open(path);
  for (const auto& r : db->catalog().relationships()) EXPECT_FALSE(names_table(r, "Table2")) << r.name;
  // No foreign key of the remaining tables points at the dropped definition any more.
  for (const jet::CatalogEntry* e : db->catalog().tables(false)) {
    const jet::TableDef def = db->table(e->name).def();
    for (const auto& li : def.logical_indexes)
      EXPECT_FALSE(li.kind == jet::IndexKind::ForeignKey && li.related_table_page == dropped) << e->name << "." << li.name;
  }
  EXPECT_EQ(db->catalog().find_object("Table2Table1", static_cast<std::int16_t>(jet::ObjectType::Relationship)), nullptr);
  // Every page it owned is free now; nothing new is left unexplained.
  ASSERT_FALSE(owned.empty());
  const std::set<jet::PageNumber> free = free_pages(path);
  for (jet::PageNumber p : owned) EXPECT_TRUE(free.count(p)) << "page " << p;
  EXPECT_TRUE(pages_of_table(path, dropped).empty());
  for (jet::PageNumber p : unaccounted_pages(path)) EXPECT_TRUE(orphans_before.count(p)) << "page " << p;
  EXPECT_EQ(std::filesystem::file_size(path), size_before);
}

TEST(AlterTableDrop, EngineMadeTablesLeaveNoPageBehindAndTheSpaceIsReused) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "related.mdb").string();
  make_related_database(path, 0, 0);
  const std::set<jet::PageNumber> long_values_before = long_value_pages(path);
  const jet::PageNumber child = definition_page(path, "Child");
  ASSERT_EQ(unaccounted_pages(path), std::set<jet::PageNumber>{});
  std::string other_before = jet_test::mdb_export(path, "Other");
  std::string parent_before = jet_test::mdb_export(path, "Parent");
  {
    auto db = jet::WritableDatabase::open(path);
    jet::drop_table(*db, "Child");  // referenced by GrandChild, referring to Parent
    EXPECT_TRUE(db->catalog().relationships().empty());
    EXPECT_EQ(db->catalog().find_table("Child"), nullptr);
  }
  EXPECT_EQ(problems(path), "");
  EXPECT_EQ(unaccounted_pages(path), std::set<jet::PageNumber>{});
  EXPECT_TRUE(pages_of_table(path, child).empty());
  // Child's long values (a chain of rows and a single row) had pages of their own.
  const std::set<jet::PageNumber> long_values_after = long_value_pages(path);
  EXPECT_LT(long_values_after.size(), long_values_before.size());
  EXPECT_EQ(jet_test::mdb_export(path, "Other"), other_before);
  EXPECT_EQ(jet_test::mdb_export(path, "Parent"), parent_before);
  EXPECT_EQ(mdb_tables(path), (std::set<std::string>{"GrandChild", "Other", "Parent"}));

  // The same table again, same rows: it fits in the pages given back.
  const auto size = std::filesystem::file_size(path);
  {
    auto db = jet::WritableDatabase::open(path);
    jet::TableDesign again{"Child2", {}, {}, {}};
    again.columns.resize(3);
    again.columns[0].name = "Id";
    again.columns[0].type = jet::ColumnType::Long;
    again.columns[1].name = "ParentId";
    again.columns[1].type = jet::ColumnType::Long;
    again.columns[2].name = "Body";
    again.columns[2].type = jet::ColumnType::Memo;
    db->create_table(again);
    insert(*db, "Child2", {{"Id", jet::Value::long_(10)}, {"Body", jet::Value::text(long_text('k', 9000))}});
    insert(*db, "Child2", {{"Id", jet::Value::long_(12)}, {"Body", jet::Value::text(long_text('m', 700))}});
  }
  EXPECT_EQ(std::filesystem::file_size(path), size);
  EXPECT_EQ(problems(path), "");
  EXPECT_EQ(unaccounted_pages(path), std::set<jet::PageNumber>{});
}

TEST(AlterTableDrop, RefusalsAndRollbackLeaveTheFileAsItWas) {
  jet_test::ScratchDir dir;
  const std::string path = jet_test::copy_fixture(dir, "indexTestV2000.mdb");
  const auto before = jet_test::read_file(path);
  {
    auto db = jet::WritableDatabase::open(path);
    EXPECT_EQ(jet_test::error_of([&] { jet::drop_table(*db, "NoSuchTable"); }), 3078);
    EXPECT_EQ(jet_test::error_of([&] { jet::drop_table(*db, "MSysObjects"); }), 3251);
    EXPECT_EQ(jet_test::error_of([&] { jet::drop_table(*db, "MSysRelationships"); }), 3251);
    jet::Transaction transaction(db->pager());
    jet::drop_table(*db, "Table1");
    jet::drop_table(*db, "Table2");
    EXPECT_EQ(db->catalog().find_table("Table1"), nullptr);
    transaction.rollback();
  }
  EXPECT_EQ(jet_test::read_file(path), before);
}

TEST(AlterTableDrop, DropTableCommand) {
  QUELIS_NEEDS_JET_PROGRAM();
  jet_test::ScratchDir dir;
  const std::string path = jet_test::copy_fixture(dir, "indexTestV2000.mdb");
  bool ok = false;
  const std::string out = jet_test::run(jet_test::jet_program() + " drop-table " + jet_test::shell_quote(path) + " Table3", &ok);
  EXPECT_TRUE(ok) << out;
  EXPECT_FALSE(mdb_tables(path).count("Table3"));
  EXPECT_EQ(problems(path), "");
  jet_test::run(jet_test::jet_program() + " drop-table " + jet_test::shell_quote(path) + " Table3 2>/dev/null", &ok);
  EXPECT_FALSE(ok);
}

}  // namespace

}  // namespace alter_table_drop_test_cases
