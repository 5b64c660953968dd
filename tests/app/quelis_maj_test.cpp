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

TEST_F(QuelisMajTest, DemoMigratesUpdatesOneSiteRefusesTheOtherAndSaysItWentAsDesigned) {
  const fs::path sample = root / "poste";
  const Outcome run = RunBinary("--horloge '2013-01-15 14:30:05' demo '" + sample.string() + "' --fiches 24");
  ASSERT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("Résultat de la démonstration : conforme"), std::string::npos) << run.output;

  // The form as the console shows it, then the log's place and content.
  EXPECT_NE(run.output.find("== Mise à jour des données QUELIS ==\n   Version 4.4.0\n"
                            "   Configuration PORTABLE\n"),
            std::string::npos)
      << run.output;
  const fs::path log = sample / "C" / "QUELIS" / "QuelisBase_4.4.0_20130115143005.log";
  ASSERT_TRUE(fs::is_regular_file(log)) << run.output;
  EXPECT_NE(run.output.find("Journal de la mise à jour : C:\\QUELIS\\QuelisBase_4.4.0_20130115143005.log"),
            std::string::npos);
  // The printed log is the file's text; the file itself is Windows text.
  const std::string bytes = ReadBytes(log);
  EXPECT_EQ(bytes.rfind("Mise \xE0 jour des donn\xE9" "es QUELIS\r\n\r\nConfiguration PORTABLE\r\n"
                        "Lancement silencieux\r\n",
                        0),
            0u);
  EXPECT_NE(bytes.find("-- Migration des donn\xE9" "es \xE0 faire : C:\\Quelis\\Bases\r\n"), std::string::npos);
  EXPECT_NE(run.output.find("Déplacement du dossier C:\\Quelis\\Bases vers C:\\Quelis\\Donnees\\0590100\\Bases : OK\n"),
            std::string::npos)
      << run.output;
  EXPECT_NE(run.output.find("\t\tTraitement de la base réussi\n\tTraitement de la base C:\\Quelis\\Donnees\\0590100\\"),
            std::string::npos)
      << run.output;
  EXPECT_NE(run.output.find("\t\tTraitement de la base en échec -> voir log liée à la base\n\tTraitement de la base "
                            "C:\\Quelis\\Donnees\\0620200\\"),
            std::string::npos)
      << run.output;
  // Each database's own log, and the records restored.
  EXPECT_NE(run.output.find(" - Nombre d'enregistrements traités / nombre total de fiches : 7 sur 24\n"),
            std::string::npos);
  EXPECT_NE(run.output.find("Erreur n° 1\nLa version de la base de données est déjà mise à jour : 4.4.0.3\n"),
            std::string::npos);
  EXPECT_NE(run.output.find("  fiche 1000  type 1  visa  -           -  -  ->  2012-06-01 T1   (restaurée)\n"),
            std::string::npos)
      << run.output;
  EXPECT_NE(run.output.find("7 fiche(s) sur 24 ont retrouvé"), std::string::npos);
  EXPECT_TRUE(fs::exists(sample / "C" / "QUELIS" / "Donnees" / "0590100" / "Bases" / "Quelis.mdb"));
  EXPECT_FALSE(fs::exists(sample / "C" / "QUELIS" / "Bases"));
  // The summary says which folder failed and why, before the run log's place.
  EXPECT_NE(run.output.find(
                "Dossiers traités : 2 (bases réussies : 1, en échec : 1)\n"
                "  C:\\Quelis\\Donnees\\0590100\\ (Centre des impôts fonciers de Lille) : base réussie\n"
                "  C:\\Quelis\\Donnees\\0620200\\ (Centre des impôts fonciers d'Arras) : base en échec\n"
                "      Procédure : Traitement, erreur n° 1 : La version de la base de données est déjà mise à jour : "
                "4.4.0.3\n"
                "      journal de la base : C:\\Quelis\\Donnees\\0620200\\Bases\\QuelisBase_4.4.0_20130115143005.log\n"
                "Journal de la mise à jour : "),
            std::string::npos)
      << run.output;
}

