// Commits are all or nothing on the file. One transaction (an update of every row, inserts
// that add pages, an index) is run with a fault injected at each write, each sync and at
// growing amounts of free disk in turn; after every fault the file must hold exactly the old
// content, byte for byte, with the French error of the cause, no journal left behind, and
// the same database must still take the transaction once the disk behaves. When even putting
// the old pages back fails, the journal stays and the next opening, by anyone, does it.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include "jet/base/error.h"
#include "jet/db/create_database.h"
#include "jet/db/database.h"
#include "jet/db/writable_database.h"
#include "jet/exec/executor.h"
#include "jet/storage/rollback_journal.h"
#include "jet/storage/transaction.h"
#include "jet/tools/diff.h"
#include "jet_test_support.h"
#include "os/faulty_file_system.h"
#include "os/services.h"

namespace commit_fault_sweep_test {

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

struct Faulty {
  os::FaultyFileSystem files{*os::system_services().files};
  os::Services services{&files, os::system_services().clock, os::system_services().random};
};

// A database of 300 rows over a few pages, with an index on the text column.
std::string make_base(const jet_test::ScratchDir& dir) {
  const std::string path = (dir.path() / "base.mdb").string();
  auto db = jet::create_database(path);
  jet::sql::Executor sql(*db);
  sql.execute("CREATE TABLE T (ID LONG PRIMARY KEY, NOM TEXT(120), N LONG)");
  sql.execute("CREATE INDEX ParNom ON T (NOM)");
  jet::Transaction t(db->pager());
  for (int i = 1; i <= 300; ++i) {
    sql.execute("INSERT INTO T (ID, NOM, N) VALUES (" + std::to_string(i) + ", 'Parcelle numéro " +
                std::to_string(i) + " de la section cadastrale', " + std::to_string(i % 7) + ")");
  }
  t.commit();
  return path;
}

// The transaction under test: changes every data page, adds pages, changes the index.
void change(jet::WritableDatabase& db) {
  jet::sql::Executor sql(db);
  jet::Transaction t(db.pager());
  sql.execute("UPDATE T SET NOM = NOM & ' (révisée)', N = N + 100");
  sql.execute("INSERT INTO T (ID, NOM, N) SELECT ID + 300, 'Parcelle ajoutée ' & ID, 0 FROM T WHERE ID <= 120");
  t.commit();
}

long rows_of(const std::string& path) {
  auto db = jet::Database::open(path);
  long rows = 0;
  db->table("T").scan([&](jet::RowId, const jet::Row&) {
    ++rows;
    return true;
  });
  return rows;
}

class CommitFaults : public ::testing::Test {
 protected:
  void SetUp() override {
    base_ = make_base(dir_);
    old_ = jet_test::read_file(base_);
    // The same transaction without any fault: its file, and how many writes and syncs it takes.
    const std::string clean = copy("clean.mdb");
    Faulty counting;
    {
      auto db = jet::WritableDatabase::open(clean, &counting.services);
      change(*db);
    }
    writes_ = counting.files.writes();
    syncs_ = counting.files.syncs();
    updated_ = clean;
  }

  std::string copy(const std::string& name) {
    const std::string path = (dir_.path() / name).string();
    // Removed first: not every system's copy_file replaces an existing file.
    fs::remove(path);
    fs::remove(jet::journal_path(path));
    fs::copy_file(base_, path);
    return path;
  }

  // Runs the transaction with the fault `arm` set up and checks the error; once the
  // database is closed (a file held by it cannot be read everywhere), the file must be the
  // old one with no journal. Then, on a new copy, the same fault, and the same database goes
  // on once the disk behaves: it takes the transaction as an undisturbed run does.
  void expect_all_or_nothing(const std::string& what, const std::function<void(os::FaultyFileSystem&)>& arm,
                             int expected_error) {
    SCOPED_TRACE(what);
    {
      const std::string path = copy("work.mdb");
      Faulty faulty;
      auto db = jet::WritableDatabase::open(path, &faulty.services);
      arm(faulty.files);
      EXPECT_EQ(jet_test::error_of([&] { change(*db); }), expected_error);
      db.reset();
      EXPECT_TRUE(jet_test::read_file(path) == old_) << "the file is not the old one";
      EXPECT_FALSE(fs::exists(jet::journal_path(path)));
    }
    const std::string path = copy("again.mdb");
    Faulty faulty;
    auto db = jet::WritableDatabase::open(path, &faulty.services);
    arm(faulty.files);
    EXPECT_EQ(jet_test::error_of([&] { change(*db); }), expected_error);
    faulty.files.heal();
    change(*db);
    db.reset();
    EXPECT_TRUE(jet_test::joined(jet::diff_files(updated_, path)).empty());
    EXPECT_EQ(rows_of(path), 420);
  }

