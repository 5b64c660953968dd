// The Windows workstation the program runs on. Held in one local folder, it is laid out as:
//   <root>/C/, <root>/D/, ...   one sub-folder per drive letter (upper-case letter);
//   <root>/UNC/<server>/<share>/ the network shares reachable as \\server\share\;
//   <root>/drives.ini           optional: section [Drives], "E=cdrom", "F=removable",
//                               "N=remote", "R=ramdisk", "X=none" declare drive types;
//   <root>/registry.reg         optional: the registry, as regedit exports it (registry.h).
// A Windows path resolves inside it component by component, case-blind as Windows does: an
// existing entry whose name matches without regard to case is used, anything missing keeps
// the case the program gave. The program always shows the Windows text it built; the Linux
// location is only used to reach the disk.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/winpath.h"

namespace platform {

// Drive types returned by GetDriveTypeA (Win32 DRIVE_* values). <windows.h> defines the same
// names as macros with the same values; where it is included they are taken from there.
#ifndef DRIVE_UNKNOWN
enum DriveType : unsigned {
  DRIVE_UNKNOWN = 0,
  DRIVE_NO_ROOT_DIR = 1,
  DRIVE_REMOVABLE = 2,
  DRIVE_FIXED = 3,
  DRIVE_REMOTE = 4,
  DRIVE_CDROM = 5,
  DRIVE_RAMDISK = 6,
};
#endif

// Where a Windows path lives on this machine.
struct ResolvedPath {
  WinPath windows;               // the parsed (normalized) Windows path
  std::filesystem::path local;   // its location inside the workstation folder
  bool rootExists = false;       // the drive (or share) is present
  bool exists() const;           // something (file or folder) is at `local`
  bool isFile() const;           // a regular file (symlinks followed)
  bool isFolder() const;
};

// The machine as the program sees it: Windows paths, drive types, INI files and the registry.
// Two kinds exist: a workstation held in a folder (below; tests, demos, copies of workstations
// on Linux) and, in the Windows build, the machine itself (native_workstation.h).
class Workstation {
 public:
  virtual ~Workstation() = default;

  // Resolves a Windows path. A malformed path (relative, bad characters) raises
  // Error(BadFileNameOrNumber); a missing drive is not an error here (rootExists false).
  // Wildcards are allowed in the last component only when `allowWildcards`.
  virtual ResolvedPath resolve(std::string_view windowsPath, bool allowWildcards = false) const = 0;
  // The same for a file operation: a missing drive (or share) raises Error(PathNotFound).
  ResolvedPath resolveOnDrive(std::string_view windowsPath, bool allowWildcards = false) const;

  // Win32 GetDriveTypeA(root).
  virtual unsigned GetDriveTypeA(std::string_view rootPathName) const = 0;

  // Win32 private-profile reads and writes on an INI file named by a Windows path; see
  // profile.h for their exact behaviour.
  virtual long GetPrivateProfileStringA(std::string_view section, std::string_view key,
                                        std::string_view defaultValue, std::string& returnedString,
                                        long size, std::string_view fileName) const = 0;
  virtual bool WritePrivateProfileStringA(std::string_view section, std::string_view key,
                                          std::string_view value, std::string_view fileName) const = 0;

  // WScript.Shell's RegRead (registry.h for the values and errors).
  virtual std::string RegRead(std::string_view name) const = 0;

  // Where the workstation is, for the operator's messages.
  virtual std::string description() const = 0;
};

// A Windows workstation held in a local folder (layout at the top of this file).
class FolderWorkstation : public Workstation {
 public:
  // `root` must be an existing folder; raises std::invalid_argument otherwise.
  explicit FolderWorkstation(std::filesystem::path root);

  const std::filesystem::path& root() const { return root_; }

  ResolvedPath resolve(std::string_view windowsPath, bool allowWildcards = false) const override;

  // The local folder of a drive ('C') or of a share, whether or not it exists.
  std::filesystem::path driveFolder(char drive) const;
  std::filesystem::path shareFolder(std::string_view server, std::string_view share) const;

  // "C:\" (or "C:") of an existing drive folder -> DRIVE_FIXED, of a missing one ->
  // DRIVE_NO_ROOT_DIR, unless drives.ini declares the letter otherwise; "\\server\share\" ->
  // DRIVE_REMOTE when the share folder exists; a path that is not a root (or is malformed) ->
  // DRIVE_NO_ROOT_DIR.
  unsigned GetDriveTypeA(std::string_view rootPathName) const override;
  long GetPrivateProfileStringA(std::string_view section, std::string_view key,
                                std::string_view defaultValue, std::string& returnedString,
                                long size, std::string_view fileName) const override;
  bool WritePrivateProfileStringA(std::string_view section, std::string_view key,
                                  std::string_view value, std::string_view fileName) const override;
  // Reads registry.reg afresh on each call.
  std::string RegRead(std::string_view name) const override;
  std::string description() const override;

  // The optional workstation settings files.
  std::filesystem::path drivesFile() const { return root_ / "drives.ini"; }
  std::filesystem::path registryFile() const { return root_ / "registry.reg"; }

 private:
  std::filesystem::path root_;
};

}  // namespace platform
