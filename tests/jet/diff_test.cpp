// Database comparison: copies compare equal; each kind of change made to a copy of an
// Access-made file (rows, long values, catalog properties, query and relationship
// attributes, autonumber) is reported once, naming what changed.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "jet/tools/diff.h"
#include "jet/base/error.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/record/properties.h"
#include "jet/storage/transaction.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace diff_test_cases {

namespace {

using jet::Value;

using jet_test::joined;
bool mentions(const std::vector<std::string>& lines, std::initializer_list<std::string> words) {
  return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
    return std::all_of(words.begin(), words.end(), [&](const std::string& w) { return line.find(w) != std::string::npos; });
  });
}

// Runs `change` on the table's row for which `pick` holds, inside one committed transaction.
void change_row(const std::string& path, const std::string& table,
                const std::function<bool(const jet::Row&)>& pick,
                const std::function<void(jet::TableWriter&, jet::RowId, jet::Row)>& change) {
  auto db = jet::WritableDatabase::open(path);
  jet::TableIndexHook hook(db->allocator());
  jet::Transaction tx(db->pager());
  jet::TableWriter writer = db->writer(table, &hook);
  std::optional<std::pair<jet::RowId, jet::Row>> found;
  db->table(table).scan([&](jet::RowId id, const jet::Row& row) {
    if (!pick(row)) return true;
    found = {id, row};
    return false;
  });
  ASSERT_TRUE(found) << "no row picked in " << table;
  change(writer, found->first, found->second);
  tx.commit();
}

std::size_t column(const std::string& path, const std::string& table, const std::string& name) {
  auto db = jet::Database::open(path);
  const jet::TableDef def = db->table(table).def();
  const jet::ColumnDef* c = def.find_column(name);
  EXPECT_NE(c, nullptr) << name;
  return c ? c->definition_order : 0;
}

TEST(Diff, EveryFixtureEqualsItsCopyAndDiffersFromAnother) {
  jet_test::ScratchDir dir;
  for (const auto& name : jet_test::all_fixtures()) {
    SCOPED_TRACE(name);
    const std::string path = jet_test::fixture(name);
    const std::string copy = dir.write("copy.mdb", jet_test::read_file(path));
    jet::DiffOptions options;
    options.column_numbers = true;
    EXPECT_EQ(joined(jet::diff_files(path, copy, options)), "");
  }
  const auto lines = jet::diff_files(jet_test::fixture("indexTestV2000.mdb"), jet_test::fixture("queryTestV2000.mdb"));
  EXPECT_TRUE(mentions(lines, {"Table1", "« otherfk1 »", "première"})) << joined(lines);
  EXPECT_TRUE(mentions(lines, {"Table1", "« col1 »", "seconde"})) << joined(lines);
  EXPECT_TRUE(mentions(lines, {"relation", "Table2Table1", "première"})) << joined(lines);
  EXPECT_TRUE(mentions(lines, {"requête", "SelectQuery", "seconde"})) << joined(lines);
}

TEST(Diff, RowChangesAreMatchedByPrimaryKey) {
  jet_test::ScratchDir dir;
  const std::string original = jet_test::fixture("indexTestV2000.mdb");
  const std::string changed = copy_fixture(dir, "indexTestV2000.mdb");
  const std::size_t id = column(changed, "Table1", "id");
  const std::size_t data = column(changed, "Table1", "data");
  auto is = [&](int n) { return [=](const jet::Row& r) { return r[id] == Value::long_(n); }; };

  change_row(changed, "Table1", is(2), [&](jet::TableWriter& w, jet::RowId at, jet::Row row) {
    row[data] = Value::text("changed");
    w.update(at, row);
  });
  auto lines = jet::diff_files(original, changed);
  ASSERT_EQ(lines.size(), 1u) << joined(lines);
  EXPECT_TRUE(mentions(lines, {"Table1", "(2)", "« data »", "'baz11-2'", "'changed'"})) << joined(lines);

  // A removed row and a new one are each reported by key, with the count; unchanged rows
  // (stored elsewhere after the removal) still match.
  change_row(changed, "Table1", is(1), [](jet::TableWriter& w, jet::RowId at, jet::Row) { w.remove(at); });
  change_row(changed, "Table1", is(3), [&](jet::TableWriter& w, jet::RowId, jet::Row row) {
    row[id] = Value::long_(1000);
    w.insert(row);
  });
  lines = jet::diff_files(original, changed);
  EXPECT_EQ(lines.size(), 3u) << joined(lines);
  EXPECT_TRUE(mentions(lines, {"Table1", "clé (1)", "première"})) << joined(lines);
  EXPECT_TRUE(mentions(lines, {"Table1", "clé (1000)", "seconde"})) << joined(lines);
  // Swapping the operands swaps the sides.
  const auto reversed = jet::diff_files(changed, original);
  EXPECT_TRUE(mentions(reversed, {"Table1", "clé (1)", "seconde"})) << joined(reversed);
}

