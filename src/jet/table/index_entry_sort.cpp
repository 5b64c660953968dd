#include "jet/table/index_entry_sort.h"

#include <algorithm>
#include <cstring>

#include "jet/base/bytes.h"
#include "jet/btree/index_page.h"
#include "jet/storage/database_file.h"
#include "jet/storage/leftover.h"
#include "os/failure.h"

namespace jet {
namespace {

bool item_before(const IndexNodeItem& a, const IndexNodeItem& b) {
  return compare_entries(a.key, a.row, b.key, b.row) < 0;
}

std::uint64_t big_endian(std::span<const std::uint8_t> key, std::size_t from) {
  std::uint8_t b[8] = {};
  if (from < key.size()) std::memcpy(b, key.data() + from, std::min<std::size_t>(8, key.size() - from));
  std::uint64_t v = 0;
  for (const std::uint8_t byte : b) v = (v << 8) | byte;
  return v;
}

// On the scratch file an entry is: key length (2 bytes), key, row page (4), row number (1).
constexpr std::size_t kSortChunk = 1 << 18;

}  // namespace

// Reads the runs back, each through a buffer, and always gives the smallest head.
struct IndexEntrySort::Merge {
  struct Reader {
    std::uint64_t at = 0, end = 0;
    std::vector<std::uint8_t> buffer;
    std::size_t used = 0;
    IndexNodeItem head;
  };
  std::vector<Reader> readers;
  std::size_t held_at = 0;  // next of the entries never written (held_, sorted)
  IndexNodeItem held_head;
  // Reader indexes, smallest head on top (the in-memory entries are reader `readers.size()`).
  std::vector<std::size_t> heap;
};

IndexEntrySort::IndexEntrySort(const os::Services& services, std::string scratch, std::size_t budget)
    : services_(services), path_(std::move(scratch)), own_pool_(std::make_unique<Pool>(budget)), pool_(own_pool_.get()) {
  pool_->sharers = 1;
}

IndexEntrySort::IndexEntrySort(const os::Services& services, std::string scratch, Pool& pool)
    : services_(services), path_(std::move(scratch)), pool_(&pool) {
  ++pool_->sharers;
}

std::size_t IndexEntrySort::room() const noexcept {
  const std::size_t others = pool_->used - held_capacity();
  const std::size_t floor = std::max<std::size_t>(pool_->budget / (4 * std::max<std::size_t>(pool_->sharers, 1)), 4096);
  return std::max(pool_->budget > others ? pool_->budget - others : 0, floor);
}

IndexEntrySort::~IndexEntrySort() { clear(); }

void IndexEntrySort::clear() noexcept {
  pool_->used -= held_capacity();
  held_.clear();
  held_.shrink_to_fit();
  keys_.clear();
  keys_.shrink_to_fit();
  runs_.clear();
  merge_.reset();
  if (!file_) return;
  file_.reset();
  if (path_.empty()) return;  // an unnamed scratch file goes when closed
  try {
    services_.files->remove(path_);
  } catch (...) {
    // Removed by the next run of the same work (leftover.h).
  }
}

void IndexEntrySort::failed(const os::Failure& failure, bool writing) const {
  throw_file_failure(failure, services_, path_.empty() ? failure.path() : path_,
                     writing ? FileActivity::Writing : FileActivity::Reading);
}

void IndexEntrySort::add(std::span<const std::uint8_t> key, RowId row) {
  // The buffers grow by doubling, their capacity counted against the budget: when growing
  // would pass it, the entries held go to a run first and the buffers are reused.
  const bool keys_full = keys_.size() + key.size() > keys_.capacity();
  const bool held_full = held_.size() + 1 > held_.capacity();
  if (keys_full || held_full) {
    const std::size_t room = this->room();
    const std::size_t before = held_capacity();
    std::size_t keys_cap = keys_full ? std::max(keys_.size() + key.size(), keys_.capacity() * 2) : keys_.capacity();
    std::size_t held_cap = held_full ? std::max<std::size_t>(held_.size() + 1, held_.capacity() * 2) : held_.capacity();
    if (!held_.empty() && keys_cap + held_cap * sizeof(Held) > room) {
      write_run();  // the buffers are emptied and kept as they are
      keys_cap = std::max(keys_.capacity(), key.size());
      held_cap = std::max<std::size_t>(held_.capacity(), 1);
    }
    keys_.reserve(keys_cap);
    held_.reserve(held_cap);
    pool_->used += held_capacity() - before;
  }
  held_.push_back({big_endian(key, 0), big_endian(key, 8), static_cast<std::uint32_t>(keys_.size()),
                   static_cast<std::uint32_t>(key.size()), row.pointer()});
  keys_.insert(keys_.end(), key.begin(), key.end());
  ++added_;
}

// Index order (compare_entries) read from the held form. Keys of 16 bytes or less are whole
// in the prefix: equal prefixes and lengths make equal keys, and the rows decide (indexes of
// few distinct values hold mostly such ties).
bool IndexEntrySort::before(const Held& a, const Held& b) const {
  if (a.high != b.high) return a.high < b.high;
  if (a.low != b.low) return a.low < b.low;
  if (a.length <= 16 && b.length <= 16) {
    // The shorter of two keys equal as far as it goes comes first.
    if (a.length != b.length) return a.length < b.length;
    return a.row < b.row;
  }
  return compare_entries(key_of(a), RowId::from_pointer(a.row), key_of(b), RowId::from_pointer(b.row)) < 0;
}

void IndexEntrySort::sort_held() {
  const auto less = [this](const Held& a, const Held& b) { return before(a, b); };
  // Rows copied in the order of a key (an autonumber, a table filled in key order) give
  // entries already in order: one pass finds it.
  if (std::is_sorted(held_.begin(), held_.end(), less)) return;
  std::sort(held_.begin(), held_.end(), less);
}

void IndexEntrySort::write_run() {
  sort_held();
  try {
    if (!file_) {
      if (path_.empty()) {
        file_ = services_.files->create_scratch();
      } else {
        remove_if_unheld(services_, path_);  // a killed run's
        file_ = services_.files->create_new(path_);
      }
    }
    Run run{end_, 0};
    std::vector<std::uint8_t> chunk;
    const auto flush = [&] {
      file_->write_at(end_, chunk);
      end_ += chunk.size();
      run.bytes += chunk.size();
      chunk.clear();
    };
    for (const Held& h : held_) {
      const RowId row = RowId::from_pointer(h.row);
      const auto key = key_of(h);
      append_le16(chunk, static_cast<std::uint16_t>(key.size()));
      chunk.insert(chunk.end(), key.begin(), key.end());
      append_le32(chunk, row.page);
      chunk.push_back(row.row);
      if (chunk.size() >= kSortChunk) flush();
    }
    if (!chunk.empty()) flush();
    runs_.push_back(run);
  } catch (const os::Failure& failure) {
    failed(failure, true);
  }
  held_.clear();
  keys_.clear();
}

IndexItemSource IndexEntrySort::sorted() {
  sort_held();
  // Fills `item` with held entry `i`.
  const auto give = [this](std::size_t i, IndexNodeItem& item) {
    const auto key = key_of(held_[i]);
    item.key.assign(key.begin(), key.end());
    item.row = RowId::from_pointer(held_[i].row);
    item.child = 0;
  };
  if (runs_.empty()) {
    // All in memory: handed out in order.
    auto at = std::make_shared<std::size_t>(0);
    return [this, at, give](IndexNodeItem& item) {
      if (*at == held_.size()) return false;
      give((*at)++, item);
      return true;
    };
  }
  merge_ = std::make_unique<Merge>();
  Merge& m = *merge_;
  if (!held_.empty()) give(0, m.held_head);
  // Fills `r.head` with the next entry of its run; false at its end.
  const auto next_of = [this](Merge::Reader& r) {
    const auto need = [&](std::size_t n) {
      if (r.buffer.size() - r.used >= n) return true;
      r.buffer.erase(r.buffer.begin(), r.buffer.begin() + static_cast<std::ptrdiff_t>(r.used));
      r.used = 0;
      const std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(r.end - r.at, std::max(kSortChunk, n)));
      if (want > 0) {
        const std::size_t had = r.buffer.size();
        r.buffer.resize(had + want);
        try {
          if (file_->read_at(r.at, std::span(r.buffer).subspan(had)) != want) throw os::Failure(os::FailureKind::IoError, path_);
        } catch (const os::Failure& failure) {
          failed(failure, false);
        }
        r.at += want;
      }
      return r.buffer.size() - r.used >= n;
    };
    if (!need(2)) return false;
    const std::size_t length = load_le16(r.buffer.data() + r.used);
    if (!need(2 + length + 5)) throw_damaged(path_, "tri d'index : suite coupée");
    const std::uint8_t* p = r.buffer.data() + r.used + 2;
    r.head.key.assign(p, p + length);
    r.head.row.page = load_le32(r.buffer.data() + r.used + 2 + length);
    r.head.row.row = r.buffer[r.used + 2 + length + 4];
    r.head.child = 0;
    r.used += 2 + length + 5;
    return true;
  };
  const std::size_t memory = runs_.size();
  const auto head = [&m, memory](std::size_t i) -> const IndexNodeItem& {
    return i == memory ? m.held_head : m.readers[i].head;
  };
  const auto greater = [head](std::size_t a, std::size_t b) { return item_before(head(b), head(a)); };
  m.readers.resize(runs_.size());
  for (std::size_t i = 0; i < runs_.size(); ++i) {
    m.readers[i].at = runs_[i].offset;
    m.readers[i].end = runs_[i].offset + runs_[i].bytes;
    if (next_of(m.readers[i])) m.heap.push_back(i);
  }
  if (!held_.empty()) m.heap.push_back(memory);
  std::make_heap(m.heap.begin(), m.heap.end(), greater);
  return [this, &m, memory, next_of, greater, give](IndexNodeItem& item) mutable {
    if (m.heap.empty()) return false;
    std::pop_heap(m.heap.begin(), m.heap.end(), greater);
    const std::size_t i = m.heap.back();
    bool more;
    if (i == memory) {
      item = std::move(m.held_head);
      m.held_head = IndexNodeItem{};
      more = ++m.held_at < held_.size();
      if (more) give(m.held_at, m.held_head);
    } else {
      item = std::move(m.readers[i].head);
      m.readers[i].head = IndexNodeItem{};
      more = next_of(m.readers[i]);
    }
    if (more) std::push_heap(m.heap.begin(), m.heap.end(), greater);
    else m.heap.pop_back();
    return true;
  };
}

}  // namespace jet
