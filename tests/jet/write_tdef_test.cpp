// Table definitions written back: every definition of the Access-made files encodes to the
// same length and reads back the same; rewriting in place grows and shrinks the chain of
// definition pages.
#include <gtest/gtest.h>

#include <algorithm>

#include "jet/db/create_database.h"
#include "jet/db/database.h"
#include "jet/base/error.h"
#include "jet/tools/index_verify.h"
#include "jet/storage/memory_pager.h"
#include "jet/record/tdef_encode.h"
#include "jet/storage/transaction.h"
#include "jet/tools/verify.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace write_tdef_test_cases {

namespace {

std::string describe(const jet::TableDef& def) {
  std::string s = std::to_string(def.system) + " rows " + std::to_string(def.row_count) + " auto " +
                  std::to_string(def.next_autonumber) + " max " + std::to_string(def.max_columns) + " var " +
                  std::to_string(def.variable_columns) + " maps " + std::to_string(def.owned_pages) + "/" +
                  std::to_string(def.free_pages) + "\n";
  for (const auto& c : def.columns)
    s += c.name + " " + std::to_string(static_cast<int>(c.type)) + " n" + std::to_string(c.number) + " v" +
         std::to_string(c.var_index) + " f" + std::to_string(c.is_fixed() ? c.fixed_offset : 0) + " l" +
         std::to_string(c.length) + " fl" + std::to_string(c.flags) + " cu" + std::to_string(c.compressed_unicode) +
         " p" + std::to_string(c.precision) + "," + std::to_string(c.scale) + " d" + std::to_string(c.display_index) + "\n";
  for (const auto& i : def.indexes) {
    s += "real " + std::to_string(i.number) + " fl" + std::to_string(i.flags & 0x0F) + " rc" + std::to_string(i.row_count) +
         " map " + std::to_string(i.usage_map) + " root " + std::to_string(i.root_page);
    for (const auto& c : i.columns) s += " " + std::to_string(c.column_number) + (c.ascending ? "+" : "-");
    s += "\n";
  }
  for (const auto& l : def.logical_indexes) {
    s += "logical " + l.name + " n" + std::to_string(l.number) + " r" + std::to_string(l.real_index) + " k" +
         std::to_string(static_cast<int>(l.kind));
    if (l.kind == jet::IndexKind::ForeignKey)
      s += " rel " + std::to_string(l.related_table_kind) + "/" + std::to_string(l.related_index) + "/" +
           std::to_string(l.related_table_page) + " c" + std::to_string(l.cascade_updates) + std::to_string(l.cascade_deletes);
    s += "\n";
  }
  for (const auto& m : def.long_value_maps)
    s += "lv " + std::to_string(m.column_number) + " " + std::to_string(m.owned_pages) + "/" + std::to_string(m.free_pages) + "\n";
  return s;
}

std::uint32_t stored_length(jet::Pager& pager, jet::PageNumber page) {
  return pager.read(page).view().u32(8);
}

TEST(WriteTableDef, EveryAccessDefinitionEncodesToItsLengthAndReadsBackTheSame) {
  std::size_t tables = 0, chained = 0;
  for (const std::string& file : jet_test::all_fixtures()) {
    auto db = jet::Database::open(jet_test::fixture(file));
    for (const jet::CatalogEntry* entry : db->catalog().tables(true)) {
      SCOPED_TRACE(file + " " + entry->name);
      const jet::TableDef def = jet::read_table_def(db->pager(), entry->table_page());
      const std::vector<std::uint8_t> encoded = jet::encode_table_def(def);
      EXPECT_EQ(encoded.size(), stored_length(db->pager(), entry->table_page()));
      // Split over pages of a scratch pager numbered as continuation pages, read back.
      jet::MemoryPager scratch(db->pager().page_size());
      for (jet::PageNumber p = 0; p <= def.page; ++p) scratch.add({});
      std::vector<jet::PageNumber> next;
      for (std::size_t i = 0; i < encoded.size() / 4000 + 1; ++i) next.push_back(def.page + 1 + static_cast<jet::PageNumber>(i));
      const auto pages = jet::split_table_def(encoded, scratch.page_size(), next);
      scratch.set(def.page, pages[0]);
      for (std::size_t i = 1; i < pages.size(); ++i) scratch.add(pages[i]);
      if (pages.size() > 1) ++chained;
      EXPECT_EQ(describe(jet::read_table_def(scratch, def.page)), describe(def));
      ++tables;
    }
  }
  EXPECT_GT(tables, 60u);
  EXPECT_GT(chained, 0u);  // multi-page definitions are among them
}

jet::ColumnDef text_column(const jet::TableDef& def, int i) {
  jet::ColumnDef c;
  c.name = "Colonne ajoutée au nom assez long numéro " + std::to_string(i);
  c.type = jet::ColumnType::Text;
  c.length = 100;
  c.flags = jet::column_flags::Nullable;
  c.compressed_unicode = true;
  c.sort_order = 0x409;
  c.number = static_cast<std::uint16_t>(def.max_columns);
  c.var_index = def.variable_columns;
  c.definition_order = static_cast<std::uint32_t>(def.columns.size());
  c.display_index = static_cast<std::uint32_t>(def.columns.size());
  return c;
}

TEST(WriteTableDef, RewritingInPlaceGrowsAndShrinksTheChain) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = dir.write("t.mdb", jet_test::read_file(jet_test::fixture("test2V2000.mdb")));
  const auto untouched = jet_test::run("mdb-export " + jet_test::shell_quote(path) + " MSP_PROJECTS");
  std::vector<jet::PageNumber> grown;
  {
    auto db = jet::WritableDatabase::open(path);
    const jet::PageNumber page = db->catalog().find_table("MSP_PROJECTS")->table_page();
    const jet::TableDef original = jet::read_table_def(db->pager(), page);
    jet::Transaction tx(db->pager());
    jet::TableDef bigger = original;
    for (int i = 0; i < 120; ++i) {
      bigger.columns.push_back(text_column(bigger, i));
      ++bigger.max_columns;
      ++bigger.variable_columns;
    }
    jet::write_table_def(db->pager(), db->allocator(), bigger);
    EXPECT_EQ(describe(jet::read_table_def(db->pager(), page)), describe(bigger));
    for (jet::PageNumber p = db->pager().read(page).view().u32(4); p != 0; p = db->pager().read(p).view().u32(4))
      grown.push_back(p);
    EXPECT_GE(grown.size(), 3u);
    // Back to the original: the extra continuation pages are freed.
    jet::write_table_def(db->pager(), db->allocator(), original);
    EXPECT_EQ(describe(jet::read_table_def(db->pager(), page)), describe(original));
    std::size_t freed = 0;
    for (jet::PageNumber p : grown) freed += db->allocator().is_free(p);
    EXPECT_EQ(freed, grown.size() - 1);
    tx.commit();
  }
  auto db = jet::Database::open(path);
  EXPECT_EQ(jet::verify_database(*db, jet::verify_indexes), std::vector<std::string>{});
  EXPECT_EQ(jet_test::run("mdb-export " + jet_test::shell_quote(path) + " MSP_PROJECTS"), untouched);
}

TEST(WriteTableDef, RefusesOutsideATransactionAndLeavesTheFile) {
  jet_test::ScratchDir dir;
  const std::string path = dir.write("t.mdb", jet_test::read_file(jet_test::fixture("indexTestV2000.mdb")));
  const auto before = jet_test::read_file(path);
  {
    auto db = jet::WritableDatabase::open(path);
    const jet::TableDef def = jet::read_table_def(db->pager(), db->catalog().find_table("Table1")->table_page());
    int number = 0;
    try {
      jet::write_table_def(db->pager(), db->allocator(), def);
    } catch (const jet::Error& e) {
      number = e.number();
    }
    EXPECT_EQ(number, 3251);
    jet::Transaction tx(db->pager());
    jet::write_table_def(db->pager(), db->allocator(), def);
    // Rolled back with the transaction.
  }
  EXPECT_EQ(jet_test::read_file(path), before);
}

}  // namespace

}  // namespace write_tdef_test_cases
