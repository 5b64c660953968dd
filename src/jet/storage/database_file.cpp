#include "jet/storage/database_file.h"

#include "jet/base/error.h"

namespace jet {

void throw_not_writable(const std::string& path) {
  throw Error(3051, describe(3051, path));
}

void throw_file_failure(const os::Failure& failure, const os::Services& services, const std::string& path,
                        FileActivity activity) {
  using os::FailureKind;
  switch (failure.kind()) {
    case FailureKind::NotFound: throw Error(ErrorCode::FileNotFound, path);
    case FailureKind::FolderNotFound: throw Error(ErrorCode::InvalidPath, path);
    case FailureKind::NotAFile: throw Error(ErrorCode::UnrecognizedFormat, path);
    case FailureKind::AlreadyExists: throw Error(ErrorCode::DatabaseExists, path);
    case FailureKind::HeldExclusively: throw Error(ErrorCode::OpenedExclusively, services.files->host_name());
    case FailureKind::InUse: throw Error(ErrorCode::FileInUse, path);
    case FailureKind::AccessDenied:
      if (activity == FileActivity::OpeningToWrite || activity == FileActivity::Writing) throw_not_writable(path);
      throw Error(ErrorCode::FileInUse, path);
    case FailureKind::DiskFull: throw Error(ErrorCode::DiskFull);
    case FailureKind::IoError:
      if (activity == FileActivity::Reading || activity == FileActivity::Opening) throw Error(ErrorCode::DiskReadError);
      throw Error(ErrorCode::DiskOrNetworkError);
  }
  throw Error(ErrorCode::DiskOrNetworkError);
}

std::shared_ptr<os::File> open_database_file(const os::Services& services, const std::string& path, OpenMode mode,
                                             bool writable) {
  const os::Sharing sharing = mode == OpenMode::Exclusive ? os::Sharing::Exclusive : os::Sharing::Shared;
  // The read-only attribute binds every user, administrators included, though the system
  // would let one of them open the file for writing.
  if (writable && services.files->exists(path) && services.files->is_read_only(path)) throw_not_writable(path);
  try {
    return services.files->open(path, writable ? os::Access::ReadWrite : os::Access::Read, sharing);
  } catch (const os::Failure& failure) {
    throw_file_failure(failure, services, path, writable ? FileActivity::OpeningToWrite : FileActivity::Opening);
  }
}

std::vector<std::uint8_t> read_file_prefix(const os::Services& services, const std::string& path, std::size_t length,
                                           OpenMode mode) {
  std::vector<std::uint8_t> bytes(length);
  try {
    auto file = services.files->open(path, os::Access::Read,
                                     mode == OpenMode::Exclusive ? os::Sharing::Exclusive : os::Sharing::Shared);
    bytes.resize(file->read_at(0, bytes));
  } catch (const os::Failure& failure) {
    throw_file_failure(failure, services, path, FileActivity::Opening);
  }
  return bytes;
}

}  // namespace jet
