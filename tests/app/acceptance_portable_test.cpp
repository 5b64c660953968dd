// Portable workstations run as a whole: the data location from Quelis.ini in the new layout,
// the old layout migrated on C: and on D:, each database updated through its copies.
#include "acceptance_fixture.h"

namespace app_test {
namespace {

const Lines kSurvey{"NUFICHE", "DAFICTOPO", "COFICTOPO", "LIFICADR", "LIFICOBS"};

class PortableTest : public AcceptanceTest {};

TEST_F(PortableTest, NewLayoutUpdatesEveryDataFolderAndLogsEachStep) {
  file("C/QUELIS/Quelis.ini", "[INIT]\r\nChemin donnees=C:\\Quelis\\Donnees\\\r\n");
  dossier("C:\\Quelis\\Donnees\\0590100\\", "C/QUELIS/Donnees/0590100/", Lille());
  dossier("C:\\Quelis\\Donnees\\0620200\\", "C/QUELIS/Donnees/0620200/", Arras(), std::string("4.4.0.1"), 4);
  const std::vector<Lines> avant = rows("C:\\Quelis\\Donnees\\0590100\\Bases\\Quelis.mdb", "FICHE", kSurvey);
  const std::vector<Lines> sauvegarde =
      rows("C:\\Quelis\\Donnees\\0590100\\Bases\\QuelisSauv_18012013.mdb", "FICHE", kSurvey);

  const Outcome sortie = run("C:\\QUELIS");
  ASSERT_EQ(sortie.status, 0) << sortie.output;

  EXPECT_EQ(read("C/QUELIS/" + kLog),
            lines(EnTeteRun("Configuration PORTABLE") +
                  Lines{"", "-- Définition de l'emplacement des données",
                        "\tMise à jour du fichier C:\\QUELIS\\Quelis.ini avec le chemin C:\\Quelis\\Donnees\\",
                        "\tMise à jour du fichier ini terminée", "\tCréation du dossier inutile car déjà existant",
                        "\tCréation du dossier inutile car déjà existant", "",
                        "-- Mise à jour des données (bases et/ou lettres)",
                        "-- Choix mise à jour de 2 dossiers de données"} +
                  DossierTraite("C:\\Quelis\\Donnees\\0590100\\", "Centre des impôts fonciers de Lille", true) +
                  DossierTraite("C:\\Quelis\\Donnees\\0620200\\", "Centre des impôts fonciers d'Arras", true) +
                  kFinLog));
  EXPECT_EQ(read("C/QUELIS/Donnees/0590100/Bases/" + kLog),
            lines(EnTeteBase("Centre des impôts fonciers de Lille") + MiseAJourReussie(3, 12) + kFinLog));
  EXPECT_EQ(read("C/QUELIS/Donnees/0620200/Bases/" + kLog),
            lines(EnTeteBase("Centre des impôts fonciers d'Arras") + MiseAJourReussie(1, 4) + kFinLog));

  EXPECT_EQ(tree("C/QUELIS/Donnees"),
            (std::vector<std::string>{"0590100/", "0590100/Bases/", "0590100/Bases/Quelis.mdb",
                                      "0590100/Bases/" + kLog, "0590100/Bases/QuelisSauv_18012013.mdb",
                                      "0590100/Bases/libelle.txt", "0620200/", "0620200/Bases/",
                                      "0620200/Bases/Quelis.mdb", "0620200/Bases/" + kLog,
                                      "0620200/Bases/QuelisSauv_18012013.mdb", "0620200/Bases/libelle.txt"}));

  const std::string base = "C:\\Quelis\\Donnees\\0590100\\Bases\\Quelis.mdb";
  EXPECT_EQ(rows(base, "VERSION", {"livers", "liverslexe"}), (std::vector<Lines>{{"4.4.0.3", "4.4.0.1"}}));
  const std::vector<Lines> apres = rows(base, "FICHE", kSurvey);
  ASSERT_EQ(apres.size(), avant.size());
  // Records 1000, 1008 and 1010 are the restored ones (type '1', no survey check, no
  // completion, no plan, a twin): they carry their twin's survey data, and only that changed.
  for (std::size_t i = 0; i < avant.size(); ++i) {
    SCOPED_TRACE(avant[i][0]);
    const bool restauree = avant[i][0] == "1000" || avant[i][0] == "1008" || avant[i][0] == "1010";
    Lines attendu = avant[i];
    if (restauree) {
      for (const Lines& s : sauvegarde) {
        if (s[0] == avant[i][0] && s[3] == avant[i][3]) {
          attendu[1] = s[1];
          attendu[2] = s[2];
        }
      }
      EXPECT_NE(attendu, avant[i]);
    }
    EXPECT_EQ(apres[i], attendu);
  }
  // The CDIF table and the backup are untouched.
  EXPECT_EQ(rows(base, "CDIF", {"cocditype", "licdif"}),
            (std::vector<Lines>{{"2", "Service des impôts des particuliers voisin"},
                                {"1", "Centre des impôts fonciers de Lille"}}));
  EXPECT_EQ(rows("C:\\Quelis\\Donnees\\0590100\\Bases\\QuelisSauv_18012013.mdb", "FICHE", kSurvey), sauvegarde);
}

class PortableMigrationTest : public AcceptanceTest {
 protected:
  // The old layout on `lecteur`: its Bases\, Profils\ and Lettres\ go to Donnees\0590100\.
  void ancienne(const std::string& lecteur) {
    file("C/QUELIS/Quelis.ini", "[INIT]\r\nChemin donnees=" + lecteur + ":\\Quelis\\\r\n");
    // On C: the program's folder C:\QUELIS\ is the old data location itself.
    const std::string ici = lecteur == "C" ? "C/QUELIS/" : lecteur + "/Quelis/";
    dossier(lecteur + ":\\Quelis\\", ici, Lille(), std::string("4.4.0.1"), 8);
    file(ici + "Profils/admin.prf", "[Profil]\r\n");
    file(ici + "Lettres/Accord.dot", "lettre");
  }
};

TEST_F(PortableMigrationTest, OldLayoutOnCIsMovedThenUpdated) {
  ancienne("C");
  const Outcome sortie = run("C:\\QUELIS");
  ASSERT_EQ(sortie.status, 0) << sortie.output;
  const std::string T = "C:\\Quelis\\Donnees\\0590100\\";
  const std::string log = read("C/QUELIS/" + kLog);
  EXPECT_NE(log.find(lines({"", "-- Migration des données à faire : C:\\Quelis\\Bases",
                            "création de C:\\Quelis\\Donnees\\ : OK", "création de " + T + " : OK",
                            "Déplacement du dossier C:\\Quelis\\Bases vers " + T + "Bases : OK",
                            "Déplacement du dossier C:\\Quelis\\Profils vers " + T + "Profils : OK",
                            "Copie du dossier C:\\Quelis\\Lettres vers " + T + "Lettres : OK"})),
            std::string::npos)
      << log;
  EXPECT_NE(log.find(lines(DossierTraite(T, "Centre des impôts fonciers de Lille", true))), std::string::npos) << log;
  EXPECT_EQ(tree("C/QUELIS/Donnees/0590100"),
            (std::vector<std::string>{"Bases/", "Bases/Quelis.mdb", "Bases/" + kLog, "Bases/QuelisSauv_18012013.mdb",
                                      "Bases/libelle.txt", "Lettres/", "Lettres/Accord.dot", "Profils/",
                                      "Profils/admin.prf"}));
  EXPECT_FALSE(exists("C/QUELIS/Bases"));
  EXPECT_TRUE(exists("C/QUELIS/Lettres/Accord.dot"));  // copied, not moved: the program's templates
  EXPECT_EQ(read("C/QUELIS/Quelis.ini"), "[INIT]\r\nChemin donnees=C:\\Quelis\\Donnees\\\r\n");
  EXPECT_EQ(rows(T + "Bases\\Quelis.mdb", "VERSION", {"livers"}), (std::vector<Lines>{{"4.4.0.3"}}));
}

TEST_F(PortableMigrationTest, OldLayoutOnDIsMovedThenUpdated) {
  folder("C/QUELIS");
  ancienne("D");
  const Outcome sortie = run("C:\\QUELIS");
  ASSERT_EQ(sortie.status, 0) << sortie.output;
  const std::string T = "D:\\Quelis\\Donnees\\0590100\\";
  const std::string log = read("C/QUELIS/" + kLog);
  EXPECT_NE(log.find("Déplacement du dossier D:\\Quelis\\Lettres vers " + T + "Lettres : OK\r\n"), std::string::npos)
      << log;
  EXPECT_NE(log.find(lines(DossierTraite(T, "Centre des impôts fonciers de Lille", true))), std::string::npos) << log;
  EXPECT_FALSE(exists("D/Quelis/Lettres"));  // on D: the letters move with the rest
  EXPECT_EQ(read("D/Quelis/Donnees/0590100/Bases/" + kLog),
            lines(EnTeteBase("Centre des impôts fonciers de Lille") + MiseAJourReussie(1, 8) + kFinLog));
  EXPECT_EQ(rows(T + "Bases\\Quelis.mdb", "VERSION", {"livers"}), (std::vector<Lines>{{"4.4.0.3"}}));
}

TEST_F(PortableTest, WithoutIniTheFixedDriveIsChosenAndACdDriveIgnored) {
  folder("C/QUELIS");
  file("drives.ini", "[Drives]\r\nD=cdrom\r\n");
  dossier("C:\\Quelis\\Donnees\\0590100\\", "C/QUELIS/Donnees/0590100/", Lille(), std::string("4.4.0.1"), 4);
  dossier("D:\\Quelis\\Donnees\\0620200\\", "D/Quelis/Donnees/0620200/", Arras(), std::string("4.4.0.1"), 4);
  const std::string cd = bytes("D/Quelis/Donnees/0620200/Bases/Quelis.mdb");
  const Outcome sortie = run("C:\\QUELIS");
  ASSERT_EQ(sortie.status, 0) << sortie.output;
  const std::string log = read("C/QUELIS/" + kLog);
  EXPECT_NE(log.find("\tMise à jour du fichier C:\\QUELIS\\Quelis.ini avec le chemin C:\\Quelis\\Donnees\\\r\n"),
            std::string::npos)
      << log;
  EXPECT_NE(log.find("-- Choix mise à jour d'un seul dossier de données\r\n"), std::string::npos) << log;
  EXPECT_EQ(read("C/QUELIS/Quelis.ini"), "[INIT]\r\nChemin donnees=C:\\Quelis\\Donnees\\\r\n");
  EXPECT_EQ(bytes("D/Quelis/Donnees/0620200/Bases/Quelis.mdb"), cd);
  EXPECT_EQ(rows("C:\\Quelis\\Donnees\\0590100\\Bases\\Quelis.mdb", "VERSION", {"livers"}),
            (std::vector<Lines>{{"4.4.0.3"}}));
}

}  // namespace
}  // namespace app_test
