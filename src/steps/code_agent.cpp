// The agent-code fields rebuilt as 3-character text: what holds on to them (relations, then
// indexes) goes first, each field is rebuilt by ModifChampCoAgent, and the indexes and
// relations are made again, these without cascades. Only the relation drops are this step's
// own: an error there ends it under "MAJCodeAgent". The toolkit's operations report their
// own errors and the step goes on, so a field that could not be rebuilt leaves its index and
// relations to fail in turn, each reported by name.
#include <array>

#include "steps/etapes.h"

namespace steps {

void EtapesMiseAJour::MAJCodeAgent() {
  piege("MAJCodeAgent", [&] {
    for (const char* relation :
         {"AGENTSECTFONC", "AGENTINSPECTION", "AGENT6443IND", "6443IND6443INDA", "6443IND6443INDC", "6443IND6443INDE",
          "6443IND6443INDP", "AGENTFICHE", "AGENTFICHE1", "AGENTFICHE2", "AGENTFICHEVSL", "AGENTCOMGEO",
          "COMGEOSECCOMGEO", "AGENTCOMASF", "COMASFSECCOMASF"})
      BaseEnCours().Relations().Delete(relation);

    for (const char* table : {"AGENT", "6443IND", "6443INDA", "6443INDC", "6443INDE", "6443INDP", "COMGEO", "COMASF"})
      SuppIndex(table, "PrimaryKey");
    SuppIndex("FICHE", "Idx6443Ind");
    SuppIndex("FICHE", "IdxComGeo");
    SuppIndex("VERR6443", "PrimaryKey");
    SuppIndex("REJETREGROUP", "IdxComGeo");

    struct ChampAgent {
      const char* table;
      const char* champ;
      bool requis;
    };
    for (const ChampAgent& c : std::array<ChampAgent, 23>{{{"AGENT", "COAGENT", true},
                                                           {"6443IND", "COAGENT", true},
                                                           {"6443INDA", "COAGENT", true},
                                                           {"6443INDC", "COAGENT", true},
                                                           {"6443INDE", "COAGENT", true},
                                                           {"6443INDP", "COAGENT", true},
                                                           {"COMGEO", "COAGENT", true},
                                                           {"SECCOMGEO", "COAGENT", false},
                                                           {"COMASF", "COAGENT", true},
                                                           {"SECCOMASF", "COAGENT", false},
                                                           {"SECTFONC", "COAGENT", false},
                                                           {"INSPECTION", "COAGENT", false},
                                                           {"FICHE", "COFICGEOT", false},
                                                           {"FICHE", "COFICGEOG", false},
                                                           {"FICHE", "COFICASF", false},
                                                           {"FICHEVSL", "COAGENT", false},
                                                           {"ARCHIVEFICHE", "COAGENT1", false},
                                                           {"ARCHIVEFICHE", "COAGENT2", false},
                                                           {"ARCHIVEVSL", "COAGENT", false},
                                                           {"REJETREGROUP", "COFICGEOG", false},
                                                           {"REJETREGROUP", "COFICGEOT", false},
                                                           {"REJETREGROUP", "COFICASF", false},
                                                           {"VERR6443", "COVAGENT", false}}})
      ModifChampCoAgent(c.table, c.champ, c.requis, "10", 3);

    CreeIndex("AGENT", "PrimaryKey", true, "COAGENT");
    CreeIndex("6443IND", "PrimaryKey", true, "COAGENT", "PAI6443", "PMI6443");
    CreeIndex("6443INDA", "PrimaryKey", true, "COAGENT", "PAI6443", "PMI6443", "LII6ATRAV");
    CreeIndex("6443INDC", "PrimaryKey", true, "COAGENT", "PAI6443", "PMI6443", "CTI6CCNE");
    CreeIndex("6443INDE", "PrimaryKey", true, "COAGENT", "PAI6443", "PMI6443", "CTI6ECNE");
    CreeIndex("6443INDP", "PrimaryKey", true, "COAGENT", "PAI6443", "PMI6443", "CTI6PCNE", "NUI6PPC", "COI6PAUT",
              "NUI6PFIC");
    CreeIndex("COMGEO", "PrimaryKey", true, "COCNE", "COAGENT");
    CreeIndex("COMASF", "PrimaryKey", true, "COCNE", "COAGENT");
    CreeIndex("FICHE", "IdxComGeo", false, "COFICGEOG", "COCNE");
    CreeIndex("FICHE", "Idx6443Ind", false, "COFICGEOT", "DAFICCRO", "COFICTYP");
    CreeIndex("VERR6443", "PrimaryKey", true, "COVAGENT", "PAVI6443", "PMVI6443");
    CreeIndex("REJETREGROUP", "IdxComGeo", false, "COFICGEOG", "COCNE");

    CreeRelation("AGENT", "SECTFONC", "AGENTSECTFONC", false, "COAGENT", "COAGENT");
    CreeRelation("AGENT", "INSPECTION", "AGENTINSPECTION", false, "COAGENT", "COAGENT");
    CreeRelation("AGENT", "6443IND", "AGENT6443IND", false, "COAGENT", "COAGENT");
    for (const char* suffixe : {"A", "C", "E", "P"})
      CreeRelation("6443IND", std::string("6443IND") + suffixe, std::string("6443IND6443IND") + suffixe, false,
                   "COAGENT", "COAGENT", "PAI6443", "PAI6443", "PMI6443", "PMI6443");
    CreeRelation("AGENT", "COMGEO", "AGENTCOMGEO", false, "COAGENT", "COAGENT");
    CreeRelation("COMGEO", "SECCOMGEO", "COMGEOSECCOMGEO", false, "COCNE", "COCNE", "COAGENT", "COAGENT");
    CreeRelation("AGENT", "COMASF", "AGENTCOMASF", false, "COAGENT", "COAGENT");
    CreeRelation("COMASF", "SECCOMASF", "COMASFSECCOMASF", false, "COCNE", "COCNE", "COAGENT", "COAGENT");
    CreeRelation("AGENT", "FICHE", "AGENTFICHE", false, "COAGENT", "COFICGEOG");
    CreeRelation("AGENT", "FICHE", "AGENTFICHE1", false, "COAGENT", "COFICGEOT");
    CreeRelation("AGENT", "FICHE", "AGENTFICHE2", false, "COAGENT", "COFICASF");
    CreeRelation("AGENT", "FICHEVSL", "AGENTFICHEVSL", false, "COAGENT", "COAGENT");
  });
}

}  // namespace steps
