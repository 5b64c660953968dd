// The reference database as other readers see it: our engine's verifier, and mdbtools, which
// must find every table with the columns and types the engine's catalogue gives, and every row.
#include <map>
#include <sstream>

#include "base_reference_fixture.h"
#include "support/linux_programs.h"

namespace {

using namespace reference_test;

// How mdb-schema names each field type.
std::string TypeMdb(const dao::Field& f) {
  switch (f.Type()) {
    case dao::dbText: return "Text (" + std::to_string(f.Size()) + ")";
    case dao::dbLong: return "Long Integer";
    case dao::dbInteger: return "Integer";
    case dao::dbByte: return "Byte";
    case dao::dbDouble: return "Double";
    case dao::dbCurrency: return "Currency";
    case dao::dbDate: return "DateTime";
    case dao::dbMemo: return "Memo/Hyperlink (255)";
    case dao::dbBoolean: return "Boolean NOT NULL";
    default: return "type " + std::to_string(f.Type());
  }
}

// mdb-schema's output as table -> "field type" lines.
std::map<std::string, std::vector<std::string>> SchemaMdb(const std::string& fichier) {
  std::map<std::string, std::vector<std::string>> tables;
  std::istringstream in(Commande("mdb-schema '" + fichier + "' access"));
  std::string ligne, table;
  while (std::getline(in, ligne)) {
    if (ligne.rfind("CREATE TABLE [", 0) == 0) {
      table = ligne.substr(14, ligne.find(']') - 14);
      tables[table];
    } else if (!table.empty() && ligne.rfind("\t[", 0) == 0) {
      const std::size_t fin = ligne.find(']');
      std::string type = ligne.substr(ligne.find_first_not_of('\t', fin + 1));
      while (!type.empty() && (type.back() == ' ' || type.back() == ',')) type.pop_back();
      tables[table].push_back(ligne.substr(2, fin - 2) + " " + type);
    } else if (ligne == ");") {
      table.clear();
    }
  }
  return tables;
}

TEST_F(BaseReferenceTest, TheVerifierFindsTheFileSound) {
  QUELIS_NEEDS_JET_PROGRAM();
  EXPECT_EQ(Commande(std::string(QUELIS_BINARY_DIR) + "/src/app/jet verify '" + fichier() + "'"), "Base saine.\n");
}

TEST_F(BaseReferenceTest, MdbtoolsListsEveryTableWithTheColumnsAndTypesOfTheCatalogue) {
  QUELIS_NEEDS_MDBTOOLS();
  std::string attendu;
  for (const std::string& t : kTables) attendu += t + "\n";
  EXPECT_EQ(Commande("mdb-tables -1 '" + fichier() + "'"), attendu);

  const auto schema = SchemaMdb(fichier());
  EXPECT_EQ(schema.size(), kTables.size());
  dao::Database bd = ouvre();
  for (const std::string& t : kTables) {
    std::vector<std::string> catalogue;
    for (const dao::Field& f : bd.TableDefs(t).Fields()) catalogue.push_back(f.Name() + " " + TypeMdb(f));
    ASSERT_TRUE(schema.count(t)) << t;
    EXPECT_EQ(schema.at(t), catalogue) << t;
  }
  bd.Close();
  // A few shapes as mdbtools prints them: the agent codes before their change, the memos, the
  // numbers of the monthly statement.
  EXPECT_EQ(schema.at("AGENT")[0], "COAGENT Text (2)");
  EXPECT_EQ(schema.at("VERR6443")[0], "COVAGENT Text (2)");
  EXPECT_EQ(schema.at("FICHE").back(), "RMFICNOTE Memo/Hyperlink (255)");
  EXPECT_EQ(schema.at("6443INDP")[6], "NUI6PFIC Long Integer");
  EXPECT_EQ(schema.at("CDIF")[7], "LICDIHEUR Text (255)");
}

TEST_F(BaseReferenceTest, MdbExportGivesEveryRowTheEngineCounts) {
  QUELIS_NEEDS_MDBTOOLS();
  dao::Database bd = ouvre();
  std::map<std::string, long> comptes;
  for (const std::string& t : kTables) {
    // -e writes the line ends of memos as \r\n: one line per row.
    const std::string sortie = Commande("mdb-export -H -e '" + fichier() + "' '" + t + "'");
    const long lignes = static_cast<long>(std::count(sortie.begin(), sortie.end(), '\n'));
    EXPECT_EQ(lignes, bd.TableDefs(t).RecordCount()) << t;
    comptes[t] = lignes;
  }
  bd.Close();
  // Every table holds rows; the case records and their permits are as many as asked.
  for (const auto& [table, n] : comptes) EXPECT_GT(n, 0) << table;
  EXPECT_EQ(comptes["FICHE"], kFiches);
  EXPECT_EQ(comptes["PERMIS"], kFiches);
  EXPECT_EQ(comptes["VERSION"], 1);
  EXPECT_EQ(comptes["CDIF"], 2);
}

TEST_F(BaseReferenceTest, MdbtoolsReadsTheFrenchTextsAsWritten) {
  QUELIS_NEEDS_MDBTOOLS();
  const std::string agents = Commande("mdb-export -0 NULL '" + fichier() + "' AGENT");
  EXPECT_NE(agents.find("\"07\",\"d'Hondt\",\"Marc\""), std::string::npos) << agents;
  EXPECT_NE(agents.find("\"12\",\"Œillet\",\"Sophie\""), std::string::npos) << agents;
  // Agent 31's first name is the zero-length text, his telephone Null: mdbtools prints both
  // alike (the engine tells them apart, see the content tests).
  EXPECT_NE(agents.find("\"31\",\"Martin\",NULL,\"4\",\"0\",NULL,NULL"), std::string::npos) << agents;
}

}  // namespace
