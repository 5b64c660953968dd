// School workstations run as a whole: the delivered Torvandes database installed when no data
// folder exists yet, the current school database kept and updated otherwise, with its reset
// database updated in turn or copied when missing.
#include "acceptance_fixture.h"

namespace app_test {
namespace {

const std::string kSchoolFolder = "C:\\QuelisEcole\\Donnees\\BSECOLE\\";
const std::string kSchoolBases = "C/QUELISECOLE/Donnees/BSECOLE/";

class SchoolTest : public AcceptanceTest {
 protected:
  void SetUp() override {
    AcceptanceTest::SetUp();
    folder("C/QUELISECOLE");
    echantillon::CreeBaseEcole(*moteur, "C:\\QUELISECOLE\\QuelisEcoleTorvandes_4.4.0.mdb", echantillon::SiteTorvandes(), 6);
    echantillon::CreeBaseEcole(*moteur, "C:\\QUELISECOLE\\QuelisEcoleMiranel_4.4.0.mdb", echantillon::SiteMiranel(), 6);
    file("C/QUELISECOLE/Quelis.ini", "[INIT]\r\nChemin donnees=C:\\QuelisEcole\\Donnees\\\r\n");
  }
  std::string logRun() { return read("C/QUELISECOLE/" + kLog); }
};

TEST_F(SchoolTest, WithoutDataFolderTheTorvandesDatabaseIsInstalledAndLabelled) {
  folder("C/QUELISECOLE/Donnees");
  const Outcome sortie = run("C:\\QUELISECOLE");
  ASSERT_EQ(sortie.status, 0) << sortie.output;
  const std::string log = logRun();
  EXPECT_NE(log.find("-- Choix installation base Ecole Torvandes\r\n"), std::string::npos) << log;
  // The label the pipeline hands back replaces the choice's name at the end of the folder.
  EXPECT_NE(log.find(lines(DossierTraite(kSchoolFolder, "TORVANDES", true, "CDIF de Torvandes (base Ecole)"))),
            std::string::npos)
      << log;
  EXPECT_EQ(read(kSchoolBases + "Bases/" + kLog),
            lines(EnTeteBase("TORVANDES") +
                  Lines{"--- Installation base Ecole ---",
                        "Copie de la base C:\\QUELISECOLE\\QuelisEcoleTorvandes_4.4.0.mdb",
                        " - Création fichier " + kSchoolFolder + "Bases\\libelle.txt : Ok", "Copie de la base initiale RAZ"} +
                  kFinLog));
  EXPECT_EQ(tree("C/QUELISECOLE/Donnees"),
            (std::vector<std::string>{"BSECOLE/", "BSECOLE/Bases/", "BSECOLE/Bases/Quelis.mdb", "BSECOLE/Bases/" + kLog,
                                      "BSECOLE/Bases/libelle.txt", "BSECOLE/RAZ/", "BSECOLE/RAZ/Quelis.mdb"}));
  EXPECT_EQ(read(kSchoolBases + "Bases/libelle.txt"), "CDIF de Torvandes (base Ecole)");
  EXPECT_EQ(bytes(kSchoolBases + "Bases/Quelis.mdb"), bytes("C/QUELISECOLE/QuelisEcoleTorvandes_4.4.0.mdb"));
  EXPECT_EQ(bytes(kSchoolBases + "RAZ/Quelis.mdb"), bytes("C/QUELISECOLE/QuelisEcoleTorvandes_4.4.0.mdb"));
}

TEST_F(SchoolTest, CurrentDatabaseIsKeptAndUpdatedWithItsResetDatabase) {
  dossier(kSchoolFolder, kSchoolBases, echantillon::SiteTorvandes(), std::string("4.4.0.1"), 10);
  folder(kSchoolBases + "RAZ");
  echantillon::BaseEchantillon raz;
  raz.site = echantillon::SiteTorvandes();
  raz.fiches = 10;
  echantillon::CreeBaseQuelis(*moteur, kSchoolFolder + "RAZ\\Quelis.mdb", raz);
  const Outcome sortie = run("C:\\QUELISECOLE");
  ASSERT_EQ(sortie.status, 0) << sortie.output;
  EXPECT_NE(logRun().find("-- Choix mise à jour base Ecole actuelle\r\n"), std::string::npos) << logRun();
  const Lines script{" 1- Mise à jour table VERSION --------------", " - Mise à jour Version 4.4.0.3 : Ok",
                     " 2- Retour arrière sur les infos topo --------------",
                     " - Nombre d'enregistrements traités / nombre total de fiches : 2 sur 10",
                     "Succès de la mise à jour."};
  EXPECT_EQ(read(kSchoolBases + "Bases/" + kLog),
            lines(EnTeteBase("CDIF de Torvandes (base Ecole)") +
                  Lines{"--- Mise à jour base existante ---", "Copie vers base temporaire...",
                        "Réparation de la base temporaire...", "Mise à jour de la base temporaire..."} +
                  script +
                  Lines{"Compactage base temporaire", "Suppression bases temporaires", "Copie vers base RAZ temporaire",
                        "Mise à jour base RAZ temporaire"} +
                  script +
                  Lines{"Compactage base RAZ temporaire", "Suppression bases RAZ temporaires",
                        "Installation de la base terminée -> succès"} +
                  kFinLog));
  for (const std::string& base : {kSchoolFolder + "Bases\\Quelis.mdb", kSchoolFolder + "RAZ\\Quelis.mdb"}) {
    EXPECT_EQ(rows(base, "VERSION", {"livers", "liverslexe"}), (std::vector<Lines>{{"4.4.0.3", "4.4.0.1"}})) << base;
  }
  EXPECT_EQ(tree("C/QUELISECOLE/Donnees/BSECOLE/RAZ"), (std::vector<std::string>{"Quelis.mdb"}));
  EXPECT_EQ(read(kSchoolBases + "Bases/libelle.txt"), "CDIF de Torvandes (base Ecole)");
}

TEST_F(SchoolTest, CurrentDatabaseWithoutResetDatabaseGetsACopyOfTheUpdatedOne) {
  dossier(kSchoolFolder, kSchoolBases, echantillon::SiteTorvandes(), std::string("4.4.0.1"), 4);
  const Outcome sortie = run("C:\\QUELISECOLE");
  ASSERT_EQ(sortie.status, 0) << sortie.output;
  EXPECT_NE(read(kSchoolBases + "Bases/" + kLog)
                .find("Suppression bases temporaires\r\nCopie de la base initiale RAZ\r\n"
                      "Installation de la base terminée -> succès\r\n"),
            std::string::npos);
  EXPECT_EQ(bytes(kSchoolBases + "RAZ/Quelis.mdb"), bytes(kSchoolBases + "Bases/Quelis.mdb"));
  EXPECT_EQ(rows(kSchoolFolder + "RAZ\\Quelis.mdb", "VERSION", {"livers"}), (std::vector<Lines>{{"4.4.0.3"}}));
}

}  // namespace
}  // namespace app_test
