// Saved queries, indexes and relations as the update steps change them; only ModifRequete
// tests first, so the others report the engine's error when run twice.
#include "schema_fixture.h"

namespace {

using schema_test::ErreurSignalee;
using schema_test::SchemaTest;
namespace dao = platform::dao;

std::vector<std::string> champsIndex(const dao::Index& index) {
  std::vector<std::string> out;
  for (const dao::Field& f : index.Fields()) out.push_back(f.Name());
  return out;
}

TEST_F(SchemaTest, ModifRequeteReplacesOrCreatesTheSavedQuery) {
  forme_.ModifRequete("ReqAgents", "SELECT COAGENT FROM AGENT WHERE COAGENT <> '7'");
  forme_.ModifRequete("ReqFiches", "SELECT NUFICHE FROM FICHE");
  EXPECT_EQ(forme_.journal, (std::vector<std::string>{" - Modification de la requête ReqAgents : Ok",
                                                      " - Modification de la requête ReqFiches : Ok"}));
  EXPECT_TRUE(forme_.erreurs.empty());
  EXPECT_EQ(lignes("ReqAgents", {"COAGENT"}).size(), 2u);
  EXPECT_EQ(lignes("ReqFiches", {"NUFICHE"}).size(), 4u);
  EXPECT_EQ(bd().QueryDefs().Count(), 2);
}

TEST_F(SchemaTest, ModifRequeteWithAStatementTheEngineRefusesReportsIt) {
  forme_.ModifRequete("ReqAgents", "SELECT FROM WHERE");
  ASSERT_EQ(forme_.erreurs.size(), 1u);
  EXPECT_EQ(forme_.erreurs[0].procedure, "ModifRequete");
  EXPECT_TRUE(forme_.journal.empty());
}

TEST_F(SchemaTest, CreeIndexSkipsEmptyFieldsButUsesLaterOnes) {
  forme_.CreeIndex("FICHE", "IdxFiche", false, "COAGENT", "", "NBFICLOG");
  forme_.CreeIndex("PILOTE", "PrimaryKey", true, "nupilote");
  EXPECT_TRUE(forme_.erreurs.empty());
  EXPECT_TRUE(forme_.journal.empty());
  dao::Index index = bd().TableDefs("FICHE").Indexes("IdxFiche");
  EXPECT_EQ(champsIndex(index), (std::vector<std::string>{"COAGENT", "NBFICLOG"}));
  EXPECT_FALSE(index.Primary());
  EXPECT_FALSE(index.Unique());
  EXPECT_TRUE(bd().TableDefs("PILOTE").Indexes("PrimaryKey").Primary());
}

TEST_F(SchemaTest, IndexesRunTwiceOrMissingReportTheEnginesError) {
  forme_.CreeIndex("FICHE", "IdxFiche", false, "COAGENT");
  forme_.CreeIndex("FICHE", "IdxFiche", false, "COAGENT");
  forme_.SuppIndex("FICHE", "idxfiche");
  forme_.SuppIndex("FICHE", "IdxFiche");
  forme_.CreeIndex("FICHE", "IdxVide", false, "");
  ASSERT_EQ(forme_.erreurs.size(), 3u);
  EXPECT_EQ(forme_.erreurs[0].procedure, "CreeIndex");
  EXPECT_EQ(forme_.erreurs[1], (ErreurSignalee{"SuppIndex", 3265}));
  EXPECT_EQ(forme_.erreurs[2].procedure, "CreeIndex");
  EXPECT_FALSE(forme_.ExisteIndex("FICHE", "IdxFiche"));
  EXPECT_FALSE(forme_.ExisteIndex("FICHE", "IdxVide"));
}

TEST_F(SchemaTest, CreeRelationSetsCascadeUpdatesOnlyWhenAsked) {
  forme_.SuppIndex("FICHE", "COAGENT");  // not used by anything but the relation's own index
  bd().Relations().Delete("AGENTFICHE");
  forme_.CreeRelation("AGENT", "FICHE", "AGENTFICHE", false, "COAGENT", "COAGENT");
  EXPECT_TRUE(forme_.erreurs.empty());
  dao::Relation relation = bd().Relations("AGENTFICHE");
  EXPECT_EQ(relation.Attributes(), 0);
  EXPECT_EQ(relation.Table(), "AGENT");
  EXPECT_EQ(relation.ForeignTable(), "FICHE");

  bd().Relations().Delete("AGENTFICHE");
  forme_.CreeRelation("AGENT", "FICHE", "AGENTFICHE", true, "COAGENT", "COAGENT");
  EXPECT_EQ(bd().Relations("AGENTFICHE").Attributes(), dao::dbRelationUpdateCascade);
  // The relation is enforced: a code unknown to AGENT is refused, a changed code follows.
  EXPECT_ANY_THROW(bd().Execute("UPDATE FICHE SET COAGENT = '99' WHERE NUFICHE = 1", dao::dbFailOnError));
  bd().Execute("UPDATE AGENT SET COAGENT = '13' WHERE COAGENT = '12'", dao::dbFailOnError);
  EXPECT_EQ(lignes("SELECT COAGENT FROM FICHE WHERE NUFICHE = 1", {"COAGENT"}),
            (std::vector<std::vector<std::string>>{{"13"}}));
}

TEST_F(SchemaTest, CreeRelationRunTwiceReportsTheEnginesError) {
  forme_.CreeRelation("AGENT", "FICHE", "AGENTFICHE", false, "COAGENT", "COAGENT");
  ASSERT_EQ(forme_.erreurs.size(), 1u);
  EXPECT_EQ(forme_.erreurs[0].procedure, "CreeRelation");
  EXPECT_EQ(bd().Relations().Count(), 1);
}

}  // namespace
