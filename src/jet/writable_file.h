// The database file opened for writing: the sink of committed pages.
//
// Opened alongside the read side's FilePager, which already holds the file exclusively
// (a second process meets 3045 and writes nothing). A file that cannot be opened for
// writing (owner write permission cleared, as the Windows read-only attribute, read-only
// medium, no permission) is refused at open with
// 3051, before anything is changed. Pages are written with pwrite, then fsync'ed; a page
// past the end extends the file.
#pragma once

#include <string>

#include "jet/overlay_pager.h"

namespace jet {

class FileSink final : public PageSink {
 public:
  explicit FileSink(const std::string& path);
  ~FileSink() override;
  FileSink(const FileSink&) = delete;
  FileSink& operator=(const FileSink&) = delete;

  void write_pages(std::size_t page_size,
                   const std::map<PageNumber, std::shared_ptr<const std::vector<std::uint8_t>>>& pages) override;

 private:
  int fd_ = -1;
  std::string path_;
};

// 3051: the file cannot be opened for writing.
[[noreturn]] void throw_not_writable(const std::string& path);

}  // namespace jet
