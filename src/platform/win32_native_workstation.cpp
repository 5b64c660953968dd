#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "os/win32_text.h"
#include "platform/error.h"
#include "platform/localfs.h"
#include "platform/native_workstation.h"
#include "platform/profile.h"
#include "platform/registry.h"

namespace platform {
namespace {

std::wstring wide(std::string_view utf8) { return os::widen(std::string(utf8)); }

HKEY hiveHandle(const std::string& hive) {
  if (hive == "HKEY_LOCAL_MACHINE") return HKEY_LOCAL_MACHINE;
  if (hive == "HKEY_CURRENT_USER") return HKEY_CURRENT_USER;
  if (hive == "HKEY_CLASSES_ROOT") return HKEY_CLASSES_ROOT;
  if (hive == "HKEY_USERS") return HKEY_USERS;
  return HKEY_CURRENT_CONFIG;
}

class NativeWorkstation : public Workstation {
 public:
  ResolvedPath resolve(std::string_view windowsPath, bool allowWildcards) const override {
    auto parsed = ParseWinPath(windowsPath, allowWildcards);
    if (!parsed) throw Error(ErrorCode::BadFileNameOrNumber);
    ResolvedPath resolved;
    const std::wstring root = wide(parsed->rootText());
    if (parsed->isUnc()) {
      resolved.rootExists = ::GetFileAttributesW(root.c_str()) != INVALID_FILE_ATTRIBUTES;
    } else {
      const UINT type = ::GetDriveTypeW(root.c_str());
      resolved.rootExists = type != DRIVE_UNKNOWN && type != DRIVE_NO_ROOT_DIR;
    }
    resolved.local = std::filesystem::path(wide(parsed->text()));
    resolved.windows = std::move(*parsed);
    return resolved;
  }

  // Windows answers DRIVE_NO_ROOT_DIR for a path that is not a drive's root; some
  // implementations of the call (Wine) answer for the drive instead, so the text is checked here.
  unsigned GetDriveTypeA(std::string_view rootPathName) const override {
    std::string text(rootPathName);
    if (text.size() == 2 && text[1] == ':') text += '\\';
    const auto parsed = ParseWinPath(text);
    if (!parsed || !parsed->isRoot()) return DRIVE_NO_ROOT_DIR;
    return ::GetDriveTypeW(wide(text).c_str());
  }

  long GetPrivateProfileStringA(std::string_view section, std::string_view key, std::string_view defaultValue,
                                std::string& returnedString, long size,
                                std::string_view fileName) const override {
    // The system reads the file (ANSI or UTF-16) and strips quotes; the copy into the
    // caller's buffer then follows the same rule as everywhere else.
    std::vector<wchar_t> buffer(static_cast<std::size_t>(std::max<long>(size, 1)) + 1, L'\0');
    const DWORD n = ::GetPrivateProfileStringW(wide(section).c_str(), wide(key).c_str(), wide(defaultValue).c_str(),
                                               buffer.data(), static_cast<DWORD>(buffer.size()),
                                               wide(fileName).c_str());
    return CopyProfileValue(os::narrow(std::wstring(buffer.data(), n)), returnedString, size);
  }

  bool WritePrivateProfileStringA(std::string_view section, std::string_view key, std::string_view value,
                                  std::string_view fileName) const override {
    return ::WritePrivateProfileStringW(wide(section).c_str(), wide(key).c_str(), wide(value).c_str(),
                                        wide(fileName).c_str()) != 0;
  }

  std::string RegRead(std::string_view name) const override {
    const RegistryName parts = SplitRegistryName(name);
    HKEY key = nullptr;
    if (::RegOpenKeyExW(hiveHandle(parts.hive), wide(parts.key).c_str(), 0, KEY_QUERY_VALUE | KEY_WOW64_32KEY,
                        &key) != ERROR_SUCCESS)
      ThrowRegistryValueMissing(name);
    const std::wstring valueName = wide(parts.value);
    const wchar_t* which = parts.value.empty() ? nullptr : valueName.c_str();
    DWORD type = 0, bytes = 0;
    LONG rc = ::RegQueryValueExW(key, which, nullptr, &type, nullptr, &bytes);
    std::vector<BYTE> data(bytes + sizeof(wchar_t), 0);
    if (rc == ERROR_SUCCESS) rc = ::RegQueryValueExW(key, which, nullptr, &type, data.data(), &bytes);
    ::RegCloseKey(key);
    if (rc != ERROR_SUCCESS) ThrowRegistryValueMissing(name);
    if (type == REG_DWORD) {
      std::int32_t number = 0;
      std::memcpy(&number, data.data(), sizeof number);
      return std::to_string(number);  // a Long variant
    }
    if (type != REG_SZ && type != REG_EXPAND_SZ) throw Error(ErrorCode::TypeMismatch);
    std::wstring text(reinterpret_cast<const wchar_t*>(data.data()), bytes / sizeof(wchar_t));
    while (!text.empty() && text.back() == L'\0') text.pop_back();
    return os::narrow(text);
  }

  std::string description() const override {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
    return ::GetComputerNameW(name, &size) ? os::narrow(std::wstring(name, size)) : std::string("ce poste");
  }
};

}  // namespace

std::unique_ptr<Workstation> ThisMachine() { return std::make_unique<NativeWorkstation>(); }

std::string ProgramFolder() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD n = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (n < path.size()) {
      path.resize(n);
      break;
    }
    path.resize(path.size() * 2);
  }
  const auto slash = path.find_last_of(L"\\/");
  std::string folder = os::narrow(slash == std::wstring::npos ? path : path.substr(0, slash));
  if (folder.size() == 2 && folder[1] == ':') folder += '\\';
  return folder;
}

void ShowUtf8OnConsole() { ::SetConsoleOutputCP(CP_UTF8); }

}  // namespace platform
