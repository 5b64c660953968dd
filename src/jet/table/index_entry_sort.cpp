#include "jet/table/index_entry_sort.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "jet/base/bytes.h"
#include "jet/base/hand_off.h"
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
  std::uint64_t v;
  std::memcpy(&v, b, 8);
  if constexpr (std::endian::native == std::endian::little) v = __builtin_bswap64(v);
  return v;
}

// On the scratch file an entry is: key length (2 bytes), key, row page (4), row number (1).
constexpr std::size_t kSortChunk = 1 << 18;

}  // namespace

// Reads the runs back, each through a buffer, and the segments still in memory, and always
// gives the smallest head.
struct IndexEntrySort::Merge {
  // A source's next entry, with its key's first 16 bytes as two big-endian numbers, as held
  // entries have them, so that most comparisons end there.
  struct Head {
    IndexNodeItem item;
    std::uint64_t high = 0, low = 0;
  };
  struct Reader {
    std::uint64_t at = 0, end = 0;
    std::vector<std::uint8_t> buffer;
    std::size_t used = 0;
    Head head;
  };
  struct Memory {
    Segment segment;
    Head head;
  };
  std::vector<Reader> readers;
  std::vector<Memory> memory;  // source `readers.size() + i`
  // Source numbers, smallest head on top.
  std::vector<std::size_t> heap;

  Head& head(std::size_t i) { return i < readers.size() ? readers[i].head : memory[i - readers.size()].head; }
  bool before(std::size_t a, std::size_t b) {
    const Head& x = head(a);
    const Head& y = head(b);
    if (x.high != y.high) return x.high < y.high;
    if (x.low != y.low) return x.low < y.low;
    if (x.item.key.size() <= 16 && y.item.key.size() <= 16) {
      if (x.item.key.size() != y.item.key.size()) return x.item.key.size() < y.item.key.size();
      return x.item.row.pointer() < y.item.row.pointer();
    }
    return item_before(x.item, y.item);
  }
  // Puts the source at `at` where its head belongs below it.
  void sift_down(std::size_t at) {
    const std::size_t n = heap.size();
    for (;;) {
      std::size_t least = at;
      const std::size_t left = 2 * at + 1, right = left + 1;
      if (left < n && before(heap[left], heap[least])) least = left;
      if (right < n && before(heap[right], heap[least])) least = right;
      if (least == at) return;
      std::swap(heap[at], heap[least]);
      at = least;
    }
  }
};

// Entries of the merge taken a batch ahead on a helper thread: while the tree is built from
// one batch, the next is merged from the runs.
struct IndexEntrySort::Ahead {
  struct Entry {
    std::uint32_t offset = 0;
    std::uint32_t length = 0;
    RowId row;
  };
  struct Batch {
    std::vector<std::uint8_t> keys;
    std::vector<Entry> entries;
    bool last = false;  // the merge ends with this batch
  };
  static constexpr std::size_t kEntries = 4096;

  explicit Ahead(IndexItemSource merged) : source(std::move(merged)) {}
  void fill() {
    filling.keys.clear();
    filling.entries.clear();
    filling.last = false;
    while (filling.entries.size() < kEntries) {
      if (!source(scratch)) {
        filling.last = true;
        return;
      }
      filling.entries.push_back({static_cast<std::uint32_t>(filling.keys.size()),
                                 static_cast<std::uint32_t>(scratch.key.size()), scratch.row});
      filling.keys.insert(filling.keys.end(), scratch.key.begin(), scratch.key.end());
    }
  }
  bool next(IndexNodeItem& item) {
    while (at == ready.entries.size()) {
      if (ready.last) return false;
      helper.wait();  // rethrows what stopped the merge
      std::swap(ready, filling);
      at = 0;
      if (!ready.last) helper.start([this] { fill(); });
    }
    const Entry& e = ready.entries[at++];
    item.key.assign(ready.keys.begin() + e.offset, ready.keys.begin() + e.offset + e.length);
    item.row = e.row;
    item.child = 0;
    return true;
  }

  // What each thread touches for each entry lies on cache lines of its own: the helper's
  // source, scratch item and batch being filled; the reader's batch and place in it.
  // Sharing lines made the two cores pass them back and forth at every entry.
  alignas(64) IndexItemSource source;
  IndexNodeItem scratch;  // the helper's
  alignas(64) Batch filling;
  alignas(64) Batch ready;
  std::size_t at = 0;
  alignas(64) HandOff helper;  // declared last: gone first, once the batch under way is merged
};

