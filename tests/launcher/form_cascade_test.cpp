// The choices the form derives from the data location: the perimeter options, the action
// boxes and their coupling, the school options and the "Mettre à jour" button.
#include "launcher_fixture.h"

namespace launcher_test {
namespace {

class CascadeTest : public LauncherTest {
 protected:
  // Loads the program in `appPath` (interactive, so nothing runs by itself).
  Program& loaded(const std::string& appPath) {
    Program& program = load(appPath, ModeLancement::Interactif);
    program.Act([&] { form().Form_Load(); });
    return program;
  }
  Program& portable(std::initializer_list<const char*> sites) {
    folder("C/QUELIS/Donnees");
    ini("C/QUELIS", "C:\\Quelis\\Donnees\\");
    for (const char* site : sites) folder(std::string("C/QUELIS/Donnees/") + site + "/Bases");
    return loaded("C:\\QUELIS");
  }
  bool checked(int index) { return form().chkActions(index).value() == ui::vbChecked; }
};

TEST_F(CascadeTest, OneFolderSelectsItAloneAndTheUpdateIsProposed) {
  portable({"0590100"});
  EXPECT_EQ(form().NbDossiers, 1);
  EXPECT_TRUE(form().fraChoixBases.enabled());
  EXPECT_TRUE(form().optChoixPerimetre(0).value());
  EXPECT_FALSE(form().optChoixPerimetre(1).value());
  EXPECT_TRUE(form().cboListeBases.enabled());
  EXPECT_EQ(form().cboListeBases.listIndex(), 0);
  EXPECT_EQ(form().cboListeBases.text(), "C:\\Quelis\\Donnees\\0590100\\");
  // Definition and update checked, templates offered but not checked.
  EXPECT_TRUE(checked(2));
  EXPECT_TRUE(checked(0));
  EXPECT_FALSE(checked(1));
  EXPECT_TRUE(form().chkActions(0).enabled());
  EXPECT_TRUE(form().chkActions(1).enabled());
  // A known location is locked, and so is its definition box.
  EXPECT_FALSE(form().chkActions(2).enabled());
  EXPECT_TRUE(form().cmdOK.enabled());
  EXPECT_TRUE(form().cmdOK.visible());
  EXPECT_EQ(form().lblMessage.caption(), "");
  EXPECT_EQ(form().mousePointer(), ui::vbDefault);
  // Not the school configuration: its options stay off.
  EXPECT_FALSE(form().fraChoixBaseEcole.enabled());
  EXPECT_EQ(state().ChoixBaseEcole, 0);
}

TEST_F(CascadeTest, SeveralFoldersSelectThemAll) {
  portable({"0590100", "0620200", "0700000"});
  EXPECT_EQ(form().NbDossiers, 3);
  EXPECT_TRUE(form().optChoixPerimetre(1).value());
  EXPECT_FALSE(form().optChoixPerimetre(0).value());
  EXPECT_FALSE(form().cboListeBases.enabled());
  EXPECT_EQ(form().cboListeBases.listIndex(), 0);
  EXPECT_TRUE(checked(0));
}

TEST_F(CascadeTest, NoFolderLeavesOnlyTheDefinition) {
  portable({});
  EXPECT_EQ(form().NbDossiers, 0);
  EXPECT_FALSE(form().fraChoixBases.enabled());
  for (int i : {0, 1}) {
    EXPECT_FALSE(form().optChoixPerimetre(i).enabled());
    EXPECT_FALSE(form().optChoixPerimetre(i).value());
  }
  EXPECT_FALSE(form().cboListeBases.enabled());
  EXPECT_TRUE(checked(2));
  EXPECT_FALSE(checked(0));
  EXPECT_FALSE(checked(1));
  EXPECT_FALSE(form().chkActions(0).enabled());
  EXPECT_FALSE(form().chkActions(1).enabled());
  EXPECT_TRUE(form().cmdOK.enabled());
}

TEST_F(CascadeTest, UncheckingTheDefinitionWithdrawsEverythingAndHidesTheButton) {
  Program& program = portable({"0590100"});
  // An open location lets the operator change the definition box.
  form().chkActions(2).setEnabled(true);
  program.Act([&] { form().chkActions(1).click(); });
  EXPECT_TRUE(checked(1));
  program.Act([&] { form().chkActions(2).click(); });
  EXPECT_FALSE(checked(0));
  EXPECT_FALSE(checked(1));
  EXPECT_FALSE(form().chkActions(0).enabled());
  EXPECT_FALSE(form().chkActions(1).enabled());
  EXPECT_FALSE(form().cmdOK.enabled());
  EXPECT_FALSE(form().cmdOK.visible());
  EXPECT_EQ(form().lblMessage.caption(), "Aucune action sélectionnée.");
  // Checking it again proposes the update once more.
  program.Act([&] { form().chkActions(2).click(); });
  EXPECT_TRUE(checked(0));
  EXPECT_FALSE(checked(1));
  EXPECT_TRUE(form().cmdOK.visible());
  EXPECT_EQ(form().lblMessage.caption(), "");
}

TEST_F(CascadeTest, UnknownLocationKeepsItsDefinitionBoxOpen) {
  folder("C/QUELIS");
  loaded("C:\\QUELIS");
  EXPECT_TRUE(form().cboListeLecteurs.enabled());
  EXPECT_TRUE(form().chkActions(2).enabled());
  EXPECT_TRUE(checked(2));
}

TEST_F(CascadeTest, SchoolWithoutFolderOffersTheSchoolDatabaseToInstall) {
  folder("C/QUELISECOLE");
  ini("C/QUELISECOLE", "C:\\QuelisEcole\\Donnees\\");
  loaded("C:\\QUELISECOLE");
  EXPECT_EQ(form().NbDossiers, 0);  // the pseudo-entry is not counted
  ASSERT_EQ(form().ListeDossiers.size(), 1u);
  EXPECT_EQ(form().ListeDossiers[0].Libelle, "Base école");
  EXPECT_EQ(form().ListeDossiers[0].Chemin, "C:\\QuelisEcole\\Donnees\\BSECOLE\\");
  EXPECT_EQ(form().cboListeBases.items(), std::vector<std::string>{"C:\\QuelisEcole\\Donnees\\BSECOLE\\"});
  EXPECT_EQ(form().cboListeBases.listIndex(), 0);
  EXPECT_FALSE(form().cboListeBases.enabled());
  EXPECT_FALSE(form().fraChoixBases.enabled());
  EXPECT_FALSE(form().optChoixPerimetre(0).value());
  EXPECT_FALSE(form().optChoixPerimetre(1).value());
  // The update is proposed, as an installation: nothing to keep.
  EXPECT_TRUE(checked(0));
  EXPECT_TRUE(form().fraChoixBaseEcole.enabled());
  EXPECT_FALSE(form().optBasesEcole(0).enabled());
  EXPECT_TRUE(form().optBasesEcole(1).value());
  EXPECT_TRUE(form().optBasesEcole(2).enabled());
  EXPECT_EQ(state().ChoixBaseEcole, 2);
}

TEST_F(CascadeTest, SchoolWithItsFolderKeepsTheCurrentDatabaseUnlessUnchecked) {
  folder("C/QUELISECOLE/Donnees/BSECOLE/Bases");
  ini("C/QUELISECOLE", "C:\\QuelisEcole\\Donnees\\");
  Program& program = loaded("C:\\QUELISECOLE");
  EXPECT_EQ(form().NbDossiers, 1);
  EXPECT_EQ(form().ListeDossiers[0].Chemin, "C:\\QuelisEcole\\Donnees\\BSECOLE\\");
  // School runs never choose a perimeter.
  EXPECT_FALSE(form().optChoixPerimetre(0).value());
  EXPECT_FALSE(form().cboListeBases.enabled());
  EXPECT_TRUE(form().optBasesEcole(0).enabled());
  EXPECT_TRUE(form().optBasesEcole(0).value());
  EXPECT_EQ(state().ChoixBaseEcole, 1);

  program.Act([&] { form().chkActions(0).click(); });
  EXPECT_FALSE(form().fraChoixBaseEcole.enabled());
  for (int i : {0, 1, 2}) {
    EXPECT_FALSE(form().optBasesEcole(i).enabled());
    EXPECT_FALSE(form().optBasesEcole(i).value());
  }
  EXPECT_EQ(state().ChoixBaseEcole, 1);  // the last choice stays recorded
  EXPECT_TRUE(form().cmdOK.enabled());   // the definition is still checked
}

TEST_F(CascadeTest, NetworkLocationIsLockedAndItsFoldersProposed) {
  folder("G/QUELIS");
  folder("H/NPX/LOG");
  registry("E:\\Reseau\\Donnees\\", "F:\\Echange\\");
  folder("E/Reseau/Donnees/059/0590100/QUELIS/Bases");
  folder("E/Reseau/Donnees/062/0620200/QUELIS/Bases");
  loaded("G:\\QUELIS");
  EXPECT_EQ(form().NbDossiers, 2);
  EXPECT_TRUE(form().optChoixPerimetre(1).value());
  EXPECT_TRUE(checked(2));
  EXPECT_FALSE(form().chkActions(2).enabled());
  EXPECT_TRUE(checked(0));
}

}  // namespace
}  // namespace launcher_test
