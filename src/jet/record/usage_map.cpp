#include "jet/record/usage_map.h"

#include <string>

#include "jet/record/data_page.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

// A bit for a page past the end of the file means the file lost its tail.
void add_bits(const ByteView& bitmap, PageNumber first, PageNumber page_count,
              std::vector<PageNumber>& out) {
  for (std::size_t i = 0; i < bitmap.size(); ++i) {
    const std::uint8_t byte = bitmap.u8(i);
    if (!byte) continue;
    for (int bit = 0; bit < 8; ++bit) {
      if (!(byte & (1u << bit))) continue;
      const std::uint64_t page = std::uint64_t{first} + i * 8 + static_cast<unsigned>(bit);
      if (page >= page_count)
        bitmap.damaged("la table d'utilisation désigne la page " + std::to_string(page) +
                       " au-delà de la fin du fichier");
      out.push_back(static_cast<PageNumber>(page));
    }
  }
}

}  // namespace

std::vector<PageNumber> read_usage_map(Pager& pager, RowId where) {
  const DataPage holder(pager.read(where.page));
  if (holder.deleted(where.row)) holder.page().view().damaged("table d'utilisation supprimée");
  const ByteView row = holder.row_bytes(where.row);
  std::vector<PageNumber> pages;
  switch (row.u8(0)) {
    case disk::kMapInline:  // inline: start page, then the bitmap
      add_bits(row.sub(disk::kMapInlineBits, row.size() - disk::kMapInlineBits), row.u32(disk::kMapInlineStart),
               pager.page_count(), pages);
      break;
    case disk::kMapReference: {  // references to bitmap pages, each covering (page size - 4) * 8 pages
      const std::uint64_t per_page = (pager.page_size() - disk::kMapPageHeader) * 8;
      for (std::size_t i = 0; 1 + 4 * i + 4 <= row.size(); ++i) {
        const PageNumber map_page = row.u32(1 + 4 * i);
        if (map_page == 0) continue;
        const std::uint64_t first = per_page * i;
        const Page page = pager.read(map_page);
        const ByteView v = page.view();
        if (v.u8(0) != static_cast<std::uint8_t>(PageKind::UsageMap))
          v.damaged(std::string("table d'utilisation attendue, page de type ") + page_kind_name(v.u8(0)));
        add_bits(v.sub(disk::kMapPageHeader, v.size() - disk::kMapPageHeader), static_cast<PageNumber>(first),
                 pager.page_count(), pages);
      }
      break;
    }
    default:
      row.damaged("table d'utilisation de type inconnu " + std::to_string(row.u8(0)));
  }
  return pages;
}

}  // namespace jet
