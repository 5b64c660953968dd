// Columns changed in place on tables holding rows: renames carry indexes, relationships and
// properties; sizes, Required and AllowZeroLength are checked against the stored values
// first (a refusal leaves the file byte-identical); positions move in display order only.
#include <gtest/gtest.h>

#include "alter_column_support.h"
#include "jet/ddl/alter_column.h"
#include "jet/catalog/catalog.h"
#include "jet/db/database.h"
#include "jet/tools/diff.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/storage/transaction.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace alter_column_change_test_cases {

namespace {

using namespace alter_column_test;

using jet_test::joined;
const jet::ColumnProperty* find(const std::vector<jet::ColumnProperty>& props, const std::string& name) {
  for (const auto& p : props)
    if (p.name == name) return &p;
  return nullptr;
}

jet::ColumnChange change_of(std::optional<std::uint16_t> size, std::optional<bool> required,
                            std::optional<bool> zero_length, std::optional<std::uint16_t> position) {
  jet::ColumnChange c;
  c.size = size;
  c.required = required;
  c.allow_zero_length = zero_length;
  c.ordinal_position = position;
  return c;
}

std::vector<jet::Relationship> relationships(const std::string& path) {
  auto db = jet::Database::open(path);
  return db->catalog().relationships();
}

TEST(AlterColumnRename, IndexesRelationshipsAndPropertiesFollowAndRenamingBackRestores) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string fixture = jet_test::fixture("indexTestV2000.mdb");
  const std::string copy = dir.write("a.mdb", jet_test::read_file(fixture));
  const std::string before = mdb_export(copy, "Table1");
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::ColumnChange change;
    change.name = "fkUn";
    change.properties.push_back({"Description", jet::Value::text("clé étrangère")});
    jet::alter_column(*db, "Table1", "otherfk1", change);
    jet::ColumnChange referenced;
    referenced.name = "Ident";
    jet::alter_column(*db, "Table2", "ID", referenced);
    EXPECT_EQ(find(jet::column_properties(*db, "Table1", "fkun"), "Description")->value,
              jet::Value::text("clé étrangère"));
    EXPECT_EQ(error_of([&] { jet::column_properties(*db, "Table1", "otherfk1"); }), 3265);
  }
  EXPECT_EQ(problems(copy), "");
  // mdbtools sees the new names and the same data.
  auto header = parse_csv(before);
  header[0][1] = "fkUn";
  EXPECT_EQ(parse_csv(mdb_export(copy, "Table1")), header);
  EXPECT_NE(mdb_schema(copy).find("[Ident]"), std::string::npos);
  // MSysRelationships names the columns by their new names, on both sides.
  bool seen = false;
  for (const auto& r : relationships(copy)) {
    if (r.name != "Table2Table1") continue;
    seen = true;
    EXPECT_EQ(r.columns, std::vector<std::string>{"fkUn"});
    EXPECT_EQ(r.referenced_columns, std::vector<std::string>{"Ident"});
  }
  EXPECT_TRUE(seen);
  {
    // Still refused for the relationship under its new name; the old name is gone.
    auto db = jet::WritableDatabase::open(copy);
    EXPECT_EQ(error_of([&] { jet::drop_column(*db, "Table1", "fkun"); }), 3280);
    EXPECT_EQ(error_of([&] { jet::drop_column(*db, "Table1", "otherfk1"); }), 3265);
    jet::ColumnChange taken;
    taken.name = "DATA";
    EXPECT_EQ(error_of([&] { jet::alter_column(*db, "Table1", "fkUn", taken); }), 3191);
    // Rows written after the rename keep the indexes right (checked by the verifier below).
    insert(*db, "Table1", {{"id", jet::Value::long_(50)}, {"fkUn", jet::Value::long_(2)},
                           {"otherfk2", jet::Value::long_(13)}, {"data", jet::Value::text("nouveau")}});
  }
  EXPECT_EQ(problems(copy), "");
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::TableIndexHook hook(db->allocator());
    jet::TableWriter writer = db->writer("Table1", &hook);
    std::optional<jet::RowId> last;
    db->table("Table1").scan([&](jet::RowId id, const jet::Row&) {
      last = id;
      return true;
    });
    writer.remove(*last);
    jet::ColumnChange back;
    back.name = "otherfk1";
    back.properties.push_back({"Description", jet::Value::null()});
    jet::alter_column(*db, "Table1", "fkUn", back);
    back.name = "id";
    back.properties.clear();
    jet::alter_column(*db, "Table2", "Ident", back);
  }
  EXPECT_EQ(problems(copy), "");
  EXPECT_EQ(joined(jet::diff_files(fixture, copy)), "");
  EXPECT_EQ(mdb_export(copy, "Table1"), before);
}

