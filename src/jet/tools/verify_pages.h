// The page-level part of the whole-database check: every page against the maps that claim
// it. A table's owned-pages map lists only data pages of that table; no page has two
// owners (definition pages, data pages, index pages and the bitmap pages of reference
// maps); no claimed page is marked free; the free-page map reaches every page in use;
// every data page records its true free space. Problems are appended as French sentences.
#pragma once

#include <string>
#include <vector>

#include "jet/db/database.h"

namespace jet {

void verify_pages(Database& db, std::vector<std::string>& problems);

}  // namespace jet
