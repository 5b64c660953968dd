// `jet sql` run as a program on copies of an Access-made database: SELECT rows as CSV in the
// conventions of `jet export`, counts of records affected, refused rows passed over unless
// --fail-on-error is given, errors on stderr with their number and French text.
#include <gtest/gtest.h>

#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_command_test_cases {

namespace {

struct Outcome {
  bool ok = false;
  std::string out, err;
};

class SqlCommand : public ::testing::Test {
 protected:
  void SetUp() override { path = jet_test::copy_fixture(dir, "indexTestV2000.mdb"); }
  Outcome sql(const std::string& statement, const std::string& flags = "") {
    Outcome o;
    const std::string err_file = (dir.path() / "stderr.txt").string();
    o.out = jet_test::run(jet_test::jet_program() + " sql " + flags + " " + jet_test::shell_quote(path) + " " +
                              jet_test::shell_quote(statement) + " 2>" + jet_test::shell_quote(err_file),
                          &o.ok);
    const auto bytes = jet_test::read_file(err_file);
    o.err.assign(bytes.begin(), bytes.end());
    return o;
  }
  jet_test::ScratchDir dir;
  std::string path;
};

TEST_F(SqlCommand, SelectPrintsCsvAsExportDoes) {
  QUELIS_NEEDS_JET_PROGRAM();
  const Outcome all = sql("SELECT * FROM Table2");
  EXPECT_TRUE(all.ok) << all.err;
  EXPECT_EQ(all.out, jet_test::mdb_export(path, "Table2"));
  const Outcome some = sql("SELECT id * 2 AS double, data & '\"' AS quoted, Null AS rien, #2012-03-04# AS jour "
                           "FROM Table2 WHERE id > 0 ORDER BY id DESC");
  EXPECT_TRUE(some.ok) << some.err;
  EXPECT_EQ(some.out, "double,quoted,rien,jour\n4,\"foo2\"\"\",,\"03/04/12 00:00:00\"\n"
                      "2,\"foo1\"\"\",,\"03/04/12 00:00:00\"\n");
}

TEST_F(SqlCommand, ChangesPrintTheRecordsAffected) {
  QUELIS_NEEDS_JET_PROGRAM();
  Outcome o = sql("UPDATE Table2 SET data = data & '!' WHERE id >= 1");
  EXPECT_TRUE(o.ok) << o.err;
  EXPECT_EQ(o.out, "2\n");
  EXPECT_EQ(jet_test::mdb_export(path, "Table2"), "id,data\n0,\"foo0\"\n1,\"foo1!\"\n2,\"foo2!\"\n");
  o = sql("ALTER TABLE Table2 ADD COLUMN note TEXT(10)");
  EXPECT_TRUE(o.ok) << o.err;
  EXPECT_EQ(o.out, "0\n");
  EXPECT_EQ(jet_test::mdb_export(path, "Table2").substr(0, 13), "id,data,note\n");
}

TEST_F(SqlCommand, RefusedRowsArePassedOverUnlessFailOnErrorIsGiven) {
  QUELIS_NEEDS_JET_PROGRAM();
  Outcome o = sql("UPDATE Table2 SET id = 1", "--fail-on-error");
  EXPECT_FALSE(o.ok);
  EXPECT_EQ(o.out, "");
  EXPECT_NE(o.err.find("3022"), std::string::npos) << o.err;
  EXPECT_NE(o.err.find("valeurs en double"), std::string::npos) << o.err;
  EXPECT_EQ(jet_test::mdb_export(path, "Table2"), "id,data\n0,\"foo0\"\n1,\"foo1\"\n2,\"foo2\"\n");
  o = sql("UPDATE Table2 SET id = 1, data = 'un'");
  EXPECT_TRUE(o.ok) << o.err;
  EXPECT_EQ(o.out, "1\n");
  EXPECT_EQ(jet_test::mdb_export(path, "Table2"), "id,data\n0,\"foo0\"\n1,\"un\"\n2,\"foo2\"\n");
}

TEST_F(SqlCommand, ErrorsGoToStderrWithTheirNumber) {
  QUELIS_NEEDS_JET_PROGRAM();
  Outcome o = sql("SELECT * FROM Absente");
  EXPECT_FALSE(o.ok);
  EXPECT_EQ(o.out, "");
  EXPECT_NE(o.err.find("3078"), std::string::npos) << o.err;
  EXPECT_NE(o.err.find("Absente"), std::string::npos) << o.err;
  o = sql("UPDATE Table2 SET inconnu = 1");
  EXPECT_FALSE(o.ok);
  EXPECT_NE(o.err.find("3061"), std::string::npos) << o.err;
  EXPECT_NE(o.err.find("Trop peu de paramètres"), std::string::npos) << o.err;
  o = sql("SELEC * FROM Table2");
  EXPECT_FALSE(o.ok);
  EXPECT_NE(o.err.find("Erreur"), std::string::npos) << o.err;
  const std::string missing = (dir.path() / "absente.mdb").string();
  bool ok = true;
  jet_test::run(jet_test::jet_program() + " sql " + jet_test::shell_quote(missing) + " 'SELECT 1' 2>/dev/null", &ok);
  EXPECT_FALSE(ok);
}

}  // namespace

}  // namespace sql_command_test_cases
