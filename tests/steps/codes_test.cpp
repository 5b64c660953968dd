// The code-table steps on small code tables and permits: rows added once then reported
// present, labels with an apostrophe refused where the statement quotes them as given, the
// statements Jet cannot read failing as they always did, and codes renumbered in the code
// table and in the permits alike.
#include <string>
#include <vector>

#include "etapes_fixture.h"

namespace etapes_test {
namespace {


class CodesTest : public EtapesTest {
 protected:
  CodesTest() {
    table("PAYS", {{"COPAYS", dao::dbText, 3}, {"LIPAYS", dao::dbText, 32}});
    table("TYPAUT", {{"COAUT", dao::dbText, 2}, {"LIAUT", dao::dbText, 50}});
    table("TYPMANNUL", {{"COMANNUL", dao::dbText, 2}, {"LIMANNUL", dao::dbText, 50}});
    table("NATTRAV", {{"CONTRAV", dao::dbText, 3}, {"LINTRAV", dao::dbText, 50}, {"CONTRTOPO", dao::dbText, 3},
                      {"CONTRVERR", dao::dbText, 3}});
    table("TYPUTILL", {{"COUTILL", dao::dbText, 2}, {"LIUTILL", dao::dbText, 50}});
    table("TYPNATLOG", {{"CONLOG", dao::dbText, 2}, {"LINLOG", dao::dbText, 50}, {"CORANG", dao::dbText, 2}});
    cle("TYPNATLOG", "CONLOG");
    table("typimprime", {{"coimprime", dao::dbText, 20}});
    table("IMPRESSION", {{"coimp", dao::dbText, 10}, {"liimp", dao::dbText, 50}, {"coimprang", dao::dbText, 3},
                         {"coimptot", dao::dbText, 1}, {"coimppre", dao::dbText, 1}, {"coimppub", dao::dbText, 1}});
    table("ETAT", {{"coetat", dao::dbText, 10}, {"lietat", dao::dbText, 50}, {"coimp", dao::dbText, 10},
                   {"coetatyp", dao::dbText, 1}});
    table("DSF", {{"CODSFDEP", dao::dbText, 2}, {"CODSFDIR", dao::dbText, 1}, {"LIDSFDIR", dao::dbText, 32},
                  {"LIDSFSERVC", dao::dbText, 32}, {"LIDSFGRADC", dao::dbText, 32}, {"LIDSFNOMC", dao::dbText, 32},
                  {"NUDSFTELC", dao::dbText, 10}});
    table("SECTFONC", {{"COSECTF", dao::dbText, 3}, {"COCDIDEP", dao::dbText, 3}, {"COCDIDIR", dao::dbText, 1},
                       {"COCDIF", dao::dbText, 3}, {"COAGENT", dao::dbText, 3}, {"LISECTF", dao::dbText, 32},
                       {"NUSECTEL", dao::dbText, 10}});
    for (const char* t : {"INSPECTION", "INSPECTION_ARCHIVE"})
      table(t, {{"COINSP", dao::dbText, 3}, {"COCDIDEP", dao::dbText, 3}, {"COCDIDIR", dao::dbText, 1},
                {"COCDIF", dao::dbText, 3}, {"COAGENT", dao::dbText, 3}, {"NUINSTEL", dao::dbText, 10}});
    table("PERMIS", {{"NUPERMIS", dao::dbText, 15}, {"COPERTRAV", dao::dbText, 3}, {"COPERMANN", dao::dbText, 2},
                     {"COPERNLOG", dao::dbText, 2}});
  }
  void cle(const std::string& nom, const std::string& champ) {
    dao::TableDef t = bd().TableDefs(nom);
    dao::Index i = t.CreateIndex("PrimaryKey");
    i.SetPrimary(true);
    i.Fields().Append(i.CreateField(champ));
    t.Indexes().Append(i);
  }
  void ajouteTout() {
    forme.AjoutDataPAYS("099", "Pays-Bas");
    forme.AjoutDataTYPEAUT("PA", "Permis d'aménager");
    forme.AjoutMotifAnnulPermis(3, "Retrait");
    forme.MAJCodeNatureTravaux("15", "Piscine", "P", "V");
    forme.AjoutTypeUtill(4, "Location");
    forme.AjoutNatLog(7, "Foyer");
    forme.AjoutImprime("ATT'DEP");
    forme.AjoutDataImpression("IMP1", "Récépissé", "2");
    forme.AjoutDataImpression("IMP2", "Relance", "3", "1", "0", "1");
    forme.AjoutDataEtat("E10", "Permis en cours", "IMP1", "P");
    forme.AjoutDataINSPECTION("INSPECTION_ARCHIVE", "I01", "059", "1", "010", "007", "0320000000");
  }
};

TEST_F(CodesTest, AddStepsAddOnceAndTheSecondRunSaysPresentAndAddsNothing) {
  forme.AjoutDataTYPEAUT("PA", "Permis d''aménager");  // the same row given with its quote doubled
  journal();
  ajouteTout();
  // The first run: every row but the one already there. The apostrophe of TYPEAUT's label
  // breaks its statement; the imprimé's code is escaped.
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"AjoutDataTYPEAUT", 3075}}));
  const Textes premier{" - Ajout enregistrement Pays-Bas dans table PAYS : Ok",
                       " - Ajout enregistrement Retrait dans table TYPMANNUL : Ok",
                       " - Ajout enregistrement Piscine dans table NATTRAV : Ok",
                       " - Ajout enregistrement Location dans table TYPUTILL : Ok",
                       " - Ajout enregistrement Foyer dans table TYPNATLOG : Ok",
                       " - Ajout imprimé ATT'DEP : Ok",
                       " - Ajout enregistrement IMP1 dans table IMPRESSION : Ok",
                       " - Ajout enregistrement IMP2 dans table IMPRESSION : Ok",
                       " - Ajout enregistrement E10 dans table ETAT : Ok",
                       " - Ajout enregistrement I01 dans table INSPECTION_ARCHIVE : Ok"};
  EXPECT_EQ(journal(), premier);
  EXPECT_EQ(lignes("SELECT * FROM IMPRESSION ORDER BY coimp"),
            (Lignes{{"IMP1", "Récépissé", "2", "<Null>", "<Null>", "<Null>"}, {"IMP2", "Relance", "3", "1", "0", "1"}}));
  EXPECT_EQ(lignes("SELECT * FROM NATTRAV"), (Lignes{{"15", "Piscine", "P", "V"}}));
  EXPECT_EQ(lignes("SELECT * FROM typimprime"), (Lignes{{"ATT'DEP"}}));
  EXPECT_EQ(lignes("SELECT * FROM INSPECTION_ARCHIVE"), (Lignes{{"I01", "059", "1", "010", "007", "0320000000"}}));
  EXPECT_EQ(compte("INSPECTION"), 0);

  ajouteTout();
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"AjoutDataTYPEAUT", 3075}}));
  // The "present" lines, TYPAUT spelt TYPEAUT, the imprimé's in lower case, none for NATTRAV.
  EXPECT_EQ(journal(), (Textes{" - Ajout enregistrement Pays-Bas dans table PAYS : Déjà présent",
                               " - Ajout enregistrement Retrait dans table TYPMANNUL : Déjà présent",
                               " - Ajout enregistrement Location dans table TYPUTILL : Déjà présent",
                               " - Ajout enregistrement Foyer dans table TYPNATLOG : Déjà présent",
                               " - Ajout imprimé ATT'DEP : déjà présent",
                               " - Ajout enregistrement IMP1 dans table IMPRESSION : Déjà présent",
                               " - Ajout enregistrement IMP2 dans table IMPRESSION : Déjà présent",
                               " - Ajout enregistrement E10 dans table ETAT : Déjà présent",
                               " - Ajout enregistrement I01 dans table INSPECTION_ARCHIVE : Déjà présent"}));
  for (const auto& [t, n] : {std::pair{"PAYS", 1}, {"TYPAUT", 1}, {"TYPMANNUL", 1}, {"NATTRAV", 1}, {"TYPUTILL", 1},
                             {"TYPNATLOG", 1}, {"typimprime", 1}, {"IMPRESSION", 2}, {"ETAT", 1},
                             {"INSPECTION_ARCHIVE", 1}})
    EXPECT_EQ(compte(t), n) << t;
}

