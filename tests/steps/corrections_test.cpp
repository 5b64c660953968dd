// The single-statement corrections, record edits, structure and parameter steps on a small
// database holding the rows each one looks for: what they write, the line each logs, and
// what a second run or a missing row does.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "etapes_fixture.h"

namespace etapes_test {
namespace {


class CorrectionsTest : public EtapesTest {
 protected:
  CorrectionsTest() {
    table("CDIF", {{"COCDIF", dao::dbText, 7}, {"LICDIHEUR", dao::dbText, 120}});
    sql("INSERT INTO CDIF VALUES ('0590100', 'du lundi au vendredi de 8h30 à 12h   ')");
    sql("INSERT INTO CDIF VALUES ('0620200', 'le mardi')");
    table("PERMIS", {{"NUPERMIS", dao::dbText, 15}, {"LIPERDT", dao::dbText, 50}});
    for (const char* l : {"012", "0", "Extension d'un garage", "100 m² de véranda"}) {
      sql(std::string("INSERT INTO PERMIS VALUES ('PC") + std::to_string(n++) + "', '" + echappe(l) + "')");
    }
    table("MC_DONNEE", {{"mdcode", dao::dbText, 30}, {"mdlibelle", dao::dbText, 80}});
    sql("INSERT INTO MC_DONNEE VALUES ('PERMIS.LIPERDT', 'Travaux')");
    sql("INSERT INTO MC_DONNEE VALUES ('PERMIS.SHON', 'SHON créée')");
    sql("INSERT INTO MC_DONNEE VALUES ('PERMIS.SURF', 'Surface SHON')");
    sql("INSERT INTO MC_DONNEE VALUES ('PERMIS.NBLOG', 'Nombre de logements')");
    table("PILOTEREF", {{"cotpilote", dao::dbText, 10}, {"corpichamp", dao::dbText, 20}, {"lirpichamp", dao::dbText, 50},
                        {"corpictgen", dao::dbText, 1}, {"qurpiclong", dao::dbInteger, 0}, {"corpictsql", dao::dbText, 20},
                        {"corpicoblig", dao::dbText, 1}, {"lirpicform", dao::dbText, 50}});
    sql("INSERT INTO PILOTEREF (cotpilote, corpichamp, lirpichamp) VALUES ('PERMIS', 'LIPERDT', 'Travaux')");
    sql("INSERT INTO PILOTEREF (cotpilote, corpichamp, lirpichamp) VALUES ('FICHE', 'RMFICNOTE', 'Bloc-notes')");
    table("AGENT", {{"COAGENT", dao::dbText, 2}, {"COAGETYP", dao::dbText, 1}, {"coageappplan", dao::dbText, 1}});
    sql("INSERT INTO AGENT VALUES ('12', '1', '0')");
    sql("INSERT INTO AGENT VALUES ('7', '2', '0')");
    sql("INSERT INTO AGENT VALUES ('31', '3', Null)");
    table("LETTREFICHE", {{"COLFIFORM", dao::dbText, 2}, {"active", dao::dbText, 1}});
    sql("INSERT INTO LETTREFICHE VALUES ('4', '1')");
    sql("INSERT INTO LETTREFICHE VALUES ('2', '1')");
    table("FICHE", {{"NUFICHE", dao::dbLong, 0}});
    table("IMPORTFICHE", {{"NUFICHE", dao::dbLong, 0}});
    // The inserts give their values by position: the columns' order decides where they land.
    table("PARAMETRE", {{"coparam", dao::dbText, 20}, {"liparam", dao::dbText, 80}, {"vaparam", dao::dbText, 80}});
    sql("INSERT INTO PARAMETRE VALUES ('DELAI', 'Délai d''instruction', '30')");
    table("RECHERCHE", {{"corec", dao::dbText, 20}, {"lirec", dao::dbText, 80}, {"sqlrec", dao::dbMemo, 0}});
    table("RECHERCHEVSL", {{"corec", dao::dbText, 20}, {"lirec", dao::dbText, 80}, {"sqlrec", dao::dbMemo, 0},
                           {"corecord", dao::dbText, 3}});
    table("6443INDE", {{"NUI6E", dao::dbLong, 0}, {"COI6ECHANT", dao::dbText, 3}});
    sql("INSERT INTO 6443INDE VALUES (1, 'A1')");
    sql("INSERT INTO 6443INDE VALUES (2, 'B2')");
    sql("INSERT INTO 6443INDE VALUES (3, 'A1')");
  }

