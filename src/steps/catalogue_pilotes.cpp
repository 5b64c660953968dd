// The document-pilot and multi-criteria steps as the step runner lists them.
#include "steps/arguments.h"
#include "steps/catalogue_familles.h"

namespace steps {
namespace {

using Args = std::vector<std::string>;

std::optional<std::string> Option(const Args& a, std::size_t i) {
  return i < a.size() ? std::optional<std::string>(a[i]) : std::nullopt;
}

// A 16-bit whole number, as the pilots' lengths and order numbers are.
std::int16_t Entier16(const std::string& texte, const std::string& nom) {
  const std::int32_t valeur = LitEntier(texte, nom);
  if (valeur < -32768 || valeur > 32767) {
    throw std::invalid_argument(nom + " doit être compris entre -32768 et 32767 : '" + texte + "'");
  }
  return static_cast<std::int16_t>(valeur);
}

}  // namespace

std::vector<Etape> EtapesPilotes() {
  using E = EtapesMiseAJour;
  std::vector<Etape> c;
  c.push_back(Operation("PiloteAjout", "TYPE NUMERO LIBELLE FORMAT [SEPARATEUR [TFIC [VERR]]]",
                        "crée un pilote au numéro donné (deux chiffres), en décalant d'un cran les pilotes qui l'occupent",
                        4, 7, [](const Args& a) -> EtapePrete {
                          return [a](E& o) { o.PiloteAjout(a[0], a[1], a[2], a[3], Option(a, 4), Option(a, 5), Option(a, 6)); };
                        }));
  c.push_back(Operation("PiloteRenumeroter", "ANCIEN NOUVEAU", "renumérote un pilote, ses champs et ses imports", 2, 2,
                        [](const Args& a) -> EtapePrete { return [a](E& o) { o.PiloteRenumeroter(a[0], a[1]); }; }));
  c.push_back(Operation("PiloteCreation", "TYPE NUMERO LIBELLE FORMAT [SEPARATEUR [TFIC [VERR]]]",
                        "crée un pilote (un séparateur « | » est écrit chr(124))", 4, 7, [](const Args& a) -> EtapePrete {
                          return [a](E& o) { o.PiloteCreation(a[0], a[1], a[2], a[3], Option(a, 4), Option(a, 5), Option(a, 6)); };
                        }));
  c.push_back(Operation("PiloteDescVarAjoutDonnes", "TYPE NUMERO CHAMP LONGUEUR ORDRE [FORMAT]",
                        "ajoute un champ à un pilote s'il n'y est pas (NEANT : case vide repérée par son ordre)", 5, 6,
                        [](const Args& a) -> EtapePrete {
                          const std::int16_t longueur = Entier16(a[3], "LONGUEUR");
                          const std::int16_t ordre = Entier16(a[4], "ORDRE");
                          return [a, longueur, ordre](E& o) {
                            o.PiloteDescVarAjoutDonnes(a[0], a[1], a[2], longueur, ordre, Option(a, 5));
                          };
                        }));
  c.push_back(Operation("PiloteDescSuppDonnees", "TYPE CHAMP",
                        "retire un champ des pilotes d'un type (format F : supprimé, sinon case NEANT)", 2, 2,
                        [](const Args& a) -> EtapePrete { return [a](E& o) { o.PiloteDescSuppDonnees(a[0], a[1]); }; }));
  c.push_back(Operation("PiloteDescMajNumOrdre", "TYPE NUMERO CHAMP ORDRE", "change le numéro d'ordre d'un champ de pilote",
                        4, 4, [](const Args& a) -> EtapePrete {
                          const std::int16_t ordre = Entier16(a[3], "ORDRE");
                          return [a, ordre](E& o) { o.PiloteDescMajNumOrdre(a[0], a[1], a[2], ordre); };
                        }));
  c.push_back(Operation("PiloteSuppression", "TYPE NUMERO", "supprime un pilote, ses champs et ses références d'import",
                        2, 2, [](const Args& a) -> EtapePrete { return [a](E& o) { o.PiloteSuppression(a[0], a[1]); }; }));
  c.push_back(Operation("PiloteRefCreationDonnees",
                        "TYPE CHAMP LIBELLE [GENRE [LONGUEUR [TYPESQL [OBLIGATOIRE [FORMULAIRE]]]]]",
                        "ajoute un champ au catalogue d'un type de pilote s'il manque", 3, 8, [](const Args& a) -> EtapePrete {
                          ChampRefOptions options{Option(a, 3), std::nullopt, Option(a, 5), Option(a, 6), Option(a, 7)};
                          if (a.size() > 4) options.qurpiclong = Entier16(a[4], "LONGUEUR");
                          return [a, options](E& o) { o.PiloteRefCreationDonnees(a[0], a[1], a[2], options); };
                        }));
  c.push_back(Operation("PiloteRefSuppressionDonnees", "TYPE CHAMP", "retire un champ du catalogue d'un type de pilote", 2,
                        2, [](const Args& a) -> EtapePrete {
                          return [a](E& o) { o.PiloteRefSuppressionDonnees(a[0], a[1]); };
                        }));
  c.push_back(Operation("PiloteRefModifDonnees", "TYPE CHAMP LONGUEUR LIBELLE",
                        "change la longueur et le libellé d'un champ du catalogue", 4, 4, [](const Args& a) -> EtapePrete {
                          const std::int16_t longueur = Entier16(a[2], "LONGUEUR");
                          return [a, longueur](E& o) { o.PiloteRefModifDonnees(a[0], a[1], longueur, a[3]); };
                        }));
  c.push_back(Operation("PiloteTypAjout", "TYPE VALEUR2", "ajoute un type de pilote s'il manque", 2, 2,
                        [](const Args& a) -> EtapePrete { return [a](E& o) { o.PiloteTypAjout(a[0], a[1]); }; }));
  c.push_back(Operation("MC_AjoutModif", "", "ajoute les 60 critères de recherche de la fiche et du permis", 0, 0,
                        [](const Args&) -> EtapePrete { return [](E& o) { o.MC_AjoutModif(); }; }));
  c.push_back(Operation("ModificationTableMulticritereBlocNote", "",
                        "renomme le critère du bloc-notes fiscal et ajoute celui du bloc-notes topo", 0, 0,
                        [](const Args&) -> EtapePrete { return [](E& o) { o.ModificationTableMulticritereBlocNote(); }; }));
  return c;
}

}  // namespace steps
