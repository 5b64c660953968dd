#include "jet/tools/repair.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>

#include "jet/table/btree_build.h"
#include "jet/btree/btree_write_overlay.h"
#include "jet/btree/btree_write_page.h"
#include "jet/record/data_page.h"
#include "jet/base/error.h"
#include "jet/record/free_page_map.h"
#include "jet/btree/index_stored_key.h"
#include "jet/tools/index_verify.h"
#include "jet/storage/transaction.h"
#include "jet/record/usage_map_write.h"
#include "jet/tools/verify.h"
#include "jet/db/writable_database.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

class Repairer {
 public:
  explicit Repairer(WritableDatabase& db) : db_(db), pager_(db.pager()), store_(db.allocator()) {}

  RepairReport run() {
    Transaction tx(pager_);
    survey();
    for (const CatalogEntry* entry : db_.catalog().tables(true)) repair_table(*entry);
    check_sound();
    if (report_.changed()) tx.commit();
    else tx.rollback();  // a sound file is not written at all
    return report_;
  }

 private:
  [[noreturn]] void refuse(const std::string& detail) { throw_damaged(db_.path(), detail); }

  // One pass over the file: the data pages each table-definition page owns, and the pages
  // the global map marks free.
  void survey() {
    const PageNumber count = pager_.page_count();
    // Access files whose global map this engine cannot read are left to their map: the
    // pages it calls free are then simply not looked at.
    try {
      const auto free_pages = marked_pages(pager_, kGlobalUsageMap, count);
      free_.insert(free_pages.begin(), free_pages.end());
      global_map_known_ = true;
      widen_free_map(count);
    } catch (const Error&) {
    }
    for (PageNumber p = 2; p < count; ++p) {
      const Page page = pager_.read(p);
      const ByteView v = page.view();
      if (v.size() < 8 || v.u8(0) != static_cast<std::uint8_t>(PageKind::Data)) continue;
      owned_by_[v.u32(4)].push_back(p);
    }
  }

  // A free-page map that stops short of the file's end (left by an older writer) is widened;
  // the pages it did not reach are recorded as in use.
  void widen_free_map(PageNumber count) {
    const FreeMapReach reach = free_map_reach(pager_);
    if (reach.first == 0 && reach.end >= count) return;
    cover_file(pager_, count);
    report_.actions.push_back("table des pages libres étendue à toutes les pages du fichier (" + std::to_string(count) +
                              " pages ; elle en couvrait " + std::to_string(reach.end > reach.first ? reach.end - reach.first : 0) + ")");
  }

  TableDef read_def(const CatalogEntry& entry) {
    try {
      return read_table_def(pager_, entry.table_page());
    } catch (const Error& e) {
      refuse("définition de la table « " + entry.name + " » : " + e.description());
    }
  }

  void repair_table(const CatalogEntry& entry) {
    TableDef def = read_def(entry);
    repair_usage(entry.name, def);
    Table table(pager_, entry.name, def);
    std::uint64_t live = 0;
    try {
      live = table.count_rows();
    } catch (const Error& e) {
      refuse("table « " + entry.name + " » : " + e.description());
    }
    // Rows, moved rows and long values: nothing of these can be rebuilt.
    TableDef counted = def;
    counted.row_count = static_cast<std::uint32_t>(live);
    const auto problems = verify_table(Table(pager_, entry.name, counted));
    if (!problems.empty()) refuse(problems.front());
    if (!def.system && live != def.row_count) {
      std::vector<std::uint8_t> bytes = pager_.read(def.page).view().copy();
      for (int i = 0; i < 4; ++i) bytes[disk::kTdefRowCount + i] = static_cast<std::uint8_t>(live >> (8 * i));
      pager_.write(def.page, std::move(bytes));
      report_.actions.push_back("table « " + entry.name + " » : nombre de lignes corrigé (" +
                                std::to_string(def.row_count) + " -> " + std::to_string(live) + ")");
      def.row_count = static_cast<std::uint32_t>(live);
    }
    for (const IndexDef& index : def.indexes) repair_index(Table(pager_, entry.name, def), index);
  }

