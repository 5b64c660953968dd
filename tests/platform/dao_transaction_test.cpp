// Workspace transactions over databases opened before and after BeginTrans.
#include "dao_test_support.h"

namespace {

using namespace platform::dao;
using dao_test::DaoTest;

class DaoTransactionTest : public DaoTest {
 protected:
  // Renames the "data" of Table2's record id=1 through a table-type record set.
  static void renameFoo1(Database& db, const std::string& text) {
    Recordset rs = db.OpenRecordset("Table2", dbOpenTable);
    rs.FindFirst("id = 1");
    ASSERT_FALSE(rs.NoMatch());
    rs.Edit();
    rs.Fields("data").SetValue(text);
    rs.Update();
    rs.Close();
  }
  std::string foo1(const std::string& path) {
    Database db = engine_.OpenDatabase(path, true);
    Recordset rs = db.OpenRecordset("SELECT data FROM Table2 WHERE id = 1", dbOpenSnapshot);
    std::string text = rs.Fields("data").Value().CStr();
    db.Close();
    return text;
  }
};

TEST_F(DaoTransactionTest, RollbackOfADatabaseOpenedAfterBeginTransLeavesTheFileUnchanged) {
  const std::string path = place("indexTestV2000.mdb", "QuelMaj.mdb");
  const std::string before = bytesOf("QuelMaj.mdb");
  engine_.BeginTrans();
  Workspace ws = engine_.Workspaces(0);
  Database db = ws.OpenDatabase(path, true);
  renameFoo1(db, "changed");
  db.Execute("UPDATE Table3 SET data = 'x'", dbFailOnError);
  EXPECT_EQ(db.RecordsAffected(), 4);
  // The changes are visible inside the transaction...
  Recordset check = db.OpenRecordset("SELECT data FROM Table2 WHERE id = 1", dbOpenSnapshot);
  EXPECT_EQ(check.Fields("data").Value().CStr(), "changed");
  ws.Rollback();
  // ...and gone after the rollback, in the open database and in the file.
  Recordset after = db.OpenRecordset("SELECT data FROM Table2 WHERE id = 1", dbOpenSnapshot);
  EXPECT_EQ(after.Fields("data").Value().CStr(), "foo1");
  db.Close();
  EXPECT_EQ(bytesOf("QuelMaj.mdb"), before);
}

TEST_F(DaoTransactionTest, CommitOfADatabaseOpenedAfterBeginTransWritesTheChanges) {
#ifdef _WIN32
  GTEST_SKIP() << "reads the file while the engine holds it open without sharing, which Windows refuses";
#endif
  const std::string path = place("indexTestV2000.mdb", "QuelMaj.mdb");
  const std::string before = bytesOf("QuelMaj.mdb");
  engine_.BeginTrans();
  Database db = engine_.Workspaces(0).OpenDatabase(path, true);
  renameFoo1(db, "4.4.0.3");
  // Nothing reaches the file before the commit.
  EXPECT_EQ(bytesOf("QuelMaj.mdb"), before);
  engine_.CommitTrans();
  db.Close();
  EXPECT_NE(bytesOf("QuelMaj.mdb"), before);
  EXPECT_EQ(foo1(path), "4.4.0.3");
}

TEST_F(DaoTransactionTest, OnlyTheOutermostCommitWrites) {
#ifdef _WIN32
  GTEST_SKIP() << "reads the file while the engine holds it open without sharing, which Windows refuses";
#endif
  const std::string path = place("indexTestV2000.mdb", "a.mdb");
  const std::string before = bytesOf("a.mdb");
  Database db = engine_.OpenDatabase(path, true);
  Workspace ws = engine_.Workspaces(0);
  ws.BeginTrans();
  ws.BeginTrans();
  EXPECT_EQ(ws.TransactionDepth(), 2);
  renameFoo1(db, "inner");
  ws.CommitTrans();
  EXPECT_EQ(bytesOf("a.mdb"), before);
  ws.Rollback();  // the outer level drops what the inner one committed into it
  EXPECT_EQ(bytesOf("a.mdb"), before);
  ws.BeginTrans();
  ws.BeginTrans();
  renameFoo1(db, "kept");
  ws.Rollback();  // inner level only
  renameFoo1(db, "outer");
  ws.CommitTrans();
  db.Close();
  EXPECT_EQ(foo1(path), "outer");
}

TEST_F(DaoTransactionTest, EditsOutsideATransactionAreWrittenAtOnce) {
  const std::string path = place("indexTestV2000.mdb", "a.mdb");
  const std::string before = bytesOf("a.mdb");
  Database db = engine_.OpenDatabase(path, true);
  renameFoo1(db, "direct");
  // Still open: the file already holds the change.
  EXPECT_NE(bytesOf("a.mdb"), before);
  db.Close();
  EXPECT_EQ(foo1(path), "direct");
}

TEST_F(DaoTransactionTest, CommitOrRollbackWithoutBeginTransRaises3034) {
  EXPECT_VB_ERROR(engine_.CommitTrans(), 3034);
  EXPECT_VB_ERROR(engine_.Workspaces(0).Rollback(), 3034);
  engine_.BeginTrans();
  engine_.CommitTrans();
  EXPECT_VB_ERROR(engine_.CommitTrans(), 3034);
}

TEST_F(DaoTransactionTest, AnAbandonedTransactionLeavesTheFileUnchangedWhenTheDatabaseIsDropped) {
  // The update script's error exit: neither commit nor rollback, the database left open.
  const std::string path = place("indexTestV2000.mdb", "QuelMaj.mdb");
  const std::string before = bytesOf("QuelMaj.mdb");
  {
    engine_.BeginTrans();
    Database db = engine_.Workspaces(0).OpenDatabase(path, true);
    renameFoo1(db, "lost");
    // While it stays open, nobody else may open the file.
    EXPECT_VB_ERROR(engine_.OpenDatabase(path, true), 3045);
  }
  EXPECT_EQ(bytesOf("QuelMaj.mdb"), before);
  EXPECT_EQ(engine_.Workspaces(0).DatabaseCount(), 0);
  // The workspace level is still open; closing it touches nothing.
  engine_.Rollback();
  EXPECT_EQ(foo1(path), "foo1");
}

TEST_F(DaoTransactionTest, OnlyWorkspaceZeroExists) {
  EXPECT_EQ(engine_.Workspaces(0).Name(), "#Default Workspace#");
  EXPECT_VB_ERROR(engine_.Workspaces(1), 3265);
  EXPECT_VB_ERROR(engine_.Workspaces(-1), 3265);
}

}  // namespace
