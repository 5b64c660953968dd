// The POSIX file system. Sharing is an advisory flock on the descriptor: it works on read-only
// descriptors and between two descriptors of one process, as Windows share modes do.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "os/failure.h"
#include "os/file.h"
#include "os/system_parts.h"

namespace os {
namespace {

FailureKind kind_of(int error_number, const std::string& path) {
  switch (error_number) {
    case ENOENT:
    case ENOTDIR: {
      const std::filesystem::path parent = std::filesystem::path(path).parent_path();
      std::error_code ec;
      if (!parent.empty() && !std::filesystem::is_directory(parent, ec)) return FailureKind::FolderNotFound;
      return FailureKind::NotFound;
    }
    case EACCES:
    case EPERM:
    case EROFS: return FailureKind::AccessDenied;
    case EISDIR: return FailureKind::NotAFile;
    case EEXIST: return FailureKind::AlreadyExists;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return FailureKind::DiskFull;
    case EWOULDBLOCK: return FailureKind::InUse;
    default: return FailureKind::IoError;
  }
}

[[noreturn]] void fail(int error_number, const std::string& path) {
  throw Failure(kind_of(error_number, path), path, error_number);
}

class PosixFile final : public File {
 public:
  PosixFile(int fd, std::string path) : fd_(fd), path_(std::move(path)) {}
  ~PosixFile() override { ::close(fd_); }  // closing releases the flock
  PosixFile(const PosixFile&) = delete;
  PosixFile& operator=(const PosixFile&) = delete;

  std::size_t read_at(std::uint64_t offset, std::span<std::uint8_t> into) override {
    std::size_t done = 0;
    while (done < into.size()) {
      const ssize_t n = ::pread(fd_, into.data() + done, into.size() - done, static_cast<off_t>(offset + done));
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) fail(errno == ENOSPC ? EIO : errno, path_);
      if (n == 0) break;
      done += static_cast<std::size_t>(n);
    }
    return done;
  }

  void write_at(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
    std::size_t done = 0;
    while (done < bytes.size()) {
      const ssize_t n = ::pwrite(fd_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) fail(errno, path_);
      if (n == 0) fail(ENOSPC, path_);  // nothing written and no error: the medium is full
      done += static_cast<std::size_t>(n);
    }
  }

  void sync() override {
    if (::fsync(fd_) != 0) fail(errno, path_);
  }

  std::uint64_t size() override {
    struct stat st {};
    if (::fstat(fd_, &st) != 0) fail(errno, path_);
    return static_cast<std::uint64_t>(st.st_size);
  }

  void truncate(std::uint64_t size) override {
    if (::ftruncate(fd_, static_cast<off_t>(size)) != 0) fail(errno, path_);
  }

 private:
  int fd_;
  std::string path_;
};

class PosixLockHold final : public LockHold {
 public:
  explicit PosixLockHold(int fd) : fd_(fd) {}
  ~PosixLockHold() override { ::close(fd_); }
  PosixLockHold(const PosixLockHold&) = delete;
  PosixLockHold& operator=(const PosixLockHold&) = delete;

