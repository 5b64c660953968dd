// The parsed pages kept between writes (index pages, table definitions) never outlive the
// bytes they came from: after writes, savepoint and transaction rollbacks, commits, page
// frees and re-openings, every tree stays sound and lists exactly the entries of a model.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "btree_test_support.h"
#include "jet/btree/btree_write.h"
#include "jet/btree/btree_write_cache.h"
#include "jet/btree/btree_write_overlay.h"
#include "jet/db/create_database.h"
#include "jet/base/error.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/btree/index_row_key.h"
#include "jet/tools/index_verify.h"
#include "jet/storage/transaction.h"
#include "jet_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace btree_cache_test_cases {

namespace {

using btree_test::Entry;
using jet::Value;

jet::ColumnDesign column(const char* name, jet::ColumnType type, std::uint16_t size = 255) {
  jet::ColumnDesign c;
  c.name = name;
  c.type = type;
  c.size = size;
  c.allow_zero_length = true;
  return c;
}

// Id (autonumber, primary key), Code (unique), Nom (long texts: few entries per page).
jet::TableDesign design() {
  jet::TableDesign d;
  d.name = "Fiches";
  auto id = column("Id", jet::ColumnType::Long);
  id.autonumber = true;
  d.columns = {id, column("Code", jet::ColumnType::Text, 20), column("Nom", jet::ColumnType::Text, 200)};
  d.indexes = {{"PrimaryKey", {{"Id", false}}, true, false, false, false},
               {"Code", {{"Code", false}}, false, true, true, false},
               {"Nom", {{"Nom", false}}, false, false, false, false}};
  return d;
}

const jet::IndexDef& index_named(const jet::TableDef& def, const std::string& name) {
  for (const auto& l : def.logical_indexes)
    if (l.name == name) return *def.real_index(l.real_index);
  throw std::runtime_error("index " + name);
}

std::string long_name(int n) {
  return "Nom " + std::string(90, static_cast<char>('a' + n % 26)) + " " + std::to_string(n * 7919 % 100003);
}

void expect_clean(const std::vector<std::string>& problems) {
  for (const auto& p : problems) ADD_FAILURE() << p;
}

// Every page of the tree under `root` as the cache serves it equals a fresh parse of its
// bytes (pages the writer recorded itself after writing them included).
void expect_cache_matches_pages(jet::IndexPageCache& cache, jet::Pager& pager, jet::PageNumber root) {
  std::vector<jet::PageNumber> pending{root};
  while (!pending.empty()) {
    const jet::PageNumber n = pending.back();
    pending.pop_back();
    const auto fresh = jet::read_index_page(pager, n);
    const auto cached = cache.get(pager, n);
    EXPECT_EQ(cached->leaf, fresh.leaf) << n;
    EXPECT_EQ(cached->owner, fresh.owner) << n;
    EXPECT_EQ(cached->prev, fresh.prev) << n;
    EXPECT_EQ(cached->next, fresh.next) << n;
    EXPECT_EQ(cached->tail, fresh.tail) << n;
    EXPECT_EQ(cached->free_space, fresh.free_space) << n;
    EXPECT_EQ(cached->prefix_length, fresh.prefix_length) << n;
    EXPECT_EQ(cached->used_bytes, fresh.used_bytes) << n;
    EXPECT_EQ(cached->level, pager.read(n).view().u8(26)) << n;
    ASSERT_EQ(cached->entries.size(), fresh.entries.size()) << n;
    for (std::size_t i = 0; i < fresh.entries.size(); ++i) {
      EXPECT_EQ(cached->entries[i].key, fresh.entries[i].key) << n << " #" << i;
      EXPECT_EQ(cached->entries[i].row, fresh.entries[i].row) << n << " #" << i;
      EXPECT_EQ(cached->entries[i].child, fresh.entries[i].child) << n << " #" << i;
      EXPECT_EQ(cached->entries[i].offset, fresh.entries[i].offset) << n << " #" << i;
    }
    if (!fresh.leaf) {
      for (jet::PageNumber child : fresh.children()) pending.push_back(child);
    }
  }
}

using jet_test::error_of;
// The cache serves a page only while the pager shows the buffer it parsed.
TEST(BtreeCache, PagesFollowWritesRollbacksFreesAndEviction) {
  auto base = btree_test::load_fixture("compIndexTestV2000.mdb");
  jet::OverlayPager pager(*base, nullptr);
  const auto table = btree_test::open_table(pager, "Table1");
  const jet::IndexDef& index = table.def().indexes.front();
  const auto root = jet::read_index_page(pager, index.root_page);
  ASSERT_FALSE(root.leaf);
  const jet::PageNumber leaf_page = root.children().front();
  const auto original = jet::read_index_page(pager, leaf_page);
  ASSERT_GT(original.entries.size(), 3u);

  jet::IndexPageCache cache(4);
  EXPECT_EQ(cache.get(pager, leaf_page)->entries.size(), original.entries.size());
  EXPECT_EQ(cache.get(pager, leaf_page)->entries.size(), original.entries.size());
  EXPECT_EQ(cache.hits(), 1u);

  jet::Transaction tx(pager);
  jet::IndexNode node = jet::read_index_node(pager, leaf_page);
  node.items.pop_back();
  {
    jet::Transaction savepoint(pager);
    pager.write(leaf_page, *jet::encode_index_node(node, pager.page_size()));
    EXPECT_EQ(cache.get(pager, leaf_page)->entries.size(), original.entries.size() - 1);
    savepoint.rollback();
  }
  const auto back = cache.get(pager, leaf_page);
  ASSERT_EQ(back->entries.size(), original.entries.size());
  EXPECT_EQ(back->entries.back().key, original.entries.back().key);

  // A page blanked (freed) is no index page any more: parsing it again fails.
  pager.write(leaf_page, std::vector<std::uint8_t>(pager.page_size(), 0));
  EXPECT_EQ(error_of([&] { cache.get(pager, leaf_page); }), 3049);

  // Past its capacity the cache drops entries and still answers right.
  for (jet::PageNumber child : root.children()) {
    if (child == leaf_page) continue;
    const auto expected = jet::read_index_page(pager, child);
    const auto got = cache.get(pager, child);
    EXPECT_EQ(got->number, child);
    EXPECT_EQ(got->entries.size(), expected.entries.size());
    EXPECT_EQ(cache.get(pager, child).get(), got.get()) << "served from the cache right after";
  }
  EXPECT_LE(cache.size(), 4u);
  EXPECT_EQ(error_of([&] { cache.get(pager, 0); }), 3049);
  EXPECT_EQ(error_of([&] { cache.get(pager, pager.page_count()); }), 3049);
}

// Random inserts and removals of long-keyed entries, each round in a savepoint that is
// kept or rolled back: one store (one cache) throughout, a new writer per change as the
// index hook makes them. The tree grows levels, splits and frees pages.
TEST(BtreeCache, SavepointRollbacksLeaveNoStalePages) {
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "c.mdb").string();
  auto db = jet::create_database(path);
  db->create_table(design());
  const jet::Table table = db->table("Fiches");
  const jet::TableDef& def = table.def();
  const jet::IndexDef& index = index_named(def, "Nom");
  jet::OverlayIndexPageStore store(db->allocator());
  store.select_index(index);

