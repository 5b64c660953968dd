// Document pilots: inserting a pilot into a run of numbers, its fields and empty slots, the
// field catalogue, the types; and the multi-criteria search's criteria.
#include "etapes_fixture.h"

namespace etapes_test {
namespace {

class PilotesTest : public EtapesTest {
 protected:
  PilotesTest() {
    table("PILOTE", {{"cotpilote", dao::dbText, 10}, {"nupilote", dao::dbText, 2}, {"lipilote", dao::dbText, 50},
                     {"copilformat", dao::dbText, 1}, {"copilsepar", dao::dbText, 1}, {"copiltfic", dao::dbText, 3},
                     {"copilverr", dao::dbText, 1}});
    table("PILOTEDESC", {{"cotpilote", dao::dbText, 10}, {"nupilote", dao::dbText, 2}, {"codpichamp", dao::dbText, 20},
                         {"qudpidlong", dao::dbInteger, 0}, {"codpidform", dao::dbText, 20}, {"nudpicord", dao::dbInteger, 0}});
    table("PILOTEREF", {{"cotpilote", dao::dbText, 10}, {"corpichamp", dao::dbText, 20}, {"lirpichamp", dao::dbText, 50},
                        {"corpictgen", dao::dbText, 1}, {"qurpiclong", dao::dbInteger, 0}, {"corpictsql", dao::dbText, 20},
                        {"corpicoblig", dao::dbText, 1}, {"lirpicform", dao::dbText, 50}});
    table("PILOTETYP", {{"cotpilote", dao::dbText, 10}, {"litpilote", dao::dbText, 50}});
    table("JIMPORT", {{"nujimport", dao::dbLong, 0}, {"cotpilote", dao::dbText, 10}, {"nupilote", dao::dbText, 2}});
    for (const char* n : {"01", "03", "04", "06"}) {
      sql(std::string("INSERT INTO PILOTE VALUES ('FICHE', '") + n + "', 'Pilote " + n + "', 'F', ';', 'TXT', Null)");
      sql(std::string("INSERT INTO PILOTEDESC VALUES ('FICHE', '") + n + "', 'NUFICHE', 6, Null, 1)");
    }
    sql("INSERT INTO JIMPORT VALUES (1, 'FICHE', '03')");
    sql("INSERT INTO JIMPORT VALUES (2, 'FICHE', '06')");
  }
  Lignes pilotes() { return lignes("SELECT nupilote, lipilote FROM PILOTE ORDER BY nupilote"); }
};

TEST_F(PilotesTest, AddingIntoARunMovesItUpHighestFirstAndLeavesTheNextRunAlone) {
  EXPECT_TRUE(forme.PiloteAjout("FICHE", "03", "Nouveau d'import", "F"));
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), (std::vector<std::string>{
                           " - Création pilote FICHE 05 dans table PILOTE : Ok",
                           " - Renumérotation du pilote 04 en pilote 05 : Ok",
                           " - Création pilote FICHE 04 dans table PILOTE : Ok",
                           " - Renumérotation du pilote 03 en pilote 04 : Ok",
                           " - Création pilote FICHE 03 dans table PILOTE : Ok",
                       }));
  EXPECT_EQ(pilotes(), (Lignes{{"01", "Pilote 01"}, {"03", "Nouveau d'import"}, {"04", "Pilote 03"},
                               {"05", "Pilote 04"}, {"06", "Pilote 06"}}));
  // The fields and the import jobs followed their pilot; the moved pilots kept their settings.
  EXPECT_EQ(lignes("SELECT nupilote FROM PILOTEDESC ORDER BY nupilote"), (Lignes{{"01"}, {"04"}, {"05"}, {"06"}}));
  EXPECT_EQ(lignes("SELECT nujimport, nupilote FROM JIMPORT ORDER BY nujimport"), (Lignes{{"1", "04"}, {"2", "06"}}));
  EXPECT_EQ(lignes("SELECT copilsepar, copiltfic, copilverr FROM PILOTE WHERE nupilote = '05'"),
            (Lignes{{";", "TXT", "<Null>"}}));
}

