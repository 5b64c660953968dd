// Database discovery at the data location: which folders are data folders, their labels from
// libelle.txt, their order, and the network's grouping folders.
#include "launcher_fixture.h"

namespace launcher_test {
namespace {

class DiscoveryTest : public LauncherTest {
 protected:
  // Loads the portable program on C:\Quelis\Donnees\ without running it.
  Program& loadPortable() {
    folder("C/QUELIS/Donnees");
    ini("C/QUELIS", "C:\\Quelis\\Donnees\\");
    Program& program = load("C:\\QUELIS", ModeLancement::Interactif);
    program.Act([&] { form().Form_Load(); });
    return program;
  }
  static std::vector<std::string> Chemins(const std::vector<DossierDonnees>& liste) {
    std::vector<std::string> out;
    for (const auto& d : liste) out.push_back(d.Chemin);
    return out;
  }
};

TEST_F(DiscoveryTest, OnlySevenCharacterFoldersWithBasesAreListedInFileSystemOrder) {
  folder("C/QUELIS/Donnees/0620200/Bases");
  file("C/QUELIS/Donnees/0620200/Bases/libelle.txt", "CDIF d'Arras\r\nligne ignorée\r\n");
  folder("C/QUELIS/Donnees/0590100/Bases");  // no label file
  file("C/QUELIS/Donnees/059010/Bases/Quelis.mdb", "six caractères");
  file("C/QUELIS/Donnees/05901000/Bases/Quelis.mdb", "huit caractères");
  folder("C/QUELIS/Donnees/0600000/Profils");  // no Bases
  folder("C/QUELIS/Donnees/abcdefg/Bases");    // Bases without database: still listed
  file("C/QUELIS/Donnees/0610000/Bases/libelle.txt", "\r\nsuite");  // empty first line
  file("C/QUELIS/Donnees/0630000/Bases/libelle.txt", "Centre des impôts fonciers");  // no line end
  Program& program = loadPortable();
  ASSERT_FALSE(program.ended());

  ASSERT_EQ(form().NbDossiers, 5);
  const std::vector<DossierDonnees>& l = form().ListeDossiers;
  ASSERT_EQ(l.size(), 5u);
  const std::vector<std::string> attendus{
      "C:\\Quelis\\Donnees\\0590100\\", "C:\\Quelis\\Donnees\\0610000\\", "C:\\Quelis\\Donnees\\0620200\\",
      "C:\\Quelis\\Donnees\\0630000\\", "C:\\Quelis\\Donnees\\abcdefg\\"};
  EXPECT_EQ(Chemins(l), attendus);
  EXPECT_EQ(l[0].Libelle, "Base inconnue (C:\\Quelis\\Donnees\\0590100)");
  EXPECT_EQ(l[1].Libelle, "Base inconnue (C:\\Quelis\\Donnees\\0610000)");
  EXPECT_EQ(l[2].Libelle, "CDIF d'Arras");
  EXPECT_EQ(l[3].Libelle, "Centre des impôts fonciers");  // read as Windows-1252
  // The folder combo shows the paths, index for index.
  EXPECT_EQ(form().cboListeBases.items(), attendus);
}

TEST_F(DiscoveryTest, LabelKeepsItsBlanksAndIsTakenWhole) {
  file("C/QUELIS/Donnees/0590100/Bases/libelle.txt", "  Lille  \tnord ");
  loadPortable();
  ASSERT_EQ(form().NbDossiers, 1);
  EXPECT_EQ(form().ListeDossiers[0].Libelle, "  Lille  \tnord ");
}

TEST_F(DiscoveryTest, EmptyLabelFileIsAnErrorThatEndsTheRun) {
  folder("C/QUELIS/Donnees/0590100/Bases");
  file("C/QUELIS/Donnees/0620200/Bases/libelle.txt", "");
  Program& program = loadPortable();
  EXPECT_TRUE(program.ended());
  EXPECT_TRUE(form().EnErreur);
  const std::string log = read("C/QUELIS/" + kLogName);
  EXPECT_NE(log.find("\r\nL'erreur suivante s'est produite durant la mise à jour :\r\nProcédure : RechercheBases\r\n"
                     "Erreur n° 2147221566\r\nL'entrée dépasse la fin de fichier\r\n\r\n"),
            std::string::npos)
      << log;
  EXPECT_EQ(log.find("Fin : "), std::string::npos);  // ended inside the error report
}

TEST_F(DiscoveryTest, MissingLocationLeavesTheListEmpty) {
  folder("C/QUELIS");
  ini("C/QUELIS", "D:\\Quelis\\Donnees\\");
  folder("D");
  Program& program = load("C:\\QUELIS", ModeLancement::Interactif);
  program.Act([&] { form().Form_Load(); });
  EXPECT_FALSE(program.ended());
  EXPECT_EQ(form().CheminDonnees, "D:\\Quelis\\Donnees\\");
  EXPECT_EQ(form().NbDossiers, 0);
  EXPECT_TRUE(form().ListeDossiers.empty());
  EXPECT_EQ(form().cboListeBases.listCount(), 0);
}

TEST_F(DiscoveryTest, NetworkFindsDataFoldersOnlyUnderThreeCharacterGroups) {
  folder("G/QUELIS");
  folder("H/NPX/LOG");
  registry("E:\\Reseau\\Donnees\\", "F:\\Echange\\");
  file("E/Reseau/Donnees/059/0590100/QUELIS/Bases/libelle.txt", "Lille");
  folder("E/Reseau/Donnees/059/0590300/Bases");            // not under QUELIS\: not found
  folder("E/Reseau/Donnees/0620200/QUELIS/Bases");         // not grouped: not found
  folder("E/Reseau/Donnees/0599/0590200/QUELIS/Bases");    // four characters: not a group
  folder("E/Reseau/Donnees/062/0620400/QUELIS/Bases");
  Program& program = load("G:\\QUELIS", ModeLancement::Interactif);
  program.Act([&] { form().Form_Load(); });
  ASSERT_EQ(form().NbDossiers, 2);
  EXPECT_EQ(Chemins(form().ListeDossiers),
            (std::vector<std::string>{"E:\\Reseau\\Donnees\\059\\0590100\\QUELIS\\",
                                      "E:\\Reseau\\Donnees\\062\\0620400\\QUELIS\\"}));
  EXPECT_EQ(form().ListeDossiers[0].Libelle, "Lille");
  EXPECT_EQ(form().ListeDossiers[1].Libelle, "Base inconnue (E:\\Reseau\\Donnees\\062\\0620400)");
}

TEST_F(DiscoveryTest, ChangingTheLocationRebuildsTheListFromNothing) {
  folder("C/QUELIS/Donnees/0590100/Bases");
  folder("C/QUELIS/Donnees/0620200/Bases");
  folder("D/Quelis/Donnees/0700000/Bases");
  folder("C/QUELIS");
  Program& program = load("C:\\QUELIS", ModeLancement::Interactif);  // no INI: both drives offered
  program.Act([&] { form().Form_Load(); });
  EXPECT_EQ(form().cboListeLecteurs.text(), "D:\\Quelis\\Donnees\\");
  EXPECT_EQ(form().NbDossiers, 1);
  program.Act([&] { form().cboListeLecteurs.choose(0); });
  EXPECT_EQ(form().CheminDonnees, "C:\\Quelis\\Donnees\\");
  EXPECT_EQ(form().NbDossiers, 2);
  EXPECT_EQ(Chemins(form().ListeDossiers),
            (std::vector<std::string>{"C:\\Quelis\\Donnees\\0590100\\", "C:\\Quelis\\Donnees\\0620200\\"}));
  EXPECT_EQ(form().cboListeBases.listCount(), 2);
}

}  // namespace
}  // namespace launcher_test
