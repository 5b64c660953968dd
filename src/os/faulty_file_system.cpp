#include "os/faulty_file_system.h"

#include <algorithm>

namespace os {

class FaultyFile final : public File {
 public:
  FaultyFile(std::unique_ptr<File> real, FaultyFileSystem& owner, std::string path)
      : real_(std::move(real)), owner_(owner), path_(std::move(path)) {}

  std::size_t read_at(std::uint64_t offset, std::span<std::uint8_t> into) override {
    const std::lock_guard lock(owner_.mutex_);
    if (FaultyFileSystem::due(owner_.reads_, owner_.read_cue_)) throw Failure(owner_.read_cue_.kind, path_);
    owner_.bytes_read_ += into.size();
    return real_->read_at(offset, into);
  }

  void write_at(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
    const std::lock_guard lock(owner_.mutex_);
    if (FaultyFileSystem::due(owner_.writes_, owner_.write_cue_)) {
      if (owner_.write_cue_.torn) real_->write_at(offset, bytes.first(bytes.size() / 2));
      throw Failure(owner_.write_cue_.kind, path_);
    }
    if (owner_.byte_limit_) {
      // Only growth takes space: overwriting bytes already in a file never fills a disk.
      const std::uint64_t size = real_->size();
      const std::uint64_t end = offset + bytes.size();
      const std::uint64_t growth = end > size ? end - std::max(size, offset) : 0;
      const std::uint64_t room = *owner_.byte_limit_ - std::min(*owner_.byte_limit_, owner_.bytes_grown_);
      if (growth > room) {
        const std::uint64_t fits = std::max(size, offset) + room - offset;
        real_->write_at(offset, bytes.first(static_cast<std::size_t>(fits)));
        owner_.bytes_written_ += fits;
        owner_.bytes_grown_ += room;
        throw Failure(FailureKind::DiskFull, path_);
      }
      owner_.bytes_grown_ += growth;
    }
    real_->write_at(offset, bytes);
    owner_.bytes_written_ += bytes.size();
  }

  void sync() override {
    const std::lock_guard lock(owner_.mutex_);
    if (FaultyFileSystem::due(owner_.syncs_, owner_.sync_cue_)) throw Failure(owner_.sync_cue_.kind, path_);
    real_->sync();
  }

  std::uint64_t size() override { return real_->size(); }
  void truncate(std::uint64_t size) override { real_->truncate(size); }

 private:
  std::unique_ptr<File> real_;
  FaultyFileSystem& owner_;
  std::string path_;
};

void FaultyFileSystem::fail_write(int nth, FailureKind kind, bool torn) {
  const std::lock_guard lock(mutex_);
  write_cue_ = {writes_ + nth, kind, torn};
}
void FaultyFileSystem::fail_sync(int nth, FailureKind kind) {
  const std::lock_guard lock(mutex_);
  sync_cue_ = {syncs_ + nth, kind, false};
}
void FaultyFileSystem::fail_read(int nth, FailureKind kind) {
  const std::lock_guard lock(mutex_);
  read_cue_ = {reads_ + nth, kind, false};
}
void FaultyFileSystem::fail_rename(int nth, FailureKind kind) { rename_cue_ = {renames_ + nth, kind, false}; }
void FaultyFileSystem::heal() {
  const std::lock_guard lock(mutex_);
  write_cue_ = sync_cue_ = read_cue_ = rename_cue_ = Cue{};
  byte_limit_.reset();
}

void FaultyFileSystem::disk_full_after(std::uint64_t bytes) {
  const std::lock_guard lock(mutex_);
  byte_limit_ = bytes_grown_ + bytes;
}

std::unique_ptr<File> FaultyFileSystem::open(const std::string& path, Access access, Sharing sharing) {
  return std::make_unique<FaultyFile>(real_.open(path, access, sharing), *this, path);
}

std::unique_ptr<File> FaultyFileSystem::create_new(const std::string& path) {
  return std::make_unique<FaultyFile>(real_.create_new(path), *this, path);
}

std::unique_ptr<File> FaultyFileSystem::create_scratch() {
  return std::make_unique<FaultyFile>(real_.create_scratch(), *this, "(scratch)");
}

void FaultyFileSystem::publish_new(const std::string& from, const std::string& to) {
  if (due(renames_, rename_cue_)) throw Failure(rename_cue_.kind, to);
  real_.publish_new(from, to);
}

void FaultyFileSystem::rename_over(const std::string& from, const std::string& to) {
  if (due(renames_, rename_cue_)) throw Failure(rename_cue_.kind, to);
  real_.rename_over(from, to);
}

}  // namespace os
