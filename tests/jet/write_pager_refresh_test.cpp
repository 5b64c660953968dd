// After a commit the file pager reads the written pages from the file again (its cache and
// length follow the file), so committed pages are not kept in memory by the overlay.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "jet/db/create_database.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/storage/database_file.h"
#include "jet/storage/transaction.h"
#include "jet/storage/writable_file.h"
#include "jet_test_support.h"
#include "os/faulty_file_system.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace write_pager_refresh_test_cases {

namespace {

TEST(WritePagerRefresh, FilePagerForgetsWrittenPagesAndLearnsTheNewLength) {
  jet_test::ScratchDir dir;
  const std::string path = dir.write("p.bin", std::vector<std::uint8_t>(4096 * 3, 0x11));
  const os::Services& services = os::system_services();
  jet::FilePager pager(jet::open_database_file(services, path, jet::OpenMode::Exclusive, true), path, 4096, services);
  EXPECT_EQ(pager.read(1).view().u8(0), 0x11);  // now cached
  jet::FileSink sink(pager.file(), path, services);
  std::map<jet::PageNumber, std::shared_ptr<const std::vector<std::uint8_t>>> pages;
  pages[1] = std::make_shared<const std::vector<std::uint8_t>>(4096, 0x22);
  pages[4] = std::make_shared<const std::vector<std::uint8_t>>(4096, 0x44);
  sink.write_pages(4096, pages);
  EXPECT_EQ(pager.read(1).view().u8(0), 0x11);  // stale until told
  EXPECT_TRUE(pager.refresh({1, 4}));
  EXPECT_EQ(pager.read(1).view().u8(0), 0x22);
  EXPECT_EQ(pager.page_count(), 5u);
  EXPECT_EQ(pager.read(4).view().u8(100), 0x44);
}

// Pages read in order come in blocks, whatever the order of later reads; pages a block
// brought in are forgotten like the others once written.
TEST(WritePagerRefresh, PagesReadAheadAreTheFilesAndFollowItsWrites) {
  jet_test::ScratchDir dir;
  constexpr jet::PageNumber kPages = 100;
  std::vector<std::uint8_t> bytes(4096 * kPages);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i / 4096 * 7 + i % 251);
  const std::string path = dir.write("p.bin", bytes);
  os::FaultyFileSystem files{*os::system_services().files};
  const os::Services services{&files, os::system_services().clock, os::system_services().random};
  jet::FilePager pager(jet::open_database_file(services, path, jet::OpenMode::Exclusive, true), path, 4096, services);
  const auto same = [&](jet::PageNumber p) {
    const jet::Page page = pager.read(p);
    return std::equal(page.view().data(), page.view().data() + 4096, bytes.begin() + std::ptrdiff_t{p} * 4096);
  };
  const int before = files.reads();
  for (jet::PageNumber p = 0; p < kPages; ++p) EXPECT_TRUE(same(p)) << p;
  EXPECT_LT(files.reads() - before, static_cast<int>(kPages / 4));  // a call per block, not per page
  for (jet::PageNumber p : {97u, 3u, 50u, 51u, 99u, 0u, 64u}) EXPECT_TRUE(same(p)) << p;

  // Page 40 and the ones after it are in the cache now; page 42 is rewritten behind it.
  EXPECT_TRUE(same(40));
  jet::FileSink sink(pager.file(), path, services);
  std::map<jet::PageNumber, std::shared_ptr<const std::vector<std::uint8_t>>> pages;
  pages[42] = std::make_shared<const std::vector<std::uint8_t>>(4096, 0x42);
  sink.write_pages(4096, pages);
  EXPECT_TRUE(pager.refresh({42}));
  EXPECT_EQ(pager.read(42).view().u8(4000), 0x42);
  EXPECT_TRUE(same(43));
}

// A page read in a block stays whole in the hands of its reader after the cache has let the
// block go, and a page read again after that comes from the file.
TEST(WritePagerRefresh, PagesOfABlockOutliveTheirPlaceInTheCache) {
  jet_test::ScratchDir dir;
  constexpr jet::PageNumber kPages = 600;  // more than the cache holds
  std::vector<std::uint8_t> bytes(4096 * kPages);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i / 4096 * 13 + i % 241);
  const std::string path = dir.write("p.bin", bytes);
  const os::Services& services = os::system_services();
  jet::FilePager pager(jet::open_database_file(services, path, jet::OpenMode::Exclusive, true), path, 4096, services);
  const auto same = [&](const jet::Page& page) {
    return page.size() == 4096 && std::equal(page.view().data(), page.view().data() + 4096,
                                             bytes.begin() + std::ptrdiff_t{page.number()} * 4096);
  };
  pager.read(0);
  const jet::Page held = pager.read(1);  // the start of a block read ahead
  for (jet::PageNumber p = 2; p < kPages; ++p) ASSERT_TRUE(same(pager.read(p))) << p;
  EXPECT_TRUE(same(held));
  EXPECT_TRUE(same(pager.read(2)));
  EXPECT_TRUE(same(pager.read(1)));
}

TEST(WritePagerRefresh, CommittedPagesAreServedByTheFileNotKeptInMemory) {
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "m.mdb").string();
  auto db = jet::create_database(path);
  jet::TableDesign design;
  design.name = "T";
  jet::ColumnDesign c;
  c.name = "Texte";
  c.size = 200;
  design.columns = {c};
  design.indexes = {{"Texte", {{"Texte", false}}, false, false, false, false}};
  db->create_table(design);
  EXPECT_EQ(db->pager().held_pages(), 0u);
  jet::TableIndexHook hook(db->allocator());
  for (int round = 0; round < 3; ++round) {
    jet::Transaction tx(db->pager());
    auto writer = db->writer("T", &hook);
    for (int i = 0; i < 200; ++i) writer.insert({jet::Value::text(std::string(150, static_cast<char>('a' + i % 26)))});
    tx.commit();
    EXPECT_EQ(db->pager().held_pages(), 0u);
    EXPECT_EQ(db->table("T").count_rows(), 200u * static_cast<unsigned>(round + 1));
  }
  EXPECT_EQ(db->pager().page_count() * 4096u, std::filesystem::file_size(path));
}

}  // namespace

}  // namespace write_pager_refresh_test_cases
