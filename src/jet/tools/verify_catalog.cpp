#include "jet/tools/verify_catalog.h"

#include <map>

#include "jet/base/error.h"
#include "jet/base/names.h"
#include "jet/storage/format.h"

namespace jet {

std::vector<CheckedTable> tables_to_check(const Catalog& catalog) {
  std::vector<CheckedTable> out;
  bool catalog_listed = false;
  for (const CatalogEntry* entry : catalog.tables(true)) {
    out.push_back({entry->name, entry->table_page()});
    catalog_listed = catalog_listed || entry->table_page() == disk::kCatalogPage;
  }
  if (!catalog_listed) out.insert(out.begin(), {"MSysObjects", disk::kCatalogPage});
  return out;
}

void verify_catalog(const Catalog& catalog, const FormatLayout& layout, std::vector<std::string>& problems) {
  for (const char* name : {"MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships"})
    if (!catalog.find_table(name))
      problems.push_back(std::string("le catalogue ne décrit pas la table système « ") + name + " »");
  // Tables and queries share one name space: compaction recreates them by name.
  std::map<std::string, int> names;
  for (const CatalogEntry& entry : catalog.entries())
    if (entry.type == static_cast<std::int16_t>(ObjectType::Table) || entry.type == static_cast<std::int16_t>(ObjectType::Query))
      if (++names[fold_name(entry.name)] == 2)
        problems.push_back("le catalogue nomme « " + entry.name + " » plusieurs tables ou requêtes");
  for (const CatalogEntry& entry : catalog.entries()) {
    try {
      entry.property_set();
    } catch (const Error& e) {
      // The engine does not decode the properties of Access 97 files (3251 there).
      if (e.number() != static_cast<int>(ErrorCode::DatabaseDamaged) && layout.format != FileFormat::Jet4) continue;
      problems.push_back("objet « " + entry.name + " » du catalogue : propriétés illisibles : " + e.description());
    }
  }
}

}  // namespace jet
