// Replacing a database file by its finished copy in one step. The live name always holds a
// whole database: the old one until the rename, the new one after it, never nothing, even if
// the program stops in between.
#pragma once

#include <string_view>

#include "platform/dao/write_guard.h"
#include "platform/workstation.h"

namespace pipeline {

// Renames the file `source` to `cible` (Windows paths of the same drive), replacing `cible`
// when it exists. Errors as VB's file statements raise them: 53 source missing, 76 folder
// missing, 74 across drives, 70 when another process holds either file.
// `garde`, when given, holds `cible` against other writers: it is let go at the rename (just
// before it where the system requires, see WriteGuard), and the file it holds is not taken
// for one held by another process.
void RemplaceFichier(const platform::Workstation& poste, std::string_view source, std::string_view cible,
                     platform::dao::WriteGuard* garde = nullptr);

}  // namespace pipeline
