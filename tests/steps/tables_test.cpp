// The table-creation steps and the offices' relations on a small database: the fields, keys
// and rows each makes, the refusal of a second run, and the relations' attributes.
#include <string>
#include <vector>

#include "etapes_fixture.h"

namespace etapes_test {
namespace {


class TablesTest : public EtapesTest {
 protected:
  Textes champs(const std::string& t) {
    Textes out;
    for (const dao::Field& f : bd().TableDefs(t).Fields())
      out.push_back(f.Name() + " " + std::to_string(f.Type()) + " " + std::to_string(f.Size()));
    return out;
  }
  // Each index as "name [P] field field...".
  Textes index(const std::string& t) {
    Textes out;
    for (const dao::Index& i : bd().TableDefs(t).Indexes()) {
      std::string s = i.Name() + (i.Primary() ? " P" : "");
      for (const dao::Field& f : i.Fields()) s += " " + f.Name();
      out.push_back(s);
    }
    return out;
  }
  // "table>foreign attributes field=foreign..." or "absente".
  std::string relation(const std::string& nom) {
    for (const dao::Relation& r : bd().Relations()) {
      if (r.Name() != nom) continue;
      std::string s = r.Table() + ">" + r.ForeignTable() + " " + std::to_string(r.Attributes());
      for (const dao::Field& f : r.Fields()) s += " " + f.Name() + "=" + f.ForeignName();
      return s;
    }
    return "absente";
  }
  void bureaux() {
    table("CDIF", {{"COCDIDEP", dao::dbText, 2}, {"COCDIDIR", dao::dbText, 1}, {"COCDIF", dao::dbText, 3},
                   {"COCDITYPE", dao::dbText, 1}, {"LICDIDIR", dao::dbText, 32}, {"LICDISERVC", dao::dbText, 32},
                   {"LICDIGRADC", dao::dbText, 32}, {"LICDINOMC", dao::dbText, 32}, {"NUCDITELC", dao::dbText, 10}});
    cle("CDIF", {"COCDIDEP", "COCDIDIR", "COCDIF"});
    sql("INSERT INTO CDIF VALUES ('59', '1', '010', '1', 'Nord', 'Cadastre', 'Inspecteur', 'Dupont', '0320000000')");
    sql("INSERT INTO CDIF VALUES ('59', '2', '020', '2', 'Nord-Est', 'Topographie', 'Géomètre', 'L''Hôte', Null)");
    sql("INSERT INTO CDIF VALUES ('62', '1', '030', '1', 'Pas-de-Calais', Null, Null, Null, Null)");
  }
  void cle(const std::string& t, const std::vector<std::string>& champsCle) {
    dao::TableDef d = bd().TableDefs(t);
    dao::Index i = d.CreateIndex("PrimaryKey");
    i.SetPrimary(true);
    for (const std::string& c : champsCle) i.Fields().Append(i.CreateField(c));
    d.Indexes().Append(i);
  }
};

TEST_F(TablesTest, EmptyTablesAreMadeWithTheirFieldsInOrderAndASecondRunIsRefused) {
  forme.CreerTableIMPORTPANNULE();
  forme.CreerTableIMPORTDAT();
  forme.CreerTablePAYS();
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), (Textes{" - Création de la table IMPORTPANNULE : Ok", " - Création de la table IMPORTDAT : Ok",
                               " - Création de la table PAYS : Ok"}));
  EXPECT_EQ(champs("IMPORTPANNULE"), (Textes{"COCDIDEP 10 3", "COCNE 10 3", "COPERAUT 10 2", "NUPERMIS 10 7",
                                             "COPERANDEPOT 10 2", "COPERNUMDOSS 10 5", "COPERMOD 10 2",
                                             "COPERMANN 10 1", "DAPERANN 8 8"}));
  EXPECT_EQ(champs("IMPORTDAT"), (Textes{"COCDIDEP 10 3", "COCNE 10 3", "NUPERMIS 10 7", "COPERANDEPOT 10 2",
                                         "COPERNUMDOSS 10 5", "COPERAUT 10 2", "COPERMOD 10 2", "DAFICACHC 8 8"}));
  EXPECT_EQ(champs("PAYS"), (Textes{"COPAYS 10 3", "LIPAYS 10 32"}));
  EXPECT_TRUE(index("PAYS").empty());

