// Case records and what hangs on them. FICHE is the live database's table, same columns and
// same rows, followed by the agents of the case (the commune's surveyor COFICGEOG, the
// surveyor who did the work COFICGEOT, the land-office agent COFICASF) and the fiscal note
// pad (RMFICNOTE, a memo like the field the note-pad steps add beside it). Each case record
// has its permit (PERMIS, same three-part key as the case); some have visits on site
// (FICHEVSL) and letters (LETTREFICHE). Archived cases and their visits, regrouping rejects
// and import rows stand apart from the live cases.
//
// No relation ties PERMIS to the code tables: the renumbering steps change a code in the
// code table and in PERMIS by two separate statements, which an enforced relation would
// refuse.
#include <string>

#include "sample/base_quelis.h"
#include "sample/construction.h"
#include "sample/reference_tables.h"

namespace echantillon::reference {
namespace {

const std::vector<Colonne> kCleFiche{{"NUFICHE", dao::dbLong},
                                     {"COPERAUT", dao::dbText, 3},
                                     {"NUPERMIS", dao::dbText, 15},
                                     {"COCNE", dao::dbText, 5}};

std::vector<Colonne> AvecCle(const std::vector<Colonne>& suite) {
  std::vector<Colonne> c = kCleFiche;
  c.insert(c.end(), suite.begin(), suite.end());
  return c;
}

jet::TableDesign TableFicheReference() {
  jet::TableDesign fiche = base_quelis::TableFiche();
  const jet::TableDesign suite = Table("FICHE", {{"COFICGEOG", dao::dbText, 2},
                                                {"COFICGEOT", dao::dbText, 2},
                                                {"COFICASF", dao::dbText, 2},
                                                {"RMFICNOTE", dao::dbMemo}});
  fiche.columns.insert(fiche.columns.end(), suite.columns.begin(), suite.columns.end());
  AjouteIndex(fiche, "IdxComGeo", {"COFICGEOG", "COCNE"}, false);
  AjouteIndex(fiche, "Idx6443Ind", {"COFICGEOT", "daficcro", "cofictyp"}, false);
  return fiche;
}

jet::TableDesign TablePermis() {
  jet::TableDesign t = Table("PERMIS", {{"COPERAUT", dao::dbText, 3},
                                        {"NUPERMIS", dao::dbText, 15},
                                        {"COCNE", dao::dbText, 5},
                                        {"LIPERPET", dao::dbText, 60},
                                        {"LIPERDT", dao::dbText, 100},
                                        {"COPERTRAV", dao::dbText, 2},
                                        {"COPERMANN", dao::dbText, 2},
                                        {"COPERNLOG", dao::dbText, 2},
                                        {"COPERUTIL", dao::dbText, 2},
                                        {"COPERDESTL", dao::dbText, 2},
                                        {"QUPERSHON", dao::dbDouble},
                                        {"DAPERDEP", dao::dbDate},
                                        {"DAPERANN", dao::dbDate}});
  AjouteIndex(t, "PrimaryKey", {"COPERAUT", "NUPERMIS", "COCNE"}, true);
  AjouteIndex(t, "COPERTRAV", {"COPERTRAV"}, false);
  return t;
}

jet::TableDesign TableVisites(const char* nom) {
  jet::TableDesign t = Table(nom, AvecCle({{"NUVSL", dao::dbInteger},
                                           {"DAVSL", dao::dbDate},
                                           {"COAGENT", dao::dbText, 2},
                                           {"LIVSLOBS", dao::dbText, 255}}));
  AjouteIndex(t, "PrimaryKey", {"NUFICHE", "COPERAUT", "NUPERMIS", "COCNE", "NUVSL"}, true);
  return t;
}

jet::TableDesign TableArchiveFiche() {
  jet::TableDesign t = Table("ARCHIVEFICHE", AvecCle({{"COAGENT1", dao::dbText, 2},
                                                      {"COAGENT2", dao::dbText, 2},
                                                      {"LIFICDEM", dao::dbText, 60},
                                                      {"DAFICARCH", dao::dbDate}}));
  AjouteIndex(t, "PrimaryKey", {"NUFICHE", "COPERAUT", "NUPERMIS", "COCNE"}, true);
  return t;
}

jet::TableDesign TableRejetRegroup() {
  jet::TableDesign t = Table("REJETREGROUP", {{"NUREJET", dao::dbLong},
                                              {"NUFICHE", dao::dbLong},
                                              {"COCNE", dao::dbText, 5},
                                              {"COFICGEOG", dao::dbText, 2},
                                              {"COFICGEOT", dao::dbText, 2},
                                              {"COFICASF", dao::dbText, 2},
                                              {"LIREJET", dao::dbText, 100},
                                              {"DAREJET", dao::dbDate}});
  AjouteIndex(t, "PrimaryKey", {"NUREJET"}, true);
  AjouteIndex(t, "IdxComGeo", {"COFICGEOG", "COCNE"}, false);
  return t;
}

jet::TableDesign TableImportFiche() {
  jet::TableDesign t = Table("IMPORTFICHE", {{"NUIMPORT", dao::dbLong},
                                             {"NUFICHE", dao::dbLong},
                                             {"COPERAUT", dao::dbText, 3},
                                             {"NUPERMIS", dao::dbText, 15},
                                             {"COCNE", dao::dbText, 5},
                                             {"LIFICADR", dao::dbText, 80},
                                             {"LIFICDEM", dao::dbText, 60},
                                             {"DAFICDEP", dao::dbDate},
                                             {"RMFICNOTE", dao::dbMemo}});
  AjouteIndex(t, "PrimaryKey", {"NUIMPORT"}, true);
  return t;
}

jet::TableDesign TableLettreFiche() {
  jet::TableDesign t = Table("LETTREFICHE", {{"NULFI", dao::dbLong},
                                             {"NUFICHE", dao::dbLong},
                                             {"COLFIFORM", dao::dbText, 2},
                                             {"LILFIOBJET", dao::dbText, 100},
                                             {"DALFI", dao::dbDate},
                                             {"active", dao::dbText, 1}});
  AjouteIndex(t, "PrimaryKey", {"NULFI"}, true);
  AjouteIndex(t, "NUFICHE", {"NUFICHE"}, false);
  return t;
}

// The agents and note pad of case record i: the surveyor of its commune, the surveyor of
// the work (none yet for some), the land-office agent (none for a few).
void ComplementFiche(dao::Recordset& rs, int i) {
  rs.Fields("COFICGEOG").SetValue(kGeometres[static_cast<std::size_t>(i % 2)]);
  if (i % 5 != 3) rs.Fields("COFICGEOT").SetValue(kGeometres[static_cast<std::size_t>(i % 3)]);
  if (i % 7 != 6) rs.Fields("COFICASF").SetValue(kAgentsAsf[static_cast<std::size_t>(i % 2)]);
  if (i % 6 == 1) rs.Fields("RMFICNOTE").SetValue("Propriétaire injoignable : relancer l'étude notariale.");
  if (i % 6 == 4) rs.Fields("RMFICNOTE").SetValue("");
}

struct Cle {
  V nufiche, coperaut, nupermis, cocne;
};

// The keys of the case records, in the order they were added.
std::vector<Cle> ClesFiches(dao::Database& bd) {
  std::vector<Cle> cles;
  dao::Recordset rs = bd.OpenRecordset("FICHE", dao::dbOpenTable);
  while (!rs.Eof()) {
    cles.push_back({rs.Fields("NUFICHE").Value(), rs.Fields("COPERAUT").Value(), rs.Fields("NUPERMIS").Value(),
                    rs.Fields("COCNE").Value()});
    rs.MoveNext();
  }
  rs.Close();
  return cles;
}

// Labels of the works: with an apostrophe, beginning with "0" (a former import left a
// leading zero), empty, Null.
const std::array<V, 8> kTravaux{V("Construction d'une maison individuelle"), V("012"), V("Extension d'un garage"),
                                V("0"), V(""), V::Null(), V("0Réhabilitation d'une grange en habitation"),
                                V("Création d'une piscine")};
constexpr std::array<const char*, 8> kNatures{"1", "2", "7", "10", "A", "3", "8", "5"};
constexpr std::array<const char*, 4> kPetitionnaires{"SCI Les Tilleuls", "M. et Mme Durand", "Commune de Fives",
                                                     "GAEC du Moulin"};

void AjoutePermis(dao::Database& bd, const std::vector<Cle>& cles) {
  std::vector<std::vector<V>> lignes;
  for (std::size_t i = 0; i < cles.size(); ++i) {
    const bool annule = i % 9 == 4;
    lignes.push_back({cles[i].coperaut, cles[i].nupermis, cles[i].cocne, kPetitionnaires[i % 4], kTravaux[i % 8],
                      kNatures[i % 8], annule ? V("2") : V::Null(), i % 4 == 3 ? V::Null() : V(std::to_string(1 + i % 3)),
                      std::to_string(1 + i % 3), std::to_string(1 + i % 4), 85.5 + static_cast<double>(i) * 12.25,
                      Jour(2011, 1 + static_cast<int>(i % 12), 1 + static_cast<int>(i % 28)),
                      annule ? Jour(2012, 6, 15) : V::Null()});
  }
  AjouteLignes(bd, "PERMIS",
               {"COPERAUT", "NUPERMIS", "COCNE", "LIPERPET", "LIPERDT", "COPERTRAV", "COPERMANN", "COPERNLOG",
                "COPERUTIL", "COPERDESTL", "QUPERSHON", "DAPERDEP", "DAPERANN"},
               lignes);
}

void AjouteVisitesEtLettres(dao::Database& bd, const std::vector<Cle>& cles) {
  std::vector<std::vector<V>> visites, lettres;
  for (std::size_t i = 0; i < cles.size(); ++i) {
    const Cle& c = cles[i];
    const int j = static_cast<int>(i);
    if (i % 3 == 0) {
      visites.push_back({c.nufiche, c.coperaut, c.nupermis, c.cocne, 1, Jour(2012, 3 + j % 9, 1 + j % 28),
                         kGeometres[i % 2], i % 2 == 0 ? V("Implantation conforme au plan de masse.") : V("")});
    }
    if (i % 6 == 0) {
      visites.push_back(
          {c.nufiche, c.coperaut, c.nupermis, c.cocne, 2, Jour(2012, 11, 1 + j % 28), V::Null(), "Visite à programmer"});
    }
    if (i % 2 == 0) {
      // Form '4' is the formal notice (mise en demeure).
      const std::string forme = std::to_string(1 + (i / 2) % 4);
      lettres.push_back({static_cast<int>(lettres.size() + 1), c.nufiche, forme,
                         forme == "4" ? "Mise en demeure de déposer la déclaration" : "Demande de pièces complémentaires",
                         Jour(2012, 9, 1 + j % 28), "1"});
    }
  }
  AjouteLignes(bd, "FICHEVSL", {"NUFICHE", "COPERAUT", "NUPERMIS", "COCNE", "NUVSL", "DAVSL", "COAGENT", "LIVSLOBS"},
               visites);
  AjouteLignes(bd, "LETTREFICHE", {"NULFI", "NUFICHE", "COLFIFORM", "LILFIOBJET", "DALFI", "active"}, lettres);
}

void AjouteArchives(dao::Database& bd) {
  AjouteLignes(bd, "ARCHIVEFICHE",
               {"NUFICHE", "COPERAUT", "NUPERMIS", "COCNE", "COAGENT1", "COAGENT2", "LIFICDEM", "DAFICARCH"},
               {{500, "ADS", "PC0593500101990", kCommunes[0], kGeometres[0], kAgentsAsf[0], "Mme Françoise Hénin",
                 Jour(2008, 12, 31)},
                {501, "DDT", "PC0593500101991", kCommunes[1], kGeometres[1], V::Null(), "SARL L'Atelier du Bois",
                 Jour(2009, 12, 31)},
                {502, "MAI", "PC0593500101992", kCommunes[0], V::Null(), kAgentsAsf[1], "", Jour(2010, 12, 31)},
                {503, "ADS", "PC0593500101993", kCommunes[2], kGeometres[2], kAgentsAsf[0], V::Null(),
                 Jour(2010, 12, 31)}});
  AjouteLignes(bd, "ARCHIVEVSL", {"NUFICHE", "COPERAUT", "NUPERMIS", "COCNE", "NUVSL", "DAVSL", "COAGENT", "LIVSLOBS"},
               {{500, "ADS", "PC0593500101990", kCommunes[0], 1, Jour(2008, 4, 2), kGeometres[0], "Travaux achevés."},
                {500, "ADS", "PC0593500101990", kCommunes[0], 2, Jour(2008, 6, 19), kTechnicien, V::Null()},
                {501, "DDT", "PC0593500101991", kCommunes[1], 1, Jour(2009, 5, 7), kGeometres[1], "Accès refusé par l'occupant."}});
}

void AjouteRejetsEtImports(dao::Database& bd, const std::vector<Cle>& cles) {
  AjouteLignes(bd, "REJETREGROUP",
               {"NUREJET", "NUFICHE", "COCNE", "COFICGEOG", "COFICGEOT", "COFICASF", "LIREJET", "DAREJET"},
               {{1, 1001, kCommunes[1], kGeometres[1], kGeometres[1], kAgentsAsf[1], "Parcelle d'origine introuvable",
                 Jour(2012, 10, 2)},
                {2, 1004, kCommunes[0], kGeometres[0], V::Null(), kAgentsAsf[0], "Section différente", Jour(2012, 10, 2)},
                {3, V::Null(), kCommunes[2], kGeometres[2], kGeometres[2], V::Null(), "", Jour(2012, 11, 20)}});
  // Cases received from the permit service and not yet merged: the first two twin live
  // records, the third is new.
  std::vector<std::vector<V>> imports;
  for (std::size_t i = 0; i < 2 && i < cles.size(); ++i)
    imports.push_back({static_cast<int>(i + 1), cles[i].nufiche, cles[i].coperaut, cles[i].nupermis, cles[i].cocne,
                       "12 rue de l'Église", kPetitionnaires[i], Jour(2013, 1, 7), V::Null()});
  imports.push_back({3, V::Null(), "DDT", "PC0625120130001", kCommunes[2], "Chemin du Moulin", "Indivision Caron-Lévêque",
                     Jour(2013, 1, 10), "Pièces reçues par courriel ; plan de situation manquant."});
  AjouteLignes(bd, "IMPORTFICHE",
               {"NUIMPORT", "NUFICHE", "COPERAUT", "NUPERMIS", "COCNE", "LIFICADR", "LIFICDEM", "DAFICDEP", "RMFICNOTE"},
               imports);
}

}  // namespace

std::vector<jet::TableDesign> TablesFiches() {
  return {TableFicheReference(), TablePermis(),       TableVisites("FICHEVSL"), TableArchiveFiche(),
          TableVisites("ARCHIVEVSL"), TableRejetRegroup(), TableImportFiche(),   TableLettreFiche()};
}

void RemplitFiches(dao::Database& bd, const BaseEchantillon& base) {
  base_quelis::AjouteFichesVivantes(bd, base.fiches, ComplementFiche);
  const std::vector<Cle> cles = ClesFiches(bd);
  AjoutePermis(bd, cles);
  AjouteVisitesEtLettres(bd, cles);
  AjouteArchives(bd);
  AjouteRejetsEtImports(bd, cles);
}

}  // namespace echantillon::reference
