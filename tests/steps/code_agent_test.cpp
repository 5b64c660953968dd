// MAJCodeAgent on a database holding every table it touches, with the application's keys,
// indexes and relations over the agent codes: what it rebuilds, what it makes again, and, on
// tables holding rows, what Jet's comparison with Null leaves of the codes.
#include <algorithm>
#include <iterator>
#include <map>
#include <tuple>
#include <string>
#include <vector>

#include "etapes_fixture.h"

namespace etapes_test {
namespace {


struct IndexAgent {
  const char* table;
  const char* nom;
  bool primaire;
  std::vector<std::string> champs;
};

struct RelationAgent {
  const char* table;
  const char* etrangere;
  const char* nom;
  std::vector<std::pair<std::string, std::string>> paires;
};

const std::vector<IndexAgent> kIndex{
    {"AGENT", "PrimaryKey", true, {"COAGENT"}},
    {"6443IND", "PrimaryKey", true, {"COAGENT", "PAI6443", "PMI6443"}},
    {"6443INDA", "PrimaryKey", true, {"COAGENT", "PAI6443", "PMI6443", "LII6ATRAV"}},
    {"6443INDC", "PrimaryKey", true, {"COAGENT", "PAI6443", "PMI6443", "CTI6CCNE"}},
    {"6443INDE", "PrimaryKey", true, {"COAGENT", "PAI6443", "PMI6443", "CTI6ECNE"}},
    {"6443INDP", "PrimaryKey", true, {"COAGENT", "PAI6443", "PMI6443", "CTI6PCNE", "NUI6PPC", "COI6PAUT", "NUI6PFIC"}},
    {"COMGEO", "PrimaryKey", true, {"COCNE", "COAGENT"}},
    {"COMASF", "PrimaryKey", true, {"COCNE", "COAGENT"}},
    {"FICHE", "IdxComGeo", false, {"COFICGEOG", "COCNE"}},
    {"FICHE", "Idx6443Ind", false, {"COFICGEOT", "DAFICCRO", "COFICTYP"}},
    {"VERR6443", "PrimaryKey", true, {"COVAGENT", "PAVI6443", "PMVI6443"}},
    {"REJETREGROUP", "IdxComGeo", false, {"COFICGEOG", "COCNE"}},
};

const std::vector<std::pair<std::string, std::string>> kPeriode{
    {"COAGENT", "COAGENT"}, {"PAI6443", "PAI6443"}, {"PMI6443", "PMI6443"}};
const std::vector<RelationAgent> kRelations{
    {"AGENT", "SECTFONC", "AGENTSECTFONC", {{"COAGENT", "COAGENT"}}},
    {"AGENT", "INSPECTION", "AGENTINSPECTION", {{"COAGENT", "COAGENT"}}},
    {"AGENT", "6443IND", "AGENT6443IND", {{"COAGENT", "COAGENT"}}},
    {"6443IND", "6443INDA", "6443IND6443INDA", kPeriode},
    {"6443IND", "6443INDC", "6443IND6443INDC", kPeriode},
    {"6443IND", "6443INDE", "6443IND6443INDE", kPeriode},
    {"6443IND", "6443INDP", "6443IND6443INDP", kPeriode},
    {"AGENT", "FICHE", "AGENTFICHE", {{"COAGENT", "COFICGEOG"}}},
    {"AGENT", "FICHE", "AGENTFICHE1", {{"COAGENT", "COFICGEOT"}}},
    {"AGENT", "FICHE", "AGENTFICHE2", {{"COAGENT", "COFICASF"}}},
    {"AGENT", "FICHEVSL", "AGENTFICHEVSL", {{"COAGENT", "COAGENT"}}},
    {"AGENT", "COMGEO", "AGENTCOMGEO", {{"COAGENT", "COAGENT"}}},
    {"COMGEO", "SECCOMGEO", "COMGEOSECCOMGEO", {{"COCNE", "COCNE"}, {"COAGENT", "COAGENT"}}},
    {"AGENT", "COMASF", "AGENTCOMASF", {{"COAGENT", "COAGENT"}}},
    {"COMASF", "SECCOMASF", "COMASFSECCOMASF", {{"COCNE", "COCNE"}, {"COAGENT", "COAGENT"}}},
};

// The agent-code fields, required or not, in the order the step rebuilds them.
const std::vector<std::tuple<const char*, const char*, bool>> kChampsAgent{
    {"AGENT", "COAGENT", true},         {"6443IND", "COAGENT", true},       {"6443INDA", "COAGENT", true},
    {"6443INDC", "COAGENT", true},      {"6443INDE", "COAGENT", true},      {"6443INDP", "COAGENT", true},
    {"COMGEO", "COAGENT", true},        {"SECCOMGEO", "COAGENT", false},    {"COMASF", "COAGENT", true},
    {"SECCOMASF", "COAGENT", false},    {"SECTFONC", "COAGENT", false},     {"INSPECTION", "COAGENT", false},
    {"FICHE", "COFICGEOT", false},      {"FICHE", "COFICGEOG", false},      {"FICHE", "COFICASF", false},
    {"FICHEVSL", "COAGENT", false},     {"ARCHIVEFICHE", "COAGENT1", false}, {"ARCHIVEFICHE", "COAGENT2", false},
    {"ARCHIVEVSL", "COAGENT", false},   {"REJETREGROUP", "COFICGEOG", false}, {"REJETREGROUP", "COFICGEOT", false},
    {"REJETREGROUP", "COFICASF", false}, {"VERR6443", "COVAGENT", false}};

const char* const kTables[] = {"AGENT",      "6443IND",    "6443INDA",   "6443INDC",     "6443INDE",
                               "6443INDP",   "COMGEO",     "SECCOMGEO",  "COMASF",       "SECCOMASF",
                               "SECTFONC",   "INSPECTION", "FICHE",      "FICHEVSL",     "ARCHIVEFICHE",
                               "ARCHIVEVSL", "REJETREGROUP", "VERR6443"};

class CodeAgentTest : public EtapesTest {
 protected:
  CodeAgentTest() {
    const Colonne agent{"COAGENT", dao::dbText, 2};
    const Colonne an{"PAI6443", dao::dbText, 4}, mois{"PMI6443", dao::dbText, 2};
    table("AGENT", {agent, {"LIAGENT", dao::dbText, 30}});
    table("6443IND", {agent, an, mois, {"NBI6", dao::dbLong, 0}});
    table("6443INDA", {agent, an, mois, {"LII6ATRAV", dao::dbText, 20}});
    table("6443INDC", {agent, an, mois, {"CTI6CCNE", dao::dbText, 3}});
    table("6443INDE", {agent, an, mois, {"CTI6ECNE", dao::dbText, 3}});
    table("6443INDP", {agent, an, mois, {"CTI6PCNE", dao::dbText, 3}, {"NUI6PPC", dao::dbText, 5},
                       {"COI6PAUT", dao::dbText, 2}, {"NUI6PFIC", dao::dbText, 5}});
    for (const char* t : {"COMGEO", "COMASF"}) table(t, {{"COCNE", dao::dbText, 3}, agent});
    for (const char* t : {"SECCOMGEO", "SECCOMASF"}) table(t, {{"COCNE", dao::dbText, 3}, agent, {"COSEC", dao::dbText, 2}});
    table("SECTFONC", {{"COSECTF", dao::dbText, 3}, agent});
    table("INSPECTION", {{"COINSP", dao::dbText, 3}, agent});
    table("FICHE", {{"NUFICHE", dao::dbLong, 0}, {"COFICGEOT", dao::dbText, 2}, {"COFICGEOG", dao::dbText, 2},
                    {"COFICASF", dao::dbText, 2}, {"COCNE", dao::dbText, 3}, {"DAFICCRO", dao::dbDate, 0},
                    {"COFICTYP", dao::dbText, 1}});
    table("FICHEVSL", {{"NUVSL", dao::dbLong, 0}, agent});
    table("ARCHIVEFICHE", {{"NUFICHE", dao::dbLong, 0}, {"COAGENT1", dao::dbText, 2}, {"COAGENT2", dao::dbText, 2}});
    table("ARCHIVEVSL", {{"NUVSL", dao::dbLong, 0}, agent});
    table("REJETREGROUP", {{"NUREJ", dao::dbLong, 0}, {"COFICGEOG", dao::dbText, 2}, {"COFICGEOT", dao::dbText, 2},
                           {"COFICASF", dao::dbText, 2}, {"COCNE", dao::dbText, 3}});
    table("VERR6443", {{"COVAGENT", dao::dbText, 2}, {"PAVI6443", dao::dbText, 4}, {"PMVI6443", dao::dbText, 2}});
    for (const IndexAgent& i : kIndex) {
      dao::TableDef t = bd().TableDefs(i.table);
      dao::Index index = t.CreateIndex(i.nom);
      index.SetPrimary(i.primaire);
      for (const std::string& c : i.champs) index.Fields().Append(index.CreateField(c));
      t.Indexes().Append(index);
    }
    for (const RelationAgent& r : kRelations) {
      dao::Relation relation = bd().CreateRelation(r.nom, r.table, r.etrangere);
      for (const auto& [champ, etranger] : r.paires) {
        dao::Field f = relation.CreateField(champ);
        f.SetForeignName(etranger);
        relation.Fields().Append(f);
      }
      bd().Relations().Append(relation);
    }
  }