TEST_F(CodesTest, PresenceIsJudgedOnTheCodeOrOnCodeAndLabelAsEachStepTests) {
  forme.AjoutDataTYPEAUT("PC", "Permis de construire");
  forme.AjoutDataTYPEAUT("PC", "Permis de construire modificatif");
  forme.AjoutDataTYPEAUT("PC", "Permis de construire");
  forme.AjoutMotifAnnulPermis(1, "Refus");
  forme.AjoutMotifAnnulPermis(1, "Abandon");
  forme.AjoutDataPAYS("001", "France");
  forme.AjoutDataPAYS("001", "Autre libellé");
  forme.AjoutNatLog(1, "Individuel");
  forme.AjoutNatLog(1, "Collectif");
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), (Textes{" - Ajout enregistrement Permis de construire dans table TYPAUT : Ok",
                               " - Ajout enregistrement Permis de construire modificatif dans table TYPAUT : Ok",
                               " - Ajout enregistrement Permis de construire dans table TYPEAUT : Déjà présent",
                               " - Ajout enregistrement Refus dans table TYPMANNUL : Ok",
                               " - Ajout enregistrement Abandon dans table TYPMANNUL : Ok",
                               " - Ajout enregistrement France dans table PAYS : Ok",
                               " - Ajout enregistrement Autre libellé dans table PAYS : Déjà présent",
                               " - Ajout enregistrement Individuel dans table TYPNATLOG : Ok",
                               " - Ajout enregistrement Collectif dans table TYPNATLOG : Déjà présent"}));
  EXPECT_EQ(compte("TYPAUT"), 2);
  EXPECT_EQ(compte("TYPMANNUL"), 2);
  EXPECT_EQ(lignes("SELECT * FROM PAYS"), (Lignes{{"001", "France"}}));
  EXPECT_EQ(lignes("SELECT * FROM TYPNATLOG"), (Lignes{{"1", "Individuel", "<Null>"}}));
}

