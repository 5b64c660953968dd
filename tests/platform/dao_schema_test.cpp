// Definition objects read from Access-made files: collections, fields, indexes, relations and
// saved queries, and SQL statements run through Execute.
#include "support/linux_programs.h"
#include "dao_test_support.h"

namespace {

using namespace platform::dao;
using dao_test::DaoTest;

class DaoSchemaTest : public DaoTest {
 protected:
  void SetUp() override { path_ = place("indexTestV2000.mdb", "Quelis.mdb"); }
  Database open() { return engine_.OpenDatabase(path_, true); }
  std::string path_;
};

std::vector<std::string> namesOf(const auto& collection) {
  std::vector<std::string> names;
  for (const auto& item : collection) names.push_back(item.Name());
  return names;
}

TEST_F(DaoSchemaTest, TableDefsWalkEveryTableSystemOnesIncludedAndLookUpWithoutCase) {
  QUELIS_NEEDS_MDBTOOLS();
  Database db = open();
  Collection<TableDef> tables = db.TableDefs();
  const std::vector<std::string> names = namesOf(tables);
  for (const char* expected : {"MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships", "Table1", "Table2",
                               "Table3", "MSysNavPaneGroups"})
    EXPECT_NE(std::find(names.begin(), names.end(), expected), names.end()) << expected;
  EXPECT_EQ(tables.Count(), static_cast<int>(names.size()));
  EXPECT_EQ(db.TableDefs("tAbLe3").Name(), "Table3");
  EXPECT_EQ(db.TableDefs("TABLE1").RecordCount(), 4);
  EXPECT_TRUE(db.TableDefs("MSysObjects").Attributes() & dbSystemObject);
  EXPECT_EQ(db.TableDefs("Table1").Attributes(), 0);
  EXPECT_VB_ERROR(db.TableDefs("FICHE"), 3265);
  EXPECT_VB_ERROR(db.TableDefs(tables.Count()), 3265);
  EXPECT_EQ(db.TableDefs(0).Name(), names[0]);
}

TEST_F(DaoSchemaTest, TableFieldsCarryTheirTypesSizesAndProperties) {
  QUELIS_NEEDS_MDBTOOLS();
  Database db = open();
  TableDef table = db.TableDefs("Table2");
  EXPECT_EQ(namesOf(table.Fields()), (std::vector<std::string>{"id", "data"}));
  Field data = table.Fields("DATA");
  EXPECT_EQ(data.Type(), dbText);
  EXPECT_EQ(data.Size(), 50);
  EXPECT_TRUE(data.AllowZeroLength());
  EXPECT_FALSE(data.Required());
  EXPECT_EQ(data.OrdinalPosition(), 1);
  EXPECT_EQ(data.Attributes(), dbVariableField);
  EXPECT_EQ(db.TableDefs("Table1").Fields("id").DefaultValue().CStr(), "0");
  EXPECT_EQ(table.Fields("id").Attributes() & dbFixedField, dbFixedField);
  // Properties: the engine's ones first, then those Access keeps for the column.
  Collection<Property> properties = data.Properties();
  EXPECT_EQ(properties(0).Name(), "Value");
  EXPECT_VB_ERROR(properties("Value").Value(), 3219);
  EXPECT_EQ(properties("Size").Value().CLng(), 50);
  EXPECT_EQ(properties("Name").Value().CStr(), "data");
  EXPECT_TRUE(properties.Contains("UnicodeCompression"));
  EXPECT_TRUE(properties.Contains("ColumnWidth"));
  // A saved field's definition is not changed by setting a property the engine cannot change.
  EXPECT_VB_ERROR(data.Value(), 3219);
  EXPECT_VB_ERROR(table.Fields("nosuchfield"), 3265);
}

TEST_F(DaoSchemaTest, IndexesShowPrimaryKeysAndForeignKeyIndexes) {
  Database db = open();
  TableDef table = db.TableDefs("Table1");
  bool primarySeen = false;
  int foreign = 0;
  for (const Index& index : table.Indexes()) {
    if (index.Primary()) {
      primarySeen = true;
      EXPECT_TRUE(index.Unique());
      EXPECT_TRUE(index.Required());
      ASSERT_EQ(index.Fields().Count(), 1);
      EXPECT_EQ(index.Fields()(0).Name(), "id");
    }
    if (index.Foreign()) ++foreign;
    EXPECT_GE(index.Fields().Count(), 1) << index.Name();
  }
  EXPECT_TRUE(primarySeen);
  EXPECT_EQ(foreign, 2);  // one per relationship on Table1
  Index primary = table.Indexes("PrimaryKey");
  EXPECT_VB_ERROR(primary.SetUnique(false), 3219);  // saved: its definition is fixed
  EXPECT_VB_ERROR(table.Indexes("NoIndex"), 3265);
}

TEST_F(DaoSchemaTest, RelationsNameThePrimaryAndTheForeignSide) {
  Database db = open();
  Relation cascade = db.Relations("table3table1");
  EXPECT_EQ(cascade.Name(), "Table3Table1");
  EXPECT_EQ(cascade.Table(), "Table3");
  EXPECT_EQ(cascade.ForeignTable(), "Table1");
  EXPECT_EQ(cascade.Attributes(), dbRelationUpdateCascade);
  ASSERT_EQ(cascade.Fields().Count(), 1);
  EXPECT_EQ(cascade.Fields()(0).Name(), "id");
  EXPECT_EQ(cascade.Fields()(0).ForeignName(), "otherfk2");
  EXPECT_EQ(db.Relations("Table2Table1").Attributes(), dbRelationDeleteCascade);
  EXPECT_EQ(db.Relations().Count(), 4);
}

TEST_F(DaoSchemaTest, SavedQueriesGiveTheirSqlAndKind) {
  const std::string path = place("queryTestV2000.mdb", "Requetes.mdb");
  Database db = engine_.OpenDatabase(path, true);
  Collection<QueryDef> queries = db.QueryDefs();
  EXPECT_EQ(queries.Count(), 9);
  QueryDef select = queries("selectquery");
  EXPECT_EQ(select.Name(), "SelectQuery");
  EXPECT_EQ(select.Type(), dbQSelect);
  EXPECT_NE(select.SQL().find("SELECT DISTINCT Table1.*"), std::string::npos) << select.SQL();
  EXPECT_EQ(queries("UpdateQuery").Type(), dbQUpdate);
  EXPECT_EQ(queries("DeleteQuery").Type(), dbQDelete);
  EXPECT_VB_ERROR(db.QueryDefs("Absente"), 3265);
}

TEST_F(DaoSchemaTest, ExecuteCountsTheRecordsItChangesAndFailsWholly) {
  Database db = open();
  db.Execute("UPDATE Table1 SET data = data & '!' WHERE otherfk1 = 1", dbFailOnError);
  EXPECT_EQ(db.RecordsAffected(), 2);
  db.Execute("DELETE FROM Table3 WHERE id > 100", dbFailOnError);
  EXPECT_EQ(db.RecordsAffected(), 0);
  // A statement that would change keys other rows refer to (no cascading updates) changes
  // nothing.
  EXPECT_VB_ERROR(db.Execute("UPDATE Table2 SET id = 5", dbFailOnError), 3200);
  Recordset rs = db.OpenRecordset("SELECT id FROM Table2 ORDER BY id", dbOpenSnapshot);
  rs.MoveLast();
  EXPECT_EQ(rs("id").CLng(), 2);
  EXPECT_VB_ERROR(db.Execute("UPDATE Tableau SET x = 1", dbFailOnError), 3078);
  EXPECT_VB_ERROR(db.Execute("UPDATE Table2 SET inconnu = 1", dbFailOnError), 3061);
}

TEST_F(DaoSchemaTest, AnUpdateJoiningABackupNamedByItsWindowsPathCopiesItsValues) {
  // The backup: the same table, two values changed.
  const std::string backup = place("indexTestV2000.mdb", "QuelisSauv_18012013.mdb");
  {
    Database b = engine_.OpenDatabase(backup, true);
    b.Execute("UPDATE Table2 SET data = 'saved' & id WHERE id >= 1", dbFailOnError);
  }
  Database db = open();
  db.Execute("UPDATE Table2 INNER JOIN [;database=C:\\QUELIS\\Bases\\QuelisSauv_18012013.mdb].Table2 AS T2 "
             "ON (Table2.id = T2.id) SET Table2.data = [T2].[data] WHERE table2.id <> 2",
             dbFailOnError);
  EXPECT_EQ(db.RecordsAffected(), 2);
  EXPECT_EQ(db.OpenRecordset("SELECT data FROM Table2 WHERE id = 1")("data").CStr(), "saved1");
  EXPECT_EQ(db.OpenRecordset("SELECT data FROM Table2 WHERE id = 2")("data").CStr(), "foo2");
  try {
    db.Execute("UPDATE Table2 INNER JOIN [;database=C:\\QUELIS\\Bases\\Absente.mdb].Table2 AS T2 "
               "ON Table2.id = T2.id SET Table2.data = T2.data",
               dbFailOnError);
    ADD_FAILURE() << "a missing backup was read";
  } catch (const platform::Error& e) {
    EXPECT_EQ(e.number(), 3024);
    EXPECT_NE(e.description().find("C:\\QUELIS\\Bases\\Absente.mdb"), std::string::npos) << e.description();
  }
}

TEST_F(DaoSchemaTest, VariantsCompareAsVisualBasicIfStatementsDo) {
  Database db = open();
  Recordset rs = db.OpenRecordset("SELECT data, Null AS vide FROM Table2 WHERE id = 1", dbOpenSnapshot);
  Variant data = rs("data");
  Variant none = rs("vide");
  EXPECT_TRUE(data == "foo1");
  EXPECT_FALSE(data == "FOO1");  // binary comparison
  EXPECT_TRUE(data != "foo2");
  EXPECT_TRUE(none.IsNull());
  EXPECT_FALSE(none == "4.4.0.1");
  EXPECT_FALSE(none != "4.4.0.1");  // Null compared is Null: neither branch is taken
  EXPECT_EQ(none.Text(), "");
  EXPECT_VB_ERROR(none.CStr(), 94);
  EXPECT_EQ(Variant("10").CInt(), 10);
  EXPECT_VB_ERROR(Variant("dix").CInt(), 13);
}

}  // namespace

