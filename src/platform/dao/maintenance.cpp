#include "platform/dao/maintenance.h"

#include <filesystem>
#include <system_error>

#include "jet/writable_database.h"
#include "platform/dao/dao_error.h"
#include "platform/dao/state.h"

namespace platform::dao::detail {
namespace {

// Opens `path` exclusively through a scratch workspace: the same refusals as OpenDatabase.
std::shared_ptr<DatabaseImpl> openAlone(const platform::Workstation& workstation, std::string_view path) {
  auto workspace = std::make_shared<WorkspaceImpl>();
  workspace->workstation = &workstation;
  return openDatabase(workspace, path, true, false);
}

}  // namespace

void repairDatabase(const platform::Workstation& workstation, std::string_view path) {
  // The file must open alone as a sound Jet 4 database; the engine keeps every write
  // consistent, so there is nothing left half-written to mend.
  auto db = openAlone(workstation, path);
  guarded([&] { db->catalog(); });
  db->close();
}

void compactDatabase(const platform::Workstation& workstation, std::string_view source,
                     std::string_view destination) {
  ResolvedPath target;
  try {
    target = workstation.resolve(destination);
  } catch (const platform::Error&) {
    throw fromJet(jet::Error(jet::ErrorCode::InvalidPath, destination));
  }
  if (!target.rootExists || !std::filesystem::is_directory(target.local.parent_path()))
    throw fromJet(jet::Error(jet::ErrorCode::InvalidPath, ParentPathText(destination)));
  if (target.exists()) throw daoError(dao_errors::DatabaseExists);
  auto db = openAlone(workstation, source);
  guarded([&] { db->catalog(); });
  std::error_code error;
  std::filesystem::copy_file(db->local, target.local, error);
  if (error) {
    std::filesystem::remove(target.local, error);
    db->close();
    throw fromJet(jet::Error(jet::ErrorCode::InvalidPath, ParentPathText(destination)));
  }
  db->close();
}

}  // namespace platform::dao::detail
