// The four probes. A name matches when the stored name and the asked one are equal once
// trimmed of spaces and upper-cased; blanks inside a name count. System tables and hidden
// queries are walked like the rest.
#include "platform/vbstring.h"
#include "schema/outils_schema.h"

namespace schema {
namespace {

std::string cle(const std::string& nom) { return platform::UCase(platform::Trim(nom)); }

// True when one member of `collection` has the name `nom`; the walk stops at the first.
template <class Collection>
bool contient(const Collection& collection, const std::string& nom, bool& resultat) {
  const std::string voulu = cle(nom);
  for (const auto& membre : collection) {
    if (cle(membre.Name()) == voulu) {
      resultat = true;
      break;
    }
  }
  return resultat;
}

}  // namespace

bool OutilsSchema::ExisteTable(const std::string& table) {
  bool resultat = false;
  piege("ExisteTable", [&] { contient(BaseEnCours().TableDefs(), table, resultat); });
  return resultat;
}

bool OutilsSchema::ExisteReq(const std::string& requete) {
  bool resultat = false;
  piege("ExisteReq", [&] { contient(BaseEnCours().QueryDefs(), requete, resultat); });
  return resultat;
}

// The table is looked up by the engine, as named (case ignored, blanks not trimmed): a
// missing table is an error reported under the probe's name, not a silent false.
bool OutilsSchema::ExisteChamp(const std::string& table, const std::string& champ) {
  bool resultat = false;
  piege("ExisteChamp", [&] { contient(BaseEnCours().TableDefs(table).Fields(), champ, resultat); });
  return resultat;
}

bool OutilsSchema::ExisteIndex(const std::string& table, const std::string& index) {
  bool resultat = false;
  piege("ExisteIndex", [&] { contient(BaseEnCours().TableDefs(table).Indexes(), index, resultat); });
  return resultat;
}

}  // namespace schema
