// Index maintenance for row writes on copies of Access-made tables: rows deleted and added
// back, changed and changed back, leave every index as Access wrote it; unique and primary
// key violations (3022) and texts without a known key are refused with nothing written;
// ignore-nulls indexes leave out rows whose indexed columns are all Null.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>

#include "btree_test_support.h"
#include "jet/base/error.h"
#include "jet/btree/index_maintain.h"
#include "jet/tools/index_verify.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace btree_maintain_test_cases {

namespace {

struct Fixture {
  explicit Fixture(const std::string& file, const std::string& name)
      : pager(btree_test::load_fixture(file)),
        store(*pager),
        table(btree_test::open_table(*pager, name)),
        maintainer(store, table.def()) {}

  std::vector<std::pair<jet::RowId, jet::Row>> rows() const {
    std::vector<std::pair<jet::RowId, jet::Row>> out;
    table.scan([&](jet::RowId id, const jet::Row& row) {
      out.emplace_back(id, row);
      return true;
    });
    return out;
  }
  std::vector<std::vector<btree_test::Entry>> scans() {
    std::vector<std::vector<btree_test::Entry>> out;
    for (const auto& index : table.def().indexes) out.push_back(btree_test::scan(*pager, table.def(), index));
    return out;
  }
  void expect_sound() {
    for (const auto& index : table.def().indexes) {
      for (const auto& p : jet::verify_index(table, index)) ADD_FAILURE() << p;
    }
  }
  std::size_t column(const std::string& name) const {
    return table.def().find_column(name)->definition_order;
  }

  std::unique_ptr<jet::MemoryPager> pager;
  jet::MemoryIndexPageStore store;
  jet::Table table;
  jet::IndexMaintainer maintainer;
};

void expect_error(int number, const std::function<void()>& write) {
  try {
    write();
    ADD_FAILURE() << "accepted; error " << number << " expected";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), number) << e.what();
  }
}

TEST(BtreeMaintain, RowsDeletedAndAddedBackRestoreEveryIndex) {
  for (const auto& [file, name] : std::vector<std::pair<std::string, std::string>>{
           {"testIndexPropertiesV2000.mdb", "TableUnique2_temp"},
           {"testIndexPropertiesV2000.mdb", "TableIgnoreNulls2"},
           {"compIndexTestV2000.mdb", "Table1"}}) {
    SCOPED_TRACE(file + " " + name);
    Fixture f(file, name);
    const auto original = f.scans();
    const auto rows = f.rows();
    ASSERT_FALSE(rows.empty());
    for (const auto& [id, row] : rows) f.maintainer.row_deleted(id, row);
    for (const auto& s : f.scans()) EXPECT_TRUE(s.empty());
    for (auto it = rows.rbegin(); it != rows.rend(); ++it) f.maintainer.row_inserted(it->first, it->second);
    EXPECT_EQ(f.scans(), original);
    f.expect_sound();
  }
}

TEST(BtreeMaintain, DuplicateKeysAreRefusedWithNothingWritten) {
  Fixture f("testIndexPropertiesV2000.mdb", "TableUnique1_temp");
  const auto rows = f.rows();
  ASSERT_GE(rows.size(), 2u);
  const auto before = btree_test::image(*f.pager);
  const jet::RowId fresh{rows.front().first.page, 200};

  // The same row again: the primary key (and the unique data index) refuse it.
  expect_error(3022, [&] { f.maintainer.check_insert(rows[0].second); });
  expect_error(3022, [&] { f.maintainer.row_inserted(fresh, rows[0].second); });
  // A new primary key but another row's data value.
  auto copy = rows[0].second;
  copy[f.column("row")] = jet::Value::text("zz-nouvelle");
  expect_error(3022, [&] { f.maintainer.row_inserted(fresh, copy); });
  // Changing a row to another row's key.
  auto changed = rows[1].second;
  changed[f.column("data")] = rows[0].second[f.column("data")];
  expect_error(3022, [&] { f.maintainer.row_updated(rows[1].first, rows[1].second, rows[1].first, changed); });
  // A text whose key is unknown.
  copy[f.column("data")] = jet::Value::text("donnée \xF0\x9F\x98\x80");
  expect_error(static_cast<int>(jet::ErrorCode::UnsupportedKeyCharacter),
               [&] { f.maintainer.row_inserted(fresh, copy); });
  EXPECT_EQ(btree_test::image(*f.pager), before);

  // A row may keep its own key; Null keys of a unique index never clash.
  EXPECT_NO_THROW(f.maintainer.check_update(rows[0].first, rows[0].second, rows[0].second));
  copy[f.column("data")] = jet::Value::null();
  f.maintainer.row_inserted(fresh, copy);
  copy[f.column("row")] = jet::Value::text("zz-autre");
  EXPECT_NO_THROW(f.maintainer.row_inserted({fresh.page, 201}, copy));
}

TEST(BtreeMaintain, UpdatesMoveEntriesAndIgnoreNullsLeavesRowsOut) {
  Fixture f("testIndexPropertiesV2000.mdb", "TableIgnoreNulls1");
  const auto original = f.scans();
  const auto rows = f.rows();
  const auto& [id, row] = rows.at(3);
  const jet::IndexDef* ignoring = nullptr;
  std::size_t ignoring_at = 0;
  for (std::size_t i = 0; i < f.table.def().indexes.size(); ++i) {
    if (f.table.def().indexes[i].ignore_nulls()) ignoring = &f.table.def().indexes[(ignoring_at = i)];
  }
  ASSERT_NE(ignoring, nullptr);

  // Data set to Null: the ignore-nulls index drops the row, the others keep it.
  auto nulled = row;
  nulled[f.column("data")] = jet::Value::null();
  const bool had_entry = !row[f.column("data")].is_null();
  f.maintainer.row_updated(id, row, id, nulled);
  auto after = f.scans();
  EXPECT_EQ(after[ignoring_at].size() + (had_entry ? 1 : 0), original[ignoring_at].size());
  for (const auto& e : after[ignoring_at]) EXPECT_NE(e.second, id);

  // A new value and a move to another row id: the entry follows.
  auto renamed = row;
  renamed[f.column("data")] = jet::Value::text("Ébauche déplacée");
  const jet::RowId moved{id.page, 180};
  f.maintainer.row_updated(id, nulled, moved, renamed);
  after = f.scans();
  for (const auto& s : after) {
    EXPECT_TRUE(std::any_of(s.begin(), s.end(), [&](const auto& e) { return e.second == moved; }));
    EXPECT_TRUE(std::none_of(s.begin(), s.end(), [&](const auto& e) { return e.second == id; }));
  }
  f.maintainer.row_updated(moved, renamed, id, row);
  EXPECT_EQ(f.scans(), original);
  f.expect_sound();
}

}  // namespace

}  // namespace btree_maintain_test_cases
