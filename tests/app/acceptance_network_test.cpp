// Network workstations run as a whole: the data location from the registry, data folders
// under three-character grouping folders with their database one level down (QUELIS\), old
// script logs moved to the log folder, and the run log kept there.
#include "acceptance_fixture.h"

namespace app_test {
namespace {

class NetworkTest : public AcceptanceTest {
 protected:
  void SetUp() override {
    AcceptanceTest::SetUp();
    folder("G/QUELIS");
    folder("H/NPX/LOG");
    file("registry.reg",
         "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Ortavia]\r\n"
         "\"Donnees\"=\"E:\\\\Reseau\\\\Donnees\"\r\n\"Echange\"=\"F:\\\\Echange\\\\\"\r\n");
    file("drives.ini", "[Drives]\r\nE=remote\r\nF=remote\r\n");
  }
};

TEST_F(NetworkTest, GroupedFoldersAreUpdatedAndScriptLogsMoved) {
  const std::string lille = "E:\\Reseau\\Donnees\\059\\0590100\\QUELIS\\";
  const std::string arras = "E:\\Reseau\\Donnees\\062\\0620200\\QUELIS\\";
  dossier(lille, "E/Reseau/Donnees/059/0590100/QUELIS/", Lille(), std::string("4.4.0.1"), 6);
  dossier(arras, "E/Reseau/Donnees/062/0620200/QUELIS/", Arras(), std::string("4.4.0.3"), 6);
  // Not grouped: never found, never touched.
  dossier("E:\\Reseau\\Donnees\\0590300\\QUELIS\\", "E/Reseau/Donnees/0590300/QUELIS/", Lille(),
          std::string("4.4.0.1"), 2);
  const std::string horsGroupe = bytes("E/Reseau/Donnees/0590300/QUELIS/Bases/Quelis.mdb");
  const std::string dejaAJour = bytes("E/Reseau/Donnees/062/0620200/QUELIS/Bases/Quelis.mdb");
  file("G/QUELIS/QuelisMaj_SCRIPT.LOG", "ancien script");

  const Outcome sortie = run("G:\\QUELIS");
  EXPECT_EQ(sortie.status, 1) << sortie.output;  // Arras is already up to date: refused

  const std::string dest = "H:\\NPX\\LOG\\Quelis\\";
  EXPECT_EQ(read("H/NPX/LOG/Quelis/" + kLog),
            lines(EnTeteRun("Configuration NPX-CDIF") +
                  Lines{"Déplacement du fichier G:\\QUELIS\\QuelisMaj_SCRIPT.LOG vers " + dest,
                        "Déplacement du fichier " + dest + "QuelisMaj_SCRIPT.LOG vers " + dest + " : OK", "",
                        "-- Mise à jour des données (bases et/ou lettres)",
                        "-- Choix mise à jour de 2 dossiers de données"} +
                  DossierTraite(lille, "Centre des impôts fonciers de Lille", true) +
                  DossierTraite(arras, "Centre des impôts fonciers d'Arras", false) + kFinLog));
  EXPECT_EQ(read("H/NPX/LOG/Quelis/QuelisMaj_SCRIPT.LOG"), "ancien script");
  EXPECT_FALSE(exists("G/QUELIS/QuelisMaj_SCRIPT.LOG"));
  EXPECT_FALSE(exists("G/QUELIS/" + kLog));

  EXPECT_EQ(read("E/Reseau/Donnees/059/0590100/QUELIS/Bases/" + kLog),
            lines(EnTeteBase("Centre des impôts fonciers de Lille") + MiseAJourReussie(1, 6) + kFinLog));
  EXPECT_EQ(rows(lille + "Bases\\Quelis.mdb", "VERSION", {"livers"}), (std::vector<Lines>{{"4.4.0.3"}}));
  EXPECT_NE(read("E/Reseau/Donnees/062/0620200/QUELIS/Bases/" + kLog)
                .find("Erreur n° 1\r\nLa version de la base de données est déjà mise à jour : 4.4.0.3\r\n"),
            std::string::npos);
  EXPECT_EQ(bytes("E/Reseau/Donnees/062/0620200/QUELIS/Bases/Quelis.mdb"), dejaAJour);
  EXPECT_EQ(bytes("E/Reseau/Donnees/0590300/QUELIS/Bases/Quelis.mdb"), horsGroupe);
  // A silent run does not ask for the letter templates: the exchange tree stays untouched.
  EXPECT_FALSE(exists("F"));
}

}  // namespace
}  // namespace app_test
