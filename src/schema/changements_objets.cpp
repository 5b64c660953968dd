// Changes to saved queries, indexes and relations. Only ModifRequete tests first; the others
// report the engine's error when run a second time.
#include "platform/dao/constants.h"
#include "schema/outils_schema.h"

namespace schema {

using namespace platform::dao;

void OutilsSchema::ModifRequete(const std::string& nom, const std::string& sql) {
  piege("ModifRequete", [&] {
    if (ExisteReq(nom)) BaseEnCours().QueryDefs().Delete(nom);
    BaseEnCours().CreateQueryDef(nom, sql);  // saved at once, having a name
    EcritJournalBase(" - Modification de la requête " + nom + " : Ok");
  });
}

void OutilsSchema::SuppIndex(const std::string& table, const std::string& index) {
  piege("SuppIndex", [&] {
    TableDef definition = BaseEnCours().TableDefs(table);
    const std::string nom = definition.Indexes(index).Name();
    definition.Indexes().Delete(nom);
  });
}

void OutilsSchema::CreeIndex(const std::string& table, const std::string& nom, bool primaire,
                             const std::string& champ1, const std::string& champ2, const std::string& champ3,
                             const std::string& champ4, const std::string& champ5, const std::string& champ6,
                             const std::string& champ7) {
  piege("CreeIndex", [&] {
    TableDef definition = BaseEnCours().TableDefs(table);
    Index index = definition.CreateIndex(nom);
    if (primaire) index.SetPrimary(true);
    index.Fields().Append(index.CreateField(champ1));  // always, even empty
    for (const std::string* champ : {&champ2, &champ3, &champ4, &champ5, &champ6, &champ7})
      if (!champ->empty()) index.Fields().Append(index.CreateField(*champ));
    definition.Indexes().Append(index);
  });
}

void OutilsSchema::CreeRelation(const std::string& table, const std::string& tableEtrangere, const std::string& nom,
                                bool majCascade, const std::string& champ1, const std::string& etranger1,
                                const std::string& champ2, const std::string& etranger2, const std::string& champ3,
                                const std::string& etranger3) {
  piege("CreeRelation", [&] {
    Relation relation = BaseEnCours().CreateRelation();
    if (majCascade) relation.SetAttributes(dbRelationUpdateCascade);
    relation.SetForeignTable(tableEtrangere);
    relation.SetName(nom);
    relation.SetTable(table);
    auto ajoute = [&](const std::string& champ, const std::string& etranger) {
      Field paire = relation.CreateField(champ);
      paire.SetForeignName(etranger);
      relation.Fields().Append(paire);
    };
    ajoute(champ1, etranger1);
    if (!champ2.empty()) ajoute(champ2, etranger2);
    if (!champ3.empty()) ajoute(champ3, etranger3);
    Collection<Relation> relations = BaseEnCours().Relations();
    relations.Refresh();
    relations.Append(relation);
    relations.Refresh();
  });
}

}  // namespace schema
