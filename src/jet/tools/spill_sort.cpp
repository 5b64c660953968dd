#include "jet/tools/spill_sort.h"

#include <algorithm>
#include <stdexcept>

#include "jet/base/bytes.h"
#include "jet/base/error.h"
#include "jet/storage/database_file.h"
#include "os/failure.h"

namespace jet {
namespace {

// On the scratch file a record is: order (8 bytes), payload length (2), payload.
constexpr std::size_t kHeader = 10;
constexpr std::size_t kWriteChunk = 1 << 18;
constexpr std::size_t kMinReadChunk = 1 << 12;
constexpr std::size_t kMaxReserve = std::size_t{32} << 20;
constexpr const char* kScratchName = "fichier temporaire de vérification";

}  // namespace

// Reads the runs back, each through its own buffer, and always gives the smallest head.
struct SpillSort::Merge {
  struct Source {
    std::uint64_t at = 0, end = 0;  // what is left of its run on the scratch file
    std::vector<std::uint8_t> buffer;
    std::size_t used = 0;
    std::uint64_t order = 0;
    std::vector<std::uint8_t> payload;  // the head's
  };
  std::vector<Source> sources;  // the runs, then the records never written
  std::vector<std::size_t> heap;  // source indexes, smallest head on top
  std::vector<std::uint8_t> current;
  std::size_t chunk = kMinReadChunk;
  std::size_t held_at = 0;
  bool primed = false;  // every source has its first head
};

SpillSort::SpillSort(const os::Services& services, std::size_t budget) : services_(services), budget_(budget) {}

SpillSort::~SpillSort() = default;

void SpillSort::add(std::uint64_t order, std::span<const std::uint8_t> payload) {
  if (reading_) throw std::logic_error("SpillSort::add after next");
  if (held_.capacity() == 0) {
    // Reserved, not touched: the memory in use grows with the records up to the budget,
    // without the copies (and the doubled peaks) of a growing vector. Only so much is
    // reserved, since some systems charge reserved memory as if it were used.
    const std::size_t reserve = std::min(budget_, kMaxReserve);
    arena_.reserve(reserve);
    held_.reserve(reserve / sizeof(Slot) + 1);
  }
  held_.push_back({order, static_cast<std::uint32_t>(arena_.size()), static_cast<std::uint32_t>(payload.size())});
  arena_.insert(arena_.end(), payload.begin(), payload.end());
  ++added_;
  if (arena_.size() + held_.size() * sizeof(Slot) > budget_) write_run();
}

void SpillSort::sort_held() {
  // Arena offsets grow with each record: ties keep the order records were added in.
  std::sort(held_.begin(), held_.end(),
            [](const Slot& a, const Slot& b) { return a.order != b.order ? a.order < b.order : a.at < b.at; });
}

void SpillSort::write_run() {
  sort_held();
  try {
    if (!file_) file_ = services_.files->create_scratch();
    Run run{end_, 0};
    std::vector<std::uint8_t> chunk;
    chunk.reserve(kWriteChunk + kHeader + 0xFFFF);
    const auto flush = [&] {
      file_->write_at(end_, chunk);
      end_ += chunk.size();
      run.bytes += chunk.size();
      chunk.clear();
    };
    for (const Slot& s : held_) {
      append_le32(chunk, static_cast<std::uint32_t>(s.order));
      append_le32(chunk, static_cast<std::uint32_t>(s.order >> 32));
      append_le16(chunk, static_cast<std::uint16_t>(s.size));
      chunk.insert(chunk.end(), arena_.begin() + s.at, arena_.begin() + s.at + s.size);
      if (chunk.size() >= kWriteChunk) flush();
    }
    if (!chunk.empty()) flush();
    runs_.push_back(run);
  } catch (const os::Failure& failure) {
    throw_file_failure(failure, services_, kScratchName, FileActivity::Writing);
  }
  // The capacity stays: the next run fills the same memory.
  held_.clear();
  arena_.clear();
}

void SpillSort::start_merge() {
  merge_ = std::make_unique<Merge>();
  Merge& m = *merge_;
  // The read buffers of the runs take half the budget; the records never written, the rest.
  m.chunk = std::clamp<std::size_t>(budget_ / 2 / (runs_.size() + 1), kMinReadChunk, kWriteChunk);
  m.sources.resize(runs_.size() + 1);
  for (std::size_t i = 0; i < runs_.size(); ++i) {
    m.sources[i].at = runs_[i].offset;
    m.sources[i].end = runs_[i].offset + runs_[i].bytes;
  }
}

bool SpillSort::next(Record& out) {
  if (!reading_) {
    reading_ = true;
    sort_held();
    if (!runs_.empty()) start_merge();
  }
  if (!merge_) {
    // Everything fitted in memory: handed out where it lies.
    if (held_at_ == held_.size()) return false;
    const Slot& s = held_[held_at_++];
    out.order = s.order;
    out.payload = std::span<const std::uint8_t>(arena_.data() + s.at, s.size);
    return true;
  }
  Merge& m = *merge_;
  const std::size_t memory = runs_.size();
  // Fills the head of source `i`; false when it has no record left.
  const auto advance = [&](std::size_t i) {
    Merge::Source& r = m.sources[i];
    if (i == memory) {
      if (m.held_at == held_.size()) return false;
      const Slot& s = held_[m.held_at++];
      r.order = s.order;
      r.payload.assign(arena_.begin() + s.at, arena_.begin() + s.at + s.size);
      return true;
    }
    const auto need = [&](std::size_t n) {
      if (r.buffer.size() - r.used >= n) return true;
      r.buffer.erase(r.buffer.begin(), r.buffer.begin() + static_cast<std::ptrdiff_t>(r.used));
      r.used = 0;
      const auto want = static_cast<std::size_t>(std::min<std::uint64_t>(r.end - r.at, std::max(m.chunk, n)));
      if (want > 0) {
        const std::size_t had = r.buffer.size();
        r.buffer.resize(had + want);
        try {
          if (file_->read_at(r.at, std::span(r.buffer).subspan(had)) != want)
            throw os::Failure(os::FailureKind::IoError, kScratchName);
        } catch (const os::Failure& failure) {
          throw_file_failure(failure, services_, kScratchName, FileActivity::Reading);
        }
        r.at += want;
      }
      return r.buffer.size() - r.used >= n;
    };
    if (!need(kHeader)) return false;
    const std::uint8_t* p = r.buffer.data() + r.used;
    r.order = load_le32(p) | std::uint64_t{load_le32(p + 4)} << 32;
    const std::size_t length = load_le16(p + 8);
    if (!need(kHeader + length)) throw Error(ErrorCode::DiskReadError);
    p = r.buffer.data() + r.used + kHeader;
    r.payload.assign(p, p + length);
    r.used += kHeader + length;
    return true;
  };
  // Ties go to the earlier source: runs in the order they were written, the held records last.
  const auto greater = [&m](std::size_t a, std::size_t b) {
    const auto& x = m.sources[a];
    const auto& y = m.sources[b];
    return x.order != y.order ? x.order > y.order : a > b;
  };
  if (!m.primed) {
    m.primed = true;
    for (std::size_t i = 0; i < m.sources.size(); ++i)
      if (advance(i)) m.heap.push_back(i);
    std::make_heap(m.heap.begin(), m.heap.end(), greater);
  }
  if (m.heap.empty()) return false;
  std::pop_heap(m.heap.begin(), m.heap.end(), greater);
  const std::size_t i = m.heap.back();
  out.order = m.sources[i].order;
  m.current.swap(m.sources[i].payload);
  out.payload = m.current;
  if (advance(i)) std::push_heap(m.heap.begin(), m.heap.end(), greater);
  else m.heap.pop_back();
  return true;
}

}  // namespace jet
