// Column and table properties reached from the catalog: every column of a table has its
// block, and the values are those Access set (checked against mdb-prop's reading).
#include <gtest/gtest.h>

#include "jet/db/database.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace catalog_properties_test_cases {

namespace {

TEST(CatalogProperties, EveryColumnOfAnAccessTableHasItsBlockWithAccessValues) {
  auto db = jet::Database::open(jet_test::fixture("testV2000.mdb"));
  const auto* entry = db->catalog().find_table("table1");  // lookup ignores case
  ASSERT_NE(entry, nullptr);
  const jet::PropertySet props = entry->property_set();

  ASSERT_NE(props.object(), nullptr);
  const auto* view = props.object()->find("DefaultView");
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(view->value.to_int64(), 2);

  const jet::Table table = db->table("Table1");
  for (const auto& column : table.def().columns) {
    SCOPED_TRACE(column.name);
    const auto* block = props.column(column.name);
    ASSERT_NE(block, nullptr);
    const auto* required = block->find("Required");
    ASSERT_NE(required, nullptr);
    EXPECT_FALSE(required->value.as_boolean());
  }
  // Column A stores its text compressed, column B does not.
  EXPECT_TRUE(props.column("A")->find("UnicodeCompression")->value.as_boolean());
  EXPECT_FALSE(props.column("B")->find("UnicodeCompression")->value.as_boolean());
}

TEST(CatalogProperties, AnObjectWithoutBlobHasNoProperties) {
  auto db = jet::Database::open(jet_test::fixture("emptyV2000.mdb"));
  bool found_empty = false;
  for (const auto& entry : db->catalog().entries()) {
    if (!entry.properties.empty()) continue;
    EXPECT_TRUE(entry.property_set().empty()) << entry.name;
    found_empty = true;
  }
  EXPECT_TRUE(found_empty);
}

TEST(CatalogProperties, SchemaToolShowsColumnProperties) {
  QUELIS_NEEDS_JET_PROGRAM();
  const std::string jet = std::string(QUELIS_BINARY_DIR) + "/src/app/jet";
  bool ok = false;
  const std::string out = jet_test::run(jet + " schema --properties " +
                                            jet_test::shell_quote(jet_test::fixture("testV2000.mdb")) +
                                            " Table1",
                                        &ok);
  ASSERT_TRUE(ok) << out;
  EXPECT_NE(out.find("--\tUnicodeCompression = "), std::string::npos) << out;
  EXPECT_NE(out.find("CREATE TABLE [Table1]"), std::string::npos);
}

}  // namespace

}  // namespace catalog_properties_test_cases
