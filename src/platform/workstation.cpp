#include "platform/workstation.h"

#include <stdexcept>

#include "platform/error.h"
#include "platform/localfs.h"
#include "platform/profile.h"
#include "platform/registry.h"
#include "platform/vbstring.h"

namespace fs = std::filesystem;

namespace platform {
namespace {

// Follows `names` down from `base`, matching each existing entry case-blind; once a name is
// missing the rest is appended as written.
fs::path descend(fs::path base, const std::vector<std::string>& names, bool lastIsPattern) {
  bool present = localfs::isFolder(base);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const bool pattern = lastIsPattern && i + 1 == names.size();
    std::optional<std::string> actual;
    if (present && !pattern) actual = localfs::findEntry(base, names[i]);
    base /= localfs::fromUtf8(actual ? *actual : names[i]);
    present = actual && localfs::isFolder(base);
  }
  return base;
}

unsigned declaredType(const fs::path& settings, char drive) {
  std::string buffer(32, ' ');
  const long n = ReadProfileString(settings, "Drives", std::string(1, drive), "", buffer, 32);
  const std::string value = LCase(Left(buffer, static_cast<std::size_t>(n)));
  if (value == "cdrom" || value == "cd-rom" || value == "cd") return DRIVE_CDROM;
  if (value == "removable" || value == "amovible") return DRIVE_REMOVABLE;
  if (value == "fixed" || value == "fixe") return DRIVE_FIXED;
  if (value == "remote" || value == "network" || value == "reseau") return DRIVE_REMOTE;
  if (value == "ramdisk") return DRIVE_RAMDISK;
  if (value == "none" || value == "absent") return DRIVE_NO_ROOT_DIR;
  return DRIVE_UNKNOWN;  // not declared (or not understood): decided by the drive folder
}

}  // namespace

bool ResolvedPath::exists() const { return rootExists && localfs::exists(local); }
bool ResolvedPath::isFile() const { return rootExists && localfs::isFile(local); }
bool ResolvedPath::isFolder() const { return rootExists && localfs::isFolder(local); }

FolderWorkstation::FolderWorkstation(fs::path root) : root_(std::move(root)) {
  if (!localfs::isFolder(root_))
    throw std::invalid_argument("workstation folder missing: " + localfs::toUtf8(root_));
}

fs::path FolderWorkstation::driveFolder(char drive) const {
  return descend(root_, {std::string(1, static_cast<char>(drive & ~0x20))}, false);
}

fs::path FolderWorkstation::shareFolder(std::string_view server, std::string_view share) const {
  return descend(root_, {"UNC", std::string(server), std::string(share)}, false);
}

ResolvedPath FolderWorkstation::resolve(std::string_view windowsPath, bool allowWildcards) const {
  auto parsed = ParseWinPath(windowsPath, allowWildcards);
  if (!parsed) throw Error(ErrorCode::BadFileNameOrNumber);
  ResolvedPath resolved;
  const fs::path base = parsed->isUnc() ? shareFolder(parsed->server, parsed->share) : driveFolder(parsed->drive);
  resolved.rootExists = localfs::isFolder(base);
  const bool pattern = allowWildcards && !parsed->components.empty() && HasWildcard(parsed->components.back());
  resolved.local = descend(base, parsed->components, pattern);
  resolved.windows = std::move(*parsed);
  return resolved;
}

ResolvedPath Workstation::resolveOnDrive(std::string_view windowsPath, bool allowWildcards) const {
  ResolvedPath resolved = resolve(windowsPath, allowWildcards);
  if (!resolved.rootExists) throw Error(ErrorCode::PathNotFound);
  return resolved;
}

unsigned FolderWorkstation::GetDriveTypeA(std::string_view rootPathName) const {
  std::string text(rootPathName);
  if (text.size() == 2 && text[1] == ':') text += '\\';
  const auto parsed = ParseWinPath(text);
  if (!parsed || !parsed->isRoot()) return DRIVE_NO_ROOT_DIR;
  if (parsed->isUnc())
    return localfs::isFolder(shareFolder(parsed->server, parsed->share)) ? DRIVE_REMOTE : DRIVE_NO_ROOT_DIR;
  if (const unsigned declared = declaredType(drivesFile(), parsed->drive); declared != DRIVE_UNKNOWN)
    return declared;
  return localfs::isFolder(driveFolder(parsed->drive)) ? DRIVE_FIXED : DRIVE_NO_ROOT_DIR;
}

long FolderWorkstation::GetPrivateProfileStringA(std::string_view section, std::string_view key,
                                                 std::string_view defaultValue, std::string& returnedString,
                                           long size, std::string_view fileName) const {
  // An unusable name reads as a missing file: the default comes back.
  const fs::path local = ParseWinPath(fileName) ? resolve(fileName).local : fs::path();
  return ReadProfileString(local, section, key, defaultValue, returnedString, size);
}

bool FolderWorkstation::WritePrivateProfileStringA(std::string_view section, std::string_view key,
                                             std::string_view value, std::string_view fileName) const {
  if (!ParseWinPath(fileName)) return false;
  const ResolvedPath target = resolve(fileName);
  if (!target.rootExists) return false;
  return WriteProfileString(target.local, section, key, value);
}

std::string FolderWorkstation::RegRead(std::string_view name) const {
  return platform::RegRead(Registry::Load(registryFile()), name);
}

std::string FolderWorkstation::description() const { return localfs::toUtf8(root_); }

}  // namespace platform
