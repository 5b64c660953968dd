// Replacing a live file by its finished copy in one rename.
#include <gtest/gtest.h>

#include <cstdlib>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/scratch_folder.h"
#include "support/spelled_names.h"
#include "pipeline/remplacement.h"
#include "platform/error.h"
#include "platform/filelock.h"

namespace {

namespace fs = std::filesystem;

class RemplacementTest : public ::testing::Test {
 protected:
  RemplacementTest() {
    root = test_support::MakeScratchFolder("quelis-remplacement-");
    fs::create_directories(root / "C" / "Bases");
    fs::create_directories(root / "D");
    poste = std::make_unique<platform::FolderWorkstation>(root);
  }
  ~RemplacementTest() override {
    std::error_code ignored;
    fs::remove_all(root, ignored);
  }
  void write(const std::string& relative, const std::string& content) {
    std::ofstream(root / relative, std::ios::binary) << content;
  }
  std::string read(const std::string& relative) {
    std::ifstream in(root / relative, std::ios::binary);
    std::stringstream b;
    b << in.rdbuf();
    return b.str();
  }
  int erreur(const std::string& source, const std::string& cible) {
    try {
      pipeline::RemplaceFichier(*poste, source, cible);
    } catch (const platform::Error& e) {
      return e.number();
    }
    return 0;
  }

  fs::path root;
  std::unique_ptr<platform::Workstation> poste;
};

TEST_F(RemplacementTest, TheCopyTakesTheLiveNameWhetherOrNotItExists) {
  write("C/Bases/Quelis.mdb", "ancienne");
  write("C/Bases/QuelComp.mdb", "nouvelle");
  // Windows names are case-blind: the live file keeps its own spelling on disk.
  pipeline::RemplaceFichier(*poste, "C:\\BASES\\QuelComp.mdb", "C:\\Bases\\QUELIS.MDB");
  EXPECT_EQ(read("C/Bases/Quelis.mdb"), "nouvelle");
  EXPECT_FALSE(fs::exists(root / "C/Bases/QuelComp.mdb"));
  const std::vector<std::string> spelled = test_support::SpelledNames(root / "C" / "Bases");
  EXPECT_EQ(std::count(spelled.begin(), spelled.end(), "QUELIS.MDB"), 0);
  EXPECT_EQ(std::count(spelled.begin(), spelled.end(), "Quelis.mdb"), 1);

  write("C/Bases/QuelComp.mdb", "encore");
  fs::remove(root / "C/Bases/Quelis.mdb");
  pipeline::RemplaceFichier(*poste, "C:\\Bases\\QuelComp.mdb", "C:\\Bases\\Quelis.mdb");
  EXPECT_EQ(read("C/Bases/Quelis.mdb"), "encore");
}

TEST_F(RemplacementTest, RefusalsLeaveBothFilesAsTheyWere) {
  write("C/Bases/Quelis.mdb", "ancienne");
  EXPECT_EQ(erreur("C:\\Bases\\QuelComp.mdb", "C:\\Bases\\Quelis.mdb"), 53);
  EXPECT_EQ(erreur("C:\\Bases\\Quelis.mdb", "C:\\Absent\\Quelis.mdb"), 76);
  write("D/QuelComp.mdb", "nouvelle");
  EXPECT_EQ(erreur("D:\\QuelComp.mdb", "C:\\Bases\\Quelis.mdb"), 74);
  {
    platform::FileLockHolder access(root / "C/Bases/Quelis.mdb");
    write("C/Bases/QuelComp.mdb", "nouvelle");
    EXPECT_EQ(erreur("C:\\Bases\\QuelComp.mdb", "C:\\Bases\\Quelis.mdb"), 70);
  }
  EXPECT_EQ(read("C/Bases/Quelis.mdb"), "ancienne");
  EXPECT_EQ(read("C/Bases/QuelComp.mdb"), "nouvelle");
  EXPECT_EQ(read("D/QuelComp.mdb"), "nouvelle");
}

}  // namespace
