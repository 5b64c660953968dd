// Row layout on hand-built pages: null mask, Yes/No bits, fixed and variable areas, rows
// older than the definition, moved rows, long values in all three storages, and damage.
#include <gtest/gtest.h>

#include "jet/base/error.h"
#include "jet/record/long_value.h"
#include "jet/storage/memory_pager.h"
#include "jet/record/row.h"
#include "jet/table/table.h"
#include "page_builder.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace row_decode_test_cases {

namespace {

using namespace jet_test;

jet::ColumnDef column(const char* name, jet::ColumnType type, std::uint16_t number, bool fixed,
                      std::uint16_t offset, std::uint16_t length = 0) {
  jet::ColumnDef c;
  c.name = name;
  c.type = type;
  c.number = number;
  c.flags = static_cast<std::uint8_t>((fixed ? jet::column_flags::Fixed : 0) | jet::column_flags::Nullable);
  if (fixed) c.fixed_offset = offset;
  else c.var_index = offset;
  c.length = length;
  c.definition_order = number;
  return c;
}

// Long(0) fixed, Yes/No(1), Text(2) var 0, Memo(3) var 1, Integer(4) fixed after the Long.
jet::TableDef sample_table(jet::PageNumber page) {
  jet::TableDef def;
  def.page = page;
  def.max_columns = 5;
  def.variable_columns = 2;
  def.columns = {column("id", jet::ColumnType::Long, 0, true, 0),
                 column("actif", jet::ColumnType::Boolean, 1, true, 0),
                 column("nom", jet::ColumnType::Text, 2, false, 0, 100),
                 column("note", jet::ColumnType::Memo, 3, false, 1),
                 column("rang", jet::ColumnType::Integer, 4, true, 4)};
  return def;
}

Bytes fixed_part(std::int32_t id, std::int16_t rank) {
  Bytes b;
  append32(b, static_cast<std::uint32_t>(id));
  append16(b, static_cast<std::uint16_t>(rank));
  return b;
}

int damage_of(const std::function<void()>& f) {
  try {
    f();
  } catch (const jet::Error& e) {
    EXPECT_NE(e.description().find("page"), std::string::npos) << e.description();
    return e.number();
  }
  return 0;
}

TEST(JetRowDecode, FixedVariableNullAndYesNo) {
  jet::MemoryPager pager;
  const jet::TableDef def = sample_table(0);
  const Bytes row = jet4_row(5, fixed_part(7, -3), {utf16("Zo\xE9"), long_value_inline(utf16("court"))},
                             {true, true, true, true, true});
  pager.add(data_page(0, {{row}}));
  const auto values = jet::read_row(pager, def, {0, 0});
  ASSERT_TRUE(values.has_value());
  EXPECT_EQ((*values)[0], jet::Value::long_(7));
  EXPECT_EQ((*values)[1], jet::Value::boolean(true));
  EXPECT_EQ((*values)[2].as_text(), "Zo\xC3\xA9");
  EXPECT_EQ((*values)[3].as_text(), "court");
  EXPECT_EQ((*values)[4], jet::Value::integer(-3));

  // Cleared bits: Null for ordinary columns, False for Yes/No.
  const Bytes nulls = jet4_row(5, fixed_part(0, 0), {Bytes{}, Bytes{}}, {false, false, false, false, true});
  pager.set(0, data_page(0, {{nulls}}));
  const auto second = jet::read_row(pager, def, {0, 0});
  EXPECT_TRUE((*second)[0].is_null());
  EXPECT_EQ((*second)[1], jet::Value::boolean(false));
  EXPECT_TRUE((*second)[2].is_null());
  EXPECT_TRUE((*second)[3].is_null());
  EXPECT_EQ((*second)[4], jet::Value::integer(0));
}

TEST(JetRowDecode, OnlyTheWantedColumnsAreDecodedAndTheirLongValuesRead) {
  jet::MemoryPager pager;
  const jet::TableDef def = sample_table(0);
  // The memo points at a page past the file: reading it is damage.
  const Bytes row = jet4_row(5, fixed_part(42, 9), {utf16("parcelle"), long_value_ref(4, 0x40000000u, 77u << 8)},
                             {true, true, true, true, true});
  pager.add(data_page(0, {{row}}));
  EXPECT_EQ(damage_of([&] { jet::read_row(pager, def, {0, 0}); }), 3049);

  const auto some = jet::read_row(pager, def, {0, 0}, {true, false, true, false, true});
  ASSERT_TRUE(some.has_value());
  EXPECT_EQ((*some)[0], jet::Value::long_(42));
  EXPECT_TRUE((*some)[1].is_null());  // even a Yes/No left out reads Null, not No
  EXPECT_EQ((*some)[2].as_text(), "parcelle");
  EXPECT_TRUE((*some)[3].is_null());
  EXPECT_EQ((*some)[4], jet::Value::integer(9));
  // A selection shorter than the row leaves the rest out.
  const auto first = jet::read_row(pager, def, {0, 0}, {true});
  EXPECT_EQ((*first)[0], jet::Value::long_(42));
  EXPECT_TRUE((*first)[2].is_null());
}

TEST(JetRowDecode, ColumnsDecodedWithoutAPagerAreTheRowsAndTheOthersLeftAlone) {
  const jet::TableDef def = sample_table(0);
  const Bytes row = jet4_row(5, fixed_part(42, 9), {utf16("parcelle"), long_value_inline(utf16("note"))},
                             {true, true, true, true, true});
  const jet::ByteView bytes(row.data(), row.size(), 0, nullptr);
  jet::MemoryPager pager;
  const jet::Row whole = jet::decode_row(pager, def, bytes, {true, true, true, false, true});
  jet::Row some(def.columns.size(), jet::Value::text("avant"));
  const std::vector<std::size_t> positions = {4, 0, 2, 1};
  jet::decode_columns_into(jet::jet4_layout(), def, bytes, some, positions);
  for (const std::size_t k : positions) EXPECT_EQ(some[k], whole[k]) << k;
  EXPECT_EQ(some[3].as_text(), "avant");  // not asked for: untouched
  // A memo asked for cannot be read without pages, even one held in the row.
  const std::vector<std::size_t> memo = {3};
  EXPECT_THROW(jet::decode_columns_into(jet::jet4_layout(), def, bytes, some, memo), std::logic_error);
}

TEST(JetRowDecode, RowsWrittenBeforeColumnsWereAddedReadNull) {
  jet::MemoryPager pager;
  const jet::TableDef def = sample_table(0);
  // Written when the table had two columns: id and actif; no variable columns stored yet.
  const Bytes old = jet4_row(2, fixed_part(11, 0), {}, {true, true});
  pager.add(data_page(0, {{old}}));
  const auto values = jet::read_row(pager, def, {0, 0});
  EXPECT_EQ((*values)[0], jet::Value::long_(11));
  EXPECT_EQ((*values)[1], jet::Value::boolean(true));
  EXPECT_TRUE((*values)[2].is_null());
  EXPECT_TRUE((*values)[3].is_null());
  EXPECT_TRUE((*values)[4].is_null());
}

TEST(JetRowDecode, DeletedAndMovedRows) {
  jet::MemoryPager pager;
  const jet::TableDef def = sample_table(0);
  auto row_with = [](std::int32_t id) {
    return jet4_row(5, fixed_part(id, 0), {utf16("x"), Bytes{}}, {true, true, true, false, true});
  };
  Bytes pointer;
  append32(pointer, (1u << 8) | 0u);  // page 1, row 0
  pager.add(data_page(0, {{row_with(1)}, {row_with(2), 0x8000}, {pointer, 0x4000}}));
  pager.add(data_page(0, {{row_with(3), 0x8000}}));  // the moved row, flagged so scans skip it

  EXPECT_FALSE(jet::read_row(pager, def, {0, 1}).has_value());
  EXPECT_EQ((*jet::read_row(pager, def, {0, 2}))[0], jet::Value::long_(3));
  EXPECT_FALSE(jet::read_row(pager, def, {1, 0}).has_value());

  // Two moves pointing at each other are damage, not an endless loop.
  Bytes back;
  append32(back, (0u << 8) | 2u);
  pager.set(1, data_page(0, {{back, 0x4000}}));
  EXPECT_EQ(damage_of([&] { jet::read_row(pager, def, {0, 2}); }), 3049);
}

TEST(JetRowDecode, RowOfAnotherTableIsRefused) {
  jet::MemoryPager pager;
  pager.add(data_page(99, {{jet4_row(5, fixed_part(1, 0), {Bytes{}, Bytes{}}, {true})}}));
  EXPECT_EQ(damage_of([&] { jet::read_row(pager, sample_table(0), {0, 0}); }), 3049);
}

TEST(JetRowDecode, InconsistentRowsAreDamage) {
  const jet::TableDef def = sample_table(0);
  jet::MemoryPager pager;
  Bytes row = jet4_row(5, fixed_part(1, 0), {utf16("abc"), Bytes{}}, {true, true, true, false, true});
  // Variable column 0 said to start beyond the end of the data.
  Bytes bad_offset = row;
  const std::size_t var0 = bad_offset.size() - 1 - 2 - 2;
  put16(bad_offset, var0, 0x0F00);
  pager.add(data_page(0, {{bad_offset}}));
  EXPECT_EQ(damage_of([&] { jet::read_row(pager, def, {0, 0}); }), 3049);
  // Slot offset beyond the page, and a row count larger than the slot table.
  Bytes page = data_page(0, {{row}});
  put16(page, 14, 0x1FFF);
  pager.set(0, page);
  EXPECT_EQ(damage_of([&] { jet::read_row(pager, def, {0, 0}); }), 3049);
  Bytes many = data_page(0, {{row}});
  put16(many, 12, 3000);
  pager.set(0, many);
  EXPECT_EQ(damage_of([&] { jet::read_row(pager, def, {0, 0}); }), 3049);
  // A row too short for its fixed columns.
  pager.set(0, data_page(0, {{jet4_row(5, Bytes{1, 0}, {Bytes{}, Bytes{}}, {true, true, false, false, false})}}));
  EXPECT_EQ(damage_of([&] { jet::read_row(pager, def, {0, 0}); }), 3049);
}

// A memo column whose reference is `ref`, in a table page 0; long-value pages follow.
jet::Value memo_through(jet::MemoryPager& pager, const Bytes& ref) {
  const jet::TableDef def = sample_table(0);
  pager.set(0, data_page(0, {{jet4_row(5, fixed_part(1, 0), {Bytes{}, ref}, {true, true, false, true, true})}}));
  return (*jet::read_row(pager, def, {0, 0}))[3];
}

TEST(JetLongValues, InlineSinglePageAndChain) {
  jet::MemoryPager pager;
  pager.add({});
  const Bytes text = utf16("une note assez longue");
  // Single page: row 1 of page 1 holds the data.
  pager.add(data_page(0, {{Bytes{0xEE}}, {text}}, true));
  EXPECT_EQ(memo_through(pager, long_value_ref(static_cast<std::uint32_t>(text.size()), 0x40000000u, (1u << 8) | 1u)).as_text(),
            "une note assez longue");

  // Chain: page 2 row 0 -> page 3 row 0; each row starts with the next pointer.
  Bytes first, second;
  append32(first, (3u << 8) | 0u);
  first.insert(first.end(), text.begin(), text.begin() + 10);
  append32(second, 0);
  second.insert(second.end(), text.begin() + 10, text.end());
  pager.add(data_page(0, {{first}}, true));
  pager.add(data_page(0, {{second}}, true));
  EXPECT_EQ(memo_through(pager, long_value_ref(static_cast<std::uint32_t>(text.size()), 0, 2u << 8)).as_text(),
            "une note assez longue");

  // Compressed text inside a long value.
  EXPECT_EQ(memo_through(pager, long_value_inline(Bytes{0xFF, 0xFE, 'o', 'k'})).as_text(), "ok");
}

TEST(JetLongValues, BrokenChainsAreDamage) {
  jet::MemoryPager pager;
  pager.add({});
  Bytes looping;
  append32(looping, 1u << 8);  // points at itself
  looping.push_back('a');
  looping.push_back(0);
  pager.add(data_page(0, {{looping}}, true));
  EXPECT_EQ(damage_of([&] { memo_through(pager, long_value_ref(1000, 0, 1u << 8)); }), 3049);

  Bytes ending;
  append32(ending, 0);
  ending.push_back('a');
  ending.push_back(0);
  pager.set(1, data_page(0, {{ending}}, true));
  EXPECT_EQ(damage_of([&] { memo_through(pager, long_value_ref(1000, 0, 1u << 8)); }), 3049);
  // Declared longer than its single row, longer than the inline bytes, or pointing past the file.
  EXPECT_EQ(damage_of([&] { memo_through(pager, long_value_ref(1000, 0x40000000u, 1u << 8)); }), 3049);
  EXPECT_EQ(damage_of([&] { memo_through(pager, long_value_ref(50, 0x80000000u, 0)); }), 3049);
  EXPECT_EQ(damage_of([&] { memo_through(pager, long_value_ref(4, 0x40000000u, 77u << 8)); }), 3049);
}

TEST(JetTableScan, SkipsDeletedAndReadsMovedRowsOnce) {
  jet::MemoryPager pager;
  pager.add({});  // 0: header stand-in
  // 1: usage map row (type 0, start page 0, bits for pages 2 and 3).
  Bytes map{0x00};
  append32(map, 0);
  map.push_back(0b00001100);
  pager.add(data_page(0, {{map}}));
  jet::TableDef def = sample_table(4);
  def.owned_pages = (1u << 8) | 0u;
  auto row_with = [](std::int32_t id) {
    return jet4_row(5, fixed_part(id, 0), {Bytes{}, Bytes{}}, {true, false, false, false, false});
  };
  Bytes pointer;
  append32(pointer, (3u << 8) | 1u);
  pager.add(data_page(4, {{row_with(1)}, {pointer, 0x4000}, {row_with(9), 0x8000}}));
  pager.add(data_page(4, {{row_with(3)}, {row_with(2), 0x8000}}));
  pager.add({0x02});  // 4: the definition page itself is not a data page

  jet::Table table(pager, "t", def);
  std::vector<std::int32_t> ids;
  table.scan([&](jet::RowId, const jet::Row& row) {
    ids.push_back(row[0].as_long());
    return true;
  });
  EXPECT_EQ(ids, (std::vector<std::int32_t>{1, 2, 3}));
  EXPECT_EQ(table.count_rows(), 3u);
  EXPECT_EQ(table.data_pages(), (std::vector<jet::PageNumber>{2, 3}));
}

}  // namespace

}  // namespace row_decode_test_cases
