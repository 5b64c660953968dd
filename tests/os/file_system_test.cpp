// The machine's file system as the engine sees it: sharing refusals between openers of one
// process, creation that never replaces, positioned I/O, and the failure kinds; the same on
// every system.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "os/failure.h"
#include "os/services.h"
#include "support/scratch_folder.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace file_system_test_cases {

namespace {

namespace fs = std::filesystem;

struct SystemFiles : ::testing::Test {
  std::string file(const std::string& name, const std::string& content = "") const {
    const fs::path p = dir / name;
    std::ofstream(p, std::ios::binary) << content;
    return p.string();
  }
  // Read and closed at once: Windows refuses to rename over a file someone holds open.
  static std::string content_of(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
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
  fs::path dir = scratch.path();
};

TEST_F(SystemFiles, SharingModesRefuseEachOtherAsWindowsDoes) {
  const std::string path = file("base.mdb", "x");
  {
    auto exclusive = files.open(path, os::Access::ReadWrite, os::Sharing::Exclusive);
    // A second exclusive opener is refused as "in use"; a shared one learns the file is held.
    EXPECT_EQ(kind_of([&] { files.open(path, os::Access::Read, os::Sharing::Exclusive); }), os::FailureKind::InUse);
    EXPECT_EQ(kind_of([&] { files.open(path, os::Access::Read, os::Sharing::Shared); }),
              os::FailureKind::HeldExclusively);
  }
  {
    auto one = files.open(path, os::Access::Read, os::Sharing::Shared);
    auto two = files.open(path, os::Access::Read, os::Sharing::Shared);  // shared openers coexist
    EXPECT_EQ(kind_of([&] { files.open(path, os::Access::ReadWrite, os::Sharing::Exclusive); }),
              os::FailureKind::InUse);
  }
  // Closing releases: the file may be held exclusively again.
  EXPECT_NO_THROW(files.open(path, os::Access::ReadWrite, os::Sharing::Exclusive));
}

TEST_F(SystemFiles, AReadersOnlyOpenerAdmitsReadersAndKeepsWritersOut) {
  const std::string path = file("base.mdb", "x");
  {
    auto guard = files.open(path, os::Access::Read, os::Sharing::ReadersOnly);
    // Readers, shared or readers-only, open beside it.
    auto reader = files.open(path, os::Access::Read, os::Sharing::Shared);
    auto second = files.open(path, os::Access::Read, os::Sharing::ReadersOnly);
    std::uint8_t byte = 0;
    EXPECT_EQ(reader->read_at(0, std::span(&byte, 1)), 1u);
    // A writer is refused as it is by any other opener.
    EXPECT_EQ(kind_of([&] { files.open(path, os::Access::ReadWrite, os::Sharing::Exclusive); }),
              os::FailureKind::InUse);
  }
  {
    // And the other way round: a writer already there keeps it out.
    auto writer = files.open(path, os::Access::ReadWrite, os::Sharing::Exclusive);
    EXPECT_EQ(kind_of([&] { files.open(path, os::Access::Read, os::Sharing::ReadersOnly); }),
              os::FailureKind::HeldExclusively);
  }
  EXPECT_NO_THROW(files.open(path, os::Access::Read, os::Sharing::ReadersOnly));
}

TEST_F(SystemFiles, MissingFilesFoldersAndFoldersInPlaceOfFilesAreTold) {
  EXPECT_EQ(kind_of([&] { files.open((dir / "none.mdb").string(), os::Access::Read, os::Sharing::Shared); }),
            os::FailureKind::NotFound);
  EXPECT_EQ(kind_of([&] { files.open((dir / "no" / "b.mdb").string(), os::Access::Read, os::Sharing::Shared); }),
            os::FailureKind::FolderNotFound);
  EXPECT_EQ(kind_of([&] { files.open(dir.string(), os::Access::Read, os::Sharing::Shared); }),
            os::FailureKind::NotAFile);
}

TEST_F(SystemFiles, ReadsAndWritesAtOffsetsAndReportsShortReadsAtTheEnd) {
  const std::string path = file("data.bin", "abcdef");
  auto f = files.open(path, os::Access::ReadWrite, os::Sharing::Exclusive);
  const std::uint8_t patch[] = {'X', 'Y'};
  f->write_at(2, patch);
  f->write_at(10, patch);  // past the end: the file grows, the gap reads as zeros
  EXPECT_EQ(f->size(), 12u);
  std::vector<std::uint8_t> back(16, 0xEE);
  EXPECT_EQ(f->read_at(0, back), 12u);
  EXPECT_EQ(std::string(back.begin(), back.begin() + 12), std::string("abXYef\0\0\0\0XY", 12));
  f->truncate(3);
  EXPECT_EQ(f->size(), 3u);
  EXPECT_NO_THROW(f->sync());
}

TEST_F(SystemFiles, CreationNeverReplacesAndPublishingKeepsAnExistingName) {
  const std::string taken = file("taken.mdb", "old");
  EXPECT_EQ(kind_of([&] { files.create_new(taken); }), os::FailureKind::AlreadyExists);

  const std::string temp = (dir / "new.tmp").string();
  {
    auto f = files.create_new(temp);
    const std::uint8_t bytes[] = {'n', 'e', 'w'};
    f->write_at(0, bytes);
  }
  EXPECT_EQ(kind_of([&] { files.publish_new(temp, taken); }), os::FailureKind::AlreadyExists);
  EXPECT_TRUE(files.exists(temp));  // nothing moved
  EXPECT_EQ(content_of(taken), "old");

  const std::string fresh = (dir / "fresh.mdb").string();
  files.publish_new(temp, fresh);
  EXPECT_FALSE(files.exists(temp));
  EXPECT_TRUE(files.exists(fresh));

  files.rename_over(fresh, taken);  // the finished file takes the old one's place
  EXPECT_EQ(content_of(taken), "new");
  EXPECT_FALSE(files.exists(fresh));
  EXPECT_NO_THROW(files.remove(fresh));  // already gone: not an error
}

// The temporary folder is taken from the environment, as the system's own programs take it
// (an empty name: the variable is removed).
#ifdef _WIN32
constexpr const char* kTemporaryFolderVariable = "TMP";
void use_temporary_folder(const std::string& folder) {
  _putenv_s("TMP", folder.c_str());
  _putenv_s("TEMP", folder.c_str());
}
#else
constexpr const char* kTemporaryFolderVariable = "TMPDIR";
void use_temporary_folder(const std::string& folder) {
  if (folder.empty()) ::unsetenv("TMPDIR");
  else ::setenv("TMPDIR", folder.c_str(), 1);
}
#endif

TEST_F(SystemFiles, ScratchFilesAreSeparateAndLeaveNothingInTheTemporaryFolder) {
  const char* before = std::getenv(kTemporaryFolderVariable);
  const std::string previous = before ? before : "";
  use_temporary_folder(dir.string());
  {
    auto a = files.create_scratch();
    auto b = files.create_scratch();
    const std::uint8_t one[] = {'u', 'n'};
    const std::uint8_t two[] = {'d', 'e', 'u', 'x'};
    a->write_at(0, one);
    b->write_at(0, two);
    a->write_at(100000, two);  // grows like any file
    std::vector<std::uint8_t> back(4);
    EXPECT_EQ(b->read_at(0, back), 4u);
    EXPECT_EQ(std::string(back.begin(), back.end()), "deux");
    EXPECT_EQ(a->read_at(0, back), 4u);
    EXPECT_EQ(std::string(back.begin(), back.begin() + 2), "un");
    EXPECT_EQ(a->size(), 100004u);
  }
  use_temporary_folder(previous);
  EXPECT_TRUE(fs::is_empty(dir)) << "a closed scratch file left a name behind";
}

TEST_F(SystemFiles, ReadOnlyAttributeAndLockFiles) {
  const std::string path = file("ro.mdb", "x");
  EXPECT_FALSE(files.is_read_only(path));
  // Taking the write permissions away is the read-only attribute on Windows.
  fs::permissions(path, fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                  fs::perm_options::remove);
  EXPECT_TRUE(files.is_read_only(path));
  EXPECT_FALSE(files.is_read_only((dir / "none").string()));

  const std::string lock = (dir / "base.ldb").string();
  EXPECT_FALSE(files.locked_by_another(lock));  // missing
  {
    auto hold = files.hold_lock(lock);
    EXPECT_TRUE(files.exists(lock));
    EXPECT_TRUE(files.locked_by_another(lock));
    EXPECT_EQ(kind_of([&] { files.hold_lock(lock); }), os::FailureKind::InUse);
  }
  EXPECT_FALSE(files.locked_by_another(lock));
  EXPECT_FALSE(files.host_name().empty());
}

TEST(SystemClock, GivesAPlausibleLocalDateAndDistinctRandomNumbers) {
  const os::LocalTime t = os::system_services().clock->now();
  EXPECT_GE(t.year, 2024);
  EXPECT_TRUE(t.month >= 1 && t.month <= 12 && t.day >= 1 && t.day <= 31);
  EXPECT_TRUE(t.hour >= 0 && t.hour < 24 && t.minute >= 0 && t.minute < 60);
  os::Random& random = *os::system_services().random;
  EXPECT_NE(random.next(), random.next());
}

}  // namespace

}  // namespace file_system_test_cases