TEST_F(CodesTest, AnApostropheInALabelFailsEverywhereButInTheCountries) {
  const std::string l = "Mise à l'étude";
  forme.AjoutDataPAYS("099", l);
  forme.AjoutDataTYPEAUT("PA", l);
  forme.AjoutMotifAnnulPermis(3, l);
  forme.MAJCodeNatureTravaux("15", l, "P", "V");
  forme.AjoutTypeUtill(4, l);
  forme.AjoutNatLog(7, l);
  forme.AjoutDataImpression("IMP1", l, "2");
  forme.AjoutDataEtat("E10", l, "IMP1", "P");
  forme.AjoutDataINSPECTION("INSPECTION", "I'1", "059", "1", "010", "007", "");
  EXPECT_EQ(journal(), (Textes{" - Ajout enregistrement Mise à l'étude dans table PAYS : Ok"}));
  EXPECT_EQ(lignes("SELECT * FROM PAYS"), (Lignes{{"099", "Mise à l'étude"}}));
  // The selection or, when it tests the code alone, the insertion: Jet reads the rest of the
  // text after the label's quote as a missing operator (3075), reported under each step's name.
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"AjoutDataTYPEAUT", 3075},
                                              {"AjoutMotifAnnulPermis", 3075},
                                              {"MAJCodeNatureTravaux", 3075},
                                              {"AjoutTypeUtill", 3075},
                                              {"AjoutNatLog", 3075},
                                              {"AjoutDataImpression", 3075},
                                              {"AjoutDataEtat", 3075},
                                              {"AjoutDataINSPECTION", 3075}}));
  for (const char* t : {"TYPAUT", "TYPMANNUL", "NATTRAV", "TYPUTILL", "TYPNATLOG", "IMPRESSION", "ETAT", "INSPECTION"})
    EXPECT_EQ(compte(t), 0) << t;
  // A blank label becomes Null through the literal; the imprimé's blank code too, and Jet
  // then finds no row equal to Null and adds one each time.
  forme.AjoutDataPAYS("100", "  ");
  forme.AjoutImprime(" ");
  forme.AjoutImprime(" ");
  EXPECT_EQ(journal(), (Textes{" - Ajout enregistrement    dans table PAYS : Ok", " - Ajout imprimé   : Ok",
                               " - Ajout imprimé   : Ok"}));
  EXPECT_EQ(lignes("SELECT LIPAYS FROM PAYS WHERE COPAYS = '100'"), (Lignes{{"<Null>"}}));
  EXPECT_EQ(lignes("SELECT * FROM typimprime"), (Lignes{{"<Null>"}, {"<Null>"}}));
}