  jet_test::ScratchDir dir_;
  std::string base_, updated_;
  Bytes old_;
  int writes_ = 0, syncs_ = 0;
};

TEST_F(CommitFaults, EveryWriteOfTheCommitFailingLeavesTheOldFile) {
  ASSERT_GE(writes_, 3);  // at least the journal, its header and the pages
  for (int n = 1; n <= writes_; ++n) {
    expect_all_or_nothing("torn write " + std::to_string(n),
                          [&](os::FaultyFileSystem& f) { f.fail_write(n, os::FailureKind::IoError, true); }, 3043);
  }
}

TEST_F(CommitFaults, EverySyncOfTheCommitFailingLeavesTheOldFile) {
  ASSERT_GE(syncs_, 2);  // the journal, then the file
  for (int n = 1; n <= syncs_; ++n) {
    expect_all_or_nothing("sync " + std::to_string(n), [&](os::FaultyFileSystem& f) { f.fail_sync(n); }, 3043);
  }
}

TEST_F(CommitFaults, AFullDiskAtAnyPointLeavesTheOldFileAndSays3026) {
  const auto grown = fs::file_size(updated_) - old_.size();
  ASSERT_GT(grown, 0u);
  // From no room at all to room for everything but the journal's last bytes.
  const std::uint64_t step = (grown + 4096 * 8) / 9 + 1;
  for (std::uint64_t room = 0; room < grown + 4096 * 8; room += step) {
    expect_all_or_nothing("room " + std::to_string(room), [&](os::FaultyFileSystem& f) { f.disk_full_after(room); },
                          3026);
  }
  // With room enough, it goes through.
  const std::string path = copy("roomy.mdb");
  Faulty faulty;
  faulty.files.disk_full_after(64u << 20);
  auto db = jet::WritableDatabase::open(path, &faulty.services);
  change(*db);
}

TEST_F(CommitFaults, WhenPuttingTheOldPagesBackFailsTooTheNextOpeningDoesIt) {
  // The first write to the file itself fails; so does the sync that would end putting the old
  // pages back. The file is left half written with its journal, as after a kill.
  int hot = 0;
  for (int n = 2; n <= writes_; ++n) {
    SCOPED_TRACE("write " + std::to_string(n));
    const std::string path = copy("hot.mdb");
    {
      Faulty faulty;
      auto db = jet::WritableDatabase::open(path, &faulty.services);
      faulty.files.fail_write(n, os::FailureKind::IoError, true);
      faulty.files.fail_sync(2);
      const int error = jet_test::error_of([&] { change(*db); });
      EXPECT_EQ(error, 3043);
      if (!fs::exists(jet::journal_path(path))) continue;  // the fault fell on the journal
      ++hot;
      // The file's state is unknown to this database: no more changes are built on it.
      EXPECT_EQ(jet_test::error_of([&] { change(*db); }), 3043);
    }
    // A reader plays the journal back before it reads anything.
    EXPECT_EQ(rows_of(path), 300);
    EXPECT_FALSE(fs::exists(jet::journal_path(path)));
    EXPECT_TRUE(jet_test::read_file(path) == old_);
  }
  EXPECT_GT(hot, 0) << "no fault fell on the file itself";
}

TEST(HotJournal, AJournalCutShortIsThrownAwayAndTheFileKept) {
  jet_test::ScratchDir dir;
  const std::string path = make_base(dir);
  const Bytes old = jet_test::read_file(path);
  // A journal whose writer stopped before its header: nothing had reached the file.
  dir.write("base.mdb.jnl", Bytes(5000, 0x41));
  EXPECT_EQ(rows_of(path), 300);
  EXPECT_FALSE(fs::exists(jet::journal_path(path)));
  EXPECT_TRUE(jet_test::read_file(path) == old);
}

TEST(HotJournal, AHotJournalIsLeftAloneWhileAnotherProgramHasTheFile) {
  jet_test::ScratchDir dir;
  const std::string path = make_base(dir);
  // A journal as a commit under way leaves it (the writer holds the file exclusively).
  {
    auto file = os::system_services().files->open(path, os::Access::ReadWrite, os::Sharing::Exclusive);
    auto journal = jet::RollbackJournal::save(os::system_services(), path, *file, 4096, {1, 2, 3});
    EXPECT_TRUE(fs::exists(jet::journal_path(path)));
    // Another opener is refused as for any file in use, and the journal is not touched.
    EXPECT_NE(jet_test::error_of([&] { jet::Database::open(path); }), 0);
    EXPECT_FALSE(jet::recover_journal(os::system_services(), path));
    EXPECT_TRUE(fs::exists(jet::journal_path(path)));
    journal.remove();
  }
  // A reader holding the file keeps a later opener from playing a journal back: that opener
  // is refused rather than shown pages that may be half old, half new.
  auto reader = jet::Database::open(path);
  dir.write("base.mdb.jnl", Bytes(100, 0));
  EXPECT_EQ(jet_test::error_of([&] { jet::Database::open(path); }), 3045);
  reader.reset();
  EXPECT_EQ(rows_of(path), 300);
}

}  // namespace

}  // namespace commit_fault_sweep_test
