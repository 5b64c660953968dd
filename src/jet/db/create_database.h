// A new, empty Jet 4 database written from nothing: header page, global usage map, the
// system tables the engine keeps (MSysObjects, MSysACEs, MSysQueries, MSysRelationships),
// the catalog rows of the containers and of the database object with its properties, and
// the access-control rows of each. Access opens such a file and adds its own objects.
#pragma once

#include <memory>
#include <string>

#include "jet/db/writable_database.h"

namespace jet {

struct CreateOptions {
  std::uint16_t code_page = 1252;
  std::uint16_t sort_order = 0x0409;  // General
  // Creation date stamped in the header and on the catalog rows (Jet days); 0: now.
  double created = 0;
  // The file system and clock to create through; the machine's own when null.
  const os::Services* services = nullptr;
};

// Writes the file, then opens it for writing (exclusively). Refuses an existing file
// (3204) and a missing folder (3044); on any failure nothing is left behind.
std::unique_ptr<WritableDatabase> create_database(const std::string& path, const CreateOptions& options = {});

}  // namespace jet
