// Files a killed run leaves behind: a database being created or compacted under a temporary
// name, its journal. They are recognised by their names (the engine's own suffixes) and
// removed by the next run of the same work, unless a live run holds them.
#pragma once

#include <string>

#include "os/services.h"

namespace jet {

// Removes `path` (and its journal) when it is there and no one holds it open. Returns false
// when someone does: a run of the same work is under way. Throws os::Failure when it cannot
// be removed.
bool remove_if_unheld(const os::Services& services, const std::string& path);

}  // namespace jet
