// Visual Basic's own file statements (Dir, Kill, Name ... As, FileCopy, MkDir, RmDir, FileLen)
// over a Workstation, with the errors VB raises. Dir keeps its listing between calls, as VB
// does: Dir(pattern) starts a listing, Dir() continues it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/localfs.h"
#include "platform/workstation.h"

namespace platform {

// Dir attributes (VbFileAttribute). Normal files are always listed; vbDirectory adds folders.
enum VbFileAttribute : int {
  vbNormal = 0,
  vbReadOnly = 1,
  vbHidden = 2,
  vbSystem = 4,
  vbVolume = 8,
  vbDirectory = 16,
  vbArchive = 32,
};

class VbFiles {
 public:
  explicit VbFiles(const Workstation& workstation) : workstation_(&workstation) {}

  // The first entry matching `pathName` (wildcards allowed in the last component; a path
  // ending in "\" lists the whole folder), "" when none. With vbDirectory a folder lists "."
  // and ".." first, as NTFS does, so Dir("X:\dossier\", vbDirectory) is "" exactly when the
  // folder is missing. A missing drive raises Error(BadFileNameOrNumber) as VB does.
  std::string Dir(std::string_view pathName, int attributes = vbNormal);
  // The next entry of the current listing, "" at its end; Error(InvalidProcedureCall) when no
  // listing was started.
  std::string Dir();

  // Deletes files (wildcards allowed). 53 when nothing matches, 75 for a read-only file,
  // 70 for a file another process holds locked.
  void Kill(std::string_view pathName) const;
  // Name old As new: 53 source missing, 58 destination exists, 74 across drives,
  // 76 destination folder missing. Works for files and folders.
  void Name(std::string_view oldPath, std::string_view newPath) const;
  // 53 source missing, 76 destination folder missing, 70 source open for writing (or held
  // without sharing) by another process or destination locked or read-only, 61 disk full,
  // 57 device error (no partial copy is left); an existing destination is replaced.
  // `progress` (not VB's) is told the bytes copied as the copy goes.
  void FileCopy(std::string_view source, std::string_view destination,
                const localfs::CopyProgress& progress = {}) const;
  // 75 when it exists, 76 when the parent is missing.
  void MkDir(std::string_view path) const;
  // 75 when not empty, 76 when missing.
  void RmDir(std::string_view path) const;
  // 53 when missing.
  std::int64_t FileLen(std::string_view path) const;

 private:
  const Workstation* workstation_;
  std::vector<std::string> listing_;
  std::size_t next_ = 0;
  bool listing_started_ = false;
};

}  // namespace platform
