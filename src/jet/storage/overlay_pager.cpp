#include "jet/storage/overlay_pager.h"

#include <string>

#include "jet/base/error.h"

namespace jet {
namespace {

[[noreturn]] void refuse_overlay(const char* what) {
  throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
              describe(static_cast<int>(ErrorCode::OperationNotSupported)) + " (" + what + ")");
}

}  // namespace

OverlayPager::OverlayPager(Pager& base, PageSink* sink)
    : base_(base), sink_(sink), name_(std::make_shared<const std::string>(base.file_name())),
      page_count_(base.page_count()) {
  // Every writer works through an overlay: formats the engine does not write stop here.
  require_writable(base.layout(), base.file_name());
  set_format(base.layout(), base.code_page());
}

PageNumber OverlayPager::page_count() const noexcept { return page_count_; }

const OverlayPager::Bytes* OverlayPager::find(PageNumber number) const {
  for (auto level = levels_.rbegin(); level != levels_.rend(); ++level) {
    if (auto it = level->pages.find(number); it != level->pages.end()) return &it->second;
  }
  if (auto it = committed_.find(number); it != committed_.end()) return &it->second;
  return nullptr;
}

Page OverlayPager::read(PageNumber number) {
  if (number >= page_count_) {
    throw_damaged(*name_, "page " + std::to_string(number) + " au-delà de la fin du fichier (" +
                              std::to_string(page_count_) + " pages)");
  }
  if (const Bytes* bytes = find(number)) return Page(number, *bytes, name_, layout());
  return base_.read(number);
}

void OverlayPager::write(PageNumber number, std::vector<std::uint8_t> bytes) {
  if (levels_.empty()) refuse_overlay("écriture hors transaction");
  if (number >= page_count_) {
    throw_damaged(*name_, "écriture de la page " + std::to_string(number) +
                              " au-delà de la fin du fichier");
  }
  if (bytes.size() != page_size()) refuse_overlay("page de taille incorrecte");
  levels_.back().pages[number] = std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes));
}

PageNumber OverlayPager::append(std::vector<std::uint8_t> bytes) {
  if (levels_.empty()) refuse_overlay("écriture hors transaction");
  if (page_count_ == 0xFFFFFF) refuse_overlay("fichier plein");  // row pointers hold 24-bit pages
  bytes.resize(page_size(), 0);
  const PageNumber number = page_count_++;
  levels_.back().pages[number] = std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes));
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
    for (auto& [number, bytes] : top.pages) levels_.back().pages[number] = std::move(bytes);
    return;
  }
  Level& outer = levels_.back();
  if (!outer.pages.empty()) {
    // On failure the level stays open: the caller may roll it back.
    if (sink_) {
      try {
        sink_->write_pages(page_size(), outer.pages);
      } catch (...) {
        write_failed_ = !sink_->file_unchanged_after_failure();
        throw;
      }
    }
    std::vector<PageNumber> written;
    for (const auto& entry : outer.pages) written.push_back(entry.first);
    if (sink_ && base_.refresh(written)) {
      // The base reads them from the file again: nothing to keep.
      for (PageNumber number : written) committed_.erase(number);
    } else {
      for (auto& [number, bytes] : outer.pages) committed_[number] = bytes;
    }
  }
  levels_.pop_back();
}

void OverlayPager::rollback() {
  if (levels_.empty()) refuse_overlay("annulation sans transaction");
  page_count_ = levels_.back().page_count_at_begin;
  levels_.pop_back();
}

std::size_t OverlayPager::dirty_pages() const {
  std::map<PageNumber, bool> seen;
  for (const Level& level : levels_)
    for (const auto& entry : level.pages) seen[entry.first] = true;
  return seen.size();
}

}  // namespace jet
