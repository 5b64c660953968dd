#include "jet/storage/overlay_pager.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "jet/base/error.h"
#include "jet/storage/database_file.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

[[noreturn]] void refuse_overlay(const char* what) {
  throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
              describe(static_cast<int>(ErrorCode::OperationNotSupported)) + " (" + what + ")");
}

}  // namespace

void PageSink::write_pages(std::size_t page_size, const std::map<PageNumber, Bytes>& pages) {
  std::vector<PageNumber> numbers;
  std::vector<const Bytes*> bytes;
  for (const auto& [number, b] : pages) {
    numbers.push_back(number);
    bytes.push_back(&b);
  }
  write_pages(page_size, numbers, [&](std::size_t i) { return *bytes[i]; });
}

std::size_t OverlayPager::default_budget() {
  static const std::size_t budget = [] {
    const char* given = std::getenv("JET_OVERLAY_PAGES");
    char* end = nullptr;
    const unsigned long long n = given ? std::strtoull(given, &end, 10) : 0;
    return given && end != given && *end == 0 && n > 0 ? static_cast<std::size_t>(n) : std::size_t{16384};
  }();
  return budget;
}

OverlayPager::OverlayPager(Pager& base, PageSink* sink, std::string spill, std::size_t budget)
    : base_(base), sink_(sink), name_(std::make_shared<const std::string>(base.file_name())),
      page_count_(base.page_count()) {
  // Every writer works through an overlay: formats the engine does not write stop here.
  require_writable(base.layout(), base.file_name());
  set_format(base.layout(), base.code_page());
  if (!spill.empty()) spill_ = std::make_unique<PageSpill>(base.services(), std::move(spill), base.page_size());
  set_budget(budget);
}

OverlayPager::~OverlayPager() = default;

PageNumber OverlayPager::page_count() const noexcept { return page_count_; }

OverlayPager::Entry* OverlayPager::find(PageNumber number) {
  for (auto level = levels_.rbegin(); level != levels_.rend(); ++level) {
    if (auto it = level->pages.find(number); it != level->pages.end()) return &it->second;
  }
  return nullptr;
}

OverlayPager::Bytes OverlayPager::bytes_of(Entry& entry, bool keep) {
  entry.used = ++clock_;
  if (entry.bytes) return entry.bytes;
  Bytes bytes;
  try {
    bytes = spill_->load(entry.slot);
  } catch (const os::Failure& failure) {
    throw_file_failure(failure, base_.services(), failure.path(), FileActivity::Reading);
  }
  if (keep) {
    entry.bytes = bytes;
    entry.own = false;  // the scratch file's copy, not ours to change
    ++resident_;
    make_room();
  }
  return bytes;
}

Page OverlayPager::read(PageNumber number) {
  if (number >= page_count_) {
    throw_damaged(*name_, "page " + std::to_string(number) + " au-delà de la fin du fichier (" +
                              std::to_string(page_count_) + " pages)");
  }
  if (Entry* entry = find(number)) return Page(number, bytes_of(*entry, true), name_, layout());
  if (auto it = committed_.find(number); it != committed_.end()) return Page(number, it->second, name_, layout());
  return base_.read(number);
}

void OverlayPager::discard(Entry& entry) noexcept {
  if (entry.bytes) --resident_;
  if (entry.slot != kNoSlot) spill_->release(entry.slot);
  entry.bytes.reset();
  entry.slot = kNoSlot;
  entry.own = false;
}

void OverlayPager::place(PageNumber number, std::shared_ptr<std::vector<std::uint8_t>> bytes) {
  Entry& entry = levels_.back().pages[number];
  discard(entry);
  entry.bytes = std::move(bytes);
  entry.own = true;
  entry.used = ++clock_;
  ++resident_;
  make_room();
}

void OverlayPager::make_room() {
  const bool early = sink_ && sink_->takes_pages_early();
  if ((!spill_ && !early) || resident_ <= budget_) return;
  // Down to three quarters of the budget at once, so that the choosing is paid rarely.
  struct Held {
    std::uint64_t used;
    PageNumber number;
    Entry* entry;
    bool outermost;
  };
  std::vector<Held> held;
  held.reserve(resident_);
  for (std::size_t i = 0; i < levels_.size(); ++i)
    for (auto& [number, entry] : levels_[i].pages)
      if (entry.bytes) held.push_back({entry.used, number, &entry, i == 0});
  const std::size_t keep = budget_ - budget_ / 4;
  if (held.size() <= keep) return;
  const auto cut = held.begin() + static_cast<std::ptrdiff_t>(held.size() - keep);
  std::nth_element(held.begin(), cut, held.end(), [](const Held& a, const Held& b) { return a.used < b.used; });
  // In page order: the files are then mostly written and read in runs.
  std::sort(held.begin(), cut, [](const Held& a, const Held& b) { return a.number < b.number; });
  std::vector<std::pair<PageNumber, Entry*>> to_file;
  for (auto it = held.begin(); it != cut; ++it) {
    Entry& entry = *it->entry;
    if (early && it->outermost) {
      to_file.emplace_back(it->number, &entry);
      continue;
    }
    if (!spill_) continue;  // stays in memory
    if (entry.slot == kNoSlot) {
      try {
        entry.slot = spill_->store(*entry.bytes);
      } catch (const os::Failure& failure) {
        // The page stays in memory; the statement under way fails and is rolled back.
        throw_file_failure(failure, base_.services(), failure.path(), FileActivity::Writing);
      }
    }
    entry.bytes.reset();
    entry.own = false;
    --resident_;
  }
  if (!to_file.empty()) write_early(to_file);
}

