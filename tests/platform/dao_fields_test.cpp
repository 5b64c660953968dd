// Fields of saved tables changed through the object model the way the update steps change
// them: a field added with a default written into the rows, a field resized by copying it
// (properties copied with errors ignored, append, UPDATE, delete, rename), a code field
// rebuilt through a temporary field, fields dropped and renamed; on an Access-made file and
// on a table the engine made. mdbtools reads every result.
#include <cstdio>

#include "support/linux_programs.h"
#include "dao_test_support.h"
#include "jet/catalog/catalog.h"
#include "jet/db/database.h"

namespace {

using namespace platform::dao;
using dao_test::DaoTest;

std::string command(const std::string& line) {
  std::string out;
  FILE* pipe = popen(line.c_str(), "r");
  if (!pipe) return out;
  char buffer[4096];
  std::size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
  EXPECT_EQ(pclose(pipe), 0) << line;
  return out;
}

std::vector<std::string> fieldNames(const TableDef& table) {
  std::vector<std::string> names;
  for (const Field& f : table.Fields()) names.push_back(f.Name());
  return names;
}

// The steps' own sequences, written as the steps write them.
void addField(Database& db, const std::string& t, const std::string& f, const char* type, long size,
              const Variant& defaultValue, const std::string& literal) {
  TableDef table = db.TableDefs(t);
  Field field = table.CreateField(f, Variant(type), Variant(size));
  table.Fields().Append(field);
  if (defaultValue.IsEmpty()) return;
  field.SetDefaultValue(defaultValue);
  db.Execute("Update " + t + " SET " + f + " = " + literal, dbFailOnError);
}

void changeFieldSize(Database& db, const std::string& t, const std::string& f, bool required, long size,
                     bool allowZeroLength) {
  TableDef table = db.TableDefs(t);
  Field old = table.Fields(f);
  Field copy = table.CreateField();
  for (const Property& p : old.Properties()) {
    try {
      copy.Properties(p.Name()).SetValue(p.Value());
    } catch (const platform::Error&) {
      // Read-only properties, and those a new field does not have, are skipped.
    }
  }
  copy.SetSize(size);
  copy.SetName("_" + copy.Name());
  copy.SetRequired(required);
  if (allowZeroLength) copy.SetAllowZeroLength(true);
  table.Fields().Append(copy);
  table.Fields().Refresh();
  db.Execute("UPDATE " + t + " Set " + t + ".[_" + f + "] = [" + f + "]", dbFailOnError);
  table.Fields().Delete(f);
  copy.SetName(f);
}

void rebuildCodeField(Database& db, const std::string& t, const std::string& f, bool required, const char* type,
                      long size) {
  TableDef table = db.TableDefs(t);
  table.Fields().Append(table.CreateField("champtemp", Variant(type), Variant(size)));
  db.Execute("Update " + t + " SET champtemp = '0' & " + f + " WHERE " + f + " <> null", dbFailOnError);
  const int position = table.Fields(f).OrdinalPosition();
  table.Fields().Delete(f);
  Field field = table.CreateField(f, Variant(type), Variant(size));
  field.SetRequired(required);
  field.SetOrdinalPosition(position);
  table.Fields().Append(field);
  db.Execute("Update " + t + " SET " + f + "= champtemp", dbFailOnError);
  table.Fields().Delete("champtemp");
}

class DaoFieldsTest : public DaoTest {
 protected:
  void SetUp() override { path_ = place("indexTestV2000.mdb", "Quelis.mdb"); }
  Database open() { return engine_.OpenDatabase(path_, true); }
  std::string file() const { return local("Quelis.mdb").string(); }
  std::string schema() { return command("mdb-schema '" + file() + "' 2>/dev/null"); }
  std::string exported(const std::string& table) { return command("mdb-export '" + file() + "' " + table); }
  // The stored type of a column property, read by the engine from the closed file.
  int storedType(const std::string& table, const std::string& column, const std::string& property) {
    auto db = jet::Database::open(file());
    const jet::PropertySet set = db->catalog().find_table(table)->property_set();
    const jet::PropertyBlock* block = set.column(column);
    const jet::Property* p = block ? block->find(property) : nullptr;
    return p ? static_cast<int>(p->type) : -1;
  }
  std::string path_;
};

TEST_F(DaoFieldsTest, AFieldAddedWithADefaultTakesItInEveryRow) {
  QUELIS_NEEDS_MDBTOOLS();
  {
    Database db = open();
    addField(db, "Table2", "libelle", "10", 30, Variant("\"à définir\""), "'à définir'");
    addField(db, "Table2", "quantite", "4", 0, Variant(0), "0");
    addField(db, "Table2", "note", "12", 0, Variant(), "");
    EXPECT_EQ(db.RecordsAffected(), 3);
    TableDef table = db.TableDefs("Table2");
    EXPECT_EQ(fieldNames(table), (std::vector<std::string>{"id", "data", "libelle", "quantite", "note"}));
    Field libelle = table.Fields("libelle");
    EXPECT_EQ(libelle.Type(), dbText);
    EXPECT_EQ(libelle.Size(), 30);
    EXPECT_EQ(libelle.DefaultValue().CStr(), "\"à définir\"");
    EXPECT_EQ(libelle.OrdinalPosition(), 2);
    EXPECT_EQ(table.Fields("note").Type(), dbMemo);
    // A row added later takes the default from the engine.
    db.Execute("INSERT INTO Table2 (id, data) VALUES (9, 'neuf')", dbFailOnError);
    Recordset rs = db.OpenRecordset("SELECT libelle, quantite, note FROM Table2 WHERE id = 9");
    EXPECT_EQ(rs("libelle").CStr(), "à définir");
    EXPECT_EQ(rs("quantite").CLng(), 0);
    EXPECT_TRUE(rs("note").IsNull());
  }
  EXPECT_EQ(exported("Table2"), "id,data,libelle,quantite,note\n0,\"foo0\",\"à définir\",0,\n"
                                "1,\"foo1\",\"à définir\",0,\n2,\"foo2\",\"à définir\",0,\n"
                                "9,\"neuf\",\"à définir\",0,\n");
  const std::string s = schema();
  EXPECT_NE(s.find("[libelle]\t\t\tText (30)"), std::string::npos) << s;
  EXPECT_NE(s.find("[note]\t\t\tMemo/Hyperlink"), std::string::npos) << s;
  // Access keeps a default value as a Memo property.
  EXPECT_EQ(storedType("Table2", "libelle", "DefaultValue"), static_cast<int>(jet::ColumnType::Memo));
}

TEST_F(DaoFieldsTest, AddingAFieldThatExistsOrIsMalformedChangesNothing) {
  Database db = open();
  TableDef table = db.TableDefs("Table2");
  EXPECT_VB_ERROR(table.Fields().Append(table.CreateField("DATA", Variant("10"), Variant(10L))), 3191);
  EXPECT_VB_ERROR(table.Fields().Append(table.CreateField("sanstype")), 3259);
  EXPECT_VB_ERROR(table.Fields().Append(table.CreateField("mal[nomme]", Variant("4"))), 3125);
  EXPECT_VB_ERROR(table.CreateField("x", Variant("99")), 3259);
  EXPECT_EQ(fieldNames(db.TableDefs("Table2")), (std::vector<std::string>{"id", "data"}));
  // An appended field cannot be appended again.
  Field once = table.CreateField("once", Variant("4"));
  table.Fields().Append(once);
  EXPECT_VB_ERROR(table.Fields().Append(once), 3367);
}

TEST_F(DaoFieldsTest, ResizingByCopyKeepsNameDataAndPlace) {
  QUELIS_NEEDS_MDBTOOLS();
  {
    Database db = open();
    db.Execute("UPDATE Table1 SET data = 'une donnée' WHERE id = 1", dbFailOnError);
    const int before = db.TableDefs("Table1").Fields("data").OrdinalPosition();
    changeFieldSize(db, "Table1", "data", true, 120, false);
    TableDef table = db.TableDefs("Table1");
    EXPECT_EQ(fieldNames(table), (std::vector<std::string>{"id", "otherfk1", "otherfk2", "data", "otherfk3"}));
    Field data = table.Fields("data");
    EXPECT_EQ(data.OrdinalPosition(), before);
    EXPECT_EQ(data.Size(), 120);
    EXPECT_EQ(data.Type(), dbText);
    EXPECT_TRUE(data.Required());
    EXPECT_TRUE(data.AllowZeroLength());  // copied from the old field: A false keeps it
    EXPECT_FALSE(table.Fields().Contains("_data"));
    // Required now holds for new rows.
    EXPECT_VB_ERROR(db.Execute("INSERT INTO Table1 (id) VALUES (50)", dbFailOnError), 3314);
  }
  const std::string csv = exported("Table1");
  EXPECT_NE(csv.find("1,1,11,0,\"une donnée\""), std::string::npos) << csv;
  EXPECT_NE(csv.find("0,0,10,0,\"baz0\""), std::string::npos) << csv;
  const std::string s = schema();
  EXPECT_NE(s.find("[data]\t\t\tText (120)"), std::string::npos) << s;
  EXPECT_EQ(s.find("[_data]"), std::string::npos) << s;
}

TEST_F(DaoFieldsTest, ResizingATableTheEngineMadeWithAllowZeroLengthAsked) {
  QUELIS_NEEDS_MDBTOOLS();
  {
    Database db = open();
    db.Execute("CREATE TABLE Agent (code TEXT(2), nom TEXT(20), age LONG)", dbFailOnError);
    db.Execute("INSERT INTO Agent VALUES ('A1', 'Martin', 40)", dbFailOnError);
    db.Execute("INSERT INTO Agent VALUES ('B2', Null, 31)", dbFailOnError);
    Field nom = db.TableDefs("Agent").Fields("nom");
    nom.SetDefaultValue("\"inconnu\"");
    nom.SetValidationRule("Not Like \"*!*\"");
    EXPECT_FALSE(nom.AllowZeroLength());
    changeFieldSize(db, "Agent", "nom", false, 60, true);
    Field resized = db.TableDefs("Agent").Fields("nom");
    EXPECT_EQ(resized.OrdinalPosition(), 1);
    EXPECT_EQ(resized.Size(), 60);
    EXPECT_TRUE(resized.AllowZeroLength());
    EXPECT_FALSE(resized.Required());
    EXPECT_EQ(resized.DefaultValue().CStr(), "\"inconnu\"");
    EXPECT_EQ(resized.ValidationRule(), "Not Like \"*!*\"");
    db.Execute("INSERT INTO Agent (code, nom) VALUES ('C3', '')", dbFailOnError);
  }
  EXPECT_EQ(exported("Agent"), "code,age,nom\n\"A1\",40,\"Martin\"\n\"B2\",31,\n\"C3\",,\n");
  EXPECT_EQ(storedType("Agent", "nom", "ValidationRule"), static_cast<int>(jet::ColumnType::Text));
  EXPECT_EQ(storedType("Agent", "nom", "DefaultValue"), static_cast<int>(jet::ColumnType::Memo));
}

TEST_F(DaoFieldsTest, ResizingAnIndexedFieldStopsAtTheDeleteWithTheCopyLeftBehind) {
  Database db = open();
  EXPECT_VB_ERROR(changeFieldSize(db, "Table2", "id", false, 4, false), 3280);
  TableDef table = db.TableDefs("Table2");
  // The copy took the old field's place, pushing it along.
  EXPECT_EQ(fieldNames(table), (std::vector<std::string>{"_id", "id", "data"}));
  Recordset rs = db.OpenRecordset("SELECT id, [_id] FROM Table2 WHERE id = 2");
  EXPECT_EQ(rs("_id").CLng(), 2);
}

TEST_F(DaoFieldsTest, ACodeFieldRebuiltThroughATemporaryField) {
  Database db = open();
  db.Execute("CREATE TABLE Dossier (numero LONG, coagent TEXT(2), objet TEXT(30))", dbFailOnError);
  // Empty table: the rebuild runs through.
  rebuildCodeField(db, "Dossier", "coagent", true, "10", 3);
  TableDef table = db.TableDefs("Dossier");
  EXPECT_EQ(fieldNames(table), (std::vector<std::string>{"numero", "coagent", "objet"}));
  EXPECT_EQ(table.Fields("coagent").Size(), 3);
  EXPECT_TRUE(table.Fields("coagent").Required());
  EXPECT_EQ(table.Fields("coagent").OrdinalPosition(), 1);
  // With rows: "<> null" holds for no row, so champtemp stays Null and the required field
  // refuses the copy; champtemp stays behind, as the steps leave it.
  db.Execute("CREATE TABLE Dossier2 (numero LONG, coagent TEXT(2))", dbFailOnError);
  db.Execute("INSERT INTO Dossier2 VALUES (1, '12')", dbFailOnError);
  EXPECT_VB_ERROR(rebuildCodeField(db, "Dossier2", "coagent", true, "10", 3), 3314);
  EXPECT_EQ(fieldNames(db.TableDefs("Dossier2")), (std::vector<std::string>{"numero", "coagent", "champtemp"}));
  // Not required: the rows end with an empty code.
  db.Execute("CREATE TABLE Dossier3 (coagent TEXT(2), numero LONG)", dbFailOnError);
  db.Execute("INSERT INTO Dossier3 VALUES ('12', 1)", dbFailOnError);
  rebuildCodeField(db, "Dossier3", "coagent", false, "10", 3);
  EXPECT_EQ(fieldNames(db.TableDefs("Dossier3")), (std::vector<std::string>{"coagent", "numero"}));
  EXPECT_TRUE(db.OpenRecordset("SELECT coagent FROM Dossier3")("coagent").IsNull());
}

TEST_F(DaoFieldsTest, SavedFieldsRenameAndChangeTheirRulesButNotTheirStorage) {
  Database db = open();
  TableDef table = db.TableDefs("Table2");
  Field data = table.Fields("data");
  data.SetName("libelle");
  EXPECT_EQ(fieldNames(db.TableDefs("Table2")), (std::vector<std::string>{"id", "libelle"}));
  EXPECT_EQ(db.OpenRecordset("SELECT libelle FROM Table2 WHERE id = 1")("libelle").CStr(), "foo1");
  EXPECT_VB_ERROR(data.SetName("ID"), 3191);
  EXPECT_VB_ERROR(data.SetSize(80), 3219);
  EXPECT_VB_ERROR(data.SetType(dbMemo), 3219);
  EXPECT_VB_ERROR(data.Properties("Size").SetValue(Variant(80)), 3219);
  data.SetOrdinalPosition(0);
  EXPECT_EQ(fieldNames(db.TableDefs("Table2")), (std::vector<std::string>{"libelle", "id"}));
  data.SetAllowZeroLength(false);
  db.Execute("UPDATE Table2 SET libelle = '' WHERE id = 0");  // refused row passed over
  EXPECT_EQ(db.RecordsAffected(), 0);
  EXPECT_VB_ERROR(db.Execute("UPDATE Table2 SET libelle = '' WHERE id = 0", dbFailOnError), 3315);
  data.SetValidationText("Texte de contrôle");
  EXPECT_EQ(db.TableDefs("Table2").Fields("libelle").ValidationText(), "Texte de contrôle");
  data.SetRequired(true);
  EXPECT_TRUE(db.TableDefs("Table2").Fields("libelle").Required());
  // A stored property of the column (Access's own) reads and changes.
  Property width = db.TableDefs("Table2").Fields("libelle").Properties("ColumnWidth");
  EXPECT_EQ(width.Value().CLng(), -1);
  width.SetValue(Variant(1500));
  EXPECT_EQ(db.TableDefs("Table2").Fields("libelle").Properties("ColumnWidth").Value().CLng(), 1500);
}

TEST_F(DaoFieldsTest, RequiredOverStoredNullsIsRefused) {
  Database db = open();
  db.Execute("UPDATE Table2 SET data = Null WHERE id = 2", dbFailOnError);
  Field data = db.TableDefs("Table2").Fields("data");
  EXPECT_VB_ERROR(data.SetRequired(true), 3314);
  EXPECT_FALSE(db.TableDefs("Table2").Fields("data").Required());
}

TEST_F(DaoFieldsTest, FieldsDeletedAsTheStepsDeleteThem) {
  QUELIS_NEEDS_MDBTOOLS();
  {
    Database db = open();
    TableDef table = db.TableDefs("Table1");
    table.Fields().Delete("DATA");
    EXPECT_EQ(fieldNames(db.TableDefs("Table1")), (std::vector<std::string>{"id", "otherfk1", "otherfk2", "otherfk3"}));
    EXPECT_VB_ERROR(table.Fields().Delete("data"), 3265);
    EXPECT_VB_ERROR(table.Fields().Delete("otherfk1"), 3280);  // its relationship uses it
    EXPECT_VB_ERROR(table.Fields().Delete("id"), 3280);        // indexed
  }
  EXPECT_EQ(exported("Table1").substr(0, 34), "id,otherfk1,otherfk2,otherfk3\n0,0,");
}

TEST_F(DaoFieldsTest, TablesDeletedAndRenamed) {
  QUELIS_NEEDS_MDBTOOLS();
  {
    Database db = open();
    TableDef table = db.TableDefs("Table3");
    table.SetName("Communes");
    EXPECT_EQ(table.Name(), "Communes");
    EXPECT_TRUE(db.TableDefs().Contains("Communes"));
    EXPECT_FALSE(db.TableDefs().Contains("Table3"));
    EXPECT_EQ(db.OpenRecordset("SELECT COUNT(*) AS n FROM Communes")("n").CLng(), 4);
    bool followed = false;
    for (const Relation& r : db.Relations())
      if (r.Name() == "Table3Table1") followed = r.Table() == "Communes";
    EXPECT_TRUE(followed);
    EXPECT_VB_ERROR(db.TableDefs("Table2").SetName("communes"), 3010);
    db.TableDefs().Delete("Table2");
    EXPECT_FALSE(db.TableDefs().Contains("Table2"));
    EXPECT_VB_ERROR(db.TableDefs().Delete("Table2"), 3265);
    for (const Relation& r : db.Relations()) EXPECT_NE(r.Name(), "Table2Table1");
  }
  const std::string tables = command("mdb-tables -1 '" + file() + "'");
  EXPECT_NE(tables.find("Communes"), std::string::npos) << tables;
  EXPECT_EQ(tables.find("Table2"), std::string::npos) << tables;
  EXPECT_EQ(exported("Communes"), "id,data\n10,\"bar10\"\n11,\"bar11\"\n12,\"bar12\"\n13,\"bar13\"\n");
}

}  // namespace
