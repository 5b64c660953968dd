#include "platform/filelock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/fso.h"
#include "platform/vbfiles.h"
#include "platform_test_support.h"

namespace platform_test {
namespace {

// A child process that holds a classic fcntl write lock on a file, as another program keeping
// the file open would, until the test lets it go.
class LockingChild {
 public:
  explicit LockingChild(const fs::path& file) {
    int ready[2], release[2];
    if (pipe(ready) != 0 || pipe(release) != 0) throw std::runtime_error("pipe");
    pid_ = fork();
    if (pid_ == 0) {
      close(ready[0]);
      close(release[1]);
      const int fd = open(file.c_str(), O_RDWR);
      struct flock lock {};
      lock.l_type = F_WRLCK;
      lock.l_whence = SEEK_SET;
      char status = (fd >= 0 && fcntl(fd, F_SETLK, &lock) == 0) ? 'y' : 'n';
      if (write(ready[1], &status, 1) != 1) _exit(2);
      char dummy;
      while (read(release[0], &dummy, 1) > 0) {
      }
      _exit(0);
    }
    close(ready[1]);
    close(release[0]);
    releaseFd_ = release[1];
    char status = 'n';
    if (read(ready[0], &status, 1) != 1) status = 'n';
    close(ready[0]);
    locked_ = status == 'y';
  }
  ~LockingChild() { stop(); }
  bool locked() const { return locked_; }
  void stop() {
    if (releaseFd_ >= 0) close(releaseFd_);
    releaseFd_ = -1;
    if (pid_ > 0) waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }

 private:
  pid_t pid_ = -1;
  int releaseFd_ = -1;
  bool locked_ = false;
};

class LockTest : public WorkstationTest {
 protected:
  void SetUp() override { writeBytes(ldb(), "Admin"); }
  fs::path ldb() const { return c() / "Bases" / "Quelis.ldb"; }
  platform::FileSystemObject fso_{ws_};
  platform::VbFiles vb_{ws_};
};

TEST_F(LockTest, AFileAnotherProcessHoldsCannotBeDeleted) {
  EXPECT_FALSE(platform::IsLockedByAnother(ldb()));
  LockingChild access(ldb());
  ASSERT_TRUE(access.locked());
  EXPECT_TRUE(platform::IsLockedByAnother(ldb()));
  EXPECT_VB_ERROR(fso_.DeleteFile("C:\\Bases\\Quelis.ldb", true), 70);
  EXPECT_VB_ERROR(vb_.Kill("C:\\Bases\\Quelis.ldb"), 70);
  EXPECT_VB_ERROR(fso_.DeleteFolder("C:\\Bases", true), 70);
  EXPECT_TRUE(fs::exists(ldb()));

  access.stop();  // the other program closed its database
  EXPECT_FALSE(platform::IsLockedByAnother(ldb()));
  fso_.DeleteFile("C:\\Bases\\Quelis.ldb");
  EXPECT_FALSE(fs::exists(ldb()));
}

TEST_F(LockTest, HolderKeepsAnOpenFileDescriptionLockUntilReleased) {
  platform::FileLockHolder holder(ldb());
  EXPECT_TRUE(platform::IsLockedByAnother(ldb()));
  EXPECT_VB_ERROR(vb_.Kill("C:\\Bases\\QUELIS.LDB"), 70);
  EXPECT_VB_ERROR(fso_.MoveFile("C:\\Bases\\Quelis.ldb", "C:\\Bases\\x.ldb"), 70);
  EXPECT_THROW(platform::FileLockHolder second(ldb()), std::system_error);
  holder.release();
  EXPECT_FALSE(platform::IsLockedByAnother(ldb()));
  vb_.Kill("C:\\Bases\\Quelis.ldb");
  EXPECT_FALSE(fs::exists(ldb()));
}

TEST_F(LockTest, FlockHoldersCountToo) {
  const int fd = open(ldb().c_str(), O_RDONLY);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(flock(fd, LOCK_SH), 0);
  EXPECT_TRUE(platform::IsLockedByAnother(ldb()));
  EXPECT_VB_ERROR(fso_.DeleteFile("C:\\Bases\\Quelis.ldb"), 70);
  close(fd);
  EXPECT_FALSE(platform::IsLockedByAnother(ldb()));
}

}  // namespace
}  // namespace platform_test