TEST_F(PilotesTest, AddingAtAFreeNumberMovesNothingAndAboveEveryPilotFails) {
  EXPECT_FALSE(forme.PiloteAjout("FICHE", "02", "Deux", "V", std::string("|"), std::string("CSV")));
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), (std::vector<std::string>{" - Création pilote FICHE 02 dans table PILOTE : Ok"}));
  // The vertical bar went through chr(124); the empty optional values were left out.
  EXPECT_EQ(lignes("SELECT copilformat, copilsepar, copiltfic, copilverr FROM PILOTE WHERE nupilote = '02'"),
            (Lignes{{"V", "|", "CSV", "<Null>"}}));
  // No pilot at 07 or above: the set is empty and stepping back from it fails.
  forme.PiloteAjout("FICHE", "07", "Sept", "F");
  EXPECT_EQ(forme.erreurs, (std::vector<Signalee>{{"PiloteAjout", 3021}}));
  EXPECT_EQ(pilotes().size(), 5u);
}

TEST_F(PilotesTest, FieldsAndEmptySlotsAreAddedOnceAndRemovedByFormat) {
  sql("INSERT INTO PILOTE VALUES ('FICHE', '08', 'Variable', 'V', Null, Null, Null)");
  sql("INSERT INTO PILOTEREF (cotpilote, corpichamp, lirpichamp) VALUES ('FICHE', 'LIFICADR', 'Adresse')");
  forme.PiloteDescVarAjoutDonnes("FICHE", "08", "LIFICADR", 80, 2);
  forme.PiloteDescVarAjoutDonnes("FICHE", "08", "LIFICADR", 80, 2);
  forme.PiloteDescVarAjoutDonnes("FICHE", "01", "LIFICADR", 80, 2, std::string("MAJ"));
  forme.PiloteDescVarAjoutDonnes("FICHE", "08", "NEANT", 0, 3);
  forme.PiloteDescVarAjoutDonnes("FICHE", "08", "NEANT", 0, 4);
  forme.PiloteDescVarAjoutDonnes("FICHE", "08", "NEANT", 0, 4);
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), (std::vector<std::string>{
                           " - Ajout enregistrement FICHE 08 LIFICADR dans table PILOTEDESC : Ok",
                           " - Ajout enregistrement FICHE 08 LIFICADR dans table PILOTEDESC : Déjà présent",
                           " - Ajout enregistrement FICHE 01 LIFICADR dans table PILOTEDESC : Ok",
                           " - Ajout enregistrement FICHE 08 NEANT dans table PILOTEDESC : Ok",
                           " - Ajout enregistrement FICHE 08 NEANT dans table PILOTEDESC : Ok",
                           " - Ajout enregistrement FICHE 08 NEANT dans table PILOTEDESC : Déjà présent",
                       }));
  // Removing the catalogue field: the fixed-format pilot 01 loses the row, pilot 08 keeps a slot.
  forme.PiloteDescSuppDonnees("FICHE", "LIFICADR");
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(lignes("SELECT nupilote, codpichamp, qudpidlong, codpidform, nudpicord FROM PILOTEDESC WHERE nupilote IN "
                   "('01', '08') ORDER BY nupilote, nudpicord"),
            (Lignes{{"01", "NUFICHE", "6", "<Null>", "1"},
                    {"08", "NEANT", "<Null>", "<Null>", "2"},
                    {"08", "NEANT", "<Null>", "<Null>", "3"},
                    {"08", "NEANT", "<Null>", "<Null>", "4"}}));
  forme.PiloteDescMajNumOrdre("FICHE", "01", "NUFICHE", 9);
  EXPECT_EQ(lignes("SELECT nudpicord FROM PILOTEDESC WHERE nupilote = '01'"), (Lignes{{"9"}}));
}

TEST_F(PilotesTest, DeletingAPilotTakesItsFieldsAndFreesItsImportJobs) {
  forme.PiloteSuppression("FICHE", "03");
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), (std::vector<std::string>{" - Suppression pilote FICHE 03 dans table PILOTEDESC : Ok",
                                                 " - Suppression pilote FICHE 03 dans table PILOTE : Ok",
                                                 " - Suppression références au pilote FICHE 03 dans table JIMPORT : Ok"}));
  EXPECT_EQ(lignes("SELECT nupilote FROM PILOTE ORDER BY nupilote"), (Lignes{{"01"}, {"04"}, {"06"}}));
  EXPECT_EQ(lignes("SELECT nujimport, nupilote FROM JIMPORT ORDER BY nujimport"), (Lignes{{"1", "<Null>"}, {"2", "06"}}));
}

