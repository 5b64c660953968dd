// The corrections, record edits, structure and parameter steps as the step runner lists them.
#include "steps/catalogue_familles.h"

namespace steps {
namespace {

using Args = std::vector<std::string>;

// A step without arguments.
Etape SansArgument(std::string nom, std::string description, void (EtapesMiseAJour::*procedure)()) {
  return Operation(std::move(nom), "", std::move(description), 0, 0, [procedure](const Args&) -> EtapePrete {
    return [procedure](EtapesMiseAJour& o) { (o.*procedure)(); };
  });
}

}  // namespace

std::vector<Etape> EtapesCorrections() {
  using E = EtapesMiseAJour;
  std::vector<Etape> c;
  c.push_back(SansArgument("MAJCDIF_HEURESRECEPT",
                           "ajoute « et sur rendez-vous » aux heures de réception de chaque CDIF (deux passages l'ajoutent deux fois)",
                           &E::MAJCDIF_HEURESRECEPT));
  c.push_back(SansArgument("MajEnregLibelleTravaux0", "retire le « 0 » de tête des libellés de travaux des permis",
                           &E::MajEnregLibelleTravaux0));
  c.push_back(SansArgument("MajCritereSHON", "remplace les 4 premiers caractères des critères contenant SHON par « Surface de plancher »",
                           &E::MajCritereSHON));
  c.push_back(SansArgument("MajChampLibelleTravaux", "renomme le critère PERMIS.LIPERDT en « Libellé des travaux »",
                           &E::MajChampLibelleTravaux));
  c.push_back(SansArgument("MajChampLibelleTravauxPilote", "renomme le champ pilote LIPERDT en « Libellé des travaux »",
                           &E::MajChampLibelleTravauxPilote));
  c.push_back(SansArgument("MajAppPlanGeo", "donne l'application plan aux agents de type 2 ou 3", &E::MajAppPlanGeo));
  c.push_back(SansArgument("MajLettre2MiseEnDemeure", "désactive les lettres de forme 4", &E::MajLettre2MiseEnDemeure));
  c.push_back(SansArgument("CreerTablePREFIXEFICTIF", "crée la table PREFIXEFIC (vide)", &E::CreerTablePREFIXEFICTIF));
  c.push_back(SansArgument("CreationChampBlocNoteTopoFiche", "ajoute le mémo RMTOPONOTE à FICHE s'il manque",
                           &E::CreationChampBlocNoteTopoFiche));
  c.push_back(SansArgument("CreationChampBlocNoteTopoImportFiche", "ajoute le mémo RMTOPONOTE à IMPORTFICHE s'il manque",
                           &E::CreationChampBlocNoteTopoImportFiche));
  c.push_back(SansArgument("ModificationBlocNotePilote",
                           "renomme le bloc-notes fiscal et ajoute le champ pilote du bloc-notes topo",
                           &E::ModificationBlocNotePilote));
  c.push_back(Operation("AjoutTableParametre", "CODE VALEUR2 VALEUR3", "ajoute un paramètre si son code manque", 3, 3,
                        [](const Args& a) -> EtapePrete {
                          return [a](E& o) { o.AjoutTableParametre(a[0], a[1], a[2]); };
                        }));
  c.push_back(Operation("AjoutTableRecherche", "CODE VALEUR2 VALEUR3", "ajoute une recherche si son code manque", 3, 3,
                        [](const Args& a) -> EtapePrete {
                          return [a](E& o) { o.AjoutTableRecherche(a[0], a[1], a[2]); };
                        }));
  c.push_back(Operation("AjoutTableRechercheVsl", "CODE VALEUR2 VALEUR3 VALEUR4",
                        "ajoute une recherche VSL si son code manque", 4, 4, [](const Args& a) -> EtapePrete {
                          return [a](E& o) { o.AjoutTableRechercheVsl(a[0], a[1], a[2], a[3]); };
                        }));
  c.push_back(Operation("Etat6443TravauxEquipementsModifCodeChantier", "ANCIEN NOUVEAU",
                        "change un code de chantier de l'état 6443 (table 6443INDE)", 2, 2, [](const Args& a) -> EtapePrete {
                          return [a](E& o) { o.Etat6443TravauxEquipementsModifCodeChantier(a[0], a[1]); };
                        }));
  return c;
}

}  // namespace steps
