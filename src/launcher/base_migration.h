// The two reads the folder-layout migration makes in the old data location's database: the
// version of the database and the site's CDIF code. They go through this narrow interface so
// that the migration does not depend on how the database engine is reached.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

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

// The access this build has: the database engine cannot be created, so opening raises
// error 429 ("Un composant ActiveX ne peut pas créer d'objet") and the migration stops
// through the error report, moving nothing.
std::unique_ptr<BaseMigration> BaseMigrationIndisponible();

}  // namespace launcher
