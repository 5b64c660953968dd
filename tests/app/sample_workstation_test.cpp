// The sample workstation of the demo, and the tool's start-up on it.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "app_fixture.h"
#include "launcher/program.h"
#include "launcher/sample_workstation.h"
#include "platform/environment.h"
#include "platform/ui/message_box.h"

namespace app_test {
namespace {

std::string ReadBytes(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::stringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

class SampleWorkstationTest : public ::testing::Test {
 protected:
  void SetUp() override { parent = TempFolder("quelis-sample"); }
  void TearDown() override {
    std::error_code ignored;
    fs::remove_all(parent, ignored);
  }
  fs::path parent;
};

TEST_F(SampleWorkstationTest, HoldsAPortableProgramFolderAndTwoDataFolders) {
  const launcher::SampleWorkstation sample = launcher::BuildSampleWorkstation(parent / "poste");
  const fs::path program = parent / "poste" / "C" / "QUELIS";
  EXPECT_EQ(ReadBytes(program / "Quelis.ini"), "[INIT]\r\nChemin donnees=C:\\Quelis\\Donnees\\\r\n");
  EXPECT_GE(std::distance(fs::directory_iterator(program / "Lettres"), fs::directory_iterator{}), 1);
  ASSERT_EQ(sample.dataFolders.size(), 2u);
  ASSERT_EQ(sample.basesFolders.size(), 2u);
  EXPECT_EQ(sample.dataFolders[0], "C:\\Quelis\\Donnees\\0590100\\");
  for (const fs::path& bases : sample.basesFolders) {
    EXPECT_TRUE(fs::is_directory(bases));
    EXPECT_EQ(bases.filename(), "Bases");
    EXPECT_EQ(bases.parent_path().filename().string().size(), 7u);  // a CDIF code
  }
  // Labels are Windows-1252, one line without line end.
  EXPECT_EQ(ReadBytes(sample.basesFolders[0] / "libelle.txt"), "Centre des imp\xF4ts fonciers de Lille");
}

TEST_F(SampleWorkstationTest, RefusesAFolderInUse) {
  std::ofstream(parent / "garde.txt") << "x";
  EXPECT_THROW(launcher::BuildSampleWorkstation(parent), std::runtime_error);
  EXPECT_FALSE(fs::exists(parent / "C"));
  // An empty existing folder is fine.
  fs::create_directories(parent / "vide");
  EXPECT_NO_THROW(launcher::BuildSampleWorkstation(parent / "vide"));
}

TEST_F(SampleWorkstationTest, ToolFindsBothFoldersAndReportsTheirDatabasesNotUpdated) {
  const launcher::SampleWorkstation sample = launcher::BuildSampleWorkstation(parent / "poste");
  platform::ProgramInfo info;
  info.Path = sample.programFolder;
  auto env = platform::Environment::ForTests(sample.root, {2013, 1, 15, 14, 30, 5}, info);
  platform::ui::ScriptedMessageBoxes boxes;
  platform::ui::Desktop desktop(boxes);
  launcher::Program tool(env, desktop);
  tool.Start();
  EXPECT_TRUE(tool.ended());
  // This build cannot update a database: both folders are reported failed, nothing is lost.
  EXPECT_TRUE(tool.frmParam().EnErreur);
  EXPECT_FALSE(tool.erreurNonInterceptee().has_value());
  ASSERT_EQ(tool.frmParam().NbDossiers, 2);
  EXPECT_EQ(tool.frmParam().ListeDossiers[0].Chemin, sample.dataFolders[0]);
  EXPECT_EQ(tool.frmParam().ListeDossiers[0].Libelle, "Centre des impôts fonciers de Lille");
  EXPECT_EQ(tool.frmParam().ListeDossiers[1].Chemin, sample.dataFolders[1]);
  for (const fs::path& bases : sample.basesFolders) {
    EXPECT_TRUE(fs::exists(bases / "QuelisBase_4.4.0_20130115143005.log")) << bases;
    EXPECT_EQ(ReadBytes(bases / "libelle.txt").substr(0, 6), "Centre");
  }
  EXPECT_EQ(tool.frmParam().CheminDonnees, sample.dataLocation);
  EXPECT_EQ(tool.frmParam().cboListeLecteurs.text(), sample.dataLocation);
  EXPECT_FALSE(tool.frmParam().cboListeLecteurs.enabled());
  EXPECT_TRUE(fs::exists(sample.root / "C" / "QUELIS" / "QuelisBase_4.4.0_20130115143005.log"));
}

}  // namespace
}  // namespace app_test
