// Catalog writes on a new database and on a copy of an Access-made one: rows added,
// changed, renamed and removed with their permissions, properties replaced, object ids,
// all visible to mdbtools and kept consistent with MSysObjects' indexes.
#include <gtest/gtest.h>

#include <functional>

#include "jet/catalog/catalog_write.h"
#include "jet/db/create_database.h"
#include "jet/base/error.h"
#include "jet/tools/index_verify.h"
#include "jet/storage/transaction.h"
#include "jet/tools/verify.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace write_catalog_test_cases {

namespace {

using jet_test::error_of;
std::vector<std::string> problems(const std::string& path) {
  auto db = jet::Database::open(path);
  return jet::verify_database(*db, jet::verify_indexes);
}

std::size_t ace_rows(const std::string& path, std::int32_t id) {
  const std::string csv = jet_test::run("mdb-export " + jet_test::shell_quote(path) + " MSysACEs");
  std::size_t n = 0;
  const std::string key = "\n" + std::to_string(id) + ",";
  for (std::size_t at = csv.find(key); at != std::string::npos; at = csv.find(key, at + 1)) ++n;
  return n;
}

jet::ObjectRow query_row(std::int32_t id, const std::string& name) {
  jet::ObjectRow row;
  row.id = id;
  row.name = name;
  row.type = static_cast<std::int16_t>(jet::ObjectType::Query);
  row.created = 45000.25;
  return row;
}

TEST(WriteCatalog, ObjectsComeAndGoWithTheirPermissions) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "c.mdb").string();
  std::int32_t first = 0, second = 0;
  {
    auto db = jet::create_database(path);
    jet::CatalogWriter catalog(db->pager(), db->allocator());
    jet::Transaction tx(db->pager());
    // Access's containers took the first ids of the counter.
    first = catalog.next_object_id();
    EXPECT_EQ(static_cast<std::uint32_t>(first), 0x80000006u);
    catalog.add(query_row(first, "Requête un"));
    catalog.add_access(first, jet::default_access(jet::ObjectType::Query));
    second = catalog.next_object_id();
    EXPECT_EQ(second, first + 1);
    catalog.add(query_row(second, "Requête deux"));
    catalog.add_access(second, jet::default_access(jet::ObjectType::Query));
    // Same name under the same parent: refused, nothing added.
    EXPECT_EQ(error_of([&] { catalog.add(query_row(second + 1, "REQUÊTE UN")); }), 3022);
    EXPECT_EQ(error_of([&] { catalog.rename(second, "requête un"); }), 3022);
    catalog.rename(second, "Requête renommée");
    jet::PropertySet props;
    props.object_block().set("Description", jet::Value::text("Une requête"));
    catalog.set_properties(first, props);
    const auto stored = catalog.find(first);
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->created, 45000.25);
    EXPECT_EQ(jet::parse_properties(stored->properties).blocks, props.blocks);
    EXPECT_EQ(error_of([&] { catalog.remove(0x7FFFFFF0); }), 3265);
    tx.commit();
  }
  EXPECT_EQ(problems(path), std::vector<std::string>{});
  EXPECT_EQ(ace_rows(path, first), 3u);
  {
    auto db = jet::Database::open(path);
    EXPECT_NE(db->catalog().find_object("Requête renommée", 5), nullptr);
    EXPECT_EQ(db->catalog().find_object("Requête deux", 5), nullptr);
    EXPECT_EQ(db->catalog().find_object("Requête un", 5)->property_set().object()->find("Description")->value,
              jet::Value::text("Une requête"));
  }
  {
    auto db = jet::WritableDatabase::open(path);
    jet::CatalogWriter catalog(db->pager(), db->allocator());
    catalog.remove(first);  // autocommitted on its own
  }
  EXPECT_EQ(ace_rows(path, first), 0u);
  EXPECT_EQ(ace_rows(path, second), 3u);
  EXPECT_EQ(problems(path), std::vector<std::string>{});
  auto db = jet::Database::open(path);
  EXPECT_EQ(db->catalog().find_object("Requête un", 5), nullptr);
}

TEST(WriteCatalog, AccessMadeCatalogTakesNewObjectsAndStaysSound) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = dir.write("q.mdb", jet_test::read_file(jet_test::fixture("queryTestV2000.mdb")));
  const std::string tables_before = jet_test::run("mdb-export " + jet_test::shell_quote(path) + " Table1");
  {
    auto db = jet::WritableDatabase::open(path);
    jet::CatalogWriter catalog(db->pager(), db->allocator());
    jet::Transaction tx(db->pager());
    const std::int32_t id = catalog.next_object_id();
    // Past every query Access numbered.
    for (const auto& e : db->catalog().entries())
      if (static_cast<std::uint32_t>(e.id) >= 0x80000000u) {
        EXPECT_GT(id, e.id);
      }
    catalog.add(query_row(id, "Nouvelle"));
    auto select = catalog.find(jet::object_ids::Tables, "SelectQuery");
    ASSERT_TRUE(select);
    select->flags = 0;
    catalog.update(*select);
    tx.commit();
    db->reload_catalog();
    EXPECT_NE(db->catalog().find_object("Nouvelle", 5), nullptr);
  }
  EXPECT_EQ(problems(path), std::vector<std::string>{});
  const std::string objects = jet_test::run("mdb-export " + jet_test::shell_quote(path) + " MSysObjects");
  EXPECT_NE(objects.find(",\"Nouvelle\",5,"), std::string::npos);
  EXPECT_EQ(jet_test::run("mdb-export " + jet_test::shell_quote(path) + " Table1"), tables_before);
}

TEST(WriteCatalog, FailedStatementInsideATransactionLeavesNoTrace) {
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "c.mdb").string();
  jet::create_database(path);
  const auto before = jet_test::read_file(path);
  auto db = jet::WritableDatabase::open(path);
  jet::CatalogWriter catalog(db->pager(), db->allocator());
  {
    jet::Transaction tx(db->pager());
    catalog.add(query_row(catalog.next_object_id(), "Gardée"));
    const auto dirty = db->pager().dirty_pages();
    EXPECT_EQ(error_of([&] { catalog.add(query_row(catalog.next_object_id(), "gardée")); }), 3022);
    EXPECT_EQ(db->pager().dirty_pages(), dirty);
    EXPECT_TRUE(catalog.find(jet::object_ids::Tables, "Gardée"));
    // The transaction is rolled back: the file is as created, byte for byte.
  }
  EXPECT_FALSE(catalog.find(jet::object_ids::Tables, "Gardée"));
  db.reset();
  EXPECT_EQ(jet_test::read_file(path), before);
}

}  // namespace

}  // namespace write_catalog_test_cases
