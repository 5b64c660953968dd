// A failure at each step of the update, in a whole run: the live database is left
// byte-identical or replaced by the complete new one, never missing, and the run reports the
// failure.
#include <unistd.h>

#include <fstream>

#include "acceptance_fixture.h"
#include "platform/filelock.h"

namespace app_test {
namespace {

const std::string kDossier = "C:\\Quelis\\Donnees\\0590100\\";
const std::string kRel = "C/QUELIS/Donnees/0590100/Bases/";

class CrashSafetyTest : public AcceptanceTest {
 protected:
  void SetUp() override {
    AcceptanceTest::SetUp();
    file("C/QUELIS/Quelis.ini", "[INIT]\r\nChemin donnees=C:\\Quelis\\Donnees\\\r\n");
  }
  // The database log's text after the header (the step lines and the error block).
  std::string etapes() {
    const std::string log = read(kRel + kLog);
    const std::string marque = "Traitements effectués :\r\n";
    return log.substr(log.find(marque) + marque.size());
  }
  void runEchoue() {
    const Outcome sortie = run("C:\\QUELIS");
    EXPECT_EQ(sortie.status, 1) << sortie.output;
    EXPECT_NE(read("C/QUELIS/" + kLog).find("\t\tTraitement de la base en échec -> voir log liée à la base\r\n"),
              std::string::npos);
  }
};

TEST_F(CrashSafetyTest, MissingBackupKeepsTheLiveDatabaseAndLeavesNoCopy) {
  dossier(kDossier, "C/QUELIS/Donnees/0590100/", Lille(), std::string("4.4.0.1"), 6, false);
  const std::string origine = bytes(kRel + "Quelis.mdb");
  runEchoue();
  EXPECT_EQ(bytes(kRel + "Quelis.mdb"), origine);
  // The failed run's copies are gone with it: the next run starts clean.
  EXPECT_FALSE(exists(kRel + "QuelMaj.mdb"));
  EXPECT_FALSE(exists(kRel + "QuelComp.mdb"));
  EXPECT_FALSE(exists(kRel + "Quelis.ldb"));
  const std::string e = etapes();
  EXPECT_NE(e.find(" 2- Retour arrière sur les infos topo --------------\r\n\r\nL'erreur suivante s'est produite "
                   "durant l'installation :\r\nProcédure : MiseAJour " + kDossier + "Bases\\QuelMaj.mdb\r\n"),
            std::string::npos)
      << e;
  EXPECT_NE(e.find("Installation de la base terminée -> échec\r\n"), std::string::npos) << e;
}

TEST_F(CrashSafetyTest, LockFileInUseStopsBeforeAnyCopy) {
  dossier(kDossier, "C/QUELIS/Donnees/0590100/", Lille(), std::string("4.4.0.1"), 6);
  const std::string origine = bytes(kRel + "Quelis.mdb");
  platform::FileLockHolder access(root / (kRel + "Quelis.ldb"));
  runEchoue();
  EXPECT_EQ(bytes(kRel + "Quelis.mdb"), origine);
  EXPECT_FALSE(exists(kRel + "QuelMaj.mdb"));
  EXPECT_EQ(etapes(), lines({"--- Mise à jour base existante ---", "", "L'erreur suivante s'est produite durant l'installation :",
                             "Procédure : Traitement", "Erreur n° 4",
                             "Un fichier ldb est présent : " + kDossier + "Bases\\Quelis.ldb", ""}));
}

TEST_F(CrashSafetyTest, DamagedDatabaseIsRefusedAndKeptAsItWas) {
  dossier(kDossier, "C/QUELIS/Donnees/0590100/", Lille(), std::string("4.4.0.1"), 40);
  // The last pages (case records) are lost: the file is cut short.
  const fs::path vivante = root / (kRel + "Quelis.mdb");
  fs::resize_file(vivante, fs::file_size(vivante) - 4096);
  const std::string origine = bytes(kRel + "Quelis.mdb");
  runEchoue();
  EXPECT_EQ(bytes(kRel + "Quelis.mdb"), origine);
  EXPECT_FALSE(exists(kRel + "QuelComp.mdb"));
  const std::string e = etapes();
  EXPECT_NE(e.find("L'erreur suivante s'est produite durant l'installation :\r\n"), std::string::npos) << e;
  EXPECT_EQ(e.find("Installation de la base terminée -> succès"), std::string::npos) << e;
}

TEST_F(CrashSafetyTest, ATemporaryHeldByAnotherProgramStopsTheRunBeforeAnyCopyAndIsNamed) {
  dossier(kDossier, "C/QUELIS/Donnees/0590100/", Lille(), std::string("4.4.0.1"), 6);
  const std::string origine = bytes(kRel + "Quelis.mdb");
  file(kRel + "QuelComp.mdb", "reste d'une exécution précédente");
  platform::FileLockHolder autre(root / (kRel + "QuelComp.mdb"));
  runEchoue();
  EXPECT_EQ(bytes(kRel + "Quelis.mdb"), origine);
  EXPECT_EQ(etapes(), lines({"--- Mise à jour base existante ---", "", "L'erreur suivante s'est produite durant l'installation :",
                             "Procédure : Traitement", "Erreur n° 2147224549",
                             "Impossible d'utiliser '" + kDossier + "Bases\\QuelComp.mdb' ; fichier déjà utilisé.", ""}));
  // Not a leftover: it is left to the program that holds it.
  EXPECT_EQ(read(kRel + "QuelComp.mdb"), "reste d'une exécution précédente");
  EXPECT_FALSE(exists(kRel + "QuelMaj.mdb"));
}

// The database's own log cannot be made in a folder the user may not write: the run log,
// which tells to look into that log, carries the error instead. Run as root, the program is
// started without the administrator's override of permissions.
TEST_F(CrashSafetyTest, AReadOnlyBasesFolderHasItsErrorInTheRunLog) {
  dossier(kDossier, "C/QUELIS/Donnees/0590100/", Lille(), std::string("4.4.0.1"), 6);
  const std::string origine = bytes(kRel + "Quelis.mdb");
  const fs::path bases = root / kRel;
  fs::permissions(bases, fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                  fs::perm_options::remove);
  const Outcome sortie =
      run("C:\\QUELIS", ::geteuid() == 0 ? "setpriv --bounding-set -dac_override,-dac_read_search --" : "");
  fs::permissions(bases, fs::perms::owner_write, fs::perm_options::add);
  EXPECT_EQ(sortie.status, 1) << sortie.output;
  const std::string journal = kDossier + "Bases\\" + kLog;
  EXPECT_NE(read("C/QUELIS/" + kLog)
                .find("\t\tTraitement de la base en échec -> log liée à la base non créée : " + journal +
                      "\r\n\t\tProcédure : Traitement - Erreur n° 2147221574 - Permission refusée : " + journal +
                      "\r\n"),
            std::string::npos)
      << read("C/QUELIS/" + kLog);
  EXPECT_FALSE(exists(kRel + kLog));
  EXPECT_EQ(bytes(kRel + "Quelis.mdb"), origine);
  EXPECT_FALSE(exists(kRel + "QuelMaj.mdb"));
}

TEST_F(CrashSafetyTest, LeftoversOfAFailedRunAreReplacedAndTheNewDatabaseIsComplete) {
  dossier(kDossier, "C/QUELIS/Donnees/0590100/", Lille(), std::string("4.4.0.1"), 30);
  file(kRel + "QuelMaj.mdb", "copie d'une exécution interrompue");
  file(kRel + "QuelComp.mdb", "compaction interrompue");
  const Outcome sortie = run("C:\\QUELIS");
  ASSERT_EQ(sortie.status, 0) << sortie.output;
  EXPECT_FALSE(exists(kRel + "QuelMaj.mdb"));
  EXPECT_FALSE(exists(kRel + "QuelComp.mdb"));
  const std::string base = kDossier + "Bases\\Quelis.mdb";
  EXPECT_EQ(rows(base, "VERSION", {"livers", "liverslexe"}), (std::vector<Lines>{{"4.4.0.3", "4.4.0.1"}}));
  EXPECT_EQ(rows(base, "FICHE", {"NUFICHE"}).size(), 30u);
  EXPECT_EQ(rows(base, "CDIF", {"licdif"}).size(), 2u);
}

}  // namespace
}  // namespace app_test