namespace {

// Index order (compare_entries) read from the held form. Keys of 16 bytes or less are whole
// in the prefix: equal prefixes and lengths make equal keys, and the rows decide (indexes of
// few distinct values hold mostly such ties).
struct HeldBefore {
  const std::uint8_t* keys;
  template <typename H>
  bool operator()(const H& a, const H& b) const {
    if (a.high != b.high) return a.high < b.high;
    if (a.low != b.low) return a.low < b.low;
    if (a.length <= 16 && b.length <= 16) {
      // The shorter of two keys equal as far as it goes comes first.
      if (a.length != b.length) return a.length < b.length;
      return a.row < b.row;
    }
    return compare_entries({keys + a.offset, a.length}, RowId::from_pointer(a.row), {keys + b.offset, b.length},
                           RowId::from_pointer(b.row)) < 0;
  }
};

// Batches smaller than this are sorted on the calling thread alone: handing half over would
// cost more than it saves.
constexpr std::size_t kSplitFrom = 8192;

}  // namespace

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
  ahead_.reset();
  sorter_.reset();  // waits for the batch it sorts
  pool_->used -= held_capacity();
  held_ = Batch{};
  sorting_ = Batch{};
  sorting_full_ = false;
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
  TrivialArray<Held>& held = held_.held;
  TrivialArray<std::uint8_t>& keys = held_.keys;
  const bool keys_full = keys.size() + key.size() > keys.capacity();
  const bool held_full = held.size() + 1 > held.capacity();
  if (keys_full || held_full) {
    const std::size_t room = HandOff::helps() ? this->room() / 2 : this->room();
    std::size_t keys_cap = keys_full ? std::max(keys.size() + key.size(), keys.capacity() * 2) : keys.capacity();
    std::size_t held_cap = held_full ? std::max<std::size_t>(held.size() + 1, held.capacity() * 2) : held.capacity();
    if (!held.empty() && keys_cap + held_cap * sizeof(Held) > room) {
      spill();
      keys_cap = std::max(keys.capacity(), key.size());
      held_cap = std::max<std::size_t>(held.capacity(), 1);
    }
    const std::size_t before = held_capacity();
    keys.reserve(keys_cap);
    held.reserve(held_cap);
    pool_->used += held_capacity() - before;
  }
  held.push_back({big_endian(key, 0), big_endian(key, 8), static_cast<std::uint32_t>(keys.size()),
                  static_cast<std::uint32_t>(key.size()), row.pointer()});
  keys.append(key.data(), key.size());
  ++added_;
}

void IndexEntrySort::sort_range(Held* begin, Held* end, const std::uint8_t* keys) {
  // Rows copied in the order of a key (an autonumber, a table filled in key order) give
  // entries already in order: one pass finds it.
  const HeldBefore less{keys};
  if (std::is_sorted(begin, end, less)) return;
  std::sort(begin, end, less);
}

std::vector<IndexEntrySort::Segment> IndexEntrySort::sort_in_two(Batch& batch) {
  Held* const begin = batch.held.data();
  Held* const end = begin + batch.held.size();
  const std::uint8_t* keys = batch.keys.data();
  if (begin == end) return {};
  if (batch.held.size() < kSplitFrom || !HandOff::helps()) {
    sort_range(begin, end, keys);
    return {{begin, end, keys}};
  }
  Held* const middle = begin + batch.held.size() / 2;
  HandOff halves;
  halves.start([begin, middle, keys] { sort_range(begin, middle, keys); });
  sort_range(middle, end, keys);
  halves.wait();
  return {{begin, middle, keys}, {middle, end, keys}};
}

void IndexEntrySort::finish_sorting() {
  if (sorter_) sorter_->wait();
}

void IndexEntrySort::spill() {
  if (!HandOff::helps()) {
    for (const Segment& segment : sort_in_two(held_)) write_run(segment);
    held_.held.clear();
    held_.keys.clear();
    return;
  }
  finish_sorting();
  if (sorting_full_) {
    write_run({sorting_.held.data(), sorting_.held.data() + sorting_.held.size(), sorting_.keys.data()});
    sorting_.held.clear();
    sorting_.keys.clear();
    sorting_full_ = false;
  }
  std::swap(held_, sorting_);  // the full batch to sort, the emptied buffers to fill
  sorting_full_ = true;
  Batch& batch = sorting_;
  if (!sorter_) sorter_ = std::make_unique<HandOff>();
  sorter_->start([&batch] { sort_range(batch.held.data(), batch.held.data() + batch.held.size(), batch.keys.data()); });
}

