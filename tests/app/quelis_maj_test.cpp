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
  // The sample holds no databases yet: the run ends failed, and says so.
  ASSERT_EQ(run.status, 1) << run.output;
  EXPECT_NE(run.output.find("la mise à jour s'est terminée en erreur (voir le journal)"), std::string::npos)
      << run.output;

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
  EXPECT_NE(bytes.find("Traitements effectu\xE9s :\r\n\r\n-- D\xE9" "finition de l'emplacement des donn\xE9" "es\r\n"
                       "\tMise \xE0 jour du fichier C:\\QUELIS\\Quelis.ini avec le chemin C:\\Quelis\\Donnees\\\r\n"),
            std::string::npos);
  EXPECT_NE(bytes.find("\r\n\t\tTraitement de la base en \xE9" "chec -> voir log li\xE9" "e \xE0 la base\r\n"),
            std::string::npos);
  EXPECT_NE(run.output.find("Mise à jour des données QUELIS\n\nConfiguration PORTABLE\n"
                            "Lancement silencieux\n"),
            std::string::npos);
  // Both data folders of the sample, in order, with their labels.
  const auto premier = run.output.find(
      "-- Choix mise à jour de 2 dossiers de données\n\nTraitement du dossier C:\\Quelis\\Donnees\\0590100\\ "
      "(Centre des impôts fonciers de Lille) - début traitement\n");
  ASSERT_NE(premier, std::string::npos) << run.output;
  EXPECT_NE(run.output.find("Traitement du dossier C:\\Quelis\\Donnees\\0620200\\ (Centre des impôts fonciers "
                            "d'Arras) - fin traitement\n\nFin : ",
                            premier),
            std::string::npos)
      << run.output;
  // Each database's own log is shown too, with the reason.
  EXPECT_NE(run.output.find("La base est absente : C:\\Quelis\\Donnees\\0590100\\Bases\\Quelis.mdb"), std::string::npos)
      << run.output;
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
  // The school database to install is chosen, but cannot be installed by this build.
  ASSERT_EQ(run.status, 1) << run.output;
  EXPECT_TRUE(fs::is_directory(root / "C" / "QuelisEcole" / "Donnees" / "BSECOLE" / "Bases") ||
              fs::is_directory(root / "C" / "QUELISECOLE" / "Donnees" / "BSECOLE" / "Bases"));
  EXPECT_NE(run.output.find("   Configuration ECOLE\n"), std::string::npos) << run.output;
  int logs = 0;
  for (const auto& entry : fs::directory_iterator(root / "C" / "QUELISECOLE")) {
    if (entry.path().extension() == ".log") {
      ++logs;
      const std::string log = ReadBytes(entry.path());
      EXPECT_NE(log.find("Configuration ECOLE\r\n"), std::string::npos);
      EXPECT_NE(log.find("-- Choix installation base Ecole Torvandes\r\n"), std::string::npos) << log;
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
