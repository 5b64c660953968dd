// Columns added to and dropped from tables that hold rows, on copies of Access-made files and
// on engine-made ones: the other columns' data stay as they were for both readers (the
// engine and mdbtools), rows written before an added column read it as Null, rows written
// afterwards read back, the file stays sound, and undoing the change gives the same schema.
#include <gtest/gtest.h>

#include <algorithm>

#include "alter_column_support.h"
#include "jet/ddl/alter_column.h"
#include "jet/tools/compact.h"
#include "jet/db/create_database.h"
#include "jet/tools/diff.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/ddl/relationship_write.h"
#include "jet/storage/transaction.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace alter_column_add_drop_test_cases {

namespace {

using namespace alter_column_test;

jet::ColumnDesign column(const std::string& name, jet::ColumnType type, std::uint16_t size = 50) {
  jet::ColumnDesign c;
  c.name = name;
  c.type = type;
  c.size = size;
  return c;
}

using jet_test::joined;
const std::vector<std::pair<std::string, jet::ColumnType>> kEveryType{
    {"nText", jet::ColumnType::Text},     {"nMemo", jet::ColumnType::Memo},
    {"nOle", jet::ColumnType::Ole},       {"nBinary", jet::ColumnType::Binary},
    {"nYesNo", jet::ColumnType::Boolean}, {"nByte", jet::ColumnType::Byte},
    {"nInteger", jet::ColumnType::Integer}, {"nLong", jet::ColumnType::Long},
    {"nCurrency", jet::ColumnType::Currency}, {"nSingle", jet::ColumnType::Single},
    {"nDouble", jet::ColumnType::Double}, {"nDate", jet::ColumnType::DateTime},
    {"nGuid", jet::ColumnType::Guid},     {"nDecimal", jet::ColumnType::Numeric}};

TEST(AlterColumnAdd, EveryTypeAddedToAnAccessTableReadsNullInOldRowsAndHoldsNewOnes) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string fixture = jet_test::fixture("testV2000.mdb");
  const std::string copy = dir.write("a.mdb", jet_test::read_file(fixture));
  const std::string before = mdb_export(copy, "Table1");
  const jet::TableDef old_def = definition(copy, "Table1");
  const auto old_rows = rows_of(copy, "Table1");
  ASSERT_EQ(old_rows.size(), 2u);
  {
    auto db = jet::WritableDatabase::open(copy);
    for (const auto& [name, type] : kEveryType) jet::add_column(*db, "Table1", column(name, type, 16));
  }
  EXPECT_EQ(problems(copy), "");
  const jet::TableDef def = definition(copy, "Table1");
  ASSERT_EQ(def.columns.size(), old_def.columns.size() + kEveryType.size());
  // New numbers follow the old ones, in the order the columns were added, and go last in
  // display order.
  for (std::size_t i = 0; i < kEveryType.size(); ++i) {
    const jet::ColumnDef& c = def.columns[old_def.columns.size() + i];
    EXPECT_EQ(c.name, kEveryType[i].first);
    EXPECT_EQ(c.type, kEveryType[i].second);
    EXPECT_EQ(c.number, old_def.max_columns + i);
    EXPECT_EQ(c.display_index, old_def.columns.size() + i);
  }
  EXPECT_EQ(def.max_columns, old_def.max_columns + kEveryType.size());

  // The old columns' data are untouched for mdbtools, and both readers agree byte for byte.
  std::vector<std::string> old_names;
  for (const auto& c : old_def.columns) old_names.push_back(c.name);
  const auto after = parse_csv(mdb_export(copy, "Table1"));
  EXPECT_EQ(project(after, old_names), parse_csv(before));
  EXPECT_TRUE(same_lines(our_export(copy, "Table1"), mdb_export(copy, "Table1")));
  const std::string schema = mdb_schema(copy);
  EXPECT_NE(schema.find("[nText]\t\t\tText (16)"), std::string::npos) << schema;
  EXPECT_NE(schema.find("[nMemo]\t\t\tMemo/Hyperlink"), std::string::npos) << schema;

