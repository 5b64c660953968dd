// The reference database built once for a group of tests (30 case records, the Lille site),
// on a workstation of its own in a scratch folder; tests that change a database work on a
// copy of it. Also: the form that carries the schema toolkit over an open database, keeping
// its log lines and the errors it reports, and a shell runner for mdbtools and `jet`.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/dao/dao.h"
#include "platform/workstation.h"
#include "sample/reference_database.h"
#include "schema/outils_schema.h"
#include "support/scratch_folder.h"

namespace reference_test {

namespace fs = std::filesystem;
namespace dao = platform::dao;

inline constexpr int kFiches = 30;
inline const std::string kChemin = "C:\\Bases\\Quelis.mdb";

inline echantillon::BaseEchantillon Lille(int fiches = kFiches) {
  echantillon::BaseEchantillon base;
  base.site = {"059", "01", "00", "Centre des impôts fonciers de Lille"};
  base.fiches = fiches;
  return base;
}

// A workstation whose drive C: holds Bases\, removed at the end.
struct Poste {
  Poste() : racine(test_support::ScratchFolder::make("quelis-reference-")) { fs::create_directories(racine / "C" / "Bases"); }
  ~Poste() {
    std::error_code ignore;
    fs::remove_all(racine, ignore);
  }
  fs::path fichier(const std::string& nom = "Quelis.mdb") const { return racine / "C" / "Bases" / nom; }
  fs::path racine;
  platform::FolderWorkstation ws{racine};
  dao::DBEngine moteur{ws};
};

struct ErreurSignalee {
  std::string procedure;
  int numero;
};

class Forme : public schema::OutilsSchema {
 public:
  explicit Forme(dao::Database bd) : Bd(std::move(bd)) {}
  dao::Database Bd;
  std::vector<std::string> journal;
  std::vector<ErreurSignalee> erreurs;
  void ErreurInstallation(const std::string& procedure, const platform::Error& err) override {
    erreurs.push_back({procedure, err.number()});
  }

 protected:
  dao::Database& BaseEnCours() override { return Bd; }
  void EcritJournalBase(const std::string& ligne) override { journal.push_back(ligne); }
};

inline std::string Commande(const std::string& command) {
  std::string out;
  if (FILE* pipe = popen((command + " 2>&1").c_str(), "r")) {
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe)) out += buffer;
    pclose(pipe);
  }
  return out;
}

// What the update steps of earlier releases find in an application database.
inline const std::vector<std::string> kTables{
    "VERSION",  "CDIF",      "SECTFONC",   "INSPECTION",  "AGENT",        "COMGEO",       "SECCOMGEO",
    "COMASF",   "SECCOMASF", "6443IND",    "6443INDA",    "6443INDC",     "6443INDE",     "6443INDP",
    "VERR6443", "FICHE",     "PERMIS",     "FICHEVSL",    "ARCHIVEFICHE", "ARCHIVEVSL",   "REJETREGROUP",
    "IMPORTFICHE", "LETTREFICHE", "PILOTETYP", "PILOTE",  "PILOTEDESC",   "PILOTEREF",    "JIMPORT",
    "NATTRAV",  "TYPAUT",    "TYPMANNUL",  "TYPUTILL",    "TYPNATLOG",    "typimprime",   "IMPRESSION",
    "ETAT",     "MC_DONNEE", "PARAMETRE",  "RECHERCHE",   "RECHERCHEVSL"};
// The tables the table-creation steps make.
inline const std::vector<std::string> kTablesACreer{"PAYS",      "TYPDESTCOLL", "TYPCENTRE", "DSF",
                                                   "IMPORTPANNULE", "IMPORTDAT", "PREFIXEFIC"};

// The agent-code fields the agent-code change rebuilds, with the required flag it gives them.
struct ChampAgent {
  std::string table, champ;
  bool requis;
};
inline const std::vector<ChampAgent> kChampsAgent{
    {"AGENT", "COAGENT", true},          {"6443IND", "COAGENT", true},        {"6443INDA", "COAGENT", true},
    {"6443INDC", "COAGENT", true},       {"6443INDE", "COAGENT", true},       {"6443INDP", "COAGENT", true},
    {"COMGEO", "COAGENT", true},         {"SECCOMGEO", "COAGENT", false},     {"COMASF", "COAGENT", true},
    {"SECCOMASF", "COAGENT", false},     {"SECTFONC", "COAGENT", false},      {"INSPECTION", "COAGENT", false},
    {"FICHE", "COFICGEOT", false},       {"FICHE", "COFICGEOG", false},       {"FICHE", "COFICASF", false},
    {"FICHEVSL", "COAGENT", false},      {"ARCHIVEFICHE", "COAGENT1", false}, {"ARCHIVEFICHE", "COAGENT2", false},
    {"ARCHIVEVSL", "COAGENT", false},    {"REJETREGROUP", "COFICGEOG", false}, {"REJETREGROUP", "COFICGEOT", false},
    {"REJETREGROUP", "COFICASF", false}, {"VERR6443", "COVAGENT", false}};