namespace {

using namespace platform::dao;

TEST_F(DaoSchemaTest, CopyingTheSettablePropertiesOfASavedFieldOntoANewOneCarriesItsDefinition) {
  Database db = open();
  TableDef table = db.TableDefs("Table1");
  Field old = table.Fields("id");
  Field copy = table.CreateField();
  int copied = 0, refused = 0;
  for (const Property& p : old.Properties()) {
    try {
      copy.Properties(p.Name()).SetValue(p.Value());
      ++copied;
    } catch (const platform::Error& e) {
      // Value cannot be read, read-only ones cannot be set, Access's own ones are missing.
      EXPECT_TRUE(e.number() == 3219 || e.number() == 3270) << p.Name() << ": " << e.number();
      ++refused;
    }
  }
  EXPECT_GT(copied, 0);
  EXPECT_GT(refused, 0);
  EXPECT_EQ(copy.Name(), "id");
  EXPECT_EQ(copy.Type(), dbLong);
  EXPECT_EQ(copy.Size(), 4);
  EXPECT_EQ(copy.DefaultValue().CStr(), "0");
  EXPECT_EQ(copy.OrdinalPosition(), old.OrdinalPosition());
  EXPECT_FALSE(copy.Required());
  EXPECT_VB_ERROR(copy.Properties("ColumnWidth"), 3270);
  // The new field is still free to change.
  copy.SetName("_id");
  copy.SetSize(4);
  EXPECT_EQ(copy.Name(), "_id");
}

}  // namespace