TEST(Diff, TablesWithoutPrimaryKeyAreComparedInStorageOrder) {
  jet_test::ScratchDir dir;
  const std::string original = jet_test::fixture("delTestV2000.mdb");
  const std::string changed = copy_fixture(dir, "delTestV2000.mdb");
  const std::size_t b = column(changed, "Table", "b");
  change_row(changed, "Table", [](const jet::Row&) { return true; }, [&](jet::TableWriter& w, jet::RowId at, jet::Row row) {
    row[b] = Value::null();
    w.update(at, row);
  });
  const auto lines = jet::diff_files(original, changed);
  ASSERT_EQ(lines.size(), 1u) << joined(lines);
  EXPECT_TRUE(mentions(lines, {"Table", "ligne 1", "« b »", "Null"})) << joined(lines);
}

TEST(Diff, LongValuesAndAutonumbersAreCompared) {
  jet_test::ScratchDir dir;
  // A Memo value of the one project row replaced by one long enough for its own pages.
  const std::string original = jet_test::fixture("test2V2000.mdb");
  const std::string changed = copy_fixture(dir, "test2V2000.mdb");
  const std::size_t memo = column(changed, "MSP_PROJECTS", "PROJ_PROP_AUTHOR");
  change_row(changed, "MSP_PROJECTS", [](const jet::Row&) { return true; }, [&](jet::TableWriter& w, jet::RowId at, jet::Row row) {
    row[memo] = Value::text(std::string(5000, 'x'));
    w.update(at, row);
  });
  auto lines = jet::diff_files(original, changed);
  ASSERT_EQ(lines.size(), 1u) << joined(lines);
  EXPECT_TRUE(mentions(lines, {"MSP_PROJECTS", "PROJ_PROP_AUTHOR", "xxxx", "5000 car."})) << joined(lines);

  // Inserting then removing a row leaves the rows equal but moves the next autonumber.
  const std::string counter = copy_fixture(dir, "testV2000.mdb", "counter.mdb");
  std::string auto_table;
  {
    auto w = jet::WritableDatabase::open(counter);
    for (const auto& name : jet::Database::open(jet_test::fixture("testV2000.mdb"))->table_names()) {
      const jet::TableDef def = w->table(name).def();
      for (const auto& c : def.columns)
        if (c.is_autonumber() && auto_table.empty()) auto_table = name;
    }
    ASSERT_FALSE(auto_table.empty());
    jet::TableIndexHook hook(w->allocator());
    jet::Transaction tx(w->pager());
    jet::TableWriter writer = w->writer(auto_table, &hook);
    const jet::Row nulls(w->table(auto_table).def().columns.size(), Value::null());
    writer.remove(writer.insert(nulls));
    tx.commit();
  }
  lines = jet::diff_files(jet_test::fixture("testV2000.mdb"), counter);
  ASSERT_EQ(lines.size(), 1u) << joined(lines);
  EXPECT_TRUE(mentions(lines, {auto_table, "prochain numéro automatique"})) << joined(lines);
}

