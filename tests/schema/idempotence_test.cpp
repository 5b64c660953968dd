// Each operation run a second time on the database the first run left: the operations that
// test first (SupChamp, CreChamp) say so and change nothing; ModifRequete replaces the query
// by the same one; those that do not test (SuppIndex, CreeIndex, CreeRelation) report the
// engine's refusal and change nothing either. "Nothing" is what `jet diff` says between the
// file after the first run and the file after the second.
#include <filesystem>
#include <functional>

#include "schema_fixture.h"

namespace {

using schema_test::Commande;
using schema_test::ErreurSignalee;
using schema_test::SchemaTest;
using schema_test::Variant;
namespace fs = std::filesystem;

struct SecondRun {
  std::vector<std::string> journal;
  std::vector<ErreurSignalee> erreurs;
  std::string diff;  // `jet diff` between the file after the first run and after the second
  std::string firstDiff;  // and between the file before the first run and after it
};

class IdempotenceTest : public SchemaTest {
 protected:
  static std::string diff(const fs::path& a, const fs::path& b) {
    return Commande(std::string(QUELIS_BINARY_DIR) + "/src/app/jet diff '" + a.string() + "' '" + b.string() + "'");
  }
  SecondRun deuxFois(const std::function<void()>& operation) {
    forme_.journal.clear();
    forme_.erreurs.clear();
    ferme();
    const fs::path avant = fichier().parent_path() / "avant.mdb";
    fs::copy_file(fichier(), avant, fs::copy_options::overwrite_existing);
    forme_.Bd = moteur_.OpenDatabase(kChemin, true);
    operation();
    EXPECT_TRUE(forme_.erreurs.empty()) << "first run: " << forme_.erreurs.front();
    ferme();
    const fs::path premier = fichier().parent_path() / "premier.mdb";
    fs::copy_file(fichier(), premier, fs::copy_options::overwrite_existing);
    forme_.Bd = moteur_.OpenDatabase(kChemin, true);
    forme_.journal.clear();
    forme_.erreurs.clear();
    operation();
    SecondRun second{forme_.journal, forme_.erreurs, "", ""};
    ferme();
    second.diff = diff(premier, fichier());
    second.firstDiff = diff(avant, premier);
    return second;
  }
};

TEST_F(IdempotenceTest, OperationsThatTestFirstSaySoAndChangeNothing) {
  SecondRun sup = deuxFois([&] { forme_.SupChamp("FICHE", "MTFICSUR"); });
  EXPECT_EQ(sup.journal, (std::vector<std::string>{" - Suppression du champ MTFICSUR (table FICHE) : Erreur (Champ inexistant)"}));
  EXPECT_TRUE(sup.erreurs.empty());
  EXPECT_EQ(sup.diff, "");
  EXPECT_NE(sup.firstDiff.find("MTFICSUR"), std::string::npos) << sup.firstDiff;

  forme_.Bd = moteur_.OpenDatabase(kChemin, true);
  SecondRun cre = deuxFois([&] { forme_.CreChamp("FICHE", "LIFICNAT", "10", 30, Variant("l'avis")); });
  EXPECT_EQ(cre.journal,
            (std::vector<std::string>{" - Création du champ LIFICNAT (table FICHE) : Erreur (Champ déjà existant)"}));
  EXPECT_TRUE(cre.erreurs.empty());
  EXPECT_EQ(cre.diff, "");
  EXPECT_NE(cre.firstDiff.find("LIFICNAT"), std::string::npos) << cre.firstDiff;
}

TEST_F(IdempotenceTest, ReplacingAQueryByItselfLeavesTheSameQuery) {
  SecondRun req = deuxFois([&] { forme_.ModifRequete("ReqAgents", "SELECT COAGENT FROM AGENT WHERE COAGENT <> '7'"); });
  EXPECT_EQ(req.journal, (std::vector<std::string>{" - Modification de la requête ReqAgents : Ok"}));
  EXPECT_TRUE(req.erreurs.empty());
  EXPECT_EQ(req.diff, "");
  EXPECT_NE(req.firstDiff.find("ReqAgents"), std::string::npos) << req.firstDiff;
}

TEST_F(IdempotenceTest, OperationsThatDoNotTestReportTheEngineAndChangeNothing) {
  SecondRun index = deuxFois([&] { forme_.CreeIndex("FICHE", "IdxObs", false, "LIFICOBS", "", "NBFICLOG"); });
  ASSERT_EQ(index.erreurs.size(), 1u);
  EXPECT_EQ(index.erreurs[0].procedure, "CreeIndex");
  EXPECT_EQ(index.diff, "");
  EXPECT_NE(index.firstDiff.find("IdxObs"), std::string::npos) << index.firstDiff;

  forme_.Bd = moteur_.OpenDatabase(kChemin, true);
  SecondRun supIndex = deuxFois([&] { forme_.SuppIndex("FICHE", "IdxObs"); });
  ASSERT_EQ(supIndex.erreurs.size(), 1u);
  EXPECT_EQ(supIndex.erreurs[0].procedure, "SuppIndex");
  EXPECT_EQ(supIndex.diff, "");

  forme_.Bd = moteur_.OpenDatabase(kChemin, true);
  bd().Relations().Delete("AGENTFICHE");
  SecondRun relation = deuxFois([&] { forme_.CreeRelation("AGENT", "FICHE", "AGENTFICHE", true, "COAGENT", "COAGENT"); });
  ASSERT_EQ(relation.erreurs.size(), 1u);
  EXPECT_EQ(relation.erreurs[0].procedure, "CreeRelation");
  EXPECT_EQ(relation.diff, "");
  EXPECT_NE(relation.firstDiff.find("AGENTFICHE"), std::string::npos) << relation.firstDiff;
  EXPECT_TRUE(relation.journal.empty());
}

}  // namespace
