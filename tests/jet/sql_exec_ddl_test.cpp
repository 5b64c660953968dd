// Tables made by SQL on databases made from nothing, and the application's backup update
// written exactly as the application writes it: FICHE joined on four columns to FICHE of
// the backup named by its Windows path, dates and codes copied to the records that still
// wait for them.
#include <gtest/gtest.h>

#include "jet/db/create_database.h"
#include "jet/tools/verify.h"
#include "sql_exec_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_exec_ddl_test_cases {

namespace {

using namespace sql_exec_test;
using Lines = std::vector<std::string>;

constexpr const char* kBackupWindowsPath = "C:\\Program Files\\Quelis\\Sauvegardes\\QuelisSauv_18012013.mdb";

constexpr const char* kCreateFiche =
    "CREATE TABLE FICHE (NUFICHE LONG NOT NULL, COPERAUT TEXT(3) NOT NULL, NUPERMIS TEXT(20), "
    "COCNE TEXT(5), COFICTYP TEXT(1), COFICVTOPO TEXT(1), DAFICTOPO DATETIME, COFICTOPO TEXT(2), "
    "DAFICCRO DATETIME, DAFICPLAN DATETIME, CONSTRAINT PrimaryKey PRIMARY KEY (NUFICHE, COPERAUT))";

// The statement the application runs, character for character (the path aside).
std::string backup_update() {
  return std::string("UPDATE FICHE INNER JOIN [;database=") + kBackupWindowsPath +
         "].FICHE AS FICHE1 ON (FICHE.NUFICHE = FICHE1.NUFICHE) AND (FICHE.COPERAUT = FICHE1.COPERAUT) "
         "AND (FICHE.NUPERMIS = FICHE1.NUPERMIS) AND (FICHE.COCNE = FICHE1.COCNE) SET FICHE.DAFICTOPO = "
         "[FICHE1].[DAFICTOPO], FICHE.COFICTOPO = [FICHE1].[COFICTOPO] WHERE fiche.cofictyp = '1' AND "
         "fiche.coficvtopo is null AND fiche.daficcro is null AND fiche.daficplan is null";
}

std::string fiche(int nu, const std::string& op, const std::string& cne, const std::string& typ,
                  const std::string& vtopo, const std::string& topo_date, const std::string& topo,
                  const std::string& cro, const std::string& plan) {
  auto text = [](const std::string& s) { return s.empty() ? std::string("Null") : "'" + s + "'"; };
  auto date = [](const std::string& s) { return s.empty() ? std::string("Null") : "#" + s + "#"; };
  return "INSERT INTO FICHE VALUES (" + std::to_string(nu) + ", " + text(op) + ", 'P" + std::to_string(nu) +
         "', " + text(cne) + ", " + text(typ) + ", " + text(vtopo) + ", " + date(topo_date) + ", " + text(topo) +
         ", " + date(cro) + ", " + date(plan) + ")";
}

class FicheFromNothing : public ::testing::Test {
 protected:
  void SetUp() override {
    main_path = (scratch.dir().path() / "Quelis.mdb").string();
    backup_path = (scratch.dir().path() / "backup.mdb").string();
    { jet::create_database(main_path); }
    { jet::create_database(backup_path); }
    {
      Db backup(backup_path);
      backup.x(kCreateFiche);
      for (const auto& sql :
           {fiche(1, "A", "C1", "1", "", "2012-03-04", "T1", "", ""), fiche(2, "A", "C9", "1", "", "2012-03-05", "T2", "", ""),
            fiche(3, "A", "C1", "1", "", "2012-03-06", "T3", "", ""), fiche(4, "A", "C1", "2", "", "2012-03-07", "T4", "", ""),
            fiche(5, "A", "C1", "1", "", "2012-03-08", "T5", "", ""), fiche(6, "A", "C1", "1", "", "2012-03-09", "T6", "", ""),
            fiche(7, "B", "C1", "1", "", "2012-03-10 14:30:00", "T7", "", "")})
        EXPECT_EQ(backup.x(sql), 1) << sql;
    }
    Db db(main_path);
    db.x(kCreateFiche);
    for (const auto& sql : {fiche(1, "A", "C1", "1", "", "", "", "", ""),            // twin: updated
                            fiche(2, "A", "C1", "1", "", "", "", "", ""),            // twin differs by COCNE
                            fiche(3, "A", "C1", "1", "V", "", "", "", ""),           // COFICVTOPO set
                            fiche(4, "A", "C1", "2", "", "", "", "", ""),            // another kind
                            fiche(5, "A", "C1", "1", "", "", "", "2012-01-01", ""),  // DAFICCRO set
                            fiche(6, "A", "C1", "1", "", "", "", "", "2012-01-02"),  // DAFICPLAN set
                            fiche(7, "B", "C1", "1", "", "", "", "", ""),            // twin: updated
                            fiche(8, "A", "C1", "1", "", "", "", "", "")})           // no twin
      EXPECT_EQ(db.x(sql), 1) << sql;
  }
  Scratch scratch;
  std::string main_path, backup_path;
};

TEST_F(FicheFromNothing, TheApplicationsBackupUpdate) {
  QUELIS_NEEDS_MDBTOOLS();
  const auto backup_before = jet_test::read_file(backup_path);
  std::vector<std::string> asked;
  {
    Db db(main_path, [&](std::string_view p) {
      asked.emplace_back(p);
      return jet::Database::open(backup_path);
    });
    EXPECT_EQ(db.x(backup_update()), 2);
    EXPECT_EQ(asked, (std::vector<std::string>{kBackupWindowsPath}));
    EXPECT_EQ(db.q("SELECT NUFICHE, DAFICTOPO, COFICTOPO FROM FICHE ORDER BY NUFICHE"),
              (Lines{"1|2012-03-04 00:00:00|T1", "2|~|~", "3|~|~", "4|~|~", "5|~|~", "6|~|~",
                     "7|2012-03-10 14:30:00|T7", "8|~|~"}));
  }
  EXPECT_EQ(jet_test::read_file(backup_path), backup_before);
  const std::string exported = mdb_export(main_path, "FICHE");
  EXPECT_NE(exported.find("1,\"A\",\"P1\",\"C1\",\"1\",,\"03/04/12 00:00:00\",\"T1\""), std::string::npos) << exported;
  auto db = jet::Database::open(main_path);
  EXPECT_TRUE(jet::verify_database(*db).empty());
}

TEST_F(FicheFromNothing, MissingBackupIsReportedWithTheApplicationsPath) {
  Db db(main_path, [&](std::string_view) { return jet::Database::open(main_path + ".absent"); });
  std::string text;
  EXPECT_EQ(error_of([&] { db.x(backup_update()); }, &text), 3024);
  EXPECT_EQ(text, std::string("Fichier '") + kBackupWindowsPath + "' introuvable.");
  EXPECT_EQ(db.q("SELECT Count(*) FROM FICHE WHERE DAFICTOPO IS NULL"), (Lines{"8"}));
}

TEST_F(FicheFromNothing, TableRulesMadeBySql) {
  QUELIS_NEEDS_MDBTOOLS();
  Db db(main_path);
  // NOT NULL makes the column required; the primary key refuses a second (1, 'A').
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO FICHE (NUFICHE) VALUES (20)"); }), 3314);
  EXPECT_EQ(error_of([&] { db.x(fiche(1, "A", "C1", "1", "", "", "", "", "")); }), 3022);
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO FICHE (NUFICHE, COPERAUT) VALUES (21, 'ABCD')"); }), 3163);
  EXPECT_EQ(error_of([&] { db.x(kCreateFiche); }), 3010);
  EXPECT_EQ(error_of([&] { db.x("CREATE TABLE T2 (a LONG, CONSTRAINT u UNIQUE (nosuch))"); }), 3289);
  EXPECT_EQ(db.x("CREATE TABLE Codes (Code TEXT(2) CONSTRAINT pk PRIMARY KEY, Label TEXT, Rank SHORT, "
                 "Id COUNTER, Price CURRENCY, Seen YESNO, Note MEMO)"),
            0);
  EXPECT_EQ(db.x("INSERT INTO Codes (Code, Label, Rank, Price, Seen, Note) VALUES ('a1', 'x', '3', 2.5, True, "
                 "String(300, 'n'))"),
            1);
  EXPECT_EQ(db.x("INSERT INTO Codes (Code) VALUES ('a2')"), 1);
  EXPECT_EQ(db.q("SELECT Code, Label, Rank, Id, Price, Seen, Len(Note) FROM Codes ORDER BY Code"),
            (Lines{"a1|x|3|1|2.5|True|300", "a2|~|~|2|~|False|~"}));
  EXPECT_EQ(error_of([&] { db.x("INSERT INTO Codes (Code) VALUES ('A1')"); }), 3022);
  db.close();
  EXPECT_NE(mdb_export(main_path, "Codes").find("\"a2\""), std::string::npos);
}

TEST_F(FicheFromNothing, SelectIntoMakesAndFillsATable) {
  QUELIS_NEEDS_MDBTOOLS();
  {
    Db db(main_path);
    EXPECT_EQ(db.x("SELECT NUFICHE, COPERAUT, NUFICHE * 2 AS Twice INTO Waiting FROM FICHE WHERE "
                   "COFICTYP = '1' AND DAFICCRO IS NULL ORDER BY NUFICHE"),
              6);
    EXPECT_EQ(db.q("SELECT NUFICHE, COPERAUT, Twice FROM Waiting ORDER BY NUFICHE"),
              (Lines{"1|A|2", "2|A|4", "3|A|6", "6|A|12", "7|B|14", "8|A|16"}));
    EXPECT_EQ(error_of([&] { db.x("SELECT NUFICHE INTO Waiting FROM FICHE"); }), 3010);
  }
  EXPECT_NE(mdb_export(main_path, "Waiting").find("7,\"B\",14"), std::string::npos);
}

}  // namespace

}  // namespace sql_exec_ddl_test_cases
