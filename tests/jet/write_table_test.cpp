// Table writes on copies of Access-made files, judged by mdbtools (what the copy exports),
// by the engine's own checker, and by the bytes of everything the writes must not touch.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "jet/record/data_page.h"
#include "jet/base/error.h"
#include "jet/record/row.h"
#include "jet/storage/transaction.h"
#include "jet/tools/verify.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace write_table_test_cases {

namespace {

using jet::Value;

using jet_test::error_of;
std::string export_table(const std::string& path, const std::string& table) {
  bool ok = false;
  const std::string out = jet_test::run("mdb-export " + jet_test::shell_quote(path) + " " +
                                            jet_test::shell_quote(table) + " 2>&1", &ok);
  EXPECT_TRUE(ok) << out;
  return out;
}

std::vector<std::string> problems(const std::string& path) {
  auto db = jet::Database::open(path);
  return jet::verify_database(*db);
}

// Bytes of the pages a table owns (its definition and data pages).
std::vector<std::uint8_t> table_pages(const std::string& path, const std::string& table) {
  auto db = jet::Database::open(path);
  const jet::Table t = db->table(table);
  std::vector<std::uint8_t> out = db->pager().read(t.def().page).view().copy();
  for (jet::PageNumber p : t.data_pages()) {
    const auto bytes = db->pager().read(p).view().copy();
    out.insert(out.end(), bytes.begin(), bytes.end());
  }
  return out;
}

// overflowTestV2000 Table1: nine Text(50) columns, seven rows, no index.
jet::Row texts(std::vector<std::string> given) {
  jet::Row row(9, Value::null());
  for (std::size_t i = 0; i < given.size(); ++i)
    if (!given[i].empty()) row[i] = Value::text(given[i]);
  return row;
}

TEST(TableWriter, InsertUpdateRemoveReadBackByMdbtools) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = copy_fixture(dir, "overflowTestV2000.mdb");
  const auto catalog_before = table_pages(path, "MSysObjects");
  jet::RowId inserted;
  {
    auto db = jet::WritableDatabase::open(path);
    ASSERT_TRUE(db->table("Table1").def().indexes.empty());
    jet::TableWriter writer = db->writer("Table1");
    jet::Transaction t(db->pager());
    inserted = writer.insert(texts({"été", "", "Ωmega"}));
    std::vector<jet::RowId> ids;
    db->table("Table1").scan([&](jet::RowId id, const jet::Row&) { ids.push_back(id); return true; });
    ASSERT_EQ(ids.size(), 8u);
    writer.update(ids[0], texts({"row1col1-longer-now", "", "", "", "", "", "", "", "last"}));
    writer.remove(ids[1]);
    EXPECT_EQ(writer.definition().row_count, 7u);
    t.commit();
  }
  EXPECT_EQ(export_table(path, "Table1"),
            "data1,data3,data4,data5,data6,data7,data8,data9,data10\n"
            "\"row1col1-longer-now\",,,,,,,,\"last\"\n"
            "\"row4col1\",\"row4col2\",,,,,,,\n"
            ",\"row6col2\",\"row6col3\",,,,,,\n"
            "\"row7col1\",,,,,\"row7col7\",,,\n"
            "\"été\",,\"Ωmega\",,,,,,\n"  // the first page with room, in storage order
            ",\"row3col3\",,,,,,\"row3col9\",\n"
            ",\"row5col2\",,,,,,,\n");
  EXPECT_EQ(table_pages(path, "MSysObjects"), catalog_before);
  EXPECT_EQ(problems(path), std::vector<std::string>{});
  auto db = jet::Database::open(path);
  const auto row = db->table("Table1").read(inserted);
  ASSERT_TRUE(row.has_value());
  EXPECT_EQ((*row)[0], Value::text("été"));
  EXPECT_EQ((*row)[2], Value::text("Ωmega"));
}

