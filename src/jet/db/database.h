// A Jet 4 or Jet 3 (Access 97) database file opened for reading: header, catalog and tables.
// The pager carries the layout of the file's format, which every reader follows.
// open() refuses anything else: 3024 missing file, 3044 missing folder, 3343 other format
// (ACE, not a database), 3049 damaged (empty, truncated, inconsistent catalog), 3045/3356
// locked (see jet/storage/database_file.h). Jet 3 files are read only: writers refuse them (3041).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "jet/catalog/catalog.h"
#include "jet/storage/header.h"
#include "jet/storage/database_file.h"
#include "jet/storage/pager.h"
#include "jet/table/table.h"

namespace jet {

struct OpenOptions {
  bool exclusive = false;
  // Opens the file for writing too (exclusive only); WritableDatabase asks for it.
  bool writable = false;
  // The file system, clock and random source; the machine's own when null.
  const os::Services* services = nullptr;
};

class Database {
 public:
  static std::unique_ptr<Database> open(const std::string& path, OpenOptions options = {});

  const std::string& path() const noexcept { return path_; }
  const DatabaseHeader& header() const noexcept { return header_; }
  FilePager& pager() noexcept { return *pager_; }
  const Catalog& catalog() const noexcept { return *catalog_; }

  std::vector<std::string> table_names(bool with_system = false) const;
  // Opens a local table by name (case-insensitive); 3078 when there is none.
  Table table(std::string_view name);

 private:
  Database() = default;
  std::string path_;
  DatabaseHeader header_;
  std::unique_ptr<FilePager> pager_;
  std::unique_ptr<Catalog> catalog_;
};

}  // namespace jet
