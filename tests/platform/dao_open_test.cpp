// Opening databases: Windows paths of the workstation, exclusive use, and the refusals with
// the numbers and texts the application reports.
#include <fstream>

#include "support/linux_programs.h"
#include "dao_test_support.h"
#include "os/services.h"
#include "platform/filelock.h"
#include "platform/localfs.h"

namespace {

using namespace platform::dao;
using dao_test::DaoTest;
namespace fs = std::filesystem;

class DaoOpenTest : public DaoTest {};

// Expects `statement` to raise `number` with exactly `text`.
#define EXPECT_DAO_TEXT(statement, expectedNumber, expectedText) \
  do {                                                            \
    try {                                                         \
      statement;                                                  \
      ADD_FAILURE() << #statement " raised nothing";              \
    } catch (const platform::Error& e) {                          \
      EXPECT_EQ(e.number(), expectedNumber);                      \
      EXPECT_EQ(e.description(), expectedText);                   \
    }                                                             \
  } while (0)

TEST_F(DaoOpenTest, PathsResolveCaseBlindOnTheWorkstation) {
  place("testV2000.mdb", "Quelis.mdb");
  Database db = engine_.OpenDatabase("c:\\quelis\\BASES\\QUELIS.MDB", true);
  EXPECT_EQ(db.Name(), "c:\\quelis\\BASES\\QUELIS.MDB");
  EXPECT_TRUE(db.TableDefs().Contains("Table1"));
}

TEST_F(DaoOpenTest, MissingFileFolderOrDriveNameTheWindowsPath) {
  place("testV2000.mdb", "Quelis.mdb");
  EXPECT_DAO_TEXT(engine_.OpenDatabase("C:\\QUELIS\\Bases\\Absente.mdb", true), 3024,
                  "Fichier 'C:\\QUELIS\\Bases\\Absente.mdb' introuvable.");
  try {
    engine_.OpenDatabase("C:\\QUELIS\\Nulle\\Quelis.mdb", true);
    ADD_FAILURE() << "a missing folder opened";
  } catch (const platform::Error& e) {
    EXPECT_EQ(e.number(), 3044);
    EXPECT_NE(e.description().find("'C:\\QUELIS\\Nulle'"), std::string::npos) << e.description();
  }
  EXPECT_VB_ERROR(engine_.OpenDatabase("Q:\\Quelis.mdb", true), 3044);
  EXPECT_VB_ERROR(engine_.OpenDatabase("relatif.mdb", true), 3044);
}

TEST_F(DaoOpenTest, OtherFilesAreRefusedAsNotJet4OrDamaged) {
  fs::create_directories(c() / "QUELIS");
  platform_test::writeBytes(c() / "QUELIS" / "texte.mdb", std::string(8192, 'x'));
  EXPECT_DAO_TEXT(engine_.OpenDatabase("C:\\QUELIS\\texte.mdb", true), 3343,
                  "Format de base de données 'C:\\QUELIS\\texte.mdb' non reconnu.");
  // A real header followed by nothing: the catalog page is missing.
  std::string head = platform_test::readBytes(dao_test::fixture("emptyV2000.mdb")).substr(0, 4096);
  platform_test::writeBytes(c() / "QUELIS" / "tronque.mdb", head);
  EXPECT_VB_ERROR(engine_.OpenDatabase("C:\\QUELIS\\tronque.mdb", true), 3049);
}

TEST_F(DaoOpenTest, ASecondOpenerOfAnOpenDatabaseIsRefusedUntilItCloses) {
  const std::string path = place("testV2000.mdb", "Quelis.mdb");
  Database first = engine_.OpenDatabase(path, true);
  EXPECT_DAO_TEXT(engine_.OpenDatabase(path, true), 3045,
                  "Impossible d'utiliser 'C:\\QUELIS\\Bases\\Quelis.mdb' ; fichier déjà utilisé.");
  EXPECT_VB_ERROR(engine_.OpenDatabase(path, false), 3045);
  EXPECT_VB_ERROR(engine_.RepairDatabase(path), 3045);
  first.Close();
  Database second = engine_.OpenDatabase(path, true);
  EXPECT_TRUE(second.Updatable());
}

TEST_F(DaoOpenTest, TheLockFileExistsWhileTheDatabaseIsOpen) {
  const std::string path = place("testV2000.mdb", "Quelis.mdb");
  const fs::path ldb = local("Quelis.ldb");
  {
    Database db = engine_.OpenDatabase(path, true);
    EXPECT_TRUE(fs::exists(ldb));
    EXPECT_TRUE(platform::IsLockedByAnother(ldb));
  }
  EXPECT_FALSE(fs::exists(ldb));
}

TEST_F(DaoOpenTest, AReadOnlyDatabaseRefusesChangesWith3027) {
  const std::string path = place("indexTestV2000.mdb", "Quelis.mdb");
  Database db = engine_.OpenDatabase(path, false, true);
  EXPECT_FALSE(db.Updatable());
  Recordset rs = db.OpenRecordset("Table2");
  EXPECT_FALSE(rs.Updatable());
  EXPECT_VB_ERROR(rs.Edit(), 3027);
  EXPECT_VB_ERROR(db.Execute("DELETE FROM Table2"), 3027);
}

TEST_F(DaoOpenTest, ClosingTwiceAndUsingAClosedDatabaseRaise3420) {
  const std::string path = place("testV2000.mdb", "Quelis.mdb");
  Database db = engine_.OpenDatabase(path, true);
  TableDef table = db.TableDefs("Table1");
  db.Close();
  EXPECT_VB_ERROR(db.Close(), 3420);
  EXPECT_VB_ERROR(db.OpenRecordset("Table1"), 3420);
  EXPECT_VB_ERROR(db.TableDefs(), 3420);
  EXPECT_VB_ERROR(table.RecordCount(), 3420);
}

std::string exportOf(const fs::path& file, const std::string& table) {
  std::string out;
  const std::string command = "mdb-export '" + file.string() + "' " + table + " 2>&1";
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe)) out += buffer;
    pclose(pipe);
  }
  return out;
}

