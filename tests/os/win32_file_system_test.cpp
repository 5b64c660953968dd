// What only the Windows file system does: its sharing modes bind every opener of the machine,
// not only this program's; a lock file held open cannot be deleted, nor a file held open
// replaced; and paths are UTF-8 on our side, UTF-16 on the system's, accents included.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "os/failure.h"
#include "os/services.h"
#include "support/scratch_folder.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace win32_file_system_test_cases {

namespace {

namespace fs = std::filesystem;

struct Win32Files : ::testing::Test {
  std::string file(const std::string& name, const std::string& content = "x") const {
    const fs::path path = scratch.path() / name;
    std::ofstream(path, std::ios::binary) << content;
    return path.string();
  }
  // Another program's open, made directly with the system call.
  static HANDLE foreign_open(const std::string& path, DWORD access, DWORD share) {
    return ::CreateFileW(fs::path(path).wstring().c_str(), access, share, nullptr, OPEN_EXISTING,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
  }
  static os::FailureKind kind_of(const std::function<void()>& action) {
    try {
      action();
    } catch (const os::Failure& f) {
      return f.kind();
    }
    ADD_FAILURE() << "no failure";
    return os::FailureKind::IoError;
  }
  os::FileSystem& files = *os::system_services().files;
  test_support::ScratchFolder scratch;
};

TEST_F(Win32Files, SharingModesBindOtherProgramsBothWays) {
  const std::string path = file("base.mdb");
  {
    auto held = files.open(path, os::Access::ReadWrite, os::Sharing::Exclusive);
    const HANDLE other = foreign_open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_EQ(other, INVALID_HANDLE_VALUE);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  }
  {
    // Access holding the database exclusively: no sharing at all.
    const HANDLE access = foreign_open(path, GENERIC_READ | GENERIC_WRITE, 0);
    ASSERT_NE(access, INVALID_HANDLE_VALUE);
    EXPECT_EQ(kind_of([&] { files.open(path, os::Access::Read, os::Sharing::Shared); }),
              os::FailureKind::HeldExclusively);
    EXPECT_EQ(kind_of([&] { files.open(path, os::Access::ReadWrite, os::Sharing::Exclusive); }),
              os::FailureKind::InUse);
    ::CloseHandle(access);
  }
  {
    // Another shared opener lets ours in, and ours lets it write beside us.
    const HANDLE reader = foreign_open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    auto shared = files.open(path, os::Access::ReadWrite, os::Sharing::Shared);
    const HANDLE writer = foreign_open(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_NE(writer, INVALID_HANDLE_VALUE);
    if (writer != INVALID_HANDLE_VALUE) ::CloseHandle(writer);
    ::CloseHandle(reader);
  }
}

TEST_F(Win32Files, AReadersOnlyOpenerKeepsOutAccessesSharedReadWriteOpen) {
  const std::string path = file("base.mdb");
  {
    auto guard = files.open(path, os::Access::Read, os::Sharing::ReadersOnly);
    // Access opening the database shared, for reading and writing.
    const HANDLE access = foreign_open(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_EQ(access, INVALID_HANDLE_VALUE);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    if (access != INVALID_HANDLE_VALUE) ::CloseHandle(access);
    // Another program reading, sharing as it likes, gets in.
    const HANDLE reader = foreign_open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_NE(reader, INVALID_HANDLE_VALUE);
    if (reader != INVALID_HANDLE_VALUE) ::CloseHandle(reader);
  }
  {
    const HANDLE access = foreign_open(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
    ASSERT_NE(access, INVALID_HANDLE_VALUE);
    EXPECT_EQ(kind_of([&] { files.open(path, os::Access::Read, os::Sharing::ReadersOnly); }),
              os::FailureKind::HeldExclusively);
    ::CloseHandle(access);
  }
}

TEST_F(Win32Files, AHeldLockFileCannotBeDeletedUntilReleased) {
  const std::string lock = (scratch.path() / "base.ldb").string();
  {
    auto hold = files.hold_lock(lock);
    EXPECT_FALSE(::DeleteFileW(fs::path(lock).wstring().c_str()));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    EXPECT_TRUE(files.locked_by_another(lock));
  }
  EXPECT_FALSE(files.locked_by_another(lock));
  EXPECT_TRUE(::DeleteFileW(fs::path(lock).wstring().c_str()));
}

TEST_F(Win32Files, ReplacingAFileHeldOpenIsRefusedAndKeepsBoth) {
  const std::string finished = file("QuelComp.mdb", "new");
  const std::string live = file("Quelis.mdb", "old");
  ASSERT_TRUE(::SetFileAttributesW(fs::path(live).wstring().c_str(), FILE_ATTRIBUTE_READONLY));
  EXPECT_TRUE(files.is_read_only(live));
  ASSERT_TRUE(::SetFileAttributesW(fs::path(live).wstring().c_str(), FILE_ATTRIBUTE_NORMAL));
  EXPECT_FALSE(files.is_read_only(live));
  {
    // Open without delete sharing, as every opener of this file system and Access open it.
    auto in_use = files.open(live, os::Access::Read, os::Sharing::Shared);
    EXPECT_THROW(files.rename_over(finished, live), os::Failure);
    EXPECT_TRUE(files.exists(finished));
  }
  files.rename_over(finished, live);
  EXPECT_FALSE(files.exists(finished));
  auto replaced = files.open(live, os::Access::Read, os::Sharing::Shared);
  std::uint8_t back[8] = {};
  EXPECT_EQ(replaced->read_at(0, back), 3u);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(back), 3), "new");
}

TEST_F(Win32Files, AccentedPathsReachTheSystemAsTheirUnicodeNames) {
  const fs::path folder = scratch.path() / fs::path(u8"Donn\u00e9es");
  fs::create_directory(folder);
  const auto utf8 = [](const fs::path& p) {
    const std::u8string s = p.u8string();
    return std::string(s.begin(), s.end());
  };
  const std::string temp = utf8(folder / "QuelMaj.mdb");
  const std::string target = utf8(folder / fs::path(u8"\u00e9t\u00e9.mdb"));
  {
    auto f = files.create_new(temp);
    const std::uint8_t bytes[] = {'J', 'e', 't'};
    f->write_at(0, bytes);
  }
  files.publish_new(temp, target);
  EXPECT_TRUE(files.exists(target));
  EXPECT_TRUE(files.is_folder(utf8(folder)));
  EXPECT_EQ(kind_of([&] { files.create_new(target); }), os::FailureKind::AlreadyExists);

  // The system shows one file, under its accented name in UTF-16.
  std::vector<std::wstring> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().wstring());
  EXPECT_EQ(names, std::vector<std::wstring>{L"\u00e9t\u00e9.mdb"});
  auto back = files.open(target, os::Access::Read, os::Sharing::Exclusive);
  EXPECT_EQ(back->size(), 3u);
}

}  // namespace

}  // namespace win32_file_system_test_cases
