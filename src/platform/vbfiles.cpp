#include "platform/vbfiles.h"

#include "platform/error.h"
#include "platform/filelock.h"
#include "platform/localfs.h"
#include "platform/vbstring.h"

namespace fs = std::filesystem;

namespace platform {
namespace {

[[noreturn]] void fail_file_call(ErrorCode code) { throw Error(code); }

// The Linux folder an entry's name lives in; 76 when it is missing.
fs::path existingParent(const ResolvedPath& r) {
  if (r.windows.isRoot() || !localfs::isFolder(r.local.parent_path())) fail_file_call(ErrorCode::PathNotFound);
  return r.local.parent_path();
}

bool sameRoot(const WinPath& a, const WinPath& b) {
  return a.drive == b.drive && EqualsNoCase(a.server, b.server) && EqualsNoCase(a.share, b.share);
}

}  // namespace

std::string VbFiles::Dir(std::string_view pathName, int attributes) {
  listing_.clear();
  next_ = 0;
  listing_started_ = true;
  if (!ParseWinPath(pathName, true)) fail_file_call(ErrorCode::BadFileNameOrNumber);
  const ResolvedPath r = workstation_->resolve(pathName, true);
  if (!r.rootExists) fail_file_call(ErrorCode::BadFileNameOrNumber);
  const bool wholeFolder = r.windows.isRoot() || EndsWithSeparator(pathName);
  const fs::path folder = wholeFolder ? r.local : r.local.parent_path();
  const std::string pattern = wholeFolder ? std::string("*") : r.windows.name();
  const bool folders = (attributes & vbDirectory) != 0;
  if (localfs::isFolder(folder)) {
    // NTFS lists "." and ".." first in every folder but a drive's root.
    const bool listedIsRoot = wholeFolder ? r.windows.isRoot() : r.windows.components.size() == 1;
    if (folders && !listedIsRoot) {
      for (const char* dot : {".", ".."})
        if (MatchesWildcard(dot, pattern)) listing_.emplace_back(dot);
    }
    for (const localfs::Entry& entry : localfs::list(folder))
      if ((!entry.isFolder || folders) && MatchesWildcard(entry.name, pattern)) listing_.push_back(entry.name);
  }
  return Dir();
}

std::string VbFiles::Dir() {
  if (!listing_started_) fail_file_call(ErrorCode::InvalidProcedureCall);
  if (next_ < listing_.size()) return listing_[next_++];
  listing_started_ = false;  // one more call after the end is an error, as in VB
  listing_.clear();
  return {};
}

void VbFiles::Kill(std::string_view pathName) const {
  const ResolvedPath r = workstation_->resolveOnDrive(pathName, true);
  const fs::path folder = existingParent(r);
  std::vector<fs::path> doomed;
  for (const localfs::Entry& entry : localfs::list(folder))
    if (!entry.isFolder && MatchesWildcard(entry.name, r.windows.name())) doomed.push_back(folder / localfs::fromUtf8(entry.name));
  if (doomed.empty()) fail_file_call(ErrorCode::FileNotFound);
  for (const fs::path& file : doomed) {
    if (localfs::isReadOnly(file)) fail_file_call(ErrorCode::PathFileAccessError);
    if (IsLockedByAnother(file)) fail_file_call(ErrorCode::PermissionDenied);
    std::error_code ec;
    fs::remove(file, ec);
    if (ec) fail_file_call(ErrorCode::PermissionDenied);
  }
}

void VbFiles::Name(std::string_view oldPath, std::string_view newPath) const {
  const ResolvedPath from = workstation_->resolveOnDrive(oldPath);
  const ResolvedPath to = workstation_->resolveOnDrive(newPath);
  if (!sameRoot(from.windows, to.windows)) fail_file_call(ErrorCode::RenameAcrossDisks);
  existingParent(from);
  if (!from.exists()) fail_file_call(ErrorCode::FileNotFound);
  existingParent(to);
  // A change of case only is a rename of the same entry, which Windows allows.
  const bool sameEntry = from.local == to.local ||
                         (from.local.parent_path() == to.local.parent_path() &&
                          EqualsNoCase(localfs::toUtf8(from.local.filename()), to.windows.name()));
  if (to.exists() && !sameEntry) fail_file_call(ErrorCode::FileAlreadyExists);
  if (from.isFile() && IsLockedByAnother(from.local)) fail_file_call(ErrorCode::PermissionDenied);
  const fs::path target = sameEntry ? from.local.parent_path() / localfs::fromUtf8(to.windows.name()) : to.local;
  localfs::moveEntry(from.local, target);
}

void VbFiles::FileCopy(std::string_view source, std::string_view destination,
                       const localfs::CopyProgress& progress) const {
  const ResolvedPath from = workstation_->resolveOnDrive(source);
  existingParent(from);
  if (!from.isFile()) fail_file_call(ErrorCode::FileNotFound);
  const ResolvedPath to = workstation_->resolveOnDrive(destination);
  existingParent(to);
  if (to.isFolder()) fail_file_call(ErrorCode::PathFileAccessError);
  // The source held open for writing by another program is refused by the copy itself (70),
  // which admits readers beside it.
  if (to.exists() && (localfs::isReadOnly(to.local) || IsLockedByAnother(to.local))) fail_file_call(ErrorCode::PermissionDenied);
  localfs::copyFile(from.local, to.local, progress);
}

void VbFiles::MkDir(std::string_view path) const {
  const ResolvedPath r = workstation_->resolveOnDrive(path);
  if (r.windows.isRoot() || r.exists()) fail_file_call(ErrorCode::PathFileAccessError);
  existingParent(r);
  std::error_code ec;
  fs::create_directory(r.local, ec);
  if (ec) fail_file_call(ErrorCode::PathFileAccessError);
}

void VbFiles::RmDir(std::string_view path) const {
  const ResolvedPath r = workstation_->resolveOnDrive(path);
  if (!r.isFolder()) fail_file_call(ErrorCode::PathNotFound);
  std::error_code ec;
  if (!fs::is_empty(r.local, ec) || ec) fail_file_call(ErrorCode::PathFileAccessError);
  fs::remove(r.local, ec);
  if (ec) fail_file_call(ErrorCode::PathFileAccessError);
}

std::int64_t VbFiles::FileLen(std::string_view path) const {
  const ResolvedPath r = workstation_->resolveOnDrive(path);
  if (!r.isFile()) fail_file_call(ErrorCode::FileNotFound);
  std::error_code ec;
  const auto size = fs::file_size(r.local, ec);
  if (ec) fail_file_call(ErrorCode::FileNotFound);
  return static_cast<std::int64_t>(size);
}

}  // namespace platform