TEST_F(DaoOpenTest, CompactingWritesASmallerFileWithTheSameRows) {
  QUELIS_NEEDS_MDBTOOLS();
  const std::string path = place("testV2000.mdb", "QuelMaj.mdb");
  const std::string before = bytesOf("QuelMaj.mdb");
  engine_.CompactDatabase(path, "C:\\QUELIS\\Bases\\QuelComp.mdb");
  ASSERT_TRUE(fs::exists(local("QuelComp.mdb")));
  EXPECT_EQ(bytesOf("QuelMaj.mdb"), before);  // the source is only read
  EXPECT_LT(fs::file_size(local("QuelComp.mdb")), before.size());
  for (const char* table : {"Table1", "Table2", "Table3", "Table4"}) {
    const std::string rows = exportOf(local("QuelMaj.mdb"), table);
    EXPECT_FALSE(rows.empty());
    EXPECT_EQ(exportOf(local("QuelComp.mdb"), table), rows) << table;
  }
  Database db = engine_.OpenDatabase("C:\\QUELIS\\Bases\\QuelComp.mdb", true);
  EXPECT_EQ(db.TableDefs("Table1").RecordCount(), 2);
}

TEST_F(DaoOpenTest, CompactingRefusesAnExistingDestinationAMissingSourceAndAnOpenOne) {
  const std::string path = place("indexTestV2000.mdb", "QuelMaj.mdb");
  place("indexTestV2000.mdb", "QuelComp.mdb");
  EXPECT_VB_ERROR(engine_.CompactDatabase(path, "C:\\QUELIS\\Bases\\QuelComp.mdb"), 3204);
  EXPECT_VB_ERROR(engine_.CompactDatabase("C:\\QUELIS\\Bases\\Absente.mdb", "C:\\QUELIS\\Bases\\x.mdb"), 3024);
  EXPECT_VB_ERROR(engine_.CompactDatabase(path, "C:\\QUELIS\\Nulle\\x.mdb"), 3044);
  EXPECT_FALSE(fs::exists(local("x.mdb")));
  Database open = engine_.OpenDatabase(path, true);
  EXPECT_VB_ERROR(engine_.CompactDatabase(path, "C:\\QUELIS\\Bases\\y.mdb"), 3045);
  EXPECT_FALSE(fs::exists(local("y.mdb")));
}

// The engine names the local file it was at; the application sees the Windows path of that
// very file, a temporary the engine made beside the one it was given included.
TEST_F(DaoOpenTest, EngineErrorsNameTheWindowsPathOfTheFileTheyAreAbout) {
  const std::string path = place("indexTestV2000.mdb", "QuelMaj.mdb");
  // Another compaction of the same name under way holds its unfinished file.
  platform_test::writeBytes(local("QuelComp.mdb.compactage"), "");
  auto under_way = os::system_services().files->open(platform::localfs::toUtf8(local("QuelComp.mdb.compactage")),
                                                     os::Access::ReadWrite, os::Sharing::Exclusive);
  EXPECT_DAO_TEXT(engine_.CompactDatabase(path, "C:\\QUELIS\\Bases\\QuelComp.mdb"), 3045,
                  "Impossible d'utiliser 'C:\\QUELIS\\Bases\\QuelComp.mdb.compactage' ; fichier déjà utilisé.");
  under_way.reset();
  platform_test::makeReadOnly(local("QuelMaj.mdb"));
  EXPECT_DAO_TEXT(engine_.OpenDatabase(path, true), 3051,
                  "Le moteur de base de données Microsoft Jet ne peut pas ouvrir le fichier "
                  "'C:\\QUELIS\\Bases\\QuelMaj.mdb'. Il est déjà ouvert en mode exclusif par un autre "
                  "utilisateur, ou vous devez avoir l'autorisation de visualiser ses données.");
}

TEST_F(DaoOpenTest, RepairingAClosedSoundDatabaseKeepsItsContent) {
  const std::string path = place("indexTestV2000.mdb", "QuelMaj.mdb");
  const std::string before = bytesOf("QuelMaj.mdb");
  engine_.RepairDatabase(path);
  EXPECT_EQ(bytesOf("QuelMaj.mdb"), before);  // nothing to put right, nothing written
  platform_test::writeBytes(local("texte.mdb"), std::string(8192, 'x'));
  EXPECT_DAO_TEXT(engine_.RepairDatabase("C:\\QUELIS\\Bases\\texte.mdb"), 3343,
                  "Format de base de données 'C:\\QUELIS\\Bases\\texte.mdb' non reconnu.");
  Database db = engine_.OpenDatabase(path, true);
  EXPECT_EQ(db.TableDefs("Table1").RecordCount(), 4);
  EXPECT_VB_ERROR(engine_.RepairDatabase("C:\\QUELIS\\Bases\\Absente.mdb"), 3024);
}

}  // namespace
