// Column rules on every INSERT and UPDATE, as Jet enforces them: a zero-length text is
// refused (3315) only where the column's AllowZeroLength property is stored false, a Null
// where Required is true (3314), a text longer than the column (3163); columns made by SQL
// store no AllowZeroLength and take "". Compaction and repair carry every stored value, ""
// included, whatever the rules say.
#include <gtest/gtest.h>

#include "jet/ddl/alter_column.h"
#include "jet/tools/compact.h"
#include "jet/tools/repair.h"
#include "jet/exec/executor.h"
#include "sql_exec_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace column_rules_test_cases {

namespace {

using namespace sql_exec_test;
using Lines = std::vector<std::string>;
using jet::sql::RowErrors;

bool has_column_property(jet::WritableDatabase& db, const std::string& table, const std::string& column,
                         const std::string& name) {
  const jet::PropertySet properties = db.catalog().find_table(table)->property_set();
  const jet::PropertyBlock* block = properties.column(column);
  return block && block->find(name);
}

TEST(ColumnRules, ZeroLengthTextIsRefusedOnlyWhereAllowZeroLengthIsStoredFalse) {
  Scratch scratch;
  Db db(scratch.copy("testV2000.mdb"));
  // Access stored AllowZeroLength = No on Table1.A and B.
  std::string text;
  EXPECT_EQ(error_of([&] { db.x("UPDATE Table1 SET A = ''"); }, &text), 3315);
  EXPECT_EQ(text, "Le champ 'Table1.A' ne peut pas être une chaîne de longueur nulle.");
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO Table1 (A, B, I) VALUES ('x', '', True)"); }), 3315);
  EXPECT_EQ(db.exec().execute("UPDATE Table1 SET B = ''", {}, RowErrors::Skip), 0);
  EXPECT_EQ(db.q("SELECT A, B FROM Table1 ORDER BY A"), (Lines{"a|b", "abcdefg|hijklmnop"}));
  // A Null is no zero-length text: B is not required.
  EXPECT_EQ(db.x("UPDATE Table1 SET B = Null WHERE A = 'a'"), 1);

  // Turned to Yes, the same column takes "" and keeps it apart from Null.
  jet::ColumnChange allow;
  allow.allow_zero_length = true;
  jet::alter_column(db.db(), "Table1", "B", allow);
  EXPECT_EQ(db.x("UPDATE Table1 SET B = '' WHERE B IS NULL"), 1);
  EXPECT_EQ(db.q("SELECT Len(B), B IS NULL FROM Table1 ORDER BY A"), (Lines{"0|False", "9|False"}));
}

TEST(ColumnRules, ColumnsMadeBySqlStoreNoAllowZeroLengthAndTakeEmptyTexts) {
  QUELIS_NEEDS_MDBTOOLS();
  Scratch scratch;
  const std::string path = scratch.copy("emptyV2000.mdb");
  {
    Db db(path);
    db.x("CREATE TABLE Notes (code TEXT(3) NOT NULL, texte TEXT(10), note MEMO)");
    db.x("ALTER TABLE Notes ADD COLUMN ajout TEXT(5)");
    for (const char* column : {"texte", "note", "ajout"})
      EXPECT_FALSE(has_column_property(db.db(), "Notes", column, "AllowZeroLength")) << column;
    db.x("INSERT INTO Notes VALUES ('a', '', '', '')");
    db.x("INSERT INTO Notes (code) VALUES ('b')");
    EXPECT_EQ(db.q("SELECT code, Len(texte), Len(note), Len(ajout), texte IS NULL FROM Notes ORDER BY code"),
              (Lines{"a|0|0|0|False", "b|~|~|~|True"}));
    // DAO reports such a column's AllowZeroLength as False, though "" goes in.
    bool reported = false;
    for (const auto& p : jet::column_properties(db.db(), "Notes", "texte")) {
      if (p.name != "AllowZeroLength") continue;
      reported = true;
      EXPECT_EQ(p.value, jet::Value::boolean(false));
    }
    EXPECT_TRUE(reported);

    // Required and size hold on the same statements, and a refusal changes nothing.
    EXPECT_EQ(error_of([&] { db.x("UPDATE Notes SET code = Null WHERE code = 'a'"); }), 3314);
    EXPECT_EQ(error_of([&] { db.x("INSERT INTO Notes (code, texte) VALUES ('c', Null)"); }), 0);
    EXPECT_EQ(error_of([&] { db.x("INSERT INTO Notes (texte) VALUES ('z')"); }), 3314);
    EXPECT_EQ(error_of([&] { db.x("UPDATE Notes SET texte = 'onze lettre'"); }), 3163);
    EXPECT_EQ(error_of([&] { db.x("UPDATE Notes SET code = 'abcd' WHERE code = 'b'"); }), 3163);
    EXPECT_EQ(db.q("SELECT code, texte FROM Notes ORDER BY code"), (Lines{"a|", "b|~", "c|~"}));
  }
  // mdbtools prints a zero-length text as it prints a Null.
  EXPECT_EQ(mdb_export(path, "Notes"), "code,texte,note,ajout\n\"a\",,,\n\"b\",,,\n\"c\",,,\n");
  EXPECT_EQ(jet_test::verify_problems(path), std::vector<std::string>{});
}

// A table like the application's, indexed and unindexed texts allowing "", and a table
// whose column refuses "" but holds one, as another program may leave it (Access keeps such
// rows when the rule is tightened after them).
void build_tables_with_empty_texts(const std::string& path) {
  Db db(path);
  auto column = [](const char* name, jet::ColumnType type, std::optional<bool> zero_length) {
    jet::ColumnDesign c;
    c.name = name;
    c.type = type;
    c.size = 20;
    c.allow_zero_length = zero_length;
    return c;
  };
  jet::TableDesign vides;
  vides.name = "Vides";
  vides.columns = {column("id", jet::ColumnType::Long, std::nullopt), column("cle", jet::ColumnType::Text, true),
                   column("libelle", jet::ColumnType::Text, true), column("note", jet::ColumnType::Memo, true)};
  jet::IndexDesign primary;
  primary.name = "PrimaryKey";
  primary.primary = true;
  primary.columns.push_back({"id", false});
  jet::IndexDesign key;
  key.name = "cle";
  key.columns.push_back({"cle", false});
  vides.indexes = {primary, key};
  db.db().create_table(vides);
  db.x("INSERT INTO Vides VALUES (1, '', '', '')");
  db.x("INSERT INTO Vides VALUES (2, Null, Null, Null)");
  db.x("INSERT INTO Vides VALUES (3, 'b', 'deux', 'trois')");
  db.x("INSERT INTO Vides VALUES (4, '', 'x', '')");

  jet::TableDesign stricte;
  stricte.name = "Stricte";
  stricte.columns = {column("id", jet::ColumnType::Long, std::nullopt), column("t", jet::ColumnType::Text, false)};
  db.db().create_table(stricte);
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO Stricte VALUES (1, '')"); }), 3315);
  // Written with no rules at all, as a writer that knows none would.
  jet::TableWriter raw(db.db().pager(), db.db().allocator(), "Stricte",
                       db.db().catalog().find_table("Stricte")->table_page());
  raw.insert({jet::Value::long_(1), jet::Value::text("")});
  raw.insert({jet::Value::long_(2), jet::Value::text("t")});
}

const std::string kVides = "SELECT id, Len(cle), Len(libelle), Len(note) FROM Vides ORDER BY id";
const std::string kStricte = "SELECT id, Len(t) FROM Stricte ORDER BY id";

TEST(ColumnRules, CompactionAndRepairCarryEmptyTextsAsStored) {
  QUELIS_NEEDS_MDBTOOLS();
  Scratch scratch;
  const std::string source = scratch.copy("emptyV2000.mdb", "source.mdb");
  build_tables_with_empty_texts(source);
  const std::string compacted = (scratch.dir().path() / "compact.mdb").string();
  jet::compact(source, compacted);
  {
    Db db(compacted);
    EXPECT_EQ(db.q(kVides), (Lines{"1|0|0|0", "2|~|~|~", "3|1|4|5", "4|0|1|0"}));
    EXPECT_EQ(db.q(kStricte), (Lines{"1|0", "2|1"}));
    // The index tells "" from Null, and the rules came along with the properties.
    EXPECT_EQ(db.q("SELECT id FROM Vides WHERE cle = '' ORDER BY id"), (Lines{"1", "4"}));
    EXPECT_EQ(db.q("SELECT id FROM Vides WHERE cle IS NULL"), (Lines{"2"}));
    EXPECT_EQ(error_of([&] { db.x("UPDATE Stricte SET t = '' WHERE id = 2"); }), 3315);
    EXPECT_EQ(db.x("UPDATE Vides SET libelle = '', cle = '' WHERE id = 3"), 1);
  }
  EXPECT_EQ(jet_test::verify_problems(compacted), std::vector<std::string>{});
  const std::string exported = mdb_export(compacted, "Vides");
  EXPECT_NE(exported.find("1,,,\n2,,,\n3,,,\"trois\"\n4,,\"x\",\n"), std::string::npos) << exported;

  jet::repair(compacted);
  {
    Db db(compacted);
    EXPECT_EQ(db.q(kVides), (Lines{"1|0|0|0", "2|~|~|~", "3|0|0|5", "4|0|1|0"}));
    EXPECT_EQ(db.q(kStricte), (Lines{"1|0", "2|1"}));
    EXPECT_EQ(db.q("SELECT id FROM Vides WHERE cle = '' ORDER BY id"), (Lines{"1", "3", "4"}));
  }
  EXPECT_EQ(jet_test::verify_problems(compacted), std::vector<std::string>{});
}

}  // namespace

}  // namespace column_rules_test_cases
