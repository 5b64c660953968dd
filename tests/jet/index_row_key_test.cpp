// Keys of rows and of seek values from table definitions and jet::Value values.
#include <gtest/gtest.h>

#include "jet/base/error.h"
#include "jet/btree/index_row_key.h"
#include "jet/base/text_sort.h"
#include "jet_test_support.h"

#include <functional>

// Each test file keeps its own names, apart from the others compiled with it.
namespace index_row_key_test_cases {

namespace {

using Bytes = std::vector<std::uint8_t>;

jet::ColumnDef column(const char* name, jet::ColumnType type, std::uint16_t number) {
  jet::ColumnDef c;
  c.name = name;
  c.type = type;
  c.number = number;
  if (type == jet::ColumnType::Text) c.sort_order = jet::kGeneralSortOrderId;
  return c;
}

// Columns deliberately not in number order: rows follow the definition order.
jet::TableDef table() {
  jet::TableDef t;
  t.columns = {column("nom", jet::ColumnType::Text, 3), column("id", jet::ColumnType::Long, 0),
               column("actif", jet::ColumnType::Boolean, 1), column("n", jet::ColumnType::Integer, 2),
               column("prix", jet::ColumnType::Numeric, 4)};
  t.columns[4].scale = 2;
  return t;
}

jet::IndexDef index(std::vector<jet::IndexColumn> cols, std::uint8_t flags = 0) {
  jet::IndexDef i;
  i.columns = std::move(cols);
  i.flags = flags;
  return i;
}

using jet_test::error_of;
TEST(IndexRowKey, ColumnsComeFromTheDefinitionInIndexOrder) {
  const auto t = table();
  const auto cols = jet::key_columns(t, index({{3, false}, {0, true}}));
  ASSERT_EQ(cols.size(), 2u);
  EXPECT_EQ(cols[0].kind, jet::KeyKind::Text);
  EXPECT_FALSE(cols[0].ascending);
  EXPECT_EQ(cols[1].kind, jet::KeyKind::Long);
  EXPECT_EQ(error_of([&] { jet::key_columns(t, index({{9, true}})); }), 3049);
  EXPECT_EQ(jet::key_kind_for(jet::ColumnType::Memo), jet::KeyKind::Text);
  EXPECT_EQ(error_of([] { jet::key_kind_for(jet::ColumnType::Ole); }), 3251);
}

TEST(IndexRowKey, RowKeyFollowsIndexColumnsNotRowOrder) {
  const auto t = table();
  const jet::Row row = {jet::Value::text("Été"), jet::Value::long_(42), jet::Value::null(),
                        jet::Value::integer(-1), jet::Value::null()};
  jet::KeyWriter w;
  w.long_integer(42);
  w.text("Été", false);
  w.boolean(false);  // a Null Yes/No keys as No
  EXPECT_EQ(jet::index_key_for_row(t, index({{0, true}, {3, false}, {1, true}}), row), w.bytes());

  // A row stored before later columns were added is shorter: the missing ones are Null.
  const jet::Row short_row = {jet::Value::text("a"), jet::Value::long_(1)};
  jet::KeyWriter n;
  n.null();
  EXPECT_EQ(jet::index_key_for_row(t, index({{2, true}}), short_row), n.bytes());
}

TEST(IndexRowKey, SeekValuesAreConvertedOrRefused) {
  const auto t = table();
  const auto ix = index({{0, true}, {2, true}});
  jet::KeyWriter w;
  w.long_integer(7);
  EXPECT_EQ(jet::index_key_for_values(t, ix, {jet::Value::double_(7.0)}), w.bytes());  // a prefix
  w.integer(300);
  EXPECT_EQ(jet::index_key_for_values(t, ix, {jet::Value::byte(7), jet::Value::long_(300)}), w.bytes());
  EXPECT_EQ(error_of([&] { jet::index_key_for_values(t, ix, {jet::Value::long_(1), jet::Value::long_(70000)}); }), 3251);
  EXPECT_EQ(error_of([&] {
              jet::index_key_for_values(t, ix, {jet::Value::long_(1), jet::Value::long_(1), jet::Value::long_(1)});
            }),
            3251);
  EXPECT_EQ(error_of([&] { jet::index_key_for_values(t, index({{3, true}}), {jet::Value::long_(1)}); }), 3251);
}

TEST(IndexRowKey, DecimalsAreScaledToTheColumn) {
  const auto t = table();
  jet::Decimal d;
  d.scale = 1;
  d.magnitude = 15;  // 1.5 -> 150 hundredths
  jet::KeyDecimal k;
  k.magnitude[15] = 150;
  jet::KeyWriter w;
  w.decimal(k);
  EXPECT_EQ(jet::index_key_for_values(t, index({{4, true}}), {jet::Value::decimal(d)}), w.bytes());
  d.scale = 3;
  d.magnitude = 1234;  // 1.234: a digit too many for the column
  EXPECT_EQ(error_of([&] { jet::index_key_for_values(t, index({{4, true}}), {jet::Value::decimal(d)}); }), 3251);
}

TEST(IndexRowKey, TextOfAnotherSortOrderIsNotGuessed) {
  auto t = table();
  t.columns[0].sort_order = 1053;  // Swedish/Finnish
  EXPECT_EQ(error_of([&] { jet::index_key_for_values(t, index({{3, true}}), {jet::Value::text("a")}); }), 3251);
}

TEST(IndexRowKey, IgnoreNullsLeavesOutRowsWhoseIndexedValuesAreAllNull) {
  const auto t = table();
  const auto ignoring = index({{0, true}, {3, true}}, jet::index_flags::IgnoreNulls);
  const jet::Row all_null = {jet::Value::null(), jet::Value::null(), jet::Value::boolean(true),
                             jet::Value::integer(1), jet::Value::null()};
  jet::Row one_set = all_null;
  one_set[0] = jet::Value::text("x");
  EXPECT_TRUE(jet::row_left_out_of_index(t, ignoring, all_null));
  EXPECT_FALSE(jet::row_left_out_of_index(t, ignoring, one_set));
  EXPECT_FALSE(jet::row_left_out_of_index(t, index({{0, true}, {3, true}}), all_null));
}

}  // namespace

}  // namespace index_row_key_test_cases
