#include "jet/storage/pager.h"

#include <list>
#include <unordered_map>

#include "jet/base/error.h"
#include "jet/storage/database_file.h"

namespace jet {

void throw_damaged(const std::string& file, std::string_view detail) {
  std::string text = describe(static_cast<int>(ErrorCode::DatabaseDamaged), file);
  if (!detail.empty()) {
    text += " (";
    text += detail;
    text += ")";
  }
  throw Error(static_cast<int>(ErrorCode::DatabaseDamaged), std::move(text));
}

// ---- ByteView ----

std::uint32_t ByteView::u24(std::size_t offset) const {
  check(offset, 3);
  return data_[offset] | (data_[offset + 1] << 8) | (static_cast<std::uint32_t>(data_[offset + 2]) << 16);
}

std::uint64_t ByteView::u64(std::size_t offset) const {
  check(offset, 8);
  std::uint64_t v = 0;
  for (int i = 7; i >= 0; --i) v = (v << 8) | data_[offset + static_cast<std::size_t>(i)];
  return v;
}

void ByteView::damaged(std::string_view what) const {
  static const std::string unknown = "?";
  std::string detail = "page " + std::to_string(page_) + " : ";
  detail += what;
  throw_damaged(file_ ? *file_ : unknown, detail);
}

void ByteView::fail(std::size_t offset, std::size_t length) const {
  damaged("lecture de " + std::to_string(length) + " octet(s) à la position " +
          std::to_string(offset) + " hors d'une zone de " + std::to_string(size_) + " octets");
}

const std::string& Page::file() const {
  static const std::string unknown = "?";
  return file_ ? *file_ : unknown;
}

// ---- FilePager ----

// Most-recently-used pages; enough to keep a table definition, a data page and the pages of a
// long value chain hot while scanning.
// Pages read at once when reading in order: 64 KB, a fraction of the cache.
constexpr std::size_t kReadAhead = 16;

struct FilePager::Cache {
  static constexpr std::size_t capacity = 256;  // at least a few blocks read ahead
  std::list<Page> order;
  std::unordered_map<PageNumber, std::list<Page>::iterator> where;
};

FilePager::FilePager(std::shared_ptr<os::File> file, const std::string& name, std::size_t page_size,
                     const os::Services& services)
    : file_(std::move(file)), services_(services), page_size_(page_size),
      name_(std::make_shared<const std::string>(name)), cache_(std::make_unique<Cache>()) {
  try {
    page_count_ = static_cast<PageNumber>(file_->size() / page_size_);
  } catch (const os::Failure& failure) {
    throw_file_failure(failure, services_, name, FileActivity::Reading);
  }
}

FilePager::~FilePager() = default;

Page FilePager::read(PageNumber number) {
  if (auto it = cache_->where.find(number); it != cache_->where.end()) {
    cache_->order.splice(cache_->order.begin(), cache_->order, it->second);
    return *it->second;
  }
  if (number >= page_count_) {
    throw_damaged(*name_, "page " + std::to_string(number) + " au-delà de la fin du fichier (" +
                              std::to_string(page_count_) + " pages)");
  }
  // A page following the last one read starts a block read ahead; any other is read alone.
  // The pages of a block share its buffer: one allocation and one copy (the system's) for
  // the block, where a buffer per page cost as much again as the reading.
  const std::size_t want = number == last_read_ + 1 ? std::min<std::size_t>(kReadAhead, page_count_ - number) : 1;
  std::shared_ptr<std::uint8_t[]> block = std::make_shared_for_overwrite<std::uint8_t[]>(want * page_size_);
  std::size_t done = 0;
  try {
    done = file_->read_at(static_cast<std::uint64_t>(number) * page_size_, std::span(block.get(), want * page_size_));
  } catch (const os::Failure& failure) {
    throw_file_failure(failure, services_, *name_, FileActivity::Reading);
  }
  // The file was shortened under us (it is never, while we hold it): a damaged database.
  if (done < page_size_) throw_damaged(*name_, "lecture impossible de la page " + std::to_string(number));
  const std::size_t pages = done / page_size_;
  last_read_ = number + static_cast<PageNumber>(pages - 1);
  Page first;
  for (std::size_t i = 0; i < pages; ++i) {
    const PageNumber n = number + static_cast<PageNumber>(i);
    if (i > 0 && cache_->where.count(n)) continue;  // already held, perhaps by a reader
    Page page(n, block, block.get() + i * page_size_, page_size_, name_, layout());
    if (i == 0) first = page;
    cache_->order.push_front(page);
    cache_->where[n] = cache_->order.begin();
    if (cache_->order.size() > Cache::capacity) {
      cache_->where.erase(cache_->order.back().number());
      cache_->order.pop_back();
    }
  }
  return first;
}

bool FilePager::refresh(const std::vector<PageNumber>& pages) {
  for (PageNumber number : pages) {
    if (auto it = cache_->where.find(number); it != cache_->where.end()) {
      cache_->order.erase(it->second);
      cache_->where.erase(it);
    }
  }
  try {
    page_count_ = static_cast<PageNumber>(file_->size() / page_size_);
  } catch (const os::Failure&) {
    return false;
  }
  return true;
}

}  // namespace jet
