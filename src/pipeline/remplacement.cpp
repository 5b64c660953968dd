#include "pipeline/remplacement.h"

#include <filesystem>
#include <system_error>

#include "platform/error.h"
#include "platform/filelock.h"

namespace pipeline {

namespace fs = std::filesystem;
using platform::Error;
using platform::ErrorCode;

void RemplaceFichier(const platform::Workstation& poste, std::string_view source, std::string_view cible) {
  const platform::ResolvedPath de = poste.resolveOnDrive(source);
  const platform::ResolvedPath vers = poste.resolveOnDrive(cible);
  if (de.windows.rootText() != vers.windows.rootText()) throw Error(ErrorCode::RenameAcrossDisks);
  if (!fs::is_directory(de.local.parent_path()) || !fs::is_directory(vers.local.parent_path())) {
    throw Error(ErrorCode::PathNotFound);
  }
  if (!de.isFile()) throw Error(ErrorCode::FileNotFound);
  if (vers.exists() && !vers.isFile()) throw Error(ErrorCode::PermissionDenied);
  if (platform::IsLockedByAnother(de.local) || (vers.exists() && platform::IsLockedByAnother(vers.local))) {
    throw Error(ErrorCode::PermissionDenied);
  }
  // rename(2) replaces the destination atomically within one file system.
  std::error_code ec;
  fs::rename(de.local, vers.local, ec);
  if (ec) throw Error(ErrorCode::PermissionDenied);
}

}  // namespace pipeline