  int n = 1;
};

TEST_F(CorrectionsTest, ReceptionHoursGetTheAppointmentWordsOncePerRun) {
  forme.MAJCDIF_HEURESRECEPT();
  EXPECT_EQ(journal(), (std::vector<std::string>{" - Modification enregistrement LICDIHEUR table CDIF : Ok"}));
  forme.MAJCDIF_HEURESRECEPT();
  EXPECT_EQ(journal(), (std::vector<std::string>{" - Modification enregistrement LICDIHEUR table CDIF : Ok"}));
  EXPECT_TRUE(forme.erreurs.empty());
  // No guard: a second run appends the words again; trailing blanks go first.
  EXPECT_EQ(lignes("SELECT LICDIHEUR FROM CDIF ORDER BY COCDIF"),
            (Lignes{{"du lundi au vendredi de 8h30 à 12h et sur rendez-vous et sur rendez-vous"},
                    {"le mardi et sur rendez-vous et sur rendez-vous"}}));
}

TEST_F(CorrectionsTest, LeadingZeroOfWorksLabelsAndShonCriteriaAreCutAsWritten) {
  forme.MajEnregLibelleTravaux0();
  forme.MajCritereSHON();
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), (std::vector<std::string>{" - Modification enregistrements LIPERDT de la table PERMIS de type '0*' : Ok",
                                                 " - Modification mdlibelle contenant 'SHON' : Ok"}));
  EXPECT_EQ(lignes("SELECT LIPERDT FROM PERMIS ORDER BY NUPERMIS"),
            (Lignes{{"12"}, {""}, {"Extension d'un garage"}, {"100 m² de véranda"}}));
  // The first four characters go whatever they are.
  EXPECT_EQ(lignes("SELECT mdlibelle FROM MC_DONNEE ORDER BY mdcode"),
            (Lignes{{"Travaux"}, {"Nombre de logements"}, {"Surface de plancher créée"}, {"Surface de plancherace SHON"}}));
}

TEST_F(CorrectionsTest, RecordEditsChangeTheFirstMatchAndFailWithoutOne) {
  forme.MajChampLibelleTravaux();
  forme.MajChampLibelleTravauxPilote();
  forme.MajAppPlanGeo();
  forme.MajLettre2MiseEnDemeure();
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_TRUE(journal().empty());
  EXPECT_EQ(lignes("SELECT mdlibelle FROM MC_DONNEE WHERE mdcode = 'PERMIS.LIPERDT'"), (Lignes{{"Libellé des travaux"}}));
  EXPECT_EQ(lignes("SELECT lirpichamp FROM PILOTEREF WHERE corpichamp = 'LIPERDT'"), (Lignes{{"Libellé des travaux"}}));
  EXPECT_EQ(lignes("SELECT COAGENT, coageappplan FROM AGENT ORDER BY COAGENT"),
            (Lignes{{"12", "0"}, {"31", "1"}, {"7", "1"}}));
  EXPECT_EQ(lignes("SELECT COLFIFORM, active FROM LETTREFICHE ORDER BY COLFIFORM"), (Lignes{{"2", "1"}, {"4", "0"}}));

  // No end-of-set test: without the record the edit fails, reported under the step's name.
  sql("DELETE FROM MC_DONNEE WHERE mdcode = 'PERMIS.LIPERDT'");
  forme.MajChampLibelleTravaux();
  EXPECT_EQ(forme.erreurs, (std::vector<Signalee>{{"MajChampLibelleTravaux", 3021}}));
  // Two steps have no trap: the error reaches their caller.
  sql("DROP TABLE LETTREFICHE");
  EXPECT_THROW(forme.MajLettre2MiseEnDemeure(), platform::Error);
  EXPECT_EQ(forme.erreurs.size(), 1u);
}

TEST_F(CorrectionsTest, StructureStepsCreateOnceAndSaySoOrFailTheSecondTime) {
  forme.CreerTablePREFIXEFICTIF();
  forme.CreationChampBlocNoteTopoFiche();
  forme.CreationChampBlocNoteTopoImportFiche();
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), (std::vector<std::string>{" - Création de la table PREFIXEFIC : Ok",
                                                 " - Création du champ RMTOPONOTE (table FICHE) : Ok",
                                                 " - Création du champ RMTOPONOTE (table IMPORTFICHE) : Ok"}));
  dao::TableDef prefixe = bd().TableDefs("PREFIXEFIC");
  std::vector<std::string> champs;
  for (const dao::Field& f : prefixe.Fields()) champs.push_back(f.Name() + " " + std::to_string(f.Size()));
  EXPECT_EQ(champs, (std::vector<std::string>{"FICCNE 3", "FICPREF 3", "FICSECT 2", "FICSEL 2"}));
  EXPECT_EQ(prefixe.Indexes().Count(), 0);
  EXPECT_EQ(bd().TableDefs("FICHE").Fields("RMTOPONOTE").Type(), dao::dbMemo);

  sql("INSERT INTO PREFIXEFIC VALUES ('062', 'AB', '01', 'X')");
  forme.CreerTablePREFIXEFICTIF();
  forme.CreationChampBlocNoteTopoFiche();
  ASSERT_EQ(forme.erreurs.size(), 1u);
  EXPECT_EQ(forme.erreurs[0].procedure, "CreerTablePREFIXEFICTIF");
  EXPECT_EQ(journal(), (std::vector<std::string>{" - Création du champ RMTOPONOTE (table FICHE) : Erreur (Champ déjà existant)"}));
  EXPECT_EQ(lignes("SELECT * FROM PREFIXEFIC"), (Lignes{{"062", "AB", "01", "X"}}));
}

