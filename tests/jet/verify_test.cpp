// Whole-database verification: Access-made files are sound; each kind of damage planted in
// a copy is reported, naming where it is, without the check itself failing.
#include <gtest/gtest.h>

#include "jet/record/data_page.h"
#include "jet/db/database.h"
#include "jet/tools/index_verify.h"
#include "jet/storage/transaction.h"
#include "jet/record/usage_map_write.h"
#include "jet/tools/verify.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"
#include "page_builder.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace verify_test_cases {

namespace {

using jet_test::Bytes;

std::string joined(const std::vector<std::string>& problems) {
  std::string s;
  for (const auto& p : problems) s += p + "\n";
  return s;
}

TEST(JetVerify, EveryFixtureIsSound) {
  for (const auto& name : jet_test::all_fixtures()) {
    auto db = jet::Database::open(jet_test::fixture(name));
    const auto problems = jet::verify_database(*db, jet::verify_index);
    EXPECT_TRUE(problems.empty()) << name << ":\n" << joined(problems);
  }
}

struct Planted {
  jet_test::ScratchDir dir;
  Bytes bytes;
  std::string path;
  explicit Planted(const std::string& fixture) : bytes(jet_test::read_file(jet_test::fixture(fixture))) {}
  std::vector<std::string> verify() {
    path = dir.write("copie.mdb", bytes);
    auto db = jet::Database::open(path);
    return jet::verify_database(*db, jet::verify_index);
  }
  std::uint8_t* page(jet::PageNumber p) { return bytes.data() + std::size_t{p} * 4096; }
};

TEST(JetVerify, WrongRowCountInTheDefinition) {
  Planted copy("testV2000.mdb");
  jet::PageNumber tdef;
  {
    auto db = jet::Database::open(jet_test::fixture("testV2000.mdb"));
    tdef = db->table("Table1").def().page;
  }
  copy.page(tdef)[16] = 5;  // two rows live, five announced
  const std::string report = joined(copy.verify());
  EXPECT_NE(report.find("Table1"), std::string::npos) << report;
  EXPECT_NE(report.find("5"), std::string::npos) << report;
}

TEST(JetVerify, RowOutsideItsPage) {
  Planted copy("testV2000.mdb");
  jet::PageNumber data_page;
  {
    auto db = jet::Database::open(jet_test::fixture("testV2000.mdb"));
    data_page = db->table("Table1").data_pages().at(0);
  }
  // Slot 0 made to start inside the slot table.
  copy.page(data_page)[14] = 0x05;
  copy.page(data_page)[15] = 0x00;
  const auto problems = copy.verify();
  const std::string report = joined(problems);
  EXPECT_NE(report.find("page " + std::to_string(data_page)), std::string::npos) << report;
  EXPECT_NE(report.find("ligne 0"), std::string::npos) << report;
}

TEST(JetVerify, BrokenLongValueAndMovedRow) {
  Planted copy("overflowTestV2000.mdb");
  jet::PageNumber moved_page = 0;
  std::uint16_t moved_slot = 0;
  {
    auto db = jet::Database::open(jet_test::fixture("overflowTestV2000.mdb"));
    const auto t = db->table("Table1");
    for (jet::PageNumber p : t.data_pages()) {
      const jet::DataPage page(db->pager().read(p));
      for (std::uint16_t r = 0; r < page.row_count(); ++r)
        if (!page.deleted(r) && page.overflow(r)) { moved_page = p; moved_slot = r; }
    }
  }
  ASSERT_NE(moved_page, 0u);
  // Point the move at a row number the target page does not have.
  std::uint8_t* page = copy.page(moved_page);
  const std::size_t start = (page[14 + 2 * moved_slot] | (page[15 + 2 * moved_slot] << 8)) & 0x1FFF;
  page[start] = 200;
  const std::string report = joined(copy.verify());
  EXPECT_NE(report.find("page " + std::to_string(moved_page) + ", ligne " + std::to_string(moved_slot)),
            std::string::npos) << report;
}

TEST(JetVerify, DamagedIndexPage) {
  Planted copy("indexTestV2000.mdb");
  jet::PageNumber root;
  {
    auto db = jet::Database::open(jet_test::fixture("indexTestV2000.mdb"));
    root = db->table("Table1").def().indexes.at(0).root_page;
  }
  copy.page(root)[0] = 0x01;  // no longer an index page
  const std::string report = joined(copy.verify());
  EXPECT_NE(report.find("Table1"), std::string::npos) << report;
  EXPECT_NE(report.find("index"), std::string::npos) << report;
}

TEST(JetVerify, DataPageHandedToAnotherTable) {
  Planted copy("testV2000.mdb");
  std::vector<jet::PageNumber> pages;
  jet::PageNumber other;
  {
    auto db = jet::Database::open(jet_test::fixture("testV2000.mdb"));
    const jet::Table t1 = db->table("Table1");
    pages = t1.data_pages();
    other = db->table("Table2").def().page;
  }
  ASSERT_FALSE(pages.empty());
  // Table1's pages now name Table2 as their owner: Table1 loses its rows, which its row
  // count in the definition gives away.
  for (jet::PageNumber p : pages) jet_test::put32(copy.bytes, std::size_t{p} * 4096 + 4, other);
  const std::string report = joined(copy.verify());
  EXPECT_NE(report.find("Table1"), std::string::npos) << report;
}

TEST(JetVerify, PageListedByTwoTablesMaps) {
  jet_test::ScratchDir dir;
  const std::string path = jet_test::copy_fixture(dir, "testV2000.mdb");
  jet::PageNumber shared = 0;
  {
    auto db = jet::WritableDatabase::open(path);
    const auto pages = db->table("Table1").data_pages();
    ASSERT_FALSE(pages.empty());
    shared = pages.front();
    // Table2's map also lists a page holding Table1's rows: both tables now own it.
    jet::Transaction tx(db->pager());
    jet::set_usage_bit(db->pager(), jet::RowId::from_pointer(db->table("Table2").def().owned_pages), shared, true, true,
                      [&](std::vector<std::uint8_t> b) { return db->allocator().allocate(std::move(b)); });
    tx.commit();
  }
  const std::string report = joined(jet_test::verify_problems(path));
  const std::string expected = "page " + std::to_string(shared) + " revendiquée par table « ";
  EXPECT_NE(report.find(expected), std::string::npos) << report;
  EXPECT_NE(report.find("Table1"), std::string::npos) << report;
  EXPECT_NE(report.find("et par table « Table"), std::string::npos) << report;
}

}  // namespace

}  // namespace verify_test_cases
