// The rows of the reference database: those of the live database for the same arguments,
// the same again for a second build, the French texts, empty texts and Nulls it promises, and
// rows on which the steps that select them have work to do.
#include "base_reference_fixture.h"
#include "sample/sample_databases.h"
#include "support/dao_rows.h"

namespace {

using namespace reference_test;

std::vector<std::string> Champs(dao::Database& bd, const std::string& table) {
  std::vector<std::string> out;
  for (const dao::Field& f : bd.TableDefs(table).Fields()) out.push_back(f.Name());
  return out;
}

using Table = std::vector<std::vector<std::string>>;

// Every table of the database at `chemin`, every field, in storage order.
std::map<std::string, Table> Contenu(dao::DBEngine& moteur, const std::string& chemin) {
  std::map<std::string, Table> contenu;
  std::map<std::string, std::vector<std::string>> champs;
  {
    dao::Database bd = moteur.OpenDatabase(chemin, false, true);
    for (const std::string& t : kTables) champs[t] = Champs(bd, t);
    bd.Close();
  }
  for (const auto& [t, c] : champs) contenu[t] = test_support::TableRows(moteur, chemin, t, c);
  return contenu;
}

TEST_F(BaseReferenceTest, HoldsTheTablesAndRowsOfTheLiveDatabaseForTheSameArguments) {
  echantillon::CreeBaseQuelis(moteur(), "C:\\Bases\\Vivante.mdb", Lille());
  dao::Database vivante = moteur().OpenDatabase("C:\\Bases\\Vivante.mdb", false, true);
  std::map<std::string, std::vector<std::string>> champs;
  for (const char* t : {"VERSION", "CDIF", "FICHE"}) champs[t] = Champs(vivante, t);
  vivante.Close();
  ASSERT_EQ(champs["FICHE"].size(), 30u);
  for (const auto& [t, c] : champs) {
    const Table attendu = test_support::TableRows(moteur(), "C:\\Bases\\Vivante.mdb", t, c);
    EXPECT_FALSE(attendu.empty()) << t;
    EXPECT_EQ(test_support::TableRows(moteur(), kChemin, t, c), attendu) << t;
  }
  // The live columns come first, in their order.
  dao::Database bd = ouvre();
  for (const auto& [t, c] : champs) {
    const std::vector<std::string> reference = Champs(bd, t);
    EXPECT_EQ(std::vector<std::string>(reference.begin(), reference.begin() + static_cast<long>(c.size())), c) << t;
  }
  bd.Close();
}

TEST_F(BaseReferenceTest, TheSameArgumentsGiveTheSameRowsAndTheCountOfCaseRecordsIsTheirs) {
  echantillon::CreeBaseReference(moteur(), "C:\\Bases\\Encore.mdb", Lille());
  EXPECT_EQ(Contenu(moteur(), "C:\\Bases\\Encore.mdb"), Contenu(moteur(), kChemin));

  echantillon::CreeBaseReference(moteur(), "C:\\Bases\\Sept.mdb", Lille(7));
  dao::Database sept = moteur().OpenDatabase("C:\\Bases\\Sept.mdb", false, true);
  EXPECT_EQ(sept.TableDefs("FICHE").RecordCount(), 7);
  EXPECT_EQ(sept.TableDefs("PERMIS").RecordCount(), 7);
  // Each permit shares its case record's key.
  EXPECT_EQ(Lignes(sept, "SELECT COUNT(*) AS n FROM FICHE INNER JOIN PERMIS ON FICHE.COPERAUT = PERMIS.COPERAUT "
                         "AND FICHE.NUPERMIS = PERMIS.NUPERMIS AND FICHE.COCNE = PERMIS.COCNE",
                  {"n"}),
            (Table{{"7"}}));
  sept.Close();
  // An existing file is refused and left as it was.
  try {
    echantillon::CreeBaseReference(moteur(), "C:\\Bases\\Sept.mdb", Lille(3));
    ADD_FAILURE() << "an existing file was overwritten";
  } catch (const platform::Error& e) {
    EXPECT_EQ(e.number(), 3204);
  }
  EXPECT_EQ(test_support::TableRows(moteur(), "C:\\Bases\\Sept.mdb", "FICHE", {"NUFICHE"}).size(), 7u);
}

TEST_F(BaseReferenceTest, RowsHoldApostrophesAccentsEmptyTextsAndNulls) {
  dao::Database bd = ouvre();
  dao::Recordset agents = bd.OpenRecordset("SELECT * FROM AGENT WHERE COAGENT IN ('07', '12', '31') ORDER BY COAGENT",
                                           dao::dbOpenSnapshot);
  EXPECT_EQ(agents("LIAGENOM").value().to_display(), "d'Hondt");
  agents.MoveNext();
  EXPECT_EQ(agents("LIAGENOM").value().to_display(), "Œillet");
  EXPECT_TRUE(agents("NUAGETEL").IsNull());
  agents.MoveNext();
  EXPECT_FALSE(agents("LIAGEPRE").IsNull());
  EXPECT_EQ(agents("LIAGEPRE").CStr(), "");
  agents.Close();

  // The site's reception hours end with a blank; the neighbour has none (Null).
  EXPECT_EQ(Lignes(bd, "SELECT cocditype, LICDIHEUR FROM CDIF ORDER BY cocditype", {"cocditype", "LICDIHEUR"}),
            (Table{{"1", "du lundi au vendredi de 8h30 à 12h00 et de 13h30 à 16h00 "}, {"2", ""}}));
  EXPECT_EQ(Lignes(bd, "SELECT COUNT(*) AS n FROM CDIF WHERE LICDIHEUR IS NULL", {"n"}), (Table{{"1"}}));
  // Works labels: with an apostrophe, a leading zero, empty and Null.
  for (const char* condition : {"LIPERDT LIKE '*''*'", "LIPERDT LIKE '0*'", "LIPERDT = ''", "LIPERDT IS NULL"})
    EXPECT_NE(Lignes(bd, std::string("SELECT COUNT(*) AS n FROM PERMIS WHERE ") + condition, {"n"})[0][0], "0")
        << condition;
  EXPECT_EQ(Lignes(bd, "SELECT vaparam FROM PARAMETRE WHERE coparam = 'MAIL_SERVICE' AND vaparam = ''", {"vaparam"}).size(),
            1u);
  EXPECT_EQ(Colonne(bd, "SELECT NUJIMPORT FROM JIMPORT WHERE nupilote IS NULL", "NUJIMPORT"),
            (std::vector<std::string>{"3"}));
  bd.Close();
}

// The selections of the steps find rows to work on.
TEST_F(BaseReferenceTest, TheStepsSelectionsFindRowsToWorkOn) {
  dao::Database bd = ouvre();
  // The renumbering of natures: the numeric codes other than 1 to 6, and one to skip.
  EXPECT_EQ(Colonne(bd, "SELECT CONTRAV FROM NATTRAV WHERE CONTRAV NOT in ('','1','2','3','4','5','6') order by CONTRAV",
                    "CONTRAV"),
            (std::vector<std::string>{"10", "7", "8", "A"}));
  // Each code of NATTRAV is used by a permit.
  for (const std::string& code : Colonne(bd, "SELECT CONTRAV FROM NATTRAV WHERE CONTRAV <> '4' AND CONTRAV <> '6'", "CONTRAV"))
    EXPECT_FALSE(Colonne(bd, "SELECT COPERTRAV FROM PERMIS WHERE COPERTRAV = '" + code + "'", "COPERTRAV").empty()) << code;
  // The records the corrections edit, one each.
  for (const char* sql : {"SELECT mdlibelle FROM MC_DONNEE WHERE mdcode = ('PERMIS.LIPERDT')",
                          "SELECT mdlibelle FROM MC_DONNEE WHERE mdcode = ('FICHE.RMFICNOTE')",
                          "SELECT LIRPICHAMP FROM PILOTEREF WHERE CORPICHAMP = ('LIPERDT')",
                          "SELECT lirpichamp FROM PILOTEREF WHERE corpichamp = ('RMFICNOTE')"})
    EXPECT_EQ(Lignes(bd, sql, {}).size(), 1u) << sql;
  EXPECT_TRUE(Lignes(bd, "SELECT * FROM MC_DONNEE WHERE mdcode IN ('FICHE.RMTOPONOTE', 'FICHE.LIFICEMAIL')", {}).empty());
  EXPECT_EQ(Lignes(bd, "SELECT * FROM MC_DONNEE WHERE MDCODE IN ('PERMIS.COPERAPET', 'PERMIS.COPERDESTL', "
                       "'PERMIS.COPERUTILNH') AND MDLISTECRIT = '1'",
                   {})
                .size(),
            3u);
  EXPECT_EQ(Lignes(bd, "SELECT * FROM MC_DONNEE WHERE mdlibelle LIKE '*SHON*'", {}).size(), 2u);
  EXPECT_FALSE(Lignes(bd, "SELECT * FROM AGENT WHERE COAGETYP IN ('2','3')", {}).empty());
  EXPECT_FALSE(Lignes(bd, "SELECT * FROM AGENT WHERE COAGEADMIN = '2'", {}).empty());
  EXPECT_FALSE(Lignes(bd, "SELECT * FROM LETTREFICHE WHERE COLFIFORM = '4'", {}).empty());
  EXPECT_FALSE(Lignes(bd, "SELECT * FROM 6443INDE WHERE COI6ECHANT = '02'", {}).empty());
  // Pilots 03, 04 and 06: inserting at 03 moves two of them; the first free number is 5.
  EXPECT_EQ(Colonne(bd, "SELECT nupilote FROM PILOTE WHERE nupilote >= '03' ORDER BY nupilote", "nupilote"),
            (std::vector<std::string>{"03", "04", "06"}));
  bd.Close();
  Forme forme(ouvre(true, false));
  EXPECT_EQ(forme.AttribNumero(), 5);
  EXPECT_TRUE(forme.erreurs.empty());
  forme.Bd.Close();
}

}  // namespace