TEST_F(QuelisMajTest, AnOperatorAtTheConsoleChoosesOneFolderAndAnswersEveryBox) {
  const fs::path sample = root / "poste";
  ASSERT_EQ(RunBinary("demo '" + sample.string() + "' --poste-seulement --fiches 12").status, 0);
  // "Un dossier :", its first line, the templates too, "Mettre à jour"; then the wait form's
  // success box, "No" to replacing Lettres\, the final box.
  std::ofstream(root / "operateur.txt") << "9\n10 1\n2\n11\n\nnon\n\n";
  const Outcome run = RunBinary("--horloge '2013-01-15 14:30:05' --workstation '" + sample.string() +
                                "' /INTERACTIF < '" + (root / "operateur.txt").string() + "'");
  ASSERT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("  9. ( ) Un dossier :\n  10. liste : C:\\Quelis\\Donnees\\0590100\\ (inactif)\n"),
            std::string::npos)
      << run.output;
  EXPECT_NE(run.output.find(" | Installation de la base Centre des impôts fonciers de Lille terminée avec succès\n"
                            " (Entrée pour OK)  -> OK\n"),
            std::string::npos)
      << run.output;
  EXPECT_NE(run.output.find(" | Voulez-vous remplacer ce dossier par celui contenant les modèles de publipostage ?\n"
                            " Réponse (Oui / Non) ?  -> Non\n[QUELIS - mise à jour 4.4.0]\n"
                            " | Traitements terminés avec succès.\n"),
            std::string::npos)
      << run.output;
  EXPECT_NE(run.output.find("Dossiers traités : 1 (bases réussies : 1, en échec : 0)\n"
                            "  C:\\Quelis\\Donnees\\0590100\\ (Centre des impôts fonciers de Lille) : base réussie, "
                            "modèles de lettres : copie annulée par l'utilisateur\n"),
            std::string::npos)
      << run.output;
  const std::string log = ReadBytes(sample / "C" / "QUELIS" / "QuelisBase_4.4.0_20130115143005.log");
  EXPECT_NE(log.find("Lancement int\xE9ractif\r\n"), std::string::npos);
  EXPECT_NE(log.find("\t\tAnnulation de la copie par l'utilisateur\r\n"), std::string::npos);
  // Only the first site was treated: the second keeps its old database.
  EXPECT_EQ(log.find("0620200\\Bases\\Quelis.mdb"), std::string::npos);
}

TEST_F(QuelisMajTest, WithoutTheSwitchTheRunIsSilentAndReadsNothing) {
  const fs::path sample = root / "poste";
  ASSERT_EQ(RunBinary("demo '" + sample.string() + "' --poste-seulement --fiches 12").status, 0);
  std::ofstream(root / "operateur.txt") << "12\n";  // "Fermer", were it read
  const Outcome run = RunBinary("--horloge '2013-01-15 14:30:05' --workstation '" + sample.string() + "' < '" +
                                (root / "operateur.txt").string() + "'");
  EXPECT_EQ(run.status, 1) << run.output;  // the second site is refused, by design
  EXPECT_EQ(run.output.find("Numéro pour cliquer"), std::string::npos);
  EXPECT_EQ(run.output.find("[QUELIS"), std::string::npos);  // no box in a silent run
  EXPECT_NE(run.output.find("Dossiers traités : 2 (bases réussies : 1, en échec : 1)"), std::string::npos) << run.output;
}

TEST_F(QuelisMajTest, ClockOptionIsCheckedBeforeAnythingRuns) {
  const Outcome run = RunBinary("--horloge 'demain' demo '" + (root / "poste").string() + "'");
  EXPECT_EQ(run.status, 3) << run.output;
  EXPECT_NE(run.output.find("AAAA-MM-JJ hh:mm:ss"), std::string::npos) << run.output;
  EXPECT_FALSE(fs::exists(root / "poste"));
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
