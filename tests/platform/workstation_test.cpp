#include "platform/workstation.h"
#include "platform/localfs.h"

#include "platform_test_support.h"
#include "platform/winpath.h"

namespace platform_test {
namespace {

using platform::ParseWinPath;

TEST(WinPathText, ParsesDriveAndSharePathsAsWin32Does) {
  auto drive = ParseWinPath("c:\\Quelis\\.\\Bases\\..\\Donnees\\");
  ASSERT_TRUE(drive);
  EXPECT_EQ(drive->drive, 'C');
  EXPECT_EQ(drive->components, (std::vector<std::string>{"Quelis", "Donnees"}));
  EXPECT_EQ(drive->text(), "C:\\Quelis\\Donnees");

  auto share = ParseWinPath("\\\\serveur\\partage\\NPX/LOG");
  ASSERT_TRUE(share);
  EXPECT_TRUE(share->isUnc());
  EXPECT_EQ(share->rootText(), "\\\\serveur\\partage\\");
  EXPECT_EQ(share->components, (std::vector<std::string>{"NPX", "LOG"}));

  // Trailing dots and blanks vanish; ".." never climbs above the root.
  auto trimmed = ParseWinPath("C:\\..\\Quelis. \\x");
  ASSERT_TRUE(trimmed);
  EXPECT_EQ(trimmed->text(), "C:\\Quelis\\x");
}

TEST(WinPathText, RefusesRelativeAndMalformedPaths) {
  EXPECT_FALSE(ParseWinPath(""));
  EXPECT_FALSE(ParseWinPath("Quelis\\Bases"));
  EXPECT_FALSE(ParseWinPath("C:Quelis"));
  EXPECT_FALSE(ParseWinPath("\\\\serveur"));
  EXPECT_FALSE(ParseWinPath("C:\\a|b"));
  EXPECT_FALSE(ParseWinPath("C:\\*.log"));
  EXPECT_TRUE(ParseWinPath("C:\\*.log", true));
  EXPECT_FALSE(ParseWinPath("C:\\*\\x.log", true)) << "wildcards only in the last component";
}

TEST(WinPathText, TextHelpersKeepTheProgramsOwnSpelling) {
  EXPECT_EQ(platform::WithoutTrailingSeparator("c:\\quelis\\"), "c:\\quelis");
  EXPECT_EQ(platform::WithoutTrailingSeparator("C:\\"), "C:\\");
  EXPECT_EQ(platform::WithoutTrailingSeparator("\\\\srv\\part\\"), "\\\\srv\\part");
  EXPECT_EQ(platform::ChildPath("C:\\", "Quelis"), "C:\\Quelis");
  EXPECT_EQ(platform::ChildPath("C:\\Quelis", "Bases"), "C:\\Quelis\\Bases");
  EXPECT_EQ(platform::LastComponent("C:\\Quelis\\Bases\\"), "Bases");
  EXPECT_EQ(platform::LastComponent("C:\\"), "");
  EXPECT_EQ(platform::ParentPathText("C:\\Quelis\\Bases"), "C:\\Quelis");
  EXPECT_EQ(platform::ParentPathText("C:\\Quelis"), "C:\\");
  EXPECT_EQ(platform::ParentPathText("C:\\"), "");
}

TEST(Wildcards, MatchCaseBlindLikeTheCommandPrompt) {
  using platform::MatchesWildcard;
  EXPECT_TRUE(MatchesWildcard("QuelisBase_SCRIPT.log", "quelis*script.LOG"));
  EXPECT_TRUE(MatchesWildcard("Quelis.mdb", "Quelis.mdb"));
  EXPECT_TRUE(MatchesWildcard("LISEZMOI", "*.*"));
  EXPECT_TRUE(MatchesWildcard("élève.txt", "ÉLÈVE.TXT"));
  EXPECT_TRUE(MatchesWildcard("a1.ldb", "a?.ldb"));
  EXPECT_FALSE(MatchesWildcard("a12.ldb", "a?.ldb"));
  EXPECT_FALSE(MatchesWildcard("Quelis.mdb", "*.ldb"));
}

class ResolveTest : public WorkstationTest {};

TEST_F(ResolveTest, ExistingEntriesMatchWhateverTheirCase) {
  fs::create_directories(c() / "QUELIS" / "donnees" / "Bases");
  writeBytes(c() / "QUELIS" / "donnees" / "Bases" / "Quelis.MDB", "x");

  const auto r = ws_.resolve("c:\\Quelis\\Donnees\\BASES\\quelis.mdb");
  EXPECT_TRUE(r.rootExists);
  EXPECT_TRUE(r.isFile());
  EXPECT_EQ(r.local, c() / "QUELIS" / "donnees" / "Bases" / "Quelis.MDB");
}

TEST_F(ResolveTest, MissingComponentsKeepTheCaseTheProgramGave) {
  fs::create_directories(c() / "quelis");
  const auto r = ws_.resolve("C:\\QUELIS\\Donnees\\NouveauDossier\\");
  EXPECT_TRUE(r.rootExists);
  EXPECT_FALSE(r.exists());
  EXPECT_EQ(r.local, c() / "quelis" / "Donnees" / "NouveauDossier");
}

TEST_F(ResolveTest, AccentedNamesMatchAcrossCase) {
  fs::create_directories(c() / platform::localfs::fromUtf8("Élèves"));
  EXPECT_EQ(ws_.resolve("C:\\éLÈVES").local, c() / platform::localfs::fromUtf8("Élèves"));
}

TEST_F(ResolveTest, MissingDriveIsReportedNotCreated) {
  const auto r = ws_.resolve("H:\\NPX\\LOG\\Quelis\\");
  EXPECT_FALSE(r.rootExists);
  EXPECT_FALSE(r.exists());
  EXPECT_FALSE(fs::exists(root() / "H"));
}

TEST_F(ResolveTest, SharesLiveUnderUnc) {
  fs::create_directories(root() / "UNC" / "Serveur" / "Partage" / "Quelis");
  const auto r = ws_.resolve("\\\\serveur\\PARTAGE\\quelis");
  EXPECT_TRUE(r.rootExists);
  EXPECT_TRUE(r.isFolder());
  EXPECT_EQ(r.local, root() / "UNC" / "Serveur" / "Partage" / "Quelis");
}

TEST_F(ResolveTest, MalformedPathsRaiseBadFileName) {
  EXPECT_VB_ERROR(ws_.resolve("Quelis\\Bases"), 52);
  EXPECT_VB_ERROR(ws_.resolve("C:\\a<b"), 52);
}

class DriveTypeTest : public WorkstationTest {};

TEST_F(DriveTypeTest, PresentDrivesAreFixedAndMissingOnesHaveNoRoot) {
  EXPECT_EQ(ws_.GetDriveTypeA("C:\\"), platform::DRIVE_FIXED);
  EXPECT_EQ(ws_.GetDriveTypeA("d:\\"), platform::DRIVE_FIXED);
  EXPECT_EQ(ws_.GetDriveTypeA("C:"), platform::DRIVE_FIXED);
  EXPECT_EQ(ws_.GetDriveTypeA("E:\\"), platform::DRIVE_NO_ROOT_DIR);
}

TEST_F(DriveTypeTest, SettingsFileDeclaresCdRomAndRemovableDrives) {
  writeBytes(root() / "drives.ini", "[Drives]\r\nD=cdrom\r\nf = Removable\r\n");
  EXPECT_EQ(ws_.GetDriveTypeA("D:\\"), platform::DRIVE_CDROM) << "declared type wins over the folder";
  EXPECT_EQ(ws_.GetDriveTypeA("F:\\"), platform::DRIVE_REMOVABLE) << "even with no folder";
  EXPECT_EQ(ws_.GetDriveTypeA("C:\\"), platform::DRIVE_FIXED);
}

TEST_F(DriveTypeTest, NonRootPathsAndSharesAsWin32) {
  fs::create_directories(c() / "Quelis");
  EXPECT_EQ(ws_.GetDriveTypeA("C:\\Quelis\\"), platform::DRIVE_NO_ROOT_DIR);
  EXPECT_EQ(ws_.GetDriveTypeA("n'importe quoi"), platform::DRIVE_NO_ROOT_DIR);
  fs::create_directories(root() / "UNC" / "srv" / "part");
  EXPECT_EQ(ws_.GetDriveTypeA("\\\\srv\\part\\"), platform::DRIVE_REMOTE);
  EXPECT_EQ(ws_.GetDriveTypeA("\\\\srv\\autre\\"), platform::DRIVE_NO_ROOT_DIR);
}

}  // namespace
}  // namespace platform_test
