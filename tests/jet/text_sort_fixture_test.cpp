// The general text order as Access stored it: texts read back in the order of indexes that
// Access wrote, compared with the order of the keys this engine computes for them.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "jet/db/database.h"
#include "jet/btree/index_cursor.h"
#include "jet/btree/index_key.h"
#include "jet/base/text_sort.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace text_sort_fixture_test_cases {

namespace {

// Values of `column` in the order of the first index of `table` holding it (when it is not
// the first column, only texts sharing the leading values are comparable).
std::vector<std::string> in_index_order(const std::string& file, const std::string& table_name,
                                        const std::string& column) {
  auto db = jet::Database::open(std::string(QUELIS_FIXTURES) + "/" + file);
  const jet::Table table = db->table(table_name);
  const jet::ColumnDef* col = table.def().find_column(column);
  if (col == nullptr) {
    ADD_FAILURE() << "no column " << column;
    return {};
  }
  std::size_t at = 0;
  while (table.def().columns[at].number != col->number) ++at;
  for (const auto& index : table.def().indexes) {
    if (std::none_of(index.columns.begin(), index.columns.end(),
                     [&](const jet::IndexColumn& ic) { return ic.column_number == col->number; })) {
      continue;
    }
    std::vector<std::string> out;
    jet::IndexCursor c(db->pager(), table.def(), index);
    while (c.next()) {
      const auto row = table.read(c.row_id());
      if (row && !(*row)[at].is_null()) out.push_back((*row)[at].as_text());
    }
    return out;
  }
  ADD_FAILURE() << "no index on " << column;
  return {};
}

void expect_before(const std::vector<std::string>& order, const std::string& a, const std::string& b) {
  const auto ia = std::find(order.begin(), order.end(), a);
  const auto ib = std::find(order.begin(), order.end(), b);
  ASSERT_NE(ia, order.end()) << a;
  ASSERT_NE(ib, order.end()) << b;
  EXPECT_LT(ia, ib) << "Access put '" << a << "' before '" << b << "'";
  EXPECT_TRUE(jet::compare_keys(jet::general_text_key(a), jet::general_text_key(b)) < 0)
      << "our keys disagree on '" << a << "' < '" << b << "'";
}

TEST(TextSortInFixtures, CaseIsIgnored) {
  const auto names = in_index_order("testV2000.mdb", "MSysObjects", "Name");
  // Both under the same parent: 'c' of Access sorts before 'C' of ACEs.
  expect_before(names, "MSysAccessObjects", "MSysACEs");
  expect_before(names, "MSysACEs", "MSysObjects");
  const auto users = in_index_order("fixedTextTestV2000.mdb", "users", "c_user_login");
  expect_before(users, "admin", "CORE USER");
}

TEST(TextSortInFixtures, DigitsCompareAsCharactersAndSpacesCount) {
  const auto rows = in_index_order("testIndexPropertiesV2000.mdb", "TableIgnoreNulls2", "row");
  expect_before(rows, "row1", "row10");
  expect_before(rows, "row10", "row2");
  const auto data = in_index_order("testIndexPropertiesV2000.mdb", "TableIgnoreNulls1", "data");
  expect_before(data, "another row", "lots of stuff");
  expect_before(data, "still more rows", "stuff");  // space before letters
}

}  // namespace

}  // namespace text_sort_fixture_test_cases
