// ChangeFieldSize on a table of real size: 10,000 rows, an index and a relation on other
// columns. Every row keeps its value, the index and the relation still hold, the file stays
// sound for the engine and readable by mdbtools.
#include <algorithm>
#include <map>
#include <tuple>

#include "schema_fixture.h"

namespace {

using schema_test::Commande;
using schema_test::SchemaTest;
namespace dao = platform::dao;

constexpr int kLignes = 10000;

// The observation of record i: long enough to need the wider field later, with accents and
// apostrophes, empty or Null for some records.
std::string Observation(int i) {
  if (i % 97 == 0) return "";
  return "Relevé n°" + std::to_string(i) + " : l'agent " + std::to_string(i % 31) + " a vérifié le dossier";
}

class VolumeTest : public SchemaTest {
 protected:
  // DOSSIER: NUDOS primary key, COAGENT indexed and related to AGENT, LIDOSOBS Text(60).
  void SetUp() override {
    dao::TableDef t = bd().CreateTableDef("DOSSIER");
    for (auto [nom, type, taille] : {std::tuple{"NUDOS", dao::dbLong, 0}, std::tuple{"COAGENT", dao::dbText, 2},
                                     std::tuple{"LIDOSOBS", dao::dbText, 60}, std::tuple{"NBDOSPIE", dao::dbInteger, 0}}) {
      dao::Field f = t.CreateField(nom, type, taille);
      if (std::string(nom) == "LIDOSOBS") f.SetAllowZeroLength(true);
      t.Fields().Append(f);
    }
    for (auto [nom, champ, primaire] : {std::tuple{"PrimaryKey", "NUDOS", true}, std::tuple{"COAGENT", "COAGENT", false}}) {
      dao::Index i = t.CreateIndex(nom);
      i.SetPrimary(primaire);
      i.Fields().Append(i.CreateField(champ));
      t.Indexes().Append(i);
    }
    bd().TableDefs().Append(t);
    dao::Relation r = bd().CreateRelation("AGENTDOSSIER", "AGENT", "DOSSIER");
    dao::Field paire = r.CreateField("COAGENT");
    paire.SetForeignName("COAGENT");
    r.Fields().Append(paire);
    bd().Relations().Append(r);

    const char* agents[] = {"12", "7", "31"};
    // One transaction: the rows reach the file once, as a bulk load would.
    moteur_.Workspaces(0).BeginTrans();
    dao::Recordset rs = bd().OpenRecordset("DOSSIER", dao::dbOpenTable);
    for (int i = 0; i < kLignes; ++i) {
      rs.AddNew();
      rs.Fields("NUDOS").SetValue(dao::Variant(static_cast<std::int32_t>(i)));
      if (i % 5 != 0) rs.Fields("COAGENT").SetValue(dao::Variant(agents[i % 3]));
      if (i % 89 != 0) rs.Fields("LIDOSOBS").SetValue(dao::Variant(Observation(i)));
      rs.Fields("NBDOSPIE").SetValue(dao::Variant(static_cast<std::int16_t>(i % 40)));
      rs.Update();
    }
    rs.Close();
    moteur_.Workspaces(0).CommitTrans();
  }

  // Every row as "NUDOS|COAGENT|LIDOSOBS|NBDOSPIE", by key.
  std::map<int, std::string> contenu() {
    std::map<int, std::string> out;
    dao::Recordset rs = bd().OpenRecordset("SELECT * FROM DOSSIER", dao::dbOpenSnapshot);
    while (!rs.Eof()) {
      const int cle = static_cast<int>(rs("NUDOS").value().to_double());
      out[cle] = rs("COAGENT").value().to_display() + "|" + (rs("LIDOSOBS").value().is_null() ? "<Null>" : rs("LIDOSOBS").value().to_display()) +
                 "|" + rs("NBDOSPIE").value().to_display();
      rs.MoveNext();
    }
    rs.Close();
    return out;
  }
};

TEST_F(VolumeTest, TenThousandRowsKeepTheirValuesIndexAndRelation) {
  const std::map<int, std::string> avant = contenu();
  ASSERT_EQ(avant.size(), static_cast<std::size_t>(kLignes));
  forme_.ChangeFieldSize("DOSSIER", "LIDOSOBS", false, 120, true);
  ASSERT_TRUE(forme_.erreurs.empty()) << forme_.erreurs[0];
  EXPECT_EQ(forme_.journal, (std::vector<std::string>{" - Modification du champ LIDOSOBS (table DOSSIER) : Ok"}));
  EXPECT_EQ(contenu(), avant);
  EXPECT_EQ(bd().TableDefs("DOSSIER").Fields("LIDOSOBS").Size(), 120);
  EXPECT_EQ(bd().TableDefs("DOSSIER").Fields("LIDOSOBS").OrdinalPosition(), 2);

  // The index still answers, the relation still refuses an unknown agent.
  std::size_t agent7 = 0;
  for (const auto& [cle, ligne] : avant) agent7 += ligne.rfind("7|", 0) == 0;
  dao::Recordset rs = bd().OpenRecordset("SELECT COUNT(*) AS N FROM DOSSIER WHERE COAGENT = '7'", dao::dbOpenSnapshot);
  EXPECT_EQ(static_cast<std::size_t>(rs("N").value().to_double()), agent7);
  rs.Close();
  EXPECT_THROW(bd().Execute("UPDATE DOSSIER SET COAGENT = '99' WHERE NUDOS = 1", dao::dbFailOnError), platform::Error);
  // The wider field takes what the old one refused.
  const std::string long_texte(110, 'e');
  bd().Execute("UPDATE DOSSIER SET LIDOSOBS = '" + long_texte + "' WHERE NUDOS = 3", dao::dbFailOnError);

  ferme();
  const std::string base = fichier().string();
  EXPECT_EQ(Commande(std::string(QUELIS_BINARY_DIR) + "/src/app/jet verify '" + base + "'"), "Base saine.\n");
  const std::string relations = Commande(std::string(QUELIS_BINARY_DIR) + "/src/app/jet relations '" + base + "'");
  EXPECT_NE(relations.find("AGENTDOSSIER"), std::string::npos) << relations;
  EXPECT_NE(Commande("mdb-schema '" + base + "' access").find("[LIDOSOBS]\t\t\tText (120)"), std::string::npos);
  const std::string export_ = Commande("mdb-export '" + base + "' DOSSIER");
  EXPECT_EQ(static_cast<int>(std::count(export_.begin(), export_.end(), '\n')), kLignes + 1);
  // The resized field is stored last; mdb-export lists the columns in stored order.
  EXPECT_EQ(export_.rfind("NUDOS,COAGENT,NBDOSPIE,LIDOSOBS\n", 0), 0u);
  EXPECT_NE(export_.find("\n3,\"12\",3,\"" + long_texte + "\"\n"), std::string::npos);
}

}  // namespace
