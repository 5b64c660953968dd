// `quelis-maj etape`: one named step of the catalogue run on one database the way an update
// runs (temporary copy, repair, one transaction, compaction, replacement), with its log
// beside the database.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "platform/clock.h"

namespace etape {

// Prints the steps with their arguments.
void Liste(std::ostream& out);

// Runs step `nom` with `arguments` on `base`: a Windows path of the workstation folder
// `workstation` when one is given, else a file of this machine. Returns 0 when the step
// succeeded, 1 when it failed (the live file unchanged), 2 for a wrong name or arguments, 3
// when the database cannot be reached.
int Lance(const std::string& workstation, const std::string& base, const std::string& nom,
          const std::vector<std::string>& arguments, const std::optional<platform::DateTime>& horloge,
          std::ostream& out, std::ostream& err);

}  // namespace etape
