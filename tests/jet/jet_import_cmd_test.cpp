// `jet import`: CSV files loaded through the built program, judged by what the engine and
// mdbtools read back, and by the bytes of a database whose import was refused.
#include <gtest/gtest.h>

#include <fstream>

#include "jet/db/database.h"
#include "jet/table/table_design.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace jet_import_cmd_test_cases {

namespace {

using jet_test::run;
using jet_test::shell_quote;

std::string write_text(const jet_test::ScratchDir& dir, const std::string& name, const std::string& text) {
  return dir.write(name, std::vector<std::uint8_t>(text.begin(), text.end()));
}

std::string jet(const std::string& arguments, bool* ok) {
  return run(shell_quote(jet_test::jet_program()) + " " + arguments + " 2>&1", ok);
}

std::vector<std::vector<std::string>> rows_of(const std::string& path, const std::string& table) {
  auto db = jet::Database::open(path);
  const jet::Table t = db->table(table);
  std::vector<std::vector<std::string>> out;
  auto cursor = t.cursor();
  while (cursor.next()) {
    std::vector<std::string> row;
    for (const jet::Value& v : cursor.row()) row.push_back(v.is_null() ? "<null>" : v.to_display());
    out.push_back(std::move(row));
  }
  return out;
}

class JetImport : public ::testing::Test {
 protected:
  void SetUp() override {
    QUELIS_NEEDS_JET_PROGRAM();
    db_ = (dir_.path() / "base.mdb").string();
    bool ok = false;
    const std::string out = jet("create " + shell_quote(db_), &ok);
    ASSERT_TRUE(ok) << out;
  }
  std::string import(const std::string& table, const std::string& csv_text, bool* ok) {
    const std::string csv = write_text(dir_, "in.csv", csv_text);
    return jet("import " + shell_quote(db_) + " " + shell_quote(table) + " " + shell_quote(csv), ok);
  }
  jet_test::ScratchDir dir_;
  std::string db_;
};

TEST_F(JetImport, NewTableTakesEveryFieldAsWritten) {
  // Quoted commas, doubled quotes, a line break inside a field, accents, a byte-order mark,
  // CRLF line ends, an empty field (Null) and a blank line that is skipped.
  const std::string csv =
      "\xEF\xBB\xBF" "Nom,Remarque,Code\r\n"
      "\"Dupont, Jean\",\"Il a dit \"\"oui\"\"\",A1\r\n"
      "Éloïse,\"deux\nlignes\",\r\n"
      "\r\n"
      "Zoé,,Z9\r\n";
  bool ok = false;
  const std::string out = import("Clients", csv, &ok);
  ASSERT_TRUE(ok) << out;
  EXPECT_NE(out.find("3 ligne(s) importée(s) dans la nouvelle table Clients"), std::string::npos) << out;

  const auto rows = rows_of(db_, "Clients");
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0], (std::vector<std::string>{"Dupont, Jean", "Il a dit \"oui\"", "A1"}));
  EXPECT_EQ(rows[1], (std::vector<std::string>{"Éloïse", "deux\nlignes", "<null>"}));
  EXPECT_EQ(rows[2], (std::vector<std::string>{"Zoé", "<null>", "Z9"}));

  const std::string exported = jet_test::mdb_export(db_, "Clients");
  EXPECT_NE(exported.find("\"Dupont, Jean\""), std::string::npos) << exported;
  EXPECT_NE(exported.find("Éloïse"), std::string::npos) << exported;
  EXPECT_TRUE(jet_test::verify_problems(db_).empty());
}

TEST_F(JetImport, ExistingTableConvertsToItsColumnTypes) {
  {
    auto db = jet::WritableDatabase::open(db_);
    jet::TableDesign design;
    design.name = "Mesures";
    for (auto [name, type] : {std::pair{"Id", jet::ColumnType::Long}, std::pair{"Valeur", jet::ColumnType::Double},
                              std::pair{"Jour", jet::ColumnType::DateTime}, std::pair{"Actif", jet::ColumnType::Boolean},
                              std::pair{"Montant", jet::ColumnType::Numeric}}) {
      jet::ColumnDesign column;
      column.name = name;
      column.type = type;
      column.precision = 10;
      column.scale = 2;
      design.columns.push_back(column);
    }
    jet::IndexDesign key;
    key.name = "PrimaryKey";
    key.columns.push_back({"Id"});
    key.primary = true;
    design.indexes.push_back(key);
    db->create_table(design);
  }
  bool ok = false;
  // Columns in another order than the table's.
  const std::string out = import("Mesures", "Jour,Id,Valeur,Actif,Montant\n03/25/2006 13:30:00,7,2.5,true,-12.345\n,8,,0,\n", &ok);
  ASSERT_TRUE(ok) << out;
  EXPECT_NE(out.find("2 ligne(s) importée(s) dans la table Mesures"), std::string::npos) << out;
  {
    const auto rows = rows_of(db_, "Mesures");
    ASSERT_EQ(rows.size(), 2u);
    auto db = jet::Database::open(db_);
    const jet::Table table = db->table("Mesures");
    auto cursor = table.cursor();
    ASSERT_TRUE(cursor.next());
    EXPECT_EQ(cursor.row()[0].as_long(), 7);
    EXPECT_DOUBLE_EQ(cursor.row()[1].as_double(), 2.5);
    EXPECT_NEAR(cursor.row()[2].as_date(), 38801.5625, 1e-9);  // 25 March 2006, 13:30
    EXPECT_TRUE(cursor.row()[3].as_boolean());
    EXPECT_EQ(cursor.row()[4].as_decimal().to_string(), "-12.35");  // two decimals kept, rounded
    ASSERT_TRUE(cursor.next());
    EXPECT_EQ(cursor.row()[0].as_long(), 8);
    EXPECT_TRUE(cursor.row()[1].is_null());
    EXPECT_FALSE(cursor.row()[3].as_boolean());
  }
  // A field that is not a number refuses the whole file, naming the line and the column.
  const auto before = jet_test::read_file(db_);
  const std::string refused = import("Mesures", "Id,Valeur\n9,1.5\n10,abc\n", &ok);
  EXPECT_FALSE(ok);
  EXPECT_NE(refused.find("Erreur 13"), std::string::npos) << refused;
  EXPECT_NE(refused.find("ligne 3, champ Valeur"), std::string::npos) << refused;
  EXPECT_EQ(jet_test::read_file(db_), before);
}

