// Bulk build: every index of the Access-made index fixtures rebuilt from its table's rows
// lists the same entries as Access's tree and is sound; a large build has several levels,
// frees the pages of the tree it replaces, and refuses entries out of order.
#include <gtest/gtest.h>

#include "btree_test_support.h"
#include "jet/table/btree_build.h"
#include "jet/btree/btree_write.h"
#include "jet/catalog/catalog.h"
#include "jet/base/error.h"
#include "jet/btree/index_key.h"
#include "jet/btree/index_page.h"
#include "jet/tools/index_verify.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace btree_build_test_cases {

namespace {

TEST(BtreeBuild, EveryFixtureIndexRebuildsToTheSameEntries) {
  std::size_t indexes = 0;
  for (const char* name : {"indexTestV2000.mdb", "compIndexTestV2000.mdb", "bigIndexTestV2000.mdb",
                           "indexCursorTestV2000.mdb", "testIndexPropertiesV2000.mdb"}) {
    auto pager = btree_test::load_fixture(name);
    jet::MemoryIndexPageStore store(*pager);
    const jet::Catalog catalog(*pager);
    for (const auto* entry : catalog.tables(false)) {
      const auto table = btree_test::open_table(*pager, entry->name);
      for (const auto& index : table.def().indexes) {
        SCOPED_TRACE(std::string(name) + " " + entry->name + " index " + std::to_string(index.number));
        const auto original = btree_test::scan(*pager, table.def(), index);
        jet::rebuild_index(store, table, index);
        EXPECT_EQ(btree_test::scan(*pager, table.def(), index), original);
        for (const auto& p : jet::verify_index(table, index)) ADD_FAILURE() << p;
        ++indexes;
      }
    }
  }
  EXPECT_GE(indexes, 20u);
}

TEST(BtreeBuild, LargeBuildHasLevelsAndReplacesTheOldTree) {
  auto pager = btree_test::load_fixture("bigIndexTestV2000.mdb");
  jet::MemoryIndexPageStore store(*pager);
  const auto table = btree_test::open_table(*pager, "Table1");
  const auto& index = table.def().indexes.at(0);
  std::vector<jet::IndexNodeItem> items;
  for (std::uint32_t i = 0; i < 20000; ++i) {
    jet::KeyWriter w;
    w.text("Dossier n° " + std::to_string(100000 + i) + " — Saint-Étienne " + std::string(i % 90, 'x'));
    items.push_back({w.take(), {0x200000 + i / 200, static_cast<std::uint8_t>(i % 200)}, 0});
  }
  std::sort(items.begin(), items.end(), [](const auto& a, const auto& b) {
    return jet::compare_entries(a.key, a.row, b.key, b.row) < 0;
  });
  jet::build_index_tree(store, table.def().page, index.root_page, items);
  const auto pages = jet::index_tree_pages(*pager, index.root_page);
  auto root = jet::read_index_page(*pager, index.root_page);
  ASSERT_FALSE(root.leaf);
  EXPECT_FALSE(jet::read_index_page(*pager, root.children().front()).leaf) << "three levels";
  const auto scanned = btree_test::scan(*pager, table.def(), index);
  ASSERT_EQ(scanned.size(), items.size());
  for (std::size_t i = 0; i < items.size(); ++i) ASSERT_EQ(scanned[i].first, items[i].key) << i;
  for (const auto& p : btree_test::tree_problems(table, index)) ADD_FAILURE() << p;

  // Written entries after a bulk build go through the ordinary writer.
  jet::BtreeWriter writer(store, table.def().page, index.root_page);
  EXPECT_TRUE(writer.remove(items[5000].key, items[5000].row));
  EXPECT_FALSE(writer.remove(items[5000].key, items[5000].row));

  // Rebuilding empty frees every page but the root, which is an empty leaf again.
  const auto freed_before = store.free_pages().size();
  jet::build_index_tree(store, table.def().page, index.root_page, std::vector<jet::IndexNodeItem>{});
  EXPECT_EQ(store.free_pages().size() - freed_before, pages.size() - 1);
  root = jet::read_index_page(*pager, index.root_page);
  EXPECT_TRUE(root.leaf);
  EXPECT_TRUE(root.entries.empty());
  for (const auto& p : jet::verify_index(table, index)) ADD_FAILURE() << p;

  std::swap(items[0], items[1]);
  const auto before = btree_test::image(*pager);
  try {
    jet::build_index_tree(store, table.def().page, index.root_page, items);
    ADD_FAILURE() << "entries out of order accepted";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 3049);
  }
  EXPECT_EQ(btree_test::image(*pager), before);
}

}  // namespace

}  // namespace btree_build_test_cases
