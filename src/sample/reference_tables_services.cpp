// Offices and their sectors: CDIF as the live database has it plus the columns the office
// steps read (reception hours, direction and head of office, which the DSF table is made
// from), the land sectors (SECTFONC) and the inspections (INSPECTION), each with the office
// code in three parts and the agent in charge.
#include "sample/base_quelis.h"
#include "sample/construction.h"
#include "sample/reference_tables.h"

namespace echantillon::reference {
namespace {

jet::TableDesign TableCdifReference() {
  jet::TableDesign cdif = base_quelis::TableCdif();
  // Appended after the columns of the live database. The telephone of the head of office is
  // ten digits without blanks, the size DSF.NUDSFTELC gives it.
  const jet::TableDesign suite = Table("CDIF", {{"LICDIHEUR", dao::dbText, 255},
                                               {"LICDIDIR", dao::dbText, 32},
                                               {"LICDISERVC", dao::dbText, 32},
                                               {"LICDIGRADC", dao::dbText, 32},
                                               {"LICDINOMC", dao::dbText, 32},
                                               {"NUCDITELC", dao::dbText, 10}});
  cdif.columns.insert(cdif.columns.end(), suite.columns.begin(), suite.columns.end());
  return cdif;
}

// The office code in three parts, sized as in CDIF.
const std::vector<construction::Colonne> kCodeCdif{
    {"COCDIDEP", dao::dbText, 3}, {"COCDIDIR", dao::dbText, 2}, {"COCDIF", dao::dbText, 2}};

jet::TableDesign TableSectFonc() {
  std::vector<construction::Colonne> colonnes{{"COSECTF", dao::dbText, 3}};
  colonnes.insert(colonnes.end(), kCodeCdif.begin(), kCodeCdif.end());
  colonnes.insert(colonnes.end(), {{"COAGENT", dao::dbText, 2}, {"LISECTF", dao::dbText, 50}, {"NUSECTEL", dao::dbText, 14}});
  jet::TableDesign t = Table("SECTFONC", colonnes);
  AjouteIndex(t, "PrimaryKey", {"COSECTF"}, true);
  return t;
}

jet::TableDesign TableInspection() {
  std::vector<construction::Colonne> colonnes{{"COINSP", dao::dbText, 3}};
  colonnes.insert(colonnes.end(), kCodeCdif.begin(), kCodeCdif.end());
  colonnes.insert(colonnes.end(), {{"COAGENT", dao::dbText, 2}, {"NUINSTEL", dao::dbText, 14}});
  jet::TableDesign t = Table("INSPECTION", colonnes);
  AjouteIndex(t, "PrimaryKey", {"COINSP"}, true);
  return t;
}

}  // namespace

std::vector<jet::TableDesign> TablesServices() { return {TableCdifReference(), TableSectFonc(), TableInspection()}; }

void RemplitServices(dao::Database& bd, const BaseEchantillon& base) {
  const SiteEchantillon& site = base.site;
  base_quelis::RemplitCdif(bd, site);
  // The site's reception hours end with a blank (the hours step trims before adding to
  // them); the neighbouring office has none recorded (Null) and an empty grade.
  bd.Execute("UPDATE CDIF SET LICDIHEUR = 'du lundi au vendredi de 8h30 à 12h00 et de 13h30 à 16h00 ', "
             "LICDIDIR = 'DDFiP du Nord', LICDISERVC = 'Service du cadastre', "
             "LICDIGRADC = 'Inspecteur divisionnaire', LICDINOMC = 'Mme Anne Lefèvre', NUCDITELC = '0320123456' "
             "WHERE cocditype = '1'",
             dao::dbFailOnError);
  bd.Execute("UPDATE CDIF SET LICDIDIR = 'DDFiP du Nord', LICDISERVC = 'SIP de Lille-Nord', "
             "LICDIGRADC = '', LICDINOMC = 'M. Jean-Noël D''Haene', NUCDITELC = '0320654321' "
             "WHERE cocditype = '2'",
             dao::dbFailOnError);

  const V dep(site.cocdidep), dir(site.cocdidir), cdif(site.cocdif);
  AjouteLignes(bd, "SECTFONC", {"COSECTF", "COCDIDEP", "COCDIDIR", "COCDIF", "COAGENT", "LISECTF", "NUSECTEL"},
               {{"S01", dep, dir, cdif, kInspecteur, "Secteur de Lille-centre", "03 20 12 34 01"},
                {"S02", dep, dir, cdif, kInspecteur, "Secteur d'Arras et de l'Artois", "03 21 12 34 02"},
                {"S03", dep, dir, cdif, V::Null(), "Secteur de Roubaix-Tourcoing (vacant)", ""}});
  AjouteLignes(bd, "INSPECTION", {"COINSP", "COCDIDEP", "COCDIDIR", "COCDIF", "COAGENT", "NUINSTEL"},
               {{"I01", dep, dir, cdif, kInspecteur, "03 20 12 35 00"},
                {"I02", dep, dir, cdif, V::Null(), V::Null()}});
}

}  // namespace echantillon::reference
