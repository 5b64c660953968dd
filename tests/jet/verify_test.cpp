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
#include "jet/record/table_def.h"
#include "jet/storage/format_layout.h"
#include "jet_test_support.h"
#include "page_builder.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace verify_test_cases {

namespace {

using jet_test::Bytes;

// Where things are in an untouched fixture, found by the engine.
jet::TableDef definition_of(const std::string& fixture, const std::string& table) {
  auto db = jet::Database::open(jet_test::fixture(fixture));
  return db->table(table).def();
}
std::vector<jet::PageNumber> data_pages_of(const std::string& fixture, const std::string& table) {
  auto db = jet::Database::open(jet_test::fixture(fixture));
  return db->table(table).data_pages();
}

std::string joined(const std::vector<std::string>& problems) {
  std::string s;
  for (const auto& p : problems) s += p + "\n";
  return s;
}

TEST(JetVerify, EveryFixtureIsSound) {
  for (const auto& name : jet_test::all_fixtures()) {
    auto db = jet::Database::open(jet_test::fixture(name));
    const auto problems = jet::verify_database(*db, jet::verify_indexes);
    EXPECT_TRUE(problems.empty()) << name << ":\n" << joined(problems);
  }
}

// A listener hears the check rise to its whole, table by table and index by index, and the
// findings are those of the silent check.
TEST(JetVerify, ProgressRisesToTheWholeAndChangesNothing) {
  auto db = jet::Database::open(jet_test::fixture("indexTestV2000.mdb"));
  std::vector<std::pair<std::uint64_t, std::uint64_t>> heard;
  const auto told = jet::verify_database(db->pager(), db->catalog(), jet::verify_indexes,
                                         [&](std::uint64_t done, std::uint64_t total) { heard.emplace_back(done, total); });
  EXPECT_EQ(told, jet::verify_database(*db, jet::verify_indexes));
  ASSERT_GT(heard.size(), db->table_names().size());
  const std::uint64_t total = heard.front().second;
  EXPECT_GT(total, 0u);
  for (std::size_t i = 0; i < heard.size(); ++i) {
    EXPECT_EQ(heard[i].second, total);
    EXPECT_LE(heard[i].first, total);
    if (i) {
      EXPECT_GE(heard[i].first, heard[i - 1].first);
    }
  }
  EXPECT_EQ(heard.back().first, total);
}

struct Planted {
  jet_test::ScratchDir dir;
  Bytes bytes;
  std::string path;
  explicit Planted(const std::string& fixture) : bytes(jet_test::read_file(jet_test::fixture(fixture))) {}
  std::vector<std::string> verify() {
    path = dir.write("copie.mdb", bytes);
    auto db = jet::Database::open(path);
    return jet::verify_database(*db, jet::verify_indexes);
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

// Damage that leaves every table the engine reads consistent but breaks other readers and
// writers: each must be reported, since a file called sound must read and write in full.
TEST(JetVerify, LostCatalogRowsShowAsMissingSystemTables) {
  Planted copy("testV2000.mdb");
  const std::vector<jet::PageNumber> catalog_pages = data_pages_of("testV2000.mdb", "MSysObjects");
  ASSERT_EQ(catalog_pages.size(), 1u);
  std::fill_n(copy.page(catalog_pages[0]), 4096, 0);
  const std::string report = joined(copy.verify());
  // The catalog now reads empty: the tables are gone for every command (3078).
  EXPECT_EQ(jet_test::error_of([&] { jet::Database::open(copy.path)->table("Table1"); }), 3078);
  EXPECT_NE(report.find("le catalogue ne décrit pas la table système « MSysQueries »"), std::string::npos) << report;
  EXPECT_NE(report.find("table « MSysObjects » : sa table d'utilisation compte la page " +
                        std::to_string(catalog_pages[0]) + ", qui n'est pas une de ses pages de données"),
            std::string::npos)
      << report;
}

TEST(JetVerify, FreeSpaceMapPastTheEndOfTheFile) {
  QUELIS_NEEDS_MDBTOOLS();
  Planted copy("testV2000.mdb");
  const jet::TableDef def = definition_of("testV2000.mdb", "Table1");
  const auto pages = static_cast<std::uint32_t>(copy.bytes.size() / 4096);
  jet_test::put32(copy.bytes, std::size_t{def.page} * 4096 + jet::jet4_layout().tdef_free_pages, (pages + 5) << 8);
  const std::string report = joined(copy.verify());
  EXPECT_NE(report.find("table « Table1 » : table d'espace libre illisible"), std::string::npos) << report;
  EXPECT_NE(report.find("au-delà de la fin du fichier"), std::string::npos) << report;
  // What the check stands for: mdbtools cannot read the table.
  bool exported = true;
  jet_test::run("mdb-export " + jet_test::shell_quote(copy.path) + " Table1 2>&1", &exported);
  EXPECT_FALSE(exported);
}

TEST(JetVerify, ImpossibleBoundsOfADeletedRow) {
  Planted copy("delTestV2000.mdb");
  jet::PageNumber page = 0;
  std::uint16_t slot = 0;
  {
    auto db = jet::Database::open(jet_test::fixture("delTestV2000.mdb"));
    for (const auto& name : db->table_names()) {
      const jet::Table table = db->table(name);
      for (jet::PageNumber p : table.data_pages()) {
        const jet::DataPage data(db->pager().read(p));
        for (std::uint16_t r = 0; r < data.row_count() && page == 0; ++r)
          if (data.deleted(r)) page = p, slot = r;
      }
    }
  }
  ASSERT_NE(page, 0u) << "no deleted row in the fixture";
  // Readers skip a deleted row, but a writer putting a row on the page works with every one.
  jet_test::put16(copy.bytes, std::size_t{page} * 4096 + 14 + 2 * std::size_t{slot}, 0x8000 | 0x0010);
  const std::string report = joined(copy.verify());
  EXPECT_NE(report.find("page " + std::to_string(page) + " : "), std::string::npos) << report;
  EXPECT_NE(report.find("ligne " + std::to_string(slot) + " aux bornes incohérentes"), std::string::npos) << report;
}

TEST(JetVerify, MapsNamingPagesOfTheWrongKind) {
  jet_test::ScratchDir dir;
  const std::string path = jet_test::copy_fixture(dir, "compIndexTestV2000.mdb");
  jet::PageNumber forgotten = 0, listed = 0;
  {
    auto db = jet::WritableDatabase::open(path);
    const jet::Table t = db->table("Table1");
    ASSERT_GE(t.data_pages().size(), 2u);
    ASSERT_FALSE(t.def().indexes.empty());
    forgotten = t.data_pages().back();
    listed = t.data_pages().front();
    jet::Transaction tx(db->pager());
    // The table's map forgets one of its pages; an index's map lists one of its data pages.
    ASSERT_TRUE(jet::set_usage_bit(db->pager(), jet::RowId::from_pointer(t.def().owned_pages), forgotten, false));
    ASSERT_TRUE(jet::set_usage_bit(db->pager(), jet::RowId::from_pointer(t.def().indexes[0].usage_map), listed, true));
    tx.commit();
  }
  const std::string report = joined(jet_test::verify_problems(path));
  EXPECT_NE(report.find("page " + std::to_string(forgotten) +
                        " : page de données de la table « Table1 » absente de sa table d'utilisation"),
            std::string::npos)
      << report;
  EXPECT_NE(report.find("table « Table1 », index 0 : sa table d'utilisation compte la page " + std::to_string(listed) +
                        ", qui n'est pas une de ses pages d'index"),
            std::string::npos)
      << report;
}

TEST(JetVerify, PropertiesThatDoNotDecode) {
  for (const std::string magic : {"XR2", "KKD"}) {
    SCOPED_TRACE(magic);
    Planted copy("testV2000.mdb");
    const Bytes jet4{'M', 'R', '2', 0};
    auto at = std::search(copy.bytes.begin(), copy.bytes.end(), jet4.begin(), jet4.end());
    ASSERT_NE(at, copy.bytes.end());
    std::copy(magic.begin(), magic.end(), at);  // a damaged blob, then one in Access 97's form
    const std::string report = joined(copy.verify());
    EXPECT_NE(report.find("du catalogue : propriétés illisibles"), std::string::npos) << report;
  }
}

}  // namespace

}  // namespace verify_test_cases
