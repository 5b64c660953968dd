// Document pilots: the layouts of imported and exported files. PILOTETYP lists the pilot
// types (FICHE, PERMIS, VSL), PILOTE the numbered pilots, PILOTEDESC the ordered fields of
// each pilot ("NEANT" an empty slot keeping its order number), PILOTEREF the fields each type
// may use, JIMPORT the import jobs and the pilot they used.
//
// Chosen shapes: a pilot number is unique whatever the type (the renumbering steps select by
// number alone), so PILOTE's key is nupilote; PILOTEDESC has no key, since two empty slots of
// one pilot differ only by their order number and the order steps move numbers one row at a
// time; no relation ties the pilot tables, since deleting a pilot clears JIMPORT's reference
// only after the pilot row is gone. Formats: 'F' fixed width, 'D' delimited. PILOTETYP has two
// columns, filled by position.
#include "sample/construction.h"
#include "sample/reference_tables.h"

namespace echantillon::reference {
namespace {

}  // namespace

std::vector<jet::TableDesign> TablesPilotes() {
  jet::TableDesign type = Table("PILOTETYP", {{"cotpilote", dao::dbText, 10}, {"lipiltyp", dao::dbText, 50}});
  AjouteIndex(type, "PrimaryKey", {"cotpilote"}, true);

  jet::TableDesign pilote = Table("PILOTE", {{"cotpilote", dao::dbText, 10},
                                             {"nupilote", dao::dbText, 2},
                                             {"lipilote", dao::dbText, 50},
                                             {"copilformat", dao::dbText, 1},
                                             {"copilsepar", dao::dbText, 1},
                                             {"copiltfic", dao::dbText, 1},
                                             {"copilverr", dao::dbText, 1}});
  AjouteIndex(pilote, "PrimaryKey", {"nupilote"}, true);
  AjouteIndex(pilote, "cotpilote", {"cotpilote"}, false);

  jet::TableDesign desc = Table("PILOTEDESC", {{"cotpilote", dao::dbText, 10},
                                               {"nupilote", dao::dbText, 2},
                                               {"codpichamp", dao::dbText, 30},
                                               {"qudpidlong", dao::dbInteger},
                                               {"codpidform", dao::dbText, 20},
                                               {"nudpicord", dao::dbInteger}});
  AjouteIndex(desc, "PILOTE", {"cotpilote", "nupilote", "nudpicord"}, false);

  jet::TableDesign ref = Table("PILOTEREF", {{"cotpilote", dao::dbText, 10},
                                             {"corpichamp", dao::dbText, 30},
                                             {"lirpichamp", dao::dbText, 50},
                                             {"corpictgen", dao::dbText, 1},
                                             {"qurpiclong", dao::dbInteger},
                                             {"corpictsql", dao::dbText, 20},
                                             {"corpicoblig", dao::dbText, 1},
                                             {"lirpicform", dao::dbText, 20}});
  AjouteIndex(ref, "PrimaryKey", {"cotpilote", "corpichamp"}, true);

  jet::TableDesign jimport = Table("JIMPORT", {{"NUJIMPORT", dao::dbLong},
                                               {"LIJIMPORT", dao::dbText, 100},
                                               {"DAJIMPORT", dao::dbDate},
                                               {"cotpilote", dao::dbText, 10},
                                               {"nupilote", dao::dbText, 2},
                                               {"QUJIMLIGNES", dao::dbLong}});
  AjouteIndex(jimport, "PrimaryKey", {"NUJIMPORT"}, true);
  return {type, pilote, desc, ref, jimport};
}

void RemplitPilotes(dao::Database& bd) {
  const V null = V::Null();
  AjouteLignes(bd, "PILOTETYP", {"cotpilote", "lipiltyp"},
               {{"FICHE", "Fiches"}, {"PERMIS", "Permis de construire"}, {"VSL", "Visites sur les lieux"}});
  // Numbers 01 to 04 and 06: inserting at 03 moves 04 to 05 and 03 to 04, and leaves 06.
  AjouteLignes(bd, "PILOTE", {"cotpilote", "nupilote", "lipilote", "copilformat", "copilsepar", "copiltfic", "copilverr"},
               {{"FICHE", "01", "Import des fiches du service instructeur", "F", null, "T", "N"},
                {"FICHE", "02", "Export des fiches vers le tableur", "D", ";", "T", null},
                {"PERMIS", "03", "Import des permis (ADS)", "D", "|", null, "O"},
                {"PERMIS", "04", "Export des permis ; délimité", "D", ";", null, null},
                {"VSL", "06", "Export des visites sur les lieux", "F", null, "T", "N"}});
  AjouteLignes(bd, "PILOTEREF",
               {"cotpilote", "corpichamp", "lirpichamp", "corpictgen", "qurpiclong", "corpictsql", "corpicoblig",
                "lirpicform"},
               {{"FICHE", "NUFICHE", "Numéro de fiche", "N", 8, "LONG", "O", null},
                {"FICHE", "NUPERMIS", "Numéro de permis", "C", 15, "TEXT(15)", "O", null},
                {"FICHE", "COCNE", "Code commune", "C", 5, "TEXT(5)", "O", null},
                {"FICHE", "LIFICADR", "Adresse des travaux", "C", 80, "TEXT(80)", "N", null},
                {"FICHE", "LIFICDEM", "Demandeur", "C", 60, "TEXT(60)", "N", null},
                {"FICHE", "DAFICDEP", "Date de dépôt", "D", 10, "DATETIME", "N", "JJ/MM/AAAA"},
                {"FICHE", "RMFICNOTE", "Bloc-notes", "M", null, "LONGTEXT", null, null},
                {"PERMIS", "NUPERMIS", "Numéro de permis", "C", 15, "TEXT(15)", "O", null},
                {"PERMIS", "LIPERDT", "Libellé travaux", "C", 100, "TEXT(100)", "N", null},
                {"PERMIS", "COPERTRAV", "Nature des travaux", "C", 2, "TEXT(2)", "N", ""},
                {"VSL", "DAVSL", "Date de la visite", "D", 10, "DATETIME", "O", "JJ/MM/AAAA"},
                {"VSL", "LIVSLOBS", "Observations de l'agent", "C", 255, "TEXT(255)", "N", null}});
  AjouteLignes(bd, "PILOTEDESC", {"cotpilote", "nupilote", "codpichamp", "qudpidlong", "codpidform", "nudpicord"},
               {{"FICHE", "01", "NUFICHE", 8, null, 1},
                {"FICHE", "01", "NUPERMIS", 15, null, 2},
                {"FICHE", "01", "COCNE", 5, null, 3},
                {"FICHE", "01", "DAFICDEP", 10, "JJ/MM/AAAA", 4},
                {"FICHE", "01", "LIFICADR", 80, null, 5},
                {"FICHE", "02", "NUFICHE", 8, null, 1},
                {"FICHE", "02", "NEANT", null, null, 2},
                {"FICHE", "02", "LIFICDEM", 60, null, 3},
                {"FICHE", "02", "RMFICNOTE", null, null, 4},
                {"FICHE", "02", "NEANT", null, null, 5},
                {"PERMIS", "03", "NUPERMIS", 15, null, 1},
                {"PERMIS", "03", "LIPERDT", 100, null, 2},
                {"PERMIS", "03", "COPERTRAV", 2, null, 3},
                {"PERMIS", "04", "NUPERMIS", 15, null, 1},
                {"PERMIS", "04", "LIPERDT", 100, null, 2},
                {"VSL", "06", "DAVSL", 10, "JJ/MM/AAAA", 1},
                {"VSL", "06", "LIVSLOBS", 255, null, 2}});
  AjouteLignes(bd, "JIMPORT", {"NUJIMPORT", "LIJIMPORT", "DAJIMPORT", "cotpilote", "nupilote", "QUJIMLIGNES"},
               {{1, "Import des fiches de décembre", Jour(2012, 12, 3), "FICHE", "01", 42},
                {2, "Import des permis de l'ADS", Jour(2012, 12, 10), "PERMIS", "03", 17},
                {3, "Import manuel (pilote supprimé)", Jour(2011, 6, 1), "FICHE", null, 0}});
}

}  // namespace echantillon::reference