// The indexes it drops and recreates.
struct IndexAgent {
  std::string table, nom;
  bool primaire;
  std::vector<std::string> champs;
};
inline const std::vector<IndexAgent> kIndexAgent{
    {"AGENT", "PrimaryKey", true, {"COAGENT"}},
    {"6443IND", "PrimaryKey", true, {"COAGENT", "PAI6443", "PMI6443"}},
    {"6443INDA", "PrimaryKey", true, {"COAGENT", "PAI6443", "PMI6443", "LII6ATRAV"}},
    {"6443INDC", "PrimaryKey", true, {"COAGENT", "PAI6443", "PMI6443", "CTI6CCNE"}},
    {"6443INDE", "PrimaryKey", true, {"COAGENT", "PAI6443", "PMI6443", "CTI6ECNE"}},
    {"6443INDP", "PrimaryKey", true, {"COAGENT", "PAI6443", "PMI6443", "CTI6PCNE", "NUI6PPC", "COI6PAUT", "NUI6PFIC"}},
    {"COMGEO", "PrimaryKey", true, {"COCNE", "COAGENT"}},
    {"COMASF", "PrimaryKey", true, {"COCNE", "COAGENT"}},
    {"FICHE", "Idx6443Ind", false, {"COFICGEOT", "DAFICCRO", "COFICTYP"}},
    {"FICHE", "IdxComGeo", false, {"COFICGEOG", "COCNE"}},
    {"VERR6443", "PrimaryKey", true, {"COVAGENT", "PAVI6443", "PMVI6443"}},
    {"REJETREGROUP", "IdxComGeo", false, {"COFICGEOG", "COCNE"}}};

// The relations it deletes and recreates, in its order: (primary table, foreign table,
// pairs of fields).
struct RelationAgent {
  std::string nom, table, etrangere;
  std::vector<std::pair<std::string, std::string>> paires;
};
inline const std::vector<RelationAgent> kRelationsAgent{
    {"AGENTSECTFONC", "AGENT", "SECTFONC", {{"COAGENT", "COAGENT"}}},
    {"AGENTINSPECTION", "AGENT", "INSPECTION", {{"COAGENT", "COAGENT"}}},
    {"AGENT6443IND", "AGENT", "6443IND", {{"COAGENT", "COAGENT"}}},
    {"6443IND6443INDA", "6443IND", "6443INDA", {{"COAGENT", "COAGENT"}, {"PAI6443", "PAI6443"}, {"PMI6443", "PMI6443"}}},
    {"6443IND6443INDC", "6443IND", "6443INDC", {{"COAGENT", "COAGENT"}, {"PAI6443", "PAI6443"}, {"PMI6443", "PMI6443"}}},
    {"6443IND6443INDE", "6443IND", "6443INDE", {{"COAGENT", "COAGENT"}, {"PAI6443", "PAI6443"}, {"PMI6443", "PMI6443"}}},
    {"6443IND6443INDP", "6443IND", "6443INDP", {{"COAGENT", "COAGENT"}, {"PAI6443", "PAI6443"}, {"PMI6443", "PMI6443"}}},
    {"AGENTFICHE", "AGENT", "FICHE", {{"COAGENT", "COFICGEOG"}}},
    {"AGENTFICHE1", "AGENT", "FICHE", {{"COAGENT", "COFICGEOT"}}},
    {"AGENTFICHE2", "AGENT", "FICHE", {{"COAGENT", "COFICASF"}}},
    {"AGENTFICHEVSL", "AGENT", "FICHEVSL", {{"COAGENT", "COAGENT"}}},
    {"AGENTCOMGEO", "AGENT", "COMGEO", {{"COAGENT", "COAGENT"}}},
    {"COMGEOSECCOMGEO", "COMGEO", "SECCOMGEO", {{"COCNE", "COCNE"}, {"COAGENT", "COAGENT"}}},
    {"AGENTCOMASF", "AGENT", "COMASF", {{"COAGENT", "COAGENT"}}},
    {"COMASFSECCOMASF", "COMASF", "SECCOMASF", {{"COCNE", "COCNE"}, {"COAGENT", "COAGENT"}}}};

// Every row of `sql`, the fields `champs` as display texts ("" for Null).
inline std::vector<std::vector<std::string>> Lignes(dao::Database& bd, const std::string& sql,
                                                    const std::vector<std::string>& champs) {
  std::vector<std::vector<std::string>> out;
  dao::Recordset rs = bd.OpenRecordset(sql, dao::dbOpenSnapshot);
  while (!rs.Eof()) {
    std::vector<std::string> ligne;
    for (const auto& champ : champs) ligne.push_back(rs(champ).value().to_display());
    out.push_back(std::move(ligne));
    rs.MoveNext();
  }
  rs.Close();
  return out;
}

inline std::vector<std::string> Colonne(dao::Database& bd, const std::string& sql, const std::string& champ) {
  std::vector<std::string> out;
  for (const auto& ligne : Lignes(bd, sql, {champ})) out.push_back(ligne[0]);
  return out;
}

// The database, built once for the whole group.
class BaseReferenceTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    poste_ = std::make_unique<Poste>();
    echantillon::CreeBaseReference(poste_->moteur, kChemin, Lille());
  }
  static void TearDownTestSuite() { poste_.reset(); }

  static std::string fichier() { return poste_->fichier().string(); }
  static dao::Database ouvre(bool exclusif = false, bool lectureSeule = true) {
    return poste_->moteur.OpenDatabase(kChemin, exclusif, lectureSeule);
  }
  // A copy of the database beside it, for a test that changes it.
  static std::string copie(const std::string& nom) {
    fs::copy_file(poste_->fichier(), poste_->fichier(nom), fs::copy_options::overwrite_existing);
    return "C:\\Bases\\" + nom;
  }
  static dao::DBEngine& moteur() { return poste_->moteur; }

  static inline std::unique_ptr<Poste> poste_;
};

}  // namespace reference_test