  // Rows written before read every new column as Null, Yes/No as No (it has no Null), in
  // the engine as in mdbtools.
  const auto rows = rows_of(copy, "Table1");
  ASSERT_EQ(rows.size(), 2u);
  for (std::size_t r = 0; r < rows.size(); ++r) {
    for (std::size_t i = 0; i < old_def.columns.size(); ++i) EXPECT_EQ(rows[r][i], old_rows[r][i]);
    for (std::size_t i = old_def.columns.size(); i < rows[r].size(); ++i)
      EXPECT_EQ(rows[r][i], def.columns[i].type == jet::ColumnType::Boolean ? jet::Value::boolean(false)
                                                                              : jet::Value::null())
          << def.columns[i].name;
  }

  // Rows written after hold the new columns.
  const std::string long_text(3000, 'm');
  {
    auto db = jet::WritableDatabase::open(copy);
    insert(*db, "Table1",
           {{"A", jet::Value::text("after")}, {"I", jet::Value::boolean(true)},
            {"nText", jet::Value::text("seize caractères")}, {"nMemo", jet::Value::text(long_text)},
            {"nOle", jet::Value::binary(std::vector<std::uint8_t>(5000, 7))},
            {"nBinary", jet::Value::binary({1, 2, 3})}, {"nYesNo", jet::Value::boolean(true)},
            {"nByte", jet::Value::byte(200)}, {"nInteger", jet::Value::integer(-12)},
            {"nLong", jet::Value::long_(123456)}, {"nCurrency", jet::Value::currency(12345)},
            {"nSingle", jet::Value::single(1.5f)}, {"nDouble", jet::Value::double_(2.25)},
            {"nDate", jet::Value::date(45000.5)}, {"nDecimal", jet::Value::long_(42)}});
  }
  EXPECT_EQ(problems(copy), "");
  const auto now = rows_of(copy, "Table1");
  ASSERT_EQ(now.size(), 3u);
  auto value = [&](const std::string& name) { return now[2][def.find_column(name)->definition_order]; };
  EXPECT_EQ(value("nText"), jet::Value::text("seize caractères"));
  EXPECT_EQ(value("nMemo"), jet::Value::text(long_text));
  EXPECT_EQ(value("nOle").as_binary().size(), 5000u);
  EXPECT_EQ(value("nYesNo"), jet::Value::boolean(true));
  EXPECT_EQ(value("nByte"), jet::Value::byte(200));
  EXPECT_EQ(value("nLong"), jet::Value::long_(123456));
  EXPECT_EQ(value("nDouble"), jet::Value::double_(2.25));
  EXPECT_EQ(value("nGuid"), jet::Value::null());
  EXPECT_TRUE(same_lines(our_export(copy, "Table1"), mdb_export(copy, "Table1")));

  // Undone: the new row removed and the columns dropped give back what Access made.
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::TableIndexHook hook(db->allocator());
    jet::TableWriter writer = db->writer("Table1", &hook);
    std::optional<jet::RowId> last;
    db->table("Table1").scan([&](jet::RowId id, const jet::Row&) {
      last = id;
      return true;
    });
    ASSERT_TRUE(last);
    writer.remove(*last);
    for (auto it = kEveryType.rbegin(); it != kEveryType.rend(); ++it) jet::drop_column(*db, "Table1", it->first);
  }
  EXPECT_EQ(problems(copy), "");
  EXPECT_EQ(joined(jet::diff_files(fixture, copy)), "");
  EXPECT_EQ(mdb_export(copy, "Table1"), before);
  // The numbers stay used: the definition still counts every column it ever had.
  EXPECT_EQ(definition(copy, "Table1").max_columns, old_def.max_columns + kEveryType.size());
}

