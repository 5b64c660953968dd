// The free-page map at page 1 reaches every page of the file: while the engine grows a file,
// in the file compaction writes, once page 1 has no room left for an inline row, and after
// another writer left it short or moved its window forward (verify reports those pages,
// repair and the next allocation widen the map again).
#include <gtest/gtest.h>

#include <fstream>

#include "jet/tools/compact.h"
#include "jet/db/create_database.h"
#include "jet/record/data_page_write.h"
#include "jet/record/free_page_map.h"
#include "jet/tools/repair.h"
#include "jet/storage/transaction.h"
#include "jet/record/usage_map_write.h"
#include "jet_test_support.h"
#include "page_builder.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace free_page_map_test_cases {

namespace {

constexpr const char* kTable = "Pieces";

using jet_test::joined;
// Every page against the map: it reaches past the last page from page 0; a page is marked
// free exactly when it holds nothing (the engine zeroes what it frees); the pages it
// reaches past the end of the file are free.
void expect_map_covers(const std::string& path) {
  auto db = jet::Database::open(path);
  jet::Pager& pager = db->pager();
  const jet::PageNumber count = pager.page_count();
  const jet::FreeMapReach reach = jet::free_map_reach(pager);
  ASSERT_EQ(reach.first, 0u) << path;
  ASSERT_GT(reach.end, count) << path;
  std::vector<bool> free(reach.end, false);
  for (jet::PageNumber p : jet::marked_pages(pager, jet::kGlobalUsageMap, static_cast<jet::PageNumber>(reach.end)))
    free[p] = true;
  std::vector<jet::PageNumber> wrong;
  for (jet::PageNumber p = 0; p < count; ++p) {
    const bool empty = p >= 2 && pager.read(p).view().u8(0) == 0;
    if (free[p] != empty) wrong.push_back(p);
  }
  EXPECT_TRUE(wrong.empty()) << wrong.size() << " pages mal marquées, dont la page " << wrong.front() << " (" << path << ")";
  for (std::uint64_t p = count; p < reach.end; ++p) ASSERT_TRUE(free[p]) << "page " << p << " au-delà de la fin";
}

// Rows of `table` as mdb-export reads them (header line excluded); a failed export fails.
std::size_t mdb_rows(const jet_test::ScratchDir& dir, const std::string& path, const std::string& table) {
  const std::string csv = (dir.path() / "export.csv").string();
  bool ok = false;
  const std::string out = jet_test::run("mdb-export " + jet_test::shell_quote(path) + " " + jet_test::shell_quote(table) +
                                            " > " + jet_test::shell_quote(csv) + " 2>&1",
                                        &ok);
  EXPECT_TRUE(ok) << out;
  std::ifstream in(csv);
  std::size_t lines = 0;
  for (std::string line; std::getline(in, line);) ++lines;
  return lines > 0 ? lines - 1 : 0;
}

// mdbtools reads every table of the file; the user tables' rows all come out (system
// tables hold binary fields, whose bytes may break lines).
void expect_mdbtools_reads(const jet_test::ScratchDir& dir, const std::string& path) {
  auto db = jet::Database::open(path);
  for (const jet::CatalogEntry* entry : db->catalog().tables(true)) {
    const std::size_t exported = mdb_rows(dir, path, entry->name);
    if (entry->is_system()) continue;
    std::uint64_t rows = 0;
    db->table(entry->name).scan([&](jet::RowId, const jet::Row&) {
      ++rows;
      return true;
    });
    EXPECT_EQ(exported, rows) << entry->name;
  }
}

void create_pieces(jet::WritableDatabase& db) {
  jet::TableDesign design;
  design.name = kTable;
  jet::ColumnDesign id;
  id.name = "Id";
  id.type = jet::ColumnType::Long;
  jet::ColumnDesign text;
  text.name = "Contenu";
  text.type = jet::ColumnType::Memo;
  design.columns = {id, text};
  db.create_table(design);
}

// A memo of about 3,000 characters: a long-value page of its own.
jet::Value memo(int i) {
  std::string s = "piece " + std::to_string(i) + " ";
  while (s.size() < 3000) s += static_cast<char>('a' + (s.size() * 7 + static_cast<std::size_t>(i)) % 26);
  return jet::Value::text(s);
}

// Inserts rows, 500 per transaction, until the file holds at least `pages` pages.
void grow(jet::WritableDatabase& db, jet::PageNumber pages, int& next_id) {
  while (db.pager().page_count() < pages) {
    jet::Transaction tx(db.pager());
    jet::TableWriter writer = db.writer(kTable);
    for (int i = 0; i < 500 && db.pager().page_count() < pages; ++i, ++next_id)
      writer.insert({jet::Value::long_(next_id), memo(next_id)});
    tx.commit();
  }
}

std::string grown_file(const jet_test::ScratchDir& dir, const std::string& name, jet::PageNumber pages) {
  const std::string path = (dir.path() / name).string();
  auto db = jet::create_database(path);
  create_pieces(*db);
  int next_id = 0;
  grow(*db, pages, next_id);
  return path;
}

// Replaces row 0 of page 1 with `row`, as another writer would leave it.
void plant_map_row(const std::string& path, const std::vector<std::uint8_t>& row) {
  auto db = jet::WritableDatabase::open(path);
  jet::Transaction tx(db->pager());
  jet::DataPageEditor page(db->pager().read(1).view().copy());
  ASSERT_TRUE(page.replace_row(0, row));
  db->pager().write(1, page.release());
  tx.commit();
}

TEST(JetFreePageMap, ReachesEveryPageOfAFileGrownToTenThousandPagesAndOfItsCompactedCopy) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = grown_file(dir, "grande.mdb", 10000);
  {
    auto db = jet::Database::open(path);
    EXPECT_GE(db->pager().page_count(), 10000u);
  }
  expect_map_covers(path);
  EXPECT_TRUE(jet_test::verify_problems(path).empty()) << joined(jet_test::verify_problems(path));
  expect_mdbtools_reads(dir, path);

