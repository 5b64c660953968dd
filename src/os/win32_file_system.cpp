// Windows file services. A database opened exclusively is opened with no sharing at all, so
// that any other opener (Access included) meets a sharing violation, as Jet's exclusive mode
// does; a shared opener allows readers and writers beside it; a readers-only opener readers.
#include <windows.h>

#include "os/failure.h"
#include "os/file.h"
#include "os/system_parts.h"
#include "os/win32_text.h"

namespace os {
namespace {

FailureKind kind_of(DWORD error, bool shared_opener = false) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND: return FailureKind::NotFound;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH: return FailureKind::FolderNotFound;
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT: return FailureKind::AccessDenied;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION: return shared_opener ? FailureKind::HeldExclusively : FailureKind::InUse;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS: return FailureKind::AlreadyExists;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL: return FailureKind::DiskFull;
    default: return FailureKind::IoError;
  }
}

[[noreturn]] void fail(DWORD error, const std::string& path, bool shared_opener = false) {
  throw Failure(kind_of(error, shared_opener), path, static_cast<int>(error));
}

DWORD attributes(const std::string& path) { return ::GetFileAttributesW(widen(path).c_str()); }

class Win32File final : public File {
 public:
  Win32File(HANDLE handle, std::string path) : handle_(handle), path_(std::move(path)) {}
  ~Win32File() override { ::CloseHandle(handle_); }
  Win32File(const Win32File&) = delete;
  Win32File& operator=(const Win32File&) = delete;

  std::size_t read_at(std::uint64_t offset, std::span<std::uint8_t> into) override {
    std::size_t done = 0;
    while (done < into.size()) {
      OVERLAPPED at{};
      const std::uint64_t position = offset + done;
      at.Offset = static_cast<DWORD>(position);
      at.OffsetHigh = static_cast<DWORD>(position >> 32);
      DWORD got = 0;
      const DWORD want = static_cast<DWORD>(std::min<std::size_t>(into.size() - done, 1u << 30));
      if (!::ReadFile(handle_, into.data() + done, want, &got, &at)) {
        const DWORD error = ::GetLastError();
        if (error == ERROR_HANDLE_EOF) break;
        fail(error == ERROR_DISK_FULL ? ERROR_READ_FAULT : error, path_);
      }
      if (got == 0) break;
      done += got;
    }
    return done;
  }

  void write_at(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
    std::size_t done = 0;
    while (done < bytes.size()) {
      OVERLAPPED at{};
      const std::uint64_t position = offset + done;
      at.Offset = static_cast<DWORD>(position);
      at.OffsetHigh = static_cast<DWORD>(position >> 32);
      DWORD put = 0;
      const DWORD want = static_cast<DWORD>(std::min<std::size_t>(bytes.size() - done, 1u << 30));
      if (!::WriteFile(handle_, bytes.data() + done, want, &put, &at)) fail(::GetLastError(), path_);
      if (put == 0) fail(ERROR_DISK_FULL, path_);
      done += put;
    }
  }

  void sync() override {
    if (!::FlushFileBuffers(handle_)) fail(::GetLastError(), path_);
  }

  std::uint64_t size() override {
    LARGE_INTEGER size{};
    if (!::GetFileSizeEx(handle_, &size)) fail(::GetLastError(), path_);
    return static_cast<std::uint64_t>(size.QuadPart);
  }

  void truncate(std::uint64_t size) override {
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
    if (!::SetFileInformationByHandle(handle_, FileEndOfFileInfo, &end, sizeof end)) fail(::GetLastError(), path_);
  }

 private:
  HANDLE handle_;
  std::string path_;
};

class Win32LockHold final : public LockHold {
 public:
  explicit Win32LockHold(HANDLE handle) : handle_(handle) {}
  ~Win32LockHold() override { ::CloseHandle(handle_); }
  Win32LockHold(const Win32LockHold&) = delete;
  Win32LockHold& operator=(const Win32LockHold&) = delete;

 private:
  HANDLE handle_;
};

class Win32FileSystem final : public FileSystem {
 public:
  std::unique_ptr<File> open(const std::string& path, Access access, Sharing sharing) override;
  std::unique_ptr<File> create_new(const std::string& path) override;
  std::unique_ptr<File> create_scratch() override;
  void publish_new(const std::string& from, const std::string& to) override;
  void rename_over(const std::string& from, const std::string& to) override;
  void remove(const std::string& path) override;
  bool exists(const std::string& path) override;
  bool is_folder(const std::string& path) override;
  bool is_read_only(const std::string& path) override;
  std::unique_ptr<LockHold> hold_lock(const std::string& path) override;
  bool locked_by_another(const std::string& path) override;
  std::string host_name() override;
};

}  // namespace

std::wstring widen(const std::string& utf8) {
  if (utf8.empty()) return {};
  const int length = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
  std::wstring out(static_cast<std::size_t>(length), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), out.data(), length);
  return out;
}

