// Tables made through the definition objects, on a database created from nothing and on a
// copy of an Access-made file; the files are read back by mdbtools.
#include <cstdio>

#include "support/linux_programs.h"
#include "dao_test_support.h"
#include "jet/db/create_database.h"
#include "jet/db/database.h"

namespace {

using namespace platform::dao;
using dao_test::DaoTest;
namespace fs = std::filesystem;

std::string run(const std::string& command) {
  std::string out;
  if (FILE* pipe = popen((command + " 2>&1").c_str(), "r")) {
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe)) out += buffer;
    pclose(pipe);
  }
  return out;
}

class DaoCreateTest : public DaoTest {
 protected:
  // A new empty database at C:\QUELIS\Bases\<name>.
  std::string created(const std::string& name) {
    fs::create_directories(c() / "QUELIS" / "Bases");
    jet::create_database(local(name).string());
    return "C:\\QUELIS\\Bases\\" + name;
  }
  // CODE Text(3) primary key, LIBELLE Text(50) required, NB Long with default 0.
  static void makeAgents(Database& db) {
    TableDef table = db.CreateTableDef("AGENT");
    table.Fields().Append(table.CreateField("CODE", "10", 3));
    Field label = table.CreateField("LIBELLE", dbText, 50);
    label.SetRequired(true);
    table.Fields().Append(label);
    Field count = table.CreateField("NB", dbLong);
    count.SetDefaultValue("0");
    table.Fields().Append(count);
    Index key = table.CreateIndex("PrimaryKey");
    key.SetPrimary(true);
    key.Fields().Append(key.CreateField("CODE"));
    table.Indexes().Append(key);
    db.TableDefs().Append(table);
  }
  static void addAgent(Database& db, const char* code, const Variant& label) {
    Recordset rs = db.OpenRecordset("AGENT");
    rs.AddNew();
    rs.Fields("CODE").SetValue(code);
    rs.Fields("LIBELLE").SetValue(label);
    rs.Update();
  }
};

TEST_F(DaoCreateTest, ATableAppendedToANewDatabaseHoldsRowsMdbtoolsReads) {
  QUELIS_NEEDS_MDBTOOLS();
  const std::string path = created("Neuve.mdb");
  {
    Database db = engine_.OpenDatabase(path, true);
    makeAgents(db);
    TableDef agents = db.TableDefs("agent");
    EXPECT_EQ(agents.Fields().Count(), 3);
    EXPECT_EQ(agents.Fields("CODE").Size(), 3);
    EXPECT_TRUE(agents.Fields("LIBELLE").Required());
    EXPECT_EQ(agents.Fields("NB").DefaultValue().CStr(), "0");
    EXPECT_TRUE(agents.Indexes("PrimaryKey").Primary());
    addAgent(db, "A01", "Durand");
    addAgent(db, "B02", "Martin");
    EXPECT_EQ(db.TableDefs("AGENT").RecordCount(), 2);
    // The default value fills the new records.
    EXPECT_EQ(db.OpenRecordset("SELECT NB FROM AGENT WHERE CODE='A01'")("NB").CLng(), 0);
    EXPECT_VB_ERROR(addAgent(db, "A01", "Doublon"), 3022);
    EXPECT_VB_ERROR(addAgent(db, "C03", Variant::Null()), 3314);
    EXPECT_VB_ERROR(addAgent(db, "TROP", "Long"), 3163);
  }
  const std::string file = local("Neuve.mdb").string();
  EXPECT_EQ(run("mdb-export -H -Q -d '|' '" + file + "' AGENT"), "A01|Durand|0\nB02|Martin|0\n");
}