  std::mt19937 random(20261122);
  std::vector<Entry> model;
  int next = 0;
  {
    jet::Transaction tx(db->pager());
    for (int round = 0; round < 14; ++round) {
      SCOPED_TRACE("round " + std::to_string(round));
      std::vector<Entry> trial = model;
      jet::Transaction savepoint(db->pager());
      for (int op = 0; op < 250; ++op) {
        jet::BtreeWriter writer(store, def.page, index.root_page);
        if (trial.empty() || random() % 4 != 0) {
          const int n = next++;
          Entry e{jet::index_key_for_values(def, index, {Value::text(long_name(n))}),
                  jet::RowId{static_cast<jet::PageNumber>(100 + n / 200), static_cast<std::uint8_t>(n % 200)}};
          writer.insert(e.first, e.second);
          trial.push_back(std::move(e));
        } else {
          const std::size_t at = random() % trial.size();
          ASSERT_TRUE(writer.remove(trial[at].first, trial[at].second));
          trial.erase(trial.begin() + static_cast<std::ptrdiff_t>(at));
        }
      }
      if (round % 3 == 1) {
        savepoint.rollback();
      } else {
        savepoint.commit();
        model = trial;
      }
      ASSERT_EQ(btree_test::scan(db->pager(), def, index), btree_test::sorted(model));
      expect_clean(btree_test::tree_problems(db->table("Fiches"), index));
      expect_cache_matches_pages(*store.page_cache(), db->pager(), index.root_page);
    }
    EXPECT_GE(btree_test::depth(db->pager(), index.root_page), 3u);
    EXPECT_GT(store.page_cache()->hits(), store.page_cache()->misses());
    tx.commit();
  }
  db.reset();
  auto reopened = jet::Database::open(path);
  const jet::Table again = reopened->table("Fiches");
  EXPECT_EQ(btree_test::scan(reopened->pager(), again.def(), index_named(again.def(), "Nom")),
            btree_test::sorted(model));
}

