// verify_index held to a budget of a few kilobytes, so that the leaf entries go through
// scratch runs before they meet the rows: every kind of disagreement between an index and its
// rows is still found, and the report is the one a check in memory gives, in the same order.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "btree_test_support.h"
#include "jet/base/bytes.h"
#include "jet/btree/btree_write.h"
#include "jet/btree/btree_write_store.h"
#include "jet/btree/index_row_key.h"
#include "jet/db/create_database.h"
#include "jet/db/writable_database.h"
#include "jet/record/data_page.h"
#include "jet/storage/format.h"
#include "jet/storage/memory_pager.h"
#include "jet/storage/transaction.h"
#include "jet/tools/index_verify.h"
#include "jet/tools/verify.h"
#include "jet_test_support.h"
#include "os/faulty_file_system.h"

namespace index_verify_spill_test {
namespace {

constexpr int kRows = 3000;
constexpr std::size_t kBudget = 4096;  // a few dozen entries a run

jet::TableDesign design() {
  jet::TableDesign d;
  d.name = "Dossiers";
  d.columns = {jet_test::column_design("Numero", jet::ColumnType::Long),
               jet_test::column_design("Commune", jet::ColumnType::Text, 40)};
  d.indexes = {{"PrimaryKey", {{"Numero", false}}, true, true, false, true},
               {"Commune", {{"Commune", false}}, false, false, false, false}};
  return d;
}

// The database's pages in memory, built once: a table of kRows rows, a unique index and a
// text index with many equal keys.
const std::vector<std::uint8_t>& pristine_image() {
  static const std::vector<std::uint8_t> image = [] {
    jet_test::ScratchDir dir;
    const std::string path = (dir.path() / "dossiers.mdb").string();
    jet::create_database(path)->create_table(design());
    {
      auto db = jet::WritableDatabase::open(path);
      jet::Transaction tx(db->pager());
      auto writer = db->writer("Dossiers");
      for (int i = 0; i < kRows; ++i)
        writer.insert({jet::Value::long_(i * 7 % kRows + 1), jet::Value::text("Commune " + std::to_string(i % 37))});
      tx.commit();
    }
    return jet_test::read_file(path);
  }();
  return image;
}

// A copy of the database to damage, and the two checks to compare.
class Damaged {
 public:
  Damaged() : pager_(4096, "dossiers.mdb") {
    const auto& bytes = pristine_image();
    for (std::size_t at = 0; at < bytes.size(); at += 4096)
      pager_.add({bytes.begin() + static_cast<std::ptrdiff_t>(at),
                  bytes.begin() + static_cast<std::ptrdiff_t>(std::min(at + 4096, bytes.size()))});
  }

  jet::MemoryPager& pager() { return pager_; }
  jet::Table table() { return btree_test::open_table(pager_, "Dossiers"); }
  const jet::IndexDef& index(const jet::Table& t, bool unique) {
    for (const auto& i : t.def().indexes)
      if (i.unique() == unique) return i;
    throw std::runtime_error("no such index");
  }
  std::vector<btree_test::Entry> entries(bool unique) {
    const auto t = table();
    return btree_test::scan(pager_, t.def(), index(t, unique));
  }
  void insert(bool unique, const std::vector<std::uint8_t>& key, jet::RowId row) {
    const auto t = table();
    jet::MemoryIndexPageStore store(pager_);
    jet::BtreeWriter(store, t.def().page, index(t, unique).root_page).insert(key, row);
  }
  void remove(bool unique, const std::vector<std::uint8_t>& key, jet::RowId row) {
    const auto t = table();
    jet::MemoryIndexPageStore store(pager_);
    ASSERT_TRUE(jet::BtreeWriter(store, t.def().page, index(t, unique).root_page).remove(key, row));
  }
  // Points the end of the row's text past its null mask: the row no longer decodes.
  void garble_text(jet::RowId row) {
    auto bytes = pager_.read(row.page).view().copy();
    const std::size_t slot = pager_.layout().data_row_count + 2 + 2 * std::size_t{row.row};
    const std::size_t start = jet::load_le16(bytes.data() + slot) & jet::disk::kRowOffsetMask;
    const std::size_t end = row.row == 0 ? 4096 : jet::load_le16(bytes.data() + slot - 2) & jet::disk::kRowOffsetMask;
    // The last bytes: null mask (1), variable count (2), start of the text (2), its end (2).
    jet::store_le16(bytes, end - 7, static_cast<std::uint16_t>(end - start));
    pager_.set(row.page, std::move(bytes));
  }

  // Flags the row deleted in its data page, leaving its entries where they are.
  void delete_row(jet::RowId row) {
    auto bytes = pager_.read(row.page).view().copy();
    const std::size_t slot = pager_.layout().data_row_count + 2 + 2 * std::size_t{row.row};
    jet::store_le16(bytes, slot, static_cast<std::uint16_t>(jet::load_le16(bytes.data() + slot) | jet::disk::kRowDeleted));
    pager_.set(row.page, std::move(bytes));
  }

