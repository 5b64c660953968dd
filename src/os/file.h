// Files as the engine needs them: positioned reads and writes, sync, size, truncation, with
// the sharing rules of a Windows open (an exclusive opener keeps every other one out, in this
// process or another; a shared opener is refused while someone holds the file exclusively).
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace os {

enum class Access { Read, ReadWrite };
// Shared: other openers allowed (readers and, on Windows, writers that share too).
// Exclusive: no other opener at all.
// ReadersOnly: other readers allowed, no writer: refused while someone has the file open for
// writing (or holds it without sharing), and refuses every later writer while open.
enum class Sharing { Shared, Exclusive, ReadersOnly };

class File {
 public:
  virtual ~File() = default;
  // Reads up to `into.size()` bytes at `offset`; fewer only at the end of the file.
  virtual std::size_t read_at(std::uint64_t offset, std::span<std::uint8_t> into) = 0;
  // Writes every byte or throws Failure (DiskFull, IoError); the file grows as needed.
  virtual void write_at(std::uint64_t offset, std::span<const std::uint8_t> bytes) = 0;
  // Returns once the written bytes are on the medium.
  virtual void sync() = 0;
  virtual std::uint64_t size() = 0;
  virtual void truncate(std::uint64_t size) = 0;
};

// Holds a lock file (Access's ".ldb") as the program that has a database open does.
class LockHold {
 public:
  virtual ~LockHold() = default;
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;
  // An existing regular file. Read access with Shared sharing may be combined with other
  // shared openers; Exclusive refuses and is refused by any other opener; ReadersOnly (read
  // access only) keeps every writer out while admitting readers.
  virtual std::unique_ptr<File> open(const std::string& path, Access access, Sharing sharing) = 0;
  // A new, empty file opened for writing; AlreadyExists when the name is taken.
  virtual std::unique_ptr<File> create_new(const std::string& path) = 0;
  // A new, empty file in the system's temporary folder, for work that may not write beside
  // its database (a read-only one): no other opener can reach it, and it is gone once closed
  // or once the program ends, however it ends.
  virtual std::unique_ptr<File> create_scratch() = 0;
  // Gives the finished file `from` the name `to`, which must not exist (AlreadyExists): a file
  // that appeared meanwhile is never replaced. `from` is gone afterwards.
  virtual void publish_new(const std::string& from, const std::string& to) = 0;
  // Puts `from` in place of `to` in one step (the old `to` is replaced).
  virtual void rename_over(const std::string& from, const std::string& to) = 0;
  // Removes a file; a missing one is not an error.
  virtual void remove(const std::string& path) = 0;
  virtual bool exists(const std::string& path) = 0;
  virtual bool is_folder(const std::string& path) = 0;
  // True when the file may not be written by anyone (the read-only attribute).
  virtual bool is_read_only(const std::string& path) = 0;
  // Creates (when missing) and holds `path` locked until the hold is destroyed; InUse when
  // another holder has it.
  virtual std::unique_ptr<LockHold> hold_lock(const std::string& path) = 0;
  // True when another opener holds a lock on `path`; false for a missing file.
  virtual bool locked_by_another(const std::string& path) = 0;
  // The machine's name, as shown to other users of a shared file.
  virtual std::string host_name() = 0;
};

}  // namespace os
