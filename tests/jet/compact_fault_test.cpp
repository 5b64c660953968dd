// A compaction that fails or is killed never leaves half a database under the destination's
// name: the file is written under a name of its own and renamed once whole. Every write, sync
// and rename of a compaction is made to fail in turn; an unfinished file left by a killed
// compaction is cleared by the next one.
#include <gtest/gtest.h>

#include <filesystem>

#include "jet/base/error.h"
#include "jet/db/create_database.h"
#include "jet/db/writable_database.h"
#include "jet/exec/executor.h"
#include "jet/storage/transaction.h"
#include "jet/storage/rollback_journal.h"
#include "jet/tools/compact.h"
#include "jet/tools/diff.h"
#include "jet_test_support.h"
#include "os/faulty_file_system.h"
#include "os/services.h"

namespace compact_fault_test {

namespace {

namespace fs = std::filesystem;

struct Faulty {
  os::FaultyFileSystem files{*os::system_services().files};
  os::Services services{&files, os::system_services().clock, os::system_services().random};
};

// Names in `dir` other than `keep`.
std::vector<std::string> others(const jet_test::ScratchDir& dir, const std::string& keep) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    if (entry.path().filename() != keep) names.push_back(entry.path().filename().string());
  }
  return names;
}

TEST(CompactFaults, EveryFailingWriteSyncOrRenameLeavesNoDestinationAndNothingElse) {
  jet_test::ScratchDir dir;
  const std::string source = jet_test::copy_fixture(dir, "testV2000.mdb", "source.mdb");
  const std::string destination = (dir.path() / "out.mdb").string();
  Faulty counting;
  jet::compact(source, destination, &counting.services);
  const int writes = counting.files.writes(), syncs = counting.files.syncs();
  ASSERT_GT(writes, 3);
  // The new file is nobody's until it takes its name: synced once it is whole (and when it is
  // created), never table by table.
  EXPECT_LE(syncs, 3);
  fs::remove(destination);

  struct Fault {
    std::string what;
    std::function<void(os::FaultyFileSystem&)> arm;
    int error;
  };
  std::vector<Fault> faults;
  // Every write up to 40, then a spread of the later ones.
  for (int n = 1; n <= writes; n += n < 40 ? 1 : writes / 20 + 1) {
    faults.push_back({"write " + std::to_string(n), [n](auto& f) { f.fail_write(n, os::FailureKind::IoError, true); },
                      3043});
  }
  for (int n = 1; n <= syncs; ++n) faults.push_back({"sync " + std::to_string(n), [n](auto& f) { f.fail_sync(n); }, 3043});
  // The creation's rename, then the final one.
  for (int n = 1; n <= 2; ++n) {
    faults.push_back({"rename " + std::to_string(n), [n](auto& f) { f.fail_rename(n); }, 3043});
  }
  faults.push_back({"full disk", [](auto& f) { f.disk_full_after(40000); }, 3026});

  for (const Fault& fault : faults) {
    SCOPED_TRACE(fault.what);
    Faulty faulty;
    fault.arm(faulty.files);
    EXPECT_EQ(jet_test::error_of([&] { jet::compact(source, destination, &faulty.services); }), fault.error);
    EXPECT_FALSE(fs::exists(destination));
    EXPECT_EQ(others(dir, "source.mdb"), std::vector<std::string>{});
  }
}

// Held to a few pages and kilobytes, a compaction writes its pages and index runs as it goes,
// on helper threads: a write failing there fails the compaction just the same.
TEST(CompactFaults, AWriteFailingBehindTheCompactionLeavesNothing) {
  jet_test::ScratchDir dir;
  const std::string source = jet_test::copy_fixture(dir, "testV2000.mdb", "source.mdb");
  const std::string destination = (dir.path() / "out.mdb").string();
  jet::CompactOptions tight;
  tight.overlay_pages = 16;
  tight.index_sort_bytes = 2048;
  Faulty counting;
  jet::compact(source, destination, &counting.services, tight);
  const int writes = counting.files.writes();
  ASSERT_GT(writes, 20);
  fs::remove(destination);
  for (int n = 1; n <= writes; n += writes / 15 + 1) {
    SCOPED_TRACE("write " + std::to_string(n));
    Faulty faulty;
    faulty.files.fail_write(n);
    const int code = jet_test::error_of([&] { jet::compact(source, destination, &faulty.services, tight); });
    EXPECT_TRUE(code == 3043 || code == 3040) << code;  // a read of bytes that failed to land: 3040
    EXPECT_FALSE(fs::exists(destination));
    EXPECT_EQ(others(dir, "source.mdb"), std::vector<std::string>{});
  }
  Faulty full;
  full.files.disk_full_after(200000);
  EXPECT_EQ(jet_test::error_of([&] { jet::compact(source, destination, &full.services, tight); }), 3026);
  EXPECT_FALSE(fs::exists(destination));
  EXPECT_EQ(others(dir, "source.mdb"), std::vector<std::string>{});
}

