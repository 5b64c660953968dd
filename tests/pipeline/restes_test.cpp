// What a run stopped in the middle (killed, power cut) leaves beside the database never blocks
// the next run: each kind of leftover is recognised as the update's own and removed, and the
// update goes through. A file some live process holds is not a leftover: the run stops,
// naming that very file by its Windows path, and leaves it and the database alone.
#include "pannes_fixture.h"
#include "platform/filelock.h"

namespace restes_test {
namespace {

using namespace pannes_test;

class RestesTest : public PannesTest {
 protected:
  void SetUp() override {
    baseVivante(std::string("4.4.0.1"), 6);
    vivante = bytes(kBasesLocal + "Quelis.mdb");
    sauvegarde = bytes(kBasesLocal + "QuelisSauv_18012013.mdb");
  }
  void remetEnPlace() {
    fs::remove_all(local("C/QUELIS/Donnees/0590100"));
    write(kBasesLocal + "Quelis.mdb", vivante);
    write(kBasesLocal + "QuelisSauv_18012013.mdb", sauvegarde);
  }
  std::string vivante, sauvegarde;
};

TEST_F(RestesTest, EveryKindOfLeftoverIsRemovedAndTheUpdateGoesThrough) {
  struct Reste {
    std::string nom;  // in Bases\ (or RAZ\ when it says so)
    bool lectureSeule = false;
  };
  // The temporary copy and compaction, the files the engine writes under their names before
  // publishing them, the lock files of an open temporary, the database's own lock file, a
  // read-only copy, and the same in RAZ\ for a school workstation.
  const std::vector<Reste> restes{{"QuelMaj.mdb"},           {"QuelComp.mdb"},
                                  {"QuelComp.mdb.creation"}, {"QuelMaj.mdb.creation"},
                                  {"QuelMaj.ldb"},           {"QuelComp.ldb"},
                                  {"Quelis.ldb"},            {"QuelMaj.mdb", true},
                                  {"../RAZ/QuelComp.mdb.creation"}, {"../RAZ/QuelMaj.mdb"}};
  for (const Reste& reste : restes) {
    SCOPED_TRACE(reste.nom + (reste.lectureSeule ? " (lecture seule)" : ""));
    remetEnPlace();
    const bool ecole = reste.nom.rfind("../RAZ/", 0) == 0;
    state.TypeConfiguration = ecole ? pipeline::kConfigurationEcole : pipeline::kConfigurationPortable;
    state.ChoixBaseEcole = ecole ? 1 : 0;
    const std::string fichier = kBasesLocal + reste.nom;
    write(fichier, "laissé par une exécution interrompue");
    if (reste.lectureSeule) fs::permissions(local(fichier), fs::perms::owner_write, fs::perm_options::remove);

    const Deroulement deroulement = lance();
    EXPECT_TRUE(deroulement.succes) << read(kJournal);
    EXPECT_FALSE(exists(fichier));
    EXPECT_EQ(contenu(), ContenuFinal());
    EXPECT_EQ(rows(kBases + "Quelis.mdb", "VERSION", {"livers"}), (std::vector<Lines>{{"4.4.0.3"}}));
  }
}

TEST_F(RestesTest, AFileALiveProcessHoldsIsNoLeftoverAndStopsTheRunNamed) {
  for (const std::string nom : {"QuelComp.mdb.creation", "QuelMaj.ldb"}) {
    SCOPED_TRACE(nom);
    remetEnPlace();
    write(kBasesLocal + nom, "tenu");
    Deroulement deroulement;
    {
      platform::FileLockHolder autre(local(kBasesLocal + nom));
      deroulement = lance();
    }
    // Read once let go: Windows lets nobody read a file held without sharing.
    EXPECT_FALSE(deroulement.succes);
    EXPECT_EQ(read(kJournal), lines(pipeline_test::EnTete("") + Lines{"--- Mise à jour base existante ---"} +
                                    pipeline_test::BlocErreur("Traitement", "2147224549",
                                                              "Impossible d'utiliser '" + kBases + nom +
                                                                  "' ; fichier déjà utilisé.")));
    EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), vivante);
    EXPECT_EQ(bytes(kBasesLocal + nom), "tenu");
    for (const char* autreReste : {"QuelMaj.mdb", "QuelComp.mdb", "Quelis.ldb"})
      EXPECT_FALSE(exists(kBasesLocal + autreReste)) << autreReste;
  }
}

// A file of the folder that only looks like a temporary (the database itself, its lock file,
// a name that merely begins the same) is never taken for one.
TEST_F(RestesTest, OnlyTheUpdatesOwnNamesAreLeftovers) {
  remetEnPlace();
  write(kBasesLocal + "QuelMajeur.mdb", "à garder");
  write(kBasesLocal + "Quel.mdb", "à garder");
  const Deroulement deroulement = lance();
  EXPECT_TRUE(deroulement.succes) << read(kJournal);
  EXPECT_EQ(bytes(kBasesLocal + "QuelMajeur.mdb"), "à garder");
  EXPECT_EQ(bytes(kBasesLocal + "Quel.mdb"), "à garder");

  // A step run on a database whose name begins like a temporary's keeps it and its lock file.
  fs::remove(local(kBasesLocal + "QuelMajeur.mdb"));
  fs::remove(local(kBasesLocal + "Quel.mdb"));
  fs::rename(local(kBasesLocal + "Quelis.mdb"), local(kBasesLocal + "QuelMaj.mdb.sauve"));
  write(kBasesLocal + "QuelMaj.mdb.ldb", "");  // its lock file, left by nobody
  auto f = form();
  f->TraitementEtape(kBases + "QuelMaj.mdb.sauve", "SupChamp",
                     steps::TrouveEtape("SupChamp")->prepare({"FICHE", "LIFICOBS"}));
  EXPECT_TRUE(f->Succes) << read(kJournal);
  f->Unload();
  EXPECT_TRUE(exists(kBasesLocal + "QuelMaj.mdb.sauve"));
  EXPECT_FALSE(exists(kBasesLocal + "QuelMaj.mdb"));
  EXPECT_FALSE(exists(kBasesLocal + "QuelMaj.mdb.ldb"));
}

}  // namespace
}  // namespace restes_test
