// Rows carried as stored by the compaction (and the bulk writer behind it): long values of
// every placement get copies of their own in the new file, rows moved to another page and
// rows older than a column come across, and rows that cannot be carried as they are (another
// layout, a Null autonumber) are written from their values.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>

#include "jet/base/bytes.h"
#include "jet/db/create_database.h"
#include "jet/db/writable_database.h"
#include "jet/record/data_page.h"
#include "jet/record/usage_map.h"
#include "jet/storage/transaction.h"
#include "jet/table/bulk_row_writer.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/tools/compact.h"
#include "jet/tools/diff.h"
#include "jet_test_support.h"
#include "sql_exec_support.h"
#include "support/linux_programs.h"

namespace compact_stored_rows_test {
namespace {

using sql_exec_test::Db;
using sql_exec_test::L;
using sql_exec_test::N;
using sql_exec_test::T;

std::string letters(std::size_t n, char first) {
  std::string s;
  const char base = first >= 'a' ? 'a' : 'A';
  for (std::size_t i = 0; i < n; ++i) s.push_back(static_cast<char>(base + (first - base + i) % 26));
  return s;
}

std::vector<std::string> sorted_lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  std::sort(lines.begin(), lines.end());
  return lines;
}

std::string new_database(const jet_test::ScratchDir& dir, const std::string& name) {
  const std::string path = (dir.path() / name).string();
  jet::create_database(path);
  return path;
}

// A table holding memos inline, on one long-value page and in chains, binaries, Nulls,
// rows moved by a growing update and rows written before a column was added.
void fill_varied(const std::string& path) {
  Db db(path);
  db.x("CREATE TABLE Fiche (id COUNTER PRIMARY KEY, code TEXT(200), note MEMO, image LONGBINARY, n LONG)");
  db.x("CREATE INDEX parcode ON Fiche (code, n)");
  std::vector<jet::Row> rows;
  for (int i = 0; i < 400; ++i) {
    jet::Value note = N();
    if (i % 5 == 1) note = T("court " + std::to_string(i));
    if (i % 5 == 2) note = T(letters(1500, 'a') + std::to_string(i));
    if (i % 5 == 3) note = T(letters(9000 + static_cast<std::size_t>(i), 'A'));
    jet::Value image = N();
    if (i % 7 == 0) image = jet::Value::binary(std::vector<std::uint8_t>(5000 + static_cast<std::size_t>(i), static_cast<std::uint8_t>(i)));
    rows.push_back({N(), T("c" + std::to_string(i % 37)), note, image, i % 11 == 0 ? N() : L(i)});
  }
  db.fill("Fiche", rows);
  // Grown past their page's room: these rows move, their slot pointing to the new place.
  db.x("UPDATE Fiche SET code = '" + letters(190, 'k') + "' WHERE id MOD 9 = 0");
  db.x("ALTER TABLE Fiche ADD COLUMN ajout TEXT(10)");
  db.x("INSERT INTO Fiche (code, note, ajout) VALUES ('neuf', '" + letters(3000, 'q') + "', 'oui')");
}

TEST(CompactStoredRows, LongValuesMovedRowsAndOlderRowsComeAcrossWhole) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string source = new_database(dir, "source.mdb");
  fill_varied(source);
  {
    // The source must hold what is under test: rows moved away from their slot.
    auto db = jet::Database::open(source);
    const jet::Table fiche = db->table("Fiche");
    std::size_t moved = 0;
    for (jet::PageNumber p : fiche.data_pages()) {
      const jet::DataPage page(db->pager().read(p));
      for (std::uint16_t r = 0; r < page.row_count(); ++r) moved += !page.deleted(r) && page.overflow(r);
    }
    ASSERT_GT(moved, 0u);
  }
  const std::string destination = (dir.path() / "compacted.mdb").string();
  jet::compact(source, destination);
  EXPECT_EQ(jet::Database::open(destination)->table("Fiche").count_rows(), 401u);
  EXPECT_EQ(jet_test::joined(jet::diff_files(source, destination)), "");
  EXPECT_EQ(jet_test::joined(jet_test::verify_problems(destination)), "");
  // Lines compared in order: moved rows are exported where they lie, which the copy changes.
  const std::vector<std::string> exported = sorted_lines(sql_exec_test::mdb_export(destination, "Fiche"));
  EXPECT_GE(exported.size(), 402u);  // binaries holding line feeds make more lines
  EXPECT_TRUE(exported == sorted_lines(sql_exec_test::mdb_export(source, "Fiche")));
  EXPECT_TRUE(std::any_of(exported.begin(), exported.end(),
                          [](const std::string& line) { return line.find(letters(9000, 'A')) != std::string::npos; }));

