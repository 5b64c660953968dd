// Another program writing the live database while it is being updated: from the first look at
// the database to its replacement the update holds it, so the engine's own program (a real
// second process) is refused with the error of a database in use at every stage, readers still
// read it, nothing the other program wrote is lost, and once the update is over the file is
// writable again. A program that already writes the database when the update starts stops the
// update, named, with nothing changed and nothing left behind.
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "os/services.h"
#include "pipeline_fixture.h"

namespace autre_ecrivain_test {
namespace {

namespace fs = std::filesystem;
using pipeline_test::kBases;
using pipeline_test::kBasesLocal;
using pipeline_test::kJournal;
using pipeline_test::Lines;

struct Sortie {
  int statut = -1;
  std::string texte;
};

// Runs the engine's program with `arguments` (quoted for the shell), stdout and stderr together.
Sortie Jet(const std::string& arguments) {
  Sortie sortie;
  const std::string commande = std::string(QUELIS_BINARY_DIR) + "/src/app/jet " + arguments + " 2>&1";
  FILE* tube = popen(commande.c_str(), "r");
  if (!tube) return sortie;
  std::array<char, 4096> bloc{};
  std::size_t n;
  while ((n = fread(bloc.data(), 1, bloc.size(), tube)) > 0) sortie.texte.append(bloc.data(), n);
  const int brut = pclose(tube);
  sortie.statut = WIFEXITED(brut) ? WEXITSTATUS(brut) : -1;
  return sortie;
}

class AutreEcrivainTest : public pipeline_test::PipelineTest {
 protected:
  std::string vivante() const { return "'" + local(kBasesLocal + "Quelis.mdb").string() + "'"; }
  // A write of the other program: the label of the previous version changed.
  Sortie ecrit(const std::string& valeur) {
    return Jet("sql " + vivante() + " \"UPDATE VERSION SET liverslexe = '" + valeur + "'\" --fail-on-error");
  }
};

TEST_F(AutreEcrivainTest, AWriterIsRefusedAtEveryStageOfTheUpdateAndNothingOfItIsLost) {
  baseVivante();
  auto f = form();
  // The stages between the first look at the database and its replacement.
  const std::vector<std::string> etapes{"Copie vers base temporaire...", "Réparation de la base temporaire...",
                                        "Mise à jour de la base temporaire...", "Compactage base temporaire",
                                        "Suppression bases temporaires"};
  std::vector<std::string> vues;
  std::vector<Sortie> ecritures, lectures;
  f->SurMessage = [&](std::string_view texte) {
    if (std::find(etapes.begin(), etapes.end(), std::string(texte)) == etapes.end()) return;
    vues.emplace_back(texte);
    ecritures.push_back(ecrit("autre"));
    lectures.push_back(Jet("count " + vivante() + " FICHE"));
  };
  f->Traitement();
  const std::string journal = read(kJournal);
  EXPECT_TRUE(f->Succes) << journal;
  f->Unload();
  ASSERT_EQ(vues, etapes);
  const std::string refus = "Erreur 3045 : Impossible d'utiliser '" + local(kBasesLocal + "Quelis.mdb").string() +
                            "' ; fichier déjà utilisé.\n";
  for (std::size_t i = 0; i < etapes.size(); ++i) {
    SCOPED_TRACE(etapes[i]);
    EXPECT_NE(ecritures[i].statut, 0);
    EXPECT_EQ(ecritures[i].texte, refus);
    EXPECT_EQ(lectures[i].statut, 0) << lectures[i].texte;
    EXPECT_EQ(lectures[i].texte, "24\n");
  }
  // Every write was refused, so none is missing from the updated database.
  EXPECT_EQ(rows(kBases + "Quelis.mdb", "VERSION", {"livers", "liverslexe"}),
            (std::vector<Lines>{{"4.4.0.3", "4.4.0.1"}}));
  // Let go at the end: the other program writes now, its change stays.
  const Sortie apres = ecrit("apres");
  EXPECT_EQ(apres.statut, 0) << apres.texte;
  EXPECT_EQ(rows(kBases + "Quelis.mdb", "VERSION", {"livers", "liverslexe"}), (std::vector<Lines>{{"4.4.0.3", "apres"}}));
  EXPECT_FALSE(exists(kBasesLocal + "Quelis.ldb"));
}

TEST_F(AutreEcrivainTest, AWriteRefusedDuringAFailedUpdateIsNotLostEither) {
  baseVivante(std::string("4.4.0.1"), 24, kBases, false);  // no backup: the update fails
  const std::string avant = bytes(kBasesLocal + "Quelis.mdb");
  auto f = form();
  Sortie pendant;
  f->SurMessage = [&](std::string_view texte) {
    if (texte == "Mise à jour de la base temporaire...") pendant = ecrit("pendant");
  };
  f->Traitement();
  EXPECT_FALSE(f->Succes);
  f->Unload();
  EXPECT_NE(pendant.statut, 0);
  EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), avant);
  EXPECT_FALSE(exists(kBasesLocal + "QuelMaj.mdb"));
  const Sortie apres = ecrit("apres");
  EXPECT_EQ(apres.statut, 0) << apres.texte;
}

TEST_F(AutreEcrivainTest, AProgramAlreadyWritingTheDatabaseStopsTheUpdateNamed) {
  baseVivante();
  const std::string avant = bytes(kBasesLocal + "Quelis.mdb");
  // A second process holds the database as the engine's writers do, until told to let go.
  int versEnfant[2], duEnfant[2];
  ASSERT_EQ(::pipe(versEnfant), 0);
  ASSERT_EQ(::pipe(duEnfant), 0);
  const std::string chemin = local(kBasesLocal + "Quelis.mdb").string();
  const pid_t enfant = ::fork();
  ASSERT_GE(enfant, 0);
  if (enfant == 0) {
    auto tenu = os::system_services().files->open(chemin, os::Access::ReadWrite, os::Sharing::Exclusive);
    char c = 'h';
    if (::write(duEnfant[1], &c, 1) != 1 || ::read(versEnfant[0], &c, 1) != 1) ::_exit(2);
    ::_exit(0);
  }
  char c = 0;
  ASSERT_EQ(::read(duEnfant[0], &c, 1), 1);

  auto f = form();
  f->Traitement();
  EXPECT_FALSE(f->Succes);
  f->Unload();
  ASSERT_EQ(::write(versEnfant[1], &c, 1), 1);
  int statut = 0;
  ::waitpid(enfant, &statut, 0);
  for (int bout : {versEnfant[0], versEnfant[1], duEnfant[0], duEnfant[1]}) ::close(bout);

  EXPECT_EQ(read(kJournal), lines(pipeline_test::EnTete("") + Lines{"--- Mise à jour base existante ---"} +
                                  pipeline_test::BlocErreur("Traitement", "2147224549",
                                                            "Impossible d'utiliser '" + kBases +
                                                                "Quelis.mdb' ; fichier déjà utilisé.")));
  EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), avant);
  for (const char* reste : {"QuelMaj.mdb", "QuelComp.mdb", "Quelis.ldb"}) EXPECT_FALSE(exists(kBasesLocal + reste)) << reste;
}

}  // namespace
}  // namespace autre_ecrivain_test
