// The temporary files an update makes beside a database (QuelMaj.mdb, QuelComp.mdb), and
// what a run stopped in the middle leaves of them: the files themselves, the files the engine
// makes under their names while writing them ("QuelComp.mdb.creation"...), and their lock
// files. Such leftovers are the program's own and never stop a later run; a file some live
// process holds open is not a leftover.
#pragma once

#include <string>
#include <vector>

#include "platform/workstation.h"

namespace pipeline {

// Access's lock file of the database `base` (a path or a name): its name with its extension,
// whatever its case, made ".ldb".
std::string NomVerrou(const std::string& base);

// The files of the folder `dossier` (Windows path ending in "\") that are the temporaries
// `noms` (file names), a name of one of them followed by more, or their ".ldb" lock files,
// as Windows paths with the spelling on disk. `base`, the database being treated, and its lock
// file are never among them.
std::vector<std::string> FichiersTemporaires(const platform::Workstation& poste, const std::string& dossier,
                                             const std::vector<std::string>& noms, const std::string& base);

// Removes the temporary `chemin`, read-only or not. Raises 3045 naming it when another process
// holds it, 70 naming it when the system refuses to remove it.
void SupprimeTemporaire(const platform::Workstation& poste, const std::string& chemin);

}  // namespace pipeline