TEST_F(PilotesTest, CatalogueAndTypesAreAddedOnceAndErrorsCarryTheirOddNames) {
  steps::ChampRefOptions options;
  options.corpictgen = "T";
  options.qurpiclong = 40;
  forme.PiloteRefCreationDonnees("FICHE", "LIFICCOM", "Commune d'implantation", options);
  forme.PiloteRefCreationDonnees("FICHE", "LIFICCOM", "Commune d'implantation", options);
  forme.PiloteRefModifDonnees("FICHE", "LIFICCOM", 60, "Commune de l'immeuble");
  forme.PiloteTypAjout("PERMIS", "Permis d'aménager");
  forme.PiloteTypAjout("PERMIS", "Permis d'aménager");
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), (std::vector<std::string>{
                           " - Ajout enregistrement FICHE LIFICCOM dans table PILOTEREF : Ok",
                           " - Ajout enregistrement FICHE LIFICCOM dans table PILOTEREF : Déjà présent",
                           " - modification donnée LIFICCOM dans table PILOTEREF : OK",
                           " - Ajout type pilote PERMIS : OK",
                           " - Ajout type pilote PERMIS : existe déjà",
                       }));
  EXPECT_EQ(lignes("SELECT corpictgen, qurpiclong, lirpichamp, corpictsql FROM PILOTEREF"),
            (Lignes{{"T", "60", "Commune de l'immeuble", "<Null>"}}));
  EXPECT_EQ(lignes("SELECT * FROM PILOTETYP"), (Lignes{{"PERMIS", "Permis d'aménager"}}));
  forme.PiloteRefSuppressionDonnees("FICHE", "LIFICCOM");
  EXPECT_EQ(journal(), (std::vector<std::string>{" - suppression donnée LIFICCOM dans table PILOTEREF : OK"}));
  EXPECT_TRUE(lignes("SELECT * FROM PILOTEREF").empty());

  // Unquoted values: an apostrophe breaks the statement. The errors carry the names the
  // application gives them.
  sql("DROP TABLE PILOTEREF");
  forme.PiloteRefSuppressionDonnees("FICHE", "LIFICCOM");
  forme.PiloteDescSuppDonnees("FICHE", "LIFICADR");
  forme.PiloteCreation("FICHE", "09", "Neuf", "d'F");
  ASSERT_EQ(forme.erreurs.size(), 3u);
  EXPECT_EQ(forme.erreurs[0].procedure, "PiloteRefCreationDonnees");
  EXPECT_EQ(forme.erreurs[1].procedure, "PiloteDescSuppDonnes");
  EXPECT_EQ(forme.erreurs[2].procedure, "PiloteCreation");
  EXPECT_TRUE(journal().empty());
}

class MultiCritereTest : public EtapesTest {
 protected:
  MultiCritereTest() {
    table("MC_DONNEE", {{"mdvue", dao::dbText, 20}, {"mdracine", dao::dbText, 20}, {"mdnuordre", dao::dbInteger, 0},
                        {"mdtable", dao::dbText, 20}, {"mdcode", dao::dbText, 30}, {"mdlibelle", dao::dbText, 80},
                        {"mdliste", dao::dbMemo, 0}, {"mdtype", dao::dbText, 1}, {"mdlistedon", dao::dbMemo, 0},
                        {"mdlistecrit", dao::dbText, 1}, {"mdlistetri", dao::dbText, 50}, {"mddflt", dao::dbText, 50},
                        {"mdpadlong", dao::dbInteger, 0}, {"mdpadcar", dao::dbText, 1}, {"mdpadsens", dao::dbText, 1}});
    for (const char* code : {"PERMIS.COPERAPET", "PERMIS.COPERDESTL", "FICHE.RMFICNOTE"}) {
      sql(std::string("INSERT INTO MC_DONNEE (mdvue, mdracine, mdtable, mdcode, mdlibelle, mdtype, mdlistecrit, mdpadlong) "
                      "VALUES ('FICHE', 'PERMIS', 'PERMIS', '") + code + "', 'Ancien', 'C', '1', 5)");
    }
  }
};

