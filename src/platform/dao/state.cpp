#include "platform/localfs.h"
#include "platform/dao/state.h"

#include <algorithm>
#include <system_error>

#include "platform/dao/dao_error.h"
#include "platform/winpath.h"

namespace platform::dao::detail {

std::vector<std::shared_ptr<DatabaseImpl>> WorkspaceImpl::live() {
  std::vector<std::shared_ptr<DatabaseImpl>> result;
  std::vector<std::weak_ptr<DatabaseImpl>> kept;
  for (auto& weak : databases) {
    auto db = weak.lock();
    if (db && db->isOpen()) {
      result.push_back(db);
      kept.push_back(weak);
    }
  }
  databases = std::move(kept);
  return result;
}

DatabaseImpl::~DatabaseImpl() {
  try {
    close();
  } catch (...) {
    // Closing drops uncommitted pages only; nothing here may escape a destructor.
  }
}

void DatabaseImpl::checkOpen() const {
  if (!isOpen()) throw daoError(dao_errors::InvalidObject);
}

void DatabaseImpl::checkWritable() const {
  checkOpen();
  if (!writable) throw daoError(dao_errors::ReadOnly);
}

jet::Pager& DatabaseImpl::pager() {
  checkOpen();
  if (writable) return writable->pager();
  return reader->pager();
}

const jet::Catalog& DatabaseImpl::catalog() {
  checkOpen();
  if (!catalogCache) catalogCache = std::make_unique<jet::Catalog>(pager());
  return *catalogCache;
}

const jet::CatalogEntry& DatabaseImpl::tableEntry(std::string_view table) {
  const jet::CatalogEntry* entry = catalog().find_table(table);
  if (!entry) throw jet::Error(jet::ErrorCode::TableNotFound, table);
  return *entry;
}

jet::TableDef DatabaseImpl::tableDef(std::string_view table) {
  return jet::read_table_def(pager(), tableEntry(table).table_page());
}

jet::Table DatabaseImpl::table(std::string_view name) {
  const jet::CatalogEntry& entry = tableEntry(name);
  return jet::Table(pager(), entry.name, jet::read_table_def(pager(), entry.table_page()));
}

jet::TableWriter DatabaseImpl::writer(std::string_view name) {
  checkWritable();
  // The database's own writer: indexes kept, relationships enforced (3201, 3200, cascades).
  return writable->writer(tableEntry(name).name);
}

jet::sql::Executor& DatabaseImpl::sql() {
  checkOpen();
  if (!executor) {
    auto opener = workstationOpener(*workspace->workstation);
    if (writable) executor = std::make_unique<jet::sql::Executor>(*writable, opener);
    else executor = std::make_unique<jet::sql::Executor>(*reader, opener);
  }
  return *executor;
}

void DatabaseImpl::close() {
  if (!isOpen()) return;
  executor.reset();
  hook.reset();
  catalogCache.reset();
  // Changes made inside the workspace's open transaction go with the database.
  if (writable) {
    while (writable->pager().depth() > 0) writable->pager().rollback();
  }
  joined = 0;
  writable.reset();
  reader.reset();
  if (lockFile) {
    lockFile->release();
    lockFile.reset();
    std::error_code ignored;
    std::filesystem::remove(lockFilePath, ignored);
  }
}

namespace {

// The Windows text of the folder holding `path` ("C:\a\b.mdb" -> "C:\a").
std::string folderText(std::string_view path) { return ParentPathText(path); }

}  // namespace

// Resolves a database path given by the application; 3044 when it cannot name a file here.
ResolvedPath resolveDatabasePath(const platform::Workstation& workstation, std::string_view path) {
  try {
    ResolvedPath resolved = workstation.resolve(path);
    if (!resolved.rootExists || resolved.windows.isRoot())
      throw jet::Error(jet::ErrorCode::InvalidPath, path);
    return resolved;
  } catch (const platform::Error&) {
    throw jet::Error(jet::ErrorCode::InvalidPath, path);
  }
}

// Checks what Jet checks before opening: the folder, then the file.
void checkFilePresent(const ResolvedPath& resolved, std::string_view path) {
  if (!std::filesystem::is_directory(resolved.local.parent_path()))
    throw jet::Error(jet::ErrorCode::InvalidPath, folderText(path));
  if (!resolved.isFile()) throw jet::Error(jet::ErrorCode::FileNotFound, path);
}

namespace {

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
}

}  // namespace

// The engine names the local file in its texts; the application must see its own path, and
// a file of the same folder the engine worked on (a temporary of the file) by its Windows
// name too.
void rethrowWithPath(const jet::Error& e, std::string_view path, const std::filesystem::path& local) {
  if (!local.empty()) {
    std::string text = e.description();
    const std::string file = platform::localfs::toUtf8(local);
    const std::string folder = platform::localfs::toUtf8(local.parent_path()) + "/";
    if (text.find(file) != std::string::npos) {
      replaceAll(text, file, std::string(path));
      throw jet::Error(e.number(), text);
    }
    if (text.find(folder) != std::string::npos) {
      replaceAll(text, folder, folderText(path) + "\\");
      throw jet::Error(e.number(), text);
    }
  }
  switch (e.number()) {
    case 3024:
    case 3044:
    case 3045:
    case 3049:
    case 3343:
      throw jet::Error(e.number(), jet::describe(e.number(), path));
    default:
      throw e;
  }
}

jet::sql::DatabaseOpener workstationOpener(const platform::Workstation& workstation) {
  const platform::Workstation* ws = &workstation;
  return [ws](std::string_view path) -> std::unique_ptr<jet::Database> {
    ResolvedPath resolved = resolveDatabasePath(*ws, path);
    checkFilePresent(resolved, path);
    try {
      jet::OpenOptions options;
      options.exclusive = false;
      return jet::Database::open(platform::localfs::toUtf8(resolved.local), options);
    } catch (const jet::Error& e) {
      rethrowWithPath(e, path, resolved.local);
    }
  };
}

std::shared_ptr<DatabaseImpl> openDatabase(const std::shared_ptr<WorkspaceImpl>& workspace,
                                           std::string_view path, bool exclusive, bool readOnly) {
  return guarded([&] {
    ResolvedPath resolved = resolveDatabasePath(*workspace->workstation, path);
    checkFilePresent(resolved, path);
    auto db = std::make_shared<DatabaseImpl>();
    db->workspace = workspace;
    db->name = std::string(path);
    db->local = resolved.local;
    try {
      if (readOnly) {
        jet::OpenOptions options;
        options.exclusive = exclusive;
        db->reader = jet::Database::open(platform::localfs::toUtf8(resolved.local), options);
      } else {
        // The engine writes only to files it holds alone: a shared open is exclusive too.
        db->writable = jet::WritableDatabase::open(platform::localfs::toUtf8(resolved.local));
      }
    } catch (const jet::Error& e) {
      rethrowWithPath(e, path, resolved.local);
    }
    // Like Access, announce the open database by its lock file beside it.
    db->lockFilePath = resolved.local;
    db->lockFilePath.replace_extension(".ldb");
    try {
      db->lockFile.emplace(db->lockFilePath);
    } catch (const std::system_error&) {
      // A folder where the lock file cannot be made (read-only media) still opens.
    }
    if (db->writable) {
      for (int level = 0; level < workspace->depth; ++level) db->writable->pager().begin();
      db->joined = workspace->depth;
    }
    workspace->live();
    workspace->databases.push_back(db);
    return db;
  });
}

}  // namespace platform::dao::detail
