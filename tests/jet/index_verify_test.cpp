// verify_index on damaged copies of an Access-made database: each kind of damage is reported
// with the page concerned, and the cursor refuses an unreadable tree with 3049.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "jet/db/database.h"
#include "jet/base/error.h"
#include "jet/btree/index_cursor.h"
#include "jet/btree/index_page.h"
#include "jet/tools/index_verify.h"
#include "jet_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace index_verify_test_cases {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFixture = "compIndexTestV2000.mdb";  // Table1: a two-level index

struct Layout {
  jet::PageNumber root = 0;
  jet::IndexPage first_leaf;
  jet::IndexPage second_leaf;
};

// Where the index of Table1 lives in the pristine fixture.
Layout layout() {
  auto db = jet::Database::open(std::string(QUELIS_FIXTURES) + "/" + kFixture);
  const jet::Table t = db->table("Table1");
  Layout l;
  l.root = t.def().indexes.at(0).root_page;
  const auto children = jet::read_index_page(db->pager(), l.root).children();
  EXPECT_GE(children.size(), 2u);
  l.first_leaf = jet::read_index_page(db->pager(), children.at(0));
  l.second_leaf = jet::read_index_page(db->pager(), children.at(1));
  return l;
}

// A copy of the fixture with `patch` applied at byte `offset` of page `page`.
std::string damaged_copy(const std::string& label, jet::PageNumber page, std::size_t offset,
                         const std::vector<std::uint8_t>& patch) {
  // Kept until the program ends: the tests open the copies after this returns.
  static const jet_test::ScratchDir dir;
  const fs::path copy = dir.path() / (label + ".mdb");
  jet_test::copy_fixture(dir, kFixture, copy.filename().string());
  std::fstream f(copy, std::ios::in | std::ios::out | std::ios::binary);
  f.seekp(static_cast<std::streamoff>(page) * 4096 + static_cast<std::streamoff>(offset));
  f.write(reinterpret_cast<const char*>(patch.data()), static_cast<std::streamsize>(patch.size()));
  return copy.string();
}

std::vector<std::string> verify(const std::string& path) {
  auto db = jet::Database::open(path);
  const jet::Table t = db->table("Table1");
  return jet::verify_index(t, t.def().indexes.at(0));
}

bool mentions(const std::vector<std::string>& problems, const std::string& what) {
  return std::any_of(problems.begin(), problems.end(),
                     [&](const std::string& p) { return p.find(what) != std::string::npos; });
}

std::string joined(const std::vector<std::string>& v) {
  std::string s;
  for (const auto& x : v) s += x + "\n";
  return s;
}

TEST(IndexVerify, ThePristineIndexIsSound) {
  EXPECT_TRUE(verify(std::string(QUELIS_FIXTURES) + "/" + kFixture).empty());
}

TEST(IndexVerify, AWrongSiblingLinkIsReported) {
  const Layout l = layout();
  const auto p = verify(damaged_copy("link", l.second_leaf.number, 12, {0x07, 0, 0, 0}));
  EXPECT_TRUE(mentions(p, "page " + std::to_string(l.second_leaf.number) + " : page précédente 7"))
      << joined(p);
}

TEST(IndexVerify, AWrongFreeSpaceCountIsReported) {
  const Layout l = layout();
  const auto p = verify(damaged_copy("free", l.first_leaf.number, 2, {0x10, 0x00}));
  EXPECT_TRUE(mentions(p, "page " + std::to_string(l.first_leaf.number) + " : espace libre annoncé 16"))
      << joined(p);
}

TEST(IndexVerify, AnAlteredKeyIsReportedAtItsEntry) {
  const Layout l = layout();
  // Entry 1 of the second leaf; its last key byte (the page has no shared prefix).
  ASSERT_EQ(l.second_leaf.prefix_length, 0u);
  ASSERT_GE(l.second_leaf.entries.size(), 2u);
  const auto& e = l.second_leaf.entries[1];
  const std::size_t at = e.offset + e.key.size() - 1;
  const std::uint8_t flipped = static_cast<std::uint8_t>(e.key.back() ^ 0x55);
  const auto p = verify(damaged_copy("key", l.second_leaf.number, at, {flipped}));
  EXPECT_TRUE(mentions(p, "page " + std::to_string(l.second_leaf.number) + ", entrée 1")) << joined(p);
}

TEST(IndexVerify, AnEntryPointingElsewhereLeavesItsRowWithout) {
  const Layout l = layout();
  const auto& e = l.second_leaf.entries[0];
  const std::size_t row_byte = e.offset + e.key.size() + 3;  // page (3 bytes) then row
  const auto p = verify(damaged_copy("row", l.second_leaf.number, row_byte, {0xEE}));
  EXPECT_TRUE(mentions(p, "absente ou supprimée")) << joined(p);
  EXPECT_TRUE(mentions(p, "ligne " + std::to_string(e.row.page) + ":" + std::to_string(e.row.row) +
                              " : aucune entrée"))
      << joined(p);
}

TEST(IndexVerify, AnUnreadableRootIsReportedAndRefusedByTheCursor) {
  const Layout l = layout();
  const std::string path = damaged_copy("root", l.root, 0, {0x01});
  const auto p = verify(path);
  EXPECT_TRUE(mentions(p, "page " + std::to_string(l.root) + " illisible")) << joined(p);
  // The rows it no longer reaches are summed up, not listed one by one.
  EXPECT_TRUE(mentions(p, "ligne(s) sans entrée")) << joined(p);
  EXPECT_LE(p.size(), 3u) << joined(p);
  auto db = jet::Database::open(path);
  const jet::Table t = db->table("Table1");
  jet::IndexCursor c(db->pager(), t.def(), t.def().indexes.at(0));
  try {
    c.next();
    ADD_FAILURE() << "read a damaged root";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 3049);
  }
}

TEST(IndexVerify, EntriesOutOfOrderAreReported) {
  const Layout l = layout();
  // The second leaf holds two entries of equal key (Null) ordered by row; giving the first
  // a row number above the second's breaks that order.
  ASSERT_EQ(l.second_leaf.prefix_length, 0u);
  const auto& a = l.second_leaf.entries.at(0);
  const auto& b = l.second_leaf.entries.at(1);
  ASSERT_EQ(a.key, b.key);
  ASSERT_EQ(a.row.page, b.row.page);
  const std::size_t row_byte = a.offset + a.key.size() + 3;
  const auto p = verify(damaged_copy("order", l.second_leaf.number, row_byte,
                                     {static_cast<std::uint8_t>(b.row.row + 1)}));
  EXPECT_TRUE(mentions(p, "page " + std::to_string(l.second_leaf.number) + ", entrée 1")) << joined(p);
  EXPECT_TRUE(mentions(p, "hors d'ordre")) << joined(p);
}

}  // namespace

}  // namespace index_verify_test_cases
