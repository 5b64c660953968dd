// Shared state behind the object model's handles (internal to platform/dao).
//
// Handles hold shared pointers to these; a DatabaseImpl stays alive as long as some handle
// refers to it, but once closed it has no engine behind it and every use raises 3420.
// The workspace knows its databases by weak pointers, so a database dropped by every handle
// closes and leaves the workspace's transactions.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/api/database.h"
#include "jet/api/sql.h"
#include "platform/filelock.h"
#include "platform/workstation.h"

namespace platform::dao::detail {

struct DatabaseImpl;

struct WorkspaceImpl {
  const platform::Workstation* workstation = nullptr;
  int depth = 0;  // open transaction levels
  std::vector<std::weak_ptr<DatabaseImpl>> databases;

  // The databases still open, in opening order (forgets the others).
  std::vector<std::shared_ptr<DatabaseImpl>> live();
};

struct EngineImpl {
  const platform::Workstation* workstation = nullptr;
  std::shared_ptr<WorkspaceImpl> workspace;
};

struct DatabaseImpl {
  std::shared_ptr<WorkspaceImpl> workspace;
  std::string name;                     // the Windows path as given
  std::filesystem::path local;          // the file on this machine
  std::unique_ptr<jet::WritableDatabase> writable;
  std::unique_ptr<jet::Database> reader;  // opened read-only
  std::unique_ptr<jet::TableIndexHook> hook;
  std::unique_ptr<jet::sql::Executor> executor;
  std::unique_ptr<jet::Catalog> catalogCache;
  std::optional<platform::FileLockHolder> lockFile;
  std::filesystem::path lockFilePath;
  int joined = 0;  // transaction levels of the workspace this database has open
  long recordsAffected = 0;

  ~DatabaseImpl();

  bool isOpen() const noexcept { return writable || reader; }
  // Raises 3420 once closed.
  void checkOpen() const;
  // Raises 3027 when opened read-only.
  void checkWritable() const;
  jet::Pager& pager();
  // The catalog as the open transaction sees it (read again after schema changes).
  const jet::Catalog& catalog();
  // Bumped by every schema change and rollback: what was read from definitions is stale.
  std::uint64_t schemaGeneration = 0;
  void schemaChanged() {
    catalogCache.reset();
    executor.reset();
    ++schemaGeneration;
  }

  // Local table by name, case-blind (jet error 3078 when none).
  const jet::CatalogEntry& tableEntry(std::string_view table);
  jet::TableDef tableDef(std::string_view table);
  jet::Table table(std::string_view table);
  jet::TableWriter writer(std::string_view table);
  jet::sql::Executor& sql();

  void close();
};

// A database path of the application resolved on the workstation (jet error 3044 when it
// cannot name a file there), and the file checked present (3044 folder, 3024 file).
ResolvedPath resolveDatabasePath(const platform::Workstation& workstation, std::string_view path);
void checkFilePresent(const ResolvedPath& resolved, std::string_view path);
// Rethrows an engine error about a file with the application's path in its text: the file
// `local` is named `path`, and another file of its folder by its Windows name.
[[noreturn]] void rethrowWithPath(const jet::Error& e, std::string_view path,
                                  const std::filesystem::path& local = {});

// Opens other databases named in SQL text ([;database=C:\...]) through the workstation.
jet::sql::DatabaseOpener workstationOpener(const platform::Workstation& workstation);

// Opens a database for a workspace (errors as OpenDatabase raises them).
std::shared_ptr<DatabaseImpl> openDatabase(const std::shared_ptr<WorkspaceImpl>& workspace,
                                           std::string_view path, bool exclusive, bool readOnly);

}  // namespace platform::dao::detail