  // The report with the entries spilled to scratch runs; it must equal the one of a check
  // held in memory.
  std::vector<std::string> verify(bool unique) {
    os::FaultyFileSystem files{*os::system_services().files};
    const os::Services services{&files, os::system_services().clock, os::system_services().random};
    const auto t = table();
    const auto spilled = jet::verify_index_with(t, index(t, unique), {kBudget, &services});
    EXPECT_GT(files.writes(), 0) << "the entries did not go through scratch runs";
    const auto held = jet::verify_index_with(t, index(t, unique), {std::size_t{64} << 20, nullptr});
    EXPECT_EQ(spilled, held);
    // Checked beside the table's other index, the rows read once for both: the same report.
    const auto together = jet::verify_indexes_with(t, {std::size_t{1} << 20, &services});
    const auto at = static_cast<std::size_t>(&index(t, unique) - t.def().indexes.data());
    EXPECT_EQ(together.at(at), held);
    return spilled;
  }

 private:
  jet::MemoryPager pager_;
};

std::string text(jet::RowId r) { return std::to_string(r.page) + ":" + std::to_string(r.row); }

// Position of the first finding containing `what` (the size when none does).
std::size_t find(const std::vector<std::string>& problems, const std::string& what) {
  return static_cast<std::size_t>(std::find_if(problems.begin(), problems.end(),
                                               [&](const std::string& p) { return p.find(what) != std::string::npos; }) -
                                  problems.begin());
}

std::string joined(const std::vector<std::string>& v) {
  std::string s;
  for (const auto& x : v) s += x + "\n";
  return s;
}

// Counts the reads of each page, passing them to the pages it wraps.
class CountingPager final : public jet::Pager {
 public:
  explicit CountingPager(jet::Pager& inner) : inner_(inner) {}
  std::size_t page_size() const noexcept override { return inner_.page_size(); }
  jet::PageNumber page_count() const noexcept override { return inner_.page_count(); }
  const std::string& file_name() const noexcept override { return inner_.file_name(); }
  jet::Page read(jet::PageNumber number) override {
    ++reads[number];
    return inner_.read(number);
  }
  std::map<jet::PageNumber, int> reads;