  void remplit() {
    for (const char* a : {"7", "12", "31"}) sql(std::string("INSERT INTO AGENT VALUES ('") + a + "', 'Agent " + a + "')");
    sql("INSERT INTO 6443IND VALUES ('7', '2012', '01', 3)");
    sql("INSERT INTO 6443IND VALUES ('12', '2012', '01', 1)");
    sql("INSERT INTO 6443INDA VALUES ('7', '2012', '01', 'Extension')");
    sql("INSERT INTO 6443INDC VALUES ('7', '2012', '01', '001')");
    sql("INSERT INTO 6443INDE VALUES ('12', '2012', '01', '002')");
    sql("INSERT INTO 6443INDP VALUES ('7', '2012', '01', '003', '12345', 'PC', '00001')");
    sql("INSERT INTO COMGEO VALUES ('001', '7')");
    sql("INSERT INTO COMGEO VALUES ('002', '12')");
    sql("INSERT INTO SECCOMGEO VALUES ('001', '7', 'AB')");
    sql("INSERT INTO COMASF VALUES ('001', '31')");
    sql("INSERT INTO SECCOMASF VALUES ('001', '31', 'CD')");
    sql("INSERT INTO SECTFONC VALUES ('S01', '12')");
    sql("INSERT INTO INSPECTION VALUES ('I01', '31')");
    sql("INSERT INTO FICHE VALUES (1, '7', '12', '31', '001', #03/25/2012#, 'A')");
    sql("INSERT INTO FICHE VALUES (2, Null, '7', Null, '002', Null, 'B')");
    sql("INSERT INTO FICHEVSL VALUES (1, '12')");
    sql("INSERT INTO ARCHIVEFICHE VALUES (1, '7', Null)");
    sql("INSERT INTO ARCHIVEVSL VALUES (1, '31')");
    sql("INSERT INTO REJETREGROUP VALUES (1, '12', '7', '31', '001')");
    sql("INSERT INTO VERR6443 VALUES ('7', '2012', '02')");
  }

