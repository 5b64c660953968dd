// The wait form around the database work: progress label, per-database log, the error
// report, and the refusals that come before any database is opened (unknown school site,
// missing database, lock file in use).
#include "pipeline_fixture.h"
#include "platform/filelock.h"

namespace {

using namespace pipeline_test;

class FrmAttenteTest : public pipeline_test::PipelineTest {
 protected:
  const std::string bases = kBases;
  const std::string journal = kJournal;
};

TEST_F(FrmAttenteTest, MissingBasesFolderFailsWithoutALog) {
  auto f = form("C:\\QUELIS\\Donnees\\0620200\\Bases\\");
  f->Traitement();
  EXPECT_FALSE(f->Succes);
  EXPECT_FALSE(f->JournalBase.has_value());
  EXPECT_FALSE(fs::exists(root / "C/QUELIS/Donnees/0620200"));
}

TEST_F(FrmAttenteTest, MessageShowsAndLogsOnlyWhenTheLogIsOpen) {
  auto f = form(bases);
  f->Message("avant le journal");
  EXPECT_EQ(f->LblMessage1.caption(), "avant le journal");
  f->Fso.emplace(env->CreateFileSystemObject());
  f->JournalBase.emplace(f->Fso->CreateTextFile(bases + "essai.log", true));
  f->Message("Copie vers base temporaire...");
  f->JournalBase->Close();
  EXPECT_EQ(read("C/QUELIS/Donnees/0590100/Bases/essai.log"), "Copie vers base temporaire...\r\n");
  EXPECT_EQ(f->LblMessage1.caption(), "Copie vers base temporaire...");
}

// A long copy, repair, survey restore and compaction show how far they have gone on the label; the
// log keeps each line alone. (The threshold is lowered so that the small sample database
// counts as large.)
TEST_F(FrmAttenteTest, LongStepsShowTheirProgressOnTheLabelOnly) {
  baseVivante(std::string("4.4.0.1"), 1500);
  auto f = form(bases);
  f->SeuilAvancement = 0;
  std::vector<std::string> vus;
  f->SurMessage = [&](std::string_view texte) { vus.emplace_back(texte); };
  f->Traitement();
  const std::string log = read(kJournal);
  EXPECT_TRUE(f->Succes) << log;
  f->Unload();
  for (const std::string etape : {"Copie vers base temporaire...", "Réparation de la base temporaire...",
                                   " 2- Retour arrière sur les infos topo --------------", "Compactage base temporaire"}) {
    SCOPED_TRACE(etape);
    const auto debut = std::find(vus.begin(), vus.end(), etape);
    ASSERT_NE(debut, vus.end());
    // Then tenths of the work, rising, before the next line.
    std::vector<int> pourcents;
    for (auto it = debut + 1; it != vus.end() && it->rfind(etape + " (", 0) == 0; ++it)
      pourcents.push_back(std::stoi(it->substr(etape.size() + 2)));
    EXPECT_GE(pourcents.size(), 2u);
    for (std::size_t i = 0; i < pourcents.size(); ++i) {
      EXPECT_EQ(pourcents[i] % 10, 0);
      EXPECT_GT(pourcents[i], i ? pourcents[i - 1] : 0);
      EXPECT_LT(pourcents[i], 100);
    }
  }
  EXPECT_EQ(log.find(" %)"), std::string::npos) << log;
}

TEST_F(FrmAttenteTest, ErrorReportShowsApplicationErrorsByTheirOwnNumber) {
  auto f = form(bases);
  f->Interactif = true;
  f->Succes = true;
  f->setMousePointer(ui::vbHourglass);
  f->ErreurInstallation("MiseAJour C:\\x.mdb", platform::applicationError(3, "La base est absente : x"));
  EXPECT_FALSE(f->Succes);
  EXPECT_EQ(f->mousePointer(), ui::vbDefault);
  ASSERT_EQ(boxes.shown().size(), 1u);
  EXPECT_NE(boxes.shown()[0].text.find("Procédure : MiseAJour C:\\x.mdb\r\nErreur n° 3\r\nLa base est absente : x\r\n"),
            std::string::npos);
  // Kept for the run's summary, as shown.
  ASSERT_EQ(f->ErreursSignalees.size(), 1u);
  EXPECT_EQ(f->ErreursSignalees[0].Procedure, "MiseAJour C:\\x.mdb");
  EXPECT_EQ(f->ErreursSignalees[0].Numero, "3");
  EXPECT_EQ(f->ErreursSignalees[0].Description, "La base est absente : x");
  // An engine error keeps the large number the operator is shown.
  f->ErreurInstallation("CopieRAZ", platform::Error(3044, "Chemin non valide"));
  ASSERT_EQ(f->ErreursSignalees.size(), 2u);
  EXPECT_EQ(f->ErreursSignalees[1].Numero, "2147224548");
}

TEST_F(FrmAttenteTest, UnknownSchoolSiteFailsBeforeAnyFileOperation) {
  state.TypeConfiguration = pipeline::kConfigurationEcole;
  state.ChoixBaseEcole = 0;
  write(kBasesLocal + "Quelis.mdb", "base intacte");
  write(kBasesLocal + "QuelMaj.mdb", "reste");
  auto f = form();
  f->LibelleEnCours = "Ecole";
  f->Interactif = true;
  f->Traitement();
  EXPECT_FALSE(f->Succes);
  EXPECT_EQ(f->caption(), "Installation base QUELIS - 4.4.0 ECOLE");
  // The error block ends the log: no step was announced and no end line is written.
  EXPECT_EQ(read(journal), lines(EnTete("Ecole") + BlocErreur("Traitement", "6", "Traitement base Ecole non choisi")));
  EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), "base intacte");
  EXPECT_EQ(bytes(kBasesLocal + "QuelMaj.mdb"), "reste");
  EXPECT_FALSE(exists("C/QUELIS/Donnees/0590100/RAZ"));
  ASSERT_EQ(boxes.shown().size(), 1u);
  EXPECT_EQ(boxes.shown()[0].text, "Erreur de mise à jour de la base de données " + bases +
                                       "\r\nProcédure : Traitement\r\nErreur n° 6\r\nTraitement base Ecole non choisi\r\n");
  EXPECT_EQ(f->mousePointer(), ui::vbDefault);
}

