// Relationships of an Access-made file enforced by the engine's writers: Table1 refers to
// Table2 (Table2Table1, cascading deletions) and to Table3 (Table3Table1, cascading updates).
#include <gtest/gtest.h>

#include "alter_table_support.h"
#include "jet/base/error.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace referential_fixture_test_cases {

namespace {

using namespace alter_table_test;
using V = jet::Value;

TEST(ReferentialFixture, AccessRelationshipsEnforcedAndCascaded) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = jet_test::copy_fixture(dir, "indexTestV2000.mdb");
  {
    auto db = jet::WritableDatabase::open(path);
    EXPECT_EQ(jet_test::error_of([&] { insert(*db, "Table1", {{"id", V::long_(4)}, {"otherfk1", V::long_(7)}}); }), 3201);
    EXPECT_EQ(jet_test::error_of([&] { insert(*db, "Table1", {{"id", V::long_(4)}, {"otherfk2", V::long_(99)}}); }), 3201);
    insert(*db, "Table1", {{"id", V::long_(4)}, {"otherfk2", V::long_(12)}, {"data", V::text("nouveau")}});
    // Table3Table1 cascades updates only, Table2Table1 deletions only.
    EXPECT_EQ(jet_test::error_of([&] { remove(*db, "Table3", find(*db, "Table3", "id", 13)); }), 3200);
    EXPECT_EQ(jet_test::error_of([&] { update(*db, "Table2", find(*db, "Table2", "id", 2), {{"id", V::long_(5)}}); }), 3200);
    update(*db, "Table3", find(*db, "Table3", "id", 11), {{"id", V::long_(21)}});
    remove(*db, "Table2", find(*db, "Table2", "id", 1));
    EXPECT_EQ(longs(*db, "Table1", "id"), (std::vector<std::int32_t>{0, 3, 4}));
    EXPECT_EQ(longs(*db, "Table1", "otherfk2"), (std::vector<std::int32_t>{10, 12, 13}));
    update(*db, "Table3", find(*db, "Table3", "id", 10), {{"id", V::long_(20)}});
    EXPECT_EQ(longs(*db, "Table1", "otherfk2"), (std::vector<std::int32_t>{12, 13, 20}));
  }
  EXPECT_EQ(problems(path), "");
  const std::string table1 = jet_test::mdb_export(path, "Table1");
  EXPECT_NE(table1.find("0,0,20,\"baz0\",0"), std::string::npos) << table1;
  EXPECT_EQ(table1.find("baz11"), std::string::npos) << table1;
  EXPECT_EQ(jet_test::mdb_export(path, "Table2"), "id,data\n0,\"foo0\"\n2,\"foo2\"\n");
}

}  // namespace

}  // namespace referential_fixture_test_cases
