// Index writes through the writable database's overlay: pages the tree takes are marked in
// the index's usage map and those it gives back are cleared; a rolled-back transaction
// leaves every page as it was.
#include <gtest/gtest.h>

#include <algorithm>

#include "btree_test_support.h"
#include "jet/table/btree_build.h"
#include "jet/btree/btree_write_overlay.h"
#include "jet/base/error.h"
#include "jet/btree/index_maintain.h"
#include "jet/tools/index_verify.h"
#include "jet/record/usage_map_write.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace btree_overlay_test_cases {

namespace {

TEST(BtreeOverlay, TreePagesFollowTheIndexUsageMapAndRollBack) {
  auto base = btree_test::load_fixture("compIndexTestV2000.mdb");
  const auto before = btree_test::image(*base);
  jet::OverlayPager pager(*base, nullptr);
  jet::PageAllocator allocator(pager);
  jet::OverlayIndexPageStore store(allocator);
  const auto table = btree_test::open_table(pager, "Table1");
  const auto& index = table.def().indexes.at(0);
  const auto original = btree_test::scan(pager, table.def(), index);
  std::vector<std::pair<jet::RowId, jet::Row>> rows;
  table.scan([&](jet::RowId id, const jet::Row& row) {
    rows.emplace_back(id, row);
    return true;
  });

  pager.begin();
  jet::IndexMaintainer maintainer(store, table.def());
  // Rows removed from the index and added back out of order: pages freed, then split anew.
  for (const auto& [id, row] : rows) maintainer.row_deleted(id, row);
  const auto map = jet::RowId::from_pointer(index.usage_map);
  EXPECT_EQ(jet::marked_pages(pager, map, pager.page_count()),
            (std::vector<jet::PageNumber>{index.root_page}));
  for (std::size_t i = 0; i < rows.size(); i += 2) maintainer.row_inserted(rows[i].first, rows[i].second);
  for (std::size_t i = 1; i < rows.size(); i += 2) maintainer.row_inserted(rows[i].first, rows[i].second);

  EXPECT_EQ(btree_test::scan(pager, table.def(), index), original);
  for (const auto& p : jet::verify_index(table, index)) ADD_FAILURE() << p;
  auto tree = jet::index_tree_pages(pager, index.root_page);
  std::sort(tree.begin(), tree.end());
  EXPECT_GT(tree.size(), 2u);
  EXPECT_EQ(jet::marked_pages(pager, map, pager.page_count()), tree);
  for (auto p : tree) EXPECT_FALSE(allocator.is_free(p)) << p;

  pager.rollback();
  EXPECT_EQ(btree_test::image(pager), before);
  EXPECT_EQ(btree_test::image(*base), before);

  // Writing outside a transaction is refused before any page changes.
  try {
    maintainer.row_deleted(rows[0].first, rows[0].second);
    ADD_FAILURE() << "write outside a transaction accepted";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 3251);
  }
  EXPECT_EQ(btree_test::image(pager), before);
}

}  // namespace

}  // namespace btree_overlay_test_cases
