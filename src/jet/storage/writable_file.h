// The database file opened for writing: the sink of committed pages.
//
// It writes through the file the read side's FilePager holds open (exclusively, for reading
// and writing), so no second opener ever sees a half-written file. Pages are written, then
// synchronised; a page past the end extends the file. A full disk is reported as 3026, any
// other write or sync failure as 3043 (a write refused by the system as 3051). Pages written
// before the failure stay written: the file must then be given up, which is why the update
// tool only ever writes to a temporary copy.
#pragma once

#include <memory>
#include <string>

#include "jet/storage/overlay_pager.h"
#include "os/services.h"

namespace jet {

class FileSink final : public PageSink {
 public:
  FileSink(std::shared_ptr<os::File> file, const std::string& path, const os::Services& services);
  FileSink(const FileSink&) = delete;
  FileSink& operator=(const FileSink&) = delete;

  void write_pages(std::size_t page_size,
                   const std::map<PageNumber, std::shared_ptr<const std::vector<std::uint8_t>>>& pages) override;

 private:
  std::shared_ptr<os::File> file_;
  std::string path_;
  const os::Services& services_;
};

}  // namespace jet