void OverlayPager::write_early(std::vector<std::pair<PageNumber, Entry*>>& victims) {
  std::vector<PageNumber> numbers;
  numbers.reserve(victims.size());
  for (const auto& victim : victims) numbers.push_back(victim.first);
  written_early_ = true;
  try {
    sink_->write_pages_early(page_size(), numbers, [&](std::size_t i) { return victims[i].second->bytes; });
  } catch (...) {
    write_failed_ = true;  // some pages may be on the file: no rollback can undo them
    throw;
  }
  const bool reread = base_.refresh(numbers);
  Level& outer = levels_.front();
  for (const auto& [number, entry] : victims) {
    if (!reread) committed_[number] = entry->bytes;
    discard(*entry);
    outer.pages.erase(number);
  }
}

void OverlayPager::write(PageNumber number, std::vector<std::uint8_t> bytes) {
  if (levels_.empty()) refuse_overlay("écriture hors transaction");
  if (number >= page_count_) {
    throw_damaged(*name_, "écriture de la page " + std::to_string(number) +
                              " au-delà de la fin du fichier");
  }
  if (bytes.size() != page_size()) refuse_overlay("page de taille incorrecte");
  place(number, std::make_shared<std::vector<std::uint8_t>>(std::move(bytes)));
}

void OverlayPager::edit(PageNumber number, const std::function<void(std::span<std::uint8_t>)>& change) {
  if (!levels_.empty()) {
    auto& pages = levels_.back().pages;
    auto it = pages.find(number);
    if (it != pages.end() && it->second.own && it->second.bytes && it->second.bytes.use_count() == 1) {
      Entry& entry = it->second;
      // Made non-const by place(), and held by no one else: changing them changes no reader's
      // page. Such bytes have no copy in the scratch file to go stale: a page stored there
      // leaves memory and comes back as the file's.
      change(std::span(const_cast<std::vector<std::uint8_t>&>(*entry.bytes)));
      entry.used = ++clock_;
      return;
    }
  }
  std::vector<std::uint8_t> bytes = read(number).view().copy();
  change(bytes);
  write(number, std::move(bytes));
}

PageNumber OverlayPager::append(std::vector<std::uint8_t> bytes) {
  if (levels_.empty()) refuse_overlay("écriture hors transaction");
  // Jet answers "invalid argument" to a write that would take the file past its size limit;
  // the transaction is then rolled back by its owner and the file stays as it was.
  if (page_count_ >= disk::kMaxPageCount) {
    const int number = static_cast<int>(ErrorCode::InvalidArgument);
    throw Error(number, describe(number) + " (la base dépasserait 2 Go, la taille maximale d'une base Access)");
  }
  bytes.resize(page_size(), 0);
  const PageNumber number = page_count_++;
  place(number, std::make_shared<std::vector<std::uint8_t>>(std::move(bytes)));
  return number;
}

void OverlayPager::begin() {
  // After a failed write the file holds an unknown mix of old and new pages: no further
  // change is built on it (the caller gives the file up; the update tool works on a copy).
  if (write_failed_) throw Error(ErrorCode::DiskOrNetworkError);
  levels_.push_back(Level{{}, page_count_});
}

void OverlayPager::commit() {
  if (levels_.empty()) refuse_overlay("validation sans transaction");
  if (levels_.size() > 1) {
    Level top = std::move(levels_.back());
    levels_.pop_back();
    for (auto& [number, entry] : top.pages) {
      Entry& below = levels_.back().pages[number];
      discard(below);
      below = entry;
    }
    return;
  }
  Level& outer = levels_.back();
  if (!outer.pages.empty()) {
    std::vector<PageNumber> written;
    std::vector<Entry*> entries;
    written.reserve(outer.pages.size());
    entries.reserve(outer.pages.size());
    for (auto& [number, entry] : outer.pages) {
      written.push_back(number);
      entries.push_back(&entry);
    }
    // On failure the level stays open: the caller may roll it back.
    if (sink_) {
      try {
        sink_->write_pages(page_size(), written, [&](std::size_t i) { return bytes_of(*entries[i], false); });
      } catch (...) {
        write_failed_ = !sink_->file_unchanged_after_failure();
        throw;
      }
    }
    if (sink_ && base_.refresh(written)) {
      // The base reads them from the file again: nothing to keep.
      for (PageNumber number : written) committed_.erase(number);
    } else {
      for (std::size_t i = 0; i < written.size(); ++i) committed_[written[i]] = bytes_of(*entries[i], false);
    }
  }
  end_outermost();
}

void OverlayPager::end_outermost() noexcept {
  levels_.pop_back();
  written_early_ = false;
  resident_ = 0;
  if (spill_) spill_->reset();
}

void OverlayPager::rollback() {
  if (levels_.empty()) refuse_overlay("annulation sans transaction");
  ++rollbacks_;
  page_count_ = levels_.back().page_count_at_begin;
  if (levels_.size() == 1) {
    // Pages already on the file stay there: the file is a mix nothing may build on.
    if (written_early_) write_failed_ = true;
    end_outermost();
    return;
  }
  for (auto& entry : levels_.back().pages) discard(entry.second);
  levels_.pop_back();
}

std::size_t OverlayPager::dirty_pages() const {
  std::map<PageNumber, bool> seen;
  for (const Level& level : levels_)
    for (const auto& entry : level.pages) seen[entry.first] = true;
  return seen.size();
}

}  // namespace jet