void IndexEntrySort::write_run(const Segment& segment) {
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
    chunk.reserve(kSortChunk + 512);
    const auto flush = [&] {
      file_->write_at(end_, chunk);
      end_ += chunk.size();
      run.bytes += chunk.size();
      chunk.clear();
    };
    for (const Held* h = segment.begin; h != segment.end; ++h) {
      const RowId row = RowId::from_pointer(h->row);
      append_le16(chunk, static_cast<std::uint16_t>(h->length));
      chunk.insert(chunk.end(), segment.keys + h->offset, segment.keys + h->offset + h->length);
      append_le32(chunk, row.page);
      chunk.push_back(row.row);
      if (chunk.size() >= kSortChunk) flush();
    }
    if (!chunk.empty()) flush();
    runs_.push_back(run);
  } catch (const os::Failure& failure) {
    failed(failure, true);
  }
}

IndexItemSource IndexEntrySort::sorted() {
  finish_sorting();
  std::vector<Segment> segments;
  if (sorting_full_) segments.push_back({sorting_.held.data(), sorting_.held.data() + sorting_.held.size(), sorting_.keys.data()});
  for (const Segment& s : sort_in_two(held_)) segments.push_back(s);
  // Fills `item` with held entry `h` (its key buffer reused).
  const auto give = [](const Segment& s, const Held* h, IndexNodeItem& item) {
    item.key.assign(s.keys + h->offset, s.keys + h->offset + h->length);
    item.row = RowId::from_pointer(h->row);
    item.child = 0;
  };
  if (runs_.empty() && segments.size() <= 1) {
    // All in one sorted segment: handed out in order.
    auto at = std::make_shared<Segment>(segments.empty() ? Segment{} : segments.front());
    return [at, give](IndexNodeItem& item) {
      if (at->begin == at->end) return false;
      give(*at, at->begin++, item);
      return true;
    };
  }
  merge_ = std::make_unique<Merge>();
  Merge& m = *merge_;
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
    IndexNodeItem& head = r.head.item;
    head.key.assign(p, p + length);
    head.row.page = load_le32(r.buffer.data() + r.used + 2 + length);
    head.row.row = r.buffer[r.used + 2 + length + 4];
    head.child = 0;
    r.head.high = big_endian(head.key, 0);
    r.head.low = big_endian(head.key, 8);
    r.used += 2 + length + 5;
    return true;
  };
  // Fills the head of memory source `s` with its next entry; false at its end.
  const auto next_held = [give](Merge::Memory& s) {
    if (s.segment.begin == s.segment.end) return false;
    s.head.high = s.segment.begin->high;
    s.head.low = s.segment.begin->low;
    give(s.segment, s.segment.begin++, s.head.item);
    return true;
  };
  const std::size_t files = runs_.size();
  m.readers.resize(files);
  for (std::size_t i = 0; i < files; ++i) {
    m.readers[i].at = runs_[i].offset;
    m.readers[i].end = runs_[i].offset + runs_[i].bytes;
    if (next_of(m.readers[i])) m.heap.push_back(i);
  }
  for (const Segment& s : segments) {
    m.memory.push_back({s, {}});
    if (next_held(m.memory.back())) m.heap.push_back(files + m.memory.size() - 1);
  }
  for (std::size_t at = m.heap.size() / 2; at-- > 0;) m.sift_down(at);
  ahead_ = std::make_unique<Ahead>([&m, files, next_of, next_held](IndexNodeItem& item) mutable {
    if (m.heap.empty()) return false;
    const std::size_t i = m.heap.front();
    // The head goes out by exchange, so that its source refills the caller's old buffer; the
    // source then sinks to the place of its next entry, or leaves.
    std::swap(item, m.head(i).item);
    const bool more = i < files ? next_of(m.readers[i]) : next_held(m.memory[i - files]);
    if (!more) {
      m.heap.front() = m.heap.back();
      m.heap.pop_back();
    }
    if (!m.heap.empty()) m.sift_down(0);
    return true;
  });
  Ahead& ahead = *ahead_;
  ahead.helper.start([&ahead] { ahead.fill(); });
  return [&ahead](IndexNodeItem& item) { return ahead.next(item); };
}

}  // namespace jet
