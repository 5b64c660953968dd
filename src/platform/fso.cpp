#include "platform/fso.h"

#include "platform/error.h"
#include "platform/filelock.h"
#include "platform/localfs.h"
#include "platform/vbstring.h"

namespace fs = std::filesystem;

namespace platform {
namespace {

[[noreturn]] void fail(ErrorCode code) { throw Error(code); }

// Refuses to replace or remove a file that is read-only (unless forced) or held by another
// process, as Windows refuses with "Permission refusée".
void checkRemovable(const fs::path& file, bool force) {
  if ((!force && localfs::isReadOnly(file)) || IsLockedByAnother(file)) fail(ErrorCode::PermissionDenied);
}

void removeFile(const fs::path& file) {
  localfs::clearReadOnly(file);
  std::error_code ec;
  if (!fs::remove(file, ec) || ec) fail(ErrorCode::PermissionDenied);
}

// Copies one file over `target` with CopyFile's rules for an existing destination.
void copyOver(const fs::path& source, const fs::path& target, bool overwrite) {
  if (localfs::isFolder(target)) fail(ErrorCode::PermissionDenied);
  if (localfs::exists(target)) {
    if (!overwrite) fail(ErrorCode::FileAlreadyExists);
    checkRemovable(target, false);
    std::error_code ec;
    if (fs::equivalent(source, target, ec)) fail(ErrorCode::PermissionDenied);
  }
  localfs::copyFile(source, target);
}

// Copies a folder tree into `target` (created or merged), file by file.
void copyTree(const fs::path& source, const fs::path& target, bool overwrite) {
  if (localfs::isFile(target)) fail(ErrorCode::FileAlreadyExists);
  if (!localfs::isFolder(target)) {
    std::error_code ec;
    fs::create_directory(target, ec);
    if (ec) fail(ErrorCode::PermissionDenied);
  }
  for (const localfs::Entry& entry : localfs::list(source)) {
    const auto existing = localfs::findEntry(target, entry.name);
    const fs::path to = target / localfs::fromUtf8(existing.value_or(entry.name));
    if (entry.isFolder) copyTree(source / localfs::fromUtf8(entry.name), to, overwrite);
    else copyOver(source / localfs::fromUtf8(entry.name), to, overwrite);
  }
}

// The entries a (possibly wildcard) source names: (Linux location, on-disk name). Nothing
// found raises `missing`; the folder holding them must exist (76 otherwise).
std::vector<std::pair<fs::path, std::string>> sources(const Workstation& ws, std::string_view named,
                                                      bool folders, ErrorCode missing) {
  // FileSystemObject reads the text after the last separator as the name to look for, so a
  // folder named with a trailing "\" is not found, as on Windows.
  if (folders && EndsWithSeparator(named)) fail(ErrorCode::PathNotFound);
  const ResolvedPath r = ws.resolveOnDrive(named, true);
  if (r.windows.isRoot()) fail(ErrorCode::PathNotFound);  // a drive is never moved nor deleted
  std::vector<std::pair<fs::path, std::string>> found;
  const std::string last = r.windows.name();
  if (HasWildcard(last)) {
    const fs::path parent = r.local.parent_path();
    if (!localfs::isFolder(parent)) fail(ErrorCode::PathNotFound);
    for (const localfs::Entry& entry : localfs::list(parent))
      if (entry.isFolder == folders && MatchesWildcard(entry.name, last))
        found.emplace_back(parent / localfs::fromUtf8(entry.name), entry.name);
  } else if (folders ? localfs::isFolder(r.local) : localfs::isFile(r.local)) {
    found.emplace_back(r.local, localfs::toUtf8(r.local.filename()));
  } else if (!localfs::isFolder(r.local.parent_path())) {
    fail(ErrorCode::PathNotFound);
  }
  if (found.empty()) fail(missing);
  return found;
}

// True when `path` is `folder` or lies below it.
bool inside(const fs::path& path, const fs::path& folder) {
  std::error_code ec;
  const fs::path a = fs::weakly_canonical(path, ec), b = fs::weakly_canonical(folder, ec);
  auto ia = a.begin();
  for (auto ib = b.begin(); ib != b.end(); ++ib, ++ia)
    if (ia == a.end() || *ia != *ib) return false;
  return true;
}

// Where a copied or moved entry lands: inside `destination` when it ends in a separator or
// several entries move, at `destination` itself otherwise.
fs::path landing(const Workstation& ws, std::string_view destination, const std::string& name, bool intoFolder) {
  const ResolvedPath d = ws.resolveOnDrive(destination);
  if (intoFolder || EndsWithSeparator(destination)) {
    if (!d.isFolder()) fail(ErrorCode::PathNotFound);
    const auto existing = localfs::findEntry(d.local, name);
    return d.local / existing.value_or(name);
  }
  if (d.windows.isRoot() || !localfs::isFolder(d.local.parent_path())) fail(ErrorCode::PathNotFound);
  return d.local;
}

}  // namespace

// ---- File -----------------------------------------------------------------------------------

File::File(const Workstation& workstation, std::string path)
    : workstation_(&workstation), path_(WithoutTrailingSeparator(path)) {}

std::string File::Name() const { return localfs::toUtf8(workstation_->resolve(path_).local.filename()); }

std::uintmax_t File::Size() const {
  std::error_code ec;
  const auto size = fs::file_size(workstation_->resolve(path_).local, ec);
  if (ec) fail(ErrorCode::FileNotFound);
  return size;
}

std::string File::ParentFolderPath() const { return ParentPathText(path_); }

void File::Copy(std::string_view destination, bool overwrite) const {
  FileSystemObject(*workstation_).CopyFile(path_, destination, overwrite);
}

void File::Move(std::string_view destination) {
  const std::string name = Name();
  FileSystemObject(*workstation_).MoveFile(path_, destination);
  path_ = EndsWithSeparator(destination) ? std::string(destination) + name
                                                   : WithoutTrailingSeparator(destination);
}

void File::Delete(bool force) const {
  const ResolvedPath r = workstation_->resolveOnDrive(path_);
  if (!r.isFile()) fail(ErrorCode::FileNotFound);
  checkRemovable(r.local, force);
  removeFile(r.local);
}

void File::SetName(std::string_view newName) {
  const ResolvedPath r = workstation_->resolveOnDrive(path_);
  if (!r.isFile()) fail(ErrorCode::FileNotFound);
  const auto parsed = ParseWinPath(ChildPath("C:\\", newName));
  if (newName.empty() || !parsed || parsed->components.size() != 1) fail(ErrorCode::BadFileNameOrNumber);
  const auto existing = localfs::findEntry(r.local.parent_path(), newName);
  if (existing && !EqualsNoCase(*existing, localfs::toUtf8(r.local.filename()))) fail(ErrorCode::FileAlreadyExists);
  if (IsLockedByAnother(r.local)) fail(ErrorCode::PermissionDenied);
  const fs::path target = r.local.parent_path() / localfs::fromUtf8(newName);
  if (existing) {
    // The same entry under another case: through a temporary name, which every file system
    // renames (some take a case-only rename for a rename onto itself and do nothing).
    fs::path step = r.local;
    step += ".~renommage";
    localfs::moveEntry(r.local, step);
    localfs::moveEntry(step, target);
  } else {
    localfs::moveEntry(r.local, target);
  }
  path_ = ChildPath(ParentPathText(path_), newName);
}

// ---- Folder ---------------------------------------------------------------------------------

Folder::Folder(const Workstation& workstation, std::string path)
    : workstation_(&workstation), path_(WithoutTrailingSeparator(path)) {}

std::string Folder::Name() const {
  const ResolvedPath r = workstation_->resolve(path_);
  return r.windows.isRoot() ? std::string() : localfs::toUtf8(r.local.filename());
}

bool Folder::IsRootFolder() const { return workstation_->resolve(path_).windows.isRoot(); }

std::vector<Folder> Folder::SubFolders() const {
  std::vector<Folder> folders;
  for (const localfs::Entry& entry : localfs::list(workstation_->resolveOnDrive(path_).local))
    if (entry.isFolder) folders.emplace_back(*workstation_, ChildPath(path_, entry.name));
  return folders;
}

std::vector<File> Folder::Files() const {
  std::vector<File> files;
  for (const localfs::Entry& entry : localfs::list(workstation_->resolveOnDrive(path_).local))
    if (!entry.isFolder) files.emplace_back(*workstation_, ChildPath(path_, entry.name));
  return files;
}

// ---- FileSystemObject -----------------------------------------------------------------------

bool FileSystemObject::FileExists(std::string_view path) const {
  if (!ParseWinPath(path)) return false;
  return workstation_->resolve(path).isFile();
}

bool FileSystemObject::FolderExists(std::string_view path) const {
  if (!ParseWinPath(path)) return false;
  return workstation_->resolve(path).isFolder();
}

bool FileSystemObject::DriveExists(std::string_view driveSpec) const {
  std::string root(driveSpec);
  if (root.size() == 1) root += ":";
  return workstation_->GetDriveTypeA(root) != DRIVE_NO_ROOT_DIR;
}

File FileSystemObject::GetFile(std::string_view path) const {
  if (!workstation_->resolveOnDrive(path).isFile()) fail(ErrorCode::FileNotFound);
  return File(*workstation_, std::string(path));
}

Folder FileSystemObject::GetFolder(std::string_view path) const {
  if (!workstation_->resolveOnDrive(path).isFolder()) fail(ErrorCode::PathNotFound);
  return Folder(*workstation_, std::string(path));
}

Folder FileSystemObject::CreateFolder(std::string_view path) const {
  const ResolvedPath r = workstation_->resolveOnDrive(path);
  if (r.windows.isRoot() || r.exists()) fail(ErrorCode::FileAlreadyExists);
  if (!localfs::isFolder(r.local.parent_path())) fail(ErrorCode::PathNotFound);
  std::error_code ec;
  fs::create_directory(r.local, ec);
  if (ec) fail(ErrorCode::PermissionDenied);
  return Folder(*workstation_, std::string(path));
}

void FileSystemObject::CopyFile(std::string_view source, std::string_view destination, bool overwrite) const {
  const auto found = sources(*workstation_, source, false, ErrorCode::FileNotFound);
  const bool many = HasWildcard(LastComponent(source));
  for (const auto& [from, name] : found) copyOver(from, landing(*workstation_, destination, name, many), overwrite);
}

void FileSystemObject::MoveFile(std::string_view source, std::string_view destination) const {
  const auto found = sources(*workstation_, source, false, ErrorCode::FileNotFound);
  const bool many = HasWildcard(LastComponent(source));
  for (const auto& [from, name] : found) {
    const fs::path to = landing(*workstation_, destination, name, many);
    if (localfs::exists(to)) fail(ErrorCode::FileAlreadyExists);
    if (IsLockedByAnother(from)) fail(ErrorCode::PermissionDenied);
    localfs::moveEntry(from, to);
  }
}

void FileSystemObject::DeleteFile(std::string_view fileSpec, bool force) const {
  const auto found = sources(*workstation_, fileSpec, false, ErrorCode::FileNotFound);
  for (const auto& entry : found) checkRemovable(entry.first, force);
  for (const auto& entry : found) removeFile(entry.first);
}

void FileSystemObject::CopyFolder(std::string_view source, std::string_view destination, bool overwrite) const {
  const auto found = sources(*workstation_, source, true, ErrorCode::PathNotFound);
  const bool many = HasWildcard(LastComponent(source));
  for (const auto& [from, name] : found) {
    const fs::path to = landing(*workstation_, destination, name, many);
    if (inside(to, from)) fail(ErrorCode::PermissionDenied);  // a copy into itself never ends
    copyTree(from, to, overwrite);
  }
}

void FileSystemObject::MoveFolder(std::string_view source, std::string_view destination) const {
  const auto found = sources(*workstation_, source, true, ErrorCode::PathNotFound);
  const bool many = HasWildcard(LastComponent(source));
  for (const auto& [from, name] : found) {
    const fs::path to = landing(*workstation_, destination, name, many);
    if (localfs::exists(to)) fail(ErrorCode::FileAlreadyExists);
    if (inside(to, from) || localfs::treeHasBlockedFile(from, false)) fail(ErrorCode::PermissionDenied);
    localfs::moveEntry(from, to);
  }
}

void FileSystemObject::DeleteFolder(std::string_view folderSpec, bool force) const {
  const auto found = sources(*workstation_, folderSpec, true, ErrorCode::PathNotFound);
  for (const auto& entry : found)
    if (localfs::treeHasBlockedFile(entry.first, !force)) fail(ErrorCode::PermissionDenied);
  for (const auto& entry : found) {
    std::error_code ec;
    for (fs::recursive_directory_iterator it(entry.first, ec), end; !ec && it != end; it.increment(ec))
      localfs::clearReadOnly(it->path());
    fs::remove_all(entry.first, ec);
    if (ec) fail(ErrorCode::PermissionDenied);
  }
}

TextStream FileSystemObject::CreateTextFile(std::string_view path, bool overwrite, bool unicode) const {
  const ResolvedPath r = workstation_->resolveOnDrive(path);
  if (r.windows.isRoot() || !localfs::isFolder(r.local.parent_path())) fail(ErrorCode::PathNotFound);
  if (r.isFolder()) fail(ErrorCode::PermissionDenied);
  if (r.exists()) {
    if (!overwrite) fail(ErrorCode::FileAlreadyExists);
    checkRemovable(r.local, false);
  }
  return TextStream(r.local, IOMode::ForWriting, unicode);
}

TextStream FileSystemObject::OpenTextFile(std::string_view path, IOMode mode, bool create) const {
  const ResolvedPath r = workstation_->resolveOnDrive(path);
  if (r.isFolder()) fail(ErrorCode::PermissionDenied);
  if (!r.isFile()) {
    if (r.windows.isRoot() || !localfs::isFolder(r.local.parent_path())) fail(ErrorCode::PathNotFound);
    if (mode == IOMode::ForReading || !create) fail(ErrorCode::FileNotFound);
  } else if (mode != IOMode::ForReading) {
    checkRemovable(r.local, false);
  }
  return TextStream(r.local, mode);
}

std::string FileSystemObject::BuildPath(std::string_view path, std::string_view name) const {
  return ChildPath(path, name);
}

std::string FileSystemObject::GetFileName(std::string_view path) const { return LastComponent(path); }

std::string FileSystemObject::GetParentFolderName(std::string_view path) const { return ParentPathText(path); }

}  // namespace platform
