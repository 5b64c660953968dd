#include "jet/db/writable_database.h"

#include "jet/base/error.h"
#include "jet/record/properties.h"
#include "jet/db/referential.h"
#include "jet/record/table_def.h"

namespace jet {

std::unique_ptr<WritableDatabase> WritableDatabase::open(const std::string& path, const os::Services* services) {
  std::unique_ptr<WritableDatabase> w(new WritableDatabase());
  OpenOptions options;
  options.exclusive = true;
  options.writable = true;
  options.services = services;
  w->db_ = Database::open(path, options);  // takes the exclusive lock
  FilePager& pager = w->db_->pager();
  w->sink_ = std::make_unique<FileSink>(pager.file(), path, pager.services());
  // Large transactions wait in "<file>.transaction" beyond the memory budget.
  w->overlay_ = std::make_unique<OverlayPager>(w->db_->pager(), w->sink_.get(), spill_path(path));
  w->allocator_ = std::make_unique<PageAllocator>(*w->overlay_);
  w->catalog_ = std::make_unique<Catalog>(*w->overlay_);
  w->referential_ = std::make_unique<ReferentialHook>(*w);
  return w;
}

Table WritableDatabase::table(std::string_view name) {
  const CatalogEntry* entry = catalog_->find_table(name);
  if (!entry) throw Error(ErrorCode::TableNotFound, name);
  return Table(*overlay_, entry->name, read_table_def(*overlay_, entry->table_page()));
}

TableWriter WritableDatabase::writer(std::string_view name, IndexHook* hook) {
  const CatalogEntry* entry = catalog_->find_table(name);
  if (!entry) throw Error(ErrorCode::TableNotFound, name);
  const TableDef def = read_table_def(*overlay_, entry->table_page());
  ColumnRules rules = ColumnRules::from_properties(def, parse_properties(entry->properties));
  return TableWriter(*overlay_, *allocator_, entry->name, entry->table_page(), std::move(rules),
                     hook ? hook : referential_.get());
}

}  // namespace jet

namespace jet {

void WritableDatabase::reload_catalog() { catalog_ = std::make_unique<Catalog>(*overlay_); }

void WritableDatabase::write_unjournaled(bool early_pages) noexcept { sink_->write_unjournaled(early_pages); }

void WritableDatabase::sync() { sink_->sync(); }

}  // namespace jet
