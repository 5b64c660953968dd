// Keeping a database file from every other writer while the program works on a copy of it and
// until the finished copy takes its place, so that no change made meanwhile by someone else
// is lost under the replacement.
//
// The guard holds the file open for reading with readers-only sharing: readers (the program's
// own version check and copy, another program reading) open it beside the guard; every writer
// is refused with the error of a database in use (the engine's exclusive opener with 3045,
// Access's shared read/write opener with its own sharing violation), and the guard itself is
// refused while a writer has the file open.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "platform/workstation.h"

namespace os {
class File;
}

namespace platform::dao {

class WriteGuard {
 public:
  // Windows refuses to rename over a file held open, the guard's own handle included: there
  // the guard must be let go immediately before the rename. Elsewhere it is held across it.
  static constexpr bool kReleasedBeforeRename =
#ifdef _WIN32
      true;
#else
      false;
#endif

  // Holds the database file `path` (an application path). Raises platform::Error: 3024 the
  // file is missing, 3044 its folder, 3045 naming `path` when another program has it open for
  // writing (or held without sharing), 3343 not a file.
  WriteGuard(const platform::Workstation& workstation, std::string_view path);
  ~WriteGuard();
  WriteGuard(const WriteGuard&) = delete;
  WriteGuard& operator=(const WriteGuard&) = delete;

  bool held() const noexcept { return file_ != nullptr; }
  // Lets the file go (idempotent).
  void release() noexcept;
  const std::string& path() const noexcept { return path_; }
  const std::filesystem::path& local() const noexcept { return local_; }

 private:
  std::string path_;
  std::filesystem::path local_;
  std::unique_ptr<os::File> file_;
};

}  // namespace platform::dao
