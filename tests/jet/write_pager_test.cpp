// The writable pager: overlay levels, nesting, savepoints and autocommit statements, and
// what reaches the file (nothing before commit, everything after, nothing on a read-only
// file).
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>

#include "jet/base/error.h"
#include "jet/storage/format.h"
#include "jet/storage/memory_pager.h"
#include "jet/storage/overlay_pager.h"
#include "jet/record/page_allocator.h"
#include "jet/storage/transaction.h"
#include "jet/record/usage_map_write.h"
#include "jet/tools/index_verify.h"
#include "jet/tools/verify.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"
#include "os/faulty_file_system.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace write_pager_test_cases {

namespace {

std::vector<std::uint8_t> filled(std::size_t size, std::uint8_t byte) { return std::vector<std::uint8_t>(size, byte); }

std::uint8_t first_byte(jet::Pager& pager, jet::PageNumber page) { return pager.read(page).view().u8(0); }

using jet_test::error_of;
// Four pages of 512 bytes, page i filled with byte i.
jet::MemoryPager four_pages() {
  jet::MemoryPager base(512);
  for (std::uint8_t i = 0; i < 4; ++i) base.add(filled(512, i));
  return base;
}

class OverlayLevels : public ::testing::Test {
 protected:
  jet::MemoryPager base = four_pages();
  jet::OverlayPager pager{base, nullptr};
};

TEST_F(OverlayLevels, WritesOutsideATransactionAreRefused) {
  EXPECT_EQ(error_of([&] { pager.write(1, filled(512, 9)); }), 3251);
  EXPECT_EQ(error_of([&] { pager.append(filled(512, 9)); }), 3251);
  EXPECT_EQ(error_of([&] { pager.commit(); }), 3251);
  EXPECT_EQ(error_of([&] { pager.rollback(); }), 3251);
  pager.begin();
  EXPECT_EQ(error_of([&] { pager.write(1, filled(100, 9)); }), 3251);  // not a whole page
  EXPECT_EQ(error_of([&] { pager.write(4, filled(512, 9)); }), 3049);  // past the end
  EXPECT_EQ(first_byte(pager, 1), 1);
}

TEST_F(OverlayLevels, InnerRollbackDropsOnlyItsOwnChanges) {
  pager.begin();
  pager.write(1, filled(512, 0x11));
  pager.begin();
  pager.write(1, filled(512, 0x21));
  pager.write(2, filled(512, 0x22));
  const jet::PageNumber added = pager.append(filled(10, 0x23));
  EXPECT_EQ(added, 4u);
  EXPECT_EQ(pager.page_count(), 5u);
  EXPECT_EQ(pager.read(added).view().u8(9), 0x23);
  EXPECT_EQ(pager.read(added).view().u8(10), 0);  // padded to the page size
  EXPECT_EQ(first_byte(pager, 1), 0x21);
  EXPECT_EQ(pager.dirty_pages(), 3u);
  pager.rollback();
  EXPECT_EQ(pager.depth(), 1);
  EXPECT_EQ(first_byte(pager, 1), 0x11);
  EXPECT_EQ(first_byte(pager, 2), 2);
  EXPECT_EQ(pager.page_count(), 4u);
  EXPECT_EQ(error_of([&] { pager.read(4); }), 3049);
  pager.rollback();
  EXPECT_EQ(first_byte(pager, 1), 1);
  EXPECT_EQ(first_byte(base, 1), 1);
}

TEST_F(OverlayLevels, InnerCommitMergesIntoTheOuterLevelWhichStillDecides) {
  pager.begin();
  pager.begin();
  pager.write(3, filled(512, 0x33));
  pager.append(filled(512, 0x44));
  pager.commit();
  EXPECT_EQ(pager.depth(), 1);
  EXPECT_EQ(first_byte(pager, 3), 0x33);
  EXPECT_EQ(pager.page_count(), 5u);
  pager.rollback();  // the outer level drops the merged changes too
  EXPECT_EQ(first_byte(pager, 3), 3);
  EXPECT_EQ(pager.page_count(), 4u);

  pager.begin();
  pager.begin();
  pager.write(3, filled(512, 0x55));
  pager.commit();
  pager.commit();
  EXPECT_EQ(pager.depth(), 0);
  EXPECT_EQ(first_byte(pager, 3), 0x55);
  EXPECT_EQ(first_byte(base, 3), 3);  // no sink: the base is never written
}

TEST_F(OverlayLevels, ScopedTransactionsRollBackWhenLeftByAnException) {
  {
    jet::Transaction outer(pager);
    pager.write(0, filled(512, 0xA0));
    try {
      jet::Statement statement(pager);
      pager.write(0, filled(512, 0xA1));
      pager.write(2, filled(512, 0xA2));
      throw std::runtime_error("statement fails half way");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(first_byte(pager, 0), 0xA0);  // the outer change survives
    EXPECT_EQ(first_byte(pager, 2), 2);     // the failed statement left no trace
    EXPECT_EQ(pager.depth(), 1);
    outer.commit();
    EXPECT_FALSE(outer.active());
    EXPECT_EQ(error_of([&] { outer.commit(); }), 3251);
  }
  EXPECT_EQ(first_byte(pager, 0), 0xA0);
  {
    jet::Transaction forgotten(pager);
    pager.write(0, filled(512, 0xB0));
  }
  EXPECT_EQ(first_byte(pager, 0), 0xA0);
  EXPECT_EQ(pager.depth(), 0);
}

TEST_F(OverlayLevels, AnOuterLevelCannotEndWhileAnInnerOneIsOpen) {
  jet::Transaction outer(pager);
  pager.begin();
  EXPECT_EQ(error_of([&] { outer.commit(); }), 3251);
  pager.commit();
  outer.rollback();
  EXPECT_EQ(pager.depth(), 0);
}

// A sink for a file nobody uses until it is finished: it takes pages before the commit.
class EarlySink final : public jet::PageSink {
 public:
  using jet::PageSink::write_pages;
  void write_pages(std::size_t, const std::vector<jet::PageNumber>& numbers, const PageLoader& load) override {
    for (std::size_t i = 0; i < numbers.size(); ++i) pages[numbers[i]] = load(i)->at(0);
    ++calls;
  }
  bool takes_pages_early() const noexcept override { return true; }
  std::map<jet::PageNumber, std::uint8_t> pages;  // first byte of each page written
  int calls = 0;
};

TEST(OverlayEarlyWrites, PagesPastTheBudgetGoToTheSinkAndStayReadable) {
  jet::MemoryPager base = four_pages();
  EarlySink sink;
  jet::OverlayPager pager(base, &sink, {}, 4);  // no scratch file: the sink is the only way out
  pager.begin();
  pager.write(1, filled(512, 0x31));
  for (std::uint8_t i = 0; i < 12; ++i) pager.append(filled(512, static_cast<std::uint8_t>(0x40 + i)));
  EXPECT_GE(sink.pages.size(), 8u);   // most left memory before the commit
  EXPECT_LE(pager.resident_pages(), 4u);
  EXPECT_EQ(first_byte(pager, 1), 0x31);
  for (std::uint8_t i = 0; i < 12; ++i) EXPECT_EQ(first_byte(pager, 4 + i), 0x40 + i) << int(i);
  pager.write(4, filled(512, 0x55));  // a page on the file changed again
  EXPECT_EQ(first_byte(pager, 4), 0x55);
  pager.commit();
  EXPECT_EQ(sink.pages.size(), 13u);  // every changed page, the last version of each
  EXPECT_EQ(sink.pages.at(4), 0x55);
  EXPECT_EQ(sink.pages.at(1), 0x31);
}

TEST(OverlayEarlyWrites, ARollbackAfterPagesWentEarlyLeavesTheFileUnusable) {
  jet::MemoryPager base = four_pages();
  EarlySink sink;
  jet::OverlayPager pager(base, &sink, {}, 4);
  pager.begin();
  pager.begin();  // a statement inside the transaction: its pages wait in memory
  for (std::uint8_t i = 0; i < 6; ++i) pager.append(filled(512, i));
  EXPECT_TRUE(sink.pages.empty());
  pager.rollback();
  pager.rollback();
  pager.begin();  // nothing reached the file: work goes on
  for (std::uint8_t i = 0; i < 12; ++i) pager.append(filled(512, i));
  ASSERT_FALSE(sink.pages.empty());
  pager.rollback();
  EXPECT_EQ(error_of([&] { pager.begin(); }), 3043);
}

// A file one page short of the 2 GB a database may reach; every page reads as zeros.
class NearlyFullPager final : public jet::Pager {
 public:
  std::size_t page_size() const noexcept override { return 4096; }
  jet::PageNumber page_count() const noexcept override { return jet::disk::kMaxPageCount - 1; }
  const std::string& file_name() const noexcept override { return name_; }
  jet::Page read(jet::PageNumber number) override {
    return jet::Page(number, std::make_shared<const std::vector<std::uint8_t>>(4096, 0),
                     std::make_shared<const std::string>(name_));
  }

 private:
  std::string name_ = "presque pleine.mdb";
};

TEST(OverlaySizeLimit, TheFileMayReachTwoGigabytesButNotGrowPastThem) {
  NearlyFullPager base;
  jet::OverlayPager pager(base, nullptr);
  pager.begin();
  EXPECT_EQ(pager.append(filled(4096, 1)), jet::disk::kMaxPageCount - 1);  // the last page allowed
  try {
    pager.append(filled(4096, 2));
    ADD_FAILURE() << "a page past 2 GB was appended";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 3001);
    EXPECT_NE(std::string(e.what()).find("2 Go"), std::string::npos) << e.what();
  }
  EXPECT_EQ(pager.page_count(), jet::disk::kMaxPageCount);
  pager.rollback();
  EXPECT_EQ(pager.page_count(), jet::disk::kMaxPageCount - 1);
}

// ---- on a copy of an Access-made file ----

// A working copy thrown away if the work fails: past its memory its pages wait in the scratch
// file, not in the copy, so a rollback still leaves the copy as it was; a commit writes it
// without a journal or a sync.
TEST(WritableFile, AWorkingCopyRollsBackWholeAndCommitsWithoutJournalOrSync) {
  jet_test::ScratchDir dir;
  const std::string path = copy_fixture(dir, "delColTestV2000.mdb");
  const std::vector<std::uint8_t> before = jet_test::read_file(path);
  os::FaultyFileSystem files{*os::system_services().files};
  const os::Services counted{&files, os::system_services().clock, os::system_services().random};
  const auto change_many = [&](jet::WritableDatabase& db) {
    for (int i = 0; i < 40; ++i) db.allocator().allocate(filled(4096, static_cast<std::uint8_t>(0x10 + i)));
  };
  const auto working_copy = [&] {
    auto db = jet::WritableDatabase::open(path, &counted);
    db->write_unjournaled(false);
    db->pager().set_budget(4);
    return db;
  };
  {
    auto db = working_copy();
    jet::Transaction t(db->pager());
    change_many(*db);
#ifndef _WIN32  // Windows refuses to share the file the engine holds
    EXPECT_EQ(jet_test::read_file(path), before);  // nothing reached the copy
#endif
    t.rollback();
    jet::Transaction again(db->pager());  // and work goes on
    change_many(*db);
  }
  EXPECT_EQ(jet_test::read_file(path), before);
  {
    auto db = working_copy();
    jet::Transaction t(db->pager());
    change_many(*db);
    const int syncs = files.syncs();
    t.commit();
    EXPECT_EQ(files.syncs(), syncs);
  }
  EXPECT_GT(jet_test::read_file(path).size(), before.size());  // the pages made it, holes filled first
  auto db = jet::Database::open(path);
  EXPECT_EQ(jet_test::joined(jet::verify_database(*db, jet::verify_indexes)), "");
}

TEST(WritableFile, RollbackLeavesTheFileByteForByteAndCommitReachesIt) {
  jet_test::ScratchDir dir;
  const std::string path = copy_fixture(dir, "delColTestV2000.mdb");
  const std::vector<std::uint8_t> before = jet_test::read_file(path);
  const std::size_t pages = before.size() / 4096;
  {
    auto db = jet::WritableDatabase::open(path);
    jet::Transaction t(db->pager());
    const jet::PageNumber p = db->allocator().allocate(filled(4096, 0x01));
    db->pager().write(3, filled(4096, 0x77));
    EXPECT_EQ(first_byte(db->pager(), 3), 0x77);
    EXPECT_GE(p, 2u);
    t.rollback();
    EXPECT_NE(first_byte(db->pager(), 3), 0x77);
  }
  EXPECT_EQ(jet_test::read_file(path), before);

  jet::PageNumber appended = 0;
  {
    auto db = jet::WritableDatabase::open(path);
    jet::Statement s(db->pager());  // autocommit around one statement
    // Fill every hole first, then the file grows.
    std::vector<jet::PageNumber> holes = jet::marked_pages(db->pager(), jet::kGlobalUsageMap,
                                                           db->pager().page_count());
    for (std::size_t i = 0; i < holes.size(); ++i) {
      std::vector<std::uint8_t> blank = filled(4096, 0);
      blank[0] = 0x01;
      blank[1] = 0x01;
      EXPECT_EQ(db->allocator().allocate(blank), holes[i]);
    }
    appended = db->allocator().allocate(filled(4096, 0));
    EXPECT_EQ(appended, pages);
    EXPECT_FALSE(db->allocator().is_free(appended));
    s.commit();
  }
  const std::vector<std::uint8_t> after = jet_test::read_file(path);
  ASSERT_EQ(after.size(), (pages + 1) * 4096);
  auto reopened = jet::WritableDatabase::open(path);
  EXPECT_FALSE(reopened->allocator().is_free(appended));
  EXPECT_TRUE(reopened->allocator().is_free(appended + 1));  // past the end: still free
  EXPECT_TRUE(jet::marked_pages(reopened->pager(), jet::kGlobalUsageMap, appended + 1).empty());
}

TEST(WritableFile, ReleasedPagesAreReusedBeforeTheFileGrows) {
  jet::MemoryPager base(4096);
  base.add(filled(4096, 0));
  // Page 1: a data page whose row 0 is an inline map starting at page 0, no page free.
  std::vector<std::uint8_t> map_page(4096, 0);
  map_page[0] = 0x01;
  map_page[1] = 0x01;
  map_page[12] = 1;  // one row
  const std::size_t row_at = 4096 - 69;
  map_page[14] = static_cast<std::uint8_t>(row_at & 0xFF);
  map_page[15] = static_cast<std::uint8_t>(row_at >> 8);
  base.add(map_page);
  for (int i = 0; i < 6; ++i) base.add(filled(4096, 0xEE));
  jet::OverlayPager pager(base, nullptr);
  jet::PageAllocator allocator(pager);
  jet::Transaction t(pager);
  EXPECT_EQ(error_of([&] { allocator.release(1); }), 3251);
  allocator.release(5);
  allocator.release(3);
  EXPECT_TRUE(allocator.is_free(3));
  EXPECT_EQ(first_byte(pager, 5), 0);
  EXPECT_EQ(allocator.allocate(filled(4096, 0x31)), 3u);
  EXPECT_EQ(allocator.allocate(filled(4096, 0x32)), 5u);
  EXPECT_EQ(allocator.allocate(filled(4096, 0x33)), 8u);
  EXPECT_EQ(first_byte(pager, 5), 0x32);
  EXPECT_FALSE(allocator.is_free(3));
  EXPECT_TRUE(jet::marked_pages(pager, jet::kGlobalUsageMap, 9).empty());
}

TEST(WritableFile, AReadOnlyFileIsRefusedUntouched) {
  jet_test::ScratchDir dir;
  const std::string path = copy_fixture(dir, "emptyV2000.mdb");
  namespace fs = std::filesystem;
  const auto writes = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
  fs::permissions(path, writes, fs::perm_options::remove);  // the read-only attribute on Windows
  const std::vector<std::uint8_t> before = jet_test::read_file(path);
  EXPECT_EQ(error_of([&] { jet::WritableDatabase::open(path); }), 3051);
  EXPECT_EQ(jet_test::read_file(path), before);
  // The refused open released its lock: the file opens again once writable.
  fs::permissions(path, fs::perms::owner_write, fs::perm_options::add);
  EXPECT_NO_THROW(jet::WritableDatabase::open(path));
  EXPECT_EQ(error_of([&] { jet::WritableDatabase::open((dir.path() / "absent.mdb").string()); }), 3024);
}

}  // namespace

}  // namespace write_pager_test_cases
