#include "jet/db/database.h"

#include "jet/base/error.h"
#include "jet/base/names.h"
#include "jet/record/table_def.h"

namespace jet {

std::unique_ptr<Database> Database::open(const std::string& path, OpenOptions options) {
  const os::Services& services = options.services ? *options.services : os::system_services();
  const OpenMode mode = options.exclusive || options.writable ? OpenMode::Exclusive : OpenMode::Shared;
  const std::vector<std::uint8_t> prefix = read_file_prefix(services, path, 0x100, mode);
  if (prefix.empty()) throw_damaged(path, "fichier vide");
  std::unique_ptr<Database> db(new Database());
  db->path_ = path;
  db->header_ = parse_header(prefix, path);
  // Jet 3 files are refused for writing before they are opened for it.
  if (options.writable) require_writable(layout_of(db->header_.format), path);
  auto pager = std::make_unique<FilePager>(open_database_file(services, path, mode, options.writable), path,
                                           db->header_.page_size, services);
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
