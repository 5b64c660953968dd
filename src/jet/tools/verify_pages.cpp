#include "jet/tools/verify_pages.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "jet/record/data_page.h"
#include "jet/base/error.h"
#include "jet/record/free_page_map.h"
#include "jet/record/table_def.h"
#include "jet/record/usage_map_write.h"

namespace jet {
namespace {

constexpr std::size_t kMaxReportedRuns = 10;

// Free space a data page should record: what lies between its slot table and its lowest row.
std::size_t expected_free_space(const DataPage& page, std::size_t page_size) {
  const std::size_t slots = page.page().layout().data_row_count + 2;
  std::size_t lowest = page_size;
  for (std::uint16_t r = 0; r < page.row_count(); ++r) lowest = std::min<std::size_t>(lowest, page.page().view().u16(slots + 2 * std::size_t{r}) & 0x1FFF);
  const std::size_t used = slots + 2 * std::size_t{page.row_count()};
  return lowest > used ? lowest - used : 0;
}

// The bitmap pages of the usage map at `where` when it is a reference map (none inline).
std::vector<PageNumber> bitmap_pages(Pager& pager, RowId where) {
  const Page holder = pager.read(where.page);
  const RowSpan span = row_span(holder, where.row);
  const ByteView row = holder.view().sub(span.offset, span.length);
  std::vector<PageNumber> out;
  if (row.size() == 0 || row.u8(0) != 1) return out;
  for (std::size_t at = 1; at + 4 <= row.size(); at += 4)
    if (const PageNumber p = row.u32(at); p != 0) out.push_back(p);
  return out;
}

// Continuation pages of a table definition (the first page is claimed on its own).
std::vector<PageNumber> definition_pages(Pager& pager, PageNumber first) {
  std::vector<PageNumber> out;
  std::set<PageNumber> seen{first};
  for (PageNumber p = pager.read(first).view().u32(4); p != 0 && p < pager.page_count() && seen.insert(p).second;
       p = pager.read(p).view().u32(4))
    out.push_back(p);
  return out;
}

class Claims {
 public:
  Claims(std::vector<std::string>& problems, const std::set<PageNumber>& free_pages)
      : problems_(problems), free_(free_pages) {}

  void claim(PageNumber p, const std::string& by) {
    if (free_.count(p)) problems_.push_back(by + " : la page " + std::to_string(p) + " est marquée libre");
    auto [it, fresh] = owners_.emplace(p, by);
    if (!fresh && it->second != by)
      problems_.push_back("page " + std::to_string(p) + " revendiquée par " + it->second + " et par " + by);
  }
  bool claimed(PageNumber p) const { return owners_.count(p) != 0; }

 private:
  std::vector<std::string>& problems_;
  const std::set<PageNumber>& free_;
  std::map<PageNumber, std::string> owners_;
};

void claim_table(Pager& pager, const CatalogEntry& entry, Claims& claims, std::vector<std::string>& problems) {
  const PageNumber count = pager.page_count();
  const std::string who = "table « " + entry.name + " »";
  const TableDef def = read_table_def(pager, entry.table_page());
  claims.claim(def.page, who);
  for (PageNumber p : definition_pages(pager, def.page)) claims.claim(p, who + " (définition)");
  const RowId owned = RowId::from_pointer(def.owned_pages);
  for (PageNumber p : bitmap_pages(pager, owned)) claims.claim(p, who + " (table d'utilisation)");
  for (PageNumber p : marked_pages(pager, owned, count)) {
    const Page page = pager.read(p);
    // A page listed here but holding another table's rows is still claimed, so that the
    // other table's own map listing it shows as a second owner.
    if (page.view().u8(0) != static_cast<std::uint8_t>(PageKind::Data) || DataPage(page).owner() != def.page)
      problems.push_back(who + " : sa table d'utilisation compte la page " + std::to_string(p) +
                         ", qui n'est pas une de ses pages de données");
    claims.claim(p, who);
  }
  for (const IndexDef& index : def.indexes) {
    const std::string by = who + ", index " + std::to_string(index.number);
    const RowId map = RowId::from_pointer(index.usage_map);
    for (PageNumber p : bitmap_pages(pager, map)) claims.claim(p, by + " (table d'utilisation)");
    for (PageNumber p : marked_pages(pager, map, count)) claims.claim(p, by);
  }
}

std::string reach_text(const FreeMapReach& reach) {
  if (reach.end <= reach.first) return "qui ne couvre aucune page";
  return "qui couvre les pages " + std::to_string(reach.first) + " à " + std::to_string(reach.end - 1);
}

// Pages in use that the free-page map does not reach: another writer would take them for
// free pages. Reported as runs of consecutive pages.
void check_reach(Pager& pager, const FreeMapReach& reach, const Claims& claims, std::vector<std::string>& problems) {
  std::vector<std::pair<PageNumber, PageNumber>> runs;
  std::uint64_t outside = 0;
  for (PageNumber p = 0; p < pager.page_count(); ++p) {
    if (reach.covers(p)) continue;
    const bool live = p < 2 || claims.claimed(p) || pager.read(p).view().u8(0) != 0;
    if (!live) continue;
    ++outside;
    if (!runs.empty() && runs.back().second + 1 == p) runs.back().second = p;
    else runs.emplace_back(p, p);
  }
  const std::string tail = " hors de la table des pages libres (page 1), " + reach_text(reach);
  for (std::size_t i = 0; i < runs.size() && i < kMaxReportedRuns; ++i) {
    const auto [from, to] = runs[i];
    outside -= to - from + 1;
    if (from == to) problems.push_back("la page " + std::to_string(from) + " est en usage mais" + tail);
    else problems.push_back("les pages " + std::to_string(from) + " à " + std::to_string(to) + " sont en usage mais" + tail);
  }
  if (outside > 0) problems.push_back("et " + std::to_string(outside) + " autres pages en usage" + tail);
}

}  // namespace

void verify_pages(Database& db, std::vector<std::string>& problems) {
  Pager& pager = db.pager();
  const PageNumber count = pager.page_count();
  std::set<PageNumber> free_pages;
  std::optional<FreeMapReach> reach;
  try {
    reach = free_map_reach(pager);
    for (PageNumber p : marked_pages(pager, kGlobalUsageMap, count)) free_pages.insert(p);
  } catch (const Error&) {
    // Some Access files keep a reference-kind global map whose entries do not all name
    // pages of the file; the free-page and reach checks are then left out.
    free_pages.clear();
    reach.reset();
  }
  Claims claims(problems, free_pages);
  if (reach)
    for (PageNumber p : bitmap_pages(pager, kGlobalUsageMap)) claims.claim(p, "la table des pages libres");
  for (const CatalogEntry* entry : db.catalog().tables(true)) {
    try {
      claim_table(pager, *entry, claims, problems);
    } catch (const Error& e) {
      problems.push_back("table « " + entry->name + " » : " + e.description());
    }
  }
  if (reach) check_reach(pager, *reach, claims, problems);
  for (PageNumber p = 2; p < count; ++p) {
    try {
      const Page page = pager.read(p);
      if (page.view().u8(0) != static_cast<std::uint8_t>(PageKind::Data)) continue;
      const DataPage data(page);
      if (data.free_space() != expected_free_space(data, pager.page_size()))
        problems.push_back("page " + std::to_string(p) + " : espace libre annoncé " + std::to_string(data.free_space()) +
                           ", réel " + std::to_string(expected_free_space(data, pager.page_size())));
    } catch (const Error& e) {
      problems.push_back("page " + std::to_string(p) + " : " + e.description());
    }
  }
}

}  // namespace jet