namespace {

using namespace platform::dao;

TEST_F(DaoSchemaTest, AQueryReplacedAsTheUpdateStepsDoIsSavedWithItsNewText) {
  QUELIS_NEEDS_MDBTOOLS();
  {
    Database db = open();
    db.CreateQueryDef("ReqDonnees", "SELECT id, data FROM Table2 WHERE id > 0");
    EXPECT_VB_ERROR(db.CreateQueryDef("reqdonnees", "SELECT id FROM Table2"), 3012);
    // Drop it when it exists, then make it anew.
    if (db.QueryDefs().Contains("ReqDonnees")) db.QueryDefs().Delete("ReqDonnees");
    QueryDef q = db.CreateQueryDef("ReqDonnees", "SELECT data FROM Table2 WHERE id = 2");
    EXPECT_EQ(q.Type(), dbQSelect);
    Recordset rs = db.OpenRecordset("ReqDonnees");
    EXPECT_EQ(rs.Type(), dbOpenDynaset);
    EXPECT_EQ(rs("data").CStr(), "foo2");
    EXPECT_VB_ERROR(db.QueryDefs().Delete("Absente"), 3265);
    // A temporary query is not saved.
    QueryDef temp = db.CreateQueryDef("", "UPDATE Table2 SET data = 'x' WHERE id = 0");
    temp.Execute(dbFailOnError);
    EXPECT_EQ(temp.RecordsAffected(), 1);
    EXPECT_EQ(db.QueryDefs().Count(), 1);
  }
  Database db = open();
  ASSERT_EQ(db.QueryDefs().Count(), 1);
  EXPECT_NE(db.QueryDefs("REQDONNEES").SQL().find("WHERE id = 2"), std::string::npos) << db.QueryDefs(0).SQL();
  const std::string listed = [&] {
    std::string out;
    const std::string command = "mdb-queries -L '" + local("Quelis.mdb").string() + "' 2>&1";
    if (FILE* pipe = popen(command.c_str(), "r")) {
      char buffer[256];
      while (std::fgets(buffer, sizeof buffer, pipe)) out += buffer;
      pclose(pipe);
    }
    return out;
  }();
  EXPECT_NE(listed.find("ReqDonnees"), std::string::npos) << listed;
}

}  // namespace

