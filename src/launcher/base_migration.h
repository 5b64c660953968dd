// The two reads the folder-layout migration makes in the old data location's database: the
// version of the database and the site's CDIF code. They go through this narrow interface so
// that the migration does not depend on how the database engine is reached.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace platform::dao {
class DBEngine;
}

namespace launcher {

class BaseMigration {
 public:
  virtual ~BaseMigration() = default;
  // Opens the database at `chemin` (a Windows path) exclusively, without password. A missing,
  // locked or unreadable database raises the engine's error (platform::Error).
  virtual void OuvrirExclusif(const std::string& chemin) = 0;
  // `livers` of the first record of table VERSION; std::nullopt for a Null value. A table
  // without record raises the engine's "no current record" error.
  virtual std::optional<std::string> VersionBase() = 0;
  // `codecdif` of the first row of
  //   select (cocdidep & cocdidir & cocdif) as codecdif from CDIF where cocditype='1'
  // untrimmed (a Null value reads as ""); std::nullopt when the query returns no row.
  virtual std::optional<std::string> CodeCdif() = 0;
  // Closes the database; harmless when nothing is open.
  virtual void Fermer() = 0;
};

using FabriqueBaseMigration = std::function<std::unique_ptr<BaseMigration>()>;

// The reads through the program's database engine: the default workspace, VERSION as a
// table record set, the CDIF query as a snapshot. `moteur` must outlive the object.
std::unique_ptr<BaseMigration> BaseMigrationMoteur(platform::dao::DBEngine& moteur);

}  // namespace launcher
