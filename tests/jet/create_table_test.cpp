// Tables created from a design: what mdbtools and the engine read back (columns, types, sizes,
// indexes, properties), rows written through the index-maintaining writer, refusals.
#include <gtest/gtest.h>

#include <functional>

#include "jet/catalog/catalog_write.h"
#include "jet/db/create_database.h"
#include "jet/db/create_table.h"
#include "jet/base/error.h"
#include "jet/btree/index_cursor.h"
#include "jet/btree/index_row_key.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/tools/index_verify.h"
#include "jet/table/table_design.h"
#include "jet/storage/transaction.h"
#include "jet/tools/verify.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace create_table_test_cases {

namespace {

using jet::ColumnType;
using jet::Value;

using jet_test::error_of;
std::string mdb(const std::string& command, const std::string& path, const std::string& tail = "") {
  bool ok = false;
  const std::string out = jet_test::run(command + " " + jet_test::shell_quote(path) + " " + tail + " 2>&1", &ok);
  EXPECT_TRUE(ok) << out;
  return out;
}

jet::ColumnDesign column(const char* name, ColumnType type, std::uint16_t size = 255) {
  jet::ColumnDesign c;
  c.name = name;
  c.type = type;
  c.size = size;
  return c;
}

// One column of every type the engine reads, with the rules and properties a design can state.
jet::TableDesign every_type() {
  jet::TableDesign design;
  design.name = "Fiche Éléments";
  auto id = column("Id", ColumnType::Long);
  id.autonumber = true;
  auto code = column("Code", ColumnType::Text, 12);
  code.required = true;
  code.description = "Code de la fiche";
  auto label = column("Libellé", ColumnType::Text, 80);
  label.allow_zero_length = true;
  label.default_value = "\"sans\"";
  auto plain = column("Brut", ColumnType::Text, 20);
  plain.compressed_unicode = false;
  auto amount = column("Montant", ColumnType::Numeric);
  amount.precision = 12;
  amount.scale = 2;
  design.columns = {id, code, label, plain,
                  column("Actif", ColumnType::Boolean), column("Octet", ColumnType::Byte),
                  column("Entier", ColumnType::Integer), column("Prix", ColumnType::Currency),
                  column("Réel", ColumnType::Single), column("Double", ColumnType::Double),
                  column("Quand", ColumnType::DateTime), column("Octets", ColumnType::Binary, 16),
                  column("Note", ColumnType::Memo), column("Image", ColumnType::Ole),
                  column("Guid", ColumnType::Guid), amount};
  design.columns[4].description = "Case à cocher";
  jet::IndexDesign pk{"PrimaryKey", {{"Id", false}}, true, false, false, false};
  jet::IndexDesign by_code{"Code", {{"Code", false}}, false, true, false, false};
  jet::IndexDesign by_label{"LibelléQuand", {{"Libellé", false}, {"Quand", true}}, false, false, true, false};
  jet::IndexDesign by_amount{"Montant", {{"Montant", true}}, false, false, false, false};
  design.indexes = {pk, by_code, by_label, by_amount};
  design.properties = {{"Description", Value::text("Table d'essai")}};
  return design;
}

struct Fixture {
  jet_test::ScratchDir dir;
  std::string path = (dir.path() / "t.mdb").string();
};

TEST(CreateTable, MdbtoolsListsTheTableWithEveryTypeAndSize) {
  QUELIS_NEEDS_MDBTOOLS();
  Fixture f;
  {
    auto db = jet::create_database(f.path);
    db->create_table(every_type());
    ASSERT_NE(db->catalog().find_table("Fiche Éléments"), nullptr);  // visible at once
  }
  EXPECT_EQ(mdb("mdb-tables", f.path, "-1"), "Fiche Éléments\n");
  const std::string schema = mdb("mdb-schema", f.path, "-T 'Fiche Éléments' --no-relations");
  for (const char* line : {"[Id]\t\t\tLong Integer", "[Code]\t\t\tText (12)", "[Libellé]\t\t\tText (80)",
                           "[Actif]\t\t\tBoolean NOT NULL", "[Octet]\t\t\tByte", "[Entier]\t\t\tInteger",
                           "[Prix]\t\t\tCurrency", "[Réel]\t\t\tSingle", "[Double]\t\t\tDouble",
                           "[Quand]\t\t\tDateTime", "[Octets]\t\t\tBinary", "[Note]\t\t\tMemo/Hyperlink (255)",
                           "[Image]\t\t\tOLE (255)", "[Guid]\t\t\tReplication ID", "[Montant]\t\t\tNumeric (12, 2)"})
    EXPECT_NE(schema.find(line), std::string::npos) << line << "\n" << schema;
  auto db = jet::Database::open(f.path);
  const jet::Table t = db->table("Fiche Éléments");
  const jet::TableDef& def = t.def();
  ASSERT_EQ(def.columns.size(), 16u);
  EXPECT_FALSE(def.system);
  EXPECT_TRUE(def.find_column("Id")->is_autonumber());
  EXPECT_TRUE(def.find_column("Code")->compressed_unicode);
  EXPECT_FALSE(def.find_column("Brut")->compressed_unicode);
  EXPECT_EQ(def.find_column("Libellé")->length, 160);
  EXPECT_EQ(def.find_column("Octets")->length, 16);
  EXPECT_EQ(def.find_column("Montant")->precision, 12);
  EXPECT_EQ(def.find_column("Montant")->scale, 2);
  EXPECT_EQ(def.long_value_maps.size(), 2u);
  EXPECT_EQ(jet::verify_database(*db, jet::verify_indexes), std::vector<std::string>{});
}

TEST(CreateTable, IndexesCarryTheirRulesAndOrder) {
  QUELIS_NEEDS_MDBTOOLS();
  Fixture f;
  jet::TableDesign design = every_type();
  // A second name over the primary key's columns and rules shares its real index.
  design.indexes.push_back({"Doublon", {{"Id", false}}, false, true, false, true});
  jet::create_database(f.path)->create_table(design);
  auto db = jet::Database::open(f.path);
  const jet::TableDef def = db->table("Fiche Éléments").def();
  ASSERT_EQ(def.logical_indexes.size(), 5u);
  ASSERT_EQ(def.indexes.size(), 4u);
  auto logical = [&](const char* name) {
    for (const auto& l : def.logical_indexes)
      if (l.name == name) return &l;
    return static_cast<const jet::LogicalIndex*>(nullptr);
  };
  const auto* pk = logical("PrimaryKey");
  ASSERT_TRUE(pk);
  EXPECT_EQ(pk->kind, jet::IndexKind::Primary);
  EXPECT_EQ(logical("Doublon")->real_index, pk->real_index);
  const jet::IndexDef* primary = def.real_index(pk->real_index);
  EXPECT_TRUE(primary->unique() && primary->required() && !primary->ignore_nulls());
  const jet::IndexDef* label = def.real_index(logical("LibelléQuand")->real_index);
  ASSERT_EQ(label->columns.size(), 2u);
  EXPECT_TRUE(label->columns[0].ascending);
  EXPECT_FALSE(label->columns[1].ascending);
  EXPECT_TRUE(label->ignore_nulls() && !label->unique());
  EXPECT_TRUE(def.real_index(logical("Code")->real_index)->unique());
  // mdbtools' PostgreSQL rendering shows the key, uniqueness and descending columns.
  const std::string schema = mdb("mdb-schema --indexes -T 'Fiche Éléments'", f.path, "postgres");
  for (const char* line : {"ADD CONSTRAINT \"fiche éléments_pkey\" PRIMARY KEY (\"id\");",
                           "CREATE UNIQUE INDEX \"fiche éléments_code_idx\" ON \"fiche éléments\" (\"code\");",
                           "ON \"fiche éléments\" (\"libellé\", \"quand\" DESC);",
                           "CREATE INDEX \"fiche éléments_montant_idx\" ON \"fiche éléments\" (\"montant\" DESC);"})
    EXPECT_NE(schema.find(line), std::string::npos) << line << "\n" << schema;
}

TEST(CreateTable, PropertiesAndPermissionsAreRecorded) {
  QUELIS_NEEDS_MDBTOOLS();
  Fixture f;
  auto db = jet::create_database(f.path);
  const jet::PageNumber page = db->create_table(every_type());
  const jet::CatalogEntry* entry = db->catalog().find_table("Fiche Éléments");
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->table_page(), page);
  EXPECT_EQ(entry->parent_id, jet::object_ids::Tables);
  const jet::PropertySet props = entry->property_set();
  EXPECT_EQ(props.object()->find("Description")->value, Value::text("Table d'essai"));
  EXPECT_EQ(props.column("Code")->find("Required")->value, Value::boolean(true));
  // AllowZeroLength only where the design states it, as Jet's DDL leaves it out.
  EXPECT_EQ(props.column("Code")->find("AllowZeroLength"), nullptr);
  EXPECT_EQ(props.column("Libellé")->find("AllowZeroLength")->value, Value::boolean(true));
  EXPECT_EQ(props.column("Libellé")->find("DefaultValue")->value, Value::text("\"sans\""));
  // Stored as Access stores it: a Memo the engine enforces.
  EXPECT_EQ(props.column("Libellé")->find("DefaultValue")->type, jet::ColumnType::Memo);
  EXPECT_TRUE(props.column("Libellé")->find("DefaultValue")->is_ddl());
  EXPECT_EQ(props.column("Actif")->find("Description")->value, Value::text("Case à cocher"));
  EXPECT_EQ(props.column("Octet"), nullptr);

