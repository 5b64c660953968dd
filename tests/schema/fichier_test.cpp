// After a run of every structure change, the file is sound for our engine and for mdbtools.
#include "schema_fixture.h"

namespace {

using schema_test::Commande;
using schema_test::SchemaTest;
using schema_test::Variant;

TEST_F(SchemaTest, AFileChangedByEveryOperationIsSoundAndReadByMdbtools) {
  forme_.CreChamp("FICHE", "LIFICNAT", "10", 30, Variant("l'avis"));
  forme_.SupChamp("FICHE", "MTFICSUR");
  forme_.ChangeFieldSize("AGENT", "LIAGENT", true, 60, false);
  forme_.CreeIndex("FICHE", "IdxFiche", false, "COAGENT", "", "NBFICLOG");
  forme_.SuppIndex("FICHE", "COAGENT");
  forme_.ModifRequete("ReqAgents", "SELECT COAGENT FROM AGENT");
  forme_.CreeIndex("PILOTE", "PrimaryKey", true, "nupilote");
  bd().Relations().Delete("AGENTFICHE");
  forme_.CreeRelation("AGENT", "FICHE", "AGENTFICHE", true, "COAGENT", "COAGENT");
  ASSERT_TRUE(forme_.erreurs.empty()) << forme_.erreurs[0];
  ferme();

  const std::string fichier = this->fichier().string();
  EXPECT_EQ(Commande(std::string(QUELIS_BINARY_DIR) + "/src/app/jet verify '" + fichier + "'"), "Base saine.\n");
  const std::string schema = Commande("mdb-schema '" + fichier + "' access");
  EXPECT_NE(schema.find("[LIAGENT]\t\t\tText (60)"), std::string::npos) << schema;
  EXPECT_NE(schema.find("[LIFICNAT]\t\t\tText (30)"), std::string::npos) << schema;
  EXPECT_EQ(schema.find("MTFICSUR"), std::string::npos) << schema;
  EXPECT_EQ(Commande("mdb-export '" + fichier + "' FICHE"),
            "NUFICHE,COAGENT,LIFICOBS,NBFICLOG,LIFICNAT\n"
            "1,\"12\",\"Dossier complet\",3,\"l'avis\"\n"
            "2,\"7\",,,\"l'avis\"\n"  // mdbtools prints a zero-length text as nothing
            "3,,,1,\"l'avis\"\n"
            "4,\"31\",\"Relevé à faire\",12,\"l'avis\"\n");
  // The resized field is stored last; its display place (OrdinalPosition) is kept apart.
  EXPECT_EQ(Commande("mdb-export '" + fichier + "' AGENT"),
            "COAGENT,DAAGENT,LIAGENT\n"
            "\"12\",\"03/25/06 00:00:00\",\"Mme Lefèvre\"\n"
            "\"7\",,\"M. d'Hondt\"\n"
            "\"31\",\"12/01/10 00:00:00\",\"Mlle Œillet\"\n");
}

}  // namespace