TEST_F(CodesTest, DirectionAndSectorStepsFailAsJetReadsTheirJoinedWhere) {
  forme.AjoutDataDSF("59", "1", "Direction du Nord", "Service", "Inspecteur", "Dupont", "0320000000");
  forme.AjoutDataSectFonc("S01", "059", "1", "010", "007", "Secteur de Lille", "0320000000");
  ASSERT_EQ(forme.erreurs.size(), 2u);
  // The borrowed name of the direction step is kept.
  EXPECT_EQ(forme.erreurs[0].procedure, "AjoutDataSDF");
  EXPECT_EQ(forme.erreurs[1].procedure, "AjoutDataSectFonc");
  EXPECT_EQ(forme.erreurs[0].numero, forme.erreurs[1].numero);
  EXPECT_EQ(forme.erreurs[0].numero, 3131);  // syntax error in the FROM clause
  EXPECT_TRUE(journal().empty());
  EXPECT_EQ(compte("DSF"), 0);
  EXPECT_EQ(compte("SECTFONC"), 0);
}

TEST_F(CodesTest, LabelsAndRanksChangeOnlyTheirCodesRow) {
  sql("INSERT INTO TYPUTILL VALUES ('1', 'Résidence principale')");
  sql("INSERT INTO TYPUTILL VALUES ('2', 'Résidence secondaire')");
  sql("INSERT INTO TYPNATLOG VALUES ('1', 'Individuel', '1')");
  sql("INSERT INTO TYPNATLOG VALUES ('2', 'Collectif', '2')");
  forme.MAJTypeUtilLog(2, "Vacances");
  forme.MAJTypeNatLog(1, "Maison individuelle");
  forme.MAJTypeNatLogRang(2, 5);
  forme.MAJTypeNatLogRang(9, 7);  // no such code: nothing changes, the line is written all the same
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), (Textes{" - Modification enregistrement Vacances table TYPUTILL : Ok",
                               " - Modification enregistrement Maison individuelle table TYPNATLOG : Ok",
                               " - MAJ rang enregistrement 5 table TYPNATLOG : Ok",
                               " - MAJ rang enregistrement 7 table TYPNATLOG : Ok"}));
  EXPECT_EQ(lignes("SELECT * FROM TYPUTILL ORDER BY COUTILL"),
            (Lignes{{"1", "Résidence principale"}, {"2", "Vacances"}}));
  EXPECT_EQ(lignes("SELECT * FROM TYPNATLOG ORDER BY CONLOG"),
            (Lignes{{"1", "Maison individuelle", "1"}, {"2", "Collectif", "5"}}));
  forme.MAJTypeNatLog(2, "Chez l'habitant");
  forme.MAJTypeUtilLog(1, "Chez l'habitant");
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"MAJTypeNatLog", 3075}, {"MAJTypeUtilLog", 3075}}));
  EXPECT_TRUE(journal().empty());
  EXPECT_EQ(lignes("SELECT LINLOG FROM TYPNATLOG WHERE CONLOG = '2'"), (Lignes{{"Collectif"}}));
}

TEST_F(CodesTest, CodeChangesFollowIntoThePermitsAndHousingReportsUnderTheBorrowedName) {
  sql("INSERT INTO TYPMANNUL VALUES ('1', 'Refus')");
  sql("INSERT INTO TYPMANNUL VALUES ('2', 'Abandon')");
  sql("INSERT INTO TYPNATLOG VALUES ('1', 'Individuel', '1')");
  sql("INSERT INTO TYPNATLOG VALUES ('2', 'Collectif', '2')");
  sql("INSERT INTO PERMIS VALUES ('PC1', '1', '1', '2')");
  sql("INSERT INTO PERMIS VALUES ('PC2', '2', '2', '1')");
  sql("INSERT INTO PERMIS VALUES ('PC3', '1', '1', '1')");
  forme.MAJMotifAnnulPermis(1, 5);
  forme.MAJNatLogement(2, 8);
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), (Textes{" - Modification enregistrement code COMANNUL dans table TYPMANNUL : Ok",
                               " - Modification enregistrement code COPERMANN dans table PERMIS : Ok",
                               " - Modification enregistrement sur code CONLOG  dans table TYPMANNUL : Ok",
                               " - Modification enregistrement sur code COPERNLOG  dans table PERMIS : Ok"}));
  EXPECT_EQ(lignes("SELECT COMANNUL FROM TYPMANNUL ORDER BY LIMANNUL"), (Lignes{{"2"}, {"5"}}));
  EXPECT_EQ(lignes("SELECT CONLOG FROM TYPNATLOG ORDER BY LINLOG"), (Lignes{{"8"}, {"1"}}));
  // The works code is not touched by either.
  EXPECT_EQ(lignes("SELECT COPERTRAV, COPERMANN, COPERNLOG FROM PERMIS ORDER BY NUPERMIS"),
            (Lignes{{"1", "5", "8"}, {"2", "2", "1"}, {"1", "5", "1"}}));
  // A code taken already: the key refuses, nothing moves, the error carries the borrowed name.
  forme.MAJNatLogement(1, 8);
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"MAJMotifAnnulPermis", 3022}}));
  EXPECT_TRUE(journal().empty());
  EXPECT_EQ(lignes("SELECT COPERNLOG FROM PERMIS ORDER BY NUPERMIS"), (Lignes{{"8"}, {"1"}, {"1"}}));
}

