// The rollback journal: what makes a commit all or nothing on the file.
//
// Before a commit overwrites pages of a database file, the old contents of those pages and
// the file's old length are written to "<file>.jnl" beside it and synchronised. Only then
// are the new pages written and the file synchronised; removing the journal is the moment
// the commit takes effect. A journal found beside a file (a "hot" journal: its writer was
// killed, or its disk failed, in the middle of a commit) is played back before anyone reads
// the file: the old pages are put back and the file cut to its old length, so the file is
// exactly as before the interrupted commit.
//
// A journal whose checksum does not hold was cut short while being written, before the
// file itself was touched: it is simply removed.
//
// The guarantee holds against a killed process and against failing writes, syncs or a full
// disk. Against a power cut it also needs the system to keep the journal's directory entry,
// which journaling file systems (NTFS, ext4 in its default mode) do. Microsoft Access does
// not know the journal: a file left with a hot journal is only put right by this engine;
// the window in which such a file can exist is the time to write the changed pages once.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "jet/storage/pager.h"
#include "os/file.h"
#include "os/services.h"

namespace jet {

// The journal's name for the database file `path`.
std::string journal_path(const std::string& path);

class RollbackJournal {
 public:
  // Saves, for `file` (the database `path`, pages of `page_size` bytes), the old contents
  // of the pages numbered `pages` that lie inside the file, with its length, and
  // synchronises the journal. Throws os::Failure when it cannot; no journal is then left.
  static RollbackJournal save(const os::Services& services, const std::string& path, os::File& file,
                              std::size_t page_size, const std::vector<PageNumber>& pages);

  RollbackJournal(RollbackJournal&&) = default;
  ~RollbackJournal() = default;

  // Puts the saved pages and length back into `file` and synchronises it. Throws os::Failure.
  void restore(os::File& file);
  // Ends the commit: removes the journal. Throws os::Failure.
  void remove();

 private:
  RollbackJournal(const os::Services& services, std::string path) : services_(&services), path_(std::move(path)) {}
  const os::Services* services_;
  std::string path_;  // the journal's
};

// Plays back a hot journal of the database `path`, if one lies beside it. Opens the file
// exclusively for the moment; when another opener holds the file, the journal is left to
// it (it may be the live journal of a commit under way) and `false` is returned. Returns
// true when a journal was played back or thrown away. Throws jet::Error when the file
// cannot be written (3051) or the journal cannot be read.
bool recover_journal(const os::Services& services, const std::string& path);

}  // namespace jet
