// Indexed texts in every script written through SQL, then compacted and repaired; and a text
// whose key cannot be computed (a character beyond the Basic Multilingual Plane), which only
// blocks the writes that would change its entry: its stored entry is found, moved and carried
// by its bytes. Every file is checked by the engine's checker and read by mdbtools.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "jet/table/btree_build.h"
#include "jet/btree/btree_write.h"
#include "jet/btree/btree_write_overlay.h"
#include "jet/tools/compact.h"
#include "jet/btree/index_cursor.h"
#include "jet/btree/index_key.h"
#include "jet/btree/index_row_key.h"
#include "jet/tools/index_verify.h"
#include "jet/tools/repair.h"
#include "jet/base/text_sort.h"
#include "jet/storage/transaction.h"
#include "jet/tools/verify.h"
#include "sql_exec_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace text_keys_write_test_cases {

namespace {

using namespace sql_exec_test;
using Bytes = std::vector<std::uint8_t>;

const std::vector<std::string> kNames = {
    "Αθήνα",        "ἈΘῆναι",          "القاهرة", "ירושלים",  "Paris → Lyon", "x ≤ y ≥ z ✓",
    "カタカナ",     "ひらがな",        "ｶﾀｶﾅ",    "東京",     "서울",         "हिन्दी",
    "Ελληνικά-Ωμέγα", "Zoé d'Été",
};

// A table with the names in an ascending index, a descending one and an unindexed column.
void create_cities(Db& db) {
  db.x("CREATE TABLE Villes (id LONG CONSTRAINT pk PRIMARY KEY, nom TEXT(100), note TEXT(50))");
  db.x("CREATE INDEX ix_nom ON Villes (nom)");
  db.x("CREATE UNIQUE INDEX ix_nom_id ON Villes (nom DESC, id)");
}

// The names of the index's rows in its order; every entry's key checked against its row.
std::vector<std::string> in_index_order(const std::string& path, const std::string& index_name) {
  auto db = jet::Database::open(path);
  const jet::Table table = db->table("Villes");
  const jet::IndexDef* index = nullptr;
  for (const auto& logical : table.def().logical_indexes)
    if (logical.name == index_name) index = table.def().real_index(logical.real_index);
  if (!index) {
    ADD_FAILURE() << "no index " << index_name;
    return {};
  }
  const std::size_t nom = table.def().find_column("nom")->definition_order;
  std::vector<std::string> out;
  jet::IndexCursor cursor(db->pager(), table.def(), *index);
  while (cursor.next()) {
    const auto row = table.read(cursor.row_id());
    if (!row) {
      ADD_FAILURE() << "entry of a missing row";
      continue;
    }
    out.push_back((*row)[nom].as_text());
  }
  return out;
}

std::vector<std::string> sorted_by_key(std::vector<std::string> names, bool ascending) {
  std::stable_sort(names.begin(), names.end(), [&](const std::string& a, const std::string& b) {
    return jet::compare_keys(jet::general_text_key(a, ascending), jet::general_text_key(b, ascending)) < 0;
  });
  return names;
}

// What `jet verify` reports: pages, maps, rows and every index entry.
std::vector<std::string> problems(const std::string& path) {
  auto db = jet::Database::open(path);
  return jet::verify_database(*db, jet::verify_indexes);
}

// Sound for the engine's checker, and mdbtools exports the names (as it shows them).
void expect_sound_and_readable(const std::string& path, const std::vector<std::string>& names) {
  EXPECT_EQ(::testing::PrintToString(problems(path)), "{}");
  const std::string exported = mdb_export(path, "Villes");
  for (const auto& n : names) EXPECT_NE(exported.find("\"" + n + "\""), std::string::npos) << n << "\n" << exported;
}

TEST(TextKeysWritten, EveryScriptInsertedUpdatedDeletedCompactedAndRepaired) {
  QUELIS_NEEDS_MDBTOOLS();
  Scratch scratch;
  const std::string path = scratch.copy("emptyV2000.mdb");
  std::vector<std::string> names = kNames;
  {
    Db db(path);
    create_cities(db);
    for (std::size_t i = 0; i < names.size(); ++i) {
      EXPECT_EQ(db.x("INSERT INTO Villes (id, nom, note) VALUES (" + std::to_string(i) + ", '" +
                     (names[i] == "Zoé d'Été" ? std::string("Zoé d''Été") : names[i]) + "', 'n')"),
                1);
    }
    // Other columns, then the key itself, then a deletion.
    EXPECT_EQ(db.x("UPDATE Villes SET note = 'vue' WHERE id IN (0, 3, 6, 9)"), 4);
    EXPECT_EQ(db.x("UPDATE Villes SET nom = '大阪 ≠ 京都' WHERE id = 9"), 1);
    names[9] = "大阪 ≠ 京都";
    EXPECT_EQ(db.x("DELETE FROM Villes WHERE id = 4 OR id = 10"), 2);
    names.erase(names.begin() + 10);
    names.erase(names.begin() + 4);
    EXPECT_EQ(db.q("SELECT nom FROM Villes WHERE nom = 'ירושלים'"), (std::vector<std::string>{"ירושלים"}));
  }
  expect_sound_and_readable(path, names);
  const auto ascending = in_index_order(path, "ix_nom");
  EXPECT_EQ(ascending, sorted_by_key(names, true));
  EXPECT_EQ(in_index_order(path, "ix_nom_id"), sorted_by_key(names, false));
  // Scripts come in their own blocks: Latin, Greek, Hebrew, Arabic, kana, CJK.
  auto at = [&](const std::string& n) { return std::find(ascending.begin(), ascending.end(), n) - ascending.begin(); };
  EXPECT_LT(at("Zoé d'Été"), at("Αθήνα"));
  EXPECT_LT(at("Αθήνα"), at("ירושלים"));
  EXPECT_LT(at("ירושלים"), at("القاهرة"));
  EXPECT_LT(at("カタカナ"), at("大阪 ≠ 京都"));

  const std::string compacted = (scratch.dir().path() / "compact.mdb").string();
  jet::compact(path, compacted);
  expect_sound_and_readable(compacted, names);
  EXPECT_EQ(in_index_order(compacted, "ix_nom"), ascending);
  EXPECT_FALSE(jet::repair(compacted).changed());
  expect_sound_and_readable(compacted, names);
}

// Stands for Access in writing the row and its entries: the key Access stores for a text
// beyond the plane is given, not computed.
class NoIndexes final : public jet::IndexHook {
 public:
  void check(const jet::TableDef&, const jet::Row*, const jet::Row*, std::optional<jet::RowId>) override {}
  void apply(const jet::TableDef&, const jet::Row*, const jet::Row*, jet::RowId) override {}
};

const std::string kBeyond = "b\xF0\x9F\x98\x80";  // b and U+1F600, a surrogate pair
const std::string kBeyondExported = "b??";             // mdbtools shows each half as '?'
// Its key as stored in the file: the codes of the pair's halves, then their accent codes.
const Bytes kBeyondKey = {0x4C, 0xB0, 0x3F, 0xB6, 0xFC, 0x01, 0x02, 0x3F, 0x3F, 0x00};

// An index column's key for a text whose general-order key (ascending) is `text_key`.
Bytes column_key(const Bytes& text_key, bool ascending) {
  jet::KeyWriter flag;
  flag.text("", ascending);
  Bytes out{flag.bytes().front()};
  for (std::uint8_t b : text_key) out.push_back(ascending ? b : static_cast<std::uint8_t>(~b));
  if (!ascending) out.push_back(0x00);
  return out;
}

Bytes text_column_key(const std::string& text) {
  jet::KeyWriter w;
  w.text(text);
  return w.take();
}

jet::RowId row_of(jet::WritableDatabase& db, std::int32_t id) {
  std::optional<jet::RowId> out;
  const jet::Table t = db.table("Villes");
  t.scan([&](jet::RowId r, const jet::Row& row) {
    if (row[t.def().find_column("id")->definition_order].to_int64() == id) out = r;
    return true;
  });
  if (!out) throw std::runtime_error("no row " + std::to_string(id));
  return *out;
}

// Villes with rows 1 'alpha', 2 kBeyond, 3 'gamma'; the stored entries of row 2 given as above.
std::string file_with_a_key_beyond_the_plane(Scratch& scratch) {
  const std::string path = scratch.copy("emptyV2000.mdb", "beyond.mdb");
  {
    Db db(path);
    create_cities(db);
    db.x("INSERT INTO Villes (id, nom, note) VALUES (1, 'alpha', 'a')");
    db.x("INSERT INTO Villes (id, nom, note) VALUES (2, 'beta', 'b')");
    db.x("INSERT INTO Villes (id, nom, note) VALUES (3, 'gamma', 'c')");
  }
  auto db = jet::WritableDatabase::open(path);
  jet::Transaction tx(db->pager());
  const jet::RowId beyond = row_of(*db, 2);
  NoIndexes none;
  {
    jet::TableWriter writer = db->writer("Villes", &none);
    jet::Row row = *db->table("Villes").read(beyond);
    row[db->table("Villes").def().find_column("nom")->definition_order] = jet::Value::text(kBeyond);
    writer.update(beyond, row);
  }
  const jet::Table table = db->table("Villes");
  jet::OverlayIndexPageStore store(db->allocator());
  for (const auto& index : table.def().indexes) {
    jet::rebuild_index(store, table, index, [&](jet::RowId r) -> std::optional<Bytes> {
      if (r != beyond) return std::nullopt;
      if (index.columns.size() == 1) return column_key(kBeyondKey, true);
      // nom descending then id.
      Bytes key = column_key(kBeyondKey, false);
      jet::KeyWriter id;
      id.long_integer(2);
      key.insert(key.end(), id.bytes().begin(), id.bytes().end());
      return key;
    });
  }
  tx.commit();
  return path;
}

// The entries of `index_name` whose key is `key`, as row ids read back to their `id` column.
std::vector<std::int64_t> rows_with_key(const std::string& path, const std::string& index_name, const Bytes& key) {
  auto db = jet::Database::open(path);
  const jet::Table table = db->table("Villes");
  const jet::IndexDef* index = nullptr;
  for (const auto& logical : table.def().logical_indexes)
    if (logical.name == index_name) index = table.def().real_index(logical.real_index);
  std::vector<std::int64_t> out;
  if (!index) return out;
  jet::IndexCursor cursor(db->pager(), table.def(), *index);
  while (cursor.next()) {
    if (cursor.entry().key == key) {
      out.push_back((*table.read(cursor.row_id()))[table.def().find_column("id")->definition_order].to_int64());
    }
  }
  return out;
}

TEST(TextKeysWritten, AStoredEntryWithoutAComputableKeyIsKeptMovedAndCarried) {
  QUELIS_NEEDS_MDBTOOLS();
  Scratch scratch;
  const std::string path = file_with_a_key_beyond_the_plane(scratch);
  expect_sound_and_readable(path, {"alpha", kBeyondExported, "gamma"});
  EXPECT_EQ(rows_with_key(path, "ix_nom", column_key(kBeyondKey, true)), (std::vector<std::int64_t>{2}));

  {
    Db db(path);
    // Writes that would need the key are refused, and leave the file as it was.
    const auto before = jet_test::read_file(path);
    EXPECT_EQ(error_of([&] { db.x("INSERT INTO Villes (id, nom) VALUES (4, 'c\xF0\x9F\x98\x80')"); }), 3431);
    EXPECT_EQ(error_of([&] { db.x("UPDATE Villes SET nom = '\xF0\x9F\x98\x80' WHERE id = 1"); }), 3431);
    EXPECT_EQ(jet_test::read_file(path), before);
    // Writes that leave its entry as it is do not.
    EXPECT_EQ(db.x("UPDATE Villes SET note = 'modifiée' WHERE id = 2"), 1);
    EXPECT_EQ(db.x("UPDATE Villes SET note = 'encore une note bien plus longue' WHERE id = 2"), 1);
    EXPECT_EQ(db.x("UPDATE Villes SET nom = 'alpha 2' WHERE id = 1"), 1);
  }
  expect_sound_and_readable(path, {"alpha 2", kBeyondExported, "gamma", "encore une note bien plus longue"});
  EXPECT_EQ(rows_with_key(path, "ix_nom", column_key(kBeyondKey, true)), (std::vector<std::int64_t>{2}));

  // Compaction carries the stored entries to the rows' new places.
  const std::string compacted = (scratch.dir().path() / "compact.mdb").string();
  jet::compact(path, compacted);
  expect_sound_and_readable(compacted, {"alpha 2", kBeyondExported, "gamma"});
  EXPECT_EQ(rows_with_key(compacted, "ix_nom", column_key(kBeyondKey, true)), (std::vector<std::int64_t>{2}));
  EXPECT_EQ(Db(compacted).q("SELECT nom FROM Villes WHERE id = 2"), (std::vector<std::string>{kBeyond}));

  // Repair rebuilding a damaged index keeps the entry the old tree holds.
  {
    auto db = jet::WritableDatabase::open(compacted);
    jet::Transaction tx(db->pager());
    const jet::Table table = db->table("Villes");
    const jet::RowId gamma = row_of(*db, 3);
    for (const auto& index : table.def().indexes) {
      if (index.columns.size() != 1 || index.columns[0].column_number != table.def().find_column("nom")->number) continue;
      jet::OverlayIndexPageStore store(db->allocator());
      store.select_index(index);
      jet::BtreeWriter writer(store, table.def().page, index.root_page);
      ASSERT_TRUE(writer.remove(text_column_key("gamma"), gamma));
    }
    tx.commit();
  }
  EXPECT_NE(::testing::PrintToString(problems(compacted)), "{}");
  EXPECT_TRUE(jet::repair(compacted).changed());
  expect_sound_and_readable(compacted, {"alpha 2", kBeyondExported, "gamma"});
  EXPECT_EQ(rows_with_key(compacted, "ix_nom", column_key(kBeyondKey, true)), (std::vector<std::int64_t>{2}));
  EXPECT_EQ(rows_with_key(compacted, "ix_nom", text_column_key("gamma")), (std::vector<std::int64_t>{3}));

  // The row goes, its entries with it.
  {
    Db db(path);
    EXPECT_EQ(db.x("DELETE FROM Villes WHERE id = 2"), 1);
  }
  expect_sound_and_readable(path, {"alpha 2", "gamma"});
  EXPECT_TRUE(rows_with_key(path, "ix_nom", column_key(kBeyondKey, true)).empty());
  EXPECT_EQ(mdb_export(path, "Villes").find(kBeyondExported), std::string::npos);
}

}  // namespace

}  // namespace text_keys_write_test_cases
