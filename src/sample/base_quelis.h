// The pieces of the live database that other sample databases build on: its three tables
// (VERSION, CDIF, FICHE) and the rows CreeBaseQuelis puts in them, so that a larger database
// holds the same tables and the same rows for the same arguments.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "jet/api/schema.h"
#include "platform/dao/dao.h"
#include "sample/sample_databases.h"

namespace echantillon::base_quelis {

namespace dao = platform::dao;

jet::TableDesign TableVersion();
jet::TableDesign TableCdif();
jet::TableDesign TableFiche();

void RemplitVersion(dao::Database& bd, const std::optional<std::string>& livers, const std::string& lexe);
// The neighbouring office (type '2') first, then the site itself (type '1').
void RemplitCdif(dao::Database& bd, const SiteEchantillon& site);

// Called on each new case record `i`, after its own fields are set and before it is saved,
// to fill columns a larger database adds to FICHE.
using ComplementFiche = std::function<void(dao::Recordset&, int)>;
void AjouteFichesVivantes(dao::Database& bd, int fiches, const ComplementFiche& complement);

}  // namespace echantillon::base_quelis