TEST(TableWriter, OtherTablesStayByteIdentical) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = copy_fixture(dir, "queryTestV2000.mdb");
  const auto table2 = table_pages(path, "Table2");
  const auto table3 = table_pages(path, "Table3");
  {
    auto db = jet::WritableDatabase::open(path);
    jet::TableWriter writer = db->writer("Table1");
    for (int i = 0; i < 3; ++i)
      writer.insert({Value::text("a" + std::to_string(i)), Value::null(), Value::text("c")});
  }
  EXPECT_EQ(export_table(path, "Table1"), "col1,col2,col3\n\"a0\",,\"c\"\n\"a1\",,\"c\"\n\"a2\",,\"c\"\n");
  EXPECT_EQ(table_pages(path, "Table2"), table2);
  EXPECT_EQ(table_pages(path, "Table3"), table3);
  EXPECT_EQ(problems(path), std::vector<std::string>{});
}

TEST(TableWriter, ARowThatOutgrowsItsPageMovesAndKeepsItsId) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = copy_fixture(dir, "overflowTestV2000.mdb");
  std::vector<jet::RowId> ids;
  {
    auto db = jet::WritableDatabase::open(path);
    jet::TableWriter writer = db->writer("Table1");
    jet::Transaction t(db->pager());
    // Fill pages: rows of ~70 bytes until new pages are needed.
    for (int i = 0; i < 80; ++i) ids.push_back(writer.insert(texts({std::string(50, 'x'), "n" + std::to_string(i)})));
    ASSERT_NE(ids.front().page, ids.back().page);
    // The first inserted row grows by about 150 bytes (text that does not compress) on its
    // full page (a page leaves the free-space map when a row no longer fits): it moves.
    const jet::RowId first = ids.front();
    std::string omegas;
    for (int i = 0; i < 50; ++i) omegas += "Ω";
    writer.update(first, texts({omegas, omegas}));
    const jet::DataPage header(db->pager().read(first.page));
    EXPECT_TRUE(header.overflow(first.row));
    EXPECT_EQ(db->table("Table1").read(first)->at(1), Value::text(omegas));
    // Shrinks again where it now lives; the id still leads to it.
    writer.update(first, texts({"short", "", std::string(40, 'w')}));
    t.commit();
  }
  const std::string csv = export_table(path, "Table1");
  EXPECT_NE(csv.find("\n\"short\",,\"" + std::string(40, 'w') + "\",,,,,,\n"), std::string::npos) << csv;
  EXPECT_EQ(csv.find("Ω"), std::string::npos);
  EXPECT_NE(csv.find("\n\"" + std::string(50, 'x') + "\",\"n79\",,,,,,,\n"), std::string::npos);
  std::size_t lines = 0;
  for (char c : csv) lines += c == '\n';
  EXPECT_EQ(lines, 1u + 7u + 80u);  // header, the rows Access wrote, ours
  EXPECT_EQ(problems(path), std::vector<std::string>{});
  auto db = jet::Database::open(path);
  const auto moved = db->table("Table1").read(ids.front());
  ASSERT_TRUE(moved.has_value());
  EXPECT_EQ((*moved)[0], Value::text("short"));
  EXPECT_EQ(db->table("Table1").count_rows(), 87u);
}

TEST(TableWriter, LongValuesInlineOnOnePageAndChainedAreReadBackAndFreed) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = copy_fixture(dir, "fixedNumericTestV2000.mdb");
  auto db = jet::WritableDatabase::open(path);
  const jet::TableDef def = db->table("test").def();
  ASSERT_TRUE(def.indexes.empty());
  const jet::ColumnDef* memo = def.find_column("col1");
  ASSERT_NE(memo, nullptr);
  const std::string small = "court";
  const std::string medium(3000, 'm');
  const std::string large = [] {
    std::string s;
    for (int i = 0; i < 3000; ++i) s += "chaîne-Ω" + std::to_string(i) + ";";  // not compressible
    return s;
  }();
  auto row_with = [&](const std::string& text) {
    jet::Row row(def.columns.size(), Value::null());
    row[memo->definition_order] = Value::text(text);
    return row;
  };
  std::vector<jet::RowId> ids;
  {
    jet::TableWriter writer = db->writer("test");
    jet::Transaction t(db->pager());
    for (const std::string* text : {&small, &medium, &large}) ids.push_back(writer.insert(row_with(*text)));
    const std::size_t pages_before = db->pager().page_count();
    writer.update(ids[2], row_with(small));  // the chain is freed, nothing new allocated
    EXPECT_EQ(db->pager().page_count(), pages_before);
    writer.update(ids[0], row_with(large));
    t.commit();
  }
  const jet::Table table = db->table("test");
  EXPECT_EQ(table.read(ids[0])->at(memo->definition_order), Value::text(large));
  EXPECT_EQ(table.read(ids[1])->at(memo->definition_order), Value::text(medium));
  EXPECT_EQ(table.read(ids[2])->at(memo->definition_order), Value::text(small));
  db.reset();
  const std::string csv = export_table(path, "test");
  EXPECT_NE(csv.find(large), std::string::npos);
  EXPECT_NE(csv.find(medium), std::string::npos);
  EXPECT_EQ(problems(path), std::vector<std::string>{});
}

