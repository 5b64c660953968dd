#include "jet/table/index_entry_sort.h"

#include <algorithm>

#include "jet/base/bytes.h"
#include "jet/btree/index_page.h"
#include "jet/storage/database_file.h"
#include "jet/storage/leftover.h"
#include "os/failure.h"

namespace jet {
namespace {

// Bytes an entry costs in memory: its key and the vector and allocation around it.
std::size_t held_cost(const IndexNodeItem& item) { return item.key.size() + sizeof(IndexNodeItem) + 16; }

bool before(const IndexNodeItem& a, const IndexNodeItem& b) { return compare_entries(a.key, a.row, b.key, b.row) < 0; }

// An entry's first 16 key bytes as two big-endian numbers (zero-padded): most comparisons end
// there, without reaching the key through its pointer. Equal prefixes fall back to the keys.
struct Prefixed {
  std::uint64_t high = 0, low = 0;
  std::uint32_t at = 0;
};

std::uint64_t big_endian(const std::vector<std::uint8_t>& key, std::size_t from) {
  std::uint64_t v = 0;
  for (std::size_t i = 0; i < 8; ++i) v = (v << 8) | (from + i < key.size() ? key[from + i] : 0u);
  return v;
}

// Sorts `items` into index order.
void sort_entries(std::vector<IndexNodeItem>& items) {
  std::vector<Prefixed> order(items.size());
  for (std::size_t i = 0; i < items.size(); ++i)
    order[i] = {big_endian(items[i].key, 0), big_endian(items[i].key, 8), static_cast<std::uint32_t>(i)};
  std::sort(order.begin(), order.end(), [&items](const Prefixed& a, const Prefixed& b) {
    if (a.high != b.high) return a.high < b.high;
    if (a.low != b.low) return a.low < b.low;
    return before(items[a.at], items[b.at]);
  });
  std::vector<IndexNodeItem> sorted;
  sorted.reserve(items.size());
  for (const Prefixed& p : order) sorted.push_back(std::move(items[p.at]));
  items = std::move(sorted);
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
  std::vector<IndexNodeItem> held;  // the entries never written, sorted
  std::size_t held_at = 0;
  // Reader indexes, smallest head on top (the in-memory entries are reader `readers.size()`).
  std::vector<std::size_t> heap;
};

IndexEntrySort::IndexEntrySort(const os::Services& services, std::string scratch, std::size_t budget)
    : services_(services), path_(std::move(scratch)), budget_(std::max<std::size_t>(budget, 4096)) {}

IndexEntrySort::~IndexEntrySort() { clear(); }

void IndexEntrySort::clear() noexcept {
  held_.clear();
  held_.shrink_to_fit();
  held_bytes_ = 0;
  runs_.clear();
  merge_.reset();
  if (!file_) return;
  file_.reset();
  try {
    services_.files->remove(path_);
  } catch (...) {
    // Removed by the next run of the same work (leftover.h).
  }
}

void IndexEntrySort::failed(const os::Failure& failure, bool writing) const {
  throw_file_failure(failure, services_, path_, writing ? FileActivity::Writing : FileActivity::Reading);
}

void IndexEntrySort::add(IndexNodeItem item) {
  held_bytes_ += held_cost(item);
  held_.push_back(std::move(item));
  ++added_;
  if (held_bytes_ > budget_) write_run();
}

void IndexEntrySort::write_run() {
  sort_entries(held_);
  try {
    if (!file_) {
      remove_if_unheld(services_, path_);  // a killed run's
      file_ = services_.files->create_new(path_);
    }
    Run run{end_, 0};
    std::vector<std::uint8_t> chunk;
    const auto flush = [&] {
      file_->write_at(end_, chunk);
      end_ += chunk.size();
      run.bytes += chunk.size();
      chunk.clear();
    };
    for (const IndexNodeItem& item : held_) {
      append_le16(chunk, static_cast<std::uint16_t>(item.key.size()));
      chunk.insert(chunk.end(), item.key.begin(), item.key.end());
      append_le32(chunk, item.row.page);
      chunk.push_back(item.row.row);
      if (chunk.size() >= kSortChunk) flush();
    }
    if (!chunk.empty()) flush();
    runs_.push_back(run);
  } catch (const os::Failure& failure) {
    failed(failure, true);
  }
  held_.clear();
  held_bytes_ = 0;
}

IndexItemSource IndexEntrySort::sorted() {
  sort_entries(held_);
  if (runs_.empty()) {
    // All in memory: handed out as they are.
    auto at = std::make_shared<std::size_t>(0);
    return [this, at](IndexNodeItem& item) {
      if (*at == held_.size()) return false;
      item = std::move(held_[(*at)++]);
      return true;
    };
  }
  merge_ = std::make_unique<Merge>();
  Merge& m = *merge_;
  m.held = std::move(held_);
  held_.clear();
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
    return i == memory ? m.held[m.held_at] : m.readers[i].head;
  };
  const auto greater = [head](std::size_t a, std::size_t b) { return before(head(b), head(a)); };
  m.readers.resize(runs_.size());
  for (std::size_t i = 0; i < runs_.size(); ++i) {
    m.readers[i].at = runs_[i].offset;
    m.readers[i].end = runs_[i].offset + runs_[i].bytes;
    if (next_of(m.readers[i])) m.heap.push_back(i);
  }
  if (!m.held.empty()) m.heap.push_back(memory);
  std::make_heap(m.heap.begin(), m.heap.end(), greater);
  return [&m, memory, next_of, greater](IndexNodeItem& item) mutable {
    if (m.heap.empty()) return false;
    std::pop_heap(m.heap.begin(), m.heap.end(), greater);
    const std::size_t i = m.heap.back();
    bool more;
    if (i == memory) {
      item = std::move(m.held[m.held_at++]);
      more = m.held_at < m.held.size();
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
