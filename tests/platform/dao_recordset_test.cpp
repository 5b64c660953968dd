// Record sets: kinds, navigation, finding, edits, and their end with the database.
#include <cstdlib>

#include "support/linux_programs.h"
#include "dao_test_support.h"

namespace {

using namespace platform::dao;
using dao_test::DaoTest;

class DaoRecordsetTest : public DaoTest {
 protected:
  void SetUp() override { path_ = place("indexTestV2000.mdb", "Quelis.mdb"); }
  Database open() { return engine_.OpenDatabase(path_, true); }
  // The rows of a table as mdbtools reads the file ("id,data" lines).
  std::string exported(const std::string& table) {
    const std::string command = "mdb-export -H -Q -d '|' '" + local("Quelis.mdb").string() + "' " + table + " 2>&1";
    std::string out;
    if (FILE* pipe = popen(command.c_str(), "r")) {
      char buffer[256];
      while (std::fgets(buffer, sizeof buffer, pipe)) out += buffer;
      pclose(pipe);
    }
    return out;
  }
  std::string path_;
};

TEST_F(DaoRecordsetTest, WalkingATableVisitsEveryRowThenEofAndMoveNextPastTheEndRaises3021) {
  Database db = open();
  Recordset rs = db.OpenRecordset("Table3");
  EXPECT_EQ(rs.Type(), dbOpenTable);
  EXPECT_FALSE(rs.Bof());
  std::vector<long> ids;
  while (!rs.Eof()) {
    ids.push_back(rs.Fields("id").Value().CLng());
    rs.MoveNext();
  }
  EXPECT_EQ(ids, (std::vector<long>{10, 11, 12, 13}));
  EXPECT_TRUE(rs.Eof());
  EXPECT_FALSE(rs.Bof());
  EXPECT_VB_ERROR(rs.MoveNext(), 3021);
  EXPECT_VB_ERROR(rs.Fields("data").Value(), 3021);
  rs.MovePrevious();
  EXPECT_EQ(rs("data").CStr(), "bar13");
  rs.MoveFirst();
  EXPECT_EQ(rs("data").CStr(), "bar10");
  rs.MovePrevious();
  EXPECT_TRUE(rs.Bof());
  EXPECT_VB_ERROR(rs.MovePrevious(), 3021);
  rs.MoveLast();
  EXPECT_EQ(rs("id").CLng(), 13);
  EXPECT_EQ(rs.RecordCount(), 4);
}

TEST_F(DaoRecordsetTest, AnEmptySetHasEofAndBofAndNoRecordToMoveTo) {
  Database db = open();
  Recordset rs = db.OpenRecordset("SELECT * FROM Table3 WHERE id > 100", dbOpenDynaset);
  EXPECT_TRUE(rs.Eof());
  EXPECT_TRUE(rs.Bof());
  EXPECT_EQ(rs.RecordCount(), 0);
  EXPECT_VB_ERROR(rs.MoveFirst(), 3021);
  EXPECT_VB_ERROR(rs.MoveLast(), 3021);
  EXPECT_VB_ERROR(rs.MoveNext(), 3021);
  EXPECT_VB_ERROR(rs.Edit(), 3021);
}

TEST_F(DaoRecordsetTest, DynasetRecordCountGrowsWithTheRecordsVisited) {
  Database db = open();
  Recordset rs = db.OpenRecordset("SELECT * FROM Table3", dbOpenDynaset);
  EXPECT_EQ(rs.RecordCount(), 1);
  rs.MoveNext();
  EXPECT_EQ(rs.RecordCount(), 2);
  rs.MoveLast();
  EXPECT_EQ(rs.RecordCount(), 4);
}

TEST_F(DaoRecordsetTest, DefaultTypeIsTableForALocalTableAndDynasetForAStatement) {
  Database db = open();
  EXPECT_EQ(db.OpenRecordset("table2").Type(), dbOpenTable);
  EXPECT_EQ(db.OpenRecordset("[Table2]").Type(), dbOpenTable);
  EXPECT_EQ(db.OpenRecordset("SELECT * FROM Table2").Type(), dbOpenDynaset);
  EXPECT_EQ(db.OpenRecordset("Table2", dbOpenDynaset).Type(), dbOpenDynaset);
  EXPECT_VB_ERROR(db.OpenRecordset("SELECT * FROM Table2", dbOpenTable), 3219);
  EXPECT_VB_ERROR(db.OpenRecordset("NoSuchTable"), 3078);
  EXPECT_VB_ERROR(db.OpenRecordset("Table2", 3), 3001);
}

TEST_F(DaoRecordsetTest, SelectWithACriterionReadsTheMatchingValue) {
  Database db = open();
  Recordset rs = db.OpenRecordset("Select data from Table2 where id=2");
  EXPECT_FALSE(rs.Eof());
  EXPECT_EQ(rs.Fields().Count(), 1);
  EXPECT_EQ(rs.Fields(0).Name(), "data");
  EXPECT_EQ(rs.Fields("DATA").Value().CStr(), "foo2");
  EXPECT_VB_ERROR(rs.Fields("id"), 3265);
  rs.MoveNext();
  EXPECT_TRUE(rs.Eof());
}

TEST_F(DaoRecordsetTest, FieldsAreFoundByNameWhateverTheCaseOfTheirAccentedLetters) {
  Database db = open();
  db.Execute("CREATE TABLE [Élèves] ([Numéro] LONG, [NOM] TEXT(20), [Prénom] TEXT(20))", dbFailOnError);
  Recordset rs = db.OpenRecordset("Élèves", dbOpenTable);
  rs.AddNew();
  rs.Fields("NUMÉRO").SetValue(4);
  rs.Fields("nom").SetValue("Durand");
  rs.Fields("prénom").SetValue("Zoé");
  rs.Update();
  rs.MoveFirst();
  EXPECT_EQ(rs.Fields("numéro").Value().CLng(), 4);
  EXPECT_EQ(rs.Fields("Numéro").Name(), "Numéro");
  EXPECT_EQ(rs.Fields("PRÉNOM").Value().CStr(), "Zoé");
  EXPECT_EQ(rs.Fields("Nom").Value().CStr(), "Durand");
  // An accent is part of the name: the bare letter does not match it.
  EXPECT_VB_ERROR(rs.Fields("Numero"), 3265);
  EXPECT_VB_ERROR(rs.Fields("PRENOM"), 3265);
  EXPECT_VB_ERROR(rs.Fields("NOM "), 3265);
}

TEST_F(DaoRecordsetTest, EditsThroughATableSetReachTheFile) {
  QUELIS_NEEDS_MDBTOOLS();
  {
    Database db = open();
    Recordset rs = db.OpenRecordset("Table2", dbOpenTable);
    rs.Edit();
    rs.Fields("data").SetValue("4.4.0.3");
    EXPECT_EQ(rs.EditMode(), dbEditInProgress);
    EXPECT_EQ(rs("data").CStr(), "4.4.0.3");  // the pending value
    rs.Update();
    EXPECT_EQ(rs.EditMode(), dbEditNone);
    rs.AddNew();
    rs.Fields("id").SetValue(7);
    rs.Fields("data").SetValue("added");
    rs.Update();
    EXPECT_EQ(rs("id").CLng(), 0);  // the current record stays the one before AddNew
    rs.MoveNext();
    rs.Delete();
    EXPECT_VB_ERROR(rs.Fields("data").Value(), 3167);
    rs.Close();
    db.Close();
  }
  EXPECT_EQ(exported("Table2"), "0|4.4.0.3\n2|foo2\n7|added\n");
}

TEST_F(DaoRecordsetTest, UpdateWithoutEditRaises3020AndMovingAwayCancelsTheEdit) {
  Database db = open();
  Recordset rs = db.OpenRecordset("Table2");
  EXPECT_VB_ERROR(rs.Update(), 3020);
  EXPECT_VB_ERROR(rs.Fields("data").SetValue("x"), 3020);
  rs.Edit();
  rs.Fields("data").SetValue("never");
  rs.MoveNext();
  EXPECT_VB_ERROR(rs.Update(), 3020);
  rs.MoveFirst();
  EXPECT_EQ(rs("data").CStr(), "foo0");
}

TEST_F(DaoRecordsetTest, ADuplicatePrimaryKeyIsRefusedWith3022AndChangesNothing) {
  QUELIS_NEEDS_MDBTOOLS();
  Database db = open();
  Recordset rs = db.OpenRecordset("Table2");
  rs.AddNew();
  rs.Fields("id").SetValue(1);
  rs.Fields("data").SetValue("twin");
  EXPECT_VB_ERROR(rs.Update(), 3022);
  // The edit stays pending, as the original keeps it for correction.
  EXPECT_EQ(rs.EditMode(), dbEditAdd);
  rs.CancelUpdate();
  db.Close();
  EXPECT_EQ(exported("Table2"), "0|foo0\n1|foo1\n2|foo2\n");
}

TEST_F(DaoRecordsetTest, ADynasetOverASingleTableQueryIsUpdatable) {
  QUELIS_NEEDS_MDBTOOLS();
  {
    Database db = open();
    Recordset rs = db.OpenRecordset("SELECT id, data FROM Table3 WHERE id >= 12 ORDER BY id DESC", dbOpenDynaset);
    EXPECT_TRUE(rs.Updatable());
    EXPECT_EQ(rs("id").CLng(), 13);
    rs.Edit();
    rs.Fields("data").SetValue("edited13");
    rs.Update();
    rs.MoveNext();
    EXPECT_EQ(rs("id").CLng(), 12);
    rs.Delete();
    rs.MoveNext();
    EXPECT_TRUE(rs.Eof());
    db.Close();
  }
  EXPECT_EQ(exported("Table3"), "10|bar10\n11|bar11\n13|edited13\n");
}

TEST_F(DaoRecordsetTest, ASnapshotIsReadOnlyAndKeepsItsValues) {
  Database db = open();
  Recordset snap = db.OpenRecordset("Table2", dbOpenSnapshot);
  EXPECT_FALSE(snap.Updatable());
  try {
    snap.Edit();
    ADD_FAILURE() << "Edit on a snapshot";
  } catch (const platform::Error& e) {
    EXPECT_EQ(e.number(), 3027);
    EXPECT_EQ(e.description(), "Mise à jour impossible. Base de données ou objet en lecture seule.");
  }
  EXPECT_VB_ERROR(snap.AddNew(), 3027);
  EXPECT_VB_ERROR(snap.Delete(), 3027);
  db.Execute("UPDATE Table2 SET data = 'new' WHERE id = 0");
  EXPECT_EQ(snap("data").CStr(), "foo0");  // a copy taken at open
  Recordset dyn = db.OpenRecordset("Table2", dbOpenDynaset);
  EXPECT_EQ(dyn("data").CStr(), "new");
  // A grouped query gives read-only records too.
  Recordset grouped = db.OpenRecordset("SELECT otherfk1, Count(*) AS n FROM Table1 GROUP BY otherfk1");
  EXPECT_FALSE(grouped.Updatable());
  EXPECT_VB_ERROR(grouped.Edit(), 3027);
}

TEST_F(DaoRecordsetTest, FindFirstNextAndNoMatch) {
  Database db = open();
  Recordset rs = db.OpenRecordset("Table1", dbOpenDynaset);
  rs.FindFirst("otherfk2 = 11");
  ASSERT_FALSE(rs.NoMatch());
  EXPECT_EQ(rs("data").CStr(), "baz11");
  rs.FindNext("otherfk2 = 11");
  ASSERT_FALSE(rs.NoMatch());
  EXPECT_EQ(rs("data").CStr(), "baz11-2");
  rs.FindNext("otherfk2 = 11");
  EXPECT_TRUE(rs.NoMatch());
  EXPECT_EQ(rs("data").CStr(), "baz11-2");  // position kept
  rs.FindLast("data LIKE 'baz1*'");
  EXPECT_EQ(rs("id").CLng(), 3);
  rs.FindPrevious("Table1.otherfk1 = 0");
  EXPECT_EQ(rs("id").CLng(), 0);
  EXPECT_VB_ERROR(rs.FindFirst("nosuchfield = 1"), 3061);
}

TEST_F(DaoRecordsetTest, ARecordsetOutlivingItsDatabaseRaises3420) {
  Recordset rs = [&] {
    Database db = open();
    Recordset inner = db.OpenRecordset("Table2");
    db.Close();
    return inner;
  }();
  try {
    rs.MoveNext();
    ADD_FAILURE() << "a record set of a closed database moved";
  } catch (const platform::Error& e) {
    EXPECT_EQ(e.number(), 3420);
    EXPECT_EQ(e.description(), "Objet invalide ou n'est plus défini.");
  }
  EXPECT_VB_ERROR(rs.Fields("data").Value(), 3420);
  Database db = open();
  Recordset closed = db.OpenRecordset("Table2");
  Field data = closed.Fields("data");
  closed.Close();
  EXPECT_VB_ERROR(closed.Eof(), 3420);
  EXPECT_VB_ERROR(data.Value(), 3420);
}

TEST_F(DaoRecordsetTest, RecordsetFieldsDescribeTheirColumns) {
  Database db = open();
  Recordset rs = db.OpenRecordset("Table1");
  ASSERT_EQ(rs.Fields().Count(), 5);
  Field data = rs.Fields("data");
  EXPECT_EQ(data.Type(), dbText);
  EXPECT_EQ(data.Size(), 50);
  EXPECT_EQ(data.OrdinalPosition(), 3);
  EXPECT_EQ(data.SourceTable(), "Table1");
  EXPECT_EQ(rs.Fields("id").Type(), dbLong);
  EXPECT_EQ(rs.Fields("id").Size(), 4);
  EXPECT_EQ(data.Properties("Value").Value().CStr(), "baz0");
  EXPECT_TRUE(data.Attributes() & dbUpdatableField);
  EXPECT_VB_ERROR(data.SetSize(10), 3219);
}

}  // namespace
