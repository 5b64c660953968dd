#include "pipeline/remplacement.h"

#include <filesystem>

#include "platform/error.h"
#include "platform/filelock.h"
#include "platform/localfs.h"

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
  // One step within one file system: rename(2), or MoveFileExW written through on Windows.
  platform::localfs::replaceFile(de.local, vers.local);
}

}  // namespace pipeline
