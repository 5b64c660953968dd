#include "platform/dao/write_guard.h"

#include "jet/api/maintenance.h"
#include "os/failure.h"
#include "os/services.h"
#include "platform/dao/dao_error.h"
#include "platform/dao/state.h"
#include "platform/localfs.h"

namespace platform::dao {

WriteGuard::WriteGuard(const platform::Workstation& workstation, std::string_view path) : path_(path) {
  guarded([&] {
    const ResolvedPath resolved = detail::resolveDatabasePath(workstation, path);
    detail::checkFilePresent(resolved, path);
    local_ = resolved.local;
    // A commit a killed writer left half done is undone first: held against writers, the file
    // could no longer be put right, and the copy taken of it would be half old, half new.
    jet::recover_journal(os::system_services(), localfs::toUtf8(local_));
    try {
      file_ = os::system_services().files->open(localfs::toUtf8(local_), os::Access::Read, os::Sharing::ReadersOnly);
    } catch (const os::Failure& failure) {
      switch (failure.kind()) {
        case os::FailureKind::NotFound: throw jet::Error(jet::ErrorCode::FileNotFound, path);
        case os::FailureKind::FolderNotFound: throw jet::Error(jet::ErrorCode::InvalidPath, ParentPathText(path));
        case os::FailureKind::NotAFile: throw jet::Error(jet::ErrorCode::UnrecognizedFormat, path);
        // The exclusive opener the program's own statements were (3045), whoever holds it.
        default: throw jet::Error(jet::ErrorCode::FileInUse, path);
      }
    }
  });
}

WriteGuard::~WriteGuard() = default;

void WriteGuard::release() noexcept { file_.reset(); }

}  // namespace platform::dao
