// A file system that passes everything to another one but fails on cue: the Nth write, sync
// or read from now on, or every write once a byte budget is spent (a full disk). Counts run
// across all files opened through it. Used by tests to check that a failing disk is reported
// and loses nothing; the engine and the program cannot tell it from the real one.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>

#include "os/failure.h"
#include "os/file.h"

namespace os {

class FaultyFileSystem final : public FileSystem {
 public:
  explicit FaultyFileSystem(FileSystem& real) : real_(real) {}

  // The `nth` write (1 = the next one) fails with `kind`. A torn write puts the first half
  // of its bytes on the file before failing, as a crash in the middle of it would.
  void fail_write(int nth, FailureKind kind = FailureKind::IoError, bool torn = false);
  void fail_sync(int nth, FailureKind kind = FailureKind::IoError);
  void fail_read(int nth, FailureKind kind = FailureKind::IoError);
  // Writes fail with DiskFull once files have grown by `bytes` more bytes (overwriting
  // what a file holds takes no space); the write that crosses the limit puts what fits and
  // fails.
  void disk_full_after(std::uint64_t bytes);
  // The `nth` rename (publish_new or rename_over) fails with `kind`.
  void fail_rename(int nth, FailureKind kind = FailureKind::IoError);

  // Drops every cue and the disk limit: the disk behaves again.
  void heal();

  int writes() const noexcept { return writes_; }
  int syncs() const noexcept { return syncs_; }
  int reads() const noexcept { return reads_; }
  // Bytes the reads asked for (a read ahead of several pages counts them all).
  std::uint64_t bytes_read() const noexcept { return bytes_read_; }
  std::uint64_t bytes_written() const noexcept { return bytes_written_; }

  std::unique_ptr<File> open(const std::string& path, Access access, Sharing sharing) override;
  std::unique_ptr<File> create_new(const std::string& path) override;
  std::unique_ptr<File> create_scratch() override;
  void publish_new(const std::string& from, const std::string& to) override;
  void rename_over(const std::string& from, const std::string& to) override;
  void remove(const std::string& path) override { real_.remove(path); }
  bool exists(const std::string& path) override { return real_.exists(path); }
  bool is_folder(const std::string& path) override { return real_.is_folder(path); }
  bool is_read_only(const std::string& path) override { return real_.is_read_only(path); }
  std::unique_ptr<LockHold> hold_lock(const std::string& path) override { return real_.hold_lock(path); }
  bool locked_by_another(const std::string& path) override { return real_.locked_by_another(path); }
  std::string host_name() override { return real_.host_name(); }

 private:
  friend class FaultyFile;
  struct Cue {
    int at = 0;  // the count at which to fail; 0 = never
    FailureKind kind = FailureKind::IoError;
    bool torn = false;
  };
  // Counts one operation and tells whether this one must fail.
  static bool due(int& counter, const Cue& cue) { return ++counter == cue.at; }

  FileSystem& real_;
  // The engine may read and write from a helper thread (index sorts): the counts are kept
  // under this lock.
  std::mutex mutex_;
  Cue write_cue_, sync_cue_, read_cue_, rename_cue_;
  int writes_ = 0, syncs_ = 0, reads_ = 0, renames_ = 0;
  std::uint64_t bytes_read_ = 0;
  std::uint64_t bytes_written_ = 0;
  std::uint64_t bytes_grown_ = 0;
  std::optional<std::uint64_t> byte_limit_;
};

}  // namespace os
