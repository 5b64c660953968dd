// Repair on copies of Access-made files: sound files are left untouched; damaged indexes,
// forgotten data pages and wrong row counts are put right with the data kept (compared with
// the original by the engine and by mdbtools); damage to rows is refused with the file left
// byte for byte as it was.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>

#include "jet/record/data_page.h"
#include "jet/tools/diff.h"
#include "jet/base/error.h"
#include "jet/tools/index_verify.h"
#include "jet/tools/repair.h"
#include "jet/storage/transaction.h"
#include "jet/record/usage_map_write.h"
#include "jet/tools/verify.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace repair_test_cases {

namespace {

using jet_test::joined;
std::string export_all(const std::string& path) {
  std::string out;
  auto db = jet::Database::open(path);
  for (const auto& table : db->table_names()) {
    bool ok = false;
    out += jet_test::run("mdb-export " + jet_test::shell_quote(path) + " " + jet_test::shell_quote(table), &ok);
    EXPECT_TRUE(ok) << table;
  }
  return out;
}

// Overwrites `length` bytes of page `page` at `offset` with `value`.
void smash(const std::string& path, jet::PageNumber page, std::size_t offset, std::size_t length, std::uint8_t value) {
  std::vector<std::uint8_t> bytes = jet_test::read_file(path);
  const std::size_t at = static_cast<std::size_t>(page) * 4096 + offset;
  ASSERT_LE(at + length, bytes.size());
  std::fill(bytes.begin() + static_cast<long>(at), bytes.begin() + static_cast<long>(at + length), value);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

using jet_test::error_of;
// The repaired copy holds what the original holds and checks sound.
void expect_repaired_like(const std::string& original, const std::string& repaired) {
  EXPECT_EQ(joined(jet_test::verify_problems(repaired)), "");
  EXPECT_EQ(joined(jet::diff_files(original, repaired)), "");
  EXPECT_EQ(export_all(repaired), export_all(original));
}

TEST(Repair, SoundFixturesAreNotWritten) {
  jet_test::ScratchDir dir;
  for (const auto& name : jet_test::all_fixtures()) {
    SCOPED_TRACE(name);
    const std::string path = jet_test::fixture(name);
    const auto before = jet_test::read_file(path);
    const std::string copy = dir.write("copy.mdb", before);
    const jet::RepairReport report = jet::repair(copy);
    EXPECT_EQ(joined(report.actions), "");
    EXPECT_TRUE(jet_test::read_file(copy) == before);
  }
}

TEST(Repair, DamagedIndexPagesAreRebuiltFromTheRows) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  for (const std::string name : {"indexTestV2000.mdb", "compIndexTestV2000.mdb", "testIndexPropertiesV2000.mdb"}) {
    SCOPED_TRACE(name);
    const std::string copy = copy_fixture(dir, name);
    // Every index page of the first user table with an index: entries blanked on the root,
    // the kind byte of one other tree page broken.
    jet::PageNumber root = 0, other = 0;
    {
      auto db = jet::Database::open(copy);
      for (const auto& t : db->table_names()) {
        const jet::TableDef def = db->table(t).def();
        if (def.indexes.empty() || db->table(t).count_rows() == 0) continue;
        root = def.indexes.back().root_page;
        for (const auto& index : def.indexes)
          if (index.root_page != root) other = index.root_page;
        break;
      }
    }
    ASSERT_NE(root, 0u);
    smash(copy, root, 0x1E0, 1024, 0xA5);
    if (other) smash(copy, other, 0, 1, 0x07);
    ASSERT_NE(joined(jet_test::verify_problems(copy)), "") << "the damage was not seen";

    const jet::RepairReport report = jet::repair(copy);
    EXPECT_TRUE(report.changed());
    EXPECT_NE(joined(report.actions).find("reconstruit"), std::string::npos) << joined(report.actions);
    expect_repaired_like(jet_test::fixture(name), copy);
    // A second repair finds nothing more to do.
    EXPECT_EQ(joined(jet::repair(copy).actions), "");
  }
}

TEST(Repair, ForgottenDataPagesAndWrongRowCountsArePutRight) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string copy = copy_fixture(dir, "compIndexTestV2000.mdb");
  std::string table;
  jet::PageNumber forgotten = 0, definition = 0;
  {
    auto db = jet::WritableDatabase::open(copy);
    for (const auto& name : jet::Database::open(jet_test::fixture("compIndexTestV2000.mdb"))->table_names()) {
      const jet::Table t = db->table(name);
      if (t.data_pages().size() < 2) continue;
      table = name;
      forgotten = t.data_pages().back();
      definition = t.def().page;
      jet::Transaction tx(db->pager());
      ASSERT_TRUE(jet::set_usage_bit(db->pager(), jet::RowId::from_pointer(t.def().owned_pages), forgotten, false));
      tx.commit();
      break;
    }
  }
  ASSERT_FALSE(table.empty());
  // Row count of the definition, 4 bytes at offset 16 of its first page.
  smash(copy, definition, 16, 4, 0x00);
  ASSERT_NE(joined(jet_test::verify_problems(copy)), "");

