// The jet tool's add-column, alter-column and drop-column commands on a copy of an
// Access-made file: type codes as the data-access objects write them, refusals reported
// with the engine's error and the file left as it was.
#include <gtest/gtest.h>

#include "alter_column_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace alter_column_cmd_test_cases {

namespace {

using namespace alter_column_test;

std::string jet(const std::string& arguments, bool* ok) {
  return jet_test::run(std::string(QUELIS_BINARY_DIR) + "/src/app/jet " + arguments + " 2>&1", ok);
}

TEST(AlterColumnCommands, AddAlterAndDropThroughTheTool) {
  QUELIS_NEEDS_JET_PROGRAM();
  jet_test::ScratchDir dir;
  const std::string copy = dir.write("a.mdb", jet_test::read_file(jet_test::fixture("indexTestV2000.mdb")));
  const std::string file = jet_test::shell_quote(copy);
  bool ok = false;

  std::string out = jet("add-column " + file + " Table2 codeAgent 10 --size 3 --default '\"000\"'", &ok);
  EXPECT_TRUE(ok) << out;
  EXPECT_NE(out.find("codeAgent"), std::string::npos) << out;
  out = jet("add-column " + file + " Table2 Notes Memo --position 0", &ok);
  EXPECT_TRUE(ok) << out;
  EXPECT_NE(mdb_schema(copy).find("[codeAgent]\t\t\tText (3)"), std::string::npos);
  EXPECT_EQ(display_order(definition(copy, "Table2")), (std::vector<std::string>{"Notes", "id", "data", "codeAgent"}));

  out = jet("alter-column " + file + " Table2 codeAgent --rename coAgent --size 5 --required false", &ok);
  EXPECT_TRUE(ok) << out;
  EXPECT_NE(mdb_schema(copy).find("[coAgent]\t\t\tText (5)"), std::string::npos);

  // Refused: the stored "foo0" does not fit in 3 characters; the tool reports 3163.
  const auto before = jet_test::read_file(copy);
  out = jet("alter-column " + file + " Table2 data --size 3", &ok);
  EXPECT_FALSE(ok);
  EXPECT_NE(out.find("3163"), std::string::npos) << out;
  out = jet("drop-column " + file + " Table1 otherfk2", &ok);
  EXPECT_FALSE(ok);
  EXPECT_NE(out.find("3280"), std::string::npos) << out;
  EXPECT_EQ(jet_test::read_file(copy), before);

  out = jet("drop-column " + file + " Table2 coAgent", &ok);
  EXPECT_TRUE(ok) << out;
  out = jet("drop-column " + file + " Table2 Notes", &ok);
  EXPECT_TRUE(ok) << out;
  EXPECT_EQ(mdb_columns(copy, "Table2"), (std::vector<std::string>{"id", "data"}));
  EXPECT_EQ(problems(copy), "");
}

}  // namespace

}  // namespace alter_column_cmd_test_cases
