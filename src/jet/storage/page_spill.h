// Where a large transaction's changed pages wait when they no longer fit in memory.
//
// A transaction that changes more pages than its memory budget allows (an update of every
// row of a large table, the filling of a compacted copy) moves the pages it touched least
// recently into a scratch file beside the database, "<file>.transaction", and reads them
// back when they are needed again or when the transaction commits. The file holds nothing
// the database needs after a crash: the database file itself is only written at commit,
// through the rollback journal, so a scratch file left by a killed run is simply removed
// by the next writer (see leftover.h).
//
// Slots freed (a page written again, a level rolled back) are reused, so the file never
// grows past the number of pages waiting at once.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "os/file.h"
#include "os/services.h"

namespace jet {

// The scratch file's name for the database file `path`.
std::string spill_path(const std::string& path);

class PageSpill {
 public:
  PageSpill(const os::Services& services, std::string path, std::size_t page_size);
  ~PageSpill();
  PageSpill(const PageSpill&) = delete;
  PageSpill& operator=(const PageSpill&) = delete;

  // Writes one page (page_size bytes) into a free slot, creating the file on first use.
  // Throws os::Failure (a full disk...); the slot is then not taken.
  std::uint32_t store(const std::vector<std::uint8_t>& bytes);
  // The page kept in `slot`. Throws os::Failure when it cannot be read whole.
  std::shared_ptr<const std::vector<std::uint8_t>> load(std::uint32_t slot);
  // Gives `slot` back for reuse.
  void release(std::uint32_t slot);
  // Slots in use.
  std::size_t used() const noexcept { return slots_ - free_.size(); }
  // Removes the file once no slot is in use (the end of a transaction). Never throws: a
  // file that cannot be removed now is removed by the next writer.
  void reset() noexcept;

 private:
  const os::Services& services_;
  std::string path_;
  std::size_t page_size_;
  std::unique_ptr<os::File> file_;
  std::uint32_t slots_ = 0;  // slots the file holds
  std::vector<std::uint32_t> free_;
};

}  // namespace jet
