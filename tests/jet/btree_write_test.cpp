// Entry insertion and removal on copies of Access-made indexes: the trees stay sound for
// jet verify and the cursor lists exactly the entries of a sorted model, through leaf and
// root splits, a tree growing levels, and removal back to an empty root.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "btree_test_support.h"
#include "jet/table/btree_build.h"
#include "jet/btree/btree_write.h"
#include "jet/base/error.h"
#include "jet/btree/index_key.h"
#include "jet/btree/index_page.h"
#include "jet/tools/index_verify.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace btree_write_test_cases {

namespace {

using btree_test::Entry;

void expect_clean(const std::vector<std::string>& problems) {
  for (const auto& p : problems) ADD_FAILURE() << p;
}


// Every index of the compound-key table: 512 rows, a two-level Access tree.
TEST(BtreeWrite, AccessTreeEmptiedAndRefilledInRandomOrder) {
  QUELIS_NEEDS_MDBTOOLS();
  auto pager = btree_test::load_fixture("compIndexTestV2000.mdb");
  jet::MemoryIndexPageStore store(*pager);
  const auto table = btree_test::open_table(*pager, "Table1");
  ASSERT_FALSE(table.def().indexes.empty());
  std::mt19937 random(20240611);
  for (const auto& index : table.def().indexes) {
    SCOPED_TRACE("index " + std::to_string(index.number));
    const auto original = btree_test::scan(*pager, table.def(), index);
    ASSERT_GT(original.size(), 500u);
    jet::BtreeWriter writer(store, table.def().page, index.root_page);

    auto order = original;
    std::shuffle(order.begin(), order.end(), random);
    for (std::size_t i = 0; i < order.size(); ++i) {
      ASSERT_TRUE(writer.remove(order[i].first, order[i].second)) << i;
      ASSERT_FALSE(writer.remove(order[i].first, order[i].second)) << "removed twice";
    }
    EXPECT_TRUE(btree_test::scan(*pager, table.def(), index).empty());
    const auto root = jet::read_index_page(*pager, index.root_page);
    EXPECT_TRUE(root.leaf) << "an emptied root is a leaf again";
    EXPECT_EQ(root.free_space, 3616);
    EXPECT_EQ(store.free_pages().size() > 0, true) << "emptied pages are freed";

    std::shuffle(order.begin(), order.end(), random);
    for (std::size_t i = 0; i < order.size(); ++i) {
      writer.insert(order[i].first, order[i].second);
      if (i % 97 == 0) expect_clean(btree_test::tree_problems(table, index));
    }
    EXPECT_EQ(btree_test::scan(*pager, table.def(), index), original);
    EXPECT_GE(btree_test::depth(*pager, index.root_page), 2u);
    expect_clean(jet::verify_index(table, index));
  }

  // mdbtools reads the written file as it read Access's.
  jet_test::ScratchDir dir;
  const auto written = dir.write("written.mdb", btree_test::image(*pager));
  const auto source = jet_test::fixture("compIndexTestV2000.mdb");
  for (const std::string tool : {"mdb-tables -1 ", "mdb-schema ", "mdb-export "}) {
    const std::string args = tool == "mdb-export " ? " Table1" : "";
    bool ok_written = false, ok_source = false;
    const auto got = jet_test::run(tool + jet_test::shell_quote(written) + args + " 2>&1", &ok_written);
    const auto want = jet_test::run(tool + jet_test::shell_quote(source) + args + " 2>&1", &ok_source);
    EXPECT_TRUE(ok_written && ok_source) << tool;
    EXPECT_EQ(got, want) << tool;
    EXPECT_FALSE(got.empty()) << tool;
  }
}

// Ascending inserts past the last entry fill the last leaf and start a new one with the
// newcomer alone, the shape of the Access-made tree of this fixture.
TEST(BtreeWrite, AscendingInsertsLeaveFullLeavesBehind) {
  auto pager = btree_test::load_fixture("compIndexTestV2000.mdb");
  jet::MemoryIndexPageStore store(*pager);
  const auto table = btree_test::open_table(*pager, "Table1");
  const jet::IndexDef* multi = nullptr;
  for (const auto& index : table.def().indexes) {
    if (!jet::read_index_page(*pager, index.root_page).leaf) multi = &index;
  }
  ASSERT_NE(multi, nullptr);
  const auto original = btree_test::scan(*pager, table.def(), *multi);
  jet::build_index_tree(store, table.def().page, multi->root_page, std::vector<jet::IndexNodeItem>{});
  jet::BtreeWriter writer(store, table.def().page, multi->root_page);
  for (const auto& [key, row] : original) writer.insert(key, row);

  const auto root = jet::read_index_page(*pager, multi->root_page);
  ASSERT_FALSE(root.leaf);
  const auto leaves = root.children();
  ASSERT_EQ(leaves.size(), 2u);
  const auto first = jet::read_index_page(*pager, leaves[0]);
  const auto last = jet::read_index_page(*pager, leaves[1]);
  EXPECT_LT(first.free_space, 600) << "the left leaf stays full";
  EXPECT_EQ(first.entries.size() + last.entries.size(), original.size());
  EXPECT_EQ(first.next, leaves[1]);
  EXPECT_EQ(last.prev, leaves[0]);
  expect_clean(jet::verify_index(table, *multi));
}

jet::IndexNodeItem text_entry(const std::string& text, std::uint32_t n) {
  jet::KeyWriter w;
  w.text(text);
  return {w.take(), {0x700000 + n / 200, static_cast<std::uint8_t>(n % 200)}, 0};
}

// Made-up entries of long accented texts grow the tree to three levels and shrink it back;
// at the end the index is empty and sound again.
TEST(BtreeWrite, LongTextKeysGrowAndShrinkTheTree) {
  // The long-text table of this fixture has no rows: every entry is made up.
  auto pager = btree_test::load_fixture("bigIndexTestV2000.mdb");
  jet::MemoryIndexPageStore store(*pager);
  const auto table = btree_test::open_table(*pager, "Table1");
  ASSERT_EQ(table.def().indexes.size(), 1u);
  const jet::IndexDef* text_index = &table.def().indexes.front();
  const auto original = btree_test::scan(*pager, table.def(), *text_index);
  jet::BtreeWriter writer(store, table.def().page, text_index->root_page);

  std::mt19937 random(7);
  std::vector<jet::IndexNodeItem> added;
  for (std::uint32_t n = 0; n < 3000; ++n) {
    std::string text = "Étude numéro " + std::to_string(random() % 1000) + " à Évreux, ";
    text += std::string(random() % 200, static_cast<char>('a' + n % 26));
    added.push_back(text_entry(text, n));
    writer.insert(added.back().key, added.back().row);
  }
  std::vector<Entry> model = original;
  for (const auto& e : added) model.emplace_back(e.key, e.row);
  EXPECT_EQ(btree_test::scan(*pager, table.def(), *text_index), btree_test::sorted(model));
  EXPECT_GE(btree_test::depth(*pager, text_index->root_page), 3u);
  expect_clean(btree_test::tree_problems(table, *text_index));

  std::shuffle(added.begin(), added.end(), random);
  for (std::size_t i = 0; i < added.size(); ++i) {
    ASSERT_TRUE(writer.remove(added[i].key, added[i].row));
    if (i % 500 == 0) expect_clean(btree_test::tree_problems(table, *text_index));
  }
  EXPECT_EQ(btree_test::scan(*pager, table.def(), *text_index), original);
  expect_clean(jet::verify_index(table, *text_index));
}

TEST(BtreeWrite, RefusalsWriteNothing) {
  auto pager = btree_test::load_fixture("indexTestV2000.mdb");
  jet::MemoryIndexPageStore store(*pager);
  const auto table = btree_test::open_table(*pager, "Table1");
  const auto& index = table.def().indexes.at(2);
  const auto before = btree_test::image(*pager);
  const auto entries = btree_test::scan(*pager, table.def(), index);
  ASSERT_FALSE(entries.empty());
  jet::BtreeWriter writer(store, table.def().page, index.root_page);

  EXPECT_FALSE(writer.remove(entries.front().first, {entries.front().second.page, 250}));
  auto bigger = entries.back().first;
  bigger.push_back(0xFF);
  EXPECT_FALSE(writer.remove(bigger, entries.back().second));
  try {
    writer.insert(entries.front().first, entries.front().second);
    ADD_FAILURE() << "the same entry added twice";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 3049);
  }
  EXPECT_EQ(btree_test::image(*pager), before);
}

}  // namespace

}  // namespace btree_write_test_cases