TEST_F(JetImport, RefusedImportsLeaveTheDatabaseAsItWas) {
  bool ok = false;
  ASSERT_TRUE((import("T", "A,B\n1,2\n", &ok), ok));
  const auto before = jet_test::read_file(db_);

  struct Case {
    const char* what;
    std::string table;
    std::string csv;
    const char* message;
  };
  const Case cases[] = {
      {"a row with too few fields", "T", "A,B\n3,4\n5\n", "1 champs au lieu de 2"},
      {"an unknown column", "T", "A,C\n3,4\n", "Erreur 3265"},
      {"an unclosed quote", "T", "A,B\n\"3,4\n", "guillemet non fermé"},
      {"no header line", "T", "", "pas de ligne d'en-tête"},
  };
  for (const Case& c : cases) {
    const std::string out = import(c.table, c.csv, &ok);
    EXPECT_FALSE(ok) << c.what << ": " << out;
    EXPECT_NE(out.find(c.message), std::string::npos) << c.what << ": " << out;
    EXPECT_EQ(jet_test::read_file(db_), before) << c.what;
  }
  const std::string missing = jet("import " + shell_quote(db_) + " T " + shell_quote((dir_.path() / "absent.csv").string()), &ok);
  EXPECT_FALSE(ok) << missing;
  EXPECT_EQ(jet_test::read_file(db_), before);
}

TEST_F(JetImport, QuotedEmptyFieldsAreZeroLengthTextsEvenAloneOnTheirLine) {
  // As mdb-export writes them: "" is a zero-length text, an empty field a Null. A line
  // holding only "" is a row; a truly blank line is still skipped.
  bool ok = false;
  std::string out = import("Notes", "Remarque\n\"\"\nabc\n\n\"\"\r\n", &ok);
  ASSERT_TRUE(ok) << out;
  EXPECT_NE(out.find("3 ligne(s) importée(s)"), std::string::npos) << out;
  EXPECT_EQ(rows_of(db_, "Notes"), (std::vector<std::vector<std::string>>{{""}, {"abc"}, {""}}));
  out = import("Notes", "Remarque\n\"\"\n", &ok);
  ASSERT_TRUE(ok) << out;
  EXPECT_EQ(rows_of(db_, "Notes").size(), 4u);
  // mdbtools prints a zero-length text as it prints a Null; `jet export` quotes it.
  EXPECT_EQ(jet_test::mdb_export(db_, "Notes"), "Remarque\n\n\"abc\"\n\n\n");
  EXPECT_EQ(jet("export " + shell_quote(db_) + " Notes", &ok), "Remarque\n\"\"\n\"abc\"\n\"\"\n\"\"\n");

  // Beside other fields: "" and Null kept apart in a text column; "" in a number is Null.
  {
    auto db = jet::WritableDatabase::open(db_);
    jet::TableDesign design;
    design.name = "Fiches";
    auto column = [&](const char* name, jet::ColumnType type, std::optional<bool> zero_length) {
      jet::ColumnDesign c;
      c.name = name;
      c.type = type;
      c.size = 10;
      c.allow_zero_length = zero_length;
      design.columns.push_back(c);
    };
    column("Code", jet::ColumnType::Text, true);
    column("Nombre", jet::ColumnType::Long, std::nullopt);
    column("Strict", jet::ColumnType::Text, false);
    db->create_table(design);
  }
  out = import("Fiches", "Code,Nombre,Strict\n\"\",\"\",a\n,1,\n", &ok);
  ASSERT_TRUE(ok) << out;
  EXPECT_EQ(rows_of(db_, "Fiches"),
            (std::vector<std::vector<std::string>>{{"", "<null>", "a"}, {"<null>", "1", "<null>"}}));
  // A column whose AllowZeroLength is No refuses "", and the whole file with it.
  const auto before = jet_test::read_file(db_);
  out = import("Fiches", "Code,Strict\nx,b\ny,\"\"\n", &ok);
  EXPECT_FALSE(ok) << out;
  EXPECT_NE(out.find("Erreur 3315"), std::string::npos) << out;
  EXPECT_EQ(jet_test::read_file(db_), before);
  EXPECT_EQ(jet_test::verify_problems(db_), std::vector<std::string>{});
}

}  // namespace

}  // namespace jet_import_cmd_test_cases
