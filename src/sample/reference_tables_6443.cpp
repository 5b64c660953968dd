// The monthly activity statement of the surveyors (form 6443): one row per agent and month
// (6443IND: year PAI6443 on four characters, month PMI6443 on two), its detail by kind of
// work (A), by commune (C), by equipment site (E) and by permit (P), and the months already
// locked (VERR6443). The keys are those the agent-code change drops and recreates.
#include <string>

#include "sample/construction.h"
#include "sample/reference_tables.h"

namespace echantillon::reference {
namespace {

std::vector<Colonne> Mois(std::vector<Colonne> suite) {
  std::vector<Colonne> c{{"COAGENT", dao::dbText, 2}, {"PAI6443", dao::dbText, 4}, {"PMI6443", dao::dbText, 2}};
  c.insert(c.end(), suite.begin(), suite.end());
  return c;
}

jet::TableDesign Table6443(const char* nom, std::vector<Colonne> suite, std::initializer_list<const char*> cle) {
  jet::TableDesign t = Table(nom, Mois(std::move(suite)));
  AjouteIndex(t, "PrimaryKey", cle, true);
  return t;
}

// The statement months: November and December 2012.
constexpr std::array<const char*, 2> kMois{"11", "12"};

}  // namespace

std::vector<jet::TableDesign> Tables6443() {
  jet::TableDesign verrou = Table("VERR6443", {{"COVAGENT", dao::dbText, 2},
                                               {"PAVI6443", dao::dbText, 4},
                                               {"PMVI6443", dao::dbText, 2},
                                               {"DAVVERR", dao::dbDate}});
  AjouteIndex(verrou, "PrimaryKey", {"COVAGENT", "PAVI6443", "PMVI6443"}, true);
  return {Table6443("6443IND",
                    {{"QUI6JOURS", dao::dbInteger}, {"QUI6HEURES", dao::dbDouble}, {"LII6OBS", dao::dbText, 255}},
                    {"COAGENT", "PAI6443", "PMI6443"}),
          Table6443("6443INDA", {{"LII6ATRAV", dao::dbText, 50}, {"QUI6AHEURES", dao::dbDouble}},
                    {"COAGENT", "PAI6443", "PMI6443", "LII6ATRAV"}),
          Table6443("6443INDC", {{"CTI6CCNE", dao::dbText, 5}, {"QUI6CNBFIC", dao::dbInteger}},
                    {"COAGENT", "PAI6443", "PMI6443", "CTI6CCNE"}),
          Table6443("6443INDE",
                    {{"CTI6ECNE", dao::dbText, 5}, {"COI6ECHANT", dao::dbText, 2}, {"QUI6EHEURES", dao::dbDouble}},
                    {"COAGENT", "PAI6443", "PMI6443", "CTI6ECNE"}),
          // A permit is named as the case records name it: number, service, case number.
          Table6443("6443INDP",
                    {{"CTI6PCNE", dao::dbText, 5},
                     {"NUI6PPC", dao::dbText, 15},
                     {"COI6PAUT", dao::dbText, 3},
                     {"NUI6PFIC", dao::dbLong},
                     {"QUI6PHEURES", dao::dbDouble}},
                    {"COAGENT", "PAI6443", "PMI6443", "CTI6PCNE", "NUI6PPC", "COI6PAUT", "NUI6PFIC"}),
          verrou};
}

void Remplit6443(dao::Database& bd) {
  std::vector<std::vector<V>> ind, a, c, e, p;
  for (std::size_t g = 0; g < kGeometres.size(); ++g) {
    const V agent(kGeometres[g]);
    const V commune(kCommunes[g]);
    for (std::size_t m = 0; m < kMois.size(); ++m) {
      const int k = static_cast<int>(g * kMois.size() + m);
      const V mois(kMois[m]);
      ind.push_back({agent, "2012", mois, 18 + k, 126.5 + k, k == 1 ? V("Congés de fin d'année") : V::Null()});
      a.push_back({agent, "2012", mois, "Levés de bâtiments neufs", 60.0 + k});
      a.push_back({agent, "2012", mois, "Mise à jour du plan cadastral", 40.5});
      c.push_back({agent, "2012", mois, commune, 3 + k});
      // Site codes as the equipment statement knows them: "01" to "03".
      e.push_back({agent, "2012", mois, commune, "0" + std::to_string(1 + k % 3), 12.0 + k});
      p.push_back({agent, "2012", mois, commune, "PC0593501" + std::to_string(2000 + k),
                   k % 3 == 0 ? "ADS" : k % 3 == 1 ? "DDT" : "MAI", 1000 + k, 2.5});
    }
  }
  AjouteLignes(bd, "6443IND", {"COAGENT", "PAI6443", "PMI6443", "QUI6JOURS", "QUI6HEURES", "LII6OBS"}, ind);
  AjouteLignes(bd, "6443INDA", {"COAGENT", "PAI6443", "PMI6443", "LII6ATRAV", "QUI6AHEURES"}, a);
  AjouteLignes(bd, "6443INDC", {"COAGENT", "PAI6443", "PMI6443", "CTI6CCNE", "QUI6CNBFIC"}, c);
  AjouteLignes(bd, "6443INDE", {"COAGENT", "PAI6443", "PMI6443", "CTI6ECNE", "COI6ECHANT", "QUI6EHEURES"}, e);
  AjouteLignes(bd, "6443INDP",
               {"COAGENT", "PAI6443", "PMI6443", "CTI6PCNE", "NUI6PPC", "COI6PAUT", "NUI6PFIC", "QUI6PHEURES"}, p);
  AjouteLignes(bd, "VERR6443", {"COVAGENT", "PAVI6443", "PMVI6443", "DAVVERR"},
               {{kGeometres[0], "2012", "11", Jour(2012, 12, 5)}, {kGeometres[1], "2012", "11", Jour(2012, 12, 6)}});
}

}  // namespace echantillon::reference