  // Data pages the table owns but its map forgets, and its pages the global map calls free.
  void repair_usage(const std::string& name, const TableDef& def) {
    std::vector<PageNumber> mapped;
    try {
      mapped = read_usage_map(pager_, RowId::from_pointer(def.owned_pages));
    } catch (const Error& e) {
      refuse("table « " + name + " » : table d'utilisation illisible : " + e.description());
    }
    const std::set<PageNumber> in_map(mapped.begin(), mapped.end());
    for (PageNumber p : owned_by_[def.page]) {
      if (in_map.count(p) || free_.count(p) || !global_map_known_) continue;
      set_usage_bit(pager_, RowId::from_pointer(def.owned_pages), p, true, true,
                    [this](std::vector<std::uint8_t> b) { return db_.allocator().allocate(std::move(b)); });
      report_.actions.push_back("table « " + name + " » : page " + std::to_string(p) +
                                " rendue à la table d'utilisation de la table");
    }
    const Table table(pager_, name, def);
    for (PageNumber p : table.data_pages()) {
      if (!free_.count(p)) continue;
      set_usage_bit(pager_, kGlobalUsageMap, p, false, false);
      free_.erase(p);
      report_.actions.push_back("table « " + name + " » : page " + std::to_string(p) +
                                " marquée utilisée dans la table d'utilisation globale");
    }
  }

  void repair_index(const Table& table, const IndexDef& index) {
    const auto problems = verify_index(table, index);
    if (problems.empty()) return;
    // A row whose key cannot be computed keeps the entry the old tree holds for it, as far
    // as that tree can be read.
    std::optional<std::unordered_map<std::uint32_t, std::vector<std::uint8_t>>> held;
    const auto stored = [&](RowId row) -> std::optional<std::vector<std::uint8_t>> {
      if (!held) {
        try {
          held = stored_keys_by_row(pager_, table.def(), index);
        } catch (const Error&) {
          held.emplace();
        }
      }
      const auto it = held->find(row.pointer());
      if (it == held->end()) return std::nullopt;
      return it->second;
    };
    const std::string which = "table « " + table.name() + " », index " + std::to_string(index.number);
    std::vector<IndexNodeItem> entries;
    try {
      entries = index_entries_of_rows(table, index, stored);
    } catch (const Error& e) {
      // Not a damage of the file: say what it is.
      if (key_not_computable(e)) throw Error(e.number(), which + " : " + e.description());
      refuse(which + " : " + e.description());
    }
    store_.select_index(index);
    // The old tree may be unreadable: give back the pages its usage map holds that are
    // index pages of this table, then start again from an empty root.
    std::vector<PageNumber> old_pages;
    try {
      old_pages = marked_pages(pager_, RowId::from_pointer(index.usage_map), pager_.page_count());
    } catch (const Error& e) {
      refuse("table « " + table.name() + " », index " + std::to_string(index.number) +
             " : table d'utilisation illisible : " + e.description());
    }
    for (PageNumber p : old_pages) {
      if (p == index.root_page) continue;
      const ByteView v = pager_.read(p).view();
      const std::uint8_t kind = v.u8(0);
      const bool index_page = kind == static_cast<std::uint8_t>(PageKind::IndexLeaf) ||
                              kind == static_cast<std::uint8_t>(PageKind::IndexIntermediate);
      if (index_page && v.u32(4) == table.def().page) store_.free_page(p);
    }
    IndexNode root;
    root.number = index.root_page;
    root.leaf = true;
    root.owner = table.def().page;
    auto empty = encode_index_node(root, pager_.page_size());
    if (!empty) refuse("index " + std::to_string(index.number) + " : racine impossible à écrire");
    store_.write_page(index.root_page, std::move(*empty));
    build_index_tree(store_, table.def().page, index.root_page, entries);
    report_.actions.push_back("table « " + table.name() + " », index " + std::to_string(index.number) +
                              " reconstruit (" + problems.front() + ")");
  }

  // Everything must check sound before the changes are written.
  void check_sound() {
    for (const CatalogEntry* entry : db_.catalog().tables(true)) {
      const Table table(pager_, entry->name, read_def(*entry));
      const auto problems = verify_table(table, verify_index);
      if (!problems.empty()) refuse(problems.front());
    }
  }

  WritableDatabase& db_;
  OverlayPager& pager_;
  OverlayIndexPageStore store_;
  RepairReport report_;
  std::map<std::uint32_t, std::vector<PageNumber>> owned_by_;
  std::set<PageNumber> free_;
  bool global_map_known_ = false;
};

}  // namespace

RepairReport repair(const std::string& path) {
  auto db = WritableDatabase::open(path);
  return Repairer(*db).run();
}

}  // namespace jet
