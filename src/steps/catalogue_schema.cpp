// The schema toolkit's operations as steps.
#include <optional>

#include "platform/vbstring.h"
#include "steps/arguments.h"
#include "steps/catalogue_familles.h"

namespace steps {

using Args = std::vector<std::string>;

namespace {

std::string Ou(const Args& a, std::size_t i) { return i < a.size() ? a[i] : std::string(); }

}  // namespace

std::vector<Etape> EtapesSchema() {
  std::vector<Etape> c;
  c.push_back(Operation("SupChamp", "TABLE CHAMP", "supprime un champ s'il existe", 2, 2, [](const Args& a) -> EtapePrete {
    return [a](EtapesMiseAJour& o) { o.SupChamp(a[0], a[1]); };
  }));
  c.push_back(Operation("CreChamp", "TABLE CHAMP TYPE TAILLE [DEFAUT]",
                        "ajoute un champ s'il manque (TYPE : code du moteur, 10 texte, 12 mémo...), "
                        "la valeur par défaut est écrite dans les lignes existantes",
                        4, 5, [](const Args& a) -> EtapePrete {
                          const std::int32_t taille = LitEntier(a[3], "TAILLE");
                          LitEntier(a[2], "TYPE");
                          std::optional<platform::dao::Variant> defaut;
                          if (a.size() == 5) defaut = platform::dao::Variant(a[4]);
                          return [a, taille, defaut](EtapesMiseAJour& o) {
                            o.CreChamp(a[0], a[1], a[2], taille, defaut);
                          };
                        }));
  c.push_back(Operation("ModifRequete", "NOM SQL", "remplace ou crée une requête enregistrée", 2, 2,
                        [](const Args& a) -> EtapePrete {
                          return [a](EtapesMiseAJour& o) { o.ModifRequete(a[0], a[1]); };
                        }));
  c.push_back(Operation("ChangeFieldSize", "TABLE CHAMP REQUIS TAILLE ZERO",
                        "change la taille d'un champ en le recopiant (REQUIS, ZERO : Vrai ou Faux)", 5, 5,
                        [](const Args& a) -> EtapePrete {
                          const bool requis = LitBooleen(a[2], "REQUIS");
                          const std::int32_t taille = LitEntier(a[3], "TAILLE");
                          const bool zero = LitBooleen(a[4], "ZERO");
                          return [a, requis, taille, zero](EtapesMiseAJour& o) {
                            o.ChangeFieldSize(a[0], a[1], requis, taille, zero);
                          };
                        }));
  c.push_back(Operation("ModifChampCoAgent", "TABLE CHAMP REQUIS TYPE TAILLE",
                        "reconstruit un champ de code agent (type et taille donnés)", 5, 5,
                        [](const Args& a) -> EtapePrete {
                          const bool requis = LitBooleen(a[2], "REQUIS");
                          LitEntier(a[3], "TYPE");
                          const std::int32_t taille = LitEntier(a[4], "TAILLE");
                          return [a, requis, taille](EtapesMiseAJour& o) {
                            o.ModifChampCoAgent(a[0], a[1], requis, a[3], taille);
                          };
                        }));
  c.push_back(Operation("SuppIndex", "TABLE INDEX", "supprime un index", 2, 2, [](const Args& a) -> EtapePrete {
    return [a](EtapesMiseAJour& o) { o.SuppIndex(a[0], a[1]); };
  }));
  c.push_back(Operation("CreeIndex", "TABLE NOM PRIMAIRE CHAMP1 [CHAMP2 ... CHAMP7]",
                        "crée un index (PRIMAIRE : Vrai ou Faux ; un champ vide \"\" est sauté)", 4, 10,
                        [](const Args& a) -> EtapePrete {
                          const bool primaire = LitBooleen(a[2], "PRIMAIRE");
                          return [a, primaire](EtapesMiseAJour& o) {
                            o.CreeIndex(a[0], a[1], primaire, a[3], Ou(a, 4), Ou(a, 5), Ou(a, 6), Ou(a, 7),
                                        Ou(a, 8), Ou(a, 9));
                          };
                        }));
  c.push_back(Operation("CreeRelation",
                        "TABLE TABLE_ETRANGERE NOM CASCADE CHAMP1 ETRANGER1 [CHAMP2 ETRANGER2 [CHAMP3 ETRANGER3]]",
                        "crée une relation appliquée (CASCADE : mise à jour en cascade, Vrai ou Faux)", 6, 10,
                        [](const Args& a) -> EtapePrete {
                          const bool cascade = LitBooleen(a[3], "CASCADE");
                          return [a, cascade](EtapesMiseAJour& o) {
                            o.CreeRelation(a[0], a[1], a[2], cascade, a[4], a[5], Ou(a, 6), Ou(a, 7), Ou(a, 8),
                                           Ou(a, 9));
                          };
                        }));
  return c;
}

}  // namespace steps
