// The parameter form's controls as the operator sees them, and the small handlers wired to
// them.
#include <algorithm>

#include "launcher_fixture.h"

namespace launcher_test {
namespace {

std::string Describe(const ui::Control& c) {
  std::string text = c.fullName();
  if (c.kind() != ui::ControlKind::ComboBox) {
    text += " \"" + static_cast<const ui::CaptionedControl&>(c).caption() + "\"";
  }
  if (c.container()) text += " in " + c.container()->name();
  return text;
}

TEST_F(LauncherTest, FormHoldsEveryControlWithItsCaption) {
  load("C:\\QUELIS");
  std::vector<std::string> seen;
  for (const ui::Control* c : form().controls()) seen.push_back(Describe(*c));
  std::sort(seen.begin(), seen.end());
  std::vector<std::string> expected{
      "fraActions \"Actions\"",
      "chkActions(2) \"Définir l'emplacement des données\" in fraActions",
      "chkActions(1) \"Rapatrier les modèles de documents pour le publipostage dans  le dossier de "
      "données\" in fraActions",
      "chkActions(0) \"Mettre à jour la base de données\" in fraActions",
      "fraChoixBaseEcole \"Choix de la base Ecole\"",
      "optBasesEcole(2) \"installer la nouvelle base Ecole d'Miranel (CDI-CDIF)\" in fraChoixBaseEcole",
      "optBasesEcole(1) \"installer la nouvelle base Ecole de Torvandes\" in fraChoixBaseEcole",
      "optBasesEcole(0) \"conserver et mettre à jour la base Ecole actuelle\" in fraChoixBaseEcole",
      "FraLecteurDonnees \"Emplacement des données\"",
      "cboListeLecteurs in FraLecteurDonnees",
      "fraChoixBases \"Périmètre des données à mettre à jour\"",
      "optChoixPerimetre(1) \"Toutes les dossiers\" in fraChoixBases",
      "optChoixPerimetre(0) \"Un dossier :\" in fraChoixBases",
      "cboListeBases in fraChoixBases",
      "cmdOK \"Mettre à jour\"",
      "cmdAnnuler \"Fermer\"",
      "lblMessage \"\"",
      "lblVersion \"Version\"",
      "LblConfiguration \"Configuration\"",
  };
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(seen, expected);
}

TEST_F(LauncherTest, SchoolOptionsRecordTheChoiceAndExcludeEachOther) {
  load("C:\\QUELIS");
  form().optBasesEcole(1).setValue(true);
  EXPECT_EQ(state().ChoixBaseEcole, 2);
  form().optBasesEcole(2).click();
  EXPECT_EQ(state().ChoixBaseEcole, 3);
  EXPECT_FALSE(form().optBasesEcole(1).value());
  form().optBasesEcole(0).setValue(true);
  EXPECT_EQ(state().ChoixBaseEcole, 1);
  form().optBasesEcole_Click(5);
  EXPECT_EQ(state().ChoixBaseEcole, 1);
  // The perimeter options are another group.
  form().optChoixPerimetre(1).setValue(true);
  EXPECT_TRUE(form().optBasesEcole(0).value());
}

TEST_F(LauncherTest, OneFolderOptionAloneEnablesTheFolderList) {
  load("C:\\QUELIS");
  form().optChoixPerimetre(1).setValue(true);
  EXPECT_FALSE(form().cboListeBases.enabled());
  form().optChoixPerimetre(0).setValue(true);
  EXPECT_TRUE(form().cboListeBases.enabled());
  form().optChoixPerimetre(1).click();
  EXPECT_FALSE(form().cboListeBases.enabled());
}

}  // namespace
}  // namespace launcher_test
