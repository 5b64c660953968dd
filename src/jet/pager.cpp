#include "jet/pager.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <list>
#include <unordered_map>

#include "jet/error.h"

namespace jet {

void throw_damaged(const std::string& file, std::string_view detail) {
  std::string text = describe(static_cast<int>(ErrorCode::DatabaseDamaged), file);
  if (!detail.empty()) {
    text += " (";
    text += detail;
    text += ")";
  }
  throw Error(static_cast<int>(ErrorCode::DatabaseDamaged), std::move(text));
}

// ---- ByteView ----

std::uint16_t ByteView::u16(std::size_t offset) const {
  check(offset, 2);
  return static_cast<std::uint16_t>(data_[offset] | (data_[offset + 1] << 8));
}

std::uint32_t ByteView::u24(std::size_t offset) const {
  check(offset, 3);
  return data_[offset] | (data_[offset + 1] << 8) | (static_cast<std::uint32_t>(data_[offset + 2]) << 16);
}

std::uint32_t ByteView::u32(std::size_t offset) const {
  check(offset, 4);
  return data_[offset] | (data_[offset + 1] << 8) | (static_cast<std::uint32_t>(data_[offset + 2]) << 16) |
         (static_cast<std::uint32_t>(data_[offset + 3]) << 24);
}

std::uint64_t ByteView::u64(std::size_t offset) const {
  check(offset, 8);
  std::uint64_t v = 0;
  for (int i = 7; i >= 0; --i) v = (v << 8) | data_[offset + static_cast<std::size_t>(i)];
  return v;
}

ByteView ByteView::sub(std::size_t offset, std::size_t length) const {
  check(offset, length);
  return ByteView(data_ + offset, length, page_, file_);
}

void ByteView::damaged(std::string_view what) const {
  static const std::string unknown = "?";
  std::string detail = "page " + std::to_string(page_) + " : ";
  detail += what;
  throw_damaged(file_ ? *file_ : unknown, detail);
}

void ByteView::fail(std::size_t offset, std::size_t length) const {
  damaged("lecture de " + std::to_string(length) + " octet(s) à la position " +
          std::to_string(offset) + " hors d'une zone de " + std::to_string(size_) + " octets");
}

const std::string& Page::file() const {
  static const std::string unknown = "?";
  return file_ ? *file_ : unknown;
}

// ---- FilePager ----

void throw_open_error(const std::string& path, int error_number) {
  namespace fs = std::filesystem;
  if (error_number == ENOENT || error_number == ENOTDIR) {
    std::error_code ec;
    fs::path parent = fs::path(path).parent_path();
    if (!parent.empty() && !fs::is_directory(parent, ec)) throw Error(ErrorCode::InvalidPath, path);
    throw Error(ErrorCode::FileNotFound, path);
  }
  if (error_number == EISDIR) throw Error(ErrorCode::UnrecognizedFormat, path);
  // Access denied, too many files...: Jet reports the file as unusable.
  throw Error(ErrorCode::FileInUse, path);
}

// Most-recently-used pages; enough to keep a table definition, a data page and the pages of a
// long value chain hot while scanning.
struct FilePager::Cache {
  static constexpr std::size_t capacity = 256;
  std::list<Page> order;
  std::unordered_map<PageNumber, std::list<Page>::iterator> where;
};

FilePager::FilePager(const std::string& path, std::size_t page_size, OpenMode mode)
    : page_size_(page_size), name_(std::make_shared<const std::string>(path)),
      cache_(std::make_unique<Cache>()) {
  fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd_ < 0) throw_open_error(path, errno);
  struct stat st {};
  if (::fstat(fd_, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd_);
    fd_ = -1;
    throw Error(ErrorCode::UnrecognizedFormat, path);
  }
  const int operation = (mode == OpenMode::Exclusive ? LOCK_EX : LOCK_SH) | LOCK_NB;
  if (::flock(fd_, operation) != 0) {
    const int err = errno;
    ::close(fd_);
    fd_ = -1;
    if (err == EWOULDBLOCK) {
      if (mode == OpenMode::Exclusive) throw Error(ErrorCode::FileInUse, path);
      char host[256] = {};
      if (::gethostname(host, sizeof host - 1) != 0) std::strcpy(host, "localhost");
      throw Error(ErrorCode::OpenedExclusively, host);
    }
    throw Error(ErrorCode::FileInUse, path);
  }
  page_count_ = static_cast<PageNumber>(static_cast<std::uint64_t>(st.st_size) / page_size_);
}

FilePager::~FilePager() {
  if (fd_ >= 0) ::close(fd_);  // closing releases the lock
}

Page FilePager::read(PageNumber number) {
  if (auto it = cache_->where.find(number); it != cache_->where.end()) {
    cache_->order.splice(cache_->order.begin(), cache_->order, it->second);
    return *it->second;
  }
  if (number >= page_count_) {
    throw_damaged(*name_, "page " + std::to_string(number) + " au-delà de la fin du fichier (" +
                              std::to_string(page_count_) + " pages)");
  }
  auto bytes = std::make_shared<std::vector<std::uint8_t>>(page_size_);
  std::size_t done = 0;
  const off_t base = static_cast<off_t>(number) * static_cast<off_t>(page_size_);
  while (done < page_size_) {
    ssize_t n = ::pread(fd_, bytes->data() + done, page_size_ - done, base + static_cast<off_t>(done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) throw_damaged(*name_, "lecture impossible de la page " + std::to_string(number));
    done += static_cast<std::size_t>(n);
  }
  Page page(number, std::move(bytes), name_, layout());
  cache_->order.push_front(page);
  cache_->where[number] = cache_->order.begin();
  if (cache_->order.size() > Cache::capacity) {
    cache_->where.erase(cache_->order.back().number());
    cache_->order.pop_back();
  }
  return page;
}

bool FilePager::refresh(const std::vector<PageNumber>& pages) {
  for (PageNumber number : pages) {
    if (auto it = cache_->where.find(number); it != cache_->where.end()) {
      cache_->order.erase(it->second);
      cache_->where.erase(it);
    }
  }
  struct stat st {};
  if (::fstat(fd_, &st) != 0) return false;
  page_count_ = static_cast<PageNumber>(static_cast<std::uint64_t>(st.st_size) / page_size_);
  return true;
}

std::vector<std::uint8_t> FilePager::read_prefix(const std::string& path, std::size_t length) {
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw_open_error(path, errno);
  struct stat st {};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd);
    throw Error(ErrorCode::UnrecognizedFormat, path);
  }
  std::vector<std::uint8_t> bytes(length);
  std::size_t done = 0;
  while (done < length) {
    ssize_t n = ::pread(fd, bytes.data() + done, length - done, static_cast<off_t>(done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done += static_cast<std::size_t>(n);
  }
  ::close(fd);
  bytes.resize(done);
  return bytes;
}

}  // namespace jet