  // The design read back from the file is the design written.
  const jet::TableDesign back = jet::design_of(entry->name, db->table(entry->name).def(), props);
  const jet::TableDesign given = every_type();
  ASSERT_EQ(back.columns.size(), given.columns.size());
  for (std::size_t i = 0; i < given.columns.size(); ++i) {
    SCOPED_TRACE(given.columns[i].name);
    EXPECT_EQ(back.columns[i].name, given.columns[i].name);
    EXPECT_EQ(back.columns[i].type, given.columns[i].type);
    EXPECT_EQ(back.columns[i].autonumber, given.columns[i].autonumber);
    EXPECT_EQ(back.columns[i].required, given.columns[i].required);
    EXPECT_EQ(back.columns[i].allow_zero_length, given.columns[i].allow_zero_length);
    EXPECT_EQ(back.columns[i].default_value, given.columns[i].default_value);
    EXPECT_EQ(back.columns[i].description, given.columns[i].description);
    if (given.columns[i].type == ColumnType::Text) {
      EXPECT_EQ(back.columns[i].size, given.columns[i].size);
      EXPECT_EQ(back.columns[i].compressed_unicode, given.columns[i].compressed_unicode);
    }
  }
  ASSERT_EQ(back.indexes.size(), given.indexes.size());
  for (std::size_t i = 0; i < given.indexes.size(); ++i) {
    EXPECT_EQ(back.indexes[i].name, given.indexes[i].name);
    EXPECT_EQ(back.indexes[i].primary, given.indexes[i].primary);
    EXPECT_EQ(back.indexes[i].columns.size(), given.indexes[i].columns.size());
    EXPECT_EQ(back.indexes[i].columns.back().descending, given.indexes[i].columns.back().descending);
  }

