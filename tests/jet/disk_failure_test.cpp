// The engine over an injected file system, clock and random source: a failing or full disk
// is reported with the numbers a French Access gives (never as a damaged database), a new
// database is never left half-made, and dates and identifiers come from what was injected.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "jet/base/error.h"
#include "jet/db/create_database.h"
#include "jet/db/database.h"
#include "jet/exec/executor.h"
#include "jet/table/table_design.h"
#include "jet_test_support.h"
#include "os/faulty_file_system.h"
#include "os/services.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace disk_failure_test_cases {

namespace {

namespace fs = std::filesystem;

class StoppedClock final : public os::Clock {
 public:
  os::LocalTime now() const override { return {2013, 1, 15, 14, 30, 5}; }
};

// 1, 2, 3... so that generated identifiers can be predicted.
class CountingRandom final : public os::Random {
 public:
  std::uint64_t next() override { return ++n_; }

 private:
  std::uint64_t n_ = 0;
};

constexpr double kStopped = 41289.0 + (14 * 3600 + 30 * 60 + 5) / 86400.0;  // 2013-01-15 14:30:05

struct InjectedServices {
  os::FaultyFileSystem files{*os::system_services().files};
  StoppedClock clock;
  CountingRandom random;
  os::Services services{&files, &clock, &random};
};

std::string error_text(const std::function<void()>& action) {
  try {
    action();
  } catch (const jet::Error& e) {
    return std::to_string(e.number()) + " " + e.what();
  }
  return "no error";
}

TEST(DiskFailures, AFullDiskWhileCreatingLeavesNoFileAndSays3026) {
  jet_test::ScratchDir dir;
  InjectedServices injected;
  injected.files.disk_full_after(3 * 4096);
  const std::string path = (dir.path() / "new.mdb").string();
  jet::CreateOptions options;
  options.services = &injected.services;
  EXPECT_EQ(error_text([&] { jet::create_database(path, options); }), "3026 Espace disque insuffisant.");
  EXPECT_FALSE(fs::exists(path));
  EXPECT_FALSE(fs::exists(path + ".creation"));
  EXPECT_TRUE(fs::is_empty(dir.path()));
}

TEST(DiskFailures, AFailedPublishLeavesNoTemporaryBehind) {
  jet_test::ScratchDir dir;
  InjectedServices injected;
  injected.files.fail_rename(1, os::FailureKind::IoError);
  const std::string path = (dir.path() / "new.mdb").string();
  jet::CreateOptions options;
  options.services = &injected.services;
  EXPECT_EQ(jet_test::error_of([&] { jet::create_database(path, options); }), 3043);
  EXPECT_TRUE(fs::is_empty(dir.path()));
}

TEST(DiskFailures, AnUnfinishedCreationIsClearedUnlessACreationIsUnderWay) {
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "new.mdb").string();
  // What a creation killed before its rename leaves.
  dir.write("new.mdb.creation", std::vector<std::uint8_t>(4096, 9));
  jet::create_database(path).reset();
  EXPECT_FALSE(fs::exists(path + ".creation"));
  EXPECT_TRUE(jet::Database::open(path)->table_names().empty());

  // A creation under way holds its file: another one of the same name is refused, naming
  // the database, and the file under way is left alone.
  const std::string other = (dir.path() / "other.mdb").string();
  auto under_way = os::system_services().files->create_new(other + ".creation");
  try {
    jet::create_database(other);
    ADD_FAILURE() << "a creation under way was overrun";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 3045);
    EXPECT_NE(std::string(e.what()).find("other.mdb'"), std::string::npos) << e.what();
  }
  EXPECT_TRUE(fs::exists(other + ".creation"));
}

// A database with one empty table T (A LONG), opened through `injected`.
std::unique_ptr<jet::WritableDatabase> database_with_table(const jet_test::ScratchDir& dir, const std::string& name,
                                                           InjectedServices& injected) {
  const std::string path = (dir.path() / name).string();
  jet::create_database(path).reset();
  auto db = jet::WritableDatabase::open(path, &injected.services);
  jet::sql::Executor(*db).execute("CREATE TABLE T (A LONG)");
  return db;
}

