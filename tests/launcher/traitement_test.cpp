// (Real databases come from the sample builder of the launcher library: these tests live
// with the launcher tests, which link it.)
// Traitement on real databases: the update branch from the version gate to the replacement
// of the live file, its refusals, and what each outcome leaves on disk.
#include "jet/db/database.h"
#include "jet/tools/index_verify.h"
#include "jet/tools/verify.h"
#include "pipeline/pipeline_fixture.h"

namespace {

using namespace pipeline_test;

const Lines kEtapesMiseAJour{"--- Mise à jour base existante ---", "Copie vers base temporaire...",
                             "Réparation de la base temporaire...", "Mise à jour de la base temporaire...",
                             " 1- Mise à jour table VERSION --------------", " - Mise à jour Version 4.4.0.3 : Ok",
                             " 2- Retour arrière sur les infos topo --------------"};

class TraitementTest : public PipelineTest {};

TEST_F(TraitementTest, UpdatesTheLiveDatabaseThroughItsCompactedCopy) {
  baseVivante();
  auto f = form();
  f->LibelleEnCours = "Centre des impôts fonciers de Lille";
  f->Interactif = true;
  f->Traitement();
  EXPECT_TRUE(f->Succes) << read(kJournal);
  ASSERT_EQ(boxes.shown().size(), 1u);
  EXPECT_EQ(boxes.shown()[0].text, "Installation de la base Centre des impôts fonciers de Lille terminée avec succès");
  EXPECT_EQ(boxes.shown()[0].style, ui::vbOKOnly);
  EXPECT_EQ(boxes.shown()[0].title, "QUELIS - mise à jour 4.4.0");
  EXPECT_EQ(read(kJournal),
            lines(EnTete("Centre des impôts fonciers de Lille") + kEtapesMiseAJour +
                  Lines{" - Nombre d'enregistrements traités / nombre total de fiches : 7 sur 24",
                        "Succès de la mise à jour.", "Compactage base temporaire", "Suppression bases temporaires",
                        "Installation de la base terminée -> succès"} +
                  kFin));
  EXPECT_EQ(rows(kBases + "Quelis.mdb", "VERSION", {"livers", "liverslexe"}), (std::vector<Lines>{{"4.4.0.3", "4.4.0.1"}}));
  EXPECT_FALSE(exists(kBasesLocal + "QuelMaj.mdb"));
  EXPECT_FALSE(exists(kBasesLocal + "QuelComp.mdb"));
  EXPECT_FALSE(exists(kBasesLocal + "Quelis.ldb"));
  EXPECT_EQ(f->mousePointer(), ui::vbDefault);
}

}  // namespace