  const auto report = jet::repair(copy);
  const std::string actions = joined(report.actions);
  EXPECT_NE(actions.find("page " + std::to_string(forgotten)), std::string::npos) << actions;
  EXPECT_NE(actions.find("nombre de lignes"), std::string::npos) << actions;
  expect_repaired_like(jet_test::fixture("compIndexTestV2000.mdb"), copy);
}

TEST(Repair, DamagedRowsAreRefusedAndTheFileIsLeftAsItWas) {
  jet_test::ScratchDir dir;
  for (const std::string name : {"testV2000.mdb", "indexTestV2000.mdb"}) {
    SCOPED_TRACE(name);
    const std::string copy = copy_fixture(dir, name);
    jet::PageNumber data = 0, root = 0;
    {
      auto db = jet::Database::open(copy);
      for (const auto& t : db->table_names()) {
        const jet::Table table = db->table(t);
        if (table.data_pages().empty() || table.count_rows() == 0) continue;
        data = table.data_pages().front();
        if (!table.def().indexes.empty()) root = table.def().indexes.front().root_page;
        break;
      }
    }
    ASSERT_NE(data, 0u);
    // The slot table: every row offset pointing past the end of the page.
    jet::PageNumber rows = 0;
    {
      auto db = jet::Database::open(copy);
      rows = jet::DataPage(db->pager().read(data)).row_count();
    }
    smash(copy, data, 14, 2 * rows, 0x3F);
    // An index damaged too: repairable alone, but the whole repair must be refused.
    if (root) smash(copy, root, 0x1F0, 16, 0xA5);
    const auto before = jet_test::read_file(copy);
    EXPECT_EQ(error_of([&] { jet::repair(copy); }), 3049);
    EXPECT_TRUE(jet_test::read_file(copy) == before) << "a refused repair changed the file";
  }
}

TEST(Repair, FilesThatCannotBeOpenedAreRefused) {
  jet_test::ScratchDir dir;
  EXPECT_EQ(error_of([&] { jet::repair((dir.path() / "absent.mdb").string()); }), 3024);
  const std::string junk = dir.write("junk.mdb", std::vector<std::uint8_t>(8192, 0));
  EXPECT_NE(error_of([&] { jet::repair(junk); }), 0);
  EXPECT_TRUE(jet_test::read_file(junk) == std::vector<std::uint8_t>(8192, 0));
  // A file in use elsewhere.
  const std::string copy = copy_fixture(dir, "emptyV2000.mdb");
  auto holder = jet::Database::open(copy);
  EXPECT_EQ(error_of([&] { jet::repair(copy); }), 3045);
}

}  // namespace

}  // namespace repair_test_cases
