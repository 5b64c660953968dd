#include "jet/tools/verify_pages.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <set>

#include "jet/base/error.h"
#include "jet/record/data_page.h"
#include "jet/record/free_page_map.h"
#include "jet/record/table_def.h"
#include "jet/record/usage_map_write.h"
#include "jet/tools/verify_catalog.h"

namespace jet {
namespace {

constexpr std::size_t kMaxReportedRuns = 10;

bool reference_kind_global_map(Pager& pager) {
  try {
    const Page holder = pager.read(kGlobalUsageMap.page);
    const RowSpan span = row_span(holder, kGlobalUsageMap.row);
    return span.length > 0 && holder.view().u8(span.offset) == disk::kMapReference;
  } catch (const Error&) {
    return false;
  }
}

bool is_kind(const ByteView& v, PageKind kind) { return v.u8(0) == static_cast<std::uint8_t>(kind); }

// Pages marked free in the global map, a bit per page of the file.
class FreePages {
 public:
  explicit FreePages(PageNumber count) : bits_(count, false) {}
  void mark(PageNumber p) {
    if (p < bits_.size()) bits_[p] = true;
  }
  bool count(PageNumber p) const { return p < bits_.size() && bits_[p]; }
  void clear() { std::fill(bits_.begin(), bits_.end(), false); }

 private:
  std::vector<bool> bits_;
};

// Who claims each page. The few distinct claimants are named once; each page of the file
// holds the number of its claimant (4 bytes a page, whatever the size of the tables).
class Claims {
 public:
  Claims(std::vector<std::string>& problems, const FreePages& free_pages, PageNumber count)
      : problems_(problems), free_(free_pages), owner_of_(count, kNobody) {}

  void claim(PageNumber p, const std::string& by) {
    if (free_.count(p)) problems_.push_back(by + " : la page " + std::to_string(p) + " est marquée libre");
    const std::uint32_t id = name_id(by);
    std::uint32_t& owner = p < owner_of_.size() ? owner_of_[p] : beyond_[p];
    if (owner == kNobody) owner = id;
    else if (owner != id)
      problems_.push_back("page " + std::to_string(p) + " revendiquée par " + names_[owner] + " et par " + by);
  }
  bool claimed(PageNumber p) const {
    return p < owner_of_.size() ? owner_of_[p] != kNobody : beyond_.count(p) != 0;
  }

  // A usage-map row serves one map: a page a writer adds to one would appear in the other.
  void claim_row(RowId where, const std::string& by) {
    auto [it, fresh] = rows_.emplace(where.pointer(), by);
    if (!fresh && it->second != by)
      problems_.push_back("page " + std::to_string(where.page) + ", ligne " + std::to_string(where.row) +
                          " : une même table d'utilisation sert à " + it->second + " et à " + by);
  }

 private:
  static constexpr std::uint32_t kNobody = ~std::uint32_t{0};
  std::uint32_t name_id(const std::string& by) {
    // Claims come in long runs from one claimant.
    if (!names_.empty() && names_[last_] == by) return last_;
    auto [it, fresh] = ids_.emplace(by, static_cast<std::uint32_t>(names_.size()));
    if (fresh) names_.push_back(by);
    return last_ = it->second;
  }