TEST(AlterColumnDrop, MemoColumnLeavesOtherDataAndCompactsToTheSameContents) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string copy = dir.write("a.mdb", jet_test::read_file(jet_test::fixture("test2V2000.mdb")));
  const jet::TableDef def = definition(copy, "MSP_PROJECTS");
  std::vector<std::string> memos, kept;
  for (const auto& c : def.columns) (c.type == jet::ColumnType::Memo ? memos : kept).push_back(c.name);
  ASSERT_GE(memos.size(), 2u);
  const std::string dropped = memos[0];
  for (std::size_t i = 1; i < memos.size(); ++i) kept.push_back(memos[i]);
  const auto before = parse_csv(mdb_export(copy, "MSP_PROJECTS"));
  {
    auto db = jet::WritableDatabase::open(copy);
    bool indexed = false;
    const jet::ColumnDef* c = def.find_column(dropped);
    for (const auto& index : def.indexes)
      for (const auto& ic : index.columns) indexed |= ic.column_number == c->number;
    ASSERT_FALSE(indexed);
    jet::drop_column(*db, "MSP_PROJECTS", dropped);
    EXPECT_EQ(error_of([&] { jet::drop_column(*db, "MSP_PROJECTS", dropped); }), 3265);
  }
  EXPECT_EQ(problems(copy), "");
  const auto after = parse_csv(mdb_export(copy, "MSP_PROJECTS"));
  const auto columns = after.at(0);
  EXPECT_EQ(std::count(columns.begin(), columns.end(), dropped), 0);
  EXPECT_EQ(columns.size(), before.at(0).size() - 1);
  EXPECT_EQ(project(after, kept), project(before, kept));
  EXPECT_EQ(mdb_schema(copy).find("[" + dropped + "]"), std::string::npos);
  EXPECT_TRUE(same_lines(our_export(copy, "MSP_PROJECTS"), mdb_export(copy, "MSP_PROJECTS")));
  // Its property block went with it.
  {
    auto db = jet::Database::open(copy);
    const jet::CatalogEntry* entry = db->catalog().find_table("MSP_PROJECTS");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->property_set().column(dropped), nullptr);
  }

  // Compaction closes the gap and keeps everything else.
  const std::string compacted = (dir.path() / "c.mdb").string();
  jet::compact(copy, compacted);
  EXPECT_EQ(problems(compacted), "");
  EXPECT_EQ(joined(jet::diff_files(copy, compacted)), "");
  const jet::TableDef closed = definition(compacted, "MSP_PROJECTS");
  EXPECT_EQ(closed.max_columns, closed.columns.size());
}

