// The probes: names matched without regard to case or surrounding blanks, system objects
// included, and errors reported under the probe's own name rather than a silent false.
#include "schema_fixture.h"

namespace {

using schema_test::ErreurSignalee;
using schema_test::SchemaTest;

TEST_F(SchemaTest, TablesAndQueriesAreFoundWhateverTheCaseAndSurroundingBlanks) {
  EXPECT_TRUE(forme_.ExisteTable("VERSION"));
  EXPECT_TRUE(forme_.ExisteTable("  version "));
  EXPECT_TRUE(forme_.ExisteTable("MSysObjects"));  // system tables are walked too
  EXPECT_FALSE(forme_.ExisteTable("VERSIONS"));
  EXPECT_FALSE(forme_.ExisteTable("VER SION"));  // blanks inside a name count
  EXPECT_TRUE(forme_.ExisteReq(" reqagents"));
  EXPECT_FALSE(forme_.ExisteReq("ReqAgent"));
  EXPECT_TRUE(forme_.erreurs.empty());
  EXPECT_TRUE(forme_.journal.empty());  // probes write nothing
}

TEST_F(SchemaTest, FieldsAndIndexesAreLookedUpInTheNamedTable) {
  EXPECT_TRUE(forme_.ExisteChamp("FICHE", " coagent  "));
  EXPECT_TRUE(forme_.ExisteChamp("fiche", "LIFICOBS"));
  EXPECT_FALSE(forme_.ExisteChamp("FICHE", "LIAGENT"));  // a field of another table
  EXPECT_TRUE(forme_.ExisteIndex("FICHE", "primarykey"));
  EXPECT_TRUE(forme_.ExisteIndex("FICHE", "COAGENT "));
  EXPECT_FALSE(forme_.ExisteIndex("AGENT", "COAGENT"));
  EXPECT_FALSE(forme_.ExisteIndex("PILOTE", "PrimaryKey"));  // a table without indexes
  EXPECT_TRUE(forme_.erreurs.empty());
}

TEST_F(SchemaTest, AMissingTableIsAnErrorReportedUnderTheProbesName) {
  EXPECT_FALSE(forme_.ExisteChamp("FICHES", "COAGENT"));
  EXPECT_FALSE(forme_.ExisteIndex("FICHES", "PrimaryKey"));
  // The table is looked up as named: blanks around a table name are not trimmed.
  EXPECT_FALSE(forme_.ExisteChamp(" FICHE", "COAGENT"));
  EXPECT_EQ(forme_.erreurs, (std::vector<ErreurSignalee>{{"ExisteChamp", 3265}, {"ExisteIndex", 3265},
                                                         {"ExisteChamp", 3265}}));
}

TEST_F(SchemaTest, WithoutAnOpenDatabaseEveryProbeReportsError91AndAnswersNo) {
  ferme();
  EXPECT_FALSE(forme_.ExisteTable("VERSION"));
  EXPECT_FALSE(forme_.ExisteReq("ReqAgents"));
  EXPECT_FALSE(forme_.ExisteChamp("FICHE", "COAGENT"));
  EXPECT_FALSE(forme_.ExisteIndex("FICHE", "COAGENT"));
  EXPECT_EQ(forme_.erreurs, (std::vector<ErreurSignalee>{{"ExisteTable", 91}, {"ExisteReq", 91},
                                                         {"ExisteChamp", 91}, {"ExisteIndex", 91}}));
}

TEST_F(SchemaTest, ADatabaseWithoutSavedQueriesAnswersNoWithoutReport) {
  bd().QueryDefs().Delete("ReqAgents");
  EXPECT_FALSE(forme_.ExisteReq("ReqAgents"));
  EXPECT_TRUE(forme_.erreurs.empty());
}

}  // namespace
