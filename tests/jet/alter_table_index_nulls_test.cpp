// Primary and required indexes added to tables holding rows: a Null in one of their
// columns refuses the index (3058) and leaves the file as it was; the database's writers then
// refuse rows with such a Null.
#include <gtest/gtest.h>

#include <filesystem>

#include "alter_table_support.h"
#include "jet/ddl/alter_index.h"
#include "jet/base/error.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace alter_table_index_nulls_test_cases {

namespace {

using namespace alter_table_test;

jet::IndexDesign index_on(const std::string& name, std::vector<std::string> columns, bool primary, bool required) {
  jet::IndexDesign i;
  i.name = name;
  for (auto& c : columns) i.columns.push_back({c, false});
  i.primary = primary;
  i.required = required;
  return i;
}

TEST(AlterTableIndexNulls, NullsRefusePrimaryAndRequiredIndexes) {
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "related.mdb").string();
  make_related_database(path, 0, 0);
  const auto before = jet_test::read_file(path);
  {
    auto db = jet::WritableDatabase::open(path);
    // Child 13 has no parent.
    EXPECT_EQ(jet_test::error_of([&] { jet::create_index(*db, "Child", index_on("ByParent", {"ParentId"}, false, true)); }), 3058);
    EXPECT_EQ(jet_test::error_of([&] { jet::create_index(*db, "Child", index_on("Both", {"Id", "ParentId"}, false, true)); }), 3058);
    EXPECT_EQ(jet_test::error_of([&] { jet::create_index(*db, "GrandChild", index_on("PrimaryKey2", {"Id"}, true, false)); }), 3283);
    EXPECT_EQ(jet::Error(jet::ErrorCode::IndexNullNotAllowed).description(),
              "L'index ou la clé primaire ne peut pas contenir une valeur Null.");
  }
  EXPECT_EQ(jet_test::read_file(path), before);
  {
    auto db = jet::WritableDatabase::open(path);
    // Not required: Nulls are fine; once the Null is gone the required index is made.
    jet::create_index(*db, "Child", index_on("ByParentFree", {"ParentId"}, false, false));
    update(*db, "Child", find(*db, "Child", "Id", 13), {{"ParentId", jet::Value::long_(3)}});
    jet::create_index(*db, "Child", index_on("ByParent", {"ParentId"}, false, true));
    EXPECT_EQ(rows(*db, "Child").size(), 4u);
    // The database's writers keep the rule: no new row without the required values.
    EXPECT_EQ(jet_test::error_of([&] { insert(*db, "Child", {{"Id", jet::Value::long_(40)}}); }), 3058);
    EXPECT_EQ(jet_test::error_of([&] { insert(*db, "Child", {{"ParentId", jet::Value::long_(1)}}); }), 3058);  // primary key
    EXPECT_EQ(jet_test::error_of([&] { update(*db, "Child", find(*db, "Child", "Id", 13), {{"ParentId", jet::Value::null()}}); }), 3058);
    EXPECT_EQ(rows(*db, "Child").size(), 4u);
  }
  EXPECT_EQ(problems(path), "");
}

}  // namespace

}  // namespace alter_table_index_nulls_test_cases
