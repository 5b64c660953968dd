// Index entries sorted through scratch runs come out exactly as an in-memory sort gives
// them, and a compaction held to a few pages and kilobytes carries databases whole.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <random>

#include "jet/btree/index_page.h"
#include "jet/db/create_database.h"
#include "jet/db/writable_database.h"
#include "jet/storage/transaction.h"
#include "jet/table/index_entry_sort.h"
#include "jet/tools/compact.h"
#include "jet/tools/diff.h"
#include "jet/tools/index_verify.h"
#include "jet/tools/verify.h"
#include "jet_test_support.h"
#include "os/faulty_file_system.h"

namespace index_entry_sort_test {
namespace {

namespace fs = std::filesystem;

std::vector<jet::IndexNodeItem> random_entries(std::size_t n, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<jet::IndexNodeItem> out;
  for (std::size_t i = 0; i < n; ++i) {
    // Few distinct keys of varied lengths, so that equal keys are ordered by their rows.
    std::vector<std::uint8_t> key(1 + random() % 40, static_cast<std::uint8_t>(random() % 3));
    key[0] = static_cast<std::uint8_t>(0x7F + random() % 4);
    out.push_back({key, jet::RowId{static_cast<jet::PageNumber>(random() % 5000), static_cast<std::uint8_t>(i % 256)}, 0});
  }
  return out;
}

std::vector<jet::IndexNodeItem> drain(const jet::IndexItemSource& source) {
  std::vector<jet::IndexNodeItem> out;
  for (jet::IndexNodeItem item; source(item);) out.push_back(item);
  return out;
}

bool same(const std::vector<jet::IndexNodeItem>& a, const std::vector<jet::IndexNodeItem>& b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](const auto& x, const auto& y) {
           return x.key == y.key && x.row == y.row;
         });
}

TEST(IndexEntrySort, RunsMergeIntoTheOrderOfAnInMemorySort) {
  jet_test::ScratchDir dir;
  const std::string scratch = (dir.path() / "t.mdb.tri0").string();
  for (const std::size_t count : {std::size_t{0}, std::size_t{1}, std::size_t{150}, std::size_t{20000}}) {
    SCOPED_TRACE(count);
    auto entries = random_entries(count, static_cast<unsigned>(count));
    jet::IndexEntrySort sort(os::system_services(), scratch, 16 << 10);
    for (const auto& e : entries) sort.add(e);
    EXPECT_EQ(sort.size(), count);
    if (count == 20000) {
      EXPECT_GT(sort.runs(), 10u);
      EXPECT_TRUE(fs::exists(scratch));
    } else if (count <= 150) {
      EXPECT_EQ(sort.runs(), 0u);  // small indexes never touch the disk
    }
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
      return jet::compare_entries(a.key, a.row, b.key, b.row) < 0;
    });
    EXPECT_TRUE(same(drain(sort.sorted()), entries));
    sort.clear();
    EXPECT_FALSE(fs::exists(scratch));
  }
}

TEST(IndexEntrySort, RunsInAnUnnamedScratchFileLeaveNoFileBehind) {
  jet_test::ScratchDir dir;
  auto entries = random_entries(20000, 3);
  {
    jet::IndexEntrySort sort(os::system_services(), {}, 16 << 10);
    for (const auto& e : entries) sort.add(e);
    EXPECT_GT(sort.runs(), 10u);
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
      return jet::compare_entries(a.key, a.row, b.key, b.row) < 0;
    });
    EXPECT_TRUE(same(drain(sort.sorted()), entries));
  }
  EXPECT_TRUE(fs::is_empty(dir.path()));
  EXPECT_FALSE(fs::exists(fs::current_path() / ".tri"));
}

TEST(IndexEntrySort, SortsSharingAPoolTakeWhatTheOthersLeaveAndStayWithinIt) {
  jet_test::ScratchDir dir;
  const auto path = [&](int i) { return (dir.path() / ("t.mdb.tri" + std::to_string(i))).string(); };
  const auto sorted = [](std::vector<jet::IndexNodeItem> entries) {
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
      return jet::compare_entries(a.key, a.row, b.key, b.row) < 0;
    });
    return entries;
  };
  // One index of long keys beside one of a few short ones: an even split of the memory
  // would make the first spill, the pool lets it keep everything.
  const auto wide = random_entries(2000, 7);
  const auto narrow = random_entries(10, 8);
  {
    jet::IndexEntrySort alone(os::system_services(), path(0), 96 << 10);
    for (const auto& e : wide) alone.add(e);
    EXPECT_GT(alone.runs(), 0u);
  }
  {
    jet::IndexEntrySort::Pool pool(192 << 10);
    jet::IndexEntrySort a(os::system_services(), path(1), pool), b(os::system_services(), path(2), pool);
    for (const auto& e : narrow) b.add(e);
    for (const auto& e : wide) a.add(e);
    EXPECT_EQ(a.runs(), 0u);
    EXPECT_TRUE(same(drain(a.sorted()), sorted(wide)));
    EXPECT_TRUE(same(drain(b.sorted()), sorted(narrow)));
    a.clear();
    b.clear();
    EXPECT_EQ(pool.used, 0u);  // what the sorts held is given back
  }
  // Three large indexes growing together: each spills, the whole stays near the budget.
  jet::IndexEntrySort::Pool pool(64 << 10);
  std::vector<std::unique_ptr<jet::IndexEntrySort>> sorts;
  std::vector<std::vector<jet::IndexNodeItem>> entries;
  for (int i = 0; i < 3; ++i) {
    sorts.push_back(std::make_unique<jet::IndexEntrySort>(os::system_services(), path(3 + i), pool));
    entries.push_back(random_entries(6000, 20 + static_cast<unsigned>(i)));
  }
  std::size_t most = 0;
  for (std::size_t n = 0; n < 6000; ++n) {
    for (int i = 0; i < 3; ++i) sorts[i]->add(entries[i][n]);
    most = std::max(most, pool.used);
  }
  EXPECT_LE(most, (64u << 10) + (64u << 10) / 4);  // the budget, and at most each sort's floor past it
  for (int i = 0; i < 3; ++i) {
    EXPECT_GT(sorts[i]->runs(), 0u);
    EXPECT_TRUE(same(drain(sorts[i]->sorted()), sorted(entries[i])));
  }
}

