#include "jet/storage/write_behind_file.h"

#include <algorithm>

namespace jet {

void WriteBehindFile::settle() {
  if (!in_flight_) return;
  in_flight_ = false;
  helper_.wait();
}

void WriteBehindFile::write_behind(std::uint64_t offset, std::vector<Piece> pieces) {
  settle();
  pending_ = std::move(pieces);
  pending_at_ = offset;
  pending_bytes_ = 0;
  for (const Piece& piece : pending_) pending_bytes_ += piece->size();
  in_flight_ = true;
  try {
    helper_.start([this] {
      joined_.clear();
      for (const Piece& piece : pending_) joined_.insert(joined_.end(), piece->begin(), piece->end());
      real_->write_at(pending_at_, joined_);
    });
  } catch (...) {
    in_flight_ = false;  // written (and failed) at once, without a helper thread
    throw;
  }
}

std::size_t WriteBehindFile::read_at(std::uint64_t offset, std::span<std::uint8_t> into) {
  // Bytes elsewhere may be read while the write goes on: the system keeps them apart.
  if (in_flight_ && offset < pending_at_ + pending_bytes_ && pending_at_ < offset + into.size()) settle();
  return real_->read_at(offset, into);
}

void WriteBehindFile::write_at(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  settle();
  real_->write_at(offset, bytes);
}

void WriteBehindFile::sync() {
  settle();
  real_->sync();
}

std::uint64_t WriteBehindFile::size() {
  const std::uint64_t size = real_->size();
  return in_flight_ ? std::max<std::uint64_t>(size, pending_at_ + pending_bytes_) : size;
}

void WriteBehindFile::truncate(std::uint64_t size) {
  settle();
  real_->truncate(size);
}

}  // namespace jet