// An engine-made table: a variable column dropped from the middle and the last (fixed)
// column dropped, others added, rows written at each stage; every row reads right in both
// readers. A number or an offset given again would show the dropped data in old rows.
TEST(AlterColumnAdd, GapsInNumbersAndVariableSlotsReadAndWriteInBothReaders) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "made.mdb").string();
  jet::create_database(path);
  {
    auto db = jet::WritableDatabase::open(path);
    jet::TableDesign design;
    design.name = "Gaps";
    design.columns = {column("Id", jet::ColumnType::Long), column("First", jet::ColumnType::Text, 20),
                      column("Middle", jet::ColumnType::Text, 20), column("Last", jet::ColumnType::Text, 20),
                      column("Flag", jet::ColumnType::Boolean), column("Amount", jet::ColumnType::Double)};
    db->create_table(design);
    insert(*db, "Gaps", {{"Id", jet::Value::long_(1)}, {"First", jet::Value::text("un")},
                         {"Middle", jet::Value::text("milieu")}, {"Amount", jet::Value::double_(1.5)},
                         {"Last", jet::Value::text("fin")}, {"Flag", jet::Value::boolean(true)}});
    jet::drop_column(*db, "Gaps", "Middle");
    jet::drop_column(*db, "Gaps", "Amount");
    insert(*db, "Gaps", {{"Id", jet::Value::long_(2)}, {"First", jet::Value::text("deux")},
                         {"Last", jet::Value::text("dernier")}, {"Flag", jet::Value::boolean(false)}});
    jet::add_column(*db, "Gaps", column("Count", jet::ColumnType::Integer));
    jet::add_column(*db, "Gaps", column("Note", jet::ColumnType::Text, 30));
    insert(*db, "Gaps", {{"Id", jet::Value::long_(3)}, {"First", jet::Value::text("trois")},
                         {"Last", jet::Value::text("à la fin")}, {"Flag", jet::Value::boolean(true)},
                         {"Note", jet::Value::text("noté")}, {"Count", jet::Value::integer(7)}});
  }
  EXPECT_EQ(problems(path), "");
  const jet::TableDef def = definition(path, "Gaps");
  const jet::ColumnDef* note = def.find_column("Note");
  const jet::ColumnDef* count = def.find_column("Count");
  ASSERT_TRUE(note && count);
  // Numbers and slots are never given again: Middle was number 2 and slot 1, Amount the
  // last number (5); its offset is free again, no row written since holding it.
  EXPECT_EQ(count->number, 6);
  EXPECT_EQ(note->number, 7);
  EXPECT_EQ(note->var_index, 3);
  EXPECT_EQ(def.find_column("Last")->var_index, 2);
  EXPECT_EQ(count->fixed_offset, 4);
  EXPECT_EQ(def.max_columns, 8);
  EXPECT_EQ(def.variable_columns, 4);

  const std::string expected =
      "Id,First,Last,Flag,Count,Note\n"
      "1,\"un\",\"fin\",1,,\n"
      "2,\"deux\",\"dernier\",0,,\n"
      "3,\"trois\",\"à la fin\",1,7,\"noté\"\n";
  EXPECT_EQ(mdb_export(path, "Gaps"), expected);
  EXPECT_EQ(our_export(path, "Gaps"), expected);

  // Compaction renumbers without gaps and keeps the rows.
  const std::string compacted = (dir.path() / "c.mdb").string();
  jet::compact(path, compacted);
  EXPECT_EQ(problems(compacted), "");
  EXPECT_EQ(mdb_export(compacted, "Gaps"), expected);
  EXPECT_EQ(joined(jet::diff_files(path, compacted)), "");
}

TEST(AlterColumnAdd, PositionPropertiesAndRefusals) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string copy = dir.write("a.mdb", jet_test::read_file(jet_test::fixture("indexTestV2000.mdb")));
  const auto pristine = jet_test::read_file(copy);
  {
    auto db = jet::WritableDatabase::open(copy);
    EXPECT_EQ(error_of([&] { jet::add_column(*db, "Table1", column("DATA", jet::ColumnType::Long)); }), 3191);
    EXPECT_EQ(error_of([&] { jet::add_column(*db, "Nowhere", column("x", jet::ColumnType::Long)); }), 3078);
    EXPECT_EQ(error_of([&] { jet::add_column(*db, "Table1", column("bad.name", jet::ColumnType::Long)); }), 3125);
    EXPECT_EQ(error_of([&] { jet::add_column(*db, "Table1", column("wide", jet::ColumnType::Text, 256)); }), 3251);
    jet::ColumnDesign counter = column("Counter", jet::ColumnType::Long);
    counter.autonumber = true;
    EXPECT_EQ(error_of([&] { jet::add_column(*db, "Table1", counter); }), 3251);  // rows already there
  }
  EXPECT_EQ(jet_test::read_file(copy), pristine);

  {
    auto db = jet::WritableDatabase::open(copy);
    jet::ColumnDesign code = column("Code", jet::ColumnType::Text, 3);
    code.default_value = "\"000\"";
    code.description = "Code de l'agent";
    jet::add_column(*db, "Table1", code, 1);
    const auto props = jet::column_properties(*db, "Table1", "code");
    auto find = [&](const std::string& name) -> const jet::ColumnProperty* {
      for (const auto& p : props)
        if (p.name == name) return &p;
      return nullptr;
    };
    ASSERT_TRUE(find("OrdinalPosition") && find("DefaultValue") && find("Description") && find("Size"));
    EXPECT_EQ(find("OrdinalPosition")->value.to_int64(), 1);
    EXPECT_EQ(find("Size")->value.to_int64(), 3);
    EXPECT_EQ(find("DefaultValue")->value, jet::Value::text("\"000\""));
    EXPECT_EQ(find("Description")->value, jet::Value::text("Code de l'agent"));
  }
  EXPECT_EQ(problems(copy), "");
  const jet::TableDef def = definition(copy, "Table1");
  EXPECT_EQ(display_order(def), (std::vector<std::string>{"id", "Code", "otherfk1", "otherfk2", "data", "otherfk3"}));
  // mdbtools lists columns by number: the new one last.
  EXPECT_EQ(mdb_columns(copy, "Table1").back(), "Code");
  // Dropping it gives the file's schema back.
  {
    auto db = jet::WritableDatabase::open(copy);
    jet::drop_column(*db, "Table1", "Code");
  }
  EXPECT_EQ(joined(jet::diff_files(jet_test::fixture("indexTestV2000.mdb"), copy)), "");
  EXPECT_EQ(display_order(definition(copy, "Table1")),
            (std::vector<std::string>{"id", "otherfk1", "otherfk2", "data", "otherfk3"}));
}