TEST_F(MultiCritereTest, SixtyCriteriaAreAppendedAndThreeMadeFree) {
  forme.MC_AjoutModif();
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_TRUE(journal().empty());
  EXPECT_EQ(lignes("SELECT COUNT(*) FROM MC_DONNEE"), (Lignes{{"63"}}));
  EXPECT_EQ(lignes("SELECT * FROM MC_DONNEE WHERE mdcode = 'PERMIS.COPERDESTCOLL'"),
            (Lignes{{"FICHE", "PERMIS", "0", "PERMIS", "PERMIS.COPERDESTCOLL", "Destination des ouvrages d'intérêt collectif",
                     "select codestcoll as code,lidestcoll as libelle from typdestcoll where codestcoll <> ''", "C",
                     "<Null>", "1", "<Null>", "<Null>", "<Null>", "<Null>", "<Null>"}}));
  EXPECT_EQ(lignes("SELECT mdcode, mdlibelle FROM MC_DONNEE WHERE mdcode LIKE 'PERMIS.QUPERSTFT*' ORDER BY mdcode"),
            (Lignes{{"PERMIS.QUPERSTFT1", "SHON créée par transformation de SHOB 1"},
                    {"PERMIS.QUPERSTFT2", "SHON créée par transformation de SHOB 2"},
                    {"PERMIS.QUPERSTFT3", "SHON créée par transformation de SHOB 3"},
                    {"PERMIS.QUPERSTFT4", "SHON créée par transformation de SHOB 4"},
                    {"PERMIS.QUPERSTFT5", "SHON créée par transformation de SHOB 5"},
                    {"PERMIS.QUPERSTFT6", "SHON créée par transformation de SHOB 6"},
                    {"PERMIS.QUPERSTFT7", "SHON créée par transformation de SHOB 7"},
                    {"PERMIS.QUPERSTFT8", "SHON créée par transformation de SHOB 8"},
                    {"PERMIS.QUPERSTFT9", "SHON créée par transformation de SHOB 9"}}));
  // Made free: only their list criterion changed; the absent third one is no error.
  EXPECT_EQ(lignes("SELECT mdcode, mdlibelle, mdlistecrit, mdpadlong FROM MC_DONNEE WHERE mdlibelle = 'Ancien' ORDER BY mdcode"),
            (Lignes{{"FICHE.RMFICNOTE", "Ancien", "1", "5"},
                    {"PERMIS.COPERAPET", "Ancien", "<Null>", "5"},
                    {"PERMIS.COPERDESTL", "Ancien", "<Null>", "5"}}));
  // No test before appending: a second run adds them all again.
  forme.MC_AjoutModif();
  EXPECT_EQ(lignes("SELECT COUNT(*) FROM MC_DONNEE"), (Lignes{{"123"}}));
}

TEST_F(MultiCritereTest, NotePadCriteriaNeedTheFiscalOneToBeThere) {
  forme.ModificationTableMulticritereBlocNote();
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(lignes("SELECT mdcode, mdlibelle, mdlistecrit FROM MC_DONNEE WHERE mdcode LIKE 'FICHE.RM*' ORDER BY mdcode"),
            (Lignes{{"FICHE.RMFICNOTE", "Bloc-notes fiscal", "1"}, {"FICHE.RMTOPONOTE", "Bloc-notes topo", "1"}}));
  sql("DELETE FROM MC_DONNEE WHERE mdcode LIKE 'FICHE.RM*'");
  forme.ModificationTableMulticritereBlocNote();
  EXPECT_EQ(forme.erreurs, (std::vector<Signalee>{{"ModificationTableMulticritereBlocNote", 3021}}));
  EXPECT_TRUE(lignes("SELECT * FROM MC_DONNEE WHERE mdcode = 'FICHE.RMTOPONOTE'").empty());
}

}  // namespace
}  // namespace etapes_test
