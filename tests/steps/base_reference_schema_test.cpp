// The structure of the reference database against what the update steps expect: the schema
// probes see the tables and fields the steps use and not those the steps create; the agent
// codes, keys, indexes and relations are those the agent-code change drops and recreates.
#include <algorithm>
#include <set>

#include "base_reference_fixture.h"
#include "platform/vbstring.h"

namespace {

using namespace reference_test;

std::vector<std::string> Noms(const dao::Collection<dao::Field>& champs) {
  std::vector<std::string> out;
  for (const dao::Field& f : champs) out.push_back(f.Name());
  return out;
}

bool Couvre(const dao::Index& index, const std::string& champ) {
  for (const dao::Field& f : index.Fields())
    if (platform::EqualsNoCase(f.Name(), champ)) return true;
  return false;
}

TEST_F(BaseReferenceTest, TheProbesSeeWhatTheStepsUseAndNotWhatTheyCreate) {
  Forme forme(ouvre(true, false));
  for (const std::string& t : kTables) EXPECT_TRUE(forme.ExisteTable(t)) << t;
  for (const std::string& t : kTablesACreer) EXPECT_FALSE(forme.ExisteTable(t)) << t;
  // Fields the steps read or change.
  for (const auto& [table, champ] : std::vector<std::pair<std::string, std::string>>{
           {"CDIF", "LICDIHEUR"},     {"CDIF", "COCDITYPE"},      {"CDIF", "NUCDITELC"},  {"AGENT", "coageappplan"},
           {"AGENT", "COAGEADMIN"},   {"AGENT", "COAGETYP"},      {"PERMIS", "LIPERDT"},  {"PERMIS", "COPERTRAV"},
           {"PERMIS", "COPERMANN"},   {"PERMIS", "COPERNLOG"},    {"LETTREFICHE", "active"},
           {"LETTREFICHE", "COLFIFORM"}, {"6443INDE", "COI6ECHANT"}, {"TYPNATLOG", "CORANG"},
           {"PILOTE", "copilverr"},   {"PILOTEDESC", "nudpicord"}, {"JIMPORT", "nupilote"}, {"MC_DONNEE", "mdpadsens"},
           {"PARAMETRE", "coparam"},  {"RECHERCHE", "corec"},     {"RECHERCHEVSL", "corec"}, {"FICHE", "RMFICNOTE"}})
    EXPECT_TRUE(forme.ExisteChamp(table, champ)) << table << "." << champ;
  for (const auto& c : kChampsAgent) EXPECT_TRUE(forme.ExisteChamp(c.table, c.champ)) << c.table << "." << c.champ;
  // Fields the steps add.
  EXPECT_FALSE(forme.ExisteChamp("FICHE", "RMTOPONOTE"));
  EXPECT_FALSE(forme.ExisteChamp("IMPORTFICHE", "RMTOPONOTE"));
  EXPECT_FALSE(forme.ExisteChamp("CDIF", "COAGEADMSEC"));
  for (const auto& i : kIndexAgent) EXPECT_TRUE(forme.ExisteIndex(i.table, i.nom)) << i.table << "." << i.nom;
  EXPECT_FALSE(forme.ExisteIndex("FICHE", "PK_TYPDESTCOLL"));
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0].procedure << " " << forme.erreurs[0].numero;
  forme.Bd.Close();
}

TEST_F(BaseReferenceTest, AgentCodesAreTwoCharacterTextsThatNoOtherIndexCovers) {
  dao::Database bd = ouvre();
  for (const auto& c : kChampsAgent) {
    const dao::TableDef table = bd.TableDefs(c.table);
    const dao::Field champ = table.Fields(c.champ);
    EXPECT_EQ(champ.Type(), dao::dbText) << c.table << "." << c.champ;
    EXPECT_EQ(champ.Size(), 2) << c.table << "." << c.champ;
    // The change deletes the field once its relations and listed indexes are gone: any other
    // index on it would stop the deletion.
    for (const dao::Index& index : table.Indexes()) {
      if (!Couvre(index, c.champ) || index.Foreign()) continue;
      const bool prevu = std::any_of(kIndexAgent.begin(), kIndexAgent.end(), [&](const IndexAgent& i) {
        return i.table == c.table && i.nom == index.Name();
      });
      EXPECT_TRUE(prevu) << c.table << "." << c.champ << " is covered by " << index.Name();
    }
  }
  bd.Close();
}