TEST(IndexEntrySort, AFullDiskIsAClearErrorAndLeavesNoScratchFile) {
  jet_test::ScratchDir dir;
  const std::string scratch = (dir.path() / "t.mdb.tri0").string();
  os::FaultyFileSystem files{*os::system_services().files};
  const os::Services services{&files, os::system_services().clock, os::system_services().random};
  files.disk_full_after(50000);
  {
    jet::IndexEntrySort sort(services, scratch, 16 << 10);
    const int code = jet_test::error_of([&] {
      for (const auto& e : random_entries(20000, 3)) sort.add(e);
    });
    EXPECT_EQ(code, 3026);
  }
  EXPECT_FALSE(fs::exists(scratch));
}

jet::TableDesign cases() {
  jet::TableDesign design;
  design.name = "Dossiers";
  design.columns = {jet_test::column_design("Numero", jet::ColumnType::Long),
                    jet_test::column_design("Commune", jet::ColumnType::Text, 60),
                    jet_test::column_design("Section", jet::ColumnType::Text, 10),
                    jet_test::column_design("Observations", jet::ColumnType::Memo)};
  design.indexes = {{"PrimaryKey", {{"Numero", false}}, true, true, false, true},
                    {"Lieu", {{"Commune", false}, {"Section", true}}, false, false, false, false},
                    {"Section", {{"Section", false}}, false, false, true, false}};
  return design;
}

TEST(IndexEntrySort, ACompactionInAFewPagesAndKilobytesCarriesTheDatabaseWhole) {
  jet_test::ScratchDir dir;
  const std::string source = (dir.path() / "grand.mdb").string();
  jet::create_database(source)->create_table(cases());
  {
    auto db = jet::WritableDatabase::open(source);
    jet::Transaction tx(db->pager());
    auto writer = db->writer("Dossiers");
    for (int i = 0; i < 4000; ++i) {
      writer.insert({jet::Value::long_(i * 37 % 4001), jet::Value::text("Saint-Étienne-" + std::to_string(i % 97)),
                     i % 11 == 0 ? jet::Value::null() : jet::Value::text("AB" + std::to_string(i % 13)),
                     jet::Value::text(std::string(static_cast<std::size_t>(i % 700), 'x'))});
    }
    tx.commit();
  }
  const std::string roomy = (dir.path() / "large.mdb").string(), tight = (dir.path() / "serre.mdb").string();
  jet::compact(source, roomy);
  jet::CompactOptions memory;
  memory.overlay_pages = 16;
  memory.index_sort_bytes = 12 << 10;
  std::vector<std::pair<std::uint64_t, std::uint64_t>> told;
  memory.progress = [&](std::uint64_t done, std::uint64_t total) { told.emplace_back(done, total); };
  jet::compact(source, tight, nullptr, memory);
  // Progress rises to the source's row count.
  ASSERT_GE(told.size(), 2u);
  EXPECT_EQ(told.back(), std::make_pair(std::uint64_t{4000}, std::uint64_t{4000}));
  for (std::size_t i = 1; i < told.size(); ++i) EXPECT_LT(told[i - 1].first, told[i].first);
  EXPECT_EQ(jet_test::joined(jet::diff_files(source, tight)), "");
  EXPECT_EQ(jet_test::joined(jet::diff_files(roomy, tight)), "");
  EXPECT_EQ(fs::file_size(tight), fs::file_size(roomy));
  auto db = jet::Database::open(tight);
  EXPECT_EQ(jet_test::joined(jet::verify_database(*db, jet::verify_indexes)), "");
  for (const auto& entry : fs::directory_iterator(dir.path()))
    EXPECT_EQ(entry.path().extension().string().rfind(".tri", 0), std::string::npos) << entry.path();
  EXPECT_FALSE(fs::exists(jet::spill_path(jet::compaction_path(tight))));

  // The pages a compaction cannot hold go to the new file itself, not through a scratch
  // file: held to 16 pages it writes hardly more than with room to spare.
  os::FaultyFileSystem files{*os::system_services().files};
  const os::Services counted{&files, os::system_services().clock, os::system_services().random};
  const auto written = [&](const std::string& to, std::size_t pages) {
    jet::CompactOptions options;
    options.overlay_pages = pages;
    const std::uint64_t before = files.bytes_written();
    jet::compact(source, to, &counted, options);
    return files.bytes_written() - before;
  };
  const std::uint64_t with_room = written((dir.path() / "large2.mdb").string(), 0);
  const std::uint64_t held = written((dir.path() / "serre2.mdb").string(), 16);
  EXPECT_GE(with_room, fs::file_size(roomy));
  EXPECT_LT(held, with_room + with_room / 4) << with_room;
  EXPECT_EQ(jet_test::joined(jet::diff_files(roomy, (dir.path() / "serre2.mdb").string())), "");
}

}  // namespace
}  // namespace index_entry_sort_test