  // The new file's long values are its own: the source gone, they still read whole.
  std::filesystem::remove(source);
  Db after(destination);
  EXPECT_EQ(after.q("SELECT COUNT(*) FROM Fiche WHERE LEN(note) > 9000"), std::vector<std::string>{"80"});
  EXPECT_EQ(after.q("SELECT SUM(LEN(note)) FROM Fiche WHERE id = 4"), std::vector<std::string>{"9003"});
  EXPECT_EQ(after.q("SELECT COUNT(*) FROM Fiche WHERE ajout = 'oui' AND LEN(note) = 3000"),
            std::vector<std::string>{"1"});
}

// Two files with the same table, the second one's filled by the bulk writer.
struct Pair {
  jet_test::ScratchDir dir;
  std::string from, to;
  Pair(const std::string& columns) {
    from = new_database(dir, "from.mdb");
    to = new_database(dir, "to.mdb");
    Db(from).x("CREATE TABLE T (" + columns + ")");
    Db(to).x("CREATE TABLE T (" + columns + ")");
  }
};

// A column several indexes hold, in either direction and at any place in their keys, is
// keyed once per row for all of them: each index must still get its own key.
TEST(CompactStoredRows, ColumnsSharedByIndexesGiveEachIndexItsKey) {
  jet_test::ScratchDir dir;
  const std::string source = new_database(dir, "source.mdb");
  {
    Db db(source);
    db.x("CREATE TABLE Parcelle (id COUNTER PRIMARY KEY, commune TEXT(40), section TEXT(4), numero LONG)");
    db.x("CREATE INDEX com ON Parcelle (commune)");
    db.x("CREATE INDEX comdesc ON Parcelle (commune DESC, numero)");
    db.x("CREATE UNIQUE INDEX cadastre ON Parcelle (section, commune, numero)");
    db.x("CREATE INDEX numcom ON Parcelle (numero DESC, commune DESC, section)");
    const std::vector<std::string> communes = {"Lille", "\xC3\x89lancourt", "Saint-R\xC3\xA9my", "l'Isle", "Arras", ""};
    std::vector<jet::Row> rows;
    for (int i = 0; i < 3000; ++i) {
      const std::string& commune = communes[static_cast<std::size_t>(i) % communes.size()];
      rows.push_back({N(), commune.empty() ? N() : T(commune), T(std::string(1, static_cast<char>('A' + i % 7))),
                      i % 13 == 0 ? N() : L(i % 500)});
    }
    db.fill("Parcelle", rows);
  }
  const std::string destination = (dir.path() / "compacted.mdb").string();
  jet::compact(source, destination);
  EXPECT_EQ(jet_test::joined(jet::diff_files(source, destination)), "");
  EXPECT_EQ(jet_test::joined(jet_test::verify_problems(destination)), "");  // every entry against its row
  const std::string by_index = "SELECT commune, numero FROM Parcelle WHERE commune >= 'L' ORDER BY commune DESC, numero";
  EXPECT_EQ(Db(destination).q(by_index), Db(source).q(by_index));
}

TEST(BulkRowWriter, CarriesStoredRowsOnlyBetweenTablesLaidOutAlike) {
  Pair same("id COUNTER PRIMARY KEY, code TEXT(20), note MEMO");
  auto from = jet::Database::open(same.from);
  auto to = jet::WritableDatabase::open(same.to);
  jet::TableIndexHook hook(to->allocator());
  jet::Transaction tx(to->pager());
  jet::BulkRowWriter writer(to->pager(), to->allocator(), "T", to->catalog().find_table("T")->table_page(), &hook);
  EXPECT_TRUE(writer.takes_stored_rows_of(from->table("T").def(), from->pager()));
  const jet::ColumnSelection needs = writer.stored_row_needs();
  EXPECT_EQ(needs, (jet::ColumnSelection{true, false, false}));  // the key, an autonumber

  for (const char* other : {"id COUNTER PRIMARY KEY, code TEXT(30), note MEMO",
                                   "id COUNTER PRIMARY KEY, code TEXT(20), note MEMO, extra LONG",
                                   "id LONG PRIMARY KEY, code TEXT(20), note MEMO"}) {
    SCOPED_TRACE(other);
    Pair differs(other);
    auto source = jet::Database::open(differs.from);
    EXPECT_FALSE(writer.takes_stored_rows_of(source->table("T").def(), source->pager()));
  }
}

