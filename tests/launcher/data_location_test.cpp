// The data location at start-up: INI values for the portable and school configurations,
// registry values for the network one, and the proposals of the data-location combo.
#include "launcher_fixture.h"

namespace launcher_test {
namespace {

struct IniCase {
  const char* appPath;
  const char* local;
  const char* value;
  int revision;
  const char* expected;  // "" when refused
};

TEST_F(LauncherTest, IniValueIsAcceptedOnlyFromTheConfigurationsList) {
  const IniCase cases[] = {
      {"C:\\QUELIS", "C/QUELIS", "C:\\Quelis\\Donnees\\", 3, "C:\\Quelis\\Donnees\\"},
      {"C:\\QUELIS", "C/QUELIS", "D:\\Quelis\\Donnees\\", 3, "D:\\Quelis\\Donnees\\"},
      // Case-blind comparison, the value keeps the case it was written in.
      {"C:\\QUELIS", "C/QUELIS", "c:\\quelis\\donnees\\", 3, "c:\\quelis\\donnees\\"},
      {"C:\\QUELIS", "C/QUELIS", "C:\\Quelis\\Donnees", 3, ""},
      {"C:\\QUELIS", "C/QUELIS", "E:\\Quelis\\Donnees\\", 3, ""},
      {"C:\\QUELIS", "C/QUELIS", "C:\\QuelisEcole\\Donnees\\", 3, ""},
      // The old top folders are still accepted by release 4.4.0 only.
      {"C:\\QUELIS", "C/QUELIS", "C:\\Quelis\\", 3, "C:\\Quelis\\"},
      {"C:\\QUELIS", "C/QUELIS", "d:\\QUELIS\\", 3, "d:\\QUELIS\\"},
      {"C:\\QUELIS", "C/QUELIS", "C:\\Quelis\\", 312, ""},
      {"C:\\QUELISECOLE", "C/QUELISECOLE", "D:\\QuelisEcole\\Donnees\\", 3, "D:\\QuelisEcole\\Donnees\\"},
      {"C:\\QUELISECOLE", "C/QUELISECOLE", "C:\\QuelisEcole\\", 3, "C:\\QuelisEcole\\"},
      {"C:\\QUELISECOLE", "C/QUELISECOLE", "C:\\Quelis\\Donnees\\", 3, ""},
      {"C:\\QUELISECOLE", "C/QUELISECOLE", "C:\\Quelis\\", 3, ""},
      // Not a known folder: the portable list applies.
      {"D:\\Outils", "D/Outils", "D:\\Quelis\\Donnees\\", 3, "D:\\Quelis\\Donnees\\"},
  };
  for (const IniCase& c : cases) {
    SCOPED_TRACE(std::string(c.appPath) + " " + c.value + " " + std::to_string(c.revision));
    folder(c.local);
    ini(c.local, c.value);
    start(c.appPath, ModeLancement::Silencieux, c.revision);
    const bool ancienEmplacement = *c.expected && std::string(c.expected).find("onnees") == std::string::npos;
    if (ancienEmplacement) {
      // Accepted, then migrated: with no database there the run stops before the combo.
      EXPECT_EQ(form().CheminDonnees, c.expected);
      EXPECT_TRUE(form().cboListeLecteurs.items().empty());
      EXPECT_TRUE(form().EnErreur);
    } else if (*c.expected) {
      EXPECT_EQ(form().CheminDonnees, c.expected);
      // A known location is the only line of a locked combo.
      EXPECT_EQ(form().cboListeLecteurs.items(), std::vector<std::string>{c.expected});
      EXPECT_EQ(form().cboListeLecteurs.listIndex(), 0);
      EXPECT_EQ(form().cboListeLecteurs.text(), c.expected);
      EXPECT_FALSE(form().cboListeLecteurs.enabled());
      EXPECT_FALSE(form().FraLecteurDonnees.enabled());
    } else {
      // Refused: the location becomes the proposal the run selects on a fixed drive.
      EXPECT_TRUE(form().FraLecteurDonnees.enabled());
      EXPECT_TRUE(form().cboListeLecteurs.enabled());
      EXPECT_NE(form().CheminDonnees, c.value);
      EXPECT_EQ(form().CheminDonnees, form().cboListeLecteurs.text());
      EXPECT_NE(form().CheminDonnees.find("\\Donnees\\"), std::string::npos);
    }
  }
}

TEST_F(LauncherTest, IniReaderCutsLongValuesAndTrimsBlanks) {
  folder("C/QUELIS");
  // 150 characters whose first 149 are an allowed value followed by blanks: the buffer keeps
  // 149, trimmed to the value.
  const std::string allowed = "C:\\Quelis\\Donnees\\";
  ini("C/QUELIS", allowed + std::string(149 - allowed.size(), ' ') + "x");
  start("C:\\QUELIS");
  EXPECT_EQ(form().CheminDonnees, allowed);

  // A long value is cut and never matches.
  ini("C/QUELIS", "C:\\" + std::string(160, 'a') + "\\");
  start("C:\\QUELIS");
  EXPECT_TRUE(form().cboListeLecteurs.enabled());
  EXPECT_EQ(form().cboListeLecteurs.items(), std::vector<std::string>{"C:\\Quelis\\Donnees\\"});
}

TEST_F(LauncherTest, MissingIniOrKeyLeavesTheLocationUnknown) {
  // Unknown, the location is offered on the fixed drives (the combo stays open) and the
  // silent run takes the proposal.
  folder("C/QUELIS");
  start("C:\\QUELIS");
  EXPECT_TRUE(form().cboListeLecteurs.enabled());
  EXPECT_EQ(form().CheminDonnees, "C:\\Quelis\\Donnees\\");
  file("C/QUELIS/Quelis.ini", "[INIT]\r\nAutre cle=D:\\Quelis\\Donnees\\\r\n");
  start("C:\\QUELIS");
  EXPECT_TRUE(form().cboListeLecteurs.enabled());
  EXPECT_EQ(form().CheminDonnees, "C:\\Quelis\\Donnees\\");
  file("C/QUELIS/Quelis.ini", "[AUTRE]\r\nChemin donnees=D:\\Quelis\\Donnees\\\r\n");
  start("C:\\QUELIS");
  EXPECT_TRUE(form().cboListeLecteurs.enabled());
  EXPECT_EQ(form().CheminDonnees, "C:\\Quelis\\Donnees\\");
}

TEST_F(LauncherTest, IniReaderLeavesTheLocationAloneOnRefusalAndIgnoresTheNetwork) {
  folder("C/QUELIS");
  ini("C/QUELIS", "C:\\Ailleurs\\");
  Program& program = load("C:\\QUELIS");
  program.Act([&] { form().Form_Load(); });
  form().CheminDonnees = "X:\\avant\\";
  EXPECT_FALSE(form().LitCheminIni(state().FichierIni));
  EXPECT_EQ(form().CheminDonnees, "X:\\avant\\");
  ini("C/QUELIS", "D:\\Quelis\\Donnees\\");
  EXPECT_TRUE(form().LitCheminIni(state().FichierIni));
  EXPECT_EQ(form().CheminDonnees, "D:\\Quelis\\Donnees\\");
  state().TypeConfiguration = pipeline::kConfigurationReseau;
  form().CheminDonnees = "inchangé";
  EXPECT_TRUE(form().LitCheminIni(state().FichierIni));
  EXPECT_EQ(form().CheminDonnees, "inchangé");
}

TEST_F(LauncherTest, UnknownLocationIsOfferedOnFixedDrivesLastOneSelected) {
  folder("C/QUELIS");
  folder("D");
  drives("D=cdrom\r\n");
  start("C:\\QUELIS");
  EXPECT_EQ(form().cboListeLecteurs.items(), std::vector<std::string>{"C:\\Quelis\\Donnees\\"});
  EXPECT_EQ(form().cboListeLecteurs.listIndex(), 0);
  EXPECT_EQ(form().cboListeLecteurs.text(), "C:\\Quelis\\Donnees\\");
  EXPECT_TRUE(form().FraLecteurDonnees.enabled());

  drives("");
  fs::remove(folder("C/QUELIS") / "Quelis.ini");  // the first run wrote its choice there
  start("C:\\QUELIS");
  EXPECT_EQ(form().cboListeLecteurs.items(),
            (std::vector<std::string>{"C:\\Quelis\\Donnees\\", "D:\\Quelis\\Donnees\\"}));
  EXPECT_EQ(form().cboListeLecteurs.listIndex(), 1);
  EXPECT_EQ(form().cboListeLecteurs.text(), "D:\\Quelis\\Donnees\\");
}

TEST_F(LauncherTest, SchoolProposalsAndNoFixedDriveAtAll) {
  folder("C/QUELISECOLE");
  folder("D");
  start("C:\\QUELISECOLE");
  EXPECT_EQ(form().cboListeLecteurs.items(),
            (std::vector<std::string>{"C:\\QuelisEcole\\Donnees\\", "D:\\QuelisEcole\\Donnees\\"}));
  EXPECT_EQ(form().cboListeLecteurs.listIndex(), 1);

  // The program on a removable C: and a CD in D:: nothing to offer, nothing selected.
  drives("C=removable\r\nD=cdrom\r\n");
  fs::remove(folder("C/QUELISECOLE") / "Quelis.ini");
  start("C:\\QUELISECOLE");
  EXPECT_EQ(form().cboListeLecteurs.listCount(), 0);
  EXPECT_EQ(form().cboListeLecteurs.listIndex(), -1);
  EXPECT_TRUE(form().FraLecteurDonnees.enabled());
}

TEST_F(LauncherTest, NetworkLocationComesFromTheRegistryNotTheIni) {
  folder("G/QUELIS");
  folder("H/NPX/LOG");
  ini("G/QUELIS", "C:\\Quelis\\Donnees\\");
  registry("\\\\serveur\\quelis\\Donnees\\", "\\\\serveur\\echange\\");
  start("G:\\QUELIS");
  EXPECT_EQ(form().CheminDonneesRegistre, "\\\\serveur\\quelis\\Donnees\\");
  EXPECT_EQ(form().CheminDonnees, "\\\\serveur\\quelis\\Donnees\\");
  EXPECT_EQ(form().CheminEchange, "\\\\serveur\\echange\\");
  EXPECT_EQ(form().cboListeLecteurs.items(), std::vector<std::string>{"\\\\serveur\\quelis\\Donnees\\"});
  EXPECT_FALSE(form().cboListeLecteurs.enabled());
}

TEST_F(LauncherTest, NetworkLocationWithoutBackslashGetsOne) {
  folder("G/QUELIS");
  folder("H/NPX/LOG");
  registry("\\\\serveur\\partage", "");
  start("G:\\QUELIS");
  EXPECT_EQ(form().CheminDonneesRegistre, "\\\\serveur\\partage");
  EXPECT_EQ(form().CheminDonnees, "\\\\serveur\\partage\\");
  EXPECT_EQ(form().CheminEchange, "");
  EXPECT_EQ(form().cboListeLecteurs.text(), "\\\\serveur\\partage\\");
  EXPECT_FALSE(form().FraLecteurDonnees.enabled());
}

TEST_F(LauncherTest, NetworkWithoutRegistryValuesOffersOneEmptyLine) {
  folder("G/QUELIS");
  folder("H/NPX/LOG");
  folder("C");
  folder("D");
  start("G:\\QUELIS");  // no registry file at all
  EXPECT_EQ(form().CheminDonnees, "");
  EXPECT_EQ(form().CheminEchange, "");
  EXPECT_EQ(form().cboListeLecteurs.items(), std::vector<std::string>{""});
  EXPECT_EQ(form().cboListeLecteurs.listIndex(), 0);
  EXPECT_TRUE(form().FraLecteurDonnees.enabled());
  EXPECT_TRUE(form().cboListeLecteurs.enabled());
  EXPECT_TRUE(boxes.shown().empty());

  registry("", "\\\\serveur\\echange\\");  // the key without its Donnees value
  start("G:\\QUELIS");
  EXPECT_EQ(form().CheminDonnees, "");
  EXPECT_EQ(form().CheminEchange, "\\\\serveur\\echange\\");
  EXPECT_EQ(form().LitRegistre("HKEY_LOCAL_MACHINE\\SOFTWARE\\Ortavia\\Absente"), "");
  EXPECT_EQ(form().LitRegistre("HKEY_LOCAL_MACHINE\\SOFTWARE\\Ortavia\\Echange"), "\\\\serveur\\echange\\");
}

}  // namespace
}  // namespace launcher_test