TEST(DiskFailures, WriteAndSyncFailuresOfACommitAreDiskErrorsNotDamage) {
  jet_test::ScratchDir dir;
  {
    InjectedServices injected;
    auto db = database_with_table(dir, "sync.mdb", injected);
    injected.files.fail_sync(1);
    EXPECT_EQ(error_text([&] { jet::sql::Executor(*db).execute("INSERT INTO T (A) VALUES (1)"); }),
              "3043 Erreur de disque ou de réseau.");
  }
  {
    InjectedServices injected;
    auto db = database_with_table(dir, "full.mdb", injected);
    injected.files.fail_write(1, os::FailureKind::DiskFull, true);
    EXPECT_EQ(jet_test::error_of([&] { jet::sql::Executor(*db).execute("INSERT INTO T (A) VALUES (2)"); }), 3026);
  }
  {
    InjectedServices injected;
    auto db = database_with_table(dir, "denied.mdb", injected);
    injected.files.fail_write(1, os::FailureKind::AccessDenied);
    EXPECT_EQ(jet_test::error_of([&] { jet::sql::Executor(*db).execute("INSERT INTO T (A) VALUES (3)"); }), 3051);
  }
}

TEST(DiskFailures, AFailedReadIs3040WhetherOpeningOrReadingPages) {
  jet_test::ScratchDir dir;
  const std::string path = jet_test::copy_fixture(dir, "testV2000.mdb");
  InjectedServices injected;
  jet::OpenOptions options;
  options.services = &injected.services;

  injected.files.fail_read(1);  // the header probe
  EXPECT_EQ(error_text([&] { jet::Database::open(path, options); }),
            "3040 Erreur d'E/S disque pendant la lecture.");
  injected.files.fail_read(2);  // the first page read after the probe
  EXPECT_EQ(jet_test::error_of([&] { jet::Database::open(path, options); }), 3040);

  auto db = jet::Database::open(path, options);
  EXPECT_GT(db->table_names().size(), 0u);
}

TEST(InjectedServices, DatesComeFromTheInjectedClockAndIdentifiersFromTheRandomSource) {
  jet_test::ScratchDir dir;
  InjectedServices injected;
  const std::string path = (dir.path() / "dated.mdb").string();
  jet::CreateOptions options;
  options.services = &injected.services;
  auto db = jet::create_database(path, options);
  jet::TableDesign design;
  design.name = "G";
  jet::ColumnDesign id;
  id.name = "ID";
  id.type = jet::ColumnType::Guid;
  id.autonumber = true;  // a replication identifier: drawn by the engine
  jet::ColumnDesign n;
  n.name = "N";
  n.type = jet::ColumnType::Long;
  design.columns = {id, n};
  db->create_table(design);
  jet::sql::Executor sql(*db);
  sql.execute("INSERT INTO G (N) VALUES (1)");

  const auto stamps = sql.select("SELECT DateCreate, DateUpdate FROM MSysObjects WHERE Name = 'G'");
  ASSERT_EQ(stamps.size(), 1u);
  EXPECT_NEAR(stamps.rows()[0][0].as_date(), kStopped, 1e-9);
  EXPECT_NEAR(stamps.rows()[0][1].as_date(), kStopped, 1e-9);
  const auto now = sql.select("SELECT Now() AS T FROM G");
  ASSERT_EQ(now.size(), 1u);
  EXPECT_NEAR(now.rows()[0][0].as_date(), kStopped, 1e-9);

  const auto ids = sql.select("SELECT ID FROM G");
  ASSERT_EQ(ids.size(), 1u);
  const jet::Guid& guid = ids.rows()[0][0].as_guid();
  // Two draws (1, then 2) fill the sixteen bytes little-endian, then the version-4 marks.
  EXPECT_EQ(guid.bytes[0], 1);
  EXPECT_EQ(guid.bytes[8] & 0x3F, 2);
  EXPECT_EQ(guid.bytes[7], 0x40);
  EXPECT_EQ(guid.bytes[8] & 0xC0, 0x80);
}

}  // namespace

}  // namespace disk_failure_test_cases
