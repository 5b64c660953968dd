// Index page parsing: header fields, entry boundaries, shared prefixes, and damage.
#include <gtest/gtest.h>

#include <random>

#include "index_test_pages.h"
#include "jet/base/error.h"
#include "jet/btree/index_page.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace index_page_test_cases {

namespace {

using namespace index_test;

jet::IndexPage parse(const Bytes& bytes, jet::PageNumber n = 5) {
  return jet::parse_index_page(jet::Page(n, std::make_shared<const Bytes>(bytes),
                                         std::make_shared<const std::string>("t.mdb")));
}

bool damaged(const Bytes& bytes) {
  try {
    parse(bytes);
  } catch (const jet::Error& e) {
    return e.number() == 3049;
  }
  return false;
}

TEST(IndexPage, LeafEntriesGetTheirSharedPrefixBack) {
  const std::vector<Bytes> entries = {leaf_entry(long_key(0x101), 0x010203, 4),
                                      leaf_entry(long_key(0x102), 0x010203, 5),
                                      leaf_entry(long_key(0x1FF), 0x000010, 0)};
  const auto page = parse(index_page(true, entries, 4, {2, 7, 9, 0}));
  EXPECT_TRUE(page.leaf);
  EXPECT_EQ(page.owner, 2u);
  EXPECT_EQ(page.prev, 7u);
  EXPECT_EQ(page.next, 9u);
  EXPECT_EQ(page.prefix_length, 4u);
  ASSERT_EQ(page.entries.size(), 3u);
  EXPECT_EQ(page.entries[0].key, long_key(0x101));
  EXPECT_EQ(page.entries[1].key, long_key(0x102));
  EXPECT_EQ(page.entries[2].key, long_key(0x1FF));
  EXPECT_EQ(page.entries[0].row, (jet::RowId{0x010203, 4}));
  EXPECT_EQ(page.entries[2].row, (jet::RowId{0x10, 0}));
  EXPECT_EQ(page.entries[1].offset, jet::disk::kIndexEntries + 9);
  EXPECT_TRUE(page.children().empty());
}

TEST(IndexPage, IntermediateEntriesPointToChildrenThenTail) {
  const auto page = parse(index_page(false, {node_entry(long_key(3), 40, 1, 11), node_entry(long_key(8), 41, 0, 12)},
                                     0, {2, 0, 0, 13}));
  EXPECT_FALSE(page.leaf);
  ASSERT_EQ(page.entries.size(), 2u);
  EXPECT_EQ(page.entries[1].key, long_key(8));
  EXPECT_EQ(page.entries[1].row, (jet::RowId{41, 0}));
  EXPECT_EQ(page.children(), (std::vector<jet::PageNumber>{11, 12, 13}));
  EXPECT_TRUE(parse(index_page(true, {})).entries.empty());
}

TEST(IndexPage, DamageIsReportedNotRead) {
  const Bytes good = index_page(true, {leaf_entry(long_key(1), 9, 0), leaf_entry(long_key(2), 9, 1)}, 2);
  ASSERT_FALSE(damaged(good));

  Bytes wrong_kind = good;
  wrong_kind[0] = 0x01;
  EXPECT_TRUE(damaged(wrong_kind));

  Bytes long_prefix = good;
  long_prefix[24] = 40;  // more than the first entry holds
  EXPECT_TRUE(damaged(long_prefix));

  Bytes past_end = good;
  past_end[jet::disk::kIndexEntries - 1] = 0x80;  // an entry ending beyond the page
  EXPECT_TRUE(damaged(past_end));

  EXPECT_TRUE(damaged(index_page(true, {Bytes{0x7F, 1, 2}})));                 // no room for a row pointer
  EXPECT_TRUE(damaged(index_page(false, {Bytes{0x7F, 0, 0, 9, 0, 0, 0, 1}})));  // no room for a child
  EXPECT_TRUE(damaged(Bytes(good.begin(), good.begin() + 300)));              // truncated page
  EXPECT_TRUE(damaged(Bytes{}));
}

// Random damage to the header, bitmap and first entries: parsing either succeeds or reports
// 3049; it never reads outside the page (the sanitizers watch) nor throws anything else.
TEST(IndexPage, RandomDamageNeverEscapesAsAnythingButError3049) {
  std::vector<Bytes> entries;
  for (int i = 0; i < 60; ++i) entries.push_back(leaf_entry(long_key(1000 + i * 7), 20 + i / 10, static_cast<std::uint8_t>(i)));
  const Bytes good = index_page(true, entries, 3);
  std::mt19937 rng(20240611);
  std::uniform_int_distribution<std::size_t> where(0, jet::disk::kIndexEntries + 700);
  std::uniform_int_distribution<int> value(0, 255);
  int rejected = 0;
  for (int round = 0; round < 3000; ++round) {
    Bytes b = good;
    const int hits = 1 + round % 6;
    for (int h = 0; h < hits; ++h) b[where(rng)] = static_cast<std::uint8_t>(value(rng));
    try {
      parse(b);
    } catch (const jet::Error& e) {
      ASSERT_EQ(e.number(), 3049);
      ++rejected;
    }
  }
  EXPECT_GT(rejected, 0);
}

}  // namespace

}  // namespace index_page_test_cases
