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
// when the database cannot be reached. With `fichesReference`, the reference database of that
// many case records is first written at `base` (see CreeBaseReference), once the step and its
// arguments are known to be right.
int Lance(const std::string& workstation, const std::string& base, const std::string& nom,
          const std::vector<std::string>& arguments, const std::optional<platform::DateTime>& horloge,
          std::ostream& out, std::ostream& err, const std::optional<int>& fichesReference = std::nullopt);

// Writes the reference application database (sample/reference_database.h) at `base`, a
// Windows path of `workstation` or a new file of this machine, with `fiches` case records,
// for a maintainer to try steps on. An existing file is refused and left alone. Returns 0
// when it was written, 2 when the file exists, 3 when its folder cannot be reached.
int CreeBaseReference(const std::string& workstation, const std::string& base, int fiches, std::ostream& out,
                      std::ostream& err);

}  // namespace etape
