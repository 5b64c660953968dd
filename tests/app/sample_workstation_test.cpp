// The sample workstation of the demo, and the tool's start-up on it.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>

#include "app_fixture.h"
#include "launcher/program.h"
#include "sample/sample_databases.h"
#include "sample/sample_workstation.h"
#include "platform/dao/dao.h"
#include "platform/environment.h"
#include "platform/workstation.h"
#include "platform/ui/message_box.h"

namespace app_test {
namespace {

std::string ReadSampleBytes(const fs::path& file) {
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

TEST_F(SampleWorkstationTest, HoldsAnOldLayoutSiteAndANewLayoutSite) {
  const echantillon::SampleWorkstation sample = echantillon::BuildSampleWorkstation(parent / "poste", 6);
  const fs::path program = parent / "poste" / "C" / "QUELIS";
  EXPECT_EQ(ReadSampleBytes(program / "Quelis.ini"), "[INIT]\r\nChemin donnees=C:\\Quelis\\\r\n");
  EXPECT_GE(std::distance(fs::directory_iterator(program / "Lettres"), fs::directory_iterator{}), 1);
  EXPECT_TRUE(fs::is_regular_file(program / "Bases" / "Quelis.mdb"));
  EXPECT_TRUE(fs::is_regular_file(program / "Bases" / "QuelisSauv_18012013.mdb"));
  EXPECT_TRUE(fs::is_regular_file(program / "Donnees" / "0620200" / "Bases" / "Quelis.mdb"));
  ASSERT_EQ(sample.dataFolders.size(), 2u);
  EXPECT_EQ(sample.dataFolders[0], "C:\\Quelis\\Donnees\\0590100\\");
  EXPECT_EQ(sample.refusedDatabase, "C:\\Quelis\\Donnees\\0620200\\Bases\\Quelis.mdb");
  // Labels are Windows-1252, one line without line end.
  EXPECT_EQ(ReadSampleBytes(program / "Bases" / "libelle.txt"), "Centre des imp\xF4ts fonciers de Lille");
  // Both databases open, at the versions the demo relies on.
  platform::FolderWorkstation poste(sample.root);
  platform::dao::DBEngine moteur(poste);
  for (const auto& [chemin, version] : {std::pair{std::string("C:\\QUELIS\\Bases\\Quelis.mdb"), "4.4.0.1"},
                                        std::pair{sample.refusedDatabase, "4.4.0.3"}}) {
    platform::dao::Database bd = moteur.OpenDatabase(chemin, false, true);
    platform::dao::Recordset rs = bd.OpenRecordset("VERSION");
    EXPECT_EQ(rs("livers").CStr(), version);
    EXPECT_EQ(bd.TableDefs("FICHE").RecordCount(), 6);
    // The reference application database, with the relations of the agent codes.
    EXPECT_EQ(bd.TableDefs("PERMIS").RecordCount(), 6);
    EXPECT_EQ(bd.Relations().Count(), 15);
    bd.Close();
  }
}

// Permit numbers stay within their 15-character column and distinct across the range the
// sample is built for, the step from 6 to 7 digits of the serial included.
TEST(SampleNumbers, PermitNumbersFitTheirColumnAndNeverRepeatUpToAMillionRecords) {
  // The ranges where the two forms could meet: the first serials, those of 6 digits
  // starting "100", and the last ones.
  std::set<std::string> seen;
  for (const auto& [from, to] : {std::pair{0, 5'000}, std::pair{96'000, 104'000}, std::pair{990'000, 1'000'000}}) {
    for (int i = from; i < to; ++i) {
      const std::string n = echantillon::NumeroPermis(i);
      ASSERT_LE(n.size(), 15u) << i;
      ASSERT_TRUE(seen.insert(n).second) << i << " " << n;
    }
  }
  EXPECT_EQ(echantillon::NumeroPermis(0), "PC05935012000");
}

TEST_F(SampleWorkstationTest, RefusesAFolderInUse) {
  std::ofstream(parent / "garde.txt") << "x";
  EXPECT_THROW(echantillon::BuildSampleWorkstation(parent), std::runtime_error);
  EXPECT_FALSE(fs::exists(parent / "C"));
  // An empty existing folder is fine.
  fs::create_directories(parent / "vide");
  EXPECT_NO_THROW(echantillon::BuildSampleWorkstation(parent / "vide"));
}

}  // namespace
}  // namespace app_test