  // Three permission rows: the owner, the Admins group, the Users group.
  const std::string aces = mdb("mdb-export", f.path, "MSysACEs");
  EXPECT_NE(aces.find(std::to_string(page) + ",\"\xA6" "3\",1048319,0"), std::string::npos) << aces;
  std::size_t rows = 0;
  for (std::size_t at = aces.find("\n" + std::to_string(page) + ","); at != std::string::npos;
       at = aces.find("\n" + std::to_string(page) + ",", at + 1))
    ++rows;
  EXPECT_EQ(rows, 3u);
}

TEST(CreateTable, RefusesDuplicatesBadNamesAndBadIndexesWritingNothing) {
  Fixture f;
  auto db = jet::create_database(f.path);
  db->create_table(every_type());
  const auto size_before = db->pager().page_count();
  EXPECT_EQ(error_of([&] { db->create_table(every_type()); }), 3010);
  jet::TableDesign design = every_type();
  design.name = "fiche éléments";  // names compare without case
  EXPECT_EQ(error_of([&] { db->create_table(design); }), 3010);
  design.name = "Autre";
  design.columns.push_back(column("CODE", ColumnType::Long));
  EXPECT_EQ(error_of([&] { db->create_table(design); }), 3191);
  design = every_type();
  design.name = "Mauvais.nom";
  EXPECT_EQ(error_of([&] { db->create_table(design); }), 3125);
  design.name = "Autre";
  design.indexes.push_back({"Code", {{"Entier", false}}, false, false, false, false});
  EXPECT_EQ(error_of([&] { db->create_table(design); }), 3284);
  design.indexes.back() = {"Second", {{"Entier", false}}, true, false, false, false};
  EXPECT_EQ(error_of([&] { db->create_table(design); }), 3283);
  design.indexes.back() = {"Manque", {{"Absente", false}}, false, false, false, false};
  EXPECT_EQ(error_of([&] { db->create_table(design); }), 3265);
  design.indexes.back() = {"SurMemo", {{"Note", false}}, false, false, false, false};
  EXPECT_NE(error_of([&] { db->create_table(design); }), 0);
  design.indexes.pop_back();
  design.columns[1].size = 256;
  EXPECT_NE(error_of([&] { db->create_table(design); }), 0);
  EXPECT_EQ(db->pager().page_count(), size_before);
  EXPECT_EQ(db->catalog().tables(false).size(), 1u);
}