TEST(AlterColumnDrop, ColumnsInUseAreRefusedAndTheFileStaysByteIdentical) {
  jet_test::ScratchDir dir;
  const std::string copy = dir.write("a.mdb", jet_test::read_file(jet_test::fixture("indexTestV2000.mdb")));
  const auto pristine = jet_test::read_file(copy);
  {
    auto db = jet::WritableDatabase::open(copy);
    EXPECT_EQ(error_of([&] { jet::drop_column(*db, "Table1", "id"); }), 3280);        // primary key
    EXPECT_EQ(error_of([&] { jet::drop_column(*db, "Table1", "otherfk1"); }), 3280);  // relationship
    EXPECT_EQ(error_of([&] { jet::drop_column(*db, "Table2", "id"); }), 3280);        // referenced
    EXPECT_EQ(error_of([&] { jet::drop_column(*db, "Table1", "nothing"); }), 3265);
    EXPECT_EQ(error_of([&] { jet::drop_column(*db, "None", "id"); }), 3078);
  }
  EXPECT_EQ(jet_test::read_file(copy), pristine);

  // A relationship without integrity has no index, yet still holds its columns.
  const std::string path = (dir.path() / "made.mdb").string();
  jet::create_database(path);
  {
    auto db = jet::WritableDatabase::open(path);
    jet::TableDesign parent;
    parent.name = "Parent";
    parent.columns = {column("Key", jet::ColumnType::Long), column("Label", jet::ColumnType::Text)};
    db->create_table(parent);
    jet::TableDesign child;
    child.name = "Child";
    child.columns = {column("Ref", jet::ColumnType::Long), column("Other", jet::ColumnType::Text)};
    db->create_table(child);
    jet::RelationshipDesign link;
    link.name = "ParentChild";
    link.table = "Child";
    link.referenced_table = "Parent";
    link.columns = {"Ref"};
    link.referenced_columns = {"Key"};
    link.attributes = jet::relationship_attributes::NoIntegrity;
    jet::create_relationship(*db, link);
  }
  const auto made = jet_test::read_file(path);
  {
    auto db = jet::WritableDatabase::open(path);
    EXPECT_EQ(error_of([&] { jet::drop_column(*db, "Child", "Ref"); }), 3280);
    EXPECT_EQ(error_of([&] { jet::drop_column(*db, "Parent", "key"); }), 3280);
    // Inside a transaction the refused statement leaves the earlier one alone.
    jet::Transaction tx(db->pager());
    jet::drop_column(*db, "Child", "Other");
    EXPECT_EQ(error_of([&] { jet::drop_column(*db, "Child", "Ref"); }), 3280);
    EXPECT_EQ(db->table("Child").def().find_column("Other"), nullptr);
    tx.rollback();
  }
  EXPECT_EQ(jet_test::read_file(path), made);
}

}  // namespace

}  // namespace alter_column_add_drop_test_cases
