// Application databases for samples and tests: the live database of a data folder, the
// backup of 18 January 2013 beside it, and the school databases delivered with the program.
// They hold the tables the update tool reads or writes, with the columns, keys and indexes
// of the application, and a deterministic content: the same arguments always give the same
// rows.
//
// Case records (FICHE) are numbered 0 .. fiches-1. Record i of the live database and its
// twin in the backup share the four-part key; the backup has twins for most records only,
// and holds the survey date and code (DAFICTOPO, COFICTOPO) the live records lost. The live
// records vary in type (cofictyp) and in the three fields that keep a record out of the
// survey restore (coficvtopo, daficcro, daficplan), so that every case of the restore occurs
// once the sample holds a dozen records or more.
#pragma once

#include <optional>
#include <string>

#include "platform/dao/dbengine.h"

namespace echantillon {

// The site a database belongs to: its CDIF code in three parts and its label.
struct SiteEchantillon {
  std::string cocdidep;  // "059"
  std::string cocdidir;  // "01"
  std::string cocdif;    // "00"
  std::string licdif;    // "Centre des impôts fonciers de Lille"
};

struct BaseEchantillon {
  std::optional<std::string> livers = std::string("4.4.0.1");  // std::nullopt: a Null version
  SiteEchantillon site;
  int fiches = 24;
};

// Each builder writes a new database at the Windows path `chemin` of the engine's
// workstation; an existing file is refused (3204) and left alone.

// A live database: VERSION (one record), CDIF (the site as type '1', a neighbour as type
// '2'), FICHE with `fiches` records.
void CreeBaseQuelis(platform::dao::DBEngine& moteur, const std::string& chemin, const BaseEchantillon& base);

// The backup of 18 January 2013 for a live database of `fiches` records: FICHE only, with
// the twins and their survey fields.
void CreeBaseSauvegarde(platform::dao::DBEngine& moteur, const std::string& chemin, int fiches);

// A delivered school database: already at 4.4.0.3, its site's CDIF label as type '1'.
void CreeBaseEcole(platform::dao::DBEngine& moteur, const std::string& chemin, const SiteEchantillon& site,
                   int fiches = 12);

// The two school sites of this release.
// The permit number of record `i`: 15 characters at most (the column's size) and distinct
// for every record up to 1,000,000 (past 998,000 the serial has 7 digits and takes the place
// of the prefix's last one).
std::string NumeroPermis(int i);

SiteEchantillon SiteTorvandes();
SiteEchantillon SiteMiranel();

}  // namespace echantillon
