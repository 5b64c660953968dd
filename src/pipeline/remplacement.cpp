#include "pipeline/remplacement.h"

#include <filesystem>

#include "platform/error.h"
#include "platform/filelock.h"
#include "platform/localfs.h"

namespace pipeline {

namespace fs = std::filesystem;
using platform::Error;
using platform::ErrorCode;

void RemplaceFichier(const platform::Workstation& poste, std::string_view source, std::string_view cible,
                     platform::dao::WriteGuard* garde) {
  const platform::ResolvedPath de = poste.resolveOnDrive(source);
  const platform::ResolvedPath vers = poste.resolveOnDrive(cible);
  if (de.windows.rootText() != vers.windows.rootText()) throw Error(ErrorCode::RenameAcrossDisks);
  if (!fs::is_directory(de.local.parent_path()) || !fs::is_directory(vers.local.parent_path())) {
    throw Error(ErrorCode::PathNotFound);
  }
  if (!de.isFile()) throw Error(ErrorCode::FileNotFound);
  if (vers.exists() && !vers.isFile()) throw Error(ErrorCode::PermissionDenied);
  // While the guard holds the target, no writer can have it: only readers, which the rename
  // leaves reading the old file.
  std::error_code ec;
  const bool gardee = garde && garde->held() && fs::equivalent(garde->local(), vers.local, ec);
  if (platform::IsLockedByAnother(de.local) ||
      (!gardee && vers.exists() && platform::IsLockedByAnother(vers.local))) {
    throw Error(ErrorCode::PermissionDenied);
  }
  // Windows cannot rename over a file held open, the guard's own handle included: the guard
  // is let go immediately before the rename. In that window of one system call another
  // program may open the file; the rename then fails (70) and nothing of that program's is
  // lost. Elsewhere the guard stays until the new file has the name: a writer that opened
  // the old one meanwhile finds its name gone when it locks it, and opens the new one.
  if (gardee && platform::dao::WriteGuard::kReleasedBeforeRename) garde->release();
  // One step within one file system: rename(2), or MoveFileExW written through on Windows.
  platform::localfs::replaceFile(de.local, vers.local);
  if (garde) garde->release();
}

}  // namespace pipeline
