#include "jet/record/free_page_map.h"

#include <algorithm>
#include <set>
#include <string>

#include "jet/record/data_page.h"
#include "jet/record/data_page_write.h"
#include "jet/base/error.h"
#include "jet/record/usage_map_write.h"
#include "jet/storage/format.h"
#include "jet/base/bytes.h"

namespace jet {
namespace {
constexpr std::uint64_t kInlineStep = 512;    // pages added at a time to an inline row

std::uint64_t pages_per_map_page(const Pager& pager) { return (pager.page_size() - disk::kMapPageHeader) * 8; }

void set_bit(std::vector<std::uint8_t>& b, std::size_t at, std::uint64_t bit) {
  b[at + bit / 8] = static_cast<std::uint8_t>(b[at + bit / 8] | (1u << (bit % 8)));
}

std::vector<std::uint8_t> row_of(Pager& pager) {
  const Page holder = pager.read(kGlobalUsageMap.page);
  const RowSpan span = row_span(holder, kGlobalUsageMap.row);
  if (span.length < 5) holder.view().damaged("table des pages libres trop courte");
  const ByteView row = holder.view().sub(span.offset, span.length);
  return row.copy();
}

std::vector<PageNumber> pointers_of(const std::vector<std::uint8_t>& row) {
  std::vector<PageNumber> out;
  for (std::size_t at = 1; at + 4 <= row.size(); at += 4)
    out.push_back(row[at] | (row[at + 1] << 8) | (static_cast<std::uint32_t>(row[at + 2]) << 16) |
                  (static_cast<std::uint32_t>(row[at + 3]) << 24));
  return out;
}

// Rewrites row 0 of page 1; false when page 1 lacks the room.
bool replace_row(OverlayPager& pager, const std::vector<std::uint8_t>& row) {
  DataPageEditor page(pager.read(kGlobalUsageMap.page).view().copy());
  if (!page.replace_row(kGlobalUsageMap.row, row)) return false;
  pager.write(kGlobalUsageMap.page, page.release());
  return true;
}

// Whether `page` is free once the map is rewritten: pages past the end are; pages of the
// file are only when the old map said so.
struct FreeRule {
  const std::set<PageNumber>& free_in_file;
  std::uint64_t file_end;
  bool operator()(std::uint64_t page) const {
    if (page < 2) return false;
    return page >= file_end || free_in_file.count(static_cast<PageNumber>(page));
  }
};

bool write_inline(OverlayPager& pager, std::uint64_t reach, const FreeRule& is_free) {
  std::vector<std::uint8_t> row(5 + reach / 8, 0);  // kind 0, first page 0
  for (std::uint64_t p = 0; p < reach; ++p)
    if (is_free(p)) set_bit(row, 5, p);
  return replace_row(pager, row);
}

// One bitmap page per range up to the file's end (and one page past it), the existing
// bitmap pages kept in place, the missing ones appended.
void write_reference(OverlayPager& pager, std::vector<PageNumber> pointers, const std::set<PageNumber>& free_in_file) {
  const std::uint64_t per_page = pages_per_map_page(pager);
  const PageNumber old_end = pager.page_count();
  pointers.resize(std::max(pointers.size(), disk::kFreeMapPointers), 0);
  // Appended bitmap pages lengthen the file; count them until the ranges hold it all.
  std::size_t ranges = 0;
  std::uint64_t end = old_end;
  for (;;) {
    ranges = static_cast<std::size_t>((end + 1 + per_page - 1) / per_page);
    std::uint64_t missing = 0;
    for (std::size_t i = 0; i < ranges; ++i)
      if (i >= pointers.size() || pointers[i] == 0) ++missing;
    if (old_end + missing == end) break;
    end = old_end + missing;
  }
  if (ranges > pointers.size())
    throw_damaged(pager.file_name(), "le fichier dépasse ce que la table des pages libres peut décrire");
  const FreeRule is_free{free_in_file, end};
  for (std::size_t i = 0; i < ranges; ++i) {
    if (pointers[i] == 0) pointers[i] = pager.append(std::vector<std::uint8_t>(pager.page_size(), 0));
  }
  for (std::size_t i = 0; i < ranges; ++i) {
    std::vector<std::uint8_t> bitmap(pager.page_size(), 0);
    bitmap[0] = static_cast<std::uint8_t>(PageKind::UsageMap);
    bitmap[1] = 0x01;
    for (std::uint64_t k = 0; k < per_page; ++k)
      if (is_free(per_page * i + k)) set_bit(bitmap, disk::kMapPageHeader, k);
    pager.write(pointers[i], std::move(bitmap));
  }
  std::vector<std::uint8_t> row(1 + 4 * pointers.size(), 0);
  row[0] = 1;
  for (std::size_t i = 0; i < pointers.size(); ++i) store_le32(row, 1 + 4 * i, pointers[i]);
  if (!replace_row(pager, row))
    throw_damaged(pager.file_name(), "pas de place en page 1 pour la table des pages libres");
}

}  // namespace

FreeMapReach free_map_reach(Pager& pager) {
  const std::vector<std::uint8_t> row = row_of(pager);
  if (row[0] == 0) {
    const PageNumber start = row[1] | (row[2] << 8) | (static_cast<std::uint32_t>(row[3]) << 16) |
                             (static_cast<std::uint32_t>(row[4]) << 24);
    return {start, std::uint64_t{start} + (row.size() - 5) * 8};
  }
  if (row[0] != 1) throw_damaged(pager.file_name(), "table des pages libres de type inconnu " + std::to_string(row[0]));
  const std::uint64_t per_page = pages_per_map_page(pager);
  FreeMapReach reach;
  bool gap = false;
  const std::vector<PageNumber> pointers = pointers_of(row);
  for (std::size_t i = 0; i < pointers.size(); ++i) {
    if (pointers[i] == 0) {
      gap = true;
      continue;
    }
    if (pointers[i] >= pager.page_count() ||
        pager.read(pointers[i]).view().u8(0) != static_cast<std::uint8_t>(PageKind::UsageMap))
      throw_damaged(pager.file_name(), "la table des pages libres désigne la page " + std::to_string(pointers[i]) +
                                           ", qui n'est pas une page de table d'utilisation");
    if (!gap) reach.end = per_page * (i + 1);
  }
  return reach;
}

void cover_file(OverlayPager& pager, PageNumber page_count) {
  const FreeMapReach reach = free_map_reach(pager);
  if (reach.first == 0 && reach.end >= page_count) return;
  const PageNumber file_end = pager.page_count();
  std::set<PageNumber> free_in_file;
  for (PageNumber p : marked_pages(pager, kGlobalUsageMap, file_end)) free_in_file.insert(p);
  const std::vector<std::uint8_t> row = row_of(pager);
  if (row[0] == 0) {
    const std::uint64_t wanted = std::max<std::uint64_t>(page_count, file_end) + 1;
    const std::uint64_t inline_reach = (wanted + kInlineStep - 1) / kInlineStep * kInlineStep;
    if (write_inline(pager, inline_reach, FreeRule{free_in_file, file_end})) return;
    write_reference(pager, {}, free_in_file);
    return;
  }
  write_reference(pager, pointers_of(row), free_in_file);
}

}  // namespace jet
