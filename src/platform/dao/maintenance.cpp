#include "platform/localfs.h"
#include "platform/dao/maintenance.h"

#include <filesystem>
#include <system_error>

#include "jet/api/maintenance.h"
#include "platform/dao/dao_error.h"
#include "platform/dao/state.h"

namespace platform::dao::detail {

void repairDatabase(const platform::Workstation& workstation, std::string_view path,
                    const std::function<void(std::uint64_t, std::uint64_t)>& progress) {
  guarded([&] {
    ResolvedPath resolved = resolveDatabasePath(workstation, path);
    checkFilePresent(resolved, path);
    try {
      jet::repair(platform::localfs::toUtf8(resolved.local), progress);
    } catch (const jet::Error& e) {
      rethrowWithPath(e, path, resolved.local);
    }
  });
}

void compactDatabase(const platform::Workstation& workstation, std::string_view source,
                     std::string_view destination,
                     const std::function<void(std::uint64_t, std::uint64_t)>& progress) {
  guarded([&] {
    ResolvedPath from = resolveDatabasePath(workstation, source);
    checkFilePresent(from, source);
    ResolvedPath to = resolveDatabasePath(workstation, destination);
    if (!std::filesystem::is_directory(to.local.parent_path()))
      throw jet::Error(jet::ErrorCode::InvalidPath, ParentPathText(destination));
    if (to.exists()) throw daoError(dao_errors::DatabaseExists);
    // Compaction needs the source to itself, as the original does: one open alone tells.
    {
      auto workspace = std::make_shared<WorkspaceImpl>();
      workspace->workstation = &workstation;
      auto db = openDatabase(workspace, source, true, false);
      db->close();
    }
    try {
      jet::CompactOptions options;
      options.progress = progress;
      jet::compact(platform::localfs::toUtf8(from.local), platform::localfs::toUtf8(to.local), nullptr, options);
    } catch (const jet::Error& e) {
      // The text names the file the engine was at: the destination (or its temporary) or the
      // source.
      const std::string text = e.description();
      if (text.find(platform::localfs::toUtf8(to.local)) != std::string::npos) rethrowWithPath(e, destination, to.local);
      if (e.number() == 3204 || e.number() == 3044) rethrowWithPath(e, destination, to.local);
      rethrowWithPath(e, source, from.local);
    }
  });
}

}  // namespace platform::dao::detail
