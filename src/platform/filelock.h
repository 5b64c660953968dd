// Files held open by another program. On Windows a file another process keeps open (Access
// keeps its ".ldb" lock file open) cannot be deleted. On Linux the holder takes an OS lock on
// it (an open-file-description fcntl lock, a classic fcntl lock or flock); deleting a file so
// locked is refused with error 70 "Permission refusée" by FileSystemObject and VbFiles.
// Both go through the OS interface (os/file.h).
#pragma once

#include <filesystem>
#include <memory>

#include "os/file.h"

namespace platform {

// True when some open file description other than the caller's own probe holds a lock on the
// file (any of the three kinds). A missing or unreadable file is not locked. The probe opens and
// closes the file; by the POSIX rule that close would drop a classic fcntl lock this very
// process holds on it, so holders inside this process use flock or FileLockHolder (as the
// database engine does), which the probe never disturbs.
bool IsLockedByAnother(const std::filesystem::path& file);

// Holds an exclusive open-file-description lock on a file for its lifetime, as the process that
// "has the file open" does. The file is created when missing. Raises std::system_error when the
// file cannot be opened or is already locked.
class FileLockHolder {
 public:
  explicit FileLockHolder(const std::filesystem::path& file);
  FileLockHolder(FileLockHolder&& other) noexcept;
  FileLockHolder& operator=(FileLockHolder&& other) noexcept;
  FileLockHolder(const FileLockHolder&) = delete;
  FileLockHolder& operator=(const FileLockHolder&) = delete;
  ~FileLockHolder();

  void release();  // closes the file, dropping the lock

 private:
  std::unique_ptr<os::LockHold> hold_;
};

}  // namespace platform