  // Every field as "name type size required", every index and every relation, as text.
  Textes structure() {
    Textes out;
    for (const char* t : kTables) {
      for (const dao::Field& f : bd().TableDefs(t).Fields())
        out.push_back(std::string(t) + "." + f.Name() + " " + std::to_string(f.Type()) + " " +
                      std::to_string(f.Size()) + (f.Required() ? " requis" : ""));
      for (const dao::Index& i : bd().TableDefs(t).Indexes()) {
        if (i.Foreign()) continue;  // made by a relation, compared with it
        std::string s = std::string(t) + " index " + i.Name() + (i.Primary() ? " P" : "") + (i.Unique() ? " U" : "");
        for (const dao::Field& f : i.Fields()) s += " " + f.Name();
        out.push_back(s);
      }
    }
    for (const dao::Relation& r : bd().Relations()) {
      std::string s = "relation " + r.Name() + " " + r.Table() + ">" + r.ForeignTable() + " " +
                      std::to_string(r.Attributes());
      for (const dao::Field& f : r.Fields()) s += " " + f.Name() + "=" + f.ForeignName();
      out.push_back(s);
    }
    std::sort(out.begin(), out.end());
    return out;
  }
  // The structure as the step means to leave it: agent codes text 3, required as it says.
  Textes attendue(Textes avant) {
    for (const auto& [t, c, requis] : kChampsAgent) {
      const std::string debut = std::string(t) + "." + c + " ";
      for (std::string& ligne : avant)
        if (ligne.rfind(debut, 0) == 0) ligne = debut + "10 3" + (requis ? " requis" : "");
    }
    std::sort(avant.begin(), avant.end());
    return avant;
  }
  std::map<std::string, long> comptes() {
    std::map<std::string, long> out;
    for (const char* t : kTables) out[t] = compte(t);
    return out;
  }
  static Textes lignesOk() {
    Textes out;
    for (const auto& [t, c, requis] : kChampsAgent)
      out.push_back(std::string(" - Modification du champ ") + c + " de la table " + t + " : Ok");
    return out;
  }
};

TEST_F(CodeAgentTest, OnEmptyTablesEveryFieldIsRebuiltAndEveryIndexAndRelationComesBack) {
  const Textes avant = structure();
  ASSERT_EQ(std::count_if(avant.begin(), avant.end(), [](const std::string& s) { return s.rfind("relation ", 0) == 0; }),
            15);
  forme.MAJCodeAgent();
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), lignesOk());
  EXPECT_EQ(structure(), attendue(avant));
  // Each field keeps its place among the table's fields.
  Textes fiche;
  for (const dao::Field& f : bd().TableDefs("FICHE").Fields()) fiche.push_back(f.Name());
  EXPECT_EQ(fiche, (Textes{"NUFICHE", "COFICGEOT", "COFICGEOG", "COFICASF", "COCNE", "DAFICCRO", "COFICTYP"}));

