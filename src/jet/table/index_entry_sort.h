// Sorting the entries of an index being built, in bounded memory.
//
// Entries are gathered in memory up to a budget; past it, they are sorted and written as a
// run to a scratch file ("<name>.tri"), and the runs are merged at the end. An index of a
// few thousand rows never touches the disk; one of millions costs one sequential write and
// read of its entries.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "jet/base/hand_off.h"
#include "jet/base/trivial_array.h"
#include "jet/table/btree_build.h"
#include "os/failure.h"
#include "os/file.h"
#include "os/services.h"

namespace jet {

class IndexEntrySort {
 public:
  // Memory shared by the sorts of one table's indexes: a sort grows while the pool has room,
  // so that an index with long keys may take what one with short keys leaves. Each sort
  // keeps a floor of its own, lest one left with nothing write a run per entry. Must
  // outlive its sorts.
  struct Pool {
    explicit Pool(std::size_t bytes) : budget(bytes) {}
    std::size_t budget;
    std::size_t used = 0;     // capacity of the sharing sorts' buffers
    std::size_t sharers = 0;
  };

  // `scratch` is the scratch file's path (made only when needed, removed at destruction),
  // empty for an unnamed one in the system's temporary folder; `budget` the bytes of
  // entries held in memory before a run is written.
  IndexEntrySort(const os::Services& services, std::string scratch, std::size_t budget);
  // The same drawing on `pool`.
  IndexEntrySort(const os::Services& services, std::string scratch, Pool& pool);
  ~IndexEntrySort();
  IndexEntrySort(const IndexEntrySort&) = delete;
  IndexEntrySort& operator=(const IndexEntrySort&) = delete;

  // Throws jet::Error (3026 for a full disk...) when a run cannot be written.
  void add(std::span<const std::uint8_t> key, RowId row);
  void add(const IndexNodeItem& item) { add(item.key, item.row); }
  // Entries added so far.
  std::uint64_t size() const noexcept { return added_; }
  // Runs written to the scratch file so far.
  std::size_t runs() const noexcept { return runs_.size(); }
  // The entries in index order, once (nothing may be added afterwards). The source must not
  // outlive this object.
  IndexItemSource sorted();
  // Drops every entry (and the scratch file).
  void clear() noexcept;

 private:
  struct Run {
    std::uint64_t offset = 0;
    std::uint64_t bytes = 0;
  };
  // An entry held in memory: its key's first 16 bytes as two big-endian numbers (zero-padded,
  // so that most comparisons end there), where the key lies in its batch's keys, and its row.
  struct Held {
    std::uint64_t high = 0, low = 0;
    std::uint32_t offset = 0;
    std::uint32_t length = 0;
    std::uint32_t row = 0;  // row pointer, ordered as RowId
  };
  // Entries held in memory, their keys one after the other in one buffer (no allocation per
  // entry).
  struct Batch {
    TrivialArray<Held> held;
    TrivialArray<std::uint8_t> keys;
    std::size_t capacity() const noexcept { return keys.capacity() + held.capacity() * sizeof(Held); }
  };
  // Held entries sorted, [begin, end) of one batch.
  struct Segment {
    const Held* begin = nullptr;
    const Held* end = nullptr;
    const std::uint8_t* keys = nullptr;
  };
  static void sort_range(Held* begin, Held* end, const std::uint8_t* keys);
  // Sorts `batch` as two halves, one on a helper thread when the machine has a second core;
  // gives the sorted segments (one or two, none when empty).
  static std::vector<Segment> sort_in_two(Batch& batch);
  void spill();
  void write_run(const Segment& segment);
  // Waits for the batch sorted on the helper thread.
  void finish_sorting();
  [[noreturn]] void failed(const os::Failure& failure, bool writing) const;
  std::size_t held_capacity() const noexcept { return held_.capacity() + sorting_.capacity(); }
  // Bytes this sort may hold now.
  std::size_t room() const noexcept;

  const os::Services& services_;
  std::string path_;
  std::unique_ptr<Pool> own_pool_;
  Pool* pool_;
  Batch held_;  // filled by add
  // With a second core, a full batch is sorted on a helper thread while the next one fills,
  // and written as a run at the next spill (or merged from memory at the end); each of the
  // two takes at most half of the room.
  Batch sorting_;
  bool sorting_full_ = false;  // `sorting_` holds entries not yet written
  std::unique_ptr<HandOff> sorter_;  // sorts `sorting_`, made at the first such batch
  std::uint64_t added_ = 0;
  std::vector<Run> runs_;
  std::unique_ptr<os::File> file_;
  std::uint64_t end_ = 0;
  struct Merge;
  std::unique_ptr<Merge> merge_;
  // The merge, run on a helper thread a batch ahead of its reader; gone before the merge.
  struct Ahead;
  std::unique_ptr<Ahead> ahead_;
};

}  // namespace jet
