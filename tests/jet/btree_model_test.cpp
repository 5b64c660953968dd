// Randomised inserts and removals on one index against an in-memory model (fixed seed):
// duplicate keys, Null keys, long and accented texts. Between batches the database is
// re-opened from its written pages; after each batch the cursor must list the model in
// index order and the tree must be sound.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "btree_test_support.h"
#include "jet/btree/btree_write.h"
#include "jet/btree/index_key.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace btree_model_test_cases {

namespace {

using btree_test::Entry;

struct EntryLess {
  bool operator()(const Entry& a, const Entry& b) const {
    return jet::compare_entries(a.first, a.second, b.first, b.second) < 0;
  }
};

std::vector<std::uint8_t> random_key(std::mt19937& random) {
  static const char* const kWords[] = {"é", "e", "E", "école", "Ecole", "œuvre", "zèbre",
                                       "Ÿ", "ça", "-", "'", "a b", "ÀÉÎÕÜ"};
  jet::KeyWriter w;
  const auto pick = random() % 10;
  if (pick == 0) {
    w.null();
  } else {
    std::string text;
    const std::size_t words = pick < 3 ? 60 + random() % 20 : 1 + random() % 3;  // some long
    for (std::size_t i = 0; i < words; ++i) text += kWords[random() % std::size(kWords)];
    w.text(text);
  }
  return w.take();
}

TEST(BtreeModel, ThousandsOfRandomChangesMatchTheModel) {
  auto pager = btree_test::load_fixture("bigIndexTestV2000.mdb");
  const auto def = btree_test::open_table(*pager, "Table1").def();
  const auto& index = def.indexes.at(0);
  std::set<Entry, EntryLess> model;
  std::vector<Entry> pool;  // keys drawn again to make duplicates and removals
  std::mt19937 random(424242);
  std::uint32_t next_row = 0;
  std::size_t removed = 0, missed = 0, peak = 0, deepest = 0;

  for (int batch = 0; batch < 8; ++batch) {
    pager = btree_test::reopen(*pager);
    jet::MemoryIndexPageStore store(*pager);
    jet::BtreeWriter writer(store, def.page, index.root_page);
    for (int op = 0; op < 600; ++op) {
      const bool grow = batch < 5 ? random() % 4 != 0 : random() % 4 == 0;
      if (grow || pool.empty()) {
        auto key = !pool.empty() && random() % 3 == 0 ? pool[random() % pool.size()].first
                                                      : random_key(random);
        Entry e{std::move(key), {0x100000 + next_row / 250, static_cast<std::uint8_t>(next_row % 250)}};
        ++next_row;
        writer.insert(e.first, e.second);
        model.insert(e);
        pool.push_back(e);
      } else {
        const std::size_t at = random() % pool.size();
        const Entry e = pool[at];
        const bool present = model.erase(e) == 1;
        ASSERT_EQ(writer.remove(e.first, e.second), present);
        (present ? removed : missed)++;
        if (!present || random() % 2) {
          pool[at] = pool.back();
          pool.pop_back();
        }
      }
    }
    SCOPED_TRACE("batch " + std::to_string(batch));
    const auto scanned = btree_test::scan(*pager, def, index);
    ASSERT_EQ(scanned, std::vector<Entry>(model.begin(), model.end()));
    const auto table = btree_test::open_table(*pager, "Table1");
    for (const auto& p : btree_test::tree_problems(table, index)) ADD_FAILURE() << p;
    peak = std::max(peak, model.size());
    deepest = std::max(deepest, btree_test::depth(*pager, index.root_page));
  }
  EXPECT_GT(removed, 500u);
  EXPECT_GT(missed, 50u) << "removals of entries already gone were exercised";
  EXPECT_GT(peak, 1500u);
  EXPECT_GE(deepest, 2u) << "the tree grew a level on the way";
}

}  // namespace

}  // namespace btree_model_test_cases
