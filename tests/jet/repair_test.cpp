// Repair on copies of Access-made files: sound files are left untouched; damaged indexes,
// forgotten data pages and wrong row counts are put right with the data kept (compared with
// the original by the engine and by mdbtools); damage to rows is refused with the file left
// byte for byte as it was.
#include <gtest/gtest.h>

#include <cstring>
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
#include "jet/record/table_def.h"
#include "jet/storage/format_layout.h"
#include "jet_test_support.h"
#include "page_builder.h"
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

// Page-level damage the whole-database check reports and repair puts right: a page the
// table's map names that is not one of its data pages, a data page recording a wrong free
// space, an unreadable data page no table reads, an index whose root is another table's page.
TEST(Repair, StrayPagesAndWrongFiguresArePutRight) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string name = "indexTestV2000.mdb";
  const std::string copy = copy_fixture(dir, name);
  jet::PageNumber stray = 0, data = 0, spare = 0, root_at = 0, foreign = 0;
  std::uint32_t owner = 0;
  {
    auto db = jet::WritableDatabase::open(copy);
    const jet::Table t1 = db->table("Table1");
    const jet::Table t2 = db->table("Table2");
    ASSERT_FALSE(t1.def().indexes.empty());
    ASSERT_FALSE(t2.data_pages().empty());
    stray = t1.def().indexes[0].root_page;  // an index page of the table, listed as a data page
    data = t1.data_pages().front();
    foreign = t2.data_pages().front();
    owner = t2.def().page;
    root_at = t1.def().page;
    const auto free_pages = jet::marked_pages(db->pager(), jet::kGlobalUsageMap, db->pager().page_count());
    for (jet::PageNumber p : free_pages)
      if (p >= 2) spare = p;
    ASSERT_NE(spare, 0u) << "the fixture has no free page";
    jet::Transaction tx(db->pager());
    ASSERT_TRUE(jet::set_usage_bit(db->pager(), jet::RowId::from_pointer(t1.def().owned_pages), stray, true));
    tx.commit();
  }
  std::vector<std::uint8_t> bytes = jet_test::read_file(copy);
  jet_test::put16(bytes, std::size_t{data} * 4096 + 2, 4);
  // A free page made into a data page of Table2 with an impossible row count.
  std::fill_n(bytes.begin() + static_cast<long>(std::size_t{spare} * 4096), 4096, 0);
  bytes[std::size_t{spare} * 4096] = 0x01;
  jet_test::put32(bytes, std::size_t{spare} * 4096 + 4, owner);
  jet_test::put16(bytes, std::size_t{spare} * 4096 + 12, 0x7FFF);
  // Table1's first index rooted on a data page of Table2 (its definition fits one page; the
  // root follows the index's usage-map pointer there).
  const jet::TableDef def = jet::Database::open(jet_test::fixture(name))->table("Table1").def();
  const std::uint32_t map = def.indexes[0].usage_map, root = def.indexes[0].root_page;
  std::size_t field = 0;
  for (std::size_t at = std::size_t{root_at} * 4096; at + 8 <= std::size_t{root_at + 1} * 4096 && !field; ++at)
    if (std::memcmp(&bytes[at], &map, 4) == 0 && std::memcmp(&bytes[at + 4], &root, 4) == 0) field = at + 4;
  ASSERT_NE(field, 0u);
  jet_test::put32(bytes, field, foreign);
  const std::string damaged = dir.write("damaged.mdb", bytes);
  const std::string before = joined(jet_test::verify_problems(damaged));
  for (const std::string& expected : std::vector<std::string>{
           "compte la page " + std::to_string(stray) + ", qui n'est pas une de ses pages de données",
        "page " + std::to_string(data) + " : espace libre annoncé 4", "nombre de lignes impossible (32767)",
        "page " + std::to_string(foreign)})
    EXPECT_NE(before.find(expected), std::string::npos) << expected << " not in\n" << before;

  const std::string actions = joined(jet::repair(damaged).actions);
  for (const std::string& expected : std::vector<std::string>{
           "table « Table1 » : page " + std::to_string(stray) + " retirée de sa table d'utilisation",
        "page " + std::to_string(data) + " : espace libre corrigé (annoncé 4, réel ",
        "page " + std::to_string(spare) + " : page de données illisible vidée et libérée",
        "sa racine passe de la page " + std::to_string(foreign) + " à la page "})
    EXPECT_NE(actions.find(expected), std::string::npos) << expected << " not in\n" << actions;
  expect_repaired_like(jet_test::fixture(name), damaged);
  EXPECT_EQ(joined(jet::repair(damaged).actions), "");
}

