#include "jet/database.h"

#include "jet/error.h"
#include "jet/names.h"
#include "jet/table_def.h"

namespace jet {

std::unique_ptr<Database> Database::open(const std::string& path, OpenOptions options) {
  const std::vector<std::uint8_t> prefix = FilePager::read_prefix(path, 0x100);
  if (prefix.empty()) throw_damaged(path, "fichier vide");
  std::unique_ptr<Database> db(new Database());
  db->path_ = path;
  db->header_ = parse_header(prefix, path);
  auto pager = std::make_unique<FilePager>(path, db->header_.page_size,
                                           options.exclusive ? OpenMode::Exclusive : OpenMode::Shared);
  pager->set_format(layout_of(db->header_.format), db->header_.code_page);
  // Page 0 header, page 1 global usage map, page 2 the catalog's definition at least.
  if (pager->page_count() < 3) throw_damaged(path, "fichier tronqué");
  db->pager_ = std::move(pager);
  db->catalog_ = std::make_unique<Catalog>(*db->pager_);
  return db;
}

std::vector<std::string> Database::table_names(bool with_system) const {
  std::vector<std::string> names;
  for (const CatalogEntry* e : catalog_->tables(with_system)) names.push_back(e->name);
  return names;
}

Table Database::table(std::string_view name) {
  const CatalogEntry* entry = catalog_->find_table(name);
  if (!entry) throw Error(ErrorCode::TableNotFound, name);
  return Table(*pager_, entry->name, read_table_def(*pager_, entry->table_page()));
}

}  // namespace jet
