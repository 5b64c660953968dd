// The database file opened for writing: the sink of committed pages.
//
// It writes through the file the read side's FilePager holds open (exclusively, for reading
// and writing), so no second opener ever sees a half-written file. A commit is all or
// nothing: the old pages are saved in the rollback journal first (rollback_journal.h), then
// the new ones are written and synchronised, then the journal is removed. When a write or a
// sync fails, the old pages are put back at once; if even that fails, the journal stays
// and the next opening of the file puts them back. A full disk is reported as 3026, any
// other write or sync failure as 3043 (a write refused by the system as 3051).
#pragma once

#include <memory>
#include <string>

#include "jet/storage/overlay_pager.h"
#include "jet/storage/write_behind_file.h"
#include "os/services.h"

namespace jet {

class FileSink final : public PageSink {
 public:
  FileSink(std::shared_ptr<os::File> file, const std::string& path, const os::Services& services);
  FileSink(const FileSink&) = delete;
  FileSink& operator=(const FileSink&) = delete;

  using PageSink::write_pages;
  void write_pages(std::size_t page_size, const std::vector<PageNumber>& numbers, const PageLoader& load) override;
  // Written behind on a helper thread when the file allows it (WriteBehindFile).
  void write_pages_early(std::size_t page_size, const std::vector<PageNumber>& numbers,
                         const PageLoader& load) override;
  bool file_unchanged_after_failure() const noexcept override { return restored_; }

  // For a new file thrown away unless it is completed (a compaction's): commits write their
  // pages straight in, without a rollback journal or a sync each, and a failed one leaves the
  // file as it is. The pages a transaction changes beyond its memory budget go straight to
  // the file too, not through a scratch file. Whoever completes the file syncs it once
  // (sync()).
  // Without `early_pages`, pages reach the file only at commits, so a rollback still leaves
  // it as it was: for a copy that is worked on and thrown away if the work fails.
  void write_unjournaled(bool early_pages = true) noexcept {
    unjournaled_ = true;
    early_pages_ = early_pages;
  }
  bool takes_pages_early() const noexcept override { return unjournaled_ && early_pages_; }
  // Makes what was written durable. Throws jet::Error (3026, 3040...) on failure.
  void sync();

 private:
  // Writes the pages, consecutive ones together.
  void write_runs(std::size_t page_size, const std::vector<PageNumber>& numbers, const PageLoader& load);

  std::shared_ptr<os::File> file_;
  WriteBehindFile* behind_;  // `file_` when it writes behind, else null
  std::string path_;
  const os::Services& services_;
  bool restored_ = false;  // the last failed commit was undone on the file
  bool unjournaled_ = false;
  bool early_pages_ = true;
};

}  // namespace jet
