// "Scripting.FileSystemObject" over a Workstation: Windows paths in, Windows behaviour out
// (case-blind names, NTFS listing order, the error numbers VB raises):
//   53 "Fichier introuvable"          a file to copy, move, delete or open is missing
//   76 "Chemin d'accès introuvable"   a folder (or a parent, or the drive) is missing
//   58 "Fichier déjà existant"        the destination exists and may not be replaced
//   70 "Permission refusée"           read-only without force, or a file another process
//                                     holds locked (filelock.h)
//   52 "Nom ou numéro de fichier incorrect"  a malformed path
// As on Windows, CopyFolder, MoveFolder and DeleteFolder do not find a source named with a
// trailing "\" (76): name folders without it.
// Folder and File objects keep a pointer to the Workstation, which must outlive them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/textstream.h"
#include "platform/workstation.h"

namespace platform {

class File {
 public:
  File(const Workstation& workstation, std::string path);
  const std::string& Path() const { return path_; }  // Windows path, no trailing "\"
  std::string Name() const;                          // the name as the disk spells it
  std::uintmax_t Size() const;
  std::string ParentFolderPath() const;
  // Copy/Move/Delete as FileSystemObject's CopyFile/MoveFile/DeleteFile on this file. After
  // Move, Path() names the new place.
  void Copy(std::string_view destination, bool overwrite = true) const;
  void Move(std::string_view destination);
  void Delete(bool force = false) const;
  // Assigning File.Name: renames in place; 58 when an entry of that name exists, 70 when
  // another process holds the file. A change of case only is allowed.
  void SetName(std::string_view newName);

 private:
  const Workstation* workstation_;
  std::string path_;
};

class Folder {
 public:
  Folder(const Workstation& workstation, std::string path);
  // Windows path without trailing "\" (except a root, "C:\").
  const std::string& Path() const { return path_; }
  std::string Name() const;  // "" for a root
  bool IsRootFolder() const;
  // Sub-folders and files in the order Windows lists them (NTFS order, vbstring.h).
  std::vector<Folder> SubFolders() const;
  std::vector<File> Files() const;

 private:
  const Workstation* workstation_;
  std::string path_;
};

class FileSystemObject {
 public:
  explicit FileSystemObject(const Workstation& workstation) : workstation_(&workstation) {}

  bool FileExists(std::string_view path) const;
  bool FolderExists(std::string_view path) const;
  bool DriveExists(std::string_view driveSpec) const;

  File GetFile(std::string_view path) const;      // 53 when missing
  Folder GetFolder(std::string_view path) const;  // 76 when missing

  // One level only: 76 when the parent is missing, 58 when the folder (or a file of that
  // name) exists.
  Folder CreateFolder(std::string_view path) const;

  // `source` may hold wildcards in its last component (53 when nothing matches). A
  // destination ending in "\" is a folder receiving the file under its own name (76 when
  // missing); an existing folder named without "\" gives 70. Overwrite false and an existing
  // destination give 58; a read-only destination gives 70.
  void CopyFile(std::string_view source, std::string_view destination, bool overwrite = true) const;
  // Like CopyFile without overwrite (58 when the destination exists); across drives the file
  // is copied then deleted.
  void MoveFile(std::string_view source, std::string_view destination) const;
  // Wildcards allowed; 53 when nothing matches; 70 for a read-only file without force or a
  // file another process holds locked (nothing is deleted then).
  void DeleteFile(std::string_view fileSpec, bool force = false) const;

  // Source folder missing: 76. Destination ending in "\": copied into it under the source's
  // name. Otherwise the destination folder is created (its parent must exist) or merged into,
  // files replaced when `overwrite` (58 otherwise).
  void CopyFolder(std::string_view source, std::string_view destination, bool overwrite = true) const;
  // 76 when the source is missing, 58 when the destination exists.
  void MoveFolder(std::string_view source, std::string_view destination) const;
  // 76 when missing; read-only content without force, or a locked file inside: 70.
  void DeleteFolder(std::string_view folderSpec, bool force = false) const;

  // Text files. CreateTextFile: 58 when the file exists and !overwrite, 76 when the folder is
  // missing. OpenTextFile: 53 when missing unless `create`.
  TextStream CreateTextFile(std::string_view path, bool overwrite = true, bool unicode = false) const;
  TextStream OpenTextFile(std::string_view path, IOMode mode = IOMode::ForReading,
                          bool create = false) const;

  // Path texts, without touching the disk.
  std::string BuildPath(std::string_view path, std::string_view name) const;
  std::string GetFileName(std::string_view path) const;
  std::string GetParentFolderName(std::string_view path) const;

  const Workstation& workstation() const { return *workstation_; }

 private:
  const Workstation* workstation_;
};

}  // namespace platform
