// Failures the update meets on the way, each with its own clear error in the log: a disk that
// fills up during the copy or the compaction, a live database that cannot be written. The live
// database stays byte for byte as it was, no temporary file is left, and once the cause is gone
// the next run updates it.
#include "pannes_fixture.h"

#include "jet/api/maintenance.h"

namespace pannes_cas_test {
namespace {

using namespace pannes_test;

class PannesCasTest : public PannesTest {
 protected:
  void SetUp() override {
    baseVivante(std::string("4.4.0.1"), 6);
    vivante = bytes(kBasesLocal + "Quelis.mdb");
  }
  // The log after its header.
  std::string etapes() {
    const std::string journal = read(kJournal);
    const std::string marque = "Traitements effectués :\r\n";
    return journal.substr(journal.find(marque) + marque.size());
  }
  std::string vivante;
};

TEST_F(PannesCasTest, ADiskFullDuringTheCopyIsVisualBasicsDiskFullNamingTheCopy) {
  // Less room than the copy needs: FileCopy meets the full disk.
  const Deroulement deroulement = lance([](os::FaultyFileSystem& p) { p.disk_full_after(100000); });
  EXPECT_FALSE(deroulement.succes);
  EXPECT_EQ(etapes(), lines({"--- Mise à jour base existante ---", "Copie vers base temporaire..."}) +
                          lines(pipeline_test::BlocErreur("Traitement", "2147221565",
                                                          "Disque plein : copie de " + kBases + "Quelis.mdb vers " +
                                                              kBases + "QuelMaj.mdb")));
  EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), vivante);
  EXPECT_EQ(contenu(), ContenuFinal());
  EXPECT_TRUE(lance().succes) << read(kJournal);
  EXPECT_EQ(rows(kBases + "Quelis.mdb", "VERSION", {"livers"}), (std::vector<Lines>{{"4.4.0.3"}}));
}

TEST_F(PannesCasTest, ADiskFullDuringTheCompactionIsTheEnginesNamingTheCompaction) {
  // Room for the copy and the update, not for the compacted file.
  const Deroulement deroulement = lance({}, [](os::FaultyFileSystem& p, std::string_view texte) {
    if (texte == "Compactage base temporaire") p.disk_full_after(20000);
  });
  EXPECT_FALSE(deroulement.succes);
  const std::string e = etapes();
  EXPECT_NE(e.find("Compactage base temporaire\r\n" +
                   lines(pipeline_test::BlocErreur("Traitement", "2147224530",
                                                   "Espace disque insuffisant. : compactage de " + kBases +
                                                       "QuelMaj.mdb vers " + kBases + "QuelComp.mdb"))),
            std::string::npos)
      << e;
  EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), vivante);
  EXPECT_EQ(contenu(), ContenuFinal());
  EXPECT_TRUE(lance().succes) << read(kJournal);
}

TEST_F(PannesCasTest, AReadOnlyLiveDatabaseIsRefusedBeforeAnyCopy) {
  fs::permissions(local(kBasesLocal + "Quelis.mdb"), fs::perms::owner_write | fs::perms::group_write |
                                                         fs::perms::others_write,
                  fs::perm_options::remove);
  const Deroulement deroulement = lance();
  EXPECT_FALSE(deroulement.succes);
  EXPECT_EQ(etapes(),
            lines(Lines{"--- Mise à jour base existante ---"} +
                  pipeline_test::BlocErreur("Traitement", "2147224555",
                                            "Le moteur de base de données Microsoft Jet ne peut pas ouvrir le fichier '" +
                                                kBases +
                                                "Quelis.mdb'. Il est déjà ouvert en mode exclusif par un autre "
                                                "utilisateur, ou vous devez avoir l'autorisation de visualiser ses "
                                                "données.")));
  EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), vivante);
  EXPECT_EQ(contenu(), ContenuFinal());
  fs::permissions(local(kBasesLocal + "Quelis.mdb"), fs::perms::owner_write, fs::perm_options::add);
  EXPECT_TRUE(lance().succes) << read(kJournal);
}

