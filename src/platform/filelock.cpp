#include "platform/filelock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace platform {
namespace {

struct flock wholeFile(short type) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = 0;
  lock.l_len = 0;  // to the end, however the file grows
  return lock;
}

}  // namespace

bool IsLockedByAnother(const std::filesystem::path& file) {
  const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0) return false;
  bool locked = false;
  // fcntl and open-file-description locks: ask whether a write lock would be refused. The probe
  // is a fresh description, so any lock held elsewhere (this process included) shows up.
  struct flock probe = wholeFile(F_WRLCK);
  if (::fcntl(fd, F_OFD_GETLK, &probe) == 0 && probe.l_type != F_UNLCK) locked = true;
  // flock locks live apart from fcntl ones on Linux; try one without waiting.
  if (!locked && ::flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) locked = true;
  ::close(fd);  // drops the probe's own flock if it got one
  return locked;
}

FileLockHolder::FileLockHolder(const std::filesystem::path& file) {
  fd_ = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (fd_ < 0) throw std::system_error(errno, std::generic_category(), "open " + file.string());
  struct flock lock = wholeFile(F_WRLCK);
  if (::fcntl(fd_, F_OFD_SETLK, &lock) != 0) {
    const int err = errno;
    ::close(fd_);
    fd_ = -1;
    throw std::system_error(err, std::generic_category(), "lock " + file.string());
  }
}

FileLockHolder::FileLockHolder(FileLockHolder&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

FileLockHolder& FileLockHolder::operator=(FileLockHolder&& other) noexcept {
  if (this != &other) {
    release();
    fd_ = std::exchange(other.fd_, -1);
  }
  return *this;
}

FileLockHolder::~FileLockHolder() { release(); }

void FileLockHolder::release() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
}

}  // namespace platform
