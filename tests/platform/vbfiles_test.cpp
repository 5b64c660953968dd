#include "platform/vbfiles.h"

#include "platform_test_support.h"

namespace platform_test {
namespace {

using platform::vbDirectory;

class VbFilesTest : public WorkstationTest {
 protected:
  platform::VbFiles vb_{ws_};

  std::vector<std::string> all(std::string_view pattern, int attributes) {
    std::vector<std::string> out;
    for (std::string name = vb_.Dir(pattern, attributes); !name.empty(); name = vb_.Dir()) out.push_back(name);
    return out;
  }
};

TEST_F(VbFilesTest, DirAnswersExistenceTestsAsVbDoes) {
  writeBytes(c() / "Quelis" / "Bases" / "Quelis.mdb", "db");
  EXPECT_EQ(vb_.Dir("c:\\quelis\\bases\\QUELIS.MDB"), "Quelis.mdb");
  EXPECT_EQ(vb_.Dir("C:\\Quelis\\Bases\\Quelis.ldb"), "");
  EXPECT_EQ(vb_.Dir("C:\\Quelis\\Bases"), "") << "a folder is not listed without vbDirectory";
  EXPECT_EQ(vb_.Dir("C:\\Quelis\\Bases", vbDirectory), "Bases");
  // A folder path ending in "\" lists the folder: "." first when it exists, "" when missing.
  EXPECT_EQ(vb_.Dir("C:\\Quelis\\Bases\\", vbDirectory), ".");
  EXPECT_EQ(vb_.Dir("C:\\Quelis\\Vide\\", vbDirectory), "");
  fs::create_directories(c() / "Quelis" / "Vide");
  EXPECT_EQ(vb_.Dir("C:\\Quelis\\Vide\\", vbDirectory), ".");
  EXPECT_EQ(vb_.Dir("C:\\Quelis\\Vide\\"), "") << "only the dot entries, which are folders";
  EXPECT_VB_ERROR(vb_.Dir("H:\\NPX\\LOG\\Quelis\\", vbDirectory), 52);
}

TEST_F(VbFilesTest, DirContinuesItsListingInNtfsOrder) {
  for (const char* name : {"quelis2_SCRIPT.LOG", "Quelis1_script.log", "autre.log"}) writeBytes(c() / "Q" / name, "");
  fs::create_directories(c() / "Q" / "QuelisDossier_script.log");
  EXPECT_EQ(all("C:\\Q\\QUELIS*SCRIPT.LOG", 0), (std::vector<std::string>{"Quelis1_script.log", "quelis2_SCRIPT.LOG"}));
  EXPECT_EQ(all("C:\\Q\\*", vbDirectory),
            (std::vector<std::string>{".", "..", "autre.log", "Quelis1_script.log", "quelis2_SCRIPT.LOG",
                                      "QuelisDossier_script.log"}));
  EXPECT_EQ(all("C:\\*", vbDirectory), (std::vector<std::string>{"Q"})) << "a drive's root has no dot entries";
  EXPECT_VB_ERROR(vb_.Dir(), 5);  // the listing ended
}

TEST_F(VbFilesTest, KillDeletesFilesAndReportsVbErrors) {
  writeBytes(c() / "B" / "Quelis.ldb", "");
  writeBytes(c() / "B" / "QuelMaj.ldb", "");
  vb_.Kill("C:\\B\\quelis.LDB");
  EXPECT_FALSE(fs::exists(c() / "B" / "Quelis.ldb"));
  EXPECT_VB_ERROR(vb_.Kill("C:\\B\\Quelis.ldb"), 53);
  EXPECT_VB_ERROR(vb_.Kill("C:\\Absent\\Quelis.ldb"), 76);
  makeReadOnly(c() / "B" / "QuelMaj.ldb");
  EXPECT_VB_ERROR(vb_.Kill("C:\\B\\*.ldb"), 75);
  EXPECT_TRUE(fs::exists(c() / "B" / "QuelMaj.ldb"));
}

TEST_F(VbFilesTest, NameRenamesWithinADrive) {
  writeBytes(c() / "B" / "QuelComp.mdb", "compact");
  writeBytes(c() / "B" / "Autre.mdb", "x");
  EXPECT_VB_ERROR(vb_.Name("C:\\B\\QuelComp.mdb", "C:\\B\\autre.MDB"), 58);
  EXPECT_VB_ERROR(vb_.Name("C:\\B\\QuelComp.mdb", "D:\\Quelis.mdb"), 74);
  EXPECT_VB_ERROR(vb_.Name("C:\\B\\Absent.mdb", "C:\\B\\Quelis.mdb"), 53);
  EXPECT_VB_ERROR(vb_.Name("C:\\B\\QuelComp.mdb", "C:\\Absent\\Quelis.mdb"), 76);
  vb_.Name("c:\\b\\quelcomp.mdb", "C:\\B\\Quelis.mdb");
  EXPECT_EQ(readBytes(c() / "B" / "Quelis.mdb"), "compact");
  EXPECT_FALSE(fs::exists(c() / "B" / "QuelComp.mdb"));
  vb_.Name("C:\\B\\Quelis.mdb", "C:\\B\\QUELIS.MDB");  // a change of case only
  EXPECT_EQ(readBytes(c() / "B" / "QUELIS.MDB"), "compact");
}

TEST_F(VbFilesTest, FileCopyMkDirRmDirFileLen) {
  writeBytes(c() / "S" / "a.mdb", "abc");
  vb_.FileCopy("C:\\S\\A.mdb", "C:\\S\\b.mdb");
  EXPECT_EQ(readBytes(c() / "S" / "b.mdb"), "abc");
  EXPECT_VB_ERROR(vb_.FileCopy("C:\\S\\zz.mdb", "C:\\S\\c.mdb"), 53);
  EXPECT_VB_ERROR(vb_.FileCopy("C:\\S\\a.mdb", "C:\\T\\c.mdb"), 76);
  EXPECT_EQ(vb_.FileLen("C:\\S\\B.MDB"), 3);
  EXPECT_VB_ERROR(vb_.FileLen("C:\\S\\zz.mdb"), 53);

  vb_.MkDir("C:\\S\\Nouveau");
  EXPECT_TRUE(fs::is_directory(c() / "S" / "Nouveau"));
  EXPECT_VB_ERROR(vb_.MkDir("C:\\S\\nouveau"), 75);
  EXPECT_VB_ERROR(vb_.MkDir("C:\\X\\Y"), 76);
  EXPECT_VB_ERROR(vb_.RmDir("C:\\S"), 75);
  vb_.RmDir("C:\\S\\NOUVEAU");
  EXPECT_FALSE(fs::exists(c() / "S" / "Nouveau"));
  EXPECT_VB_ERROR(vb_.RmDir("C:\\S\\Nouveau"), 76);
}

}  // namespace
}  // namespace platform_test
