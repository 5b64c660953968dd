#include "jet/record/usage_map_write.h"

#include <string>

#include "jet/record/data_page.h"
#include "jet/base/error.h"
#include "jet/storage/format.h"
#include "jet/base/bytes.h"

namespace jet {
namespace {

void flip(std::span<std::uint8_t> b, std::size_t at, std::uint64_t bit, bool on) {
  auto& byte = b[at + bit / 8];
  const auto mask = static_cast<std::uint8_t>(1u << (bit % 8));
  byte = on ? static_cast<std::uint8_t>(byte | mask) : static_cast<std::uint8_t>(byte & ~mask);
}

[[noreturn]] void cannot_grow(const OverlayPager& pager) {
  throw_damaged(pager.file_name(), "table d'utilisation de référence sans moyen d'ajouter une page");
}

}  // namespace

RowSpan row_span(const Page& page, std::uint16_t row) {
  const DataPage data(page);
  const ByteView bytes = data.row_bytes(row);
  return {static_cast<std::size_t>(bytes.data() - page.view().data()), bytes.size()};
}

std::vector<PageNumber> marked_pages(Pager& pager, RowId where, PageNumber limit) {
  Page holder = pager.read(where.page);
  const RowSpan span = row_span(holder, where.row);
  const ByteView row = holder.view().sub(span.offset, span.length);
  std::vector<PageNumber> out;
  auto scan = [&](const ByteView& bitmap, std::uint64_t first) {
    for (std::size_t i = 0; i < bitmap.size(); ++i) {
      const std::uint8_t byte = bitmap.u8(i);
      for (int bit = 0; byte && bit < 8; ++bit) {
        const std::uint64_t page = first + i * 8 + static_cast<unsigned>(bit);
        if ((byte >> bit) & 1u && page < limit) out.push_back(static_cast<PageNumber>(page));
      }
    }
  };
  if (row.u8(0) == disk::kMapInline) {
    scan(row.sub(disk::kMapInlineBits, row.size() - disk::kMapInlineBits), row.u32(disk::kMapInlineStart));
  } else if (row.u8(0) == disk::kMapReference) {
    const std::uint64_t per_page = (pager.page_size() - disk::kMapPageHeader) * 8;
    for (std::size_t i = 0; 1 + 4 * i + 4 <= row.size(); ++i) {
      const PageNumber map_page = row.u32(1 + 4 * i);
      if (map_page == 0) continue;
      const Page map = pager.read(map_page);
      if (map.view().u8(0) != static_cast<std::uint8_t>(PageKind::UsageMap))
        map.view().damaged("table d'utilisation attendue");
      scan(map.view().sub(4, map.size() - 4), per_page * i);
    }
  } else {
    row.damaged("table d'utilisation de type inconnu " + std::to_string(row.u8(0)));
  }
  return out;
}

std::optional<PageNumber> first_marked_page(Pager& pager, RowId where, PageNumber from, PageNumber limit) {
  Page holder = pager.read(where.page);
  const RowSpan span = row_span(holder, where.row);
  const ByteView row = holder.view().sub(span.offset, span.length);
  // The first marked bit of `bitmap` (bit 0 = page `first`) for a page in [from, limit).
  auto scan = [&](const ByteView& bitmap, std::uint64_t first) -> std::optional<PageNumber> {
    const std::uint64_t start = from > first ? from - first : 0;
    for (std::size_t i = static_cast<std::size_t>(start / 8); i < bitmap.size(); ++i) {
      const std::uint8_t byte = bitmap.u8(i);
      for (int bit = 0; byte && bit < 8; ++bit) {
        const std::uint64_t page = first + i * 8 + static_cast<unsigned>(bit);
        if (page >= limit) return std::nullopt;
        if ((byte >> bit) & 1u && page >= from) return static_cast<PageNumber>(page);
      }
      if (first + i * 8 + 8 >= limit) return std::nullopt;
    }
    return std::nullopt;
  };
  if (row.u8(0) == disk::kMapInline) {
    return scan(row.sub(disk::kMapInlineBits, row.size() - disk::kMapInlineBits), row.u32(disk::kMapInlineStart));
  }
  if (row.u8(0) != disk::kMapReference) row.damaged("table d'utilisation de type inconnu " + std::to_string(row.u8(0)));
  const std::uint64_t per_page = (pager.page_size() - disk::kMapPageHeader) * 8;
  for (std::size_t i = static_cast<std::size_t>(from / per_page); 1 + 4 * i + 4 <= row.size(); ++i) {
    if (per_page * i >= limit) break;
    const PageNumber map_page = row.u32(1 + 4 * i);
    if (map_page == 0) continue;
    const Page map = pager.read(map_page);
    if (map.view().u8(0) != static_cast<std::uint8_t>(PageKind::UsageMap)) map.view().damaged("table d'utilisation attendue");
    if (auto found = scan(map.view().sub(4, map.size() - 4), per_page * i)) return found;
  }
  return std::nullopt;
}

bool set_usage_bit(OverlayPager& pager, RowId where, PageNumber page, bool on, bool grow,
                   const PageAppender& append) {
  Page holder = pager.read(where.page);
  const RowSpan span = row_span(holder, where.row);
  if (span.length < 5) holder.view().damaged("table d'utilisation trop courte");
  const std::size_t at = span.offset;
  const std::uint64_t per_map_page = (pager.page_size() - disk::kMapPageHeader) * 8;
  // The holder page is copied only where it changes: a reference map's, only when it gains a
  // map page (not for each page a table takes).
  const ByteView held = holder.view();
  if (held.u8(at) == 0) {
    const std::uint32_t start = held.u32(at + 1);
    const std::uint64_t bits = (span.length - 5) * 8;
    if (page >= start && page - start < bits) {
      holder = Page{};  // let go, so that the page may be changed in place
      pager.edit(where.page, [&](std::span<std::uint8_t> b) { flip(b, at + 5, page - start, on); });
      return true;
    }
    if (!on) return true;  // not covered, hence not marked
    std::vector<std::uint8_t> bytes = held.copy();
    if (!grow) return false;
    // Outgrown: rewrite as a reference map holding the same pages plus this one.
    std::vector<PageNumber> pages = read_usage_map(pager, where);
    pages.push_back(page);
    const std::size_t pointers = (span.length - 1) / 4;
    if (std::uint64_t{page} / per_map_page >= pointers) cannot_grow(pager);
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.begin() + static_cast<std::ptrdiff_t>(at + span.length), 0);
    bytes[at] = 1;
    pager.write(where.page, std::move(bytes));
    for (PageNumber p : pages) set_usage_bit(pager, where, p, true, grow, append);
    return true;
  }
  if (held.u8(at) != 1) held.damaged("table d'utilisation de type inconnu " + std::to_string(held.u8(at)));

  const std::size_t index = page / per_map_page;
  const std::size_t pointer_at = at + 1 + 4 * index;
  if (pointer_at + 4 > at + span.length) {
    if (!on || !grow) return !on;
    cannot_grow(pager);
  }
  PageNumber map_page = held.u32(pointer_at);
  if (map_page == 0) {
    if (!on) return true;
    if (!grow) return false;
    if (!append) cannot_grow(pager);
    std::vector<std::uint8_t> fresh(pager.page_size(), 0);
    fresh[0] = static_cast<std::uint8_t>(PageKind::UsageMap);
    fresh[1] = 0x01;
    map_page = append(std::move(fresh));
    // Read again: taking the new page may have marked it on this very holder page.
    std::vector<std::uint8_t> bytes = pager.read(where.page).view().copy();
    store_le32(bytes, pointer_at, map_page);
    pager.write(where.page, std::move(bytes));
  }
  holder = Page{};
  if (const Page map = pager.read(map_page); map.view().u8(0) != static_cast<std::uint8_t>(PageKind::UsageMap))
    map.view().damaged("table d'utilisation attendue");
  pager.edit(map_page, [&](std::span<std::uint8_t> b) { flip(b, 4, page % per_map_page, on); });
  return true;
}

}  // namespace jet
