// Copying a file over another on Windows: CopyFileW, which keeps the modification time and
// the attributes as Windows' own copies do (the C++ library's copy_file refuses to replace an
// existing file in this toolchain).
#include <windows.h>

#include "platform/error.h"
#include "platform/localfs.h"

namespace platform::localfs {

void copyFile(const std::filesystem::path& from, const std::filesystem::path& to) {
  if (!isFile(from)) throw Error(ErrorCode::FileNotFound);
  if (::CopyFileW(from.c_str(), to.c_str(), FALSE)) return;
  switch (::GetLastError()) {
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      throw Error(ErrorCode::DiskFull);
    case ERROR_PATH_NOT_FOUND:
    case ERROR_FILE_NOT_FOUND:
      throw Error(ErrorCode::PathNotFound);
    default:
      throw Error(ErrorCode::PermissionDenied);
  }
}

}  // namespace platform::localfs