TEST(Diff, CatalogChangesAreReported) {
  jet_test::ScratchDir dir;
  const std::string original = jet_test::fixture("queryTestV2000.mdb");
  const std::string changed = copy_fixture(dir, "queryTestV2000.mdb");
  const std::size_t name = column(changed, "MSysObjects", "Name");
  const std::size_t flags = column(changed, "MSysObjects", "Flags");
  const std::size_t blob = column(changed, "MSysObjects", "LvProp");

  // A column property added to Table1's blob.
  change_row(changed, "MSysObjects", [&](const jet::Row& r) { return r[name] == Value::text("Table1"); },
             [&](jet::TableWriter& w, jet::RowId at, jet::Row row) {
               jet::PropertySet set = row[blob].is_null() ? jet::PropertySet{} : jet::parse_properties(row[blob].as_binary());
               set.column_block("col1").set("Description", Value::text("ajoutée"));
               row[blob] = Value::binary(jet::encode_properties(set));
               w.update(at, row);
             });
  auto lines = jet::diff_files(original, changed);
  ASSERT_EQ(lines.size(), 1u) << joined(lines);
  EXPECT_TRUE(mentions(lines, {"Table « Table1 »", "« col1 »", "« Description »", "seconde"})) << joined(lines);

  // A saved query's object flags.
  change_row(changed, "MSysObjects", [&](const jet::Row& r) { return r[name] == Value::text("SelectQuery"); },
             [&](jet::TableWriter& w, jet::RowId at, jet::Row row) {
               row[flags] = Value::long_(static_cast<std::int32_t>(row[flags].to_int64() ^ 0x10));
               w.update(at, row);
             });
  lines = jet::diff_files(original, changed);
  EXPECT_EQ(lines.size(), 2u) << joined(lines);
  EXPECT_TRUE(mentions(lines, {"Requête « SelectQuery »", "attributs"})) << joined(lines);
}

TEST(Diff, RelationshipAttributesAndQueryTextAreReported) {
  jet_test::ScratchDir dir;
  const std::string original = jet_test::fixture("indexTestV2000.mdb");
  const std::string changed = copy_fixture(dir, "indexTestV2000.mdb");
  const std::size_t rel = column(changed, "MSysRelationships", "szRelationship");
  const std::size_t grbit = column(changed, "MSysRelationships", "grbit");
  change_row(changed, "MSysRelationships", [&](const jet::Row& r) { return r[rel] == Value::text("Table3Table1"); },
             [&](jet::TableWriter& w, jet::RowId at, jet::Row row) {
               row[grbit] = Value::long_(2);
               w.update(at, row);
             });
  auto lines = jet::diff_files(original, changed);
  ASSERT_EQ(lines.size(), 1u) << joined(lines);
  EXPECT_TRUE(mentions(lines, {"Relation « Table3Table1 »", "« 256 »", "« 2 »"})) << joined(lines);

  const std::string queries = copy_fixture(dir, "queryTestV2000.mdb", "queries.mdb");
  const std::size_t expression = column(queries, "MSysQueries", "Expression");
  change_row(queries, "MSysQueries", [&](const jet::Row& r) { return r[expression] == Value::text("Table1.col1"); },
             [&](jet::TableWriter& w, jet::RowId at, jet::Row row) {
               row[expression] = Value::text("Table1.col9");
               w.update(at, row);
             });
  lines = jet::diff_files(jet_test::fixture("queryTestV2000.mdb"), queries);
  ASSERT_FALSE(lines.empty());
  EXPECT_TRUE(mentions(lines, {"Requête", "SQL", "Table1.col9"})) << joined(lines);
}

TEST(Diff, UnreadableFilesAreRefusedWithTheEngineError) {
  jet_test::ScratchDir dir;
  const std::string junk = dir.write("junk.mdb", std::vector<std::uint8_t>(4096, 0x41));
  try {
    jet::diff_files(jet_test::fixture("emptyV2000.mdb"), junk);
    FAIL() << "a file that is not a database was compared";
  } catch (const jet::Error& e) {
    EXPECT_TRUE(e.number() == 3343 || e.number() == 3049) << e.number();
  }
}

}  // namespace

}  // namespace diff_test_cases