 private:
  jet::Pager& inner_;
};

TEST(IndexVerifySpill, AllTheIndexesOfATableReadItsRowsOnce) {
  Damaged d;
  CountingPager counted(d.pager());
  const jet::Table t = btree_test::open_table(counted, "Dossiers");
  const std::vector<jet::PageNumber> data = t.data_pages();
  ASSERT_GT(data.size(), 10u);
  const auto data_reads = [&] {
    int n = 0;
    for (const jet::PageNumber p : data) n += counted.reads[p];
    counted.reads.clear();
    return n;
  };
  data_reads();
  for (const auto& index : t.def().indexes) EXPECT_TRUE(jet::verify_index(t, index).empty());
  EXPECT_EQ(data_reads(), static_cast<int>(data.size() * t.def().indexes.size()));
  const auto found = jet::verify_indexes(t);
  ASSERT_EQ(found.size(), t.def().indexes.size());
  for (const auto& f : found) EXPECT_TRUE(f.empty()) << joined(f);
  EXPECT_EQ(data_reads(), static_cast<int>(data.size()));
}

// A scan, a count or a check of the rows reads each data page once: the pages the usage map
// lists are sorted out as they are read, not by a reading of their own first.
TEST(IndexVerifySpill, ScansCountsAndRowChecksReadEachDataPageOnce) {
  Damaged d;
  CountingPager counted(d.pager());
  const std::vector<jet::PageNumber> data = btree_test::open_table(counted, "Dossiers").data_pages();
  ASSERT_GT(data.size(), 10u);
  const auto most_reads = [&] {
    int most = 0;
    for (const jet::PageNumber p : data) most = std::max(most, counted.reads[p]);
    counted.reads.clear();
    return most;
  };
  most_reads();
  std::uint64_t rows = 0;
  btree_test::open_table(counted, "Dossiers").scan_stored([&](jet::RowId, const jet::ByteView&) { return ++rows > 0; });
  EXPECT_EQ(rows, static_cast<std::uint64_t>(kRows));
  EXPECT_EQ(most_reads(), 1);
  btree_test::open_table(counted, "Dossiers").scan([&](jet::RowId, const jet::Row&) { return true; });
  EXPECT_EQ(most_reads(), 1);
  EXPECT_EQ(btree_test::open_table(counted, "Dossiers").count_rows(), static_cast<std::uint64_t>(kRows));
  EXPECT_EQ(most_reads(), 1);
  EXPECT_TRUE(jet::verify_table(btree_test::open_table(counted, "Dossiers"), {}).empty());
  EXPECT_EQ(most_reads(), 1);
}

TEST(IndexVerifySpill, ARowThatNoLongerDecodesStopsTheReadingOfTheRowsTheSameWay) {
  Damaged d;
  const jet::RowId row = d.entries(true)[1500].second;
  d.garble_text(row);
  for (const bool unique : {true, false}) {
    const auto p = d.verify(unique);
    ASSERT_FALSE(p.empty());
    EXPECT_NE(p.back().find("lecture des lignes de la table interrompue"), std::string::npos) << joined(p);
  }
}

TEST(IndexVerifySpill, TheSoundIndexesAreSoundThroughScratchRuns) {
  Damaged d;
  ASSERT_EQ(d.entries(true).size(), static_cast<std::size_t>(kRows));
  EXPECT_TRUE(d.verify(true).empty()) << joined(d.verify(true));
  EXPECT_TRUE(d.verify(false).empty()) << joined(d.verify(false));
}

TEST(IndexVerifySpill, MissingExtraAndSecondEntriesAreEachReportedInOrder) {
  Damaged d;
  const auto all = d.entries(false);
  // Rows spread over the whole table lose their entry; made-up rows past the table's pages
  // and real rows get an extra one (a second entry, under a key that sorts after theirs).
  std::vector<jet::RowId> missing, seconds;
  for (std::size_t i = 100; i < all.size(); i += 700) {
    d.remove(false, all[i].first, all[i].second);
    missing.push_back(all[i].second);
  }
  const jet::RowId made_up{all.back().second.page + 50, 3};
  d.insert(false, all.front().first, made_up);
  for (std::size_t i = 350; i < all.size(); i += 900) {
    d.insert(false, all.back().first, all[i].second);
    seconds.push_back(all[i].second);
  }
  const auto p = d.verify(false);
  for (const auto row : missing)
    EXPECT_LT(find(p, "ligne " + text(row) + " : aucune entrée dans l'index"), p.size()) << joined(p);
  for (const auto row : seconds)
    EXPECT_LT(find(p, "deuxième entrée pour la ligne " + text(row)), p.size()) << joined(p);
  EXPECT_LT(find(p, "désigne la ligne " + text(made_up) + ", absente ou supprimée"), p.size()) << joined(p);
  EXPECT_EQ(p.size(), missing.size() + seconds.size() + 1) << joined(p);
  // Second entries first, then rows in storage order, then entries of missing rows.
  EXPECT_LT(find(p, "deuxième entrée"), find(p, "aucune entrée"));
  EXPECT_LT(find(p, "aucune entrée"), find(p, "absente ou supprimée"));
  std::sort(missing.begin(), missing.end(), [](auto a, auto b) { return a.pointer() < b.pointer(); });
  for (std::size_t i = 1; i < missing.size(); ++i)
    EXPECT_LT(find(p, "ligne " + text(missing[i - 1]) + " :"), find(p, "ligne " + text(missing[i]) + " :"));
}

TEST(IndexVerifySpill, AWrongKeyADuplicateKeyAndADeletedRowAreReported) {
  Damaged d;
  const auto all = d.entries(true);
  // A key one higher in its last byte than the row's value gives.
  const auto& [key, row] = all[1234];
  auto wrong = key;
  wrong.back() = static_cast<std::uint8_t>(wrong.back() ^ 0x01);
  d.remove(true, key, row);
  d.insert(true, wrong, row);
  // A row indexed under its neighbour's key: in a unique index, a duplicate key.
  const auto& [kept_key, kept_row] = all[2000];
  const auto& [dup_key, dup_row] = all[2001];
  d.remove(true, dup_key, dup_row);
  d.insert(true, kept_key, dup_row);
  // A row deleted in its page whose entry stays.
  const jet::RowId deleted = all[2900].second;
  d.delete_row(deleted);

  const auto p = d.verify(true);
  EXPECT_LT(find(p, "clé [" + jet::key_to_hex(wrong) + "] au lieu de [" + jet::key_to_hex(key) + "] pour la ligne " +
                        text(row)),
            p.size())
      << joined(p);
  // Equal keys are in row order; the later one is reported with the earlier.
  const bool kept_first = kept_row.pointer() < dup_row.pointer();
  const jet::RowId first = kept_first ? kept_row : dup_row;
  const jet::RowId second = kept_first ? dup_row : kept_row;
  EXPECT_LT(find(p, "clé en double dans un index unique (lignes " + text(first) + " et " + text(second) + ")"),
            p.size())
      << joined(p);
  EXPECT_LT(find(p, "désigne la ligne " + text(deleted) + ", absente ou supprimée"), p.size()) << joined(p);
  // The duplicate comes before the rows' findings, the deleted row's entry after them.
  EXPECT_LT(find(p, "clé en double"), find(p, "au lieu de"));
  EXPECT_LT(find(p, "au lieu de"), find(p, "absente ou supprimée"));
}

}  // namespace
}  // namespace index_verify_spill_test
