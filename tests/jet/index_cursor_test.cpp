// The index cursor over small trees built in memory: order both ways across a tail child,
// seeks, and damaged trees (cycles, stray pointers) that must end in error 3049.
#include <gtest/gtest.h>

#include "index_test_pages.h"
#include "jet/base/error.h"
#include "jet/btree/index_cursor.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace index_cursor_test_cases {

namespace {

using namespace index_test;

struct Tree {
  MemoryPager pager{8};
  jet::TableDef table;
  jet::IndexDef index;

  Tree() {
    jet::ColumnDef n;
    n.name = "n";
    n.type = jet::ColumnType::Long;
    n.number = 0;
    table.page = 2;
    table.columns.push_back(n);
    index.root_page = 3;
    index.columns.push_back({0, true});
  }
};

// Root 3 -> leaf 4 (its last entry repeated in the root) and tail leaf 5. Key 5 appears in
// both leaves, so ties must be ordered by row id across pages.
Tree sample_tree() {
  Tree t;
  t.pager.bytes(4) = index_page(true, {leaf_entry(long_key(1), 10, 1), leaf_entry(long_key(2), 10, 2),
                                       leaf_entry(long_key(3), 10, 3), leaf_entry(long_key(5), 10, 5)},
                                1, {2, 0, 5, 0});
  t.pager.bytes(5) = index_page(true, {leaf_entry(long_key(5), 11, 0), leaf_entry(long_key(6), 11, 1),
                                       leaf_entry(long_key(9), 11, 2)},
                                0, {2, 4, 0, 0});
  t.pager.bytes(3) = index_page(false, {node_entry(long_key(5), 10, 5, 4)}, 0, {2, 0, 0, 5});
  return t;
}

std::vector<std::int32_t> keys_forward(jet::IndexCursor& c) {
  std::vector<std::int32_t> out;
  while (c.next()) {
    jet::KeyReader r(c.entry().key);
    out.push_back(std::get<std::int32_t>(r.next(c.columns()[0]).data));
  }
  return out;
}

TEST(IndexCursor, ScansBothWaysThroughTheTailChild) {
  Tree t = sample_tree();
  jet::IndexCursor c(t.pager, t.table, t.index);
  EXPECT_EQ(keys_forward(c), (std::vector<std::int32_t>{1, 2, 3, 5, 5, 6, 9}));
  EXPECT_FALSE(c.next());  // stays after the last
  std::vector<jet::RowId> back;
  while (c.previous()) back.push_back(c.row_id());
  EXPECT_EQ(back, (std::vector<jet::RowId>{{11, 2}, {11, 1}, {11, 0}, {10, 5}, {10, 3}, {10, 2}, {10, 1}}));
  EXPECT_FALSE(c.on_entry());
  EXPECT_TRUE(c.next());  // from before the first
  EXPECT_EQ(c.row_id(), (jet::RowId{10, 1}));
}

TEST(IndexCursor, SeeksFindTheFirstEntryNotBeforeTheKey) {
  Tree t = sample_tree();
  jet::IndexCursor c(t.pager, t.table, t.index);
  ASSERT_TRUE(c.seek(long_key(5)));
  EXPECT_EQ(c.row_id(), (jet::RowId{10, 5}));
  ASSERT_TRUE(c.next());
  EXPECT_EQ(c.row_id(), (jet::RowId{11, 0}));

  ASSERT_TRUE(c.seek(long_key(4)));  // missing key: the next one
  EXPECT_EQ(c.row_id(), (jet::RowId{10, 5}));
  EXPECT_FALSE(c.seek_exact(long_key(4)));
  EXPECT_TRUE(c.seek_exact(long_key(9)));
  EXPECT_EQ(c.row_id(), (jet::RowId{11, 2}));

  ASSERT_TRUE(c.seek_entry(long_key(5), {11, 0}));  // the tie on the tail leaf
  EXPECT_EQ(c.row_id(), (jet::RowId{11, 0}));
  ASSERT_TRUE(c.seek_entry(long_key(5), {10, 9}));
  EXPECT_EQ(c.row_id(), (jet::RowId{11, 0}));

  ASSERT_TRUE(c.seek(std::vector<jet::Value>{jet::Value::long_(6)}));
  EXPECT_EQ(c.row_id(), (jet::RowId{11, 1}));
  ASSERT_TRUE(c.seek(std::vector<jet::Value>{jet::Value::integer(-3)}));  // converted to Long
  EXPECT_EQ(c.row_id(), (jet::RowId{10, 1}));

  EXPECT_FALSE(c.seek(long_key(10)));
  EXPECT_FALSE(c.on_entry());
  ASSERT_TRUE(c.previous());  // after a failed seek: positioned after the last
  EXPECT_EQ(c.row_id(), (jet::RowId{11, 2}));
}

TEST(IndexCursor, NoCurrentEntryOutsideTheIndex) {
  Tree t = sample_tree();
  jet::IndexCursor c(t.pager, t.table, t.index);
  try {
    c.entry();
    ADD_FAILURE() << "entry before the first";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 3021);
  }
  t.pager.bytes(6) = index_page(true, {});
  t.index.root_page = 6;
  jet::IndexCursor empty(t.pager, t.table, t.index);
  EXPECT_FALSE(empty.next());
  EXPECT_FALSE(empty.previous());
  EXPECT_FALSE(empty.seek(long_key(1)));
}

void expect_damaged(Tree& t) {
  jet::IndexCursor c(t.pager, t.table, t.index);
  auto run = [&](auto&& step) {
    try {
      for (int i = 0; i < 100000; ++i) {
        if (!step()) return false;
      }
    } catch (const jet::Error& e) {
      return e.number() == 3049;
    }
    return false;
  };
  EXPECT_TRUE(run([&] { return c.next(); })) << "forward";
  c.after_last();
  EXPECT_TRUE(run([&] { return c.previous(); })) << "backward";
}

TEST(IndexCursor, DamagedTreesEndInError3049) {
  {
    Tree t = sample_tree();
    t.pager.bytes(3) = index_page(false, {node_entry(long_key(5), 10, 5, 4)}, 0, {2, 0, 0, 3});  // tail = itself
    expect_damaged(t);
  }
  {
    Tree t = sample_tree();  // 3 -> 6 -> 3
    t.pager.bytes(6) = index_page(false, {node_entry(long_key(5), 10, 5, 3)});
    t.pager.bytes(3) = index_page(false, {node_entry(long_key(5), 10, 5, 6)});
    expect_damaged(t);
  }
  {
    Tree t = sample_tree();
    t.pager.bytes(3) = index_page(false, {node_entry(long_key(5), 10, 5, 99)});  // beyond the file
    expect_damaged(t);
  }
  {
    Tree t = sample_tree();
    t.pager.bytes(3) = index_page(false, {});  // intermediate page without children
    expect_damaged(t);
  }
  {
    Tree t = sample_tree();
    t.pager.bytes(3)[0] = 0x01;  // a data page where the root should be
    expect_damaged(t);
  }
}

}  // namespace

}  // namespace index_cursor_test_cases