  const std::string compacted = (dir.path() / "compactee.mdb").string();
  jet::compact(path, compacted);
  {
    auto db = jet::Database::open(compacted);
    EXPECT_GE(db->pager().page_count(), 9000u);  // the memos alone fill that many pages
  }
  expect_map_covers(compacted);
  EXPECT_TRUE(jet_test::verify_problems(compacted).empty()) << joined(jet_test::verify_problems(compacted));
  expect_mdbtools_reads(dir, compacted);
}

TEST(JetFreePageMap, BecomesAReferenceMapWhenPageOneHasNoRoomLeft) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "page1pleine.mdb").string();
  int next_id = 0;
  {
    auto db = jet::create_database(path);
    create_pieces(*db);
    // A third row on page 1 leaves room for the inline map to reach 1,024 pages, not 1,536.
    jet::Transaction tx(db->pager());
    jet::DataPageEditor page(db->pager().read(1).view().copy());
    ASSERT_GE(page.free_space(), 102u);
    page.add_row(std::vector<std::uint8_t>(page.free_space() - 2 - 100, 0));
    db->pager().write(1, page.release());
    tx.commit();
    grow(*db, 900, next_id);
  }
  {
    auto db = jet::Database::open(path);
    EXPECT_EQ(jet::free_map_reach(db->pager()).end, 1024u) << "inline, lengthened";
  }
  {
    auto db = jet::WritableDatabase::open(path);
    grow(*db, 1700, next_id);
  }
  {
    auto db = jet::Database::open(path);
    const jet::Page holder = db->pager().read(1);
    const jet::RowSpan span = jet::row_span(holder, 0);
    EXPECT_EQ(holder.view().u8(span.offset), 1) << "reference map";
  }
  expect_map_covers(path);
  EXPECT_TRUE(jet_test::verify_problems(path).empty()) << joined(jet_test::verify_problems(path));
  expect_mdbtools_reads(dir, path);
}

TEST(JetFreePageMap, AMapLeftShortIsReportedThenWidenedByRepair) {
  jet_test::ScratchDir dir;
  const std::string path = grown_file(dir, "courte.mdb", 1200);
  // The 69-byte row an older writer kept: pages 0 to 511 only.
  std::vector<std::uint8_t> short_row(69, 0);
  {
    auto db = jet::Database::open(path);
    const jet::Page holder = db->pager().read(1);
    const jet::RowSpan span = jet::row_span(holder, 0);
    for (std::size_t i = 0; i < short_row.size(); ++i) short_row[i] = holder.view().u8(span.offset + i);
  }
  plant_map_row(path, short_row);
  const std::string report = joined(jet_test::verify_problems(path));
  EXPECT_NE(report.find("les pages 512 à "), std::string::npos) << report;
  EXPECT_NE(report.find("hors de la table des pages libres"), std::string::npos) << report;

  const jet::RepairReport repaired = jet::repair(path);
  EXPECT_NE(joined(repaired.actions).find("table des pages libres"), std::string::npos) << joined(repaired.actions);
  expect_map_covers(path);
  EXPECT_TRUE(jet_test::verify_problems(path).empty()) << joined(jet_test::verify_problems(path));
}

TEST(JetFreePageMap, AWindowMovedForwardIsReportedAndWidenedAtTheNextAllocation) {
  jet_test::ScratchDir dir;
  const std::string path = grown_file(dir, "decalee.mdb", 700);
  // Another writer moved the window to start at page 512, every page it newly reached
  // past the end marked free: pages 0 to 511 are no longer described.
  jet::PageNumber count = 0;
  {
    auto db = jet::Database::open(path);
    count = db->pager().page_count();
  }
  std::vector<std::uint8_t> moved(69, 0);
  jet_test::put32(moved, 1, 512);
  for (std::uint64_t p = count; p < 512 + 512; ++p) moved[5 + (p - 512) / 8] |= static_cast<std::uint8_t>(1u << ((p - 512) % 8));
  plant_map_row(path, moved);
  const std::string report = joined(jet_test::verify_problems(path));
  EXPECT_NE(report.find("les pages 0 à "), std::string::npos) << report;
  EXPECT_NE(report.find("qui couvre les pages 512 à 1023"), std::string::npos) << report;

  {
    auto db = jet::WritableDatabase::open(path);
    int next_id = 100000;
    grow(*db, count + 1, next_id);
  }
  expect_map_covers(path);
  EXPECT_TRUE(jet_test::verify_problems(path).empty()) << joined(jet_test::verify_problems(path));
}

}  // namespace

}  // namespace free_page_map_test_cases