TEST(TableWriter, RefusedChangesWriteNothing) {
  jet_test::ScratchDir dir;
  const std::string path = copy_fixture(dir, "overflowTestV2000.mdb");
  const auto before = jet_test::read_file(path);
  {
    auto db = jet::WritableDatabase::open(path);
    jet::ColumnRules rules;
    rules.required.insert("data1");
    const jet::CatalogEntry* entry = db->catalog().find_table("Table1");
    jet::TableWriter writer(db->pager(), db->allocator(), "Table1", entry->table_page(), rules);
    // Autocommit statements: each refused one leaves the file as it was.
    EXPECT_EQ(error_of([&] { writer.insert(texts({"a", std::string(51, 'a')})); }), 3163);
    EXPECT_EQ(error_of([&] { writer.insert(texts({"a", "", "", "", "", "", "", "", std::string(51, 'a')})); }), 3163);
    jet::Row number = texts({"a"});
    number[1] = Value::long_(3);
    EXPECT_EQ(error_of([&] { writer.insert(number); }), 13);
    EXPECT_EQ(error_of([&] { writer.insert(texts({"", "b"})); }), 3314);
    EXPECT_EQ(error_of([&] { writer.insert({Value::text("a")}); }), 3251);
    EXPECT_EQ(error_of([&] { writer.remove({3, 200}); }), 3049);
    EXPECT_EQ(db->pager().depth(), 0);
    // A statement that fails half way inside a transaction: its first insert vanishes too,
    // while the transaction's own earlier insert stays.
    jet::Transaction t(db->pager());
    writer.insert(texts({"kept"}));
    try {
      jet::Statement statement(db->pager());
      writer.insert(texts({"gone"}));
      writer.insert(texts({std::string(60, 'x')}));
      statement.commit();
    } catch (const jet::Error& e) {
      EXPECT_EQ(e.number(), 3163);
    }
    std::vector<std::string> firsts;
    db->table("Table1").scan([&](jet::RowId, const jet::Row& r) {
      firsts.push_back(r[0].is_null() ? "-" : r[0].as_text());
      return true;
    });
    EXPECT_EQ(firsts, (std::vector<std::string>{"row1col1", "row2col1", "-", "row4col1", "-", "-", "row7col1", "kept"}));
    t.rollback();
  }
  EXPECT_EQ(jet_test::read_file(path), before);
}

TEST(TableWriter, ZeroLengthTextFollowsTheColumnRule) {
  jet_test::ScratchDir dir;
  const std::string path = copy_fixture(dir, "overflowTestV2000.mdb");
  auto db = jet::WritableDatabase::open(path);
  const jet::CatalogEntry* entry = db->catalog().find_table("Table1");
  jet::ColumnRules rules;
  rules.zero_length_refused.insert("data1");
  jet::TableWriter writer(db->pager(), db->allocator(), "Table1", entry->table_page(), rules);
  // data1 is the first column.
  jet::Row empty_first = texts({"", "b"});
  empty_first[0] = Value::text("");
  EXPECT_EQ(error_of([&] { writer.insert(empty_first); }), 3315);
  jet::Row empty_second = texts({"a"});
  empty_second[1] = Value::text("");
  const jet::RowId id = writer.insert(empty_second);
  EXPECT_EQ(db->table("Table1").read(id)->at(1), Value::text(""));
  EXPECT_TRUE(db->table("Table1").read(id)->at(2).is_null());
  // A writer without rules carries "" anywhere: compaction and repair write through one.
  jet::TableWriter carrier(db->pager(), db->allocator(), "Table1", entry->table_page());
  const jet::RowId carried = carrier.insert(empty_first);
  EXPECT_EQ(db->table("Table1").read(carried)->at(0), Value::text(""));
}

