// Index pages as the writer encodes them: every index page of the Access-made index fixtures,
// read as a node and encoded again, gives back Access's own bytes (header, tail, prefix,
// entry bitmap, entries); hand-made nodes read back as written.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <utility>

#include "btree_test_support.h"
#include "jet/table/btree_build.h"
#include "jet/btree/btree_write.h"
#include "jet/btree/btree_write_page.h"
#include "jet/btree/index_key.h"
#include "jet/btree/index_page.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace btree_page_test_cases {

namespace {

const char* const kIndexFixtures[] = {"indexTestV2000.mdb", "compIndexTestV2000.mdb",
                                      "bigIndexTestV2000.mdb", "indexCursorTestV2000.mdb",
                                      "testIndexPropertiesV2000.mdb"};

TEST(BtreePage, AccessPagesEncodeToTheirOwnBytes) {
  std::size_t pages = 0, with_prefix = 0, intermediate = 0;
  for (const char* name : kIndexFixtures) {
    auto pager = btree_test::load_fixture(name);
    for (jet::PageNumber p = 1; p < pager->page_count(); ++p) {
      const auto raw = pager->read(p).view().copy();
      if ((raw[0] != jet::disk::kPageIndexLeaf && raw[0] != jet::disk::kPageIndexNode) || raw[1] != 1) {
        continue;
      }
      SCOPED_TRACE(std::string(name) + " page " + std::to_string(p));
      const auto parsed = jet::parse_index_page(pager->read(p));
      const auto node = jet::read_index_node(*pager, p);
      const auto bytes = jet::encode_index_node(node, pager->page_size());
      ASSERT_TRUE(bytes.has_value());
      const std::size_t end = jet::disk::kIndexEntries + parsed.used_bytes;
      EXPECT_EQ(std::vector<std::uint8_t>(bytes->begin(), bytes->begin() + end),
                std::vector<std::uint8_t>(raw.begin(), raw.begin() + end));
      ++pages;
      if (parsed.prefix_length) ++with_prefix;
      if (!parsed.leaf) ++intermediate;
    }
  }
  // The comparison covered the interesting cases: a shared prefix and a tail.
  EXPECT_GT(pages, 40u);
  EXPECT_GE(with_prefix, 1u);
  EXPECT_GE(intermediate, 1u);
}

jet::IndexNodeItem item(std::uint32_t value, jet::RowId row, jet::PageNumber child = 0) {
  jet::KeyWriter w;
  w.long_integer(static_cast<std::int32_t>(value));
  return {w.take(), row, child};
}

jet::IndexPage round_trip(const jet::IndexNode& node) {
  auto bytes = jet::encode_index_node(node, 4096);
  EXPECT_TRUE(bytes.has_value());
  jet::MemoryPager pager;
  pager.add({});
  const auto n = pager.add(std::move(*bytes));
  return jet::read_index_page(pager, n);
}

TEST(BtreePage, FullLeafSharesItsPrefixAndOverfullLeafIsRefused) {
  jet::IndexNode node;
  node.owner = 9;
  node.prev = 3;
  node.next = 4;
  // 9-byte entries (5 key + 4 row): 401 fit whole in 3616 bytes; 500 need the prefix.
  for (std::uint32_t i = 0; i < 500; ++i) node.items.push_back(item(1000 + i, {77, 1}));
  const auto page = round_trip(node);
  EXPECT_GT(page.prefix_length, 0);
  ASSERT_EQ(page.entries.size(), 500u);
  for (std::size_t i = 0; i < 500; ++i) {
    EXPECT_EQ(page.entries[i].key, node.items[i].key);
    EXPECT_EQ(page.entries[i].row, (jet::RowId{77, 1}));
  }
  EXPECT_EQ(page.free_space, 3616 - page.used_bytes);
  EXPECT_EQ(page.prev, 3u);
  EXPECT_EQ(page.next, 4u);
  EXPECT_EQ(page.owner, 9u);

  node.items.resize(100);
  EXPECT_EQ(round_trip(node).prefix_length, 0) << "entries that fit whole are stored whole";

  node.items.clear();
  for (std::uint32_t i = 0; i < 2000; ++i) node.items.push_back(item(i * 7919u, {i + 1, 0}));
  EXPECT_FALSE(jet::encode_index_node(node, 4096).has_value());
}

TEST(BtreePage, IntermediatePageKeepsItsLastChildAsTail) {
  jet::IndexNode node;
  node.leaf = false;
  node.level = 1;
  node.items = {item(5, {10, 0}, 21), item(9, {11, 2}, 22), item(12, {12, 0}, 23)};
  auto page = round_trip(node);
  EXPECT_FALSE(page.leaf);
  ASSERT_EQ(page.entries.size(), 2u);
  EXPECT_EQ(page.entries[1].child, 22u);
  EXPECT_EQ(page.tail, 23u);
  EXPECT_EQ(page.children(), (std::vector<jet::PageNumber>{21, 22, 23}));

  node.items.resize(1);
  page = round_trip(node);
  ASSERT_EQ(page.entries.size(), 1u) << "a lone child keeps an entry";
  EXPECT_EQ(page.tail, 0u);
  EXPECT_EQ(page.entries[0].child, 21u);
}

// A leaf patched at its first, a middle and its last position, full enough to share a
// prefix and then not: each patch gives the encoder's bytes for the changed node, and a
// change that would move the prefix is left to the encoder.
TEST(BtreePage, LeavesPatchedAtEitherEndGiveTheEncodersBytes) {
  for (const std::uint32_t count : {100u, 450u}) {
    SCOPED_TRACE(std::to_string(count) + " entries");
    jet::IndexNode node;
    node.owner = 9;
    node.prev = 3;
    for (std::uint32_t i = 0; i < count; ++i) node.items.push_back(item(0x10000 + 2 * i, {77, 1}));
    jet::MemoryPager pager;
    pager.add({});
    const auto number = pager.add(*jet::encode_index_node(node, 4096));
    const jet::Page page = pager.read(number);
    const auto parsed = jet::parse_index_page(page);
    EXPECT_EQ(parsed.prefix_length > 0, count == 450u);
    auto encoded = [](const jet::IndexNode& n) { return *jet::encode_index_node(n, 4096); };
    for (const std::size_t pos : {std::size_t{0}, std::size_t{count / 2}, std::size_t{count - 1}}) {
      SCOPED_TRACE("position " + std::to_string(pos));
      std::optional<std::size_t> bound;
      auto without = node;
      without.items.erase(without.items.begin() + static_cast<std::ptrdiff_t>(pos));
      const auto removed = jet::leaf_without_entry(page, parsed, 0, pos, bound);
      ASSERT_TRUE(removed.has_value());
      EXPECT_EQ(*removed, encoded(without));

      // A key just before the entry at `pos` (or past the last one), sharing its bytes.
      const std::uint32_t value = pos + 1 == count ? 0x10000 + 2 * count : 0x10000 + 2 * static_cast<std::uint32_t>(pos) - 1;
      const auto added_item = item(value, {78, 2});
      const std::size_t at = pos + 1 == count ? count : pos;
      auto with = node;
      with.items.insert(with.items.begin() + static_cast<std::ptrdiff_t>(at), added_item);
      bound.reset();
      const auto added = jet::leaf_with_entry(page, parsed, 0, at, added_item.key, added_item.row, bound);
      if (count == 450u && pos == 0) {
        // A new first key below 0x10000 shares fewer leading bytes with the others: the
        // shared prefix would shrink, so the node goes to the encoder.
        EXPECT_FALSE(added.has_value());
        EXPECT_LT(jet::parse_index_page(jet::Page(1, std::make_shared<const std::vector<std::uint8_t>>(encoded(with)),
                                                  nullptr))
                      .prefix_length,
                  parsed.prefix_length);
        continue;
      }
      ASSERT_TRUE(added.has_value());
      EXPECT_EQ(*added, encoded(with));
    }
  }
}

// Leaves a tree's pages as they are: every page has exactly the bytes encode_index_node
// gives for its node, and the parsed page the writer keeps is what a fresh parse of those
// bytes reads. Returns the leaves, and those sharing a prefix.
std::pair<std::size_t, std::size_t> expect_encoded_and_kept(jet::MemoryPager& pager, jet::MemoryIndexPageStore& store,
                                                            jet::PageNumber root) {
  std::size_t leaves = 0, shared = 0;
  std::vector<jet::PageNumber> tree{root};
  for (std::size_t at = 0; at < tree.size(); ++at) {
    const jet::PageNumber p = tree[at];
    const auto raw = pager.read(p).view().copy();
    const auto parsed = jet::parse_index_page(pager.read(p));
    for (jet::PageNumber child : parsed.children()) tree.push_back(child);
    SCOPED_TRACE("page " + std::to_string(p));
    const auto bytes = jet::encode_index_node(jet::read_index_node(pager, p), pager.page_size());
    EXPECT_TRUE(bytes.has_value());
    if (bytes) {
      EXPECT_EQ(*bytes, raw);
    }
    const auto kept = store.page_cache()->get(pager, p);
    EXPECT_EQ(kept->free_space, parsed.free_space);
    EXPECT_EQ(kept->used_bytes, parsed.used_bytes);
    EXPECT_EQ(kept->prefix_length, parsed.prefix_length);
    EXPECT_EQ(kept->tail, parsed.tail);
    EXPECT_EQ(kept->level, raw[jet::disk::kIndexLevel]);
    EXPECT_EQ(kept->entries.size(), parsed.entries.size());
    for (std::size_t i = 0; i < parsed.entries.size() && i < kept->entries.size(); ++i) {
      EXPECT_EQ(kept->entries[i].key, parsed.entries[i].key) << i;
      EXPECT_EQ(kept->entries[i].row, parsed.entries[i].row) << i;
      EXPECT_EQ(kept->entries[i].child, parsed.entries[i].child) << i;
      EXPECT_EQ(kept->entries[i].offset, parsed.entries[i].offset) << i;
    }
    if (parsed.leaf) ++leaves;
    if (parsed.leaf && parsed.prefix_length > 0) ++shared;
  }
  return {leaves, shared};
}

// Entries inserted into the leaves of a tree the writer grows from nothing, in random order
// with keys of varied lengths, then most of them removed in another order: whether the
// writer encoded a node or patched its page, the pages and their kept parses stay exact.
TEST(BtreePage, PagesPatchedInPlaceMatchTheirEncodingAndTheirKeptParse) {
  auto pager = btree_test::load_fixture("compIndexTestV2000.mdb");
  jet::MemoryIndexPageStore store(*pager);
  const auto table = btree_test::open_table(*pager, "Table1");
  const jet::IndexDef& index = table.def().indexes.front();
  jet::build_index_tree(store, table.def().page, index.root_page, {});
  jet::BtreeWriter writer(store, table.def().page, index.root_page);
  std::mt19937 random(7);
  std::vector<std::pair<std::vector<std::uint8_t>, jet::RowId>> entries;
  for (std::uint32_t n = 0; n < 3000; ++n) {
    jet::KeyWriter w;
    w.text(std::string(random() % 40, 'k') + std::to_string(random() % 100000));
    entries.push_back({w.take(), {0x1000 + n / 100, static_cast<std::uint8_t>(n % 100)}});
    writer.insert(entries.back().first, entries.back().second);
  }
  const auto [leaves, shared] = expect_encoded_and_kept(*pager, store, index.root_page);
  EXPECT_GT(leaves, 10u) << "the tree grew past its root";
  EXPECT_GT(shared, 0u) << "some leaves share a prefix";

  std::shuffle(entries.begin(), entries.end(), random);
  for (std::size_t i = 0; i < 2500; ++i) ASSERT_TRUE(writer.remove(entries[i].first, entries[i].second)) << i;
  EXPECT_GT(expect_encoded_and_kept(*pager, store, index.root_page).first, 1u);
  EXPECT_GT(store.page_cache()->hits(), 0u);
}

}  // namespace

}  // namespace btree_page_test_cases
