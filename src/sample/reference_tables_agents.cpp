// The agents of the office and the communes they hold: AGENT, the surveyor of each commune
// (COMGEO) and his cadastral sections (SECCOMGEO), the land-office agent of each commune
// (COMASF) and his sections (SECCOMASF).
//
// Agent types (COAGETYP), as chosen here: '1' inspector, '2' surveyor, '3' survey
// technician, '4' land-office agent; the surveyors and technicians are those who may draw
// plans (coageappplan). COAGEADMIN: '1' administrator of the application, '2' secondary
// administrator, '0' neither.
//
// The section tables have no key: a key would cover COAGENT, and the agent-code change must
// be able to delete and recreate that field; their relations give them their only index on it.
#include "sample/construction.h"
#include "sample/reference_tables.h"

namespace echantillon::reference {
namespace {

jet::TableDesign TableAgent() {
  jet::TableDesign t = Table("AGENT", {{"COAGENT", dao::dbText, 2},
                                       {"LIAGENOM", dao::dbText, 40},
                                       {"LIAGEPRE", dao::dbText, 30},
                                       {"COAGETYP", dao::dbText, 1},
                                       {"COAGEADMIN", dao::dbText, 1},
                                       {"coageappplan", dao::dbText, 1},
                                       {"NUAGETEL", dao::dbText, 14},
                                       {"COCDIDEP", dao::dbText, 3},
                                       {"COCDIDIR", dao::dbText, 2},
                                       {"COCDIF", dao::dbText, 2}});
  AjouteIndex(t, "PrimaryKey", {"COAGENT"}, true);
  AjouteIndex(t, "LIAGENOM", {"LIAGENOM"}, false);
  return t;
}

jet::TableDesign TableCommune(const char* nom, const char* date) {
  jet::TableDesign t = Table(nom, {{"COCNE", dao::dbText, 5}, {"COAGENT", dao::dbText, 2}, {date, dao::dbDate}});
  AjouteIndex(t, "PrimaryKey", {"COCNE", "COAGENT"}, true);
  return t;
}

jet::TableDesign TableSections(const char* nom) {
  jet::TableDesign t =
      Table(nom, {{"COCNE", dao::dbText, 5}, {"COAGENT", dao::dbText, 2}, {"COSECTION", dao::dbText, 2}});
  AjouteIndex(t, "COSECTION", {"COSECTION"}, false);
  return t;
}

}  // namespace

std::vector<jet::TableDesign> TablesAgents() {
  return {TableAgent(), TableCommune("COMGEO", "DACOMGEO"), TableSections("SECCOMGEO"),
          TableCommune("COMASF", "DACOMASF"), TableSections("SECCOMASF")};
}

void RemplitAgents(dao::Database& bd, const BaseEchantillon& base) {
  const V dep(base.site.cocdidep), dir(base.site.cocdidir), cdif(base.site.cocdif);
  const V null = V::Null();
  AjouteLignes(bd, "AGENT",
               {"COAGENT", "LIAGENOM", "LIAGEPRE", "COAGETYP", "COAGEADMIN", "coageappplan", "NUAGETEL", "COCDIDEP",
                "COCDIDIR", "COCDIF"},
               {{kInspecteur, "Lefèvre", "Anne", "1", "1", null, "03 20 12 35 00", dep, dir, cdif},
                {kGeometres[0], "d'Hondt", "Marc", "2", "0", "0", "03 20 12 35 07", dep, dir, cdif},
                {kGeometres[1], "Œillet", "Sophie", "2", "2", null, null, dep, dir, cdif},
                {kTechnicien, "Vanderbeke", "Jérôme", "3", "0", "0", "03 20 12 35 15", dep, dir, cdif},
                {kAgentsAsf[0], "Dupré-Lemaire", "Hélène", "4", "0", null, "03 20 12 35 21", dep, dir, cdif},
                {kGeometres[2], "Ben Saïd", "Karim", "2", "0", "1", "03 20 12 35 24", dep, dir, cdif},
                {kAgentsAsf[1], "Martin", "", "4", "0", null, null, dep, dir, cdif}});

  AjouteLignes(bd, "COMGEO", {"COCNE", "COAGENT", "DACOMGEO"},
               {{kCommunes[0], kGeometres[0], Jour(2009, 9, 1)},
                {kCommunes[1], kGeometres[1], Jour(2011, 3, 14)},
                {kCommunes[2], kGeometres[2], Jour(2012, 1, 2)},
                {kCommunes[2], kTechnicien, null}});
  AjouteLignes(bd, "SECCOMGEO", {"COCNE", "COAGENT", "COSECTION"},
               {{kCommunes[0], kGeometres[0], "AB"},
                {kCommunes[0], kGeometres[0], "AC"},
                {kCommunes[1], kGeometres[1], "ZA"},
                {kCommunes[2], kGeometres[2], "BK"},
                {kCommunes[2], null, "BL"}});
  AjouteLignes(bd, "COMASF", {"COCNE", "COAGENT", "DACOMASF"},
               {{kCommunes[0], kAgentsAsf[0], Jour(2010, 5, 3)},
                {kCommunes[1], kAgentsAsf[1], Jour(2012, 10, 1)},
                {kCommunes[2], kAgentsAsf[0], null}});
  AjouteLignes(bd, "SECCOMASF", {"COCNE", "COAGENT", "COSECTION"},
               {{kCommunes[0], kAgentsAsf[0], "AB"},
                {kCommunes[1], kAgentsAsf[1], "ZA"},
                {kCommunes[1], kAgentsAsf[1], "ZB"},
                {kCommunes[2], kAgentsAsf[0], "BK"}});
}

}  // namespace echantillon::reference