TEST(BulkRowWriter, FillsPagesOnceAndKeepsCountersAndMaps) {
  Pair pair("id COUNTER PRIMARY KEY, code TEXT(100), note MEMO");
  std::vector<jet::Row> rows;
  for (int i = 0; i < 600; ++i)
    rows.push_back({N(), T(letters(60, 'a') + std::to_string(i)), i % 3 ? T(letters(2000, 'b')) : N()});
  Db(pair.from).fill("T", rows);

  {
    auto from = jet::Database::open(pair.from);
    const jet::Table source = from->table("T");
    auto to = jet::WritableDatabase::open(pair.to);
    jet::TableIndexHook hook(to->allocator());
    jet::Transaction tx(to->pager());
    jet::BulkRowWriter writer(to->pager(), to->allocator(), "T", to->catalog().find_table("T")->table_page(), &hook);
    ASSERT_TRUE(writer.takes_stored_rows_of(source.def(), from->pager()));
    jet::Row values;
    std::size_t carried = 0;
    std::vector<std::uint8_t> first;
    source.scan_stored([&](jet::RowId, const jet::ByteView& bytes) {
      jet::decode_row_into(from->pager(), source.def(), bytes, values, writer.stored_row_needs());
      if (writer.add_stored(from->pager(), bytes, values)) ++carried;
      if (first.empty()) first = bytes.copy();
      return true;
    });
    EXPECT_EQ(carried, rows.size());
    // A Null autonumber cannot be carried as stored: the row is numbered through add(). (The
    // first row again, its autonumber's bit cleared in the null mask that ends the row.)
    const jet::ColumnDef& id = *source.def().find_column("id");
    const std::size_t mask_at = first.size() - (std::size_t{jet::load_le16(first.data())} + 7) / 8;
    first[mask_at + id.number / 8] &= static_cast<std::uint8_t>(~(1u << (id.number % 8)));
    EXPECT_EQ(writer.add_stored(from->pager(), jet::ByteView(first.data(), first.size(), 0, nullptr), values),
              std::nullopt);
    jet::Row unnumbered{N(), T("dernier"), N()};
    writer.add(unnumbered);
    writer.finish();
    tx.commit();
  }
  {
    auto to = jet::Database::open(pair.to);
    const jet::Table filled = to->table("T");
    EXPECT_EQ(filled.def().row_count, rows.size() + 1);
    EXPECT_EQ(filled.count_rows(), rows.size() + 1);
    EXPECT_EQ(filled.def().next_autonumber, rows.size() + 1);
    const auto owned = jet::read_usage_map(to->pager(), jet::RowId::from_pointer(filled.def().owned_pages));
    const auto with_room = jet::read_usage_map(to->pager(), jet::RowId::from_pointer(filled.def().free_pages));
    ASSERT_GT(owned.size(), 10u);
    EXPECT_EQ(with_room, std::vector<jet::PageNumber>{owned.back()});
  }
  EXPECT_EQ(jet_test::joined(jet_test::verify_problems(pair.to)), "");
  const std::string carried = "SELECT id, code, LEN(note) FROM T WHERE id <= 600 ORDER BY id";
  EXPECT_EQ(Db(pair.to).q(carried), Db(pair.from).q(carried));
  EXPECT_EQ(Db(pair.to).q("SELECT id, code FROM T WHERE note IS NULL AND id > 600"),
            std::vector<std::string>{"601|dernier"});
}

TEST(BulkRowWriter, RefusesAnIndexedTableWithoutIndexMaintenance) {
  Pair pair("id LONG PRIMARY KEY");
  auto to = jet::WritableDatabase::open(pair.to);
  jet::Transaction tx(to->pager());
  EXPECT_EQ(jet_test::error_of([&] {
              jet::BulkRowWriter(to->pager(), to->allocator(), "T", to->catalog().find_table("T")->table_page());
            }),
            3251);
}

}  // namespace
}  // namespace compact_stored_rows_test