TEST_F(DaoCreateTest, AppendingRefusesEmptyTablesAndExistingNames) {
  const std::string path = created("Neuve.mdb");
  Database db = engine_.OpenDatabase(path, true);
  EXPECT_VB_ERROR(db.TableDefs().Append(db.CreateTableDef("VIDE")), 3264);
  makeAgents(db);
  TableDef again = db.CreateTableDef("Agent");
  again.Fields().Append(again.CreateField("X", dbLong));
  EXPECT_VB_ERROR(db.TableDefs().Append(again), 3010);
  TableDef twice = db.CreateTableDef("DEUX");
  twice.Fields().Append(twice.CreateField("X", dbLong));
  EXPECT_VB_ERROR(twice.Fields().Append(twice.CreateField("x", dbText, 5)), 3367);
  EXPECT_VB_ERROR(twice.CreateField("Y", "99"), 3259);
  EXPECT_VB_ERROR(twice.CreateField("Y", "dix"), 13);
}

TEST_F(DaoCreateTest, ATableCreatedInsideARolledBackTransactionIsGone) {
  const std::string path = place("indexTestV2000.mdb", "QuelMaj.mdb");
  const std::string before = bytesOf("QuelMaj.mdb");
  engine_.BeginTrans();
  Database db = engine_.OpenDatabase(path, true);
  makeAgents(db);
  addAgent(db, "A01", "Durand");
  EXPECT_TRUE(db.TableDefs().Contains("AGENT"));
  engine_.Rollback();
  EXPECT_FALSE(db.TableDefs().Contains("AGENT"));
  EXPECT_VB_ERROR(db.OpenRecordset("AGENT"), 3078);
  db.Close();
  EXPECT_EQ(bytesOf("QuelMaj.mdb"), before);
}

TEST_F(DaoCreateTest, ATableCreatedInsideACommittedTransactionIsInTheFile) {
  QUELIS_NEEDS_MDBTOOLS();
  const std::string path = place("indexTestV2000.mdb", "QuelMaj.mdb");
  engine_.BeginTrans();
  Database db = engine_.OpenDatabase(path, true);
  makeAgents(db);
  addAgent(db, "Z99", "Petit");
  engine_.CommitTrans();
  db.Close();
  const std::string file = local("QuelMaj.mdb").string();
  EXPECT_NE(run("mdb-tables -1 '" + file + "'").find("AGENT"), std::string::npos);
  EXPECT_EQ(run("mdb-export -H -Q -d '|' '" + file + "' AGENT"), "Z99|Petit|0\n");
}

}  // namespace

namespace {

using namespace platform::dao;

TEST_F(DaoCreateTest, RulesSetOnASavedFieldAreKeptInTheFileAndEnforced) {
  QUELIS_NEEDS_MDBTOOLS();
  const std::string path = place("indexTestV2000.mdb", "Quelis.mdb");
  {
    Database db = engine_.OpenDatabase(path, true);
    Field data = db.TableDefs("Table2").Fields("data");
    data.SetRequired(true);
    data.SetAllowZeroLength(false);
    data.SetDefaultValue("\"défaut\"");
    // The stored definition itself cannot change on a saved field.
    EXPECT_VB_ERROR(data.SetSize(10), 3219);
    EXPECT_VB_ERROR(data.SetType(dbMemo), 3219);
    Recordset rs = db.OpenRecordset("Table2");
    rs.AddNew();
    rs.Fields("id").SetValue(8);
    rs.Fields("data").SetValue(Variant::Null());
    EXPECT_VB_ERROR(rs.Update(), 3314);
    rs.Fields("data").SetValue("");
    EXPECT_VB_ERROR(rs.Update(), 3315);
    rs.CancelUpdate();
    rs.AddNew();
    rs.Fields("id").SetValue(9);
    rs.Update();
  }
  Database db = engine_.OpenDatabase(path, true);
  Field data = db.TableDefs("Table2").Fields("data");
  EXPECT_TRUE(data.Required());
  EXPECT_FALSE(data.AllowZeroLength());
  EXPECT_EQ(data.DefaultValue().CStr(), "\"défaut\"");
  EXPECT_EQ(db.OpenRecordset("SELECT data FROM Table2 WHERE id = 9")("data").CStr(), "défaut");
  db.Close();
  const std::string props = run("mdb-prop '" + local("Quelis.mdb").string() + "' Table2");
  EXPECT_NE(props.find("Required: yes"), std::string::npos) << props;
}

}  // namespace

