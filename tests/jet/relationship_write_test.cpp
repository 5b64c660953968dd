// Relationships written on copies of an Access-made file: rows, catalog row and the
// foreign-key indexes of both tables as Access keeps them; read back by the engine and by
// mdbtools; removing one gives the file's contents back exactly; a compaction carries it.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include "jet/tools/compact.h"
#include "jet/tools/diff.h"
#include "jet/base/error.h"
#include "jet/tools/index_verify.h"
#include "jet/ddl/relationship_write.h"
#include "jet/tools/verify.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace relationship_write_test_cases {

namespace {

using jet_test::error_of;
using jet_test::joined;
const jet::LogicalIndex* logical(const jet::TableDef& def, const std::string& name) {
  for (const auto& li : def.logical_indexes)
    if (li.name == name) return &li;
  return nullptr;
}

jet::RelationshipDesign design(std::uint32_t attributes) {
  jet::RelationshipDesign s;
  s.name = "Table2Table1Bis";
  s.table = "Table1";
  s.referenced_table = "Table2";
  s.columns = {"otherfk3"};
  s.referenced_columns = {"id"};
  s.attributes = attributes;
  return s;
}

TEST(RelationshipWrite, EnforcedRelationshipsGetForeignKeysOnBothTables) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string fixture = jet_test::fixture("indexTestV2000.mdb");
  const std::string copy = dir.write("r.mdb", jet_test::read_file(fixture));
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::create_relationship(*db, design(jet::relationship_attributes::CascadeUpdates | jet::relationship_attributes::CascadeDeletes));
  }
  EXPECT_EQ(joined(jet_test::verify_problems(copy)), "");
  auto db = jet::Database::open(copy);
  const jet::TableDef t1 = db->table("Table1").def();
  const jet::TableDef t2 = db->table("Table2").def();
  const jet::LogicalIndex* key = logical(t1, "Table2Table1Bis");
  // Table2 already had ".rC" for the first relationship: the new back index is ".rC1".
  const jet::LogicalIndex* back = logical(t2, ".rC1");
  ASSERT_NE(key, nullptr);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(key->kind, jet::IndexKind::ForeignKey);
  EXPECT_EQ(key->related_table_page, t2.page);
  EXPECT_EQ(key->related_index, static_cast<std::int32_t>(back->number));
  EXPECT_EQ(back->related_table_page, t1.page);
  EXPECT_EQ(back->related_index, static_cast<std::int32_t>(key->number));
  EXPECT_TRUE(key->cascade_updates && key->cascade_deletes && back->cascade_deletes);
  // The back index uses Table2's primary key; Table1 got an index of otherfk3, filled.
  EXPECT_EQ(back->real_index, logical(t2, "PrimaryKey")->real_index);
  const jet::IndexDef* made = t1.real_index(key->real_index);
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(t1.column_by_number(made->columns.at(0).column_number)->name, "otherfk3");
  EXPECT_EQ(t1.indexes.size(), jet::Database::open(fixture)->table("Table1").def().indexes.size() + 1);

  const auto relationships = db->catalog().relationships();
  auto r = std::find_if(relationships.begin(), relationships.end(), [](const jet::Relationship& x) { return x.name == "Table2Table1Bis"; });
  ASSERT_NE(r, relationships.end());
  EXPECT_EQ(r->columns, std::vector<std::string>{"otherfk3"});
  EXPECT_EQ(r->flags, 4352u);
  EXPECT_NE(db->catalog().find_object("Table2Table1Bis", 8), nullptr);
  // mdbtools reads the rows as Access's own, and the definitions with the new indexes.
  bool ok = false;
  const std::string rows = jet_test::run("mdb-export " + jet_test::shell_quote(copy) + " MSysRelationships 2>&1", &ok);
  EXPECT_TRUE(ok) << rows;
  EXPECT_NE(rows.find("\"Table2Table1Bis\",4352,1,0,\"Table1\",\"otherfk3\",\"Table2\",\"id\""), std::string::npos) << rows;
  const std::string schema = jet_test::run("mdb-schema --indexes --relations " + jet_test::shell_quote(copy) + " 2>&1", &ok);
  EXPECT_TRUE(ok) << schema;

  // A compaction carries it; removing it gives the original contents back.
  const std::string compacted = (dir.path() / "c.mdb").string();
  jet::compact(copy, compacted);
  EXPECT_EQ(joined(jet::diff_files(copy, compacted)), "");
  db.reset();
  {
    auto w = jet::WritableDatabase::open(copy);
    jet::delete_relationship(*w, "table2table1bis");
  }
  EXPECT_EQ(joined(jet_test::verify_problems(copy)), "");
  EXPECT_EQ(joined(jet::diff_files(fixture, copy)), "");
}

TEST(RelationshipWrite, WithoutIntegrityOnlyTheRowsAreWritten) {
  jet_test::ScratchDir dir;
  const std::string fixture = jet_test::fixture("indexTestV2000.mdb");
  const std::string copy = dir.write("r.mdb", jet_test::read_file(fixture));
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::create_relationship(*db, design(jet::relationship_attributes::NoIntegrity));
  }
  const auto lines = jet::diff_files(fixture, copy);
  ASSERT_EQ(lines.size(), 1u) << joined(lines);
  EXPECT_NE(lines[0].find("Table2Table1Bis"), std::string::npos);
  EXPECT_EQ(joined(jet_test::verify_problems(copy)), "");
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::delete_relationship(*db, "Table2Table1Bis");
  }
  EXPECT_EQ(joined(jet::diff_files(fixture, copy)), "");
}

TEST(RelationshipWrite, ImpossibleRelationshipsAreRefusedWithoutWriting) {
  jet_test::ScratchDir dir;
  const std::string copy = dir.write("r.mdb", jet_test::read_file(jet_test::fixture("indexTestV2000.mdb")));
  const auto before = jet_test::read_file(copy);
  {
    auto db = jet::WritableDatabase::open(copy);
    auto s = design(0);
    s.name = "Table2Table1";
    EXPECT_EQ(error_of([&] { jet::create_relationship(*db, s); }), 3012);
    s = design(0);
    s.referenced_table = "Absente";
    EXPECT_EQ(error_of([&] { jet::create_relationship(*db, s); }), 3078);
    s = design(0);
    s.columns = {"absente"};
    EXPECT_EQ(error_of([&] { jet::create_relationship(*db, s); }), 3265);
    // Table1.otherfk1 has no unique index: it cannot be referenced with integrity.
    s = design(0);
    s.table = "Table2";
    s.columns = {"id"};
    s.referenced_table = "Table1";
    s.referenced_columns = {"otherfk1"};
    EXPECT_EQ(error_of([&] { jet::create_relationship(*db, s); }), 3251);
    s = design(0);
    s.referenced_columns = {"id", "data"};
    EXPECT_EQ(error_of([&] { jet::create_relationship(*db, s); }), 3251);
    EXPECT_EQ(error_of([&] { jet::delete_relationship(*db, "Absente"); }), 3265);
  }
  EXPECT_TRUE(jet_test::read_file(copy) == before);
}

}  // namespace

}  // namespace relationship_write_test_cases
