// Value helpers: SQL literals as a French workstation writes them, Null replacements by
// field type, padding, and the first free pilot number.
#include "schema_fixture.h"

namespace {

using schema::NVL;
using schema::TranslateToSQL;
using schema_test::SchemaTest;
using schema_test::Variant;
namespace dao = platform::dao;

Variant jour(double serial) { return Variant::Date(serial); }

TEST(TranslateToSQL, QuotesTextsDoublingTheirQuotesAndTurnsBlanksIntoNull) {
  EXPECT_EQ(TranslateToSQL(Variant("l'avis"), 8), "'l''avis'");
  EXPECT_EQ(TranslateToSQL(Variant("  "), 8), "Null");
  EXPECT_EQ(TranslateToSQL(Variant(), 8), "Null");
  EXPECT_EQ(TranslateToSQL(Variant::Null(), 3), "Null");
  EXPECT_EQ(TranslateToSQL(Variant(12), 8), "'12'");
}

TEST(TranslateToSQL, ReadsTheValueAsTheTypeItIsGiven) {
  EXPECT_EQ(TranslateToSQL(Variant(3.5), 5), "3.5");
  EXPECT_EQ(TranslateToSQL(Variant("3,5"), 4), "3.5");
  EXPECT_EQ(TranslateToSQL(Variant(1234.5), 6, std::string("0.00")), "1234,50");
  EXPECT_EQ(TranslateToSQL(Variant(42), 2), TranslateToSQL(Variant(42), 17));
  EXPECT_EQ(TranslateToSQL(Variant(42), 3), "42");
  EXPECT_EQ(TranslateToSQL(Variant(42), 9), "");
  EXPECT_EQ(TranslateToSQL(Variant(true), 11), "TRUE");
  EXPECT_EQ(TranslateToSQL(Variant(false), 11), "FALSE");
  EXPECT_EQ(TranslateToSQL(Variant(-1), 11), "TRUE");
  EXPECT_EQ(TranslateToSQL(Variant("Vrai"), 11), "TRUE");
}

TEST(TranslateToSQL, WritesDatesMonthFirstBetweenHashes) {
  EXPECT_EQ(TranslateToSQL(jour(38801), 7), "#03/25/2006#");  // 25 March 2006
  EXPECT_EQ(TranslateToSQL(Variant("25/03/2006"), 7), "#03/25/2006#");
  EXPECT_EQ(TranslateToSQL(jour(38801), 7, std::string("yyyy-mm-dd")), "#2006-03-25#");
  // A text that is no date is a conversion error for the caller's trap.
  EXPECT_THROW(TranslateToSQL(Variant("demain"), 7), platform::Error);
}

TEST_F(SchemaTest, NvlReplacesANullFieldBy0OrAnEmptyTextByItsType) {
  EXPECT_EQ(NVL(Variant::Null()).VarType(), 8);
  EXPECT_EQ(NVL(Variant::Null()).CStr(), "");
  EXPECT_EQ(NVL(Variant(5)).CLng(), 5);
  dao::Recordset rs = bd().OpenRecordset("SELECT * FROM FICHE WHERE NUFICHE = 3", dao::dbOpenDynaset);
  EXPECT_EQ(NVL(rs.Fields("NBFICLOG")).CLng(), 1);  // not Null: the value
  EXPECT_EQ(NVL(rs.Fields("MTFICSUR")).VarType(), 3);  // a Null Double: 0
  EXPECT_EQ(NVL(rs.Fields("MTFICSUR")).CLng(), 0);
  EXPECT_EQ(NVL(rs.Fields("COAGENT")).VarType(), 8);  // a Null Text: ""
  rs.Close();
  for (const char* colonne : {"DAFICDEP DATETIME", "LIFICMEM MEMO", "NUFICPRE LONG"})
    bd().Execute(std::string("ALTER TABLE FICHE ADD COLUMN ") + colonne, dao::dbFailOnError);
  dao::Recordset neuf = bd().OpenRecordset("SELECT * FROM FICHE WHERE NUFICHE = 3", dao::dbOpenDynaset);
  EXPECT_EQ(NVL(neuf.Fields("DAFICDEP")).VarType(), 8);  // dates count as texts
  EXPECT_EQ(NVL(neuf.Fields("LIFICMEM")).VarType(), 8);
  EXPECT_EQ(NVL(neuf.Fields("NUFICPRE")).VarType(), 3);
}

TEST_F(SchemaTest, PadlzonePadsOnEitherSideInTheCallersVariableAndNeverCuts) {
  Variant v(7);
  EXPECT_EQ(forme_.Padlzone(v, "0", 3, "G").CStr(), "007");
  EXPECT_EQ(v.CStr(), "007");
  Variant d(7);
  EXPECT_EQ(forme_.Padlzone(d, "0", 3, "D").CStr(), "700");
  Variant longue(1234);
  EXPECT_EQ(forme_.Padlzone(longue, "0", 3, "G").CStr(), "1234");
  Variant nul = Variant::Null();
  EXPECT_EQ(forme_.Padlzone(nul, "*", 2, "D").CStr(), "**");
  Variant large("A");
  EXPECT_EQ(forme_.Padlzone(large, "xy", 4, "D").CStr(), "Axyxy");  // added whole: passes 4
  Variant accent("é");
  EXPECT_EQ(forme_.Padlzone(accent, " ", 3, "D").CStr(), "é  ");  // characters, not bytes
  Variant ailleurs("5");
  EXPECT_EQ(forme_.Padlzone(ailleurs, "0", 3, "X").CStr(), "5");  // returned, not looped on
  EXPECT_TRUE(forme_.erreurs.empty());
}

TEST_F(SchemaTest, AttribNumeroFindsTheFirstFreeNumberByNumericValue) {
  EXPECT_EQ(forme_.AttribNumero(), 1);  // empty table
  for (const char* n : {"1", "02", "4"})
    bd().Execute(std::string("INSERT INTO PILOTE (nupilote) VALUES ('") + n + "')", dao::dbFailOnError);
  EXPECT_EQ(forme_.AttribNumero(), 3);
  bd().Execute("INSERT INTO PILOTE (nupilote) VALUES ('03')", dao::dbFailOnError);
  EXPECT_EQ(forme_.AttribNumero(), 5);
  bd().Execute("DELETE FROM PILOTE", dao::dbFailOnError);
  for (int i = 1; i <= 99; ++i)
    bd().Execute("INSERT INTO PILOTE (nupilote) VALUES ('" + std::to_string(i) + "')", dao::dbFailOnError);
  EXPECT_EQ(forme_.AttribNumero(), 0);
  EXPECT_TRUE(forme_.erreurs.empty());
}

TEST_F(SchemaTest, AttribNumeroWithoutAPiloteTableReportsAndAnswers0) {
  bd().TableDefs().Delete("PILOTE");
  EXPECT_EQ(forme_.AttribNumero(), 0);
  ASSERT_EQ(forme_.erreurs.size(), 1u);
  EXPECT_EQ(forme_.erreurs[0].procedure, "AttribNumero");
}

}  // namespace