namespace {

using namespace platform::dao;

TEST_F(DaoSchemaTest, RelationsAreAppendedAndDeletedAsTheUpdateStepsDo) {
  {
    Database db = open();
    db.Relations().Delete("table3table1");
    EXPECT_VB_ERROR(db.Relations("Table3Table1"), 3265);
    EXPECT_VB_ERROR(db.Relations().Delete("Table3Table1"), 3265);
    Relation r = db.CreateRelation();
    r.SetAttributes(dbRelationUpdateCascade);
    r.SetForeignTable("Table1");
    r.SetName("Table3Table1Bis");
    r.SetTable("Table3");
    Field f = r.CreateField("id");
    f.SetForeignName("otherfk2");
    r.Fields().Append(f);
    db.Relations().Refresh();
    EXPECT_VB_ERROR(db.Relations().Append(db.CreateRelation("Vide", "Table3", "Table1")), 3366);
    db.Relations().Append(r);
    EXPECT_VB_ERROR(r.SetName("x"), 3219);  // saved now
  }
  Database db = open();
  Relation saved = db.Relations("TABLE3TABLE1BIS");
  EXPECT_EQ(saved.Table(), "Table3");
  EXPECT_EQ(saved.ForeignTable(), "Table1");
  EXPECT_EQ(saved.Attributes(), dbRelationUpdateCascade);
  ASSERT_EQ(saved.Fields().Count(), 1);
  EXPECT_EQ(saved.Fields()(0).ForeignName(), "otherfk2");
  EXPECT_EQ(db.Relations().Count(), 4);
}

}  // namespace

namespace {

using namespace platform::dao;

TEST_F(DaoSchemaTest, IndexesAreDroppedAndCreatedOnATableHoldingRows) {
  {
    Database db = open();
    TableDef table = db.TableDefs("Table3");
    const std::string primary = table.Indexes("primarykey").Name();
    table.Indexes().Delete(primary);
    EXPECT_VB_ERROR(table.Indexes().Delete("PrimaryKey"), 3265);
    Index index = table.CreateIndex("IdxDonnees");
    index.SetPrimary(true);
    index.Fields().Append(index.CreateField("data"));
    index.Fields().Append(index.CreateField("id"));
    table.Indexes().Append(index);
    Index twice = table.CreateIndex("IdxDonnees");
    twice.Fields().Append(twice.CreateField("id"));
    EXPECT_VB_ERROR(table.Indexes().Append(twice), 3284);
  }
  Database db = open();
  Index saved = db.TableDefs("Table3").Indexes("IDXDONNEES");
  EXPECT_TRUE(saved.Primary());
  ASSERT_EQ(saved.Fields().Count(), 2);
  EXPECT_EQ(saved.Fields()(0).Name(), "data");
  EXPECT_EQ(saved.Fields()(1).Name(), "id");
  // The new primary key refuses a duplicate pair.
  EXPECT_VB_ERROR(db.Execute("INSERT INTO Table3 (id, data) VALUES (10, 'bar10')", dbFailOnError), 3022);
}

}  // namespace