namespace {

using namespace pipeline_test;

const Lines kCles{"NUFICHE", "COPERAUT", "NUPERMIS", "COCNE"};
const Lines kChamps{"NUFICHE", "COPERAUT", "NUPERMIS", "COCNE", "DAFICTOPO", "COFICTOPO", "cofictyp",
                    "coficvtopo", "daficcro", "daficplan", "LIFICADR", "LIFICOBS", "MTFICVAL"};

std::string Cle(const Lines& row) { return row[0] + "|" + row[1] + "|" + row[2] + "|" + row[3]; }

class MiseAJourTest : public PipelineTest {
 protected:
  // The live rows as the restore should leave them: a record of type '1' with no survey
  // check, no completion and no plan date takes the survey date and code of its twin.
  std::vector<Lines> attendu(const std::vector<Lines>& avant, const std::vector<Lines>& sauvegarde) {
    std::vector<Lines> apres = avant;
    for (Lines& r : apres) {
      if (r[6] != "1" || !r[7].empty() || !r[8].empty() || !r[9].empty()) continue;
      for (const Lines& s : sauvegarde) {
        if (Cle(s) != Cle(r)) continue;
        r[4] = s[4];
        r[5] = s[5];
      }
    }
    return apres;
  }
};

TEST_F(MiseAJourTest, RestoresTheSurveyFieldsOfTheSelectedRecordsOnly) {
  baseVivante();
  const std::vector<Lines> avant = rows(kBases + "Quelis.mdb", "FICHE", kChamps);
  const std::vector<Lines> sauvegarde = rows(kBases + "QuelisSauv_18012013.mdb", "FICHE", kChamps);
  auto f = form();
  f->Traitement();
  ASSERT_TRUE(f->Succes) << read(kJournal);
  const std::vector<Lines> apres = rows(kBases + "Quelis.mdb", "FICHE", kChamps);
  EXPECT_EQ(apres, attendu(avant, sauvegarde));
  // The sample covers every case: restored values, a restored Null, kept values.
  int changes = 0, vides = 0;
  for (std::size_t i = 0; i < avant.size(); ++i) {
    if (apres[i] != avant[i]) ++changes;
    if (apres[i] != avant[i] && apres[i][4].empty()) ++vides;
  }
  EXPECT_GE(changes, 4);
  EXPECT_GE(vides, 1);
  // Record 1000 (type '1', nothing set, its twin known) is one of them, field by field.
  EXPECT_EQ(apres[0][4], "2012-06-01 00:00:00");
  EXPECT_EQ(apres[0][5], "T1");
  EXPECT_EQ(avant[0][5], "");
  // Record 1001 has its survey check: its own values stay.
  EXPECT_EQ(apres[1][5], "LV");
}

TEST_F(MiseAJourTest, CountsTheRestoredRecordsAgainstAllCaseRecords) {
  // Two records only: 1000 is restored, 1001 has its survey check.
  baseVivante(std::string("4.4.0.1"), 2);
  auto f = form();
  f->Traitement();
  ASSERT_TRUE(f->Succes) << read(kJournal);
  EXPECT_NE(read(kJournal).find(" - Nombre d'enregistrements traités / nombre total de fiches : 1 sur 2\r\n"),
            std::string::npos);
}

TEST_F(MiseAJourTest, MissingBackupFailsTheUpdateAndKeepsTheLiveDatabase) {
  baseVivante(std::string("4.4.0.1"), 24, kBases, false);
  const std::string origine = bytes(kBasesLocal + "Quelis.mdb");
  auto f = form();
  f->Interactif = true;
  f->LibelleEnCours = "Lille";
  f->Traitement();
  EXPECT_FALSE(f->Succes);
  const std::string log = read(kJournal);
  const std::string debut = lines(EnTete("Lille") + kEtapesMiseAJour) +
                            "\r\nL'erreur suivante s'est produite durant l'installation :\r\n"
                            "Procédure : MiseAJour " + kBases + "QuelMaj.mdb\r\nErreur n° 2147";
  EXPECT_EQ(log.rfind(debut, 0), 0u) << log;
  EXPECT_NE(log.find("\r\n\r\nInstallation de la base terminée -> échec\r\n\r\nFin : 15/01/2013 à 14:30:05\r\n"),
            std::string::npos)
      << log;
  EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), origine);
  // The failed run's copy goes with it; the database is let go.
  EXPECT_FALSE(exists(kBasesLocal + "QuelMaj.mdb"));
  EXPECT_FALSE(exists(kBasesLocal + "QuelComp.mdb"));
  EXPECT_FALSE(exists(kBasesLocal + "Quelis.ldb"));
  f->Unload();
  // Interactive: the error, then the failure.
  ASSERT_EQ(boxes.shown().size(), 2u);
  EXPECT_EQ(boxes.shown()[1].text, "Installation de la base Lille terminée en échec");
}

TEST_F(MiseAJourTest, AFailedUpdateDoesNotSwallowTheNextOne) {
  // One wait form per data folder, one engine for the run: the transaction the first failure
  // left open must not hold back the second folder's update.
  baseVivante(std::string("4.4.0.1"), 6, kBases, false);
  const std::string autres = "C:\\QUELIS\\Donnees\\0620200\\Bases\\";
  fs::create_directories(local("C/QUELIS/Donnees/0620200/Bases"));
  baseVivante(std::string("4.4.0.1"), 6, autres);
  auto premier = form();
  premier->Traitement();
  EXPECT_FALSE(premier->Succes);
  premier->Unload();
  premier.reset();
  auto second = form(autres);
  second->Traitement();
  EXPECT_TRUE(second->Succes) << read("C/QUELIS/Donnees/0620200/Bases/QuelisBase_4.4.0_20130115143005.log");
  second->Unload();
  EXPECT_EQ(rows(autres + "Quelis.mdb", "VERSION", {"livers"}), (std::vector<Lines>{{"4.4.0.3"}}));
}

TEST_F(MiseAJourTest, VersionGateRefusesWithoutTouchingAnyFile) {
  struct Cas {
    std::optional<std::string> livers;
    std::string numero, texte;
  };
  for (const Cas& c : {Cas{std::string("4.4.0.3"), "1", "La version de la base de données est déjà mise à jour : 4.4.0.3"},
                       Cas{std::string("4.4.0.2"), "2", "La version de la base de données n'est pas valide : 4.4.0.2"},
                       Cas{std::string("4.4.0.1 "), "2", "La version de la base de données n'est pas valide : 4.4.0.1 "}}) {
    SCOPED_TRACE(*c.livers);
    fs::remove_all(local(kBasesLocal));
    fs::create_directories(local(kBasesLocal));
    baseVivante(c.livers, 4);
    const std::string origine = bytes(kBasesLocal + "Quelis.mdb");
    auto f = form();
    f->Traitement();
    EXPECT_FALSE(f->Succes);
    EXPECT_EQ(read(kJournal), lines(EnTete("") + Lines{"--- Mise à jour base existante ---"} +
                                    BlocErreur("Traitement", c.numero, c.texte)));
    f->Unload();
    EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), origine);
    EXPECT_FALSE(exists(kBasesLocal + "QuelMaj.mdb"));
  }
}

