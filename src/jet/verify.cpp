#include "jet/verify.h"

#include <algorithm>
#include <map>
#include <set>

#include "jet/data_page.h"
#include "jet/error.h"
#include "jet/long_value.h"
#include "jet/table_def.h"
#include "jet/usage_map_write.h"

namespace jet {
namespace {

std::string where(const Table& table, PageNumber page, int row = -1) {
  std::string s = "table « " + table.name() + " », page " + std::to_string(page);
  if (row >= 0) s += ", ligne " + std::to_string(row);
  return s;
}

// Checks the moved row of slot `row`: it must lead to a row of the same table, decodable,
// that no other slot leads to.
void check_overflow(const Table& table, const DataPage& page, std::uint16_t row,
                    std::vector<std::string>& problems, std::set<RowId>& moved_targets) {
  const RowId target = page.overflow_target(row);
  Page keep;
  auto bytes = locate_row(table.pager(), RowId{page.page().number(), static_cast<std::uint8_t>(row)},
                          table.def().page, &keep);
  if (!bytes) {
    problems.push_back(where(table, page.page().number(), row) + " : la ligne déplacée vers la page " +
                       std::to_string(target.page) + " ligne " + std::to_string(target.row) + " n'existe pas");
    return;
  }
  if (!moved_targets.insert(target).second)
    problems.push_back(where(table, page.page().number(), row) + " : la ligne déplacée vers la page " +
                       std::to_string(target.page) + " ligne " + std::to_string(target.row) +
                       " est déjà désignée par une autre ligne");
  decode_row(table.pager(), table.def(), *bytes);
}

}  // namespace

std::vector<std::string> verify_table(const Table& table, const IndexChecker& check_index) {
  std::vector<std::string> problems;
  Pager& pager = table.pager();
  std::vector<PageNumber> pages;
  try {
    pages = table.data_pages();
  } catch (const Error& e) {
    problems.push_back("table « " + table.name() + " » : table d'utilisation illisible : " + e.description());
    return problems;
  }
  std::uint64_t live = 0;
  std::set<RowId> moved_targets;
  for (PageNumber p : pages) {
    try {
      const DataPage page(pager.read(p));
      for (std::uint16_t r = 0; r < page.row_count(); ++r) {
        try {
          if (page.deleted(r)) continue;
          ++live;
          if (page.overflow(r)) {
            check_overflow(table, page, r, problems, moved_targets);
            continue;
          }
          decode_row(pager, table.def(), page.row_bytes(r));
        } catch (const Error& e) {
          problems.push_back(where(table, p, r) + " : " + e.description());
        }
      }
    } catch (const Error& e) {
      problems.push_back(where(table, p) + " : " + e.description());
    }
  }
  // Access keeps the count of its own system tables loosely (it lags behind inserts until
  // the next compaction), so only user tables are held to it.
  if (!table.def().system && live != table.def().row_count)
    problems.push_back("table « " + table.name() + " » : " + std::to_string(live) +
                       " lignes présentes, la définition en annonce " + std::to_string(table.def().row_count));
  if (check_index) {
    for (const IndexDef& index : table.def().indexes) {
      try {
        for (auto& p : check_index(table, index))
          problems.push_back("table « " + table.name() + " », index " + std::to_string(index.number) + " : " + p);
      } catch (const Error& e) {
        problems.push_back("table « " + table.name() + " », index " + std::to_string(index.number) + " : " + e.description());
      }
    }
  }
  return problems;
}

namespace {

// Free space a data page should record: what lies between its slot table and its lowest row.
std::size_t expected_free_space(const DataPage& page, std::size_t page_size) {
  const std::size_t slots = page.page().layout().data_row_count + 2;
  std::size_t lowest = page_size;
  for (std::uint16_t r = 0; r < page.row_count(); ++r) lowest = std::min<std::size_t>(lowest, page.page().view().u16(slots + 2 * std::size_t{r}) & 0x1FFF);
  const std::size_t used = slots + 2 * std::size_t{page.row_count()};
  return lowest > used ? lowest - used : 0;
}

// Pages against the maps that claim them: a table's owned-pages map lists only data pages
// of that table, no page is claimed twice, none the global map calls free, every data page
// records its true free space.
void check_pages(Database& db, std::vector<std::string>& problems) {
  Pager& pager = db.pager();
  const PageNumber count = pager.page_count();
  std::set<PageNumber> free_pages;
  try {
    for (PageNumber p : marked_pages(pager, kGlobalUsageMap, count)) free_pages.insert(p);
  } catch (const Error&) {
    // Some Access files keep a reference-kind global map whose entries do not all name
    // pages of the file; the free-page check is then left out.
    free_pages.clear();
  }
  std::map<PageNumber, std::string> claimed;
  auto claim = [&](PageNumber p, const std::string& by) {
    if (free_pages.count(p)) problems.push_back(by + " : la page " + std::to_string(p) + " est marquée libre");
    auto [it, fresh] = claimed.emplace(p, by);
    if (!fresh && it->second != by)
      problems.push_back("page " + std::to_string(p) + " revendiquée par " + it->second + " et par " + by);
  };
  for (const CatalogEntry* entry : db.catalog().tables(true)) {
    const std::string who = "table « " + entry->name + " »";
    try {
      const TableDef def = read_table_def(pager, entry->table_page());
      claim(def.page, who);
      for (PageNumber p : marked_pages(pager, RowId::from_pointer(def.owned_pages), count)) {
        const Page page = pager.read(p);
        if (page.view().u8(0) != static_cast<std::uint8_t>(PageKind::Data) || DataPage(page).owner() != def.page) {
          problems.push_back(who + " : sa table d'utilisation compte la page " + std::to_string(p) +
                             ", qui n'est pas une de ses pages de données");
          continue;
        }
        claim(p, who);
      }
      for (const IndexDef& index : def.indexes)
        for (PageNumber p : marked_pages(pager, RowId::from_pointer(index.usage_map), count))
          claim(p, who + ", index " + std::to_string(index.number));
    } catch (const Error& e) {
      problems.push_back(who + " : " + e.description());
    }
  }
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

}  // namespace

std::vector<std::string> verify_database(Database& db, const IndexChecker& check_index) {
  std::vector<std::string> problems;
  check_pages(db, problems);
  Pager& pager = db.pager();
  for (const CatalogEntry* entry : db.catalog().tables(true)) {
    try {
      const Table table(pager, entry->name, read_table_def(pager, entry->table_page()));
      auto found = verify_table(table, check_index);
      problems.insert(problems.end(), found.begin(), found.end());
    } catch (const Error& e) {
      problems.push_back("table « " + entry->name + " » : " + e.description());
    }
  }
  return problems;
}

}  // namespace jet