class RecordingHook : public jet::IndexHook {
 public:
  bool refuse = false;
  std::vector<std::string> calls;
  void check(const jet::TableDef&, const jet::Row* old_values, const jet::Row* new_values,
             std::optional<jet::RowId>) override {
    calls.push_back(std::string("check ") + (old_values ? "old" : "-") + (new_values ? "new" : "-"));
    if (refuse) throw jet::Error(jet::ErrorCode::DuplicateKey);
  }
  void apply(const jet::TableDef& def, const jet::Row*, const jet::Row* new_values, jet::RowId id) override {
    calls.push_back("apply " + std::to_string(id.page) + ":" + std::to_string(id.row));
    // The row is already readable under its id when the indexes are told.
    if (new_values) applied_row_read_back = jet::read_row(*pager, def, id) == std::optional<jet::Row>(*new_values);
  }
  bool applied_row_read_back = false;
  jet::Pager* pager = nullptr;
};

TEST(TableWriter, IndexedTablesNeedTheHookWhichCanRefuseBeforeAnythingIsWritten) {
  jet_test::ScratchDir dir;
  const std::string path = copy_fixture(dir, "indexTestV2000.mdb");
  const auto before = jet_test::read_file(path);
  auto db = jet::WritableDatabase::open(path);
  std::string indexed;
  for (const jet::CatalogEntry* e : db->catalog().tables(false))
    if (!db->table(e->name).def().indexes.empty()) { indexed = e->name; break; }
  ASSERT_FALSE(indexed.empty());
  const jet::TableDef def = db->table(indexed).def();
  jet::Row row(def.columns.size(), Value::null());
  // A writer built without any hook (the database's own writers always have one).
  jet::TableWriter bare(db->pager(), db->allocator(), indexed, def.page);
  EXPECT_EQ(error_of([&] { bare.insert(row); }), 3251);

  RecordingHook hook;
  hook.pager = &db->pager();
  hook.refuse = true;
  jet::TableWriter guarded = db->writer(indexed, &hook);
  EXPECT_EQ(error_of([&] { guarded.insert(row); }), 3022);
  EXPECT_EQ(hook.calls, (std::vector<std::string>{"check -new"}));
  db.reset();
  EXPECT_EQ(jet_test::read_file(path), before);
}

TEST(TableWriter, TheHookSeesEachChangeBeforeAndAfterItIsWritten) {
  jet_test::ScratchDir dir;
  const std::string path = copy_fixture(dir, "overflowTestV2000.mdb");
  auto db = jet::WritableDatabase::open(path);
  RecordingHook hook;
  hook.pager = &db->pager();
  jet::TableWriter writer = db->writer("Table1", &hook);
  const jet::RowId id = writer.insert(texts({"x", "y"}));
  EXPECT_TRUE(hook.applied_row_read_back);
  writer.update(id, texts({"x2", "y"}));
  writer.remove(id);
  const std::string at = std::to_string(id.page) + ":" + std::to_string(id.row);
  EXPECT_EQ(hook.calls, (std::vector<std::string>{"check -new", "apply " + at, "check oldnew", "apply " + at,
                                                  "check old-", "apply " + at}));
  hook.refuse = true;
  std::vector<jet::RowId> ids;
  db->table("Table1").scan([&](jet::RowId row, const jet::Row&) { ids.push_back(row); return true; });
  EXPECT_EQ(error_of([&] { writer.update(ids[0], texts({"no"})); }), 3022);
  EXPECT_EQ(db->table("Table1").read(ids[0])->at(0), Value::text("row1col1"));
}

}  // namespace

}  // namespace write_table_test_cases
