// The layout migration of an old data location into "Donnees\" + CDIF code, its refusals, and
// the move of the network's old script logs.
#include "launcher_fixture.h"

namespace launcher_test {
namespace {

using Lines = std::vector<std::string>;

class MigrationTest : public LauncherTest {
 protected:
  // An old portable layout on drive `lecteur` ("C" or "D"), the program in C:\QUELIS.
  void ancienPortable(const std::string& lecteur) {
    const std::string top = lecteur + "/QUELIS";
    folder("C/QUELIS");
    ini("C/QUELIS", lecteur + ":\\Quelis\\");
    file(top + "/Bases/Quelis.mdb", "base");
    file(top + "/Bases/libelle.txt", "Lille");
    file(top + "/RAZ/Quelis.mdb", "raz");
    file(top + "/Profils/admin.prf", "profil");
    file(top + "/Lettres/Accord.dot", "lettre");
    baseMigration.emplace();
  }
  std::string log() { return read("C/QUELIS/" + kLogName); }
  static Lines Debut(const std::string& D) {
    return {"", "-- Migration des données à faire : " + D + "Bases"};
  }
};

TEST_F(MigrationTest, PortableOnCMovesBasesAndProfilesCopiesLettersLeavesRaz) {
  ancienPortable("C");
  traitement.emplace();
  Program& program = start("C:\\QUELIS");
  EXPECT_TRUE(program.ended());
  const std::string D = "C:\\Quelis\\";
  const std::string T = "C:\\Quelis\\Donnees\\0590100\\";
  const Lines migration = Debut(D) + Lines{
      "création de C:\\Quelis\\Donnees\\ : OK",
      "création de " + T + " : OK",
      "Déplacement du dossier C:\\Quelis\\Bases vers " + T + "Bases : OK",
      "Déplacement du dossier C:\\Quelis\\Profils vers " + T + "Profils : OK",
      "Copie du dossier C:\\Quelis\\Lettres vers " + T + "Lettres : OK"};
  EXPECT_EQ(log(), lines(Header("Configuration PORTABLE") + migration +
                         Definition("C:\\QUELIS\\Quelis.ini", "C:\\Quelis\\Donnees\\", true, true) +
                         Lines{"", "-- Mise à jour des données (bases et/ou lettres)",
                               "-- Choix mise à jour d'un seul dossier de données", "",
                               "Traitement du dossier " + T + " (Lille) - début traitement",
                               "\tTraitement de la base " + T + "Bases\\Quelis.mdb (Lille) - début traitement",
                               "\t\tTraitement de la base réussi",
                               "\tTraitement de la base " + T + "Bases\\Quelis.mdb (Lille) - fin traitement",
                               "Traitement du dossier " + T + " (Lille) - fin traitement"} +
                         kEndLines));
  EXPECT_EQ(form().CheminDonnees, "C:\\Quelis\\Donnees\\");
  EXPECT_EQ(read("C/QUELIS/Quelis.ini"), "[INIT]\r\nChemin donnees=C:\\Quelis\\Donnees\\\r\n");
  EXPECT_EQ(baseMigration->appels,
            (Lines{"ouvrir C:\\Quelis\\Bases\\Quelis.mdb", "version", "cdif", "fermer"}));
  EXPECT_EQ(tree("C/QUELIS/Donnees"),
            (Lines{"0590100/", "0590100/Bases/", "0590100/Bases/Quelis.mdb", "0590100/Bases/libelle.txt",
                   "0590100/Lettres/", "0590100/Lettres/Accord.dot", "0590100/Profils/",
                   "0590100/Profils/admin.prf"}));
  EXPECT_FALSE(exists("C/QUELIS/Bases"));
  EXPECT_FALSE(exists("C/QUELIS/Profils"));
  EXPECT_TRUE(exists("C/QUELIS/RAZ/Quelis.mdb"));      // a portable RAZ stays
  EXPECT_TRUE(exists("C/QUELIS/Lettres/Accord.dot"));  // the program's templates stay
}

TEST_F(MigrationTest, PortableOnDMovesTheLettersToo) {
  ancienPortable("D");
  Program& program = load("C:\\QUELIS", ModeLancement::Interactif);
  program.Act([&] { form().Form_Load(); });
  EXPECT_FALSE(program.ended());
  const std::string T = "D:\\Quelis\\Donnees\\0590100\\";
  EXPECT_NE(log().find("Déplacement du dossier D:\\Quelis\\Lettres vers " + T + "Lettres : OK\r\n"),
            std::string::npos)
      << log();
  EXPECT_FALSE(exists("D/QUELIS/Lettres"));
  EXPECT_TRUE(exists("D/QUELIS/Donnees/0590100/Lettres/Accord.dot"));
  EXPECT_EQ(form().CheminDonnees, "D:\\Quelis\\Donnees\\");
  EXPECT_EQ(form().cboListeLecteurs.items(), Lines{"D:\\Quelis\\Donnees\\"});
  ASSERT_EQ(form().NbDossiers, 1);  // the migrated folder is found at once
  EXPECT_EQ(form().ListeDossiers[0].Libelle, "Lille");
}

TEST_F(MigrationTest, SchoolUsesBsecoleWithoutQueryAndMovesRaz) {
  folder("C/QUELISECOLE");
  ini("C/QUELISECOLE", "C:\\QuelisEcole\\");
  file("C/QUELISECOLE/Bases/Quelis.mdb", "base");
  file("C/QUELISECOLE/RAZ/Quelis.mdb", "raz");
  baseMigration.emplace();
  baseMigration->codes.clear();  // not asked anyway
  Program& program = load("C:\\QUELISECOLE", ModeLancement::Interactif);
  program.Act([&] { form().Form_Load(); });
  const std::string T = "C:\\QuelisEcole\\Donnees\\BSECOLE\\";
  const std::string text = read("C/QUELISECOLE/" + kLogName);
  EXPECT_NE(text.find(lines(Debut("C:\\QuelisEcole\\") +
                            Lines{"création de C:\\QuelisEcole\\Donnees\\ : OK", "création de " + T + " : OK",
                                  "Déplacement du dossier C:\\QuelisEcole\\Bases vers " + T + "Bases : OK",
                                  "Déplacement du dossier C:\\QuelisEcole\\RAZ vers " + T + "RAZ : OK",
                                  "Déplacement du dossier C:\\QuelisEcole\\Profils vers " + T +
                                      "Profils : KO car dossier initial absent.",
                                  "Copie/Déplacement du dossier C:\\QuelisEcole\\Lettres vers " + T +
                                      "Lettres : KO car dossier initial absent."})),
            std::string::npos)
      << text;
  EXPECT_EQ(baseMigration->appels, (Lines{"ouvrir C:\\QuelisEcole\\Bases\\Quelis.mdb", "version", "fermer"}));
  EXPECT_TRUE(exists("C/QUELISECOLE/Donnees/BSECOLE/RAZ/Quelis.mdb"));
  EXPECT_EQ(form().ListeDossiers.at(0).Chemin, T);
}

TEST_F(MigrationTest, ExistingTargetsAreKeptAndReportedKo) {
  ancienPortable("C");
  file("C/QUELIS/Donnees/0590100/Bases/Quelis.mdb", "déjà migrée");
  Program& program = load("C:\\QUELIS", ModeLancement::Interactif);
  program.Act([&] { form().Form_Load(); });
  const std::string T = "C:\\Quelis\\Donnees\\0590100\\";
  EXPECT_NE(log().find(lines(Debut("C:\\Quelis\\") +
                             Lines{"Dossier C:\\Quelis\\Donnees\\ déjà présent.", "Dossier " + T + " déjà présent.",
                                   "Déplacement du dossier C:\\Quelis\\Bases vers " + T +
                                       "Bases : KO car dossier destinataire déjà présent.",
                                   "Déplacement du dossier C:\\Quelis\\Profils vers " + T + "Profils : OK"})),
            std::string::npos)
      << log();
  EXPECT_EQ(read("C/QUELIS/Bases/Quelis.mdb"), "base");
  EXPECT_EQ(read("C/QUELIS/Donnees/0590100/Bases/Quelis.mdb"), "déjà migrée");
}

TEST_F(MigrationTest, CdifCodeIsTrimmedAndFirstRowWins) {
  ancienPortable("C");
  baseMigration->codes = {"0590100   ", "0620200"};
  Program& program = load("C:\\QUELIS", ModeLancement::Interactif);
  program.Act([&] { form().Form_Load(); });
  EXPECT_TRUE(exists("C/QUELIS/Donnees/0590100/Bases/Quelis.mdb"));
  EXPECT_FALSE(exists("C/QUELIS/Donnees/0620200"));
}

TEST_F(MigrationTest, RefusalsStopTheRunMovingNothing) {
  struct Cas {
    const char* nom;
    std::function<void(BaseEnMemoire&)> prepare;
    std::string ligne;       // last migration line of the log
    std::string message;     // box shown to an operator
    bool donneesCree;        // the empty Donnees\ may stay behind
  };
  const std::string base = "C:\\Quelis\\Bases\\Quelis.mdb";
  const Cas cas[] = {
      {"version", [](BaseEnMemoire& b) { b.livers = "4.4.0.3"; }, "Version de la base " + base + " incompatible (4.4.0.3).",
       "La version de la base de données " + base + " à transférer n'est pas valide : 4.4.0.3", false},
      {"version with blank", [](BaseEnMemoire& b) { b.livers = "4.4.0.1 "; },
       "Version de la base " + base + " incompatible (4.4.0.1 ).",
       "La version de la base de données " + base + " à transférer n'est pas valide : 4.4.0.1 ", false},
      {"no CDIF row", [](BaseEnMemoire& b) { b.codes.clear(); }, "Code CDIF incorrect : ", "Code CDIF incorrect : ", true},
      {"six characters", [](BaseEnMemoire& b) { b.codes = {"059010"}; }, "Code CDIF incorrect : 059010\\",
       "Code CDIF incorrect : 059010\\", true},
      {"eight characters", [](BaseEnMemoire& b) { b.codes = {"05901000"}; }, "Code CDIF incorrect : 05901000\\",
       "Code CDIF incorrect : 05901000\\", true},
  };
  for (const Cas& c : cas) {
    SCOPED_TRACE(c.nom);
    fs::remove_all(folder("C"));
    ancienPortable("C");
    c.prepare(*baseMigration);
    boxes = ui::ScriptedMessageBoxes();
    Program& program = start("C:\\QUELIS", ModeLancement::Interactif);
    EXPECT_TRUE(program.ended());
    EXPECT_TRUE(form().EnErreur);
    const std::string text = log();
    EXPECT_EQ(text.substr(text.size() - lines(Lines{c.ligne} + kEndLines).size()), lines(Lines{c.ligne} + kEndLines))
        << text;
    ASSERT_EQ(boxes.shown().size(), 2u);
    EXPECT_EQ(boxes.shown()[0].text, c.message);
    EXPECT_EQ(boxes.shown()[0].style, ui::vbOKOnly);
    EXPECT_EQ(boxes.shown()[1].text.rfind("Une erreur a été rencontrée", 0), 0u);
    EXPECT_EQ(baseMigration->appels.back(), "fermer");
    EXPECT_EQ(read("C/QUELIS/Bases/Quelis.mdb"), "base");
    EXPECT_TRUE(exists("C/QUELIS/Profils/admin.prf"));
    EXPECT_EQ(exists("C/QUELIS/Donnees"), c.donneesCree);
    EXPECT_FALSE(exists("C/QUELIS/Donnees/0590100"));
  }
}

TEST_F(MigrationTest, NullVersionPassesTheGate) {
  ancienPortable("C");
  baseMigration->livers.reset();
  Program& program = load("C:\\QUELIS", ModeLancement::Interactif);
  program.Act([&] { form().Form_Load(); });
  EXPECT_FALSE(program.ended());
  EXPECT_TRUE(exists("C/QUELIS/Donnees/0590100/Bases/Quelis.mdb"));
}

TEST_F(MigrationTest, MissingDatabaseEndsTheRunSilently) {
  ancienPortable("C");
  fs::remove(folder("C/QUELIS/Bases") / "Quelis.mdb");
  Program& program = start("C:\\QUELIS");
  EXPECT_TRUE(program.ended());
  EXPECT_TRUE(form().EnErreur);
  EXPECT_TRUE(boxes.shown().empty());
  EXPECT_EQ(log(), lines(Header("Configuration PORTABLE") + Debut("C:\\Quelis\\") +
                         Lines{"Aucune base à traiter dans le dossier C:\\Quelis\\Bases"} + kEndLines));
  EXPECT_TRUE(baseMigration->appels.empty());
  EXPECT_FALSE(exists("C/QUELIS/Donnees"));
}

TEST_F(MigrationTest, LockedOrUnavailableDatabaseGoesToTheErrorReport) {
  ancienPortable("C");
  baseMigration->verrouillee = true;
  Program& program = start("C:\\QUELIS");
  EXPECT_TRUE(program.ended());
  EXPECT_TRUE(form().EnErreur);
  std::string text = log();
  EXPECT_NE(text.find("Procédure : Form_Load\r\nErreur n° 2147224549\r\n"), std::string::npos) << text;
  EXPECT_EQ(text.find("Fin : "), std::string::npos);
  EXPECT_FALSE(exists("C/QUELIS/Donnees"));

  // Through the real engine (the default), a file that is no Access database is refused by
  // its own error, and nothing moves either.
  baseMigration.reset();
  start("C:\\QUELIS");
  text = log();
  EXPECT_NE(text.find("Procédure : Form_Load\r\nErreur n° 2147224847\r\n"
                      "Format de base de données 'C:\\Quelis\\Bases\\Quelis.mdb' non reconnu.\r\n"),
            std::string::npos)
      << text;
  EXPECT_FALSE(exists("C/QUELIS/Donnees"));
  EXPECT_EQ(read("C/QUELIS/Bases/Quelis.mdb"), "base");
}

TEST_F(MigrationTest, OnlyOldPlacesOfThisReleaseMigrate) {
  // The new layout is left alone.
  folder("C/QUELIS/Donnees");
  ini("C/QUELIS", "C:\\Quelis\\Donnees\\");
  baseMigration.emplace();
  start("C:\\QUELIS");
  EXPECT_EQ(log().find("Migration"), std::string::npos);
  EXPECT_TRUE(baseMigration->appels.empty());

  // Another release neither accepts nor migrates the old place.
  ancienPortable("C");
  start("C:\\QUELIS", ModeLancement::Silencieux, 312);
  EXPECT_EQ(read("C/QUELIS/QuelisBase_4.4.3_20130115143005.log").find("Migration"), std::string::npos);
  EXPECT_TRUE(exists("C/QUELIS/Bases/Quelis.mdb"));
}

TEST_F(MigrationTest, NetworkMovesOldScriptLogsInListingOrder) {
  folder("G/QUELIS");
  folder("H/NPX/LOG");
  file("G/QUELIS/QuelisB_script.log", "b");
  file("G/QUELIS/quelisA-SCRIPT.LOG", "a");
  file("G/QUELIS/QUELIS.LOG", "pas un script");
  file("G/QUELIS/AutreScript.log", "autre");
  file("G/QUELIS/QuelisScript.log.bak", "sauvegarde");
  baseMigration.emplace();
  start("G:\\QUELIS");
  const std::string dest = "H:\\NPX\\LOG\\Quelis\\";
  EXPECT_EQ(read("H/NPX/LOG/Quelis/" + kLogName),
            lines(Header("Configuration NPX-CDIF") +
                  Lines{"Déplacement du fichier G:\\QUELIS\\quelisA-SCRIPT.LOG vers " + dest,
                        "Déplacement du fichier " + dest + "quelisA-SCRIPT.LOG vers " + dest + " : OK",
                        "Déplacement du fichier G:\\QUELIS\\QuelisB_script.log vers " + dest,
                        "Déplacement du fichier " + dest + "QuelisB_script.log vers " + dest + " : OK"} +
                  kAucunDossier + kEndLines));
  EXPECT_EQ(read("H/NPX/LOG/Quelis/quelisA-SCRIPT.LOG"), "a");
  EXPECT_FALSE(exists("G/QUELIS/QuelisB_script.log"));
  EXPECT_TRUE(exists("G/QUELIS/QUELIS.LOG"));
  EXPECT_TRUE(exists("G/QUELIS/AutreScript.log"));
  EXPECT_TRUE(exists("G/QUELIS/QuelisScript.log.bak"));
  EXPECT_TRUE(baseMigration->appels.empty());
}

TEST_F(MigrationTest, NetworkScriptLogAlreadyInTheLogFolderIsAnError) {
  folder("G/QUELIS");
  file("G/QUELIS/QuelisScript.log", "nouveau");
  file("H/NPX/LOG/Quelis/QuelisScript.log", "ancien");
  start("G:\\QUELIS");
  EXPECT_TRUE(form().EnErreur);
  const std::string text = read("H/NPX/LOG/Quelis/" + kLogName);
  EXPECT_NE(text.find("Déplacement du fichier G:\\QUELIS\\QuelisScript.log vers H:\\NPX\\LOG\\Quelis\\\r\n\r\n"
                      "L'erreur suivante s'est produite durant la mise à jour :\r\nProcédure : Form_Load\r\n"),
            std::string::npos)
      << text;
  EXPECT_EQ(read("H/NPX/LOG/Quelis/QuelisScript.log"), "ancien");
  EXPECT_EQ(read("G/QUELIS/QuelisScript.log"), "nouveau");
}

}  // namespace
}  // namespace launcher_test
