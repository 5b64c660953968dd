#include "platform/localfs.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>

#include "os/failure.h"
#include "os/services.h"
#include "platform/error.h"
#include "platform/filelock.h"
#include "platform/vbstring.h"

namespace fs = std::filesystem;

namespace platform::localfs {

fs::path fromUtf8(std::string_view text) {
  return fs::path(std::u8string(text.begin(), text.end()));
}

std::string toUtf8(const fs::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

std::FILE* openFile(const fs::path& file, const char* mode) {
#ifdef _WIN32
  const std::wstring wideMode(mode, mode + std::char_traits<char>::length(mode));
  return ::_wfopen(file.c_str(), wideMode.c_str());
#else
  return std::fopen(file.c_str(), mode);
#endif
}

std::optional<std::string> findEntry(const fs::path& folder, std::string_view name) {
  std::error_code ec;
#ifndef _WIN32
  // A case-sensitive file system answers an exact match at once; a Windows one would find any
  // spelling, while the caller needs the one on disk.
  if (fs::exists(fs::symlink_status(folder / fromUtf8(name), ec))) return std::string(name);
#endif
  std::optional<std::string> found;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    std::string candidate = toUtf8(it->path().filename());
    if (EqualsNoCase(candidate, name)) {
      // Several entries may differ only by case on Linux; take the first in Windows order.
      if (!found || CompareNtfsOrder(candidate, *found) < 0 ||
          (CompareNtfsOrder(candidate, *found) == 0 && candidate < *found))
        found = std::move(candidate);
    }
  }
  return found;
}

std::vector<Entry> list(const fs::path& folder) {
  std::error_code ec;
  fs::directory_iterator it(folder, ec);
  if (ec == std::errc::permission_denied) throw Error(ErrorCode::PermissionDenied);
  if (ec) throw Error(ErrorCode::PathNotFound);
  std::vector<Entry> entries;
  for (fs::directory_iterator end; it != end; it.increment(ec)) {
    if (ec) throw Error(ErrorCode::PathFileAccessError);
    entries.push_back({toUtf8(it->path().filename()), isFolder(it->path())});
  }
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    const int c = CompareNtfsOrder(a.name, b.name);
    return c != 0 ? c < 0 : a.name < b.name;
  });
  return entries;
}

bool isFile(const fs::path& p) {
  std::error_code ec;
  return fs::is_regular_file(p, ec);
}

bool isFolder(const fs::path& p) {
  std::error_code ec;
  return fs::is_directory(p, ec);
}

bool exists(const fs::path& p) {
  std::error_code ec;
  return fs::exists(p, ec);
}

}  // namespace platform::localfs

namespace platform::localfs {

std::optional<std::string> readFile(const fs::path& file) {
  if (file.empty() || !isFile(file)) return std::nullopt;
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(in), {});
}

bool isReadOnly(const fs::path& p) {
  std::error_code ec;
  const auto st = fs::status(p, ec);
  return !ec && (st.permissions() & fs::perms::owner_write) == fs::perms::none;
}

void clearReadOnly(const fs::path& p) {
  std::error_code ec;
  fs::permissions(p, fs::perms::owner_write, fs::perm_options::add, ec);
}

void replaceFile(const fs::path& from, const fs::path& to) {
  try {
    os::system_services().files->rename_over(toUtf8(from), toUtf8(to));
  } catch (const os::Failure&) {
    throw Error(ErrorCode::PermissionDenied);
  }
}

void moveEntry(const fs::path& from, const fs::path& to) {
  std::error_code ec;
  fs::rename(from, to, ec);
  if (!ec) return;
  if (ec != std::errc::cross_device_link) throw Error(ErrorCode::PermissionDenied);
  fs::copy(from, to, fs::copy_options::recursive, ec);
  if (ec) {
    fs::remove_all(to, ec);
    throw Error(ErrorCode::PermissionDenied);
  }
  fs::remove_all(from, ec);
  if (ec) throw Error(ErrorCode::PermissionDenied);
}

bool treeHasBlockedFile(const fs::path& folder, bool readOnlyCounts) {
  std::error_code ec;
  for (fs::recursive_directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    if (!it->is_regular_file(ec)) continue;
    if ((readOnlyCounts && isReadOnly(it->path())) || IsLockedByAnother(it->path())) return true;
  }
  return false;
}

}  // namespace platform::localfs