  std::vector<std::string>& problems_;
  const FreePages& free_;
  std::vector<std::uint32_t> owner_of_;
  std::map<PageNumber, std::uint32_t> beyond_;  // pages past the end of the file some map names
  std::vector<std::string> names_;
  std::map<std::string, std::uint32_t> ids_;
  std::uint32_t last_ = 0;
  std::map<std::uint32_t, std::string> rows_;
};

// One usage map of a table, read as the writers read it: every page it names must `fit`
// (else the sentence `misplaced` is reported for it); with `owner`, those pages are claimed
// for that owner. Its bitmap pages are claimed in any case. Returns the pages it names
// (nullopt when it cannot be read).
std::optional<std::vector<PageNumber>> check_map(Pager& pager, RowId where, const std::string& who,
                                                 const std::string& map_name,
                                                 const std::function<bool(const ByteView&)>& fits,
                                                 const std::string& misplaced, Claims& claims,
                                                 const std::string* owner, std::vector<std::string>& problems) {
  claims.claim_row(where, who + " (" + map_name + ")");
  std::vector<PageNumber> pages;
  try {
    pages = read_usage_map(pager, where);
    for (PageNumber p : bitmap_pages(pager, where)) claims.claim(p, who + " (" + map_name + ")");
  } catch (const Error& e) {
    problems.push_back(who + " : " + map_name + " illisible : " + e.description());
    return std::nullopt;
  }
  for (PageNumber p : pages) {
    if (!fits(pager.read(p).view()))
      problems.push_back(who + " : sa " + map_name + " compte la page " + std::to_string(p) + ", " + misplaced);
    // A page listed here but holding another table's rows is still claimed, so that the
    // other table's own map listing it shows as a second owner.
    if (owner) claims.claim(p, *owner);
  }
  return pages;
}

// Claims the pages of one table and checks its maps; returns the data pages its
// owned-pages map names (nullopt when it cannot be read).
std::optional<std::vector<PageNumber>> claim_table(Pager& pager, const CheckedTable& table, Claims& claims,
                                                   std::vector<std::string>& problems) {
  const std::string who = "table « " + table.name + " »";
  const TableDef def = read_table_def(pager, table.page);
  claims.claim(def.page, who);
  for (PageNumber p : definition_pages(pager, def.page)) claims.claim(p, who + " (définition)");
  const auto own_data = [&](const ByteView& v) { return is_kind(v, PageKind::Data) && v.u32(4) == def.page; };
  const std::string not_data = "qui n'est pas une de ses pages de données";
  const auto owned = check_map(pager, RowId::from_pointer(def.owned_pages), who, "table d'utilisation", own_data,
                               not_data, claims, &who, problems);
  check_map(pager, RowId::from_pointer(def.free_pages), who, "table d'espace libre", own_data, not_data, claims,
            nullptr, problems);
  for (const IndexDef& index : def.indexes) {
    const std::string by = who + ", index " + std::to_string(index.number);
    const auto own_index = [&](const ByteView& v) {
      return (is_kind(v, PageKind::IndexLeaf) || is_kind(v, PageKind::IndexIntermediate)) && v.u32(4) == def.page;
    };
    check_map(pager, RowId::from_pointer(index.usage_map), by, "table d'utilisation", own_index,
              "qui n'est pas une de ses pages d'index", claims, &by, problems);
  }
  // Access lists the long-value pages of each Memo or OLE column (0: none listed); the
  // engine shares its long-value pages between columns and does not list them.
  for (const LongValueMaps& maps : def.long_value_maps) {
    const ColumnDef* column = def.column_by_number(maps.column_number);
    const std::string by =
        who + ", colonne " + (column ? "« " + column->name + " »" : std::to_string(maps.column_number));
    const auto long_values = [](const ByteView& v) { return is_kind(v, PageKind::Data) && v.u32(4) == disk::kLongValueOwner; };
    for (std::uint32_t map : {maps.owned_pages, maps.free_pages})
      if (map != 0)
        check_map(pager, RowId::from_pointer(map), by, "table d'utilisation des valeurs longues", long_values,
                  "qui n'est pas une page de valeurs longues", claims, nullptr, problems);
  }
  return owned;
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

// Every data page: a row count and rows a writer can work with, and its true free space.
// A page naming a table as owner must be in that table's map unless it is marked free:
// otherwise its rows are lost to the table (repair puts such pages back).
void check_data_pages(Pager& pager, const std::map<PageNumber, std::string>& tables,
                      const std::map<PageNumber, std::vector<PageNumber>>& owned, const FreePages* free_pages,
                      std::vector<std::string>& problems) {
  for (PageNumber p = 2; p < pager.page_count(); ++p) {
    try {
      const Page page = pager.read(p);
      if (!is_kind(page.view(), PageKind::Data)) continue;
      const DataPage data(page);
      for (std::uint16_t r = 0; r < data.row_count(); ++r) (void)data.row_bytes(r);
      if (const std::size_t expected = expected_free_space(page); data.free_space() != expected)
        problems.push_back("page " + std::to_string(p) + " : espace libre annoncé " + std::to_string(data.free_space()) +
                           ", réel " + std::to_string(expected));
      const auto table = tables.find(data.owner());
      if (free_pages && table != tables.end() && !free_pages->count(p) &&
          !std::binary_search(owned.at(table->first).begin(), owned.at(table->first).end(), p))
        problems.push_back("page " + std::to_string(p) + " : page de données de la table « " + table->second +
                           " » absente de sa table d'utilisation");
    } catch (const Error& e) {
      problems.push_back("page " + std::to_string(p) + " : " + e.description());
    }
  }
}

}  // namespace

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

std::vector<PageNumber> definition_pages(Pager& pager, PageNumber first) {
  std::vector<PageNumber> out;
  std::set<PageNumber> seen{first};
  for (PageNumber p = pager.read(first).view().u32(4); p != 0 && p < pager.page_count() && seen.insert(p).second;
       p = pager.read(p).view().u32(4))
    out.push_back(p);
  return out;
}

std::size_t expected_free_space(const Page& page) {
  const DataPage data(page);
  const std::size_t slots = page.layout().data_row_count + 2;
  std::size_t lowest = page.size();
  for (std::uint16_t r = 0; r < data.row_count(); ++r)
    lowest = std::min<std::size_t>(lowest, page.view().u16(slots + 2 * std::size_t{r}) & disk::kRowOffsetMask);
  const std::size_t used = slots + 2 * std::size_t{data.row_count()};
  return lowest > used ? lowest - used : 0;
}

void verify_pages(Pager& pager, const Catalog& catalog, std::vector<std::string>& problems) {
  const PageNumber count = pager.page_count();
  FreePages free_pages(count);
  std::optional<FreeMapReach> reach;
  try {
    for (PageNumber p : marked_pages(pager, kGlobalUsageMap, count)) free_pages.mark(p);
    reach = free_map_reach(pager);
  } catch (const Error& e) {
    // Some Access files keep a reference-kind global map whose entries do not all name
    // pages of the file; the free-page and reach checks are then left out. Any other
    // unreadable map is damage: every page a writer takes comes through it.
    if (!reference_kind_global_map(pager))
      problems.push_back("la table des pages libres (page 1) est illisible : " + e.description());
    free_pages.clear();
    reach.reset();
  }
  Claims claims(problems, free_pages, count);
  if (reach)
    for (PageNumber p : bitmap_pages(pager, kGlobalUsageMap)) claims.claim(p, "la table des pages libres");
  std::map<PageNumber, std::string> tables;
  std::map<PageNumber, std::vector<PageNumber>> owned;  // each table's pages, ascending
  for (const CheckedTable& table : tables_to_check(catalog)) {
    try {
      // A table whose map cannot be read is left out of the search for forgotten pages.
      if (const auto pages = claim_table(pager, table, claims, problems)) {
        tables.emplace(table.page, table.name);
        std::vector<PageNumber>& mine = owned[table.page];
        mine.insert(mine.end(), pages->begin(), pages->end());
        std::sort(mine.begin(), mine.end());
      }
    } catch (const Error& e) {
      problems.push_back("table « " + table.name + " » : " + e.description());
    }
  }
  if (reach) check_reach(pager, *reach, claims, problems);
  check_data_pages(pager, tables, owned, reach ? &free_pages : nullptr, problems);
}

}  // namespace jet
