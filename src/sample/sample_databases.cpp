#include "sample/sample_databases.h"

#include <array>
#include <vector>

#include "jet/api/database.h"
#include "jet/api/values.h"
#include "jet/api/schema.h"
#include "jet/api/sql.h"
#include "platform/localfs.h"
#include "platform/dao/dao.h"
#include "platform/error.h"
#include "platform/workstation.h"
#include "sample/base_quelis.h"
#include "sample/construction.h"

namespace echantillon {

std::string NumeroPermis(int i) {
  const std::string serie = std::to_string(2000 + i);
  return (serie.size() <= 6 ? "PC0593501" : "PC059350") + serie;
}

namespace {

namespace dao = platform::dao;
using dao::Variant;
using construction::AjouteIndex;
using construction::Colonne;
using construction::Jour;
using construction::Table;

// The case-record table: the four-part key, the survey fields, the fields selecting the
// records to restore, then the case's own data.
const std::vector<Colonne>& ColonnesFiche() {
  static const std::vector<Colonne> colonnes{
      {"NUFICHE", dao::dbLong},       {"COPERAUT", dao::dbText, 3},  {"NUPERMIS", dao::dbText, 15},
      {"COCNE", dao::dbText, 5},      {"DAFICTOPO", dao::dbDate},    {"COFICTOPO", dao::dbText, 2},
      {"cofictyp", dao::dbText, 1},   {"coficvtopo", dao::dbText, 1}, {"daficcro", dao::dbDate},
      {"daficplan", dao::dbDate},     {"LIFICADR", dao::dbText, 80},  {"COFICCOM", dao::dbText, 5},
      {"LIFICCOM", dao::dbText, 40},  {"NUFICSEC", dao::dbText, 2},  {"NUFICPAR", dao::dbText, 4},
      {"LIFICDEM", dao::dbText, 60},  {"DAFICDEP", dao::dbDate},     {"DAFICACC", dao::dbDate},
      {"MTFICSUR", dao::dbDouble},    {"NBFICLOG", dao::dbInteger},  {"NBFICNIV", dao::dbByte},
      {"COFICETA", dao::dbText, 2},   {"INFICAGR", dao::dbBoolean},  {"MTFICVAL", dao::dbCurrency},
      {"LIFICOBS", dao::dbMemo},      {"COFICAGT", dao::dbText, 6},  {"DAFICMAJ", dao::dbDate},
      {"NUFICPRE", dao::dbLong},      {"COFICNAT", dao::dbText, 3},  {"INFICMOD", dao::dbBoolean},
  };
  return colonnes;
}

constexpr std::array<const char*, 3> kServices{"ADS", "DDT", "MAI"};
constexpr std::array<const char*, 2> kCommunes{"59350", "62041"};
constexpr std::array<const char*, 3> kNomsCommunes{"Lille", "Arras", "Roubaix"};
constexpr std::array<const char*, 4> kDemandeurs{"SCI Les Tilleuls", "M. et Mme Durand", "Commune de Fives",
                                                 "GAEC du Moulin"};

// The key and the case data shared by a record and its twin.
void RemplitFiche(dao::Recordset& rs, int i) {
  rs.Fields("NUFICHE").SetValue(1000 + i);
  rs.Fields("COPERAUT").SetValue(kServices[static_cast<std::size_t>(i % 3)]);
  rs.Fields("NUPERMIS").SetValue(NumeroPermis(i));
  rs.Fields("COCNE").SetValue(kCommunes[static_cast<std::size_t>(i % 2)]);
  rs.Fields("LIFICADR").SetValue(std::to_string(1 + i % 90) + " rue du Faubourg d'Arras");
  rs.Fields("COFICCOM").SetValue(kCommunes[static_cast<std::size_t>(i % 2)]);
  rs.Fields("LIFICCOM").SetValue(kNomsCommunes[static_cast<std::size_t>(i % 3)]);
  rs.Fields("NUFICSEC").SetValue(std::string(1, static_cast<char>('A' + i % 26)) + "B");
  rs.Fields("NUFICPAR").SetValue(std::to_string(100 + i % 9900));  // four digits, whatever the count
  rs.Fields("LIFICDEM").SetValue(kDemandeurs[static_cast<std::size_t>(i % 4)]);
  rs.Fields("DAFICDEP").SetValue(Jour(2011, 1 + i % 12, 1 + i % 28));
  if (i % 4 != 2) rs.Fields("DAFICACC").SetValue(Jour(2012, 1 + i % 12, 1 + i % 28));
  rs.Fields("MTFICSUR").SetValue(85.5 + i * 12.25);
  rs.Fields("NBFICLOG").SetValue(1 + i % 6);
  rs.Fields("NBFICNIV").SetValue(Variant(jet::Value::byte(static_cast<std::uint8_t>(1 + i % 3))));
  rs.Fields("COFICETA").SetValue(i % 3 == 0 ? "AC" : "EC");
  rs.Fields("INFICAGR").SetValue(i % 8 == 0);
  rs.Fields("MTFICVAL").SetValue(Variant(jet::Value::currency((150000 + i * 2500) * 10000LL)));
  if (i % 5 == 0) {
    rs.Fields("LIFICOBS").SetValue("Dossier suivi par le géomètre.\r\nPlan de masse reçu en mairie le " +
                                   std::to_string(1 + i % 28) + "/03/2012.");
  }
  rs.Fields("COFICAGT").SetValue("AGT" + std::to_string(10 + i % 7));
  rs.Fields("DAFICMAJ").SetValue(Jour(2013, 1, 1 + i % 17));
  if (i > 0 && i % 6 == 0) rs.Fields("NUFICPRE").SetValue(1000 + i - 1);
  rs.Fields("COFICNAT").SetValue(i % 2 == 0 ? "CON" : "EXT");
  rs.Fields("INFICMOD").SetValue(i % 9 == 0);
}

void AjouteFichesSauvegarde(dao::Database& bd, int fiches) {
  dao::Recordset rs = bd.OpenRecordset("FICHE", dao::dbOpenTable);
  for (int i = 0; i < fiches + 2; ++i) {
    const bool jumeau = i < fiches && i % 6 != 5;
    if (jumeau) {
      rs.AddNew();
      RemplitFiche(rs, i);
      rs.Fields("cofictyp").SetValue("1");
      // The backup knew the survey of most records; a few had none yet.
      if (i % 8 != 6) {
        rs.Fields("DAFICTOPO").SetValue(Jour(2012, 6, 1 + i % 28));
        rs.Fields("COFICTOPO").SetValue(std::string("T") + static_cast<char>('1' + i % 3));
      }
      rs.Update();
    }
    // A record matching on three parts of the key only, and records the live base no
    // longer has: none of them may reach a live record.
    if (i % 10 == 7 || i >= fiches) {
      rs.AddNew();
      RemplitFiche(rs, i);
      if (i % 10 == 7 && i < fiches) rs.Fields("COCNE").SetValue("99999");
      rs.Fields("cofictyp").SetValue("1");
      rs.Fields("DAFICTOPO").SetValue(Jour(2010, 1, 1));
      rs.Fields("COFICTOPO").SetValue("ZZ");
      rs.Update();
    }
  }
  rs.Close();
}

}  // namespace

namespace base_quelis {

jet::TableDesign TableFiche() {
  jet::TableDesign fiche = Table("FICHE", ColonnesFiche());
  AjouteIndex(fiche, "PrimaryKey", {"NUFICHE", "COPERAUT", "NUPERMIS", "COCNE"}, true);
  AjouteIndex(fiche, "COFICCOM", {"COFICCOM"}, false);
  AjouteIndex(fiche, "DAFICDEP", {"DAFICDEP"}, false);
  AjouteIndex(fiche, "cofictyp", {"cofictyp"}, false);
  return fiche;
}

jet::TableDesign TableVersion() { return Table("VERSION", {{"livers", dao::dbText, 20}, {"liverslexe", dao::dbText, 20}}); }

jet::TableDesign TableCdif() {
  jet::TableDesign cdif = Table("CDIF", {{"cocdidep", dao::dbText, 3},
                                       {"cocdidir", dao::dbText, 2},
                                       {"cocdif", dao::dbText, 2},
                                       {"cocditype", dao::dbText, 1},
                                       {"licdif", dao::dbText, 120},
                                       {"liadrcdif", dao::dbText, 120},
                                       {"nutelcdif", dao::dbText, 14}});
  AjouteIndex(cdif, "PrimaryKey", {"cocdidep", "cocdidir", "cocdif"}, true);
  return cdif;
}

void AjouteFichesVivantes(dao::Database& bd, int fiches, const ComplementFiche& complement) {
  dao::Recordset rs = bd.OpenRecordset("FICHE", dao::dbOpenTable);
  for (int i = 0; i < fiches; ++i) {
    rs.AddNew();
    RemplitFiche(rs, i);
    // Type '1' for three records in four; the three fields that keep a record out of the
    // survey restore, each on its own rhythm.
    rs.Fields("cofictyp").SetValue(i % 4 == 3 ? "2" : "1");
    if (i % 5 == 1) rs.Fields("coficvtopo").SetValue("O");
    if (i % 7 == 2) rs.Fields("daficcro").SetValue(Jour(2012, 11, 1 + i % 28));
    if (i % 9 == 4) rs.Fields("daficplan").SetValue(Jour(2012, 12, 1 + i % 28));
    // Some records still hold survey data of their own; the others lost it.
    if (i % 4 != 0) {
      rs.Fields("DAFICTOPO").SetValue(Jour(2013, 1, 2 + i % 20));
      rs.Fields("COFICTOPO").SetValue("LV");
    }
    if (complement) complement(rs, i);
    rs.Update();
  }
  rs.Close();
}

void RemplitVersion(dao::Database& bd, const std::optional<std::string>& livers, const std::string& lexe) {
  dao::Recordset rs = bd.OpenRecordset("VERSION", dao::dbOpenTable);
  rs.AddNew();
  rs.Fields("livers").SetValue(livers ? Variant(*livers) : Variant::Null());
  rs.Fields("liverslexe").SetValue(lexe);
  rs.Update();
  rs.Close();
}

void RemplitCdif(dao::Database& bd, const SiteEchantillon& site) {
  dao::Recordset rs = bd.OpenRecordset("CDIF", dao::dbOpenTable);
  // A neighbouring office first: the site's own record is found by its type, not its place.
  rs.AddNew();
  rs.Fields("cocdidep").SetValue(site.cocdidep);
  rs.Fields("cocdidir").SetValue(site.cocdidir == "09" ? "08" : "09");
  rs.Fields("cocdif").SetValue("00");
  rs.Fields("cocditype").SetValue("2");
  rs.Fields("licdif").SetValue("Service des impôts des particuliers voisin");
  rs.Update();
  rs.AddNew();
  rs.Fields("cocdidep").SetValue(site.cocdidep);
  rs.Fields("cocdidir").SetValue(site.cocdidir);
  rs.Fields("cocdif").SetValue(site.cocdif);
  rs.Fields("cocditype").SetValue("1");
  rs.Fields("licdif").SetValue(site.licdif);
  rs.Fields("liadrcdif").SetValue("2 place de la République");
  rs.Fields("nutelcdif").SetValue("03 20 00 00 00");
  rs.Update();
  rs.Close();
}

}  // namespace base_quelis

using namespace base_quelis;

void CreeBaseQuelis(dao::DBEngine& moteur, const std::string& chemin, const BaseEchantillon& base) {
  construction::CreeBase(moteur, chemin, {TableVersion(), TableCdif(), TableFiche()}, [&](dao::Database& bd) {
    RemplitVersion(bd, base.livers, "4.4.0.0");
    RemplitCdif(bd, base.site);
    AjouteFichesVivantes(bd, base.fiches, nullptr);
  });
}

void CreeBaseSauvegarde(dao::DBEngine& moteur, const std::string& chemin, int fiches) {
  construction::CreeBase(moteur, chemin, {TableFiche()}, [&](dao::Database& bd) {
    AjouteFichesSauvegarde(bd, fiches);
  });
}

void CreeBaseEcole(dao::DBEngine& moteur, const std::string& chemin, const SiteEchantillon& site, int fiches) {
  construction::CreeBase(moteur, chemin, {TableVersion(), TableCdif(), TableFiche()}, [&](dao::Database& bd) {
    RemplitVersion(bd, std::string("4.4.0.3"), "4.4.0.1");
    RemplitCdif(bd, site);
    AjouteFichesVivantes(bd, fiches, nullptr);
  });
}

SiteEchantillon SiteTorvandes() { return {"099", "01", "00", "CDIF de Torvandes (base Ecole)"}; }
SiteEchantillon SiteMiranel() { return {"099", "02", "00", "Centre des impôts fonciers\r\nde Miranel (CDI-CDIF)"}; }

}  // namespace echantillon
