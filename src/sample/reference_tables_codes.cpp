// The code tables of the permits and of printing: natures of works (NATTRAV, with the
// survey and second codes each nature maps to), kinds of authorisation (TYPAUT), reasons
// for cancelling a permit (TYPMANNUL), uses (TYPUTILL), kinds of dwelling with their rank
// (TYPNATLOG), printed forms (typimprime), printings (IMPRESSION) and reports (ETAT).
//
// Codes are texts of two characters: the steps write 16-bit codes as decimal text, and the
// renumbering of natures makes "12", "13"... and "01" to "09". NATTRAV holds the natures 1 to
// 8, 10 and a letter code, so that both renumberings have codes to move and one to skip.
// Ranks (CORANG) are texts, as the rank step writes them between quotes. The printing flags
// of IMPRESSION (total, preview, mail merge) are 'O' or 'N', its rank a number.
#include "sample/construction.h"
#include "sample/reference_tables.h"

namespace echantillon::reference {
namespace {

jet::TableDesign TableCode(const char* nom, const char* code, const char* libelle, int tailleLibelle = 50) {
  jet::TableDesign t = Table(nom, {{code, dao::dbText, 2}, {libelle, dao::dbText, tailleLibelle}});
  AjouteIndex(t, "PrimaryKey", {code}, true);
  return t;
}

}  // namespace

std::vector<jet::TableDesign> TablesCodes() {
  jet::TableDesign nattrav = Table("NATTRAV", {{"CONTRAV", dao::dbText, 2},
                                               {"LINTRAV", dao::dbText, 50},
                                               {"CONTRTOPO", dao::dbText, 2},
                                               {"CONTRVERR", dao::dbText, 2}});
  AjouteIndex(nattrav, "PrimaryKey", {"CONTRAV"}, true);
  jet::TableDesign natlog = Table("TYPNATLOG", {{"CONLOG", dao::dbText, 2}, {"LINLOG", dao::dbText, 50}, {"CORANG", dao::dbText, 2}});
  AjouteIndex(natlog, "PrimaryKey", {"CONLOG"}, true);
  jet::TableDesign imprime = Table("typimprime", {{"coimprime", dao::dbText, 10}});
  AjouteIndex(imprime, "PrimaryKey", {"coimprime"}, true);
  jet::TableDesign impression = Table("IMPRESSION", {{"coimp", dao::dbText, 10},
                                                     {"liimp", dao::dbText, 80},
                                                     {"coimprang", dao::dbInteger},
                                                     {"coimptot", dao::dbText, 1},
                                                     {"coimppre", dao::dbText, 1},
                                                     {"coimppub", dao::dbText, 1}});
  AjouteIndex(impression, "PrimaryKey", {"coimp"}, true);
  jet::TableDesign etat = Table("ETAT", {{"coetat", dao::dbText, 10},
                                         {"lietat", dao::dbText, 80},
                                         {"coimp", dao::dbText, 10},
                                         {"coetatyp", dao::dbText, 1}});
  AjouteIndex(etat, "PrimaryKey", {"coetat"}, true);
  return {nattrav,
          TableCode("TYPAUT", "COAUT", "LIAUT"),
          TableCode("TYPMANNUL", "COMANNUL", "LIMANNUL"),
          TableCode("TYPUTILL", "COUTILL", "LIUTILL"),
          natlog,
          imprime,
          impression,
          etat};
}

void RemplitCodes(dao::Database& bd) {
  const V null = V::Null();
  AjouteLignes(bd, "NATTRAV", {"CONTRAV", "LINTRAV", "CONTRTOPO", "CONTRVERR"},
               {{"1", "Construction neuve", "CN", "1"},
                {"2", "Extension", "EX", "2"},
                {"3", "Surélévation", "EX", "2"},
                {"4", "Démolition totale", "DE", null},
                {"5", "Changement de destination", "CD", "3"},
                {"6", "Aménagement intérieur", null, null},
                {"7", "Réhabilitation", "RH", "3"},
                {"8", "Piscine", "PI", "4"},
                {"10", "Abri de jardin", "AJ", "4"},
                {"A", "Annexe (hors numérotation)", "", ""}});
  AjouteLignes(bd, "TYPAUT", {"COAUT", "LIAUT"},
               {{"PC", "Permis de construire"},
                {"PD", "Permis de démolir"},
                {"DP", "Déclaration préalable"},
                {"PA", "Permis d'aménager"}});
  AjouteLignes(bd, "TYPMANNUL", {"COMANNUL", "LIMANNUL"},
               {{"1", "Refus du permis"},
                {"2", "Annulation à la demande du pétitionnaire"},
                {"3", "Caducité"},
                {"4", "Retrait par l'autorité compétente"}});
  AjouteLignes(bd, "TYPUTILL", {"COUTILL", "LIUTILL"},
               {{"1", "Résidence principale"}, {"2", "Résidence secondaire"}, {"3", "Location"}});
  AjouteLignes(bd, "TYPNATLOG", {"CONLOG", "LINLOG", "CORANG"},
               {{"1", "Individuel pur", "1"},
                {"2", "Individuel groupé", "2"},
                {"3", "Collectif", "3"},
                {"4", "Résidence (foyer, hôtel)", null}});
  AjouteLignes(bd, "typimprime", {"coimprime"}, {{"FICHE"}, {"LETTRE"}, {"ETAT6443"}});
  AjouteLignes(bd, "IMPRESSION", {"coimp", "liimp", "coimprang", "coimptot", "coimppre", "coimppub"},
               {{"IMPFIC", "Impression des fiches", 1, "O", "O", "N"},
                {"IMPLET", "Lettres aux pétitionnaires", 2, "N", "O", "O"},
                {"IMP6443", "État d'activité 6443", 3, "O", "N", null}});
  AjouteLignes(bd, "ETAT", {"coetat", "lietat", "coimp", "coetatyp"},
               {{"E6443M", "État 6443 mensuel", "IMP6443", "M"},
                {"E6443A", "État 6443 annuel", "IMP6443", "A"},
                {"EFICHE", "Liste des fiches en cours", "IMPFIC", null}});
}

}  // namespace echantillon::reference
