// A database file open for writing whose page writes may go on on a helper thread while the
// engine prepares the next ones: the writing of a new file (a compaction's) then costs the
// engine's thread no more than handing over its bytes.
//
// Only write_behind writes behind; every other call first waits where it must: a read of
// bytes still being written, a plain write, sync, truncate. A failed write behind is thrown
// by the next write, write behind, sync or truncate, or by a read of the bytes it was to
// write, so a failure is never lost by whoever ends the work with a sync or a plain write.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "jet/base/hand_off.h"
#include "os/file.h"

namespace jet {

class WriteBehindFile final : public os::File {
 public:
  explicit WriteBehindFile(std::shared_ptr<os::File> real) : real_(std::move(real)) {}
  // Waits for the write under way; its failure is dropped (see above).
  ~WriteBehindFile() override = default;

  std::size_t read_at(std::uint64_t offset, std::span<std::uint8_t> into) override;
  void write_at(std::uint64_t offset, std::span<const std::uint8_t> bytes) override;
  void sync() override;
  // The size the file has once the write under way is done.
  std::uint64_t size() override;
  void truncate(std::uint64_t size) override;

  // Bytes handed over without being copied: the helper thread puts them together.
  using Piece = std::shared_ptr<const std::vector<std::uint8_t>>;
  // Starts writing `pieces`, one after the other from `offset`, once the write under way is
  // done (throwing its failure). They are held until written.
  void write_behind(std::uint64_t offset, std::vector<Piece> pieces);
  // Waits for the write under way; throws its failure (os::Failure).
  void settle();

 private:
  std::shared_ptr<os::File> real_;
  std::vector<Piece> pending_;  // being written at `pending_at_` while `in_flight_`
  std::uint64_t pending_at_ = 0;
  std::uint64_t pending_bytes_ = 0;
  bool in_flight_ = false;
  std::vector<std::uint8_t> joined_;  // the helper's, reused from write to write
  HandOff helper_;  // declared last: gone first, once the write under way is done
};

}  // namespace jet