  // The keys hold three characters now, and the relations are enforced again.
  sql("INSERT INTO AGENT (COAGENT, LIAGENT) VALUES ('007', 'Bond')");
  sql("INSERT INTO FICHEVSL (NUVSL, COAGENT) VALUES (1, '007')");
  EXPECT_THROW(sql("INSERT INTO FICHEVSL (NUVSL, COAGENT) VALUES (2, '008')"), platform::Error);
  EXPECT_THROW(sql("INSERT INTO AGENT (COAGENT, LIAGENT) VALUES ('007', 'Bis')"), platform::Error);

  // A second run finds everything it drops and does it all again.
  const Textes apres = structure();
  sql("DELETE FROM FICHEVSL");
  sql("DELETE FROM AGENT");
  forme.MAJCodeAgent();
  EXPECT_TRUE(forme.erreurs.empty()) << forme.erreurs[0];
  EXPECT_EQ(journal(), lignesOk());
  EXPECT_EQ(structure(), apres);
}

TEST_F(CodeAgentTest, AMissingRelationEndsTheStepBeforeAnyIndexOrField) {
  bd().Relations().Delete("AGENTFICHE1");
  const Textes avant = structure();
  forme.MAJCodeAgent();
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"MAJCodeAgent", 3265}}));
  EXPECT_TRUE(journal().empty());
  // The eight relations before it are gone; nothing else changed.
  Textes reste = structure();
  Textes perdues;
  std::set_difference(avant.begin(), avant.end(), reste.begin(), reste.end(), std::back_inserter(perdues));
  EXPECT_EQ(perdues.size(), 8u);
  for (const std::string& p : perdues) EXPECT_EQ(p.rfind("relation ", 0), 0u) << p;
}

// "WHERE F <> null" is never true under Jet's three-valued logic: no code is copied. The
// optional fields come back text 3 and empty; each required one refuses its Nulls (3314) and
// keeps "champtemp"; the keys over them cannot be made on Nulls (3058) and, without them, no
// relation finds its unique index (3251). Rows stay; the step runner's transaction then
// leaves the file as it was.
TEST_F(CodeAgentTest, OnTablesWithRowsNoCodeIsCopiedAndTheRequiredFieldsRefuseTheirNulls) {
  remplit();
  const std::map<std::string, long> avant = comptes();
  forme.MAJCodeAgent();
  std::vector<Signalee> attendues(8, {"ModifChampCoAgent", 3314});
  attendues.insert(attendues.end(), 9, {"CreeIndex", 3058});
  attendues.insert(attendues.end(), 15, {"CreeRelation", 3251});
  EXPECT_EQ(erreurs(), attendues);
  Textes ok;
  for (const auto& [t, c, requis] : kChampsAgent)
    if (!requis) ok.push_back(std::string(" - Modification du champ ") + c + " de la table " + t + " : Ok");
  EXPECT_EQ(journal(), ok);
  EXPECT_EQ(comptes(), avant);

  for (const auto& [t, c, requis] : kChampsAgent) {
    const dao::Field f = bd().TableDefs(t).Fields(c);
    EXPECT_EQ(f.Type(), dao::dbText) << t << "." << c;
    EXPECT_EQ(f.Size(), 3) << t << "." << c;
    EXPECT_EQ(f.Required(), requis) << t << "." << c;
    EXPECT_EQ(lignes(std::string("SELECT COUNT(*) FROM [") + t + "] WHERE [" + c + "] IS NOT NULL"), (Lignes{{"0"}}))
        << t << "." << c;
    EXPECT_EQ(forme.ExisteChamp(t, "champtemp"), requis) << t;
  }
  // The other fields keep their values.
  EXPECT_EQ(lignes("SELECT NUFICHE, COCNE, COFICTYP FROM FICHE ORDER BY NUFICHE"),
            (Lignes{{"1", "001", "A"}, {"2", "002", "B"}}));
  EXPECT_EQ(lignes("SELECT LIAGENT FROM AGENT ORDER BY LIAGENT"), (Lignes{{"Agent 12"}, {"Agent 31"}, {"Agent 7"}}));
  // Only the indexes that are not keys are back; no relation is.
  Textes reste;
  for (const std::string& s : structure())
    if (s.find(" index ") != std::string::npos || s.rfind("relation ", 0) == 0) reste.push_back(s);
  EXPECT_EQ(reste, (Textes{"FICHE index Idx6443Ind COFICGEOT DAFICCRO COFICTYP", "FICHE index IdxComGeo COFICGEOG COCNE",
                           "REJETREGROUP index IdxComGeo COFICGEOG COCNE"}));

  // A second run stops at once: the relations it drops are not there.
  forme.MAJCodeAgent();
  EXPECT_EQ(erreurs(), (std::vector<Signalee>{{"MAJCodeAgent", 3265}}));
  EXPECT_TRUE(journal().empty());
}

}  // namespace
}  // namespace etapes_test
