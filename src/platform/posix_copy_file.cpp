// Copying a file over another on a POSIX system.
#include <system_error>

#include "platform/error.h"
#include "platform/localfs.h"

namespace fs = std::filesystem;

namespace platform::localfs {

void copyFile(const fs::path& from, const fs::path& to) {
  std::error_code ec;
  if (!isFile(from)) throw Error(ErrorCode::FileNotFound);
  fs::copy_file(from, to, fs::copy_options::overwrite_existing, ec);
  if (ec) {
    if (ec == std::errc::no_space_on_device) throw Error(ErrorCode::DiskFull);
    if (ec == std::errc::no_such_file_or_directory) throw Error(ErrorCode::PathNotFound);
    throw Error(ErrorCode::PermissionDenied);
  }
  const auto when = fs::last_write_time(from, ec);
  if (!ec) fs::last_write_time(to, when, ec);  // Windows keeps the copy's modification time
}

}  // namespace platform::localfs
