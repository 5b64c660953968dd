// The means by which the sample databases are built: table designs written as lists of
// columns, their indexes, rows added through the data-access objects, relations, and the
// creation of a file with its tables followed by the filling of its rows in one transaction.
#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "jet/api/schema.h"
#include "platform/dao/dao.h"

namespace echantillon::construction {

namespace dao = platform::dao;

struct Colonne {
  const char* nom;
  int type;       // the engine's field-type code (dao::dbText...)
  int taille = 0;  // characters, for text
};

// A table of `colonnes` in this order; text and memo columns accept the zero-length text, as
// the application's forms write "" for a cleared field.
jet::TableDesign Table(const char* nom, const std::vector<Colonne>& colonnes);

void AjouteIndex(jet::TableDesign& table, const char* nom, std::initializer_list<const char*> champs, bool primaire);

dao::Variant Jour(int annee, int mois, int jour);

// Adds `lignes` to `table`, each value set on the field of the same rank in `champs`; an
// Empty value leaves the field to its default (Null).
void AjouteLignes(dao::Database& bd, const std::string& table, const std::vector<std::string>& champs,
                  const std::vector<std::vector<dao::Variant>>& lignes);

// An enforced relation (attributes 0, no cascade) from the primary table `table` to
// `etrangere`, on the pairs (field of `table`, field of `etrangere`).
void Relie(dao::Database& bd, const std::string& nom, const std::string& table, const std::string& etrangere,
           const std::vector<std::pair<std::string, std::string>>& paires);

// Creates the file at the Windows path `chemin` of the engine's workstation with `tables`
// (an existing file is refused, 3204), then opens it exclusively and runs `remplissage` in
// one transaction: the rows reach the file once, at the commit.
void CreeBase(dao::DBEngine& moteur, const std::string& chemin, const std::vector<jet::TableDesign>& tables,
              const std::function<void(dao::Database&)>& remplissage);

}  // namespace echantillon::construction
