// Every index of every Access-made fixture, read back through the index cursor and checked
// against the rows of its table: Access wrote these indexes, so their order and their key
// bytes are the reference for the key encodings and the text sort order.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "jet/db/database.h"
#include "jet/base/error.h"
#include "jet/btree/index_cursor.h"
#include "jet/btree/index_row_key.h"
#include "jet/tools/index_verify.h"

#include "jet_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace index_fixture_test_cases {

namespace {

namespace fs = std::filesystem;

struct Expected {
  std::vector<std::uint8_t> key;
  jet::RowId row;
};

std::vector<std::string> fixture_files() {
  std::vector<std::string> out;
  for (const std::string& name : jet_test::all_fixtures()) out.push_back(jet_test::fixture(name));
  return out;
}

// Rows of the table that the index should list, with the key each should have, in the
// order the index must give them.
std::vector<Expected> expected_entries(const jet::Table& table, const jet::IndexDef& index) {
  std::vector<Expected> out;
  table.scan([&](jet::RowId id, const jet::Row& row) {
    if (!jet::row_left_out_of_index(table.def(), index, row)) {
      out.push_back({jet::index_key_for_row(table.def(), index, row), id});
    }
    return true;
  });
  std::sort(out.begin(), out.end(), [](const Expected& a, const Expected& b) {
    return jet::compare_entries(a.key, a.row, b.key, b.row) < 0;
  });
  return out;
}

struct Coverage {
  std::size_t indexes = 0;
  std::size_t entries = 0;
  std::set<jet::KeyKind> kinds;
  bool descending = false;
  bool multi_column = false;
  bool multi_level = false;
  bool ignore_nulls = false;
  bool unique = false;
};

void check_index(const std::string& label, jet::Database& db, const jet::Table& table,
                 const jet::IndexDef& index, Coverage& cov) {
  SCOPED_TRACE(label);
  const auto problems = jet::verify_index(table, index);
  for (const auto& p : problems) ADD_FAILURE() << p;

  const auto want = expected_entries(table, index);
  jet::IndexCursor cursor(db.pager(), table.def(), index);

  // Forward scan: every expected row once, in order, with the very key bytes Access stored.
  std::size_t n = 0;
  while (cursor.next()) {
    ASSERT_LT(n, want.size()) << "more entries than rows";
    EXPECT_EQ(cursor.entry().row, want[n].row) << "entry " << n;
    EXPECT_EQ(cursor.entry().key, want[n].key) << "entry " << n << " key "
                                               << jet::key_to_hex(cursor.entry().key) << " vs "
                                               << jet::key_to_hex(want[n].key);
    ++n;
  }
  EXPECT_EQ(n, want.size());
  EXPECT_FALSE(cursor.on_entry());

  // Backward scan gives the same entries in reverse.
  cursor.after_last();
  std::size_t back = want.size();
  while (cursor.previous()) {
    ASSERT_GT(back, 0u);
    --back;
    EXPECT_EQ(cursor.entry().row, want[back].row);
  }
  EXPECT_EQ(back, 0u);

  // Each row is found by its own key, and a key seek lands on the first row of that key.
  for (std::size_t i = 0; i < want.size(); ++i) {
    ASSERT_TRUE(cursor.seek_entry(want[i].key, want[i].row));
    EXPECT_EQ(cursor.entry().row, want[i].row);
    ASSERT_TRUE(cursor.seek_exact(want[i].key));
    std::size_t first = i;
    while (first > 0 && want[first - 1].key == want[i].key) --first;
    EXPECT_EQ(cursor.entry().row, want[first].row);
  }

  ++cov.indexes;
  cov.entries += want.size();
  for (const auto& c : cursor.columns()) {
    cov.kinds.insert(c.kind);
    if (!c.ascending) cov.descending = true;
  }
  if (index.columns.size() > 1) cov.multi_column = true;
  if (index.ignore_nulls()) cov.ignore_nulls = true;
  if (index.unique()) cov.unique = true;
  if (!jet::read_index_page(db.pager(), index.root_page).leaf) cov.multi_level = true;
}

TEST(IndexFixtures, EveryIndexScansSeeksAndVerifiesAgainstItsRows) {
  Coverage cov;
  for (const auto& file : fixture_files()) {
    auto db = jet::Database::open(file);
    const auto user_tables = db->table_names(false);
    for (const auto& name : db->table_names(true)) {
      std::optional<jet::Table> table;
      try {
        table.emplace(db->table(name));
      } catch (const jet::Error& e) {
        // Some system tables (MSysAccessObjects) use column kinds the table reader does not
        // know yet; user tables must all open.
        if (std::find(user_tables.begin(), user_tables.end(), name) != user_tables.end()) {
          ADD_FAILURE() << file << " / " << name << ": " << e.what();
        }
        continue;
      }
      for (const auto& index : table->def().indexes) {
        check_index(fs::path(file).filename().string() + " / " + name + " / index " +
                        std::to_string(index.number),
                    *db, *table, index, cov);
      }
    }
  }
  // The fixtures hold these; a run that checked fewer would prove nothing.
  EXPECT_GE(cov.indexes, 40u);
  EXPECT_GE(cov.entries, 1000u);
  for (auto kind : {jet::KeyKind::Long, jet::KeyKind::Text, jet::KeyKind::Byte,
                    jet::KeyKind::DateTime, jet::KeyKind::Guid, jet::KeyKind::Binary}) {
    EXPECT_TRUE(cov.kinds.count(kind)) << "no fixture index of kind " << static_cast<int>(kind);
  }
  EXPECT_TRUE(cov.descending);
  EXPECT_TRUE(cov.multi_column);
  EXPECT_TRUE(cov.multi_level);
  EXPECT_TRUE(cov.ignore_nulls);
  EXPECT_TRUE(cov.unique);
}

TEST(IndexFixtures, NamedIndexesLeadToTheirRealIndex) {
  auto db = jet::Database::open(std::string(QUELIS_FIXTURES) + "/testV2000.mdb");
  const jet::Table t = db->table("Table1");
  const jet::IndexDef* pk = jet::find_real_index(t.def(), "primarykey");
  ASSERT_NE(pk, nullptr);
  const jet::IndexDef* b = jet::find_real_index(t.def(), "B");
  ASSERT_NE(b, nullptr);
  EXPECT_NE(pk->root_page, b->root_page);
  EXPECT_EQ(t.def().column_by_number(pk->columns.at(0).column_number)->name, "A");
  EXPECT_EQ(t.def().column_by_number(b->columns.at(0).column_number)->name, "B");
  EXPECT_EQ(jet::find_real_index(t.def(), "nope"), nullptr);

  // Seek on the primary key by value: Table1's keys are texts "a" and "abcdefg".
  jet::IndexCursor c(db->pager(), t.def(), *pk);
  ASSERT_TRUE(c.seek(std::vector<jet::Value>{jet::Value::text("ABC")}));
  const auto row = t.read(c.row_id());
  ASSERT_TRUE(row.has_value());
  EXPECT_EQ((*row)[0].as_text(), "abcdefg");
}

}  // namespace

}  // namespace index_fixture_test_cases
