#include "jet/storage/page_spill.h"

#include "jet/storage/leftover.h"
#include "os/failure.h"

namespace jet {

std::string spill_path(const std::string& path) { return path + ".transaction"; }

PageSpill::PageSpill(const os::Services& services, std::string path, std::size_t page_size)
    : services_(services), path_(std::move(path)), page_size_(page_size) {}

PageSpill::~PageSpill() { reset(); }

std::uint32_t PageSpill::store(const std::vector<std::uint8_t>& bytes) {
  if (!file_) {
    // A scratch file of a killed run: the database is held by this writer, so no live run
    // can be using it.
    remove_if_unheld(services_, path_);
    file_ = services_.files->create_new(path_);
    slots_ = 0;
    free_.clear();
  }
  const bool reuse = !free_.empty();
  const std::uint32_t slot = reuse ? free_.back() : slots_;
  file_->write_at(static_cast<std::uint64_t>(slot) * page_size_, bytes);
  if (reuse) free_.pop_back();
  else ++slots_;
  return slot;
}

std::shared_ptr<const std::vector<std::uint8_t>> PageSpill::load(std::uint32_t slot) {
  auto bytes = std::make_shared<std::vector<std::uint8_t>>(page_size_);
  if (!file_ || slot >= slots_ ||
      file_->read_at(static_cast<std::uint64_t>(slot) * page_size_, *bytes) != page_size_) {
    throw os::Failure(os::FailureKind::IoError, path_);
  }
  return bytes;
}

void PageSpill::release(std::uint32_t slot) {
  if (slot < slots_) free_.push_back(slot);
}

void PageSpill::reset() noexcept {
  if (!file_) return;
  file_.reset();
  slots_ = 0;
  free_.clear();
  try {
    services_.files->remove(path_);
  } catch (...) {
    // Left for the next writer of this database to remove.
  }
}

}  // namespace jet