 private:
  int fd_;
};

class PosixFileSystem final : public FileSystem {
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

namespace {

// True when a classic or open-file-description fcntl write lock covers the file: on Linux
// that is how a program holds a file open without sharing (see hold_lock).
bool write_locked_by_fcntl(int fd) {
  struct flock probe {};
  probe.l_type = F_RDLCK;
  probe.l_whence = SEEK_SET;
  return ::fcntl(fd, F_OFD_GETLK, &probe) == 0 && probe.l_type != F_UNLCK;
}

// True when `path` still names the file open on `fd`. A file replaced by a rename between
// the open and the lock must not be locked and written under a name that has moved on.
bool still_named(int fd, const std::string& path) {
  struct stat held {}, named {};
  return ::fstat(fd, &held) == 0 && ::stat(path.c_str(), &named) == 0 && held.st_dev == named.st_dev &&
         held.st_ino == named.st_ino;
}

}  // namespace

std::unique_ptr<File> PosixFileSystem::open(const std::string& path, Access access, Sharing sharing) {
  const int flags = (access == Access::ReadWrite ? O_RDWR : O_RDONLY) | O_CLOEXEC;
  // Every writer on this system holds its file exclusively, so a shared flock is enough to
  // keep writers out of a ReadersOnly opener's file; the fcntl probe adds the programs that
  // hold a file without sharing.
  const int operation = (sharing == Sharing::Exclusive ? LOCK_EX : LOCK_SH) | LOCK_NB;
  for (int attempt = 0;; ++attempt) {
    const int fd = ::open(path.c_str(), flags);
    if (fd < 0) fail(errno, path);
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
      ::close(fd);
      throw Failure(FailureKind::NotAFile, path);
    }
    if (::flock(fd, operation) != 0) {
      const int err = errno;
      ::close(fd);
      if (err == EWOULDBLOCK) {
        // A shared opener is kept out only by an exclusive holder; an exclusive one by anyone.
        throw Failure(sharing == Sharing::Exclusive ? FailureKind::InUse : FailureKind::HeldExclusively, path, err);
      }
      fail(err, path);
    }
    if (sharing == Sharing::ReadersOnly && write_locked_by_fcntl(fd)) {
      ::close(fd);
      throw Failure(FailureKind::HeldExclusively, path, EWOULDBLOCK);
    }
    if (still_named(fd, path)) return std::make_unique<PosixFile>(fd, path);
    // Replaced meanwhile: the lock must be taken on the file the name holds now.
    ::close(fd);
    if (attempt == 8) throw Failure(FailureKind::InUse, path, EWOULDBLOCK);
  }
}

std::unique_ptr<File> PosixFileSystem::create_new(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (fd < 0) fail(errno, path);
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    const int err = errno;
    ::close(fd);
    fail(err, path);
  }
  return std::make_unique<PosixFile>(fd, path);
}

std::unique_ptr<File> PosixFileSystem::create_scratch() {
  std::error_code ec;
  std::string folder = std::filesystem::temp_directory_path(ec).string();
  if (ec || folder.empty()) folder = "/tmp";
  std::string name = folder + "/jet-XXXXXX";
  const int fd = ::mkostemp(name.data(), O_CLOEXEC);
  if (fd < 0) fail(errno, folder);
  // Unlinked at once: only this descriptor reaches it, and the system frees it on close.
  ::unlink(name.c_str());
  return std::make_unique<PosixFile>(fd, name);
}

void PosixFileSystem::publish_new(const std::string& from, const std::string& to) {
  // link() refuses to replace a file that appeared meanwhile, where rename() would not.
  if (::link(from.c_str(), to.c_str()) != 0) fail(errno, to);
  ::unlink(from.c_str());
}

void PosixFileSystem::rename_over(const std::string& from, const std::string& to) {
  if (::rename(from.c_str(), to.c_str()) != 0) fail(errno, to);
}

void PosixFileSystem::remove(const std::string& path) {
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) fail(errno, path);
}

bool PosixFileSystem::exists(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0;
}

bool PosixFileSystem::is_folder(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool PosixFileSystem::is_read_only(const std::string& path) {
  // The owner's write permission stands for the Windows read-only attribute, which binds
  // every user, administrators (root) included.
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) return false;
  return !(st.st_mode & S_IWUSR) || ::access(path.c_str(), W_OK) != 0;
}

std::unique_ptr<LockHold> PosixFileSystem::hold_lock(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (fd < 0) fail(errno, path);
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  if (::fcntl(fd, F_OFD_SETLK, &lock) != 0) {
    const int err = errno;
    ::close(fd);
    throw Failure(err == EAGAIN || err == EACCES ? FailureKind::InUse : kind_of(err, path), path, err);
  }
  return std::make_unique<PosixLockHold>(fd);
}

bool PosixFileSystem::locked_by_another(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0) return false;
  bool locked = false;
  // Open-file-description and classic fcntl locks: would a write lock be refused?
  struct flock probe {};
  probe.l_type = F_WRLCK;
  probe.l_whence = SEEK_SET;
  if (::fcntl(fd, F_OFD_GETLK, &probe) == 0 && probe.l_type != F_UNLCK) locked = true;
  // flock locks, which fcntl does not see.
  if (!locked && ::flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) locked = true;
  ::close(fd);  // drops the probe's own flock if it got one
  return locked;
}

std::string PosixFileSystem::host_name() {
  char host[256] = {};
  if (::gethostname(host, sizeof host - 1) != 0 || host[0] == '\0') return "localhost";
  return host;
}

FileSystem& system_file_system() {
  static PosixFileSystem files;
  return files;
}

}  // namespace os
