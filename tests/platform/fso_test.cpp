#include "platform/fso.h"

#include <algorithm>

#include "platform/filelock.h"
#include "platform/localfs.h"
#include "platform_test_support.h"
#include "support/spelled_names.h"

namespace platform_test {
namespace {

class FsoTest : public WorkstationTest {
 protected:
  platform::FileSystemObject fso_{ws_};
};

std::vector<std::string> names(const std::vector<platform::Folder>& folders) {
  std::vector<std::string> out;
  for (const auto& f : folders) out.push_back(f.Name());
  return out;
}

std::vector<std::string> names(const std::vector<platform::File>& files) {
  std::vector<std::string> out;
  for (const auto& f : files) out.push_back(f.Name());
  return out;
}

TEST_F(FsoTest, ExistenceTestsAreCaseBlindAndNeverRaise) {
  writeBytes(c() / "Quelis" / "Bases" / "Quelis.mdb", "db");
  EXPECT_TRUE(fso_.FileExists("c:\\QUELIS\\bases\\QUELIS.MDB"));
  EXPECT_FALSE(fso_.FileExists("C:\\Quelis\\Bases"));
  EXPECT_TRUE(fso_.FolderExists("C:\\quelis\\BASES\\"));
  EXPECT_FALSE(fso_.FolderExists("C:\\Quelis\\Bases\\Quelis.mdb"));
  EXPECT_FALSE(fso_.FolderExists("H:\\NPX\\LOG\\"));
  EXPECT_FALSE(fso_.FileExists("pas un chemin"));
  EXPECT_TRUE(fso_.DriveExists("C:"));
  EXPECT_FALSE(fso_.DriveExists("H"));
}

TEST_F(FsoTest, FoldersListInNtfsOrderWithTheProgramsPathText) {
  for (const char* name : {"bsecole", "ABC1234", "_old", "Élève", "zzz", "9999999"}) fs::create_directories(c() / "Quelis" / "Donnees" / platform::localfs::fromUtf8(name));
  for (const char* name : {"b.txt", "A.txt", "é.txt"}) writeBytes(c() / "Quelis" / "Donnees" / platform::localfs::fromUtf8(name), "");

  const auto folder = fso_.GetFolder("c:\\quelis\\donnees\\");
  EXPECT_EQ(folder.Path(), "c:\\quelis\\donnees");
  EXPECT_EQ(folder.Name(), "Donnees") << "the name as the disk spells it";
  const auto subs = folder.SubFolders();
  EXPECT_EQ(names(subs), (std::vector<std::string>{"9999999", "ABC1234", "bsecole", "zzz", "_old", "Élève"}));
  EXPECT_EQ(subs[1].Path(), "c:\\quelis\\donnees\\ABC1234");
  EXPECT_EQ(names(folder.Files()), (std::vector<std::string>{"A.txt", "b.txt", "é.txt"}));
  EXPECT_EQ(folder.Files()[0].Path(), "c:\\quelis\\donnees\\A.txt");

  const auto root = fso_.GetFolder("C:\\");
  EXPECT_TRUE(root.IsRootFolder());
  EXPECT_EQ(root.Path(), "C:\\");
  EXPECT_EQ(root.SubFolders()[0].Path(), "C:\\Quelis");
}

TEST_F(FsoTest, GetFolderAndGetFileOfMissingEntries) {
  EXPECT_VB_ERROR(fso_.GetFolder("C:\\Absent"), 76);
  EXPECT_VB_ERROR(fso_.GetFolder("H:\\"), 76);
  EXPECT_VB_ERROR(fso_.GetFile("C:\\absent.txt"), 53);
  writeBytes(c() / "f.txt", "12345");
  EXPECT_EQ(fso_.GetFile("C:\\F.TXT").Size(), 5u);
}

TEST_F(FsoTest, CreateFolderMakesOneLevelOnly) {
  EXPECT_VB_ERROR(fso_.CreateFolder("C:\\Quelis\\Donnees\\"), 76);
  EXPECT_FALSE(fs::exists(c() / "Quelis"));
  EXPECT_EQ(fso_.CreateFolder("C:\\Quelis\\").Path(), "C:\\Quelis");
  EXPECT_TRUE(fs::is_directory(c() / "Quelis"));
  EXPECT_VB_ERROR(fso_.CreateFolder("c:\\QUELIS"), 58);
  EXPECT_VB_ERROR(fso_.CreateFolder("H:\\NPX"), 76);
}

TEST_F(FsoTest, CopyFileRules) {
  writeBytes(c() / "Bases" / "Quelis.mdb", "live");
  fso_.CopyFile("C:\\Bases\\quelis.mdb", "C:\\Bases\\QuelMaj.mdb");
  EXPECT_EQ(readBytes(c() / "Bases" / "QuelMaj.mdb"), "live");

  writeBytes(c() / "Bases" / "QuelMaj.mdb", "old");
  EXPECT_VB_ERROR(fso_.CopyFile("C:\\Bases\\Quelis.mdb", "C:\\Bases\\QuelMaj.mdb", false), 58);
  EXPECT_EQ(readBytes(c() / "Bases" / "QuelMaj.mdb"), "old");
  fso_.CopyFile("C:\\Bases\\Quelis.mdb", "C:\\bases\\QUELMAJ.MDB", true);
  EXPECT_EQ(readBytes(c() / "Bases" / "QuelMaj.mdb"), "live") << "replaced in place, whatever the case";
  const std::vector<std::string> spelled = test_support::SpelledNames(c() / "Bases");
  EXPECT_EQ(std::count(spelled.begin(), spelled.end(), "QuelMaj.mdb"), 1);
  EXPECT_EQ(std::count(spelled.begin(), spelled.end(), "QUELMAJ.MDB"), 0);

  makeReadOnly(c() / "Bases" / "QuelMaj.mdb");
  EXPECT_VB_ERROR(fso_.CopyFile("C:\\Bases\\Quelis.mdb", "C:\\Bases\\QuelMaj.mdb"), 70);

  EXPECT_VB_ERROR(fso_.CopyFile("C:\\Bases\\absent.mdb", "C:\\Bases\\x.mdb"), 53);
  EXPECT_VB_ERROR(fso_.CopyFile("C:\\Absent\\a.mdb", "C:\\Bases\\x.mdb"), 76);
  EXPECT_VB_ERROR(fso_.CopyFile("C:\\Bases\\Quelis.mdb", "C:\\Absent\\x.mdb"), 76);
  // An existing folder named without a trailing separator cannot be a file destination.
  EXPECT_VB_ERROR(fso_.CopyFile("C:\\Bases\\Quelis.mdb", "C:\\Bases"), 70);

  fs::create_directories(c() / "RAZ");
  fso_.CopyFile("C:\\Bases\\Quelis.mdb", "C:\\RAZ\\");
  EXPECT_EQ(readBytes(c() / "RAZ" / "Quelis.mdb"), "live");
  fso_.CopyFile("C:\\Bases\\*.mdb", "D:\\");
  EXPECT_TRUE(fs::exists(root() / "D" / "Quelis.mdb"));
  EXPECT_TRUE(fs::exists(root() / "D" / "QuelMaj.mdb"));
}

TEST_F(FsoTest, MoveFileRefusesAnExistingDestination) {
  writeBytes(c() / "Quelis" / "QuelisBase_SCRIPT.LOG", "s");
  fs::create_directories(root() / "D" / "LOG");
  writeBytes(root() / "D" / "LOG" / "quelisbase_script.log", "deja");
  EXPECT_VB_ERROR(fso_.MoveFile("C:\\Quelis\\QuelisBase_SCRIPT.LOG", "D:\\LOG\\"), 58);
  EXPECT_TRUE(fs::exists(c() / "Quelis" / "QuelisBase_SCRIPT.LOG"));

  platform::File file = fso_.GetFile("C:\\Quelis\\QuelisBase_SCRIPT.LOG");
  fs::remove(root() / "D" / "LOG" / "quelisbase_script.log");
  file.Move("D:\\LOG\\");
  EXPECT_EQ(file.Path(), "D:\\LOG\\QuelisBase_SCRIPT.LOG");
  EXPECT_EQ(readBytes(root() / "D" / "LOG" / "QuelisBase_SCRIPT.LOG"), "s");
  EXPECT_VB_ERROR(fso_.MoveFile("C:\\Quelis\\QuelisBase_SCRIPT.LOG", "D:\\LOG\\"), 53);
}

TEST_F(FsoTest, DeleteFileHonoursReadOnlyAndForce) {
  writeBytes(c() / "Bases" / "QuelMaj.mdb", "t");
  makeReadOnly(c() / "Bases" / "QuelMaj.mdb");
  EXPECT_VB_ERROR(fso_.DeleteFile("C:\\Bases\\QuelMaj.mdb"), 70);
  EXPECT_TRUE(fs::exists(c() / "Bases" / "QuelMaj.mdb"));
  fso_.DeleteFile("C:\\Bases\\QUELMAJ.MDB", true);
  EXPECT_FALSE(fs::exists(c() / "Bases" / "QuelMaj.mdb"));
  EXPECT_VB_ERROR(fso_.DeleteFile("C:\\Bases\\QuelMaj.mdb"), 53);
  EXPECT_VB_ERROR(fso_.DeleteFile("C:\\Absent\\QuelMaj.mdb"), 76);
  EXPECT_VB_ERROR(fso_.DeleteFile("C:\\Bases"), 53);  // a folder is not a file

  writeBytes(c() / "Bases" / "a.ldb", "");
  writeBytes(c() / "Bases" / "b.LDB", "");
  writeBytes(c() / "Bases" / "c.mdb", "");
  fso_.DeleteFile("C:\\Bases\\*.ldb");
  EXPECT_FALSE(fs::exists(c() / "Bases" / "a.ldb"));
  EXPECT_FALSE(fs::exists(c() / "Bases" / "b.LDB"));
  EXPECT_TRUE(fs::exists(c() / "Bases" / "c.mdb"));
}

TEST_F(FsoTest, CopyFolderCreatesMergesAndReplaces) {
  writeBytes(c() / "QUELIS" / "Lettres" / "Courrier.dot", "neuf");
  writeBytes(c() / "QUELIS" / "Lettres" / "Sous" / "a.dot", "a");
  writeBytes(c() / "Donnees" / "ABC1234" / "lettres" / "COURRIER.DOT", "vieux");
  writeBytes(c() / "Donnees" / "ABC1234" / "lettres" / "perso.dot", "perso");

  fso_.CopyFolder("C:\\QUELIS\\Lettres", "C:\\Donnees\\ABC1234\\Lettres", true);
  EXPECT_EQ(readBytes(c() / "Donnees" / "ABC1234" / "lettres" / "COURRIER.DOT"), "neuf");
  EXPECT_EQ(readBytes(c() / "Donnees" / "ABC1234" / "lettres" / "perso.dot"), "perso");
  EXPECT_EQ(readBytes(c() / "Donnees" / "ABC1234" / "lettres" / "Sous" / "a.dot"), "a");

  EXPECT_VB_ERROR(fso_.CopyFolder("C:\\QUELIS\\Lettres", "C:\\Donnees\\ABC1234\\Lettres", false), 58);
  EXPECT_VB_ERROR(fso_.CopyFolder("C:\\QUELIS\\Absent", "C:\\Donnees\\X"), 76);
  EXPECT_VB_ERROR(fso_.CopyFolder("C:\\QUELIS\\Lettres", "C:\\Absent\\Lettres"), 76);

  EXPECT_VB_ERROR(fso_.CopyFolder("C:\\QUELIS\\Lettres\\", "C:\\Donnees\\L2"), 76);  // trailing separator
  EXPECT_VB_ERROR(fso_.CopyFolder("C:\\QUELIS", "C:\\QUELIS\\Lettres\\Copie"), 70);
  EXPECT_FALSE(fs::exists(c() / "QUELIS" / "Lettres" / "Copie"));

  fso_.CopyFolder("C:\\QUELIS\\Lettres", "D:\\");
  EXPECT_EQ(readBytes(root() / "D" / "Lettres" / "Sous" / "a.dot"), "a");
}

TEST_F(FsoTest, MoveFolderAndDeleteFolder) {
  writeBytes(c() / "Quelis" / "Bases" / "Quelis.mdb", "db");
  fs::create_directories(c() / "Quelis" / "Donnees" / "ABC1234");
  fso_.MoveFolder("C:\\Quelis\\Bases", "C:\\Quelis\\Donnees\\ABC1234\\Bases");
  EXPECT_EQ(readBytes(c() / "Quelis" / "Donnees" / "ABC1234" / "Bases" / "Quelis.mdb"), "db");
  EXPECT_FALSE(fs::exists(c() / "Quelis" / "Bases"));
  EXPECT_VB_ERROR(fso_.MoveFolder("C:\\Quelis\\Bases", "C:\\Quelis\\X"), 76);

  fs::create_directories(c() / "Quelis" / "Profils");
  EXPECT_VB_ERROR(fso_.MoveFolder("C:\\Quelis\\Profils", "C:\\Quelis\\Donnees\\ABC1234\\BASES"), 58);
  fso_.MoveFolder("C:\\Quelis\\Profils", "D:\\Profils");  // another drive
  EXPECT_TRUE(fs::is_directory(root() / "D" / "Profils"));

  writeBytes(c() / "Quelis" / "Donnees" / "ABC1234" / "Lettres" / "l.dot", "x");
  makeReadOnly(c() / "Quelis" / "Donnees" / "ABC1234" / "Lettres" / "l.dot");
  EXPECT_VB_ERROR(fso_.DeleteFolder("C:\\Quelis\\Donnees\\ABC1234\\Lettres"), 70);
  EXPECT_TRUE(fs::exists(c() / "Quelis" / "Donnees" / "ABC1234" / "Lettres" / "l.dot"));
  fso_.DeleteFolder("c:\\quelis\\donnees\\abc1234\\lettres", true);
  EXPECT_FALSE(fs::exists(c() / "Quelis" / "Donnees" / "ABC1234" / "Lettres"));
  EXPECT_VB_ERROR(fso_.DeleteFolder("C:\\Quelis\\Donnees\\ABC1234\\Lettres", true), 76);
  EXPECT_VB_ERROR(fso_.DeleteFolder("C:", true), 76);
  EXPECT_TRUE(fs::is_directory(c() / "Quelis"));
}

TEST_F(FsoTest, AssigningAFileNameRenamesItInPlace) {
  writeBytes(c() / "Bases" / "QuelComp.mdb", "compact");
  writeBytes(c() / "Bases" / "Autre.mdb", "x");
  platform::File file = fso_.GetFile("C:\\Bases\\quelcomp.mdb");
  EXPECT_VB_ERROR(file.SetName("AUTRE.mdb"), 58);
  EXPECT_VB_ERROR(file.SetName("a\\b.mdb"), 52);
  file.SetName("Quelis.mdb");
  EXPECT_EQ(file.Path(), "C:\\Bases\\Quelis.mdb");
  EXPECT_EQ(readBytes(c() / "Bases" / "Quelis.mdb"), "compact");
  EXPECT_FALSE(fs::exists(c() / "Bases" / "QuelComp.mdb"));
  file.SetName("QUELIS.MDB");
  EXPECT_EQ(file.Name(), "QUELIS.MDB");
}

TEST_F(FsoTest, PathTextHelpers) {
  EXPECT_EQ(fso_.BuildPath("C:\\Quelis", "Lettres"), "C:\\Quelis\\Lettres");
  EXPECT_EQ(fso_.BuildPath("C:\\Quelis\\", "Lettres"), "C:\\Quelis\\Lettres");
  EXPECT_EQ(fso_.GetFileName("C:\\Quelis\\Bases\\Quelis.mdb"), "Quelis.mdb");
  EXPECT_EQ(fso_.GetParentFolderName("C:\\Quelis\\Bases\\"), "C:\\Quelis");
}

}  // namespace
}  // namespace platform_test
