// How an operating-system call failed, independent of the system's own codes, so that the
// engine and the platform layer can each give it the number their users expect.
#pragma once

#include <stdexcept>
#include <string>

namespace os {

enum class FailureKind {
  NotFound,        // the file does not exist
  FolderNotFound,  // a folder of the path does not exist
  AccessDenied,    // permissions, a read-only file or medium
  InUse,           // another opener's sharing mode refuses this one
  HeldExclusively, // another opener holds the file exclusively (a shared opener asked)
  NotAFile,        // a folder or device where a file was expected
  AlreadyExists,   // creation of a file that is already there
  DiskFull,        // no space left on the medium
  IoError,         // the medium failed to read or write
};

class Failure : public std::runtime_error {
 public:
  Failure(FailureKind kind, std::string path, int system_code = 0);
  FailureKind kind() const noexcept { return kind_; }
  const std::string& path() const noexcept { return path_; }
  int system_code() const noexcept { return system_code_; }

 private:
  FailureKind kind_;
  std::string path_;
  int system_code_;
};

// A short English name of the kind, for diagnostics.
const char* describe(FailureKind kind);

}  // namespace os
