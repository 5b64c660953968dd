// Rows written by the table writer with the index hook: every index of the table follows
// the inserts, updates and removals, and a duplicate key is refused with nothing written.
#include <gtest/gtest.h>

#include "btree_test_support.h"
#include "jet/base/error.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/tools/index_verify.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace btree_hook_test_cases {

namespace {

TEST(BtreeHook, TableWritesKeepEveryIndexSound) {
  auto base = btree_test::load_fixture("testIndexPropertiesV2000.mdb");
  jet::OverlayPager pager(*base, nullptr);
  jet::PageAllocator allocator(pager);
  jet::TableIndexHook hook(allocator);
  const auto before = btree_test::open_table(pager, "TableUnique1_temp");
  jet::TableWriter writer(pager, allocator, "TableUnique1_temp", before.def().page, {}, &hook);
  const auto at_row = before.def().find_column("row")->definition_order;
  const auto at_data = before.def().find_column("data")->definition_order;
  std::vector<jet::Row> rows;
  before.scan([&](jet::RowId, const jet::Row& r) { rows.push_back(r); return true; });
  ASSERT_FALSE(rows.empty());

  auto sound = [&](std::size_t expected_rows) {
    const auto table = btree_test::open_table(pager, "TableUnique1_temp");
    EXPECT_EQ(table.count_rows(), expected_rows);
    for (const auto& index : table.def().indexes) {
      for (const auto& p : jet::verify_index(table, index)) ADD_FAILURE() << p;
      EXPECT_EQ(btree_test::scan(pager, table.def(), index).size(), expected_rows);
    }
  };

  std::vector<jet::RowId> added;
  for (int i = 0; i < 300; ++i) {
    jet::Row r = rows[0];
    r[at_row] = jet::Value::text("ligne ajoutée " + std::to_string(i));
    r[at_data] = jet::Value::text("donnée é" + std::to_string(i * 7));
    added.push_back(writer.insert(r));
  }
  sound(rows.size() + 300);

  const auto image = btree_test::image(pager);
  try {
    writer.insert(rows[0]);
    ADD_FAILURE() << "duplicate primary key accepted";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 3022);
  }
  EXPECT_EQ(btree_test::image(pager), image);

  jet::Row changed = rows[0];
  changed[at_row] = jet::Value::text("ligne modifiée");
  changed[at_data] = jet::Value::text("zèbre");
  writer.update(added[10], changed);
  for (std::size_t i = 0; i < added.size(); i += 3) writer.remove(added[i]);
  sound(rows.size() + 200);
}

}  // namespace

}  // namespace btree_hook_test_cases
