// Table definitions of Access-made files: column types and numbers (with the gaps deleted
// columns leave), definitions over several pages, real and logical indexes.
#include <gtest/gtest.h>

#include "jet/db/database.h"
#include "jet_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace table_def_fixture_test_cases {

namespace {

using jet::ColumnType;
using jet_test::fixture;

TEST(JetTableDef, ColumnTypesOfEveryKind) {
  auto db = jet::Database::open(fixture("testV2000.mdb"));
  const auto table = db->table("Table1");
  const auto& c = table.def().columns;
  ASSERT_EQ(c.size(), 9u);
  const std::vector<std::pair<std::string, ColumnType>> expected{
      {"A", ColumnType::Text},   {"B", ColumnType::Text},     {"C", ColumnType::Byte},
      {"D", ColumnType::Integer}, {"E", ColumnType::Long},     {"F", ColumnType::Double},
      {"G", ColumnType::DateTime}, {"H", ColumnType::Currency}, {"I", ColumnType::Boolean}};
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(c[i].name, expected[i].first);
    EXPECT_EQ(c[i].type, expected[i].second) << c[i].name;
    EXPECT_EQ(c[i].definition_order, i);
  }
  EXPECT_EQ(c[0].length, 100);  // Text (50): two bytes a character
  EXPECT_EQ(c[1].length, 200);
  EXPECT_FALSE(c[0].is_fixed());
  EXPECT_TRUE(c[4].is_fixed());
  EXPECT_TRUE(c[0].compressed_unicode);
  EXPECT_EQ(c[0].sort_order, 0x409);
  EXPECT_EQ(table.def().row_count, 2u);
  EXPECT_FALSE(table.def().system);
  EXPECT_EQ(table.def().find_column("e"), &c[4]);
}

TEST(JetTableDef, AutonumberAndSystemTables) {
  auto db = jet::Database::open(fixture("testV2000.mdb"));
  const auto t3 = db->table("Table3");
  EXPECT_TRUE(t3.def().columns[0].is_autonumber());
  EXPECT_FALSE(t3.def().columns[1].is_autonumber());
  EXPECT_TRUE(db->table("MSysObjects").def().system);
}

TEST(JetTableDef, DeletedColumnsLeaveGapsInNumbers) {
  auto db = jet::Database::open(fixture("delColTestV2000.mdb"));
  const auto t = db->table("Table1");
  std::vector<std::uint16_t> numbers;
  for (const auto& c : t.def().columns) numbers.push_back(c.number);
  EXPECT_EQ(numbers, (std::vector<std::uint16_t>{0, 2, 3, 5}));
  EXPECT_EQ(t.def().max_columns, 6);
  EXPECT_EQ(t.def().column_by_number(3)->name, "data");
  EXPECT_EQ(t.def().column_by_number(1), nullptr);
}

TEST(JetTableDef, DefinitionSpanningSeveralPages) {
  auto db = jet::Database::open(fixture("test2V2000.mdb"));
  const auto t = db->table("MSP_PROJECTS");
  ASSERT_EQ(t.def().columns.size(), 74u);
  EXPECT_EQ(t.def().columns.front().name, "PROJ_ID");
  // Names near the end come from the continuation page.
  EXPECT_NE(t.def().find_column("PROJ_ENT_LIST_SEPARATOR"), nullptr);
  EXPECT_EQ(t.def().find_column("PROJ_PROP_AUTHOR")->type, ColumnType::Memo);
}

TEST(JetTableDef, IndexFlagsAndKinds) {
  auto db = jet::Database::open(fixture("testIndexPropertiesV2000.mdb"));
  auto index_named = [](const jet::TableDef& def, const std::string& name) -> const jet::IndexDef& {
    for (const auto& li : def.logical_indexes)
      if (li.name == name) return *def.real_index(li.real_index);
    throw std::runtime_error("no index " + name);
  };
  const auto nulls1 = db->table("TableIgnoreNulls1");
  const auto& data = index_named(nulls1.def(), "DataIndex");
  EXPECT_TRUE(data.ignore_nulls());
  EXPECT_FALSE(data.unique());
  const auto& pk = index_named(nulls1.def(), "PrimaryKey");
  EXPECT_TRUE(pk.unique());
  EXPECT_TRUE(pk.required());
  EXPECT_FALSE(pk.ignore_nulls());
  for (const auto& li : nulls1.def().logical_indexes)
    EXPECT_EQ(li.kind == jet::IndexKind::Primary, li.name == "PrimaryKey");

  const auto unique2 = db->table("TableUnique2_temp");
  const auto& pair = index_named(unique2.def(), "DataIndex");
  EXPECT_TRUE(pair.unique());
  ASSERT_EQ(pair.columns.size(), 2u);
  EXPECT_EQ(unique2.def().column_by_number(pair.columns[0].column_number)->name, "data1");
  EXPECT_EQ(unique2.def().column_by_number(pair.columns[1].column_number)->name, "data2");
  EXPECT_TRUE(pair.columns[0].ascending);
  EXPECT_NE(pair.root_page, 0u);
}

TEST(JetTableDef, DescendingIndexColumn) {
  auto db = jet::Database::open(fixture("compIndexTestV2000.mdb"));
  const auto t = db->table("Table1");
  ASSERT_EQ(t.def().indexes.size(), 1u);
  ASSERT_EQ(t.def().indexes[0].columns.size(), 1u);
  EXPECT_FALSE(t.def().indexes[0].columns[0].ascending);
}

TEST(JetTableDef, ForeignKeyIndexesPointAtTheRelatedTable) {
  auto db = jet::Database::open(fixture("indexTestV2000.mdb"));
  const auto t1 = db->table("Table1");
  const auto t2 = db->table("Table2");
  int foreign = 0;
  for (const auto& li : t1.def().logical_indexes) {
    if (li.kind != jet::IndexKind::ForeignKey) continue;
    ++foreign;
    EXPECT_GE(li.related_index, 0);
    EXPECT_NE(li.related_table_page, 0u);
    if (li.related_table_page == t2.def().page) {
      EXPECT_TRUE(li.cascade_deletes);
    }
  }
  EXPECT_EQ(foreign, 2);
  // Several logical indexes may share one real index; every one names an existing one.
  for (const auto& li : t1.def().logical_indexes) EXPECT_NE(t1.def().real_index(li.real_index), nullptr);
}

}  // namespace

}  // namespace table_def_fixture_test_cases
