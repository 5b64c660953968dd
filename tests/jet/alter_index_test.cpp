// Indexes added to and dropped from tables holding rows, on copies of Access-made files:
// entries built from the rows (checked by the engine's index verifier, used by the writer),
// duplicate keys refused, and dropping what was added gives the original contents back.
#include <gtest/gtest.h>

#include <functional>

#include "jet/ddl/alter_index.h"
#include "jet/tools/diff.h"
#include "jet/base/error.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/tools/index_verify.h"
#include "jet/storage/transaction.h"
#include "jet/tools/verify.h"
#include "jet_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace alter_index_test_cases {

namespace {

using jet_test::error_of;
using jet_test::joined;
jet::IndexDesign index(const std::string& name, std::vector<std::string> columns, bool unique = false) {
  jet::IndexDesign s;
  s.name = name;
  for (auto& c : columns) s.columns.push_back({c, false});
  s.unique = unique;
  return s;
}

TEST(AlterIndex, IndexesAddedToRowsAreFilledAndDroppedWithoutTrace) {
  jet_test::ScratchDir dir;
  const std::string fixture = jet_test::fixture("compIndexTestV2000.mdb");
  const std::string copy = dir.write("a.mdb", jet_test::read_file(fixture));
  std::string first, second;
  {
    auto db = jet::WritableDatabase::open(copy);
    const jet::TableDef def = db->table("Table1").def();
    ASSERT_GE(def.columns.size(), 2u);
    first = def.columns[0].name;
    second = def.columns[1].name;
    jet::create_index(*db, "Table1", index("ByBoth", {second, first}));
    jet::create_index(*db, "Table1", index("BySecond", {second}));
  }
  EXPECT_EQ(joined(jet_test::verify_problems(copy)), "");
  auto lines = jet::diff_files(fixture, copy);
  EXPECT_EQ(lines.size(), 2u) << joined(lines);
  {
    // Rows written afterwards keep the new indexes right.
    auto db = jet::WritableDatabase::open(copy);
    jet::TableIndexHook hook(db->allocator());
    jet::Transaction tx(db->pager());
    jet::TableWriter writer = db->writer("Table1", &hook);
    std::optional<jet::RowId> any;
    db->table("Table1").scan([&](jet::RowId id, const jet::Row&) {
      any = id;
      return false;
    });
    ASSERT_TRUE(any);
    writer.remove(*any);
    tx.rollback();
  }
  EXPECT_EQ(joined(jet_test::verify_problems(copy)), "");
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::drop_index(*db, "Table1", "bysecond");
    jet::drop_index(*db, "Table1", "ByBoth");
  }
  EXPECT_EQ(joined(jet_test::verify_problems(copy)), "");
  EXPECT_EQ(joined(jet::diff_files(fixture, copy)), "");
}

TEST(AlterIndex, PrimaryKeysCanBeDroppedAndMadeAgain) {
  jet_test::ScratchDir dir;
  const std::string fixture = jet_test::fixture("indexTestV2000.mdb");
  const std::string copy = dir.write("a.mdb", jet_test::read_file(fixture));
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::drop_index(*db, "Table3", "PrimaryKey");
  }
  EXPECT_EQ(joined(jet_test::verify_problems(copy)), "");
  auto lines = jet::diff_files(fixture, copy);
  ASSERT_EQ(lines.size(), 1u) << joined(lines);
  EXPECT_NE(lines[0].find("PrimaryKey"), std::string::npos);
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::IndexDesign primary = index("PrimaryKey", {"id"});
    primary.primary = true;
    jet::create_index(*db, "Table3", primary);
    EXPECT_EQ(error_of([&] { jet::create_index(*db, "Table3", primary); }), 3284);
    primary.name = "Other";
    EXPECT_EQ(error_of([&] { jet::create_index(*db, "Table3", primary); }), 3283);
  }
  EXPECT_EQ(joined(jet_test::verify_problems(copy)), "");
  EXPECT_EQ(joined(jet::diff_files(fixture, copy)), "");
}

TEST(AlterIndex, ImpossibleIndexChangesAreRefusedWithoutWriting) {
  jet_test::ScratchDir dir;
  const std::string copy = dir.write("a.mdb", jet_test::read_file(jet_test::fixture("indexTestV2000.mdb")));
  const auto before = jet_test::read_file(copy);
  {
    auto db = jet::WritableDatabase::open(copy);
    // otherfk1 repeats in Table1's rows.
    EXPECT_EQ(error_of([&] { jet::create_index(*db, "Table1", index("U", {"otherfk1"}, true)); }), 3022);
    EXPECT_EQ(error_of([&] { jet::create_index(*db, "Table1", index("X", {"absente"})); }), 3265);
    EXPECT_EQ(error_of([&] { jet::create_index(*db, "Absente", index("X", {"id"})); }), 3078);
    EXPECT_EQ(error_of([&] { jet::drop_index(*db, "Table1", "Absent"); }), 3265);
    // A relationship relies on it.
    EXPECT_EQ(error_of([&] { jet::drop_index(*db, "Table1", "Table2Table1"); }), 3251);
  }
  EXPECT_TRUE(jet_test::read_file(copy) == before);
}

}  // namespace

}  // namespace alter_index_test_cases
