// The code-table, table-creation, relation and agent-code steps as the step runner lists them,
// and the four record-by-record corrections that this program does not carry.
#include <stdexcept>

#include "steps/arguments.h"
#include "steps/catalogue_familles.h"

namespace steps {
namespace {

using Args = std::vector<std::string>;
using E = EtapesMiseAJour;

Etape Simple(std::string nom, std::string description, void (E::*procedure)()) {
  return Operation(std::move(nom), "", std::move(description), 0, 0, [procedure](const Args&) -> EtapePrete {
    return [procedure](E& o) { (o.*procedure)(); };
  });
}

// CODE LIBELLE, the code a 16-bit number.
Etape CodeLibelle(std::string nom, std::string description, void (E::*procedure)(std::int16_t, const std::string&)) {
  return Operation(std::move(nom), "CODE LIBELLE", std::move(description), 2, 2,
                   [procedure](const Args& a) -> EtapePrete {
                     const std::int16_t code = LitEntierCourt(a[0], "CODE");
                     return [procedure, code, a](E& o) { (o.*procedure)(code, a[1]); };
                   });
}

// ANCIEN NOUVEAU, both 16-bit numbers.
Etape ChangeCode(std::string nom, std::string description, void (E::*procedure)(std::int16_t, std::int16_t)) {
  return Operation(std::move(nom), "ANCIEN NOUVEAU", std::move(description), 2, 2,
                   [procedure](const Args& a) -> EtapePrete {
                     const std::int16_t ancien = LitEntierCourt(a[0], "ANCIEN"), nouveau = LitEntierCourt(a[1], "NOUVEAU");
                     return [procedure, ancien, nouveau](E& o) { (o.*procedure)(ancien, nouveau); };
                   });
}

// Listed so that a maintainer finds it, but refused rather than guessed: this program does not
// carry how the correction walks its records.
Etape NonDisponible(std::string nom) {
  const std::string message = "l'étape " + nom +
                              " n'est pas disponible dans ce programme : son traitement enregistrement par "
                              "enregistrement n'y est pas repris";
  return Etape{std::move(nom), "", "non disponible : correction enregistrement par enregistrement non reprise",
               [message](const Args&) -> EtapePrete { throw std::invalid_argument(message); }};
}

}  // namespace

std::vector<Etape> EtapesCodes() {
  std::vector<Etape> c;
  // --- Rows added when missing ---
  c.push_back(Operation("AjoutDataPAYS", "CODE LIBELLE", "ajoute un pays si son code manque (apostrophe admise)", 2, 2,
                        [](const Args& a) -> EtapePrete { return [a](E& o) { o.AjoutDataPAYS(a[0], a[1]); }; }));
  c.push_back(Operation("AjoutDataTYPEAUT", "CODE LIBELLE", "ajoute un type d'autorisation s'il manque (code et libellé)",
                        2, 2, [](const Args& a) -> EtapePrete { return [a](E& o) { o.AjoutDataTYPEAUT(a[0], a[1]); }; }));
  c.push_back(CodeLibelle("AjoutMotifAnnulPermis", "ajoute un motif d'annulation de permis s'il manque (code et libellé)",
                          &E::AjoutMotifAnnulPermis));
  c.push_back(Operation("MAJCodeNatureTravaux", "CODE LIBELLE CODE_TOPO CODE_VERR",
                        "ajoute une nature de travaux si son code manque", 4, 4, [](const Args& a) -> EtapePrete {
                          return [a](E& o) { o.MAJCodeNatureTravaux(a[0], a[1], a[2], a[3]); };
                        }));
  c.push_back(CodeLibelle("AjoutTypeUtill", "ajoute un type d'utilisation de logement si son code manque",
                          &E::AjoutTypeUtill));
  c.push_back(CodeLibelle("AjoutNatLog", "ajoute une nature de logement si son code manque", &E::AjoutNatLog));
  c.push_back(Operation("AjoutImprime", "CODE", "ajoute un type d'imprimé s'il manque", 1, 1,
                        [](const Args& a) -> EtapePrete { return [a](E& o) { o.AjoutImprime(a[0]); }; }));
  c.push_back(Operation("AjoutDataImpression", "CODE LIBELLE RANG [TOTAL [PRECEDENT [PUBLICATION]]]",
                        "ajoute une impression si son code manque", 3, 6, [](const Args& a) -> EtapePrete {
                          auto opt = [&a](std::size_t i) {
                            return i < a.size() ? std::optional<std::string>(a[i]) : std::nullopt;
                          };
                          return [a, t = opt(3), p = opt(4), u = opt(5)](E& o) {
                            o.AjoutDataImpression(a[0], a[1], a[2], t, p, u);
                          };
                        }));
  c.push_back(Operation("AjoutDataEtat", "CODE LIBELLE CODE_IMPRESSION TYPE", "ajoute un état si son code manque", 4, 4,
                        [](const Args& a) -> EtapePrete {
                          return [a](E& o) { o.AjoutDataEtat(a[0], a[1], a[2], a[3]); };
                        }));
  c.push_back(Operation("AjoutDataDSF", "DEPARTEMENT DIRECTION LIBELLE SERVICE GRADE NOM TELEPHONE",
                        "ajoute une direction (DSF) ; sa requête, telle qu'écrite, est refusée par Jet", 7, 7,
                        [](const Args& a) -> EtapePrete {
                          return [a](E& o) { o.AjoutDataDSF(a[0], a[1], a[2], a[3], a[4], a[5], a[6]); };
                        }));
  c.push_back(Operation("AjoutDataSectFonc", "SECTEUR DEPARTEMENT DIRECTION CDIF AGENT LIBELLE TELEPHONE",
                        "ajoute un secteur foncier ; sa requête, telle qu'écrite, est refusée par Jet", 7, 7,
                        [](const Args& a) -> EtapePrete {
                          return [a](E& o) { o.AjoutDataSectFonc(a[0], a[1], a[2], a[3], a[4], a[5], a[6]); };
                        }));
  c.push_back(Operation("AjoutDataINSPECTION", "TABLE INSPECTION DEPARTEMENT DIRECTION CDIF AGENT TELEPHONE",
                        "ajoute une inspection à la table nommée si son code manque", 7, 7,
                        [](const Args& a) -> EtapePrete {
                          return [a](E& o) { o.AjoutDataINSPECTION(a[0], a[1], a[2], a[3], a[4], a[5], a[6]); };
                        }));
  // --- Labels, ranks and codes changed ---
  c.push_back(CodeLibelle("MAJTypeUtilLog", "change le libellé d'un type d'utilisation de logement", &E::MAJTypeUtilLog));
  c.push_back(CodeLibelle("MAJTypeNatLog", "change le libellé d'une nature de logement", &E::MAJTypeNatLog));
  c.push_back(Operation("MAJTypeNatLogRang", "CODE RANG", "change le rang d'une nature de logement", 2, 2,
                        [](const Args& a) -> EtapePrete {
                          const std::int16_t code = LitEntierCourt(a[0], "CODE"), rang = LitEntierCourt(a[1], "RANG");
                          return [code, rang](E& o) { o.MAJTypeNatLogRang(code, rang); };
                        }));
  c.push_back(ChangeCode("MAJMotifAnnulPermis", "change un code de motif d'annulation, dans TYPMANNUL et les permis",
                         &E::MAJMotifAnnulPermis));
  c.push_back(ChangeCode("MAJNatLogement", "change un code de nature de logement, dans TYPNATLOG et les permis",
                         &E::MAJNatLogement));
  c.push_back(Simple("MajTableNatTrav",
                     "renumérote à partir de 12 les natures de travaux numériques autres que 1 à 6, et les permis",
                     &E::MajTableNatTrav));
  c.push_back(Simple("MajTableNatTrav2", "change les natures de travaux 1 à 9 en 01 à 09, et les permis",
                     &E::MajTableNatTrav2));
  // --- Tables created ---
  c.push_back(Simple("CreerTableIMPORTPANNULE", "crée la table IMPORTPANNULE (vide)", &E::CreerTableIMPORTPANNULE));
  c.push_back(Simple("CreerTableIMPORTDAT", "crée la table IMPORTDAT (vide)", &E::CreerTableIMPORTDAT));
  c.push_back(Simple("CreerTablePAYS", "crée la table PAYS (vide)", &E::CreerTablePAYS));
  c.push_back(Simple("CreerTableDestColl", "crée la table TYPDESTCOLL et ses sept destinations",
                     &E::CreerTableDestColl));
  c.push_back(Simple("CreerTableTypCentre", "crée la table TYPCENTRE et ses deux types (CDIF, CDI)",
                     &E::CreerTableTypCentre));
  c.push_back(Operation("CreerTableDSF", "[SOURCE]",
                        "crée la table DSF, remplie des centres de SOURCE (table ou requête donnant COCDIDEP, "
                        "COCDIDIR, LICDIDIR, LICDISERVC, LICDIGRADC, LICDINOMC, NUCDITELC ; CDIF par défaut)",
                        0, 1, [](const Args& a) -> EtapePrete {
                          return [source = a.empty() ? std::string("CDIF") : a[0]](E& o) {
                            o.CreerTableDSFDepuis(source);
                          };
                        }));
  // --- Relations and agent codes ---
  c.push_back(Simple("CreationRelationTable", "crée les relations DSF-CDIF, CDIF-INSPECTION et CDIF-SECTFONC",
                     &E::CreationRelationTable));
  c.push_back(Simple("MAJ_Admin_Secondaire",
                     "ajoute l'administrateur secondaire des CDIF (champ, relation, premier agent d'administration 2)",
                     &E::MAJ_Admin_Secondaire));
  c.push_back(Simple("MAJCodeAgent",
                     "refait en texte de 3 caractères tous les champs de code agent, avec leurs index et relations ; "
                     "sur des tables non vides les codes ne sont pas recopiés (comparaison « <> null ») et "
                     "l'étape échoue",
                     &E::MAJCodeAgent));
  // --- Not carried ---
  c.push_back(NonDisponible("MajIndPermisModif"));
  c.push_back(NonDisponible("MajFichePlan"));
  c.push_back(NonDisponible("MajNbFichePrec"));
  c.push_back(NonDisponible("MajIndicateurTopoBatAgri"));
  return c;
}

}  // namespace steps