// Writes rows without touching any index, as a damaged file may hold them.
class IndexesLeftAlone final : public jet::IndexHook {
 public:
  void check(const jet::TableDef&, const jet::Row*, const jet::Row*, std::optional<jet::RowId>) override {}
  void apply(const jet::TableDef&, const jet::Row*, const jet::Row*, jet::RowId) override {}
};

TEST(CompactFaults, RowsThatBreakAUniqueIndexAreRefusedNotCarried) {
  jet_test::ScratchDir dir;
  // A unique index over two Nulls (which never collide), and, when asked, a row written
  // past the index with the key of another (as 'a' and 'A' are one key).
  auto make = [&](const std::string& name, bool duplicate) {
    const std::string path = (dir.path() / name).string();
    auto db = jet::create_database(path);
    jet::sql::Executor sql(*db);
    sql.execute("CREATE TABLE T (ID LONG, CODE TEXT(10))");
    sql.execute("CREATE UNIQUE INDEX ParCode ON T (CODE)");
    sql.execute("INSERT INTO T (ID, CODE) VALUES (1, 'A')");
    sql.execute("INSERT INTO T (ID, CODE) VALUES (2, NULL)");
    sql.execute("INSERT INTO T (ID, CODE) VALUES (3, NULL)");
    if (duplicate) {
      IndexesLeftAlone none;
      jet::Transaction t(db->pager());
      db->writer("T", &none).insert({jet::Value::long_(4), jet::Value::text("a")});
      t.commit();
    }
    return path;
  };
  const std::string damaged = make("damaged.mdb", true), sound = make("sound.mdb", false);
  const std::string destination = (dir.path() / "out.mdb").string();
  EXPECT_EQ(jet_test::error_of([&] { jet::compact(damaged, destination); }), 3049);
  EXPECT_FALSE(fs::exists(destination));

  jet::compact(sound, destination);
  EXPECT_EQ(jet_test::joined(jet_test::verify_problems(destination)), "");
}

TEST(CompactFaults, AnUnfinishedFileOfAKilledCompactionIsClearedUnlessHeld) {
  jet_test::ScratchDir dir;
  const std::string source = jet_test::copy_fixture(dir, "testV2000.mdb", "source.mdb");
  const std::string destination = (dir.path() / "out.mdb").string();
  const std::string temp = jet::compaction_path(destination);
  // What a kill leaves: the half-written file and its journal.
  dir.write(fs::path(temp).filename().string(), std::vector<std::uint8_t>(8192, 7));
  dir.write(fs::path(jet::journal_path(temp)).filename().string(), std::vector<std::uint8_t>(100, 1));
  jet::compact(source, destination);
  EXPECT_TRUE(jet_test::joined(jet::diff_files(source, destination)).empty());
  EXPECT_EQ(others(dir, "source.mdb"), std::vector<std::string>{"out.mdb"});

  // A compaction of the same name under way holds its file: the second one is refused.
  fs::remove(destination);
  dir.write(fs::path(temp).filename().string(), std::vector<std::uint8_t>(8192, 7));
  auto held = os::system_services().files->open(temp, os::Access::ReadWrite, os::Sharing::Exclusive);
  EXPECT_EQ(jet_test::error_of([&] { jet::compact(source, destination); }), 3045);
  EXPECT_FALSE(fs::exists(destination));
  EXPECT_TRUE(fs::exists(temp));
}

}  // namespace

}  // namespace compact_fault_test