// A writer killed in the middle of a commit left the live database half written with its
// journal: the update puts the old pages back before it holds and copies the file.
TEST_F(PannesCasTest, ACommitAKilledWriterLeftHalfDoneIsUndoneBeforeTheCopy) {
  const std::string chemin = local(kBasesLocal + "Quelis.mdb").string();
  {
    auto fichier = os::system_services().files->open(chemin, os::Access::ReadWrite, os::Sharing::Exclusive);
    auto journal = jet::RollbackJournal::save(os::system_services(), chemin, *fichier, 4096, {2, 3, 4, 5});
    const std::vector<std::uint8_t> dechet(4 * 4096, 0xA5);
    fichier->write_at(2 * 4096, dechet);  // the kill came in the middle of these pages
  }
  ASSERT_TRUE(fs::exists(chemin + ".jnl"));
  ASSERT_NE(bytes(kBasesLocal + "Quelis.mdb"), vivante);
  EXPECT_TRUE(lance().succes) << read(kJournal);
  EXPECT_EQ(rows(kBases + "Quelis.mdb", "VERSION", {"livers"}), (std::vector<Lines>{{"4.4.0.3"}}));
  EXPECT_EQ(contenu(), ContenuFinal());
}

// A second run of the tool on the same database (another session, another workstation on the
// share) stops at the lock file the first one holds, as it stops for Access; the first goes on.
TEST_F(PannesCasTest, ASecondRunOnTheSameDatabaseStopsAtTheLockFile) {
  // The other session: its own program, a minute later (its own database log).
  platform::Environment autreEnv = platform::Environment::ForTests(root, platform::DateTime{2013, 1, 15, 14, 31, 0});
  platform::dao::DBEngine autreMoteur(autreEnv.workstation());
  std::unique_ptr<pipeline::FrmAttente> second;
  const Deroulement premier = lance({}, [&](os::FaultyFileSystem&, std::string_view texte) {
    if (texte != "Mise à jour de la base temporaire..." || second) return;
    second = std::make_unique<pipeline::FrmAttente>(autreEnv, *desktop, state, autreMoteur);
    second->DossierBases = kBases;
    second->Traitement();
  });
  ASSERT_TRUE(second);
  EXPECT_FALSE(second->Succes);
  ASSERT_EQ(second->ErreursSignalees.size(), 1u);
  EXPECT_EQ(second->ErreursSignalees[0].Numero, "4");
  EXPECT_EQ(second->ErreursSignalees[0].Description, "Un fichier ldb est présent : " + kBases + "Quelis.ldb");
  second->Unload();
  EXPECT_TRUE(premier.succes) << read(kJournal);
  EXPECT_EQ(rows(kBases + "Quelis.mdb", "VERSION", {"livers"}), (std::vector<Lines>{{"4.4.0.3"}}));
  std::vector<std::string> attendu = ContenuFinal();
  attendu.insert(attendu.begin() + 2, "QuelisBase_4.4.0_20130115143100.log");
  EXPECT_EQ(contenu(), attendu);
}

// On a school workstation the reset database follows the live one: a failure there comes after
// the live database was replaced, which keeps the complete update; the reset database stays as
// it was and no temporary of either folder is left.
TEST_F(PannesCasTest, AFailureAfterTheReplacementKeepsTheUpdatedDatabaseAndTheResetOneAsItWas) {
  state.TypeConfiguration = pipeline::kConfigurationEcole;
  state.ChoixBaseEcole = 1;
  const std::string raz = "C/QUELIS/Donnees/0590100/RAZ/";
  write(raz + "Quelis.mdb", vivante);
  const Deroulement deroulement = lance({}, [](os::FaultyFileSystem& p, std::string_view texte) {
    if (texte == "Copie vers base RAZ temporaire") p.disk_full_after(50000);
  });
  EXPECT_FALSE(deroulement.succes);
  const std::string e = etapes();
  EXPECT_NE(e.find("Copie vers base RAZ temporaire\r\n" +
                   lines(pipeline_test::BlocErreur(
                       "Traitement", "2147221565",
                       "Disque plein : copie de C:\\QUELIS\\Donnees\\0590100\\RAZ\\Quelis.mdb vers "
                       "C:\\QUELIS\\Donnees\\0590100\\RAZ\\QuelMaj.mdb"))),
            std::string::npos)
      << e;
  EXPECT_EQ(rows(kBases + "Quelis.mdb", "VERSION", {"livers", "liverslexe"}), (std::vector<Lines>{{"4.4.0.3", "4.4.0.1"}}));
  EXPECT_EQ(bytes(raz + "Quelis.mdb"), vivante);
  EXPECT_EQ(contenu(), ContenuFinal());
  std::vector<std::string> dansRaz;
  for (const auto& f : fs::directory_iterator(local(raz))) dansRaz.push_back(f.path().filename().string());
  EXPECT_EQ(dansRaz, std::vector<std::string>{"Quelis.mdb"});
}

}  // namespace
}  // namespace pannes_cas_test
