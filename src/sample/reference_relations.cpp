// The relations of the agent codes, with the names the agent-code change deletes and
// recreates: AGENT to each table holding an agent, the monthly statement to its details, a
// commune's agent to his sections. All enforce integrity without cascades (attributes 0),
// as the change recreates them; they are made once the rows are in, every code a row holds
// being one of the referenced table.
#include "sample/construction.h"
#include "sample/reference_tables.h"

namespace echantillon::reference {

void RelieAgents(dao::Database& bd) {
  using construction::Relie;
  const std::vector<std::pair<std::string, std::string>> agent{{"COAGENT", "COAGENT"}};
  const std::vector<std::pair<std::string, std::string>> mois{
      {"COAGENT", "COAGENT"}, {"PAI6443", "PAI6443"}, {"PMI6443", "PMI6443"}};
  const std::vector<std::pair<std::string, std::string>> commune{{"COCNE", "COCNE"}, {"COAGENT", "COAGENT"}};
  Relie(bd, "AGENTSECTFONC", "AGENT", "SECTFONC", agent);
  Relie(bd, "AGENTINSPECTION", "AGENT", "INSPECTION", agent);
  Relie(bd, "AGENT6443IND", "AGENT", "6443IND", agent);
  for (const char* detail : {"6443INDA", "6443INDC", "6443INDE", "6443INDP"})
    Relie(bd, std::string("6443IND") + detail, "6443IND", detail, mois);
  Relie(bd, "AGENTFICHE", "AGENT", "FICHE", {{"COAGENT", "COFICGEOG"}});
  Relie(bd, "AGENTFICHE1", "AGENT", "FICHE", {{"COAGENT", "COFICGEOT"}});
  Relie(bd, "AGENTFICHE2", "AGENT", "FICHE", {{"COAGENT", "COFICASF"}});
  Relie(bd, "AGENTFICHEVSL", "AGENT", "FICHEVSL", agent);
  Relie(bd, "AGENTCOMGEO", "AGENT", "COMGEO", agent);
  Relie(bd, "COMGEOSECCOMGEO", "COMGEO", "SECCOMGEO", commune);
  Relie(bd, "AGENTCOMASF", "AGENT", "COMASF", agent);
  Relie(bd, "COMASFSECCOMASF", "COMASF", "SECCOMASF", commune);
}

}  // namespace echantillon::reference
