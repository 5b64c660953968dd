// The executable: its demo and its runs on a workstation folder.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>

#include "app_fixture.h"

namespace app_test {
namespace {

class QuelisMajTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(fs::exists(Binary())) << "build the quelis-maj target first: " << Binary();
    root = TempFolder("quelis-app");
  }
  void TearDown() override {
    std::error_code ignored;
    fs::remove_all(root, ignored);
  }
  fs::path root;
};

std::string ReadBytes(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::stringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

TEST_F(QuelisMajTest, DemoBuildsASampleRunsTheToolAndPrintsItsLog) {
  const fs::path sample = root / "poste";
  const Outcome run = RunBinary("demo '" + sample.string() + "'");
  ASSERT_EQ(run.status, 0) << run.output;

  // The form as the console shows it, then the log's place and content.
  EXPECT_NE(run.output.find("== Mise à jour des données QUELIS ==\n   Version 4.4.0\n"
                            "   Configuration PORTABLE\n"),
            std::string::npos)
      << run.output;
  std::smatch found;
  const std::regex logLine(R"(Journal de la mise à jour : C:\\QUELIS\\(QuelisBase_4\.4\.0_\d{14}\.log))");
  ASSERT_TRUE(std::regex_search(run.output, found, logLine)) << run.output;
  const fs::path log = sample / "C" / "QUELIS" / found[1].str();
  ASSERT_TRUE(fs::is_regular_file(log));

  // The printed log is the file's text; the file itself is Windows text.
  const std::string bytes = ReadBytes(log);
  EXPECT_EQ(bytes.rfind("Mise \xE0 jour des donn\xE9" "es QUELIS\r\n\r\nConfiguration PORTABLE\r\n"
                        "Lancement silencieux\r\n",
                        0),
            0u);
  EXPECT_NE(bytes.find("Traitements effectu\xE9s :\r\n\r\nFin : "), std::string::npos);
  EXPECT_NE(run.output.find("Mise à jour des données QUELIS\n\nConfiguration PORTABLE\n"
                            "Lancement silencieux\n"),
            std::string::npos);
  EXPECT_NE(run.output.find("Traitements effectués :\n\nFin : "), std::string::npos);
  EXPECT_TRUE(fs::exists(sample / "C" / "QUELIS" / "Quelis.ini"));
}

TEST_F(QuelisMajTest, DemoRefusesAFolderInUseAndLeavesItAlone) {
  std::ofstream(root / "precieux.txt") << "ne pas toucher";
  const Outcome run = RunBinary("demo '" + root.string() + "'");
  EXPECT_EQ(run.status, 3) << run.output;
  EXPECT_NE(run.output.find("missing or empty folder"), std::string::npos) << run.output;
  EXPECT_EQ(ReadBytes(root / "precieux.txt"), "ne pas toucher");
  EXPECT_FALSE(fs::exists(root / "C"));
}

TEST_F(QuelisMajTest, RunsFromTheGivenProgramFolderOfTheWorkstation) {
  fs::create_directories(root / "C" / "QUELISECOLE");
  const Outcome run = RunBinary("--workstation '" + root.string() + "' --program-folder 'C:\\QUELISECOLE\\'");
  ASSERT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("   Configuration ECOLE\n"), std::string::npos) << run.output;
  int logs = 0;
  for (const auto& entry : fs::directory_iterator(root / "C" / "QUELISECOLE")) {
    if (entry.path().extension() == ".log") {
      ++logs;
      EXPECT_NE(ReadBytes(entry.path()).find("Configuration ECOLE\r\n"), std::string::npos);
    }
  }
  EXPECT_EQ(logs, 1);
}

TEST_F(QuelisMajTest, FailureBeforeTheLogExistsEndsWithStatusOne) {
  fs::create_directories(root / "G" / "QUELIS");
  fs::create_directories(root / "H" / "NPX");  // no LOG folder to create Quelis in
  const Outcome run = RunBinary("--workstation '" + root.string() + "' --program-folder 'G:\\QUELIS'");
  EXPECT_EQ(run.status, 1) << run.output;
  EXPECT_NE(run.output.find("Aucun journal"), std::string::npos) << run.output;
  EXPECT_FALSE(fs::exists(root / "H" / "NPX" / "LOG"));
}

TEST_F(QuelisMajTest, UnusableWorkstationIsRefused) {
  Outcome run = RunBinary("--workstation '" + (root / "absent").string() + "'");
  EXPECT_EQ(run.status, 3) << run.output;
  EXPECT_FALSE(fs::exists(root / "absent"));
  run = RunBinary("");
  EXPECT_EQ(run.status, 3) << run.output;
  EXPECT_NE(run.output.find("--workstation"), std::string::npos);
}

}  // namespace
}  // namespace app_test
