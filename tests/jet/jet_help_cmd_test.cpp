// `jet --help` presents a tool that reads and writes, and lists every command a maintainer
// needs, read-side and write-side.
#include <gtest/gtest.h>

#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace jet_help_cmd_test_cases {

namespace {

TEST(JetHelp, DescribesReadingAndWritingAndListsTheWritingCommands) {
  QUELIS_NEEDS_JET_PROGRAM();
  bool ok = false;
  const std::string help = jet_test::run(jet_test::shell_quote(jet_test::jet_program()) + " --help", &ok);
  EXPECT_TRUE(ok) << help;
  EXPECT_NE(help.find("écriture"), std::string::npos) << help;
  EXPECT_NE(help.find("Access 97"), std::string::npos) << help;
  for (const char* command : {"info", "export", "verify", "sql", "import", "create", "compact", "repair",
                              "add-column", "alter-column", "add-index", "add-relation", "diff"}) {
    EXPECT_NE(help.find(std::string("\n  ") + command + " "), std::string::npos) << command << "\n" << help;
  }
}

}  // namespace

}  // namespace jet_help_cmd_test_cases