class NatTravTest : public CodesTest {
 protected:
  NatTravTest() {
    for (const char* c : {"1", "7", "8", "A", "10", "5"})
      sql(std::string("INSERT INTO NATTRAV (CONTRAV, LINTRAV) VALUES ('") + c + "', 'Nature " + c + "')");
    int n = 1;
    for (const char* c : {"7", "10", "A", "1", "8", "7", "5"})
      sql("INSERT INTO PERMIS (NUPERMIS, COPERTRAV) VALUES ('PC" + std::to_string(n++) + "', '" + c + "')");
  }
  Lignes natures() { return lignes("SELECT LINTRAV, CONTRAV FROM NATTRAV ORDER BY LINTRAV"); }
  Lignes permis() { return lignes("SELECT COPERTRAV FROM PERMIS ORDER BY NUPERMIS"); }
};

const Textes kDeuxLignes{" - Modification enregistrement sur code CONTRAV dans table NATTRAV : Ok",
                         " - Modification enregistrement sur code COPERTRAV dans table PERMIS : Ok"};

Textes fois(int n) {
  Textes out;
  for (int i = 0; i < n; ++i) out.insert(out.end(), kDeuxLignes.begin(), kDeuxLignes.end());
  return out;
}

TEST_F(NatTravTest, NumericCodesBeyondSixAreRenumberedFromTwelveInTextOrder) {
  forme.MajTableNatTrav();
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), fois(3));
  // "10" comes before "7" in text order; "A" is skipped and takes no number.
  EXPECT_EQ(natures(), (Lignes{{"Nature 1", "1"}, {"Nature 10", "12"}, {"Nature 5", "5"}, {"Nature 7", "13"},
                               {"Nature 8", "14"}, {"Nature A", "A"}}));
  EXPECT_EQ(permis(), (Lignes{{"13"}, {"12"}, {"A"}, {"1"}, {"14"}, {"13"}, {"5"}}));
  // Run again: 12, 13, 14 come in that order and keep their numbers.
  forme.MajTableNatTrav();
  EXPECT_EQ(journal(), fois(3));
  EXPECT_EQ(permis(), (Lignes{{"13"}, {"12"}, {"A"}, {"1"}, {"14"}, {"13"}, {"5"}}));
  EXPECT_EQ(compte("NATTRAV"), 6);
}

TEST_F(NatTravTest, CodesOneToNineTakeALeadingZeroInTheTableAndEveryPermit) {
  forme.MajTableNatTrav2();
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), fois(4));
  EXPECT_EQ(natures(), (Lignes{{"Nature 1", "01"}, {"Nature 10", "10"}, {"Nature 5", "05"}, {"Nature 7", "07"},
                               {"Nature 8", "08"}, {"Nature A", "A"}}));
  EXPECT_EQ(permis(), (Lignes{{"07"}, {"10"}, {"A"}, {"01"}, {"08"}, {"07"}, {"05"}}));
  // Nothing left to change the second time.
  forme.MajTableNatTrav2();
  EXPECT_TRUE(journal().empty());
  EXPECT_EQ(permis(), (Lignes{{"07"}, {"10"}, {"A"}, {"01"}, {"08"}, {"07"}, {"05"}}));
}

TEST_F(NatTravTest, AMissingPermitTableStopsTheRenumberingAfterTheTablesFirstChange) {
  sql("DROP TABLE PERMIS");
  forme.MajTableNatTrav();
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"MajTableNatTrav", 3078}}));
  EXPECT_EQ(journal(), (Textes{kDeuxLignes[0]}));
  EXPECT_EQ(lignes("SELECT CONTRAV FROM NATTRAV WHERE LINTRAV = 'Nature 10'"), (Lignes{{"12"}}));
  EXPECT_EQ(lignes("SELECT CONTRAV FROM NATTRAV WHERE LINTRAV = 'Nature 7'"), (Lignes{{"7"}}));
}

}  // namespace
}  // namespace etapes_test
