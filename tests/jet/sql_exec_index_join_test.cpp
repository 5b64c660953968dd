// Joins that seek an index of the right-hand table give what reading the whole table gives
// (texts case-blind and without trailing blanks, Null keys matching nothing, several
// matches, left joins, filters on the sought table, a text of digits meeting a number), and
// they read only the pages of the rows they find.
#include <gtest/gtest.h>

#include "os/faulty_file_system.h"
#include "os/services.h"
#include "sql_exec_support.h"

namespace sql_exec_index_join_test {
namespace {

using namespace sql_exec_test;
using Lines = std::vector<std::string>;

// Sauv: 900 rows keyed by (Commune, Numero), on some fifty pages; Vif: the rows an update would look up.
class IndexJoin : public ::testing::Test {
 protected:
  void SetUp() override {
    path = scratch.copy("indexTestV2000.mdb");
    Db db(path);
    db.x("CREATE TABLE Sauv (Commune TEXT(30), Numero LONG, Valeur TEXT(30), Etat TEXT(5), Texte TEXT(255), "
         "CONSTRAINT pk PRIMARY KEY (Commune, Numero))");
    db.x("CREATE TABLE Lien (Numero LONG, Note TEXT(30))");
    db.x("CREATE INDEX parNumero ON Lien (Numero)");
    db.x("CREATE TABLE Vif (Id LONG, Commune TEXT(30), Numero LONG, NumTexte TEXT(10))");
    std::vector<jet::Row> rows;
    for (int i = 0; i < 900; ++i) {
      const std::string commune = i % 3 == 0 ? "Paris" : i % 3 == 1 ? "Lyon" : "Saint-Étienne";
      rows.push_back({T(commune), L(i), T("v" + std::to_string(i)), T(i % 2 ? "ok" : "non"), T(std::string(200, 'x'))});
    }
    db.fill("Sauv", rows);
    db.fill("Lien", {{L(3), T("a")}, {L(3), T("b")}, {L(4), T("c")}});
    db.fill("Vif", {{L(1), T("PARIS"), L(3), T("3")},
                    {L(2), T("Lyon  "), L(4), T("4")},
                    {L(3), T("saint-étienne"), L(5), T("5")},
                    {L(4), T("Saint-Etienne"), L(5), T("5")},  // accents count: no match
                    {L(5), N(), L(6), N()},
                    {L(6), T("Paris"), L(901), T("901")}});
  }
  // The statement on a freshly opened database, with the pages read from the disk.
  Lines run(const std::string& sql, std::uint64_t* bytes_read = nullptr) {
    os::FaultyFileSystem files{*os::system_services().files};
    const os::Services counted{&files, os::system_services().clock, os::system_services().random};
    os::ServicesOverride use(counted);
    Db db(path);
    const std::uint64_t before = files.bytes_read();
    Lines out = db.q(sql);
    if (bytes_read) *bytes_read = files.bytes_read() - before;
    return out;
  }
  Scratch scratch;
  std::string path;
};

TEST_F(IndexJoin, SeeksFindWhatAWholeReadFinds) {
  // The same join with the right-hand keys wrapped in expressions reads the whole table.
  const std::string by_index = "Vif.Commune = Sauv.Commune AND Vif.Numero = Sauv.Numero";
  const std::string by_reading = "Vif.Commune = Sauv.Commune & '' AND Vif.Numero = Sauv.Numero + 0";
  for (const std::string& on : {by_index, by_reading}) {
    SCOPED_TRACE(on);
    EXPECT_EQ(run("SELECT Vif.Id, Sauv.Valeur FROM Vif INNER JOIN Sauv ON " + on + " ORDER BY Vif.Id"),
              (Lines{"1|v3", "2|v4", "3|v5"}));
    EXPECT_EQ(run("SELECT Vif.Id, Sauv.Valeur FROM Vif LEFT JOIN Sauv ON " + on + " ORDER BY Vif.Id"),
              (Lines{"1|v3", "2|v4", "3|v5", "4|~", "5|~", "6|~"}));
    // A filter of the sought table applies to the rows found.
    EXPECT_EQ(run("SELECT Vif.Id FROM Vif INNER JOIN Sauv ON " + on + " WHERE Sauv.Etat = 'ok' ORDER BY Vif.Id"),
              (Lines{"1", "3"}));
    // In ON of a left join it restricts the matches only.
    EXPECT_EQ(run("SELECT Vif.Id, Sauv.Numero FROM Vif LEFT JOIN Sauv ON (" + on +
                  ") AND Sauv.Etat = 'ok' ORDER BY Vif.Id"),
              (Lines{"1|3", "2|~", "3|5", "4|~", "5|~", "6|~"}));
  }
}

TEST_F(IndexJoin, SeveralMatchesAndKeysOfAnotherKind) {
  EXPECT_EQ(run("SELECT Vif.Id, Lien.Note FROM Vif INNER JOIN Lien ON Vif.Numero = Lien.Numero "
                "ORDER BY Vif.Id, Lien.Note"),
            (Lines{"1|a", "1|b", "2|c"}));
  // A text of digits meets a number by value (the whole table is read for it).
  EXPECT_EQ(run("SELECT Vif.Id, Sauv.Valeur FROM Vif INNER JOIN Sauv ON Vif.NumTexte = Sauv.Numero "
                "AND Vif.Commune = Sauv.Commune ORDER BY Vif.Id"),
            (Lines{"1|v3", "2|v4", "3|v5"}));
}

TEST_F(IndexJoin, OnlyThePagesOfTheRowsFoundAreRead) {
  std::uint64_t seeking = 0, reading = 0;
  const Lines a = run("SELECT Vif.Id, Sauv.Valeur FROM Vif INNER JOIN Sauv ON Vif.Commune = Sauv.Commune "
                      "AND Vif.Numero = Sauv.Numero",
                      &seeking);
  const Lines b = run("SELECT Vif.Id, Sauv.Valeur FROM Vif INNER JOIN Sauv ON Vif.Commune = Sauv.Commune & '' "
                      "AND Vif.Numero = Sauv.Numero + 0",
                      &reading);
  EXPECT_EQ(a.size(), 3u);
  EXPECT_EQ(b.size(), 3u);
  EXPECT_LT(seeking * 2, reading) << seeking << " bytes read by seeking, " << reading << " by reading";
}

TEST_F(IndexJoin, AnUpdateJoinedByTheKeyTakesTheRowsFound) {
  {
    Db db(path);
    EXPECT_EQ(db.x("UPDATE Vif INNER JOIN Sauv ON Vif.Commune = Sauv.Commune AND Vif.Numero = Sauv.Numero "
                   "SET Vif.NumTexte = Sauv.Etat WHERE Sauv.Valeur <> 'v4'"),
              2);
  }
  EXPECT_EQ(run("SELECT Id, NumTexte FROM Vif ORDER BY Id"),
            (Lines{"1|ok", "2|4", "3|ok", "4|5", "5|~", "6|901"}));
}

// UPDATE and DELETE read their rows again rather than holding them: a subquery that looks at
// the row being judged, and a left join's missing side, still see the right values.
TEST_F(IndexJoin, RowsReadAgainByUpdatesAndDeletesKeepTheirValues) {
  {
    Db db(path);
    EXPECT_EQ(db.x("UPDATE Vif LEFT JOIN Lien ON Vif.Numero = Lien.Numero SET Vif.NumTexte = "
                   "IIf(Lien.Note Is Null, 'aucun', Vif.Commune & '/' & Lien.Note)"),
              6);
    EXPECT_EQ(db.x("DELETE FROM Vif WHERE EXISTS (SELECT * FROM Sauv WHERE Sauv.Numero = Vif.Numero "
                   "AND Sauv.Etat = 'non')"),
              2);  // numbers 4 and 6
  }
  // Vif 1 has two notes: the last match gives its value.
  EXPECT_EQ(run("SELECT Id, NumTexte FROM Vif ORDER BY Id"),
            (Lines{"1|PARIS/b", "3|aucun", "4|aucun", "6|aucun"}));
}

}  // namespace
}  // namespace sql_exec_index_join_test
