#include "platform/vbfiles.h"

#include "os/faulty_file_system.h"
#include "os/services.h"
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

// FileCopy reads its source beside other readers but not beside a writer, and a copy that
// fails on the way (a full disk) is told as such and leaves no partial destination.
TEST_F(VbFilesTest, FileCopyRefusesASourceBeingWrittenAndLeavesNoPartialCopy) {
  writeBytes(c() / "S" / "a.mdb", std::string(200000, 'a'));
  const std::string source = (c() / "S" / "a.mdb").string();
  os::FileSystem& files = *os::system_services().files;
  {
    auto reader = files.open(source, os::Access::Read, os::Sharing::ReadersOnly);
    vb_.FileCopy("C:\\S\\a.mdb", "C:\\S\\lue.mdb");
    EXPECT_EQ(readBytes(c() / "S" / "lue.mdb"), std::string(200000, 'a'));
  }
  {
    auto writer = files.open(source, os::Access::ReadWrite, os::Sharing::Exclusive);
    EXPECT_VB_ERROR(vb_.FileCopy("C:\\S\\a.mdb", "C:\\S\\ecrite.mdb"), 70);
    EXPECT_FALSE(fs::exists(c() / "S" / "ecrite.mdb"));
  }
  os::FaultyFileSystem faulty(files);
  const os::Services services{&faulty, os::system_services().clock, os::system_services().random};
  {
    os::ServicesOverride override(services);
    faulty.disk_full_after(100000);
    EXPECT_VB_ERROR(vb_.FileCopy("C:\\S\\a.mdb", "C:\\S\\pleine.mdb"), 61);
    faulty.disk_full_after(1u << 30);
    faulty.fail_write(1, os::FailureKind::IoError);
    EXPECT_VB_ERROR(vb_.FileCopy("C:\\S\\a.mdb", "C:\\S\\lue.mdb"), 57);
  }
  EXPECT_FALSE(fs::exists(c() / "S" / "pleine.mdb"));
  EXPECT_FALSE(fs::exists(c() / "S" / "lue.mdb")) << "a destination the copy began to replace is not left half done";
  EXPECT_EQ(readBytes(c() / "S" / "a.mdb"), std::string(200000, 'a'));
}

}  // namespace
}  // namespace platform_test
