// Every write, sync and rename the update makes through the OS interface, failed in turn on one
// small database: whatever fails, the live database is byte-identical to what it was, the log
// tells a clear error, no temporary file is left, and a second run, without the fault,
// completes the update from what the failed one left, byte for byte as an undisturbed run.
#include "pannes_fixture.h"

namespace balayage_pannes_test {
namespace {

using namespace pannes_test;

// The points swept out of `total`: all of them when few, else the first and last few and an
// even spread between, at most `au_plus`.
std::vector<int> Points(int total, int au_plus) {
  std::vector<int> points;
  if (total <= au_plus) {
    for (int n = 1; n <= total; ++n) points.push_back(n);
    return points;
  }
  const int bords = 4;
  for (int n = 1; n <= bords; ++n) points.push_back(n);
  const int milieu = au_plus - 2 * bords;
  for (int i = 1; i <= milieu; ++i) points.push_back(bords + (total - 2 * bords) * i / (milieu + 1));
  for (int n = total - bords + 1; n <= total; ++n) points.push_back(n);
  std::sort(points.begin(), points.end());
  points.erase(std::unique(points.begin(), points.end()), points.end());
  return points;
}

class BalayagePannesTest : public PannesTest {
 protected:
  void SetUp() override {
    baseVivante(std::string("4.4.0.1"), 6);
    vivante = bytes(kBasesLocal + "Quelis.mdb");
    sauvegarde = bytes(kBasesLocal + "QuelisSauv_18012013.mdb");
  }
  // The data folder as it was before any run.
  void remetEnPlace() {
    fs::remove_all(local(kBasesLocal));
    write(kBasesLocal + "Quelis.mdb", vivante);
    write(kBasesLocal + "QuelisSauv_18012013.mdb", sauvegarde);
  }
  std::string vivante, sauvegarde;
};

TEST_F(BalayagePannesTest, AnyFailedOperationLosesNothingLeavesNothingAndIsToldClearly) {
  remetEnPlace();
  const Deroulement reference = lance();
  ASSERT_TRUE(reference.succes) << read(kJournal);
  const std::string miseAJour = bytes(kBasesLocal + "Quelis.mdb");
  ASSERT_NE(miseAJour, vivante);
  ASSERT_EQ(contenu(), ContenuFinal());

  struct Sorte {
    const char* nom;
    int total;
    std::function<void(os::FaultyFileSystem&, int)> arme;
    // The numbers (as shown) a clear report of this failure has.
    std::vector<std::string> numeros;
  };
  const std::vector<Sorte> sortes{
      // A full disk: 61 for the copy (FileCopy), 3026 for the engine.
      {"écriture", reference.ecritures,
       [](os::FaultyFileSystem& p, int n) { p.fail_write(n, os::FailureKind::DiskFull); },
       {"2147221565", "2147224530"}},
      // A failing medium: 3043 for the engine.
      {"synchronisation", reference.synchros,
       [](os::FaultyFileSystem& p, int n) { p.fail_sync(n, os::FailureKind::IoError); },
       {"2147224547"}},
      // 3043 for the engine's own renames, 70 for the replacement of the live file.
      {"renommage", reference.renommages,
       [](os::FaultyFileSystem& p, int n) { p.fail_rename(n, os::FailureKind::IoError); },
       {"2147224547", "2147221574"}},
  };
  int balayes = 0;
  for (const Sorte& sorte : sortes) {
    ASSERT_GT(sorte.total, 0) << sorte.nom;
    // At most 80 points of a kind keep the sweep within a minute in the sanitizer build (about
    // 0.3 s a point there); the small database has fewer, so every one is failed.
    for (int n : Points(sorte.total, 80)) {
      SCOPED_TRACE(std::string(sorte.nom) + " n° " + std::to_string(n) + " sur " + std::to_string(sorte.total));
      remetEnPlace();
      const Deroulement panne = lance([&](os::FaultyFileSystem& p) { sorte.arme(p, n); });
      ++balayes;
      const std::string journal = read(kJournal);
      EXPECT_FALSE(panne.succes) << journal;
      EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), vivante);
      EXPECT_EQ(contenu(), ContenuFinal());
      ASSERT_EQ(panne.erreurs.size(), 1u) << journal;
      const auto& erreur = panne.erreurs[0];
      EXPECT_NE(std::find(sorte.numeros.begin(), sorte.numeros.end(), erreur.Numero), sorte.numeros.end())
          << erreur.Numero << " " << erreur.Description;
      EXPECT_NE(journal.find(Bloc(erreur)), std::string::npos) << journal;
      // The report names the file it is about by its Windows path, never by the workstation's
      // folder on this machine.
      EXPECT_NE((erreur.Procedure + " " + erreur.Description).find(kBases), std::string::npos) << erreur.Description;
      EXPECT_EQ(erreur.Description.find(root.string()), std::string::npos) << erreur.Description;

      const Deroulement reprise = lance();
      EXPECT_TRUE(reprise.succes) << read(kJournal);
      EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), miseAJour);
      EXPECT_EQ(contenu(), ContenuFinal());
    }
  }
  RecordProperty("points", balayes);
  std::printf("%d points de panne balayés (écritures %d, synchronisations %d, renommages %d)\n", balayes,
              reference.ecritures, reference.synchros, reference.renommages);
}

}  // namespace
}  // namespace balayage_pannes_test
