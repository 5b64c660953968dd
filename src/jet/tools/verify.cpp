#include "jet/tools/verify.h"

#include <algorithm>

#include <set>

#include "jet/record/data_page.h"
#include "jet/base/error.h"
#include "jet/record/long_value.h"
#include "jet/record/row_encode.h"
#include "jet/record/table_def.h"
#include "jet/tools/compact_internal.h"
#include "jet/tools/long_value_chains.h"
#include "jet/tools/verify_catalog.h"
#include "jet/tools/verify_pages.h"

namespace jet {
namespace {

std::string where(const Table& table, PageNumber page, int row = -1) {
  std::string s = "table « " + table.name() + " », page " + std::to_string(page);
  if (row >= 0) s += ", ligne " + std::to_string(row);
  return s;
}

// Each value must fit its column as a writer requires it (a text within its size, a number
// within its precision): compaction writes every row again. Access 97 files are not written.
void check_values(const Table& table, const Row& row, const std::string& at, std::vector<std::string>& problems) {
  if (table.pager().layout().format != FileFormat::Jet4) return;
  for (const ColumnDef& column : table.def().columns) {
    try {
      coerce_to_column(column, row[column.definition_order]);
    } catch (const Error& e) {
      problems.push_back(at + " : la valeur de la colonne « " + column.name + " » ne tient pas dans la colonne : " +
                         e.description());
    }
  }
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
  check_values(table, decode_row(table.pager(), table.def(), *bytes),
               where(table, page.page().number(), row), problems);
}

// Compaction recreates every table the engine does not make itself from its design: a
// definition that reads but that no design can express (a name Jet refuses, a type or size
// out of range) is damage. Access 97 files are not compacted.
void check_recreatable(Pager& pager, const Catalog& catalog, const Table& table, std::vector<std::string>& problems) {
  const CatalogEntry* entry = catalog.find_table(table.name());
  if (pager.layout().format != FileFormat::Jet4 || !entry || compact_detail::engine_table(table.name())) return;
  PropertySet properties;
  try {
    properties = entry->property_set();
  } catch (const Error&) {
    return;  // reported with the catalog
  }
  try {
    compact_detail::carried_design(pager.file_name(), table.name(), table.def(), properties);
  } catch (const Error& e) {
    problems.push_back("table « " + table.name() + " » : définition impossible à recréer : " + e.description());
  }
}

}  // namespace

std::vector<std::string> verify_table(const Table& table, const IndexChecker& check_index) {
  std::vector<std::string> problems;
  Pager& pager = table.pager();
  std::vector<PageNumber> pages;
  try {
    pages = table.pages_to_read();
  } catch (const Error& e) {
    problems.push_back("table « " + table.name() + " » : table d'utilisation illisible : " + e.description());
    return problems;
  }
  std::uint64_t live = 0;
  std::set<RowId> moved_targets;
  const bool chained = may_hold_open_chains(table);
  std::vector<OpenChain> chains;
  for (PageNumber p : pages) {
    try {
      const Page held = pager.read(p);
      if (!table.owns(held)) continue;
      const DataPage page(held);
      for (std::uint16_t r = 0; r < page.row_count(); ++r) {
        try {
          if (page.deleted(r)) continue;
          ++live;
          if (chained) add_open_chains(table, RowId{p, static_cast<std::uint8_t>(r)}, chains);
          if (page.overflow(r)) {
            check_overflow(table, page, r, problems, moved_targets);
            continue;
          }
          check_values(table, decode_row(pager, table.def(), page.row_bytes(r)), where(table, p, r), problems);
        } catch (const Error& e) {
          problems.push_back(where(table, p, r) + " : " + e.description());
        }
      }
    } catch (const Error& e) {
      problems.push_back(where(table, p) + " : " + e.description());
    }
  }
  for (const OpenChain& open : chains)
    problems.push_back(where(table, open.row.page, open.row.row) + " : la valeur longue de la colonne « " + open.column +
                       " » ne termine pas sa chaîne (sa dernière ligne, page " + std::to_string(open.last.page) +
                       " ligne " + std::to_string(open.last.row) + ", désigne encore la page " +
                       std::to_string(RowId::from_pointer(open.next).page) + " ligne " +
                       std::to_string(RowId::from_pointer(open.next).row) + ")");
  // Access keeps the count of its own system tables loosely (it lags behind inserts until
  // the next compaction), so only user tables are held to it.
  if (!table.def().system && live != table.def().row_count)
    problems.push_back("table « " + table.name() + " » : " + std::to_string(live) +
                       " lignes présentes, la définition en annonce " + std::to_string(table.def().row_count));
  if (check_index) {
    const auto& indexes = table.def().indexes;
    const auto prefix = [&](std::size_t i) {
      return "table « " + table.name() + " », index " + std::to_string(indexes[i].number) + " : ";
    };
    try {
      const auto found = check_index(table, {});
      for (std::size_t i = 0; i < indexes.size() && i < found.size(); ++i)
        for (const auto& p : found[i]) problems.push_back(prefix(i) + p);
    } catch (const Error& e) {
      for (std::size_t i = 0; i < indexes.size(); ++i) problems.push_back(prefix(i) + e.description());
    }
  }
  return problems;
}

std::vector<std::string> verify_database(Pager& pager, const Catalog& catalog, const IndexChecker& check_index,
                                         const VerifyProgress& progress) {
  std::vector<std::string> problems;
  verify_catalog(catalog, pager.layout(), problems);
  verify_pages(pager, catalog, problems);
  const std::vector<CheckedTable> tables = tables_to_check(catalog);
  // The work of each table, from its definition's row count (read again below: cheap).
  const auto weight = [&](const CheckedTable& checked) -> std::pair<std::uint64_t, std::uint64_t> {
    try {
      const TableDef def = read_table_def(pager, checked.page);
      return {std::uint64_t{def.row_count} + 1, check_index ? def.indexes.size() : 0};
    } catch (const Error&) {
      return {1, 0};
    }
  };
  std::uint64_t total = 0, done = 0;
  if (progress)
    for (const CheckedTable& checked : tables) {
      const auto work = weight(checked);
      total += work.first * (1 + work.second);
    }
  for (const CheckedTable& checked : tables) {
    const std::uint64_t start = done;
    // Plain variables, not a structured binding: the lambdas below capture them.
    const auto work = progress ? weight(checked) : std::pair<std::uint64_t, std::uint64_t>{0, 0};
    const std::uint64_t rows = work.first, indexes = work.second;
    // The rows count as checked before the indexes, which tell as they read the rows again.
    IndexChecker counted = check_index;
    if (progress && check_index)
      counted = [&](const Table& table, const RowsRead& told) {
        done += rows;
        progress(done, total);
        const std::uint64_t before = done;
        auto found = check_index(table, [&](std::uint64_t read) {
          done = before + std::min(read, rows) * indexes;
          progress(done, total);
          if (told) told(read);
        });
        done = before + rows * indexes;
        progress(done, total);
        return found;
      };
    try {
      const Table table(pager, checked.name, read_table_def(pager, checked.page));
      auto found = verify_table(table, counted);
      problems.insert(problems.end(), found.begin(), found.end());
      check_recreatable(pager, catalog, table, problems);
    } catch (const Error& e) {
      problems.push_back("table « " + checked.name + " » : " + e.description());
    }
    if (progress) {
      done = start + rows * (1 + indexes);
      progress(done, total);
    }
  }
  return problems;
}

std::vector<std::string> verify_database(Database& db, const IndexChecker& check_index) {
  return verify_database(db.pager(), db.catalog(), check_index);
}

}  // namespace jet