// Maps that cannot serve are made anew. The known miss: a table whose free-space map lies
// past the end of the file (INSERT failed with 3049 and mdbtools could not read the table);
// also a table whose map pointer names another table's map, which both then share.
TEST(Repair, UnusableMapsAreMadeAnew) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  auto original = jet::Database::open(jet_test::fixture("testV2000.mdb"));
  const jet::TableDef t1 = original->table("Table1").def();
  const jet::TableDef t2 = original->table("Table2").def();
  ASSERT_FALSE(original->table("Table1").data_pages().empty());
  std::vector<std::uint8_t> bytes = jet_test::read_file(jet_test::fixture("testV2000.mdb"));
  const jet::FormatLayout& layout = jet::jet4_layout();
  jet_test::put32(bytes, std::size_t{t1.page} * 4096 + layout.tdef_free_pages,
                  static_cast<std::uint32_t>(bytes.size() / 4096 + 5) << 8);
  jet_test::put32(bytes, std::size_t{t2.page} * 4096 + layout.tdef_owned_pages, t1.owned_pages);
  const std::string copy = dir.write("copy.mdb", bytes);
  const std::string before = joined(jet_test::verify_problems(copy));
  EXPECT_NE(before.find("table « Table1 » : table d'espace libre illisible"), std::string::npos) << before;
  EXPECT_NE(before.find("une même table d'utilisation sert à table « Table1 » (table d'utilisation) et à table « Table2 »"),
            std::string::npos)
      << before;
  const std::string actions = joined(jet::repair(copy).actions);
  for (const std::string& expected : std::vector<std::string>{
           "table « Table1 » : table d'espace libre refaite, vide",
           "table « Table1 » : table d'utilisation refaite avec les " +
               std::to_string(original->table("Table1").data_pages().size()) + " pages de données",
           "table « Table2 » : table d'utilisation refaite avec les "})
    EXPECT_NE(actions.find(expected), std::string::npos) << expected << " not in\n" << actions;
  expect_repaired_like(jet_test::fixture("testV2000.mdb"), copy);
}

// Damage repair cannot mend: refused with the file as it was, where it once reported
// nothing to repair.
TEST(Repair, WhatTheCheckStillFindsIsRefused) {
  jet_test::ScratchDir dir;
  const auto catalog_page = jet::Database::open(jet_test::fixture("testV2000.mdb"))->table("MSysObjects").data_pages().at(0);
  const std::vector<std::function<void(std::vector<std::uint8_t>&)>> damages{
      // the catalog's data page lost: the tables are gone
      [&](std::vector<std::uint8_t>& b) { std::fill_n(b.begin() + static_cast<long>(catalog_page) * 4096, 4096, 0); },
      // the properties of an object that no longer decode
      [&](std::vector<std::uint8_t>& b) {
        const std::vector<std::uint8_t> magic{'M', 'R', '2', 0};
        const auto at = std::search(b.begin(), b.end(), magic.begin(), magic.end());
        ASSERT_NE(at, b.end());
        *at = 'X';
      }};
  for (std::size_t i = 0; i < damages.size(); ++i) {
    SCOPED_TRACE(i);
    std::vector<std::uint8_t> bytes = jet_test::read_file(jet_test::fixture("testV2000.mdb"));
    damages[i](bytes);
    const std::string copy = dir.write("copy" + std::to_string(i) + ".mdb", bytes);
    ASSERT_NE(joined(jet_test::verify_problems(copy)), "");
    EXPECT_EQ(error_of([&] { jet::repair(copy); }), 3049);
    EXPECT_TRUE(jet_test::read_file(copy) == bytes) << "a refused repair changed the file";
  }
}

}  // namespace

}  // namespace repair_test_cases