TEST_F(MiseAJourTest, NullVersionPassesTheGateAndIsRefusedByTheScript) {
  baseVivante(std::nullopt, 4);
  const std::string origine = bytes(kBasesLocal + "Quelis.mdb");
  auto f = form();
  f->Traitement();
  EXPECT_FALSE(f->Succes);
  EXPECT_EQ(read(kJournal),
            lines(EnTete("") + Lines{"--- Mise à jour base existante ---", "Copie vers base temporaire...",
                                     "Réparation de la base temporaire...", "Mise à jour de la base temporaire...",
                                     " 1- Mise à jour table VERSION --------------"} +
                  BlocErreur("MiseAJour " + kBases + "QuelMaj.mdb", "2",
                             "La version de la base de données n'est pas valide : ") +
                  Lines{"Installation de la base terminée -> échec"} + kFin));
  EXPECT_EQ(bytes(kBasesLocal + "Quelis.mdb"), origine);
  EXPECT_FALSE(exists(kBasesLocal + "QuelMaj.mdb"));
}

TEST_F(MiseAJourTest, LeftoversOfAnEarlierRunAreReplaced) {
  baseVivante(std::string("4.4.0.1"), 4);
  write(kBasesLocal + "QuelMaj.mdb", "ancienne copie");
  write(kBasesLocal + "QuelComp.mdb", "ancienne compaction");
  write(kBasesLocal + "Quelis.ldb", "");
  auto f = form();
  f->Traitement();
  EXPECT_TRUE(f->Succes) << read(kJournal);
  EXPECT_FALSE(exists(kBasesLocal + "QuelMaj.mdb"));
  EXPECT_FALSE(exists(kBasesLocal + "QuelComp.mdb"));
  f->Unload();
  EXPECT_EQ(rows(kBases + "Quelis.mdb", "VERSION", {"livers"}), (std::vector<Lines>{{"4.4.0.3"}}));
}

TEST_F(MiseAJourTest, UpdatesADatabaseWhoseRecordsHoldZeroLengthTexts) {
  // The application's text columns allow "" (AllowZeroLength true): real records hold it in
  // unindexed (coficvtopo, LIFICADR, LIFICOBS) and indexed (COFICCOM, cofictyp) columns. The
  // whole update (copy, repair, update, compaction, replacement) goes through and keeps
  // every "" apart from Null.
  baseVivante();
  {
    dao::Database bd = moteur->OpenDatabase(kBases + "Quelis.mdb", true);
    bd.Execute("UPDATE FICHE SET coficvtopo = '', LIFICADR = '', LIFICOBS = '' WHERE NUFICHE IN (1000, 1004)",
               dao::dbFailOnError);
    bd.Execute("UPDATE FICHE SET COFICCOM = '' WHERE NUFICHE IN (1002, 1003, 1004)", dao::dbFailOnError);
    bd.Execute("UPDATE FICHE SET cofictyp = '' WHERE NUFICHE = 1005", dao::dbFailOnError);
    bd.Close();
  }
  const std::vector<Lines> avant = rows(kBases + "Quelis.mdb", "FICHE", kChamps);
  const std::vector<Lines> sauvegarde = rows(kBases + "QuelisSauv_18012013.mdb", "FICHE", kChamps);
  auto f = form();
  f->Traitement();
  ASSERT_TRUE(f->Succes) << read(kJournal);
  EXPECT_NE(read(kJournal).find("Compactage base temporaire"), std::string::npos);
  EXPECT_FALSE(exists(kBasesLocal + "QuelMaj.mdb"));
  EXPECT_EQ(rows(kBases + "Quelis.mdb", "VERSION", {"livers"}), (std::vector<Lines>{{"4.4.0.3"}}));

  // "" is not Null for the restore's selection: 1000 and 1004 (coficvtopo '') and 1005
  // (cofictyp '') keep their own survey fields.
  std::vector<Lines> attendus = attendu(avant, sauvegarde);
  for (std::size_t i : {0u, 4u, 5u}) attendus[i] = avant[i];
  EXPECT_EQ(rows(kBases + "Quelis.mdb", "FICHE", kChamps), attendus);
  EXPECT_NE(attendus, avant);  // other records were restored

  dao::Database bd = moteur->OpenDatabase(kBases + "Quelis.mdb", false, true);
  auto count = [&](const std::string& where) {
    dao::Recordset rs = bd.OpenRecordset("SELECT COUNT(*) AS n FROM FICHE WHERE " + where);
    const std::string n = rs("n").value().to_display();
    rs.Close();
    return n;
  };
  EXPECT_EQ(count("coficvtopo = '' AND LIFICADR = '' AND LIFICOBS = ''"), "2");
  EXPECT_EQ(count("COFICCOM = ''"), "3");  // through the COFICCOM index
  EXPECT_EQ(count("cofictyp = ''"), "1");
  EXPECT_EQ(count("COFICCOM IS NULL OR cofictyp IS NULL"), "0");
  bd.Close();
  auto compacted = jet::Database::open(local(kBasesLocal + "Quelis.mdb").string());
  EXPECT_EQ(jet::verify_database(*compacted, jet::verify_indexes), std::vector<std::string>{});
}

}  // namespace