  // On a database that has the tables: Jet's refusal (3010), under the names the steps give,
  // and the rows already there kept.
  sql("INSERT INTO PAYS VALUES ('001', 'France')");
  forme.CreerTablePAYS();
  forme.CreerTableIMPORTDAT();
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"CreerTablePays", 3010}, {"CreerTableIMPORTDAT", 3010}}));
  EXPECT_TRUE(journal().empty());
  EXPECT_EQ(lignes("SELECT * FROM PAYS"), (Lignes{{"001", "France"}}));
  EXPECT_EQ(champs("PAYS"), (Textes{"COPAYS 10 3", "LIPAYS 10 32"}));
}

TEST_F(TablesTest, DestinationsGetARequiredCodeUnderTheirKeyAndSevenRows) {
  forme.CreerTableDestColl();
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  // Only the resize speaks.
  EXPECT_EQ(journal(), (Textes{" - Modification du champ CODESTCOLL (table TYPDESTCOLL) : Ok"}));
  EXPECT_EQ(champs("TYPDESTCOLL"), (Textes{"CODESTCOLL 10 1", "LIDESTCOLL 10 30"}));
  const dao::Field code = bd().TableDefs("TYPDESTCOLL").Fields("CODESTCOLL");
  EXPECT_TRUE(code.Required());
  EXPECT_TRUE(code.AllowZeroLength());
  EXPECT_EQ(index("TYPDESTCOLL"), (Textes{"PK_TYPDESTCOLL P CODESTCOLL"}));
  EXPECT_EQ(lignes("SELECT CODESTCOLL, LIDESTCOLL FROM TYPDESTCOLL ORDER BY CODESTCOLL"),
            (Lignes{{" ", " "},
                    {"1", "Transport"},
                    {"2", "Enseignement et recherche"},
                    {"3", "Santé"},
                    {"4", "Action sociale"},
                    {"5", "Ouvrage spécial"},
                    {"6", "Culture et loisirs"}}));
  forme.CreerTableDestColl();
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"CreerTableDestColl", 3010}}));
  EXPECT_EQ(compte("TYPDESTCOLL"), 7);
}

TEST_F(TablesTest, CentreTypesAndDirectionsAreFilled) {
  forme.CreerTableTypCentre();
  EXPECT_EQ(index("TYPCENTRE"), (Textes{"PK_TYPCENTRE P COTCENTRE"}));
  EXPECT_EQ(lignes("SELECT * FROM TYPCENTRE ORDER BY COTCENTRE"), (Lignes{{"1", "CDIF"}, {"2", "CDI"}}));
  bureaux();
  // Read from its current record on: the first office is passed over.
  dao::Recordset centres = bd().OpenRecordset("SELECT * FROM CDIF ORDER BY COCDIF", dao::dbOpenSnapshot);
  centres.MoveNext();
  forme.CreerTableDSF(centres);
  centres.Close();
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_TRUE(journal().empty());
  EXPECT_EQ(champs("DSF"), (Textes{"CODSFDEP 10 2", "CODSFDIR 10 1", "LIDSFDIR 10 32", "LIDSFSERVC 10 32",
                                   "LIDSFGRADC 10 32", "LIDSFNOMC 10 32", "NUDSFTELC 10 10"}));
  EXPECT_EQ(index("DSF"), (Textes{"PK_DSF P CODSFDEP CODSFDIR"}));
  EXPECT_EQ(lignes("SELECT * FROM DSF ORDER BY CODSFDEP, CODSFDIR"),
            (Lignes{{"59", "2", "Nord-Est", "Topographie", "Géomètre", "L'Hôte", "<Null>"},
                    {"62", "1", "Pas-de-Calais", "<Null>", "<Null>", "<Null>", "<Null>"}}));
  // A second time: refused before any row is read.
  forme.CreerTableDSFDepuis("CDIF");
  forme.CreerTableDSFDepuis("SELECT * FROM BUREAUX");
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"CreerTableDSF", 3010}, {"CreerTableDSF", 3078}}));
  EXPECT_EQ(compte("DSF"), 2);
}

TEST_F(TablesTest, DirectionsFromAnEmptySetOrTwoOfficesOfOneDirection) {
  bureaux();
  forme.CreerTableDSFDepuis("SELECT * FROM CDIF WHERE COCDIDEP = '00'");
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(compte("DSF"), 0);
  sql("DROP TABLE DSF");
  // Two offices of one direction: the key refuses the second row, the first stays.
  sql("UPDATE CDIF SET COCDIDIR = '1'");
  forme.CreerTableDSFDepuis("CDIF");
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"CreerTableDSF", 3022}}));
  EXPECT_EQ(compte("DSF"), 1);
}

