#include "platform/dao/maintenance.h"

#include <filesystem>
#include <system_error>

#include "jet/repair.h"
#include "platform/dao/dao_error.h"
#include "platform/dao/state.h"

namespace platform::dao::detail {

void repairDatabase(const platform::Workstation& workstation, std::string_view path) {
  guarded([&] {
    ResolvedPath resolved = resolveDatabasePath(workstation, path);
    checkFilePresent(resolved, path);
    try {
      jet::repair(resolved.local.string());
    } catch (const jet::Error& e) {
      rethrowWithPath(e, path);
    }
  });
}

void compactDatabase(const platform::Workstation& workstation, std::string_view source,
                     std::string_view destination) {
  guarded([&] {
    ResolvedPath from = resolveDatabasePath(workstation, source);
    checkFilePresent(from, source);
    ResolvedPath to = resolveDatabasePath(workstation, destination);
    if (!std::filesystem::is_directory(to.local.parent_path()))
      throw jet::Error(jet::ErrorCode::InvalidPath, ParentPathText(destination));
    if (to.exists()) throw daoError(dao_errors::DatabaseExists);
    // The source must be free and sound: open it alone as OpenDatabase would.
    auto workspace = std::make_shared<WorkspaceImpl>();
    workspace->workstation = &workstation;
    auto db = openDatabase(workspace, source, true, false);
    db->catalog();
    std::error_code error;
    std::filesystem::copy_file(db->local, to.local, error);
    db->close();
    if (error) {
      std::filesystem::remove(to.local, error);
      throw jet::Error(jet::ErrorCode::InvalidPath, ParentPathText(destination));
    }
  });
}

}  // namespace platform::dao::detail
