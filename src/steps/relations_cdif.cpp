// The offices' relations: to their direction (DSF), their inspections and sectors, and to
// the agent who is their secondary administrator.
#include "platform/dao/constants.h"
#include "steps/etapes.h"

namespace steps {

using schema::dao::dbFailOnError;

namespace {

// CreeRelation's steps written out, with cascading updates: an error is the caller's.
void Relie(schema::dao::Database& bd, const std::string& table, const std::string& etrangere, const std::string& nom,
           std::initializer_list<std::pair<const char*, const char*>> paires) {
  schema::dao::Relation relation = bd.CreateRelation();
  relation.SetAttributes(schema::dao::dbRelationUpdateCascade);
  relation.SetForeignTable(etrangere);
  relation.SetName(nom);
  relation.SetTable(table);
  for (const auto& [champ, etranger] : paires) {
    schema::dao::Field paire = relation.CreateField(champ);
    paire.SetForeignName(etranger);
    relation.Fields().Append(paire);
  }
  schema::dao::Collection<schema::dao::Relation> relations = bd.Relations();
  relations.Refresh();
  relations.Append(relation);
  relations.Refresh();
}

}  // namespace

void EtapesMiseAJour::CreationRelationTable() {
  piege("CreationRelationTable", [&] {
    Relie(BaseEnCours(), "DSF", "CDIF", "Rlt_DSFCDIF", {{"CODSFDEP", "COCDIDEP"}, {"CODSFDIR", "COCDIDIR"}});
    Relie(BaseEnCours(), "CDIF", "INSPECTION", "Rlt_CDIFINSP",
          {{"COCDIDEP", "COCDIDEP"}, {"COCDIDIR", "COCDIDIR"}, {"COCDIF", "COCDIF"}});
    Relie(BaseEnCours(), "CDIF", "SECTFONC", "Rlt_CDIFSECTFONC",
          {{"COCDIDEP", "COCDIDEP"}, {"COCDIDIR", "COCDIDIR"}, {"COCDIF", "COCDIF"}});
  });
}

// The field and the relation trap their own errors: on a second run the field's line says it
// exists, the relation's refusal is reported under CreeRelation, and the update runs again.
void EtapesMiseAJour::MAJ_Admin_Secondaire() {
  piege("MAJ_Admin_Secondaire", [&] {
    CreChamp("CDIF", "COAGEADMSEC", "10", 3);
    CreeRelation("AGENT", "CDIF", "AGENTCDIF", false, "COAGENT", "COAGEADMSEC", "", "", "", "");
    schema::dao::Recordset rs = BaseEnCours().OpenRecordset("select * from agent where COAGEADMIN = '2'");
    if (!rs.Eof())
      BaseEnCours().Execute("Update CDIF SET COAGEADMSEC = " + Litteral(rs("coagent").Text()) +
                                " WHERE COCDITYPE = '1'",
                            dbFailOnError);
    rs.Close();
  });
}

}  // namespace steps