// Table writes through one hook (one cache) across statements refused, transactions rolled
// back and committed: every index matches the rows, and a code whose row was rolled back
// is free again while a code held by a row is refused.
TEST(BtreeCache, TransactionRollbacksThenWritesKeepIndexesAndUniqueChecksRight) {
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "t.mdb").string();
  jet::create_database(path)->create_table(design());
  auto row = [](int n) { return jet::Row{Value::null(), Value::text("C" + std::to_string(n)), Value::text(long_name(n))}; };
  {
    auto db = jet::WritableDatabase::open(path);
    jet::TableIndexHook hook(db->allocator());
    jet::TableWriter writer = db->writer("Fiches", &hook);
    {
      jet::Transaction tx(db->pager());
      for (int n = 0; n < 600; ++n) writer.insert(row(n));
      tx.commit();
    }
    {
      jet::Transaction tx(db->pager());
      for (int n = 600; n < 1800; ++n) writer.insert(row(n));
      EXPECT_EQ(error_of([&] { writer.insert(row(1000)); }), 3022);
      tx.rollback();
    }
    EXPECT_EQ(writer.definition().row_count, 600u);
    jet::Transaction tx(db->pager());
    for (int n = 1000; n < 1400; ++n) writer.insert(row(n));  // codes of rolled-back rows
    EXPECT_EQ(error_of([&] { writer.insert(row(5)); }), 3022);
    EXPECT_EQ(error_of([&] { writer.insert(row(1399)); }), 3022);
    {
      jet::Transaction savepoint(db->pager());
      writer.insert(row(5000));
      savepoint.rollback();
    }
    writer.insert(row(5000));
    tx.commit();
    EXPECT_EQ(writer.definition().row_count, 1001u);
  }
  auto db = jet::Database::open(path);
  const jet::Table table = db->table("Fiches");
  EXPECT_EQ(table.count_rows(), 1001u);
  EXPECT_EQ(table.def().row_count, 1001u);
  for (const auto& index : table.def().indexes) {
    expect_clean(jet::verify_index(table, index));
    EXPECT_EQ(btree_test::scan(db->pager(), table.def(), index).size(), 1001u);
  }
  EXPECT_GE(btree_test::depth(db->pager(), index_named(table.def(), "Nom").root_page), 2u);
}

// Two writers of one table, each keeping its parsed definition: the row count and the
// autonumber each one writes account for the other's rows (a stale definition would hand
// out an Id twice, which the primary key refuses).
TEST(BtreeCache, WritersOfOneTableSeeEachOthersCounters) {
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "w.mdb").string();
  jet::create_database(path)->create_table(design());
  auto db = jet::WritableDatabase::open(path);
  jet::TableIndexHook hook(db->allocator());
  jet::TableWriter first = db->writer("Fiches", &hook);
  jet::TableWriter second = db->writer("Fiches", &hook);
  jet::Transaction tx(db->pager());
  for (int n = 0; n < 40; ++n) {
    jet::TableWriter& w = n % 3 == 0 ? second : first;
    w.insert({Value::null(), Value::text("K" + std::to_string(n)), Value::text("n")});
  }
  {
    jet::Transaction savepoint(db->pager());
    second.insert({Value::null(), Value::text("R1"), Value::text("n")});
    savepoint.rollback();
  }
  const jet::RowId last = first.insert({Value::null(), Value::text("K40"), Value::text("n")});
  EXPECT_EQ(first.definition().row_count, 41u);
  EXPECT_EQ(second.definition().row_count, 41u);
  EXPECT_EQ(second.definition().next_autonumber, 41u);
  second.remove(last);
  EXPECT_EQ(first.definition().row_count, 40u);
  tx.commit();
  db.reset();
  auto reopened = jet::Database::open(path);
  const jet::Table table = reopened->table("Fiches");
  std::vector<std::int32_t> ids;
  table.scan([&](jet::RowId, const jet::Row& r) { ids.push_back(r[0].as_long()); return true; });
  std::sort(ids.begin(), ids.end());
  ASSERT_EQ(ids.size(), 40u);
  for (int i = 0; i < 40; ++i) EXPECT_EQ(ids[static_cast<std::size_t>(i)], i + 1);
  EXPECT_EQ(table.def().row_count, 40u);
}

}  // namespace

}  // namespace btree_cache_test_cases