Value text(const char* s) { return Value::text(s); }

TEST(CreateTable, RowsWrittenThroughTheIndexesReadBackEverywhere) {
  QUELIS_NEEDS_MDBTOOLS();
  Fixture f;
  {
    auto db = jet::create_database(f.path);
    db->create_table(every_type());
    jet::TableIndexHook hook(db->allocator());
    jet::Transaction tx(db->pager());
    jet::TableWriter writer = db->writer("Fiche Éléments", &hook);
    for (int i = 0; i < 300; ++i) {
      jet::Row row(16, Value::null());
      row[1] = Value::text("C" + std::to_string(1000 + i));
      row[2] = Value::text(i % 3 ? "Été " + std::to_string(i % 7) : std::string(""));
      row[3] = Value::text("brut");
      row[4] = Value::boolean(i % 2 == 0);
      row[6] = Value::integer(static_cast<std::int16_t>(-i));
      row[9] = Value::double_(i / 4.0);
      row[10] = Value::date(40000.5 + i);
      row[12] = Value::text(std::string(static_cast<std::size_t>(i + 1) * 20, 'm'));
      writer.insert(row);
    }
    // Duplicate code refused, required code refused, nothing of them kept.
    jet::Row dup(16, Value::null());
    dup[1] = text("C1000");
    EXPECT_EQ(error_of([&] { writer.insert(dup); }), 3022);
    dup[1] = Value::null();
    EXPECT_EQ(error_of([&] { writer.insert(dup); }), 3314);
    tx.commit();
    EXPECT_EQ(writer.definition().row_count, 300u);
    EXPECT_EQ(writer.definition().next_autonumber, 300u);
  }
  auto db = jet::Database::open(f.path);
  EXPECT_EQ(jet::verify_database(*db, jet::verify_indexes), std::vector<std::string>{});
  const std::string csv = mdb("mdb-export", f.path, "'Fiche Éléments'");
  EXPECT_NE(csv.find("\n300,\"C1299\","), std::string::npos);
  EXPECT_NE(csv.find("\n1,\"C1000\",,\"brut\",1,,0,,,0,\"07/06/09 12:00:00\",,\"mmmmmmmmmmmmmmmmmmmm\",,,\n"), std::string::npos) << csv.substr(0, 400);
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 301);
  // Seek through the unique index.
  const jet::Table t = db->table("Fiche Éléments");
  const jet::IndexDef* code = nullptr;
  for (const auto& l : t.def().logical_indexes)
    if (l.name == "Code") code = t.def().real_index(l.real_index);
  ASSERT_TRUE(code);
  jet::IndexCursor cursor(db->pager(), t.def(), *code);
  const auto key = jet::index_key_for_values(t.def(), *code, {Value::text("C1150")});
  ASSERT_TRUE(cursor.seek_exact(key));
  const auto row = t.read(cursor.row_id());
  ASSERT_TRUE(row);
  EXPECT_EQ((*row)[0], Value::long_(151));
}

}  // namespace

}  // namespace create_table_test_cases