namespace {

using namespace platform::dao;

TEST_F(DaoCreateTest, ARuleSetWhileARecordsetIsOpenAppliesToItsNextUpdate) {
  const std::string path = place("indexTestV2000.mdb", "Quelis.mdb");
  Database db = engine_.OpenDatabase(path, true);
  Recordset rs = db.OpenRecordset("Table3");
  rs.AddNew();
  rs.Fields("id").SetValue(20);
  rs.Update();  // data may be empty for now
  // Required is refused while a stored row lacks the value.
  EXPECT_VB_ERROR(db.TableDefs("Table3").Fields("data").SetRequired(true), 3314);
  db.Execute("UPDATE Table3 SET data = 'vingt' WHERE id = 20", dbFailOnError);
  db.TableDefs("Table3").Fields("data").SetRequired(true);
  rs.AddNew();
  rs.Fields("id").SetValue(21);
  EXPECT_VB_ERROR(rs.Update(), 3314);
  rs.Fields("data").SetValue("ok");
  rs.Update();
  EXPECT_EQ(db.TableDefs("Table3").RecordCount(), 6);
}

TEST_F(DaoCreateTest, AppendedFieldsStoreAllowZeroLengthWhileSqlColumnsStoreNone) {
  QUELIS_NEEDS_MDBTOOLS();
  // DAO stores a new field's AllowZeroLength (False unless asked), so "" is refused (3315);
  // a column made by Jet SQL stores none, reads False, and takes "" as Jet does.
  const std::string path = created("Vides.mdb");
  {
    Database db = engine_.OpenDatabase(path, true);
    makeAgents(db);
    TableDef notes = db.CreateTableDef("NOTES");
    Field libre = notes.CreateField("LIBRE", dbText, 10);
    libre.SetAllowZeroLength(true);
    notes.Fields().Append(libre);
    notes.Fields().Append(notes.CreateField("STRICT", dbText, 10));
    db.TableDefs().Append(notes);
    db.Execute("CREATE TABLE SQLNOTES (TEXTE TEXT(10))", dbFailOnError);

    EXPECT_VB_ERROR(addAgent(db, "A1", ""), 3315);
    EXPECT_VB_ERROR(db.Execute("INSERT INTO NOTES (LIBRE, STRICT) VALUES ('', '')", dbFailOnError), 3315);
    db.Execute("INSERT INTO NOTES (LIBRE, STRICT) VALUES ('', 'x')", dbFailOnError);
    db.Execute("INSERT INTO SQLNOTES VALUES ('')", dbFailOnError);
    EXPECT_TRUE(db.TableDefs("NOTES").Fields("LIBRE").AllowZeroLength());
    EXPECT_FALSE(db.TableDefs("NOTES").Fields("STRICT").AllowZeroLength());
    EXPECT_FALSE(db.TableDefs("SQLNOTES").Fields("TEXTE").AllowZeroLength());
  }
  const std::string file = local("Vides.mdb").string();
  // mdbtools prints a zero-length text as it prints a Null.
  EXPECT_EQ(run("mdb-export '" + file + "' NOTES"), "LIBRE,STRICT\n,\"x\"\n");
  EXPECT_EQ(run("mdb-export '" + file + "' SQLNOTES"), "TEXTE\n\n");
  EXPECT_EQ(run("mdb-export '" + file + "' AGENT"), "CODE,LIBELLE,NB\n");
  const std::string props = run("mdb-prop '" + file + "' NOTES");
  EXPECT_NE(props.find("AllowZeroLength: no"), std::string::npos) << props;
  // (mdb-prop cannot tell: for a table without properties it prints another object's.)
  const jet::PropertySet sql_props = jet::Database::open(file)->catalog().find_table("SQLNOTES")->property_set();
  const jet::PropertyBlock* texte = sql_props.column("TEXTE");
  EXPECT_TRUE(!texte || !texte->find("AllowZeroLength"));
}

}  // namespace
