#include "jet/db/database.h"

#include "jet/base/error.h"
#include "jet/base/names.h"
#include "jet/record/table_def.h"
#include "jet/storage/rollback_journal.h"
#include "jet/storage/write_behind_file.h"

namespace jet {

std::unique_ptr<Database> Database::open(const std::string& path, OpenOptions options) {
  const os::Services& services = options.services ? *options.services : os::system_services();
  const OpenMode mode = options.exclusive || options.writable ? OpenMode::Exclusive : OpenMode::Shared;
  // A commit cut short by a kill or a failing disk is undone before anything is read.
  recover_journal(services, path);
  // One handle for everything that follows (a writer writes through the handle it locked).
  std::shared_ptr<os::File> file;
  try {
    file = open_database_file(services, path, mode, options.writable);
  } catch (const Error& e) {
    // Jet 3 files are refused for writing as such, whatever the file's attributes.
    if (options.writable && e.number() == 3051) {
      const std::vector<std::uint8_t> prefix = read_file_prefix(services, path, 0x100, mode);
      if (!prefix.empty()) require_writable(layout_of(parse_header(prefix, path).format), path);
    }
    throw;
  }
  std::vector<std::uint8_t> prefix(0x100);
  try {
    prefix.resize(file->read_at(0, prefix));
  } catch (const os::Failure& failure) {
    throw_file_failure(failure, services, path, FileActivity::Reading);
  }
  if (prefix.empty()) throw_damaged(path, "fichier vide");
  std::unique_ptr<Database> db(new Database());
  db->path_ = path;
  db->header_ = parse_header(prefix, path);
  if (options.writable) require_writable(layout_of(db->header_.format), path);
  // A writer's file may take its new pages on a helper thread (a compaction's).
  if (options.writable) file = std::make_shared<WriteBehindFile>(std::move(file));
  auto pager = std::make_unique<FilePager>(std::move(file), path, db->header_.page_size, services);
  pager->set_format(layout_of(db->header_.format), db->header_.code_page);
  // Page 0 header, page 1 global usage map, page 2 the catalog's definition at least.
  if (pager->page_count() < 3) throw_damaged(path, "fichier tronqué");
  // A journal still there now could not be played back because another program has the
  // file open for reading: its pages may be half old, half new.
  if (services.files->exists(journal_path(path))) throw Error(ErrorCode::FileInUse, path);
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