std::string narrow(const std::wstring& utf16) {
  if (utf16.empty()) return {};
  const int length = ::WideCharToMultiByte(CP_UTF8, 0, utf16.data(), static_cast<int>(utf16.size()), nullptr, 0,
                                           nullptr, nullptr);
  std::string out(static_cast<std::size_t>(length), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, utf16.data(), static_cast<int>(utf16.size()), out.data(), length, nullptr,
                        nullptr);
  return out;
}

std::unique_ptr<File> Win32FileSystem::open(const std::string& path, Access access, Sharing sharing) {
  const DWORD desired = GENERIC_READ | (access == Access::ReadWrite ? GENERIC_WRITE : 0);
  // ReadersOnly shares reading only: any opener asking to write (Access included) meets a
  // sharing violation, and so does this one while such a writer has the file open.
  const DWORD share = sharing == Sharing::Exclusive     ? 0
                      : sharing == Sharing::ReadersOnly ? FILE_SHARE_READ
                                                        : FILE_SHARE_READ | FILE_SHARE_WRITE;
  const DWORD attrs = attributes(path);
  if (attrs != INVALID_FILE_ATTRIBUTES && (attrs & FILE_ATTRIBUTE_DIRECTORY)) throw Failure(FailureKind::NotAFile, path);
  HANDLE handle = ::CreateFileW(widen(path).c_str(), desired, share, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) fail(::GetLastError(), path, sharing != Sharing::Exclusive);
  if (::GetFileType(handle) != FILE_TYPE_DISK) {
    ::CloseHandle(handle);
    throw Failure(FailureKind::NotAFile, path);
  }
  return std::make_unique<Win32File>(handle, path);
}

std::unique_ptr<File> Win32FileSystem::create_new(const std::string& path) {
  HANDLE handle = ::CreateFileW(widen(path).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) fail(::GetLastError(), path);
  return std::make_unique<Win32File>(handle, path);
}

std::unique_ptr<File> Win32FileSystem::create_scratch() {
  wchar_t folder[MAX_PATH + 1];
  const DWORD length = ::GetTempPathW(MAX_PATH + 1, folder);
  if (length == 0 || length > MAX_PATH) fail(::GetLastError(), "%TEMP%");
  wchar_t name[MAX_PATH + 1];
  if (::GetTempFileNameW(folder, L"jet", 0, name) == 0) fail(::GetLastError(), narrow(folder));
  // Opened without sharing and deleted by the system when the last handle closes, the
  // program's end included.
  HANDLE handle = ::CreateFileW(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    const DWORD error = ::GetLastError();
    ::DeleteFileW(name);
    fail(error, narrow(name));
  }
  return std::make_unique<Win32File>(handle, narrow(name));
}

void Win32FileSystem::publish_new(const std::string& from, const std::string& to) {
  // Without MOVEFILE_REPLACE_EXISTING the move refuses a name that appeared meanwhile.
  if (!::MoveFileExW(widen(from).c_str(), widen(to).c_str(), MOVEFILE_WRITE_THROUGH)) fail(::GetLastError(), to);
}

void Win32FileSystem::rename_over(const std::string& from, const std::string& to) {
  if (!::MoveFileExW(widen(from).c_str(), widen(to).c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
    fail(::GetLastError(), to);
}

void Win32FileSystem::remove(const std::string& path) {
  if (!::DeleteFileW(widen(path).c_str())) {
    const DWORD error = ::GetLastError();
    if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) fail(error, path);
  }
}

bool Win32FileSystem::exists(const std::string& path) { return attributes(path) != INVALID_FILE_ATTRIBUTES; }

bool Win32FileSystem::is_folder(const std::string& path) {
  const DWORD attrs = attributes(path);
  return attrs != INVALID_FILE_ATTRIBUTES && (attrs & FILE_ATTRIBUTE_DIRECTORY);
}

bool Win32FileSystem::is_read_only(const std::string& path) {
  const DWORD attrs = attributes(path);
  return attrs != INVALID_FILE_ATTRIBUTES && (attrs & FILE_ATTRIBUTE_READONLY);
}

std::unique_ptr<LockHold> Win32FileSystem::hold_lock(const std::string& path) {
  // Held open without sharing: deleting or opening it elsewhere is a sharing violation, which
  // is what another program meets while Access keeps its ".ldb" open.
  HANDLE handle = ::CreateFileW(widen(path).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) fail(::GetLastError(), path);
  return std::make_unique<Win32LockHold>(handle);
}

bool Win32FileSystem::locked_by_another(const std::string& path) {
  HANDLE handle = ::CreateFileW(widen(path).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    const DWORD error = ::GetLastError();
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION;
  }
  ::CloseHandle(handle);
  return false;
}

std::string Win32FileSystem::host_name() {
  wchar_t name[MAX_COMPUTERNAME_LENGTH + 1] = {};
  DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
  if (!::GetComputerNameW(name, &length) || length == 0) return "localhost";
  return narrow(std::wstring(name, length));
}

FileSystem& system_file_system() {
  static Win32FileSystem files;
  return files;
}

}  // namespace os