TEST_F(FrmAttenteTest, MissingDatabaseIsRefusedWithItsPath) {
  auto f = form();
  f->Traitement();
  EXPECT_FALSE(f->Succes);
  EXPECT_EQ(read(journal), lines(EnTete("") + Lines{"--- Mise à jour base existante ---"} +
                                 BlocErreur("Traitement", "3", "La base est absente : " + bases + "Quelis.mdb")));
  EXPECT_TRUE(boxes.shown().empty());  // silent run
  EXPECT_FALSE(exists(kBasesLocal + "QuelMaj.mdb"));
}

TEST_F(FrmAttenteTest, LockFileHeldByAnotherProgramStopsTheUpdate) {
  write(kBasesLocal + "Quelis.mdb", "base intacte");
  platform::FileLockHolder access(local(kBasesLocal + "Quelis.ldb"));
  auto f = form();
  f->Traitement();
  EXPECT_FALSE(f->Succes);
  EXPECT_EQ(read(journal), lines(EnTete("") + Lines{"--- Mise à jour base existante ---"} +
                                 BlocErreur("Traitement", "4", "Un fichier ldb est présent : " + bases + "Quelis.ldb")));
  EXPECT_TRUE(exists(kBasesLocal + "Quelis.ldb"));
  EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), "base intacte");
  EXPECT_FALSE(exists(kBasesLocal + "QuelMaj.mdb"));
}

TEST_F(FrmAttenteTest, LeftoverLockFileIsRemovedAndTheEngineJudgesTheFile) {
  // Nobody holds the lock file: it is a leftover. The database itself is no database, which
  // the engine refuses at opening, before any copy is made.
  write(kBasesLocal + "Quelis.mdb", "pas une base Access");
  write(kBasesLocal + "Quelis.ldb", "");
  auto f = form();
  f->Traitement();
  EXPECT_FALSE(f->Succes);
  EXPECT_FALSE(exists(kBasesLocal + "Quelis.ldb"));
  const std::string log = read(journal);
  EXPECT_NE(log.find("--- Mise à jour base existante ---\r\n\r\nL'erreur suivante s'est produite durant "
                     "l'installation :\r\nProcédure : Traitement\r\nErreur n° 21472"),
            std::string::npos)
      << log;
  EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), "pas une base Access");
  EXPECT_FALSE(exists(kBasesLocal + "QuelMaj.mdb"));
}

}  // namespace
