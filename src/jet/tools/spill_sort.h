// Records sorted by a 64-bit order in bounded memory, for checks that must meet two long
// lists in one order (an index's entries by the rows they name, against the table's rows).
//
// Records are held in memory up to a budget; past it they are sorted and written as one run
// to a scratch file in the system's temporary folder (never beside the database, which may
// be read-only or on a full disk), and the runs are merged as they are read back. A list that
// fits the budget never touches the disk. Records of equal order come back in the order they
// were added.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "os/file.h"
#include "os/services.h"

namespace jet {

class SpillSort {
 public:
  struct Record {
    std::uint64_t order = 0;
    std::span<const std::uint8_t> payload;  // valid until the next call to next()
  };

  // `budget`: bytes of records (payload and 16 bytes of bookkeeping each) held in memory.
  SpillSort(const os::Services& services, std::size_t budget);
  ~SpillSort();
  SpillSort(const SpillSort&) = delete;
  SpillSort& operator=(const SpillSort&) = delete;

  // A payload holds at most 65535 bytes. Throws jet::Error (3026 for a full disk...) when a
  // run cannot be written.
  void add(std::uint64_t order, std::span<const std::uint8_t> payload);
  std::uint64_t size() const noexcept { return added_; }
  // Runs written to the scratch file so far.
  std::size_t runs() const noexcept { return runs_.size(); }

  // The records in order, one per call; false at the end. Nothing may be added once the
  // first record has been taken.
  bool next(Record& out);

 private:
  struct Slot {
    std::uint64_t order;
    std::uint32_t at;
    std::uint32_t size;
  };
  struct Run {
    std::uint64_t offset = 0;
    std::uint64_t bytes = 0;
  };
  struct Merge;
  void sort_held();
  void write_run();
  void start_merge();

  const os::Services& services_;
  std::size_t budget_;
  std::vector<std::uint8_t> arena_;  // payloads of the held records, one after the other
  std::vector<Slot> held_;
  std::uint64_t added_ = 0;
  std::vector<Run> runs_;
  std::unique_ptr<os::File> file_;
  std::uint64_t end_ = 0;
  bool reading_ = false;
  std::size_t held_at_ = 0;  // next held record handed out when nothing was written
  std::unique_ptr<Merge> merge_;
};

}  // namespace jet
