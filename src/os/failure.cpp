#include "os/failure.h"

#include <utility>

namespace os {

const char* describe(FailureKind kind) {
  switch (kind) {
    case FailureKind::NotFound: return "file not found";
    case FailureKind::FolderNotFound: return "folder not found";
    case FailureKind::AccessDenied: return "access denied";
    case FailureKind::InUse: return "file in use";
    case FailureKind::HeldExclusively: return "file held exclusively";
    case FailureKind::NotAFile: return "not a file";
    case FailureKind::AlreadyExists: return "file exists";
    case FailureKind::DiskFull: return "disk full";
    case FailureKind::IoError: return "input/output error";
  }
  return "failure";
}

Failure::Failure(FailureKind kind, std::string path, int system_code)
    : std::runtime_error(std::string(describe(kind)) + ": " + path), kind_(kind), path_(std::move(path)),
      system_code_(system_code) {}

}  // namespace os
