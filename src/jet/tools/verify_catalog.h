// The whole-database check, catalog side: the four tables every Jet database holds
// (MSysObjects, MSysACEs, MSysQueries, MSysRelationships) are listed, no two tables or
// queries share a name, and every object's properties decode (those of Access 97 files are not decoded: only damage counts there).
// A catalog data page lost or overwritten drops rows silently when the catalog is read, so
// the system tables going missing is how such damage shows here.
#pragma once

#include <string>
#include <vector>

#include "jet/catalog/catalog.h"
#include "jet/storage/format_layout.h"

namespace jet {

// A table the whole-database check walks.
struct CheckedTable {
  std::string name;
  PageNumber page = 0;  // first definition page
};

// The catalog's tables, system ones included, and the catalog table itself (its definition
// is always on page 2) when its own row is lost.
std::vector<CheckedTable> tables_to_check(const Catalog& catalog);

void verify_catalog(const Catalog& catalog, const FormatLayout& layout, std::vector<std::string>& problems);

}  // namespace jet
