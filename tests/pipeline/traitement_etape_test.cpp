// One step of the catalogue run on a live database through temporary copies: the log word
// for word, the change in place on success, and the live file byte for byte untouched on
// failure, with no temporary file left either way.
#include "pipeline_fixture.h"
#include "steps/catalogue.h"

namespace {

using namespace pipeline_test;

class TraitementEtapeTest : public PipelineTest {
 protected:
  bool lance(const std::string& nom, const std::vector<std::string>& arguments) {
    auto f = form();
    f->TraitementEtape(kBases + "Quelis.mdb", nom, steps::TrouveEtape(nom)->prepare(arguments));
    const bool succes = f->Succes;
    f->Unload();
    return succes;
  }
  bool restes() const { return exists(kBasesLocal + "QuelMaj.mdb") || exists(kBasesLocal + "QuelComp.mdb"); }
};

TEST_F(TraitementEtapeTest, ASucceedingStepReplacesTheLiveDatabaseAndLogsEachStage) {
  baseVivante();
  EXPECT_TRUE(lance("CreChamp", {"FICHE", "LIFICNAT", "10", "30", "l'avis"}));
  EXPECT_EQ(read(kJournal), lines(EnTete("") + Lines{"--- Étape CreChamp ---", "Copie vers base temporaire...",
                                                     "Réparation de la base temporaire...",
                                                     "Étape CreChamp sur la base temporaire...",
                                                     " - Création du champ LIFICNAT (table FICHE) : Ok",
                                                     "Compactage base temporaire", "Suppression bases temporaires",
                                                     "Étape terminée -> succès"} +
                                kFin));
  EXPECT_FALSE(restes());
  const auto rows = test_support::TableRows(*moteur, kBases + "Quelis.mdb", "FICHE", {"LIFICNAT"});
  ASSERT_EQ(rows.size(), 24u);
  for (const auto& row : rows) EXPECT_EQ(row[0], "l'avis");
}

TEST_F(TraitementEtapeTest, AFailingStepLeavesTheLiveFileByteIdenticalAndNoCopyBehind) {
  baseVivante();
  const std::string avant = bytes(kBasesLocal + "Quelis.mdb");
  // COFICCOM carries an index: the engine refuses to drop it.
  EXPECT_FALSE(lance("SupChamp", {"FICHE", "COFICCOM"}));
  EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), avant);
  EXPECT_FALSE(restes());
  const std::string journal = read(kJournal);
  EXPECT_NE(journal.find(lines(BlocErreur("SupChamp", "2147224784",
                                          "Impossible de supprimer un champ qui fait partie d'un index ou qui est "
                                          "nécessaire au système."))),
            std::string::npos)
      << journal;
  EXPECT_NE(journal.find("Étape terminée -> échec\r\n\r\nFin : 15/01/2013 à 14:30:05\r\n"), std::string::npos)
      << journal;
}

TEST_F(TraitementEtapeTest, AStepThatChangesNothingStillSucceedsAndAMissingBaseIsReported) {
  baseVivante();
  EXPECT_TRUE(lance("SupChamp", {"FICHE", "PASLA"}));
  EXPECT_NE(read(kJournal).find(" - Suppression du champ PASLA (table FICHE) : Erreur (Champ inexistant)"),
            std::string::npos);
  fs::remove(local(kBasesLocal + "Quelis.mdb"));
  EXPECT_FALSE(lance("SupChamp", {"FICHE", "PASLA"}));
  EXPECT_NE(read(kJournal).find("La base est absente : " + kBases + "Quelis.mdb"), std::string::npos);
  EXPECT_FALSE(restes());
}

TEST_F(TraitementEtapeTest, ADatabaseThatMayNotBeWrittenIsRefusedBeforeAnyCopy) {
  baseVivante();
  fs::permissions(local(kBasesLocal + "Quelis.mdb"), fs::perms::owner_write | fs::perms::group_write |
                                                         fs::perms::others_write,
                  fs::perm_options::remove);
  const std::string avant = bytes(kBasesLocal + "Quelis.mdb");
  EXPECT_FALSE(lance("CreChamp", {"FICHE", "LIFICNAT", "10", "30", "l'avis"}));
  EXPECT_NE(read(kJournal).find("Erreur n° 2147224555\r\nLe moteur de base de données Microsoft Jet ne peut pas "
                                "ouvrir le fichier '" + kBases + "Quelis.mdb'."),
            std::string::npos)
      << read(kJournal);
  EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), avant);
  EXPECT_FALSE(restes());
  EXPECT_FALSE(exists(kBasesLocal + "Quelis.ldb"));
}

TEST_F(TraitementEtapeTest, AnyDatabaseNameWorksButThatOfATemporaryCopy) {
  baseVivante(std::string("4.4.0.1"), 24, kBases, false);
  fs::rename(local(kBasesLocal + "Quelis.mdb"), local(kBasesLocal + "COPIE.MDB"));
  write(kBasesLocal + "COPIE.ldb", "");  // a leftover nobody holds
  auto f = form();
  f->TraitementEtape(kBases + "COPIE.MDB", "SupChamp", steps::TrouveEtape("SupChamp")->prepare({"FICHE", "LIFICOBS"}));
  EXPECT_TRUE(f->Succes) << read(kJournal);
  f->Unload();
  EXPECT_TRUE(exists(kBasesLocal + "COPIE.MDB"));
  EXPECT_FALSE(exists(kBasesLocal + "COPIE.ldb"));

  fs::rename(local(kBasesLocal + "COPIE.MDB"), local(kBasesLocal + "quelmaj.mdb"));
  const std::string avant = bytes(kBasesLocal + "quelmaj.mdb");
  auto g = form();
  g->TraitementEtape(kBases + "quelmaj.mdb", "SupChamp", steps::TrouveEtape("SupChamp")->prepare({"FICHE", "COCNE"}));
  EXPECT_FALSE(g->Succes);
  g->Unload();
  EXPECT_EQ(bytes(kBasesLocal + "quelmaj.mdb"), avant);
  EXPECT_NE(read(kJournal).find("La base porte le nom d'une copie temporaire : " + kBases + "quelmaj.mdb"),
            std::string::npos);
}

}  // namespace
