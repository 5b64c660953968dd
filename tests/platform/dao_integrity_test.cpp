// Relationships enforced on the rows written through the object model: a record set's
// AddNew/Edit and Execute refuse a foreign key without its related record (3201) and the
// removal of a record others refer to (3200), cascade updates and deletes follow Access's
// attributes; without dbFailOnError the refused rows are passed over.
#include "dao_test_support.h"

namespace {

using namespace platform::dao;
using dao_test::DaoTest;

// indexTestV2000.mdb: Table1.otherfk1 -> Table2.id (cascade deletes), Table1.otherfk2 ->
// Table3.id (cascade updates). Table1 rows (id, otherfk1, otherfk2): (0,0,10) (1,1,11)
// (2,1,11) (3,2,13).
class DaoIntegrityTest : public DaoTest {
 protected:
  void SetUp() override { path_ = place("indexTestV2000.mdb", "Quelis.mdb"); }
  Database open() { return engine_.OpenDatabase(path_, true); }
  long count(Database& db, const std::string& sql) { return db.OpenRecordset(sql)("n").CLng(); }
  std::string path_;
};

TEST_F(DaoIntegrityTest, ARecordSetRefusesAForeignKeyWithoutItsRecord) {
  Database db = open();
  Recordset rs = db.OpenRecordset("Table1", dbOpenDynaset);
  rs.AddNew();
  rs.Fields("id").SetValue(10);
  rs.Fields("otherfk1").SetValue(2);
  rs.Fields("otherfk2").SetValue(99);
  EXPECT_VB_ERROR(rs.Update(), 3201);
  rs.Fields("otherfk2").SetValue(12);
  rs.Update();
  // Null refers to nothing and is allowed.
  rs.AddNew();
  rs.Fields("id").SetValue(11);
  rs.Fields("otherfk1").SetValue(Variant::Null());
  rs.Fields("otherfk2").SetValue(Variant::Null());
  rs.Update();
  EXPECT_EQ(count(db, "SELECT COUNT(*) AS n FROM Table1"), 6);
  rs.MoveFirst();
  rs.Edit();
  rs.Fields("otherfk1").SetValue(42);
  EXPECT_VB_ERROR(rs.Update(), 3201);
}

TEST_F(DaoIntegrityTest, ExecuteFailsWhollyOrPassesTheRefusedRowsOver) {
  Database db = open();
  // Rows 0, 1, 2 would refer to 10, 12 and 14: Table3 has no 14.
  const char* update = "UPDATE Table1 SET otherfk2 = 10 + id * 2 WHERE id <= 2";
  EXPECT_VB_ERROR(db.Execute(update, dbFailOnError), 3201);
  EXPECT_EQ(count(db, "SELECT COUNT(*) AS n FROM Table1 WHERE otherfk2 = 11"), 2);
  db.Execute(update);
  EXPECT_EQ(db.RecordsAffected(), 2);
  EXPECT_EQ(db.OpenRecordset("SELECT otherfk2 FROM Table1 WHERE id = 1")("otherfk2").CLng(), 12);
  EXPECT_EQ(db.OpenRecordset("SELECT otherfk2 FROM Table1 WHERE id = 2")("otherfk2").CLng(), 11);
  // Table3Table1 does not cascade deletes: 11 is referred to, 14 is not.
  db.Execute("INSERT INTO Table3 (id, data) VALUES (14, 'bar14')", dbFailOnError);
  EXPECT_VB_ERROR(db.Execute("DELETE FROM Table3 WHERE id IN (11, 14)", dbFailOnError), 3200);
  EXPECT_EQ(count(db, "SELECT COUNT(*) AS n FROM Table3"), 5);
  db.Execute("DELETE FROM Table3 WHERE id IN (11, 14)");
  EXPECT_EQ(db.RecordsAffected(), 1);
  EXPECT_EQ(count(db, "SELECT COUNT(*) AS n FROM Table3 WHERE id = 11"), 1);
  EXPECT_EQ(count(db, "SELECT COUNT(*) AS n FROM Table3"), 4);
}

TEST_F(DaoIntegrityTest, CascadesFollowTheRelationshipsAttributes) {
  Database db = open();
  // Cascade update: Table1 rows referring to 11 follow it.
  db.Execute("UPDATE Table3 SET id = 111 WHERE id = 11", dbFailOnError);
  EXPECT_EQ(count(db, "SELECT COUNT(*) AS n FROM Table1 WHERE otherfk2 = 111"), 2);
  // Cascade delete: Table1 rows referring to Table2's 1 go with it.
  db.Execute("DELETE FROM Table2 WHERE id = 1", dbFailOnError);
  EXPECT_EQ(count(db, "SELECT COUNT(*) AS n FROM Table1"), 2);
  // Table2Table1 does not cascade updates.
  EXPECT_VB_ERROR(db.Execute("UPDATE Table2 SET id = 20 WHERE id = 2", dbFailOnError), 3200);
}

}  // namespace