TEST_F(CorrectionsTest, BlocNotePilotRenamesAndAddsAndReportsUnderTheBorrowedName) {
  forme.ModificationBlocNotePilote();
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_TRUE(journal().empty());
  EXPECT_EQ(lignes("SELECT * FROM PILOTEREF WHERE cotpilote = 'FICHE' ORDER BY corpichamp"),
            (Lignes{{"FICHE", "RMFICNOTE", "Bloc-notes fiscal", "<Null>", "<Null>", "<Null>", "<Null>", "<Null>"},
                    {"FICHE", "RMTOPONOTE", "Bloc-notes topo", "M", "<Null>", "LONGTEXT", "<Null>", "<Null>"}}));
  sql("DELETE FROM PILOTEREF WHERE corpichamp = 'RMFICNOTE'");
  forme.ModificationBlocNotePilote();
  EXPECT_EQ(forme.erreurs, (std::vector<Signalee>{{"ModificationTableMulticritereBlocNote", 3021}}));
  // Nothing was added after the failed edit.
  EXPECT_EQ(lignes("SELECT COUNT(*) FROM PILOTEREF WHERE corpichamp = 'RMTOPONOTE'"), (Lignes{{"1"}}));
}

TEST_F(CorrectionsTest, ParameterRowsAreAddedByPositionOnlyWhenTheirCodeIsMissing) {
  forme.AjoutTableParametre("DELAI", "autre", "60");
  forme.AjoutTableParametre("SEUIL", "Seuil d'alerte", "  ");
  forme.AjoutTableRecherche("R01", "Permis déposés", "SELECT * FROM PERMIS");
  forme.AjoutTableRechercheVsl("V01", "Visites", "SELECT * FROM FICHEVSL", "1");
  forme.AjoutTableRechercheVsl("V01", "Visites", "SELECT * FROM FICHEVSL", "1");
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), (std::vector<std::string>{" - Ajout paramètre DELAI : existe déjà", " - Ajout paramètre SEUIL : OK",
                                                 " - Ajout recherche R01 : OK", " - Ajout recherche Vsl V01 : OK",
                                                 " - Ajout recherche Vsl V01 : existe déjà"}));
  // Quotes doubled, a blank value written as Null, the present row left alone.
  EXPECT_EQ(lignes("SELECT * FROM PARAMETRE ORDER BY coparam"),
            (Lignes{{"DELAI", "Délai d'instruction", "30"}, {"SEUIL", "Seuil d'alerte", "<Null>"}}));
  EXPECT_EQ(lignes("SELECT * FROM RECHERCHEVSL"), (Lignes{{"V01", "Visites", "SELECT * FROM FICHEVSL", "1"}}));
  // A table missing: reported under the step's name.
  forme.AjoutTableRecherche("R02", "x", "y");
  sql("DROP TABLE RECHERCHE");
  forme.AjoutTableRecherche("R03", "x", "y");
  EXPECT_EQ(forme.erreurs, (std::vector<Signalee>{{"AjoutTableRecherche", 3078}}));
}

TEST_F(CorrectionsTest, WorksCodeChangeMovesEveryRowOfTheOldCode) {
  forme.Etat6443TravauxEquipementsModifCodeChantier("A1", "C'3");
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), (std::vector<std::string>{" - Changement des chantiers 'A1' en 'C'3' : Ok"}));
  EXPECT_EQ(lignes("SELECT COI6ECHANT FROM 6443INDE ORDER BY NUI6E"), (Lignes{{"C'3"}, {"B2"}, {"C'3"}}));
  // Too long for the field: nothing changes, the engine's refusal is reported.
  forme.Etat6443TravauxEquipementsModifCodeChantier("B2", "TROP LONG");
  ASSERT_EQ(forme.erreurs.size(), 1u);
  EXPECT_EQ(forme.erreurs[0].procedure, "Etat6443TravauxEquipementsModifCodeChantier");
  EXPECT_EQ(lignes("SELECT COI6ECHANT FROM 6443INDE ORDER BY NUI6E"), (Lignes{{"C'3"}, {"B2"}, {"C'3"}}));
}

}  // namespace
}  // namespace etapes_test
