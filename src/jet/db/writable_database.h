// A Jet 4 database opened for writing, always exclusively: the read side's file lock keeps
// every other opener out (3045) while changes are made.
//
// Everything is read through pager(), the overlay that holds uncommitted pages, so readers
// (tables, cursors) see the changes of the open transaction. Nothing reaches the file before
// the outermost commit (see overlay_pager.h, transaction.h). A file that cannot be written
// is refused at open (3051) without being touched.
#pragma once

#include <memory>
#include <string>

#include "jet/db/database.h"
#include "jet/storage/overlay_pager.h"
#include "jet/record/page_allocator.h"
#include "jet/table/table_design.h"
#include "jet/table/table_writer.h"
#include "jet/storage/writable_file.h"

namespace jet {

class WritableDatabase {
 public:
  // Opens `path` exclusively for writing through `services` (the machine's when null).
  static std::unique_ptr<WritableDatabase> open(const std::string& path, const os::Services* services = nullptr);

  const std::string& path() const noexcept { return db_->path(); }
  const DatabaseHeader& header() const noexcept { return db_->header(); }
  // The catalog as the open transaction sees it (reloaded after each catalog change).
  const Catalog& catalog() const noexcept { return *catalog_; }
  OverlayPager& pager() noexcept { return *overlay_; }
  PageAllocator& allocator() noexcept { return *allocator_; }

  // A table read through the overlay (3078 when there is none).
  Table table(std::string_view name);
  // A writer for a local table (3078 when there is none), with the Required and
  // AllowZeroLength rules of its properties. Without `hook`, the database's own hook keeps
  // the table's indexes and enforces its relationships (referential.h: 3200, 3201,
  // cascades); a caller's `hook` replaces it (system tables keep only their indexes with a
  // TableIndexHook). The writer must not outlive the database.
  TableWriter writer(std::string_view name, IndexHook* hook = nullptr);

  // Creates an empty table: definition, usage maps, empty index trees, its MSysObjects row
  // with the properties of the design and its access-control rows, all in one statement.
  // 3010 when a table or query of that name exists; validation errors as validate().
  // Returns the definition page (the table's object id).
  PageNumber create_table(const TableDesign& design);

  // Reads the catalog again through the overlay (after changes made with CatalogWriter).
  void reload_catalog();

  // For a new file thrown away unless completed: commits skip the rollback journal and the
  // sync (see FileSink::write_unjournaled); sync() makes the whole file durable at the end.
  void write_unjournaled(bool early_pages = true) noexcept;
  void sync();

 private:
  WritableDatabase() = default;
  std::unique_ptr<Database> db_;
  std::unique_ptr<FileSink> sink_;
  std::unique_ptr<OverlayPager> overlay_;
  std::unique_ptr<PageAllocator> allocator_;
  std::unique_ptr<Catalog> catalog_;
  std::unique_ptr<IndexHook> referential_;  // the hook of writer() without one of the caller's
};

}  // namespace jet