TEST(AlterColumnChange, SizeRequiredAndZeroLengthAreCheckedAgainstStoredValues) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string copy = dir.write("a.mdb", jet_test::read_file(jet_test::fixture("indexTestV2000.mdb")));
  {
    // A zero-length text and a Null to check against.
    auto db = jet::WritableDatabase::open(copy);
    insert(*db, "Table3", {{"id", jet::Value::long_(90)}, {"data", jet::Value::text("")}});
    insert(*db, "Table1", {{"id", jet::Value::long_(91)}, {"otherfk1", jet::Value::long_(0)},
                           {"otherfk2", jet::Value::long_(10)}});
  }
  const auto pristine = jet_test::read_file(copy);
  const std::string schema = mdb_schema(copy);
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::ColumnChange small;
    small.size = 6;  // "baz11-2" holds 7 characters
    EXPECT_EQ(error_of([&] { jet::alter_column(*db, "Table1", "data", small); }), 3163);
    jet::ColumnChange required;
    required.required = true;  // the row of id 91 has no data
    EXPECT_EQ(error_of([&] { jet::alter_column(*db, "Table1", "data", required); }), 3314);
    jet::ColumnChange no_empty;
    no_empty.allow_zero_length = false;
    EXPECT_EQ(error_of([&] { jet::alter_column(*db, "Table3", "data", no_empty); }), 3315);
    jet::ColumnChange on_number;
    on_number.size = 10;
    EXPECT_EQ(error_of([&] { jet::alter_column(*db, "Table1", "otherfk3", on_number); }), 3219);
    jet::ColumnChange engine_kept;
    engine_kept.properties.push_back({"Type", jet::Value::integer(4)});
    EXPECT_EQ(error_of([&] { jet::alter_column(*db, "Table1", "data", engine_kept); }), 3219);
    // A refused change after an accepted one in the same statement sequence: only the
    // accepted one stays.
    jet::Transaction tx(db->pager());
    jet::ColumnChange fine;
    fine.size = 7;
    jet::alter_column(*db, "Table1", "data", fine);
    EXPECT_EQ(error_of([&] { jet::alter_column(*db, "Table1", "data", required); }), 3314);
    EXPECT_EQ(db->table("Table1").def().find_column("data")->length, 14);
    tx.rollback();
  }
  EXPECT_EQ(jet_test::read_file(copy), pristine);
  EXPECT_EQ(mdb_schema(copy), schema);

  {
    auto db = jet::WritableDatabase::open(copy);
    jet::alter_column(*db, "Table1", "otherfk2", change_of({}, true, {}, {}));
    jet::alter_column(*db, "Table1", "data", change_of(7, {}, {}, {}));
    jet::alter_column(*db, "Table3", "data", change_of(100, {}, true, {}));
    const auto props = jet::column_properties(*db, "Table1", "data");
    EXPECT_EQ(find(props, "Size")->value.to_int64(), 7);
    EXPECT_TRUE(find(props, "Size")->settable);
    EXPECT_FALSE(find(props, "Type")->settable);
    EXPECT_EQ(find(props, "Type")->value.to_int64(), 10);
    EXPECT_EQ(find(jet::column_properties(*db, "Table1", "otherfk2"), "Required")->value, jet::Value::boolean(true));
    // The writer applies the new rules.
    EXPECT_EQ(error_of([&] {
                insert(*db, "Table1", {{"id", jet::Value::long_(92)}, {"otherfk1", jet::Value::long_(0)},
                                       {"otherfk2", jet::Value::long_(10)}, {"data", jet::Value::text("huit car")}});
              }),
              3163);
    EXPECT_EQ(error_of([&] {
                insert(*db, "Table1", {{"id", jet::Value::long_(93)}, {"otherfk1", jet::Value::long_(0)}});
              }),
              3314);
    insert(*db, "Table1", {{"id", jet::Value::long_(94)}, {"otherfk1", jet::Value::long_(0)},
                           {"otherfk2", jet::Value::long_(10)}, {"data", jet::Value::text("sept ca")}});
  }
  EXPECT_EQ(problems(copy), "");
  const std::string changed = mdb_schema(copy);
  EXPECT_NE(changed.find("[data]\t\t\tText (7)"), std::string::npos) << changed;
  EXPECT_NE(changed.find("[data]\t\t\tText (100)"), std::string::npos) << changed;
  EXPECT_NE(mdb_export(copy, "Table1").find("94,0,10,\"sept ca\""), std::string::npos);
  EXPECT_TRUE(same_lines(our_export(copy, "Table1"), mdb_export(copy, "Table1")));
}

TEST(AlterColumnChange, OrdinalPositionsMoveInDisplayOrderOnly) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string fixture = jet_test::fixture("testV2000.mdb");
  const std::string copy = dir.write("a.mdb", jet_test::read_file(fixture));
  const std::string data = mdb_export(copy, "Table1");
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::alter_column(*db, "Table1", "E", change_of({}, {}, {}, 0));
    jet::alter_column(*db, "Table1", "A", change_of({}, {}, {}, 200));  // past the end: last
    EXPECT_EQ(find(jet::column_properties(*db, "Table1", "E"), "OrdinalPosition")->value.to_int64(), 0);
    EXPECT_EQ(find(jet::column_properties(*db, "Table1", "A"), "OrdinalPosition")->value.to_int64(), 8);
  }
  EXPECT_EQ(problems(copy), "");
  EXPECT_EQ(display_order(definition(copy, "Table1")),
            (std::vector<std::string>{"E", "B", "C", "D", "F", "G", "H", "I", "A"}));
  EXPECT_EQ(mdb_export(copy, "Table1"), data);  // numbers, hence rows, unchanged
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::alter_column(*db, "Table1", "A", change_of({}, {}, {}, 0));
    jet::ColumnChange by_name;
    by_name.properties.push_back({"OrdinalPosition", jet::Value::integer(4)});
    jet::alter_column(*db, "Table1", "E", by_name);
  }
  EXPECT_EQ(display_order(definition(copy, "Table1")),
            (std::vector<std::string>{"A", "B", "C", "D", "E", "F", "G", "H", "I"}));
  EXPECT_EQ(joined(jet::diff_files(fixture, copy)), "");
}

}  // namespace

}  // namespace alter_column_change_test_cases
