// Search and settings: the criteria of the multi-criteria search (MC_DONNEE), the
// application's parameters (PARAMETRE), the saved searches of the case screen (RECHERCHE)
// and of the visit screen (RECHERCHEVSL).
//
// Chosen shapes: MC_DONNEE is keyed on screen and criterion code (a second run of a step
// that appends criteria then fails on the key instead of doubling them); its offered-values
// query (mdliste) is a memo, queries being free SQL. The parameter and search steps insert
// by position: PARAMETRE is (code, value, label), RECHERCHE (code, label, SQL text),
// RECHERCHEVSL (code, label, SQL text, sort clause).
#include "sample/construction.h"
#include "sample/reference_tables.h"

namespace echantillon::reference {
namespace {

}  // namespace

std::vector<jet::TableDesign> TablesRecherche() {
  jet::TableDesign mc = Table("MC_DONNEE", {{"mdvue", dao::dbText, 20},
                                            {"mdracine", dao::dbText, 20},
                                            {"mdnuordre", dao::dbInteger},
                                            {"mdtable", dao::dbText, 20},
                                            {"mdcode", dao::dbText, 50},
                                            {"mdlibelle", dao::dbText, 100},
                                            {"mdliste", dao::dbMemo},
                                            {"mdtype", dao::dbText, 1},
                                            {"mdlistedon", dao::dbText, 255},
                                            {"mdlistecrit", dao::dbText, 1},
                                            {"mdlistetri", dao::dbText, 50},
                                            {"mddflt", dao::dbText, 50},
                                            {"mdpadlong", dao::dbInteger},
                                            {"mdpadcar", dao::dbText, 1},
                                            {"mdpadsens", dao::dbText, 1}});
  AjouteIndex(mc, "PrimaryKey", {"mdvue", "mdcode"}, true);
  jet::TableDesign parametre =
      Table("PARAMETRE", {{"coparam", dao::dbText, 30}, {"vaparam", dao::dbText, 255}, {"liparam", dao::dbText, 100}});
  AjouteIndex(parametre, "PrimaryKey", {"coparam"}, true);
  jet::TableDesign recherche =
      Table("RECHERCHE", {{"corec", dao::dbText, 30}, {"lirec", dao::dbText, 100}, {"mrecsql", dao::dbMemo}});
  AjouteIndex(recherche, "PrimaryKey", {"corec"}, true);
  jet::TableDesign vsl = Table("RECHERCHEVSL", {{"corec", dao::dbText, 30},
                                               {"lirec", dao::dbText, 100},
                                               {"mrecsql", dao::dbMemo},
                                               {"lirectri", dao::dbText, 100}});
  AjouteIndex(vsl, "PrimaryKey", {"corec"}, true);
  return {mc, parametre, recherche, vsl};
}

void RemplitRecherche(dao::Database& bd, const BaseEchantillon& base) {
  const V null = V::Null();
  // The criteria the correction steps look for (FICHE.RMFICNOTE, PERMIS.LIPERDT, the three
  // list criteria, labels holding "SHON") and none of those the appending steps add.
  AjouteLignes(bd, "MC_DONNEE",
               {"mdvue", "mdracine", "mdnuordre", "mdtable", "mdcode", "mdlibelle", "mdliste", "mdtype",
                "mdlistedon", "mdlistecrit", "mdlistetri", "mddflt", "mdpadlong", "mdpadcar", "mdpadsens"},
               {{"FICHE", "FICHE", 1, "FICHE", "FICHE.NUFICHE", "Numéro de fiche", null, "N", null, null, null, null,
                 8, "0", "G"},
                {"FICHE", "FICHE", 2, "FICHE", "FICHE.COCNE", "Commune",
                 "select distinct COCNE as code, COCNE as libelle from COMGEO", "C", null, "1", "libelle", "", null,
                 null, null},
                {"FICHE", "FICHE", 3, "FICHE", "FICHE.RMFICNOTE", "Bloc-notes", null, "C", null, null, null, null,
                 null, null, null},
                {"FICHE", "PERMIS", 1, "PERMIS", "PERMIS.LIPERDT", "Libellé travaux", null, "C", null, null, null,
                 null, null, null, null},
                {"FICHE", "PERMIS", 2, "PERMIS", "PERMIS.COPERTRAV", "Nature des travaux",
                 "select contrav as code, lintrav as libelle from nattrav", "C", null, "1", null, null, null, null, null},
                {"FICHE", "PERMIS", 3, "PERMIS", "PERMIS.COPERAPET", "Code APE", null, "C", null, "1", null, null,
                 null, null, null},
                {"FICHE", "PERMIS", 4, "PERMIS", "PERMIS.COPERDESTL", "Destination des locaux",
                 "select coutill as code, liutill as libelle from typutill", "C", null, "1", null, null, null, null,
                 null},
                {"FICHE", "PERMIS", 5, "PERMIS", "PERMIS.COPERUTILNH", "Utilisation hors habitation", null, "C", null,
                 "1", null, null, null, null, null},
                {"FICHE", "PERMIS", 6, "PERMIS", "PERMIS.QUPERSHON", "SHON totale du projet", null, "N", null, null,
                 null, null, null, null, null},
                {"FICHE", "PERMIS", 7, "PERMIS", "PERMIS.QUPERSHONA", "Surface SHON des annexes", null, "N", null,
                 null, null, null, null, null, null},
                {"VSL", "FICHEVSL", 1, "FICHEVSL", "FICHEVSL.DAVSL", "Date de la visite", null, "D", null, null, null,
                 "", null, null, null}});
  AjouteLignes(bd, "PARAMETRE", {"coparam", "vaparam", "liparam"},
               {{"SITE", base.site.cocdidep + base.site.cocdidir + base.site.cocdif, "Code du site"},
                {"DELAI_RELANCE", "30", "Délai de relance des pétitionnaires (jours)"},
                {"REP_LETTRES", "Lettres\\", "Dossier des modèles de lettres"},
                {"MAIL_SERVICE", "", "Adresse de messagerie du service"},
                {"DERNIER_IMPORT", null, "Date du dernier import d'ADS"}});
  AjouteLignes(bd, "RECHERCHE", {"corec", "lirec", "mrecsql"},
               {{"FICHES_EN_COURS", "Fiches en cours", "SELECT * FROM FICHE WHERE COFICETA = 'EC'"},
                {"SANS_TOPO", "Fiches sans levé topographique",
                 "SELECT * FROM FICHE WHERE DAFICTOPO IS NULL AND cofictyp = '1'"}});
  AjouteLignes(bd, "RECHERCHEVSL", {"corec", "lirec", "mrecsql", "lirectri"},
               {{"VSL_A_FAIRE", "Visites à programmer", "SELECT * FROM FICHEVSL WHERE COAGENT IS NULL", "DAVSL"},
                {"VSL_AGENT", "Visites de l'agent", "SELECT * FROM FICHEVSL WHERE COAGENT = [Agent ?]", ""}});
}

}  // namespace echantillon::reference