class RelationsTest : public TablesTest {
 protected:
  RelationsTest() {
    bureaux();
    forme.CreerTableDSFDepuis("CDIF");
    for (const char* t : {"INSPECTION", "SECTFONC"})
      table(t, {{"CODE", dao::dbText, 3}, {"COCDIDEP", dao::dbText, 2}, {"COCDIDIR", dao::dbText, 1},
                {"COCDIF", dao::dbText, 3}, {"COAGENT", dao::dbText, 3}});
    sql("INSERT INTO INSPECTION VALUES ('I1', '59', '1', '010', '007')");
    sql("INSERT INTO SECTFONC VALUES ('S1', '62', '1', '030', '007')");
    table("AGENT", {{"COAGENT", dao::dbText, 3}, {"LIAGENT", dao::dbText, 30}, {"COAGEADMIN", dao::dbText, 1}});
    cle("AGENT", {"COAGENT"});
    sql("INSERT INTO AGENT VALUES ('007', 'Bond', '1')");
    sql("INSERT INTO AGENT VALUES ('012', 'Martin', '2')");
    sql("INSERT INTO AGENT VALUES ('031', 'Durand', '2')");
    journal();
  }
};

TEST_F(RelationsTest, OfficeRelationsCascadeUpdatesAndCannotBeMadeTwice) {
  forme.CreationRelationTable();
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_TRUE(journal().empty());
  EXPECT_EQ(relation("Rlt_DSFCDIF"), "DSF>CDIF 256 CODSFDEP=COCDIDEP CODSFDIR=COCDIDIR");
  EXPECT_EQ(relation("Rlt_CDIFINSP"), "CDIF>INSPECTION 256 COCDIDEP=COCDIDEP COCDIDIR=COCDIDIR COCDIF=COCDIF");
  EXPECT_EQ(relation("Rlt_CDIFSECTFONC"), "CDIF>SECTFONC 256 COCDIDEP=COCDIDEP COCDIDIR=COCDIDIR COCDIF=COCDIF");
  // The cascade carries an office's new code to its inspections.
  sql("UPDATE CDIF SET COCDIF = '011' WHERE COCDIF = '010'");
  EXPECT_EQ(lignes("SELECT COCDIF FROM INSPECTION"), (Lignes{{"011"}}));
  forme.CreationRelationTable();
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"CreationRelationTable", 3012}}));
}

TEST_F(RelationsTest, AMissingTableStopsTheRelationsWhereItStands) {
  sql("DROP TABLE INSPECTION");
  forme.CreationRelationTable();
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"CreationRelationTable", 3078}}));
  EXPECT_NE(relation("Rlt_DSFCDIF"), "absente");
  EXPECT_EQ(relation("Rlt_CDIFINSP"), "absente");
  EXPECT_EQ(relation("Rlt_CDIFSECTFONC"), "absente");
}

TEST_F(RelationsTest, SecondaryAdministratorIsTheFirstAgentOfAdministrationTwoOnTypeOneOffices) {
  forme.MAJ_Admin_Secondaire();
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), (Textes{" - Création du champ COAGEADMSEC (table CDIF) : Ok"}));
  EXPECT_EQ(champs("CDIF").back(), "COAGEADMSEC 10 3");
  EXPECT_EQ(relation("AGENTCDIF"), "AGENT>CDIF 0 COAGENT=COAGEADMSEC");
  EXPECT_EQ(lignes("SELECT COCDIF, COAGEADMSEC FROM CDIF ORDER BY COCDIF"),
            (Lignes{{"010", "012"}, {"020", "<Null>"}, {"030", "012"}}));

  // Run again: the field's line says it exists, the relation is refused under its own
  // operation's name, and the update is made once more with the agent now first.
  sql("UPDATE AGENT SET COAGEADMIN = '1' WHERE COAGENT = '012'");
  forme.MAJ_Admin_Secondaire();
  EXPECT_EQ(journal(), (Textes{" - Création du champ COAGEADMSEC (table CDIF) : Erreur (Champ déjà existant)"}));
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"CreeRelation", 3012}}));
  EXPECT_EQ(lignes("SELECT COCDIF, COAGEADMSEC FROM CDIF ORDER BY COCDIF"),
            (Lignes{{"010", "031"}, {"020", "<Null>"}, {"030", "031"}}));

  // No agent of administration 2: nothing is written.
  sql("UPDATE AGENT SET COAGEADMIN = '1'");
  forme.MAJ_Admin_Secondaire();
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"CreeRelation", 3012}}));
  EXPECT_EQ(lignes("SELECT COAGEADMSEC FROM CDIF WHERE COCDIF = '010'"), (Lignes{{"031"}}));
}

}  // namespace
}  // namespace etapes_test
