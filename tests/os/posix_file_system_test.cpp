// What only the POSIX file system does: its sharing is advisory (flock), so it binds the
// openers that take part and not a plain open(); lock files are probed for the locks other
// programs take on Linux (flock and fcntl), in this process or another.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "os/failure.h"
#include "os/services.h"
#include "support/scratch_folder.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace posix_file_system_test_cases {

namespace {

struct PosixFiles : ::testing::Test {
  std::string file(const std::string& name) const {
    const std::string path = (scratch.path() / name).string();
    std::ofstream(path, std::ios::binary) << "x";
    return path;
  }
  os::FileSystem& files = *os::system_services().files;
  test_support::ScratchFolder scratch;
};

TEST_F(PosixFiles, ExclusiveSharingBindsOnlyOpenersThatLock) {
  const std::string path = file("base.mdb");
  auto held = files.open(path, os::Access::ReadWrite, os::Sharing::Exclusive);
  // A program that does not lock still opens the file: the sharing is advisory here.
  const int plain = ::open(path.c_str(), O_RDONLY);
  EXPECT_GE(plain, 0);
  // One that takes a flock, as the engine does, is kept out.
  EXPECT_NE(::flock(plain, LOCK_SH | LOCK_NB), 0);
  EXPECT_EQ(errno, EWOULDBLOCK);
  ::close(plain);
}

TEST_F(PosixFiles, AReadersOnlyOpenerIsKeptOutByAProgramHoldingTheFileWithoutSharing) {
  const std::string path = file("base.mdb");
  {
    // hold_lock is how a program holds a file without sharing here (an fcntl lock): a shared
    // reader, bound by flock alone, does not see it; a readers-only opener does.
    auto hold = files.hold_lock(path);
    EXPECT_NO_THROW(files.open(path, os::Access::Read, os::Sharing::Shared));
    try {
      files.open(path, os::Access::Read, os::Sharing::ReadersOnly);
      ADD_FAILURE() << "opened beside a holder";
    } catch (const os::Failure& f) {
      EXPECT_EQ(f.kind(), os::FailureKind::HeldExclusively);
    }
  }
  EXPECT_NO_THROW(files.open(path, os::Access::Read, os::Sharing::ReadersOnly));
}

TEST_F(PosixFiles, LockFilesShowTheLocksOfOtherProgramsAndProcesses) {
  const std::string by_flock = file("flock.ldb");
  const int fd = ::open(by_flock.c_str(), O_RDWR);
  ASSERT_EQ(::flock(fd, LOCK_EX), 0);
  EXPECT_TRUE(files.locked_by_another(by_flock));
  ::close(fd);
  EXPECT_FALSE(files.locked_by_another(by_flock));

  // A lock held by another process, taken the engine's way: the child holds it until told.
  const std::string by_child = (scratch.path() / "child.ldb").string();
  int to_child[2], from_child[2];
  ASSERT_EQ(::pipe(to_child), 0);
  ASSERT_EQ(::pipe(from_child), 0);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    auto hold = files.hold_lock(by_child);
    char c = 'h';
    if (::write(from_child[1], &c, 1) != 1 || ::read(to_child[0], &c, 1) != 1) ::_exit(2);
    ::_exit(0);
  }
  char c = 0;
  ASSERT_EQ(::read(from_child[0], &c, 1), 1);
  EXPECT_TRUE(files.locked_by_another(by_child));
  EXPECT_THROW(files.hold_lock(by_child), os::Failure);
  ASSERT_EQ(::write(to_child[1], &c, 1), 1);
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_FALSE(files.locked_by_another(by_child));
  for (int end : {to_child[0], to_child[1], from_child[0], from_child[1]}) ::close(end);
}

}  // namespace

}  // namespace posix_file_system_test_cases
