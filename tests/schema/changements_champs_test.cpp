// Field changes on a table holding rows: the log lines word for word, the rows afterwards,
// and what a second run does.
#include "schema_fixture.h"

namespace {

using schema_test::ErreurSignalee;
using schema_test::SchemaTest;
using schema_test::Variant;
using Lignes = std::vector<std::vector<std::string>>;
namespace dao = platform::dao;

TEST_F(SchemaTest, SupChampDropsAnExistingFieldAndSaysWhenItIsMissing) {
  forme_.SupChamp("FICHE", "MTFICSUR");
  forme_.SupChamp("FICHE", "MTFICSUR");
  EXPECT_EQ(forme_.journal, (std::vector<std::string>{" - Suppression du champ MTFICSUR (table FICHE) : Ok",
                                                      " - Suppression du champ MTFICSUR (table FICHE) : Erreur (Champ inexistant)"}));
  EXPECT_EQ(noms(bd().TableDefs("FICHE").Fields()),
            (std::vector<std::string>{"NUFICHE", "COAGENT", "LIFICOBS", "NBFICLOG"}));
  EXPECT_TRUE(forme_.erreurs.empty());
}

TEST_F(SchemaTest, SupChampOfAFieldAnIndexUsesReportsTheEnginesRefusal) {
  forme_.SupChamp("FICHE", "COAGENT");
  EXPECT_EQ(forme_.erreurs, (std::vector<ErreurSignalee>{{"SupChamp", 3280}}));
  EXPECT_TRUE(forme_.journal.empty());  // no success line after an error
  EXPECT_TRUE(forme_.ExisteChamp("FICHE", "COAGENT"));
}

TEST_F(SchemaTest, CreChampWritesItsDefaultIntoTheRowsAlreadyThere) {
  forme_.CreChamp("FICHE", "LIFICNAT", "10", 30, Variant("l'avis favorable"));
  forme_.CreChamp("FICHE", "NBFICPRE", "4", 0, Variant(7));
  forme_.CreChamp("FICHE", "LIFICMEM", "12", 0);
  EXPECT_EQ(forme_.journal, (std::vector<std::string>{" - Création du champ LIFICNAT (table FICHE) : Ok",
                                                      " - Création du champ NBFICPRE (table FICHE) : Ok",
                                                      " - Création du champ LIFICMEM (table FICHE) : Ok"}));
  EXPECT_TRUE(forme_.erreurs.empty());
  EXPECT_EQ(lignes("SELECT * FROM FICHE ORDER BY NUFICHE", {"LIFICNAT", "NBFICPRE", "LIFICMEM"}),
            (Lignes{{"l'avis favorable", "7", ""}, {"l'avis favorable", "7", ""}, {"l'avis favorable", "7", ""},
                    {"l'avis favorable", "7", ""}}));
  dao::TableDef fiche = bd().TableDefs("FICHE");
  EXPECT_EQ(fiche.Fields("LIFICNAT").Type(), dao::dbText);
  EXPECT_EQ(fiche.Fields("LIFICNAT").Size(), 30);
  EXPECT_EQ(fiche.Fields("LIFICNAT").DefaultValue().CStr(), "l'avis favorable");
  EXPECT_EQ(fiche.Fields("NBFICPRE").Type(), dao::dbLong);
  EXPECT_EQ(fiche.Fields("LIFICMEM").Type(), dao::dbMemo);
}

TEST_F(SchemaTest, CreChampWithABlankDefaultLeavesTheRowsNull) {
  forme_.CreChamp("FICHE", "COFICETA", "10", 2, Variant("  "));
  EXPECT_TRUE(forme_.erreurs.empty());
  EXPECT_EQ(lignes("SELECT COFICETA FROM FICHE WHERE COFICETA IS NULL", {"COFICETA"}).size(), 4u);
}

TEST_F(SchemaTest, CreChampOnAnExistingFieldSaysSoAndChangesNothing) {
  forme_.CreChamp("FICHE", " lificobs", "10", 10, Variant("x"));
  EXPECT_EQ(forme_.journal,
            (std::vector<std::string>{" - Création du champ  lificobs (table FICHE) : Erreur (Champ déjà existant)"}));
  EXPECT_EQ(bd().TableDefs("FICHE").Fields("LIFICOBS").Size(), 50);
  EXPECT_EQ(lignes("SELECT LIFICOBS FROM FICHE ORDER BY NUFICHE", {"LIFICOBS"}),
            (Lignes{{"Dossier complet"}, {""}, {""}, {"Relevé à faire"}}));
}

TEST_F(SchemaTest, CreChampOnAMissingTableReportsBothTheProbeAndTheCreation) {
  forme_.CreChamp("FICHES", "X", "10", 5);
  // The probe reports its own error and answers no; the creation then fails on the table.
  EXPECT_EQ(forme_.erreurs, (std::vector<ErreurSignalee>{{"ExisteChamp", 3265}, {"CreChamp", 3265}}));
  EXPECT_TRUE(forme_.journal.empty());
}

TEST_F(SchemaTest, ChangeFieldSizeKeepsNameDataAndPlaceAndChangesTheRules) {
  dao::Field avant = bd().TableDefs("AGENT").Fields("LIAGENT");
  const int position = avant.OrdinalPosition();
  forme_.ChangeFieldSize("AGENT", "LIAGENT", false, 80, true);
  EXPECT_EQ(forme_.journal, (std::vector<std::string>{" - Modification du champ LIAGENT (table AGENT) : Ok"}));
  EXPECT_TRUE(forme_.erreurs.empty());
  dao::TableDef agent = bd().TableDefs("AGENT");
  EXPECT_EQ(noms(agent.Fields()), (std::vector<std::string>{"COAGENT", "LIAGENT", "DAAGENT"}));
  dao::Field apres = agent.Fields("LIAGENT");
  EXPECT_EQ(apres.Size(), 80);
  EXPECT_EQ(apres.Type(), dao::dbText);
  EXPECT_FALSE(apres.Required());
  EXPECT_TRUE(apres.AllowZeroLength());
  EXPECT_EQ(apres.OrdinalPosition(), position);
  EXPECT_EQ(lignes("SELECT * FROM AGENT ORDER BY COAGENT", {"COAGENT", "LIAGENT"}),
            (Lignes{{"12", "Mme Lefèvre"}, {"31", "Mlle Œillet"}, {"7", "M. d'Hondt"}}));
  // A longer text now fits.
  bd().Execute("UPDATE AGENT SET LIAGENT = '" + std::string(70, 'x') + "' WHERE COAGENT = '7'", dao::dbFailOnError);
}

TEST_F(SchemaTest, ChangeFieldSizeToASizeTheDataDoesNotFitFailsAndLeavesTheCopyBehind) {
  forme_.ChangeFieldSize("AGENT", "LIAGENT", true, 5, false);
  ASSERT_EQ(forme_.erreurs.size(), 1u);
  EXPECT_EQ(forme_.erreurs[0].procedure, "ChangeFieldSize");
  EXPECT_TRUE(forme_.journal.empty());
  // The steps already done stay done: the "_" field was appended before the copy failed.
  EXPECT_TRUE(forme_.ExisteChamp("AGENT", "_LIAGENT"));
  EXPECT_EQ(bd().TableDefs("AGENT").Fields("LIAGENT").Size(), 50);
}

TEST_F(SchemaTest, ModifChampCoAgentRebuildsTheFieldAtItsPlaceOnAnEmptyTable) {
  bd().Execute("INSERT INTO PILOTE (nupilote, lipilote) VALUES ('1', 'Permis')", dao::dbFailOnError);
  bd().Execute("DELETE FROM PILOTE", dao::dbFailOnError);
  forme_.ModifChampCoAgent("PILOTE", "nupilote", true, "10", 3);
  EXPECT_EQ(forme_.journal, (std::vector<std::string>{" - Modification du champ nupilote de la table PILOTE : Ok"}));
  EXPECT_TRUE(forme_.erreurs.empty());
  dao::TableDef pilote = bd().TableDefs("PILOTE");
  EXPECT_EQ(noms(pilote.Fields()), (std::vector<std::string>{"nupilote", "lipilote"}));
  EXPECT_EQ(pilote.Fields("nupilote").Size(), 3);
  EXPECT_TRUE(pilote.Fields("nupilote").Required());
  EXPECT_FALSE(forme_.ExisteChamp("PILOTE", "champtemp"));
}

// "WHERE F <> null" is never true under Jet's three-valued logic: no row gets its "0" +
// code, so the rebuilt field is filled with Nulls, which a required field refuses.
TEST_F(SchemaTest, ModifChampCoAgentOnRowsCopiesNothingAndARequiredFieldThenRefusesTheNulls) {
  forme_.ModifChampCoAgent("AGENT", "LIAGENT", true, "10", 3);
  EXPECT_EQ(forme_.erreurs, (std::vector<ErreurSignalee>{{"ModifChampCoAgent", 3314}}));
  EXPECT_TRUE(forme_.journal.empty());
  EXPECT_TRUE(forme_.ExisteChamp("AGENT", "champtemp"));
  EXPECT_EQ(lignes("SELECT champtemp FROM AGENT WHERE champtemp IS NOT NULL", {"champtemp"}).size(), 0u);
}

TEST_F(SchemaTest, ModifChampCoAgentOnAMissingFieldDoesNothingAtAll) {
  forme_.ModifChampCoAgent("AGENT", "COAGENT2", true, "10", 3);
  EXPECT_TRUE(forme_.journal.empty());
  EXPECT_TRUE(forme_.erreurs.empty());
  EXPECT_FALSE(forme_.ExisteChamp("AGENT", "champtemp"));
}

}  // namespace