TEST_F(BaseReferenceTest, TheKeysAndIndexesOfTheAgentCodesHaveTheirFieldsInOrder) {
  dao::Database bd = ouvre();
  for (const auto& i : kIndexAgent) {
    const dao::Index index = bd.TableDefs(i.table).Indexes(i.nom);
    std::vector<std::string> champs = Noms(index.Fields());
    for (auto& c : champs) std::transform(c.begin(), c.end(), c.begin(), ::toupper);
    EXPECT_EQ(champs, i.champs) << i.table << "." << i.nom;
    EXPECT_EQ(index.Primary(), i.primaire) << i.table << "." << i.nom;
  }
  bd.Close();
}

TEST_F(BaseReferenceTest, TheRelationsOfTheAgentCodesAreEnforcedWithoutCascadeAndNoOthersExist) {
  dao::Database bd = ouvre();
  EXPECT_EQ(bd.Relations().Count(), static_cast<int>(kRelationsAgent.size()));
  for (const auto& r : kRelationsAgent) {
    const dao::Relation relation = bd.Relations(r.nom);
    EXPECT_EQ(relation.Table(), r.table) << r.nom;
    EXPECT_EQ(relation.ForeignTable(), r.etrangere) << r.nom;
    EXPECT_EQ(relation.Attributes(), 0) << r.nom;
    std::vector<std::pair<std::string, std::string>> paires;
    for (const dao::Field& f : relation.Fields()) paires.emplace_back(f.Name(), f.ForeignName());
    EXPECT_EQ(paires, r.paires) << r.nom;
  }
  bd.Close();
}

// Every code a foreign table holds is one of its primary table: a relation the rows break
// would make Access refuse the records and the agent-code change refuse to recreate it.
TEST_F(BaseReferenceTest, EveryCodeHeldUnderARelationIsOneOfItsPrimaryTable) {
  dao::Database bd = ouvre();
  for (const auto& r : kRelationsAgent) {
    std::string primaires, etrangers;
    for (const auto& [p, e] : r.paires) {
      primaires += (primaires.empty() ? "" : " & '|' & ") + std::string("[") + p + "]";
      etrangers += (etrangers.empty() ? "" : " & '|' & ") + std::string("[") + e + "]";
    }
    std::set<std::string> connus;
    for (const auto& v : Colonne(bd, "SELECT " + primaires + " AS cle FROM [" + r.table + "]", "cle")) connus.insert(v);
    std::string nonNul;
    for (const auto& paire : r.paires) nonNul += (nonNul.empty() ? "" : " AND ") + ("[" + paire.second + "] IS NOT NULL");
    const auto tenus = Colonne(bd, "SELECT " + etrangers + " AS cle FROM [" + r.etrangere + "] WHERE " + nonNul, "cle");
    EXPECT_FALSE(tenus.empty()) << r.nom;
    for (const auto& v : tenus) EXPECT_TRUE(connus.count(v)) << r.nom << " : " << v;
  }
  bd.Close();
}

// The agent-code change on a copy: every relation and index it names is there to delete, and
// once they are gone the fields that need not be filled are rebuilt as three-character texts
// (the required ones meet the "<> null" comparison of the rebuild, which copies no code).
TEST_F(BaseReferenceTest, TheAgentCodeChangeFindsWhatItDeletesAndRebuildsTheOptionalFields) {
  Forme forme(moteur().OpenDatabase(copie("CodeAgent.mdb"), true));
  for (const auto& r : kRelationsAgent) forme.Bd.Relations().Delete(r.nom);
  for (const auto& i : kIndexAgent) forme.SuppIndex(i.table, i.nom);
  ASSERT_TRUE(forme.erreurs.empty()) << forme.erreurs[0].procedure << " " << forme.erreurs[0].numero;
  std::size_t reconstruits = 0;
  for (const auto& c : kChampsAgent) {
    if (c.requis) continue;
    forme.ModifChampCoAgent(c.table, c.champ, false, "10", 3);
    ++reconstruits;
    EXPECT_EQ(forme.Bd.TableDefs(c.table).Fields(c.champ).Size(), 3) << c.table << "." << c.champ;
  }
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0].procedure << " " << forme.erreurs[0].numero;
  EXPECT_EQ(forme.journal.size(), reconstruits);
  EXPECT_EQ(forme.journal.front(), " - Modification du champ COAGENT de la table SECCOMGEO : Ok");
  // The indexes that cover only optional fields come back.
  forme.CreeIndex("FICHE", "IdxComGeo", false, "COFICGEOG", "COCNE");
  forme.CreeIndex("FICHE", "Idx6443Ind", false, "COFICGEOT", "DAFICCRO", "COFICTYP");
  forme.CreeIndex("REJETREGROUP", "IdxComGeo", false, "COFICGEOG", "COCNE");
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0].procedure << " " << forme.erreurs[0].numero;
  forme.Bd.Close();
}

}  // namespace
