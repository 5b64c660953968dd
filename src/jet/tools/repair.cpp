#include "jet/tools/repair.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>

#include "jet/table/btree_build.h"
#include "jet/table/index_entry_sort.h"
#include "jet/btree/btree_write_overlay.h"
#include "jet/btree/btree_write_page.h"
#include "jet/record/data_page.h"
#include "jet/base/bytes.h"
#include "jet/base/error.h"
#include "jet/record/free_page_map.h"
#include "jet/btree/index_stored_key.h"
#include "jet/tools/index_verify.h"
#include "jet/storage/transaction.h"
#include "jet/record/tdef_encode.h"
#include "jet/record/usage_map_write.h"
#include "jet/tools/long_value_chains.h"
#include "jet/tools/repair_pages.h"
#include "jet/tools/verify.h"
#include "jet/tools/verify_catalog.h"
#include "jet/tools/verify_pages.h"
#include "jet/db/create_table.h"
#include "jet/db/writable_database.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

class Repairer {
 public:
  Repairer(WritableDatabase& db, const VerifyProgress& progress)
      : db_(db), pager_(db.pager()), store_(db.allocator()), maps_(db.pager(), db.allocator()), progress_(progress) {}

  RepairReport run() {
    // A file the whole check finds sound has nothing to repair: one check, nothing written.
    if (sound()) return report_;
    Transaction tx(pager_);
    const std::vector<CheckedTable> tables = tables_to_check(db_.catalog());
    survey(tables);
    for (const CheckedTable& table : tables) repair_table(table);
    // Pages the work above took from the free ones may have been unreadable ones: look again.
    unreadable_ = repair_detail::unreadable_data_pages(pager_);
    free_unreadable_pages();
    repair_detail::correct_free_space(pager_, unreadable_, report_.actions);
    for (const CheckedTable& table : tables) mark_used(table);
    check_sound();
    if (report_.changed()) tx.commit();
    else tx.rollback();  // a sound file is not written at all
    return report_;
  }

 private:
  [[noreturn]] void refuse(const std::string& detail) { throw_damaged(db_.path(), detail); }

  // One pass over the file: the data pages each table-definition page owns, the pages the
  // global map marks free, and the usage-map rows the definitions name.
  void survey(const std::vector<CheckedTable>& tables) {
    for (const CheckedTable& table : tables) {
      try {
        const TableDef def = read_table_def(pager_, table.page);
        std::vector<std::uint32_t> maps{def.owned_pages, def.free_pages};
        for (const IndexDef& index : def.indexes) maps.push_back(index.usage_map);
        for (const LongValueMaps& lv : def.long_value_maps) maps.insert(maps.end(), {lv.owned_pages, lv.free_pages});
        for (std::uint32_t map : maps)
          if (map != 0) ++map_uses_[map];
      } catch (const Error&) {
      }
    }
    const PageNumber count = pager_.page_count();
    // Access files whose global map this engine cannot read are left to their map: the
    // pages it calls free are then simply not looked at.
    try {
      const auto free_pages = marked_pages(pager_, kGlobalUsageMap, count);
      widen_free_map(count);
      free_.insert(free_pages.begin(), free_pages.end());
      global_map_known_ = true;
    } catch (const Error&) {
    }
    // Data pages no writer can work on are left out: no table gets them back.
    unreadable_ = repair_detail::unreadable_data_pages(pager_);
    for (PageNumber p = 2; p < count; ++p) {
      const Page page = pager_.read(p);
      const ByteView v = page.view();
      if (v.size() < 8 || v.u8(0) != static_cast<std::uint8_t>(PageKind::Data) || unreadable_.count(p)) continue;
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

  TableDef read_def(const CheckedTable& entry) {
    try {
      return read_table_def(pager_, entry.page);
    } catch (const Error& e) {
      refuse("définition de la table « " + entry.name + " » : " + e.description());
    }
  }

  void repair_table(const CheckedTable& entry) {
    TableDef def = read_def(entry);
    remake_maps(entry.name, def);
    drop_strays(entry.name, def);
    repair_usage(entry.name, def);
    Table table(pager_, entry.name, def);
    std::uint64_t live = 0;
    try {
      live = table.count_rows();
    } catch (const Error& e) {
      refuse("table « " + entry.name + " » : " + e.description());
    }
    end_open_chains(entry.name, def);
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
    for (IndexDef& index : def.indexes) {
      if (const auto root = repair_index(Table(pager_, entry.name, def), index)) {
        index.root_page = *root;
        write_table_def(pager_, db_.allocator(), def);
      }
    }
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
  }

  // Long-value chains whose last row still names a next one end there: the value is read up
  // to its declared length, and nothing of it changes.
  void end_open_chains(const std::string& name, const TableDef& def) {
    for (const OpenChain& open : open_chains(Table(pager_, name, def))) {
      const Page page = pager_.read(open.last.page);
      const RowSpan span = row_span(page, open.last.row);
      std::vector<std::uint8_t> bytes = page.view().copy();
      store_le32(bytes, span.offset, 0);
      pager_.write(open.last.page, std::move(bytes));
      report_.actions.push_back("table « " + name + " », page " + std::to_string(open.row.page) + ", ligne " +
                                std::to_string(open.row.row) + " : chaîne de la valeur longue de la colonne « " +
                                open.column + " » terminée à la page " + std::to_string(open.last.page) + " ligne " +
                                std::to_string(open.last.row));
    }
  }

  // Why the usage map at `pointer` cannot serve as one (its row is not a usage map, or it
  // serves another map too); nullopt when it can. Pages it names past the end of the file
  // are not its row's fault.
  std::optional<std::string> unusable_map(std::uint32_t pointer) {
    if (map_uses_[pointer] > 1) return "partagée avec une autre table d'utilisation";
    try {
      const RowId where = RowId::from_pointer(pointer);
      if (DataPage(pager_.read(where.page)).deleted(where.row)) return "ligne supprimée";
      (void)marked_pages(pager_, where, ~PageNumber{0});
    } catch (const Error& e) {
      return e.description();
    }
    return std::nullopt;
  }

  std::uint32_t new_map(const std::vector<PageNumber>& pages) {
    const std::uint32_t pointer = maps_.add_map();
    for (PageNumber p : pages)
      set_usage_bit(pager_, RowId::from_pointer(pointer), p, true, true,
                    [this](std::vector<std::uint8_t> b) { return db_.allocator().allocate(std::move(b)); });
    return pointer;
  }

  // A table's own maps that cannot serve are made anew: its pages from the data pages that
  // name the table as owner, its free-space map empty (pages with room are found again as
  // rows are written). Long-value maps that cannot serve are dropped from the definition,
  // which Access allows (0: none listed). Index maps are not remade: the file is refused.
  void remake_maps(const std::string& name, TableDef& def) {
    const std::string who = "table « " + name + " »";
    bool changed = false;
    if (const auto why = unusable_map(def.owned_pages)) {
      std::vector<PageNumber> pages;
      for (PageNumber p : owned_by_[def.page])
        if (!global_map_known_ || !free_.count(p)) pages.push_back(p);
      def.owned_pages = new_map(pages);
      report_.actions.push_back(who + " : table d'utilisation refaite avec les " + std::to_string(pages.size()) +
                                " pages de données qui désignent la table (" + *why + ")");
      changed = true;
    }
    if (const auto why = unusable_map(def.free_pages)) {
      def.free_pages = new_map({});
      report_.actions.push_back(who + " : table d'espace libre refaite, vide (" + *why + ")");
      changed = true;
    }
    for (LongValueMaps& lv : def.long_value_maps) {
      for (std::uint32_t* map : {&lv.owned_pages, &lv.free_pages}) {
        if (*map == 0) continue;
        if (const auto why = unusable_map(*map)) {
          *map = 0;
          report_.actions.push_back(who + " : table d'utilisation des valeurs longues de la colonne " +
                                    std::to_string(lv.column_number) + " retirée de la définition (" + *why + ")");
          changed = true;
        }
      }
    }
    if (changed) write_table_def(pager_, db_.allocator(), def);
  }

  // Pages a table's maps name that are not of the kind the map holds: pages the table let
  // go of, or another table's. Maps that cannot be read are left to the checks that refuse.
  void drop_strays(const std::string& name, const TableDef& def) {
    const std::string who = "table « " + name + " »";
    const auto kind_of = [this](PageNumber p) { return pager_.read(p).view().u8(0); };
    const auto owner_of = [this](PageNumber p) { return pager_.read(p).view().u32(disk::kPageOwner); };
    const auto own_data = [&](PageNumber p) {
      return kind_of(p) == static_cast<std::uint8_t>(PageKind::Data) && owner_of(p) == def.page;
    };
    // Pages past the end of the file stay in the table's own map: they held its rows, and
    // the file is refused for having lost them.
    drop(who + " : page ", " retirée de sa table d'utilisation", RowId::from_pointer(def.owned_pages), own_data, false);
    drop(who + " : page ", " retirée de sa table d'espace libre", RowId::from_pointer(def.free_pages),
         [&](PageNumber p) { return own_data(p) && !unreadable_.count(p); });
    for (const IndexDef& index : def.indexes)
      drop(who + ", index " + std::to_string(index.number) + " : page ", " retirée de sa table d'utilisation",
           RowId::from_pointer(index.usage_map), [&](PageNumber p) {
             const std::uint8_t kind = kind_of(p);
             return (kind == static_cast<std::uint8_t>(PageKind::IndexLeaf) ||
                     kind == static_cast<std::uint8_t>(PageKind::IndexIntermediate)) &&
                    owner_of(p) == def.page;
           });
    for (const LongValueMaps& maps : def.long_value_maps)
      for (std::uint32_t map : {maps.owned_pages, maps.free_pages})
        if (map != 0)
          drop(who + " : page ", " retirée d'une table d'utilisation des valeurs longues", RowId::from_pointer(map),
               [&](PageNumber p) {
                 return kind_of(p) == static_cast<std::uint8_t>(PageKind::Data) && owner_of(p) == disk::kLongValueOwner &&
                        !unreadable_.count(p);
               });
  }

  void drop(const std::string& before, const std::string& after, RowId map, const std::function<bool(PageNumber)>& fits,
            bool past_end = true) {
    try {
      for (PageNumber p : repair_detail::drop_from_map(pager_, map, fits, past_end))
        report_.actions.push_back(before + std::to_string(p) + after);
    } catch (const Error&) {
    }
  }

  // Data pages no writer can work on that hold only rows no table reads (rows of a dropped
  // table, or of a table whose map forgot them): emptied and given back. Long-value pages
  // and pages holding usage maps stay: rows elsewhere may lead to them, and the final check
  // refuses the file when they do.
  void free_unreadable_pages() {
    for (PageNumber p : unreadable_) {
      const std::uint32_t owner = pager_.read(p).view().u32(disk::kPageOwner);
      if (owner == 0 || owner == disk::kLongValueOwner) continue;
      pager_.write(p, std::vector<std::uint8_t>(pager_.page_size(), 0));
      if (global_map_known_) set_usage_bit(pager_, kGlobalUsageMap, p, true, false);
      report_.actions.push_back("page " + std::to_string(p) + " : page de données illisible vidée et libérée");
    }
    db_.allocator().rescan_holes();
  }

  // The pages a table holds, marked used in the global map when it calls them free.
  void mark_used(const CheckedTable& entry) {
    if (!global_map_known_) return;
    try {
      const TableDef def = read_table_def(pager_, entry.page);
      std::vector<PageNumber> held{def.page};
      const auto add = [&](const std::vector<PageNumber>& pages) { held.insert(held.end(), pages.begin(), pages.end()); };
      add(definition_pages(pager_, def.page));
      add(Table(pager_, entry.name, def).data_pages());
      std::vector<RowId> maps{RowId::from_pointer(def.owned_pages), RowId::from_pointer(def.free_pages)};
      for (const IndexDef& index : def.indexes) {
        maps.push_back(RowId::from_pointer(index.usage_map));
        add(read_usage_map(pager_, RowId::from_pointer(index.usage_map)));
      }
      for (const LongValueMaps& lv : def.long_value_maps)
        for (std::uint32_t map : {lv.owned_pages, lv.free_pages})
          if (map != 0) maps.push_back(RowId::from_pointer(map));
      for (RowId map : maps) add(bitmap_pages(pager_, map));
      const auto free_now = marked_pages(pager_, kGlobalUsageMap, pager_.page_count());
      const std::set<PageNumber> free_pages(free_now.begin(), free_now.end());
      for (PageNumber p : std::set<PageNumber>(held.begin(), held.end())) {
        if (!free_pages.count(p)) continue;
        set_usage_bit(pager_, kGlobalUsageMap, p, false, false);
        report_.actions.push_back("table « " + entry.name + " » : page " + std::to_string(p) +
                                  " marquée utilisée dans la table d'utilisation globale");
      }
    } catch (const Error&) {
      // What cannot be read here is reported by the final check, which refuses.
    }
  }

  // Rebuilds the index from the rows when it disagrees with them. Returns the new root page
  // when the recorded one is not this index's to write (a page of another kind, table or
  // index, or past the end of the file): the tree then starts on a fresh page.
  std::optional<PageNumber> repair_index(const Table& table, const IndexDef& index) {
    const bool root_taken = !roots_.insert(index.root_page).second;
    const auto problems = verify_index(table, index);
    if (problems.empty()) return std::nullopt;
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
    IndexEntrySort entries(pager_.services(), {}, kIndexBuildSortBytes);
    try {
      gather_entries_of_rows(table, index, entries, stored);
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
    const auto own_index_page = [&](PageNumber p) {
      const ByteView v = pager_.read(p).view();
      const std::uint8_t kind = v.u8(0);
      return (kind == static_cast<std::uint8_t>(PageKind::IndexLeaf) ||
              kind == static_cast<std::uint8_t>(PageKind::IndexIntermediate)) &&
             v.u32(4) == table.def().page;
    };
    const bool root_ours = !root_taken && index.root_page < pager_.page_count() && own_index_page(index.root_page) &&
                           std::find(old_pages.begin(), old_pages.end(), index.root_page) != old_pages.end();
    for (PageNumber p : old_pages)
      if (p != index.root_page && own_index_page(p)) store_.free_page(p);
    const PageNumber root_page = root_ours ? index.root_page : store_.allocate_page();
    IndexNode root;
    root.number = root_page;
    root.leaf = true;
    root.owner = table.def().page;
    auto empty = encode_index_node(root, pager_.page_size());
    if (!empty) refuse("index " + std::to_string(index.number) + " : racine impossible à écrire");
    store_.write_page(root_page, std::move(*empty));
    build_index_tree_from(store_, table.def().page, root_page, entries.sorted());
    report_.actions.push_back(which + " reconstruit (" + problems.front() + ")" +
                              (root_ours ? "" : ", sa racine passe de la page " + std::to_string(index.root_page) +
                                                    " à la page " + std::to_string(root_page)));
    if (root_ours) return std::nullopt;
    roots_.insert(root_page);
    return root_page;
  }

  // The whole-database check, as `jet verify` makes it, must find nothing before the
  // changes are written.
  bool sound() {
    try {
      const Catalog catalog(pager_);
      return verify_database(pager_, catalog, verify_indexes, progress_).empty();
    } catch (const Error&) {
      return false;
    }
  }

  void check_sound() {
    std::vector<std::string> problems;
    try {
      const Catalog catalog(pager_);
      problems = verify_database(pager_, catalog, verify_indexes);
    } catch (const Error& e) {
      refuse("catalogue : " + e.description());
    }
    if (!problems.empty()) refuse(problems.front());
  }

  WritableDatabase& db_;
  OverlayPager& pager_;
  OverlayIndexPageStore store_;
  UsageMapPages maps_;  // rows for the usage maps made anew
  const VerifyProgress& progress_;
  RepairReport report_;
  std::map<std::uint32_t, std::vector<PageNumber>> owned_by_;
  std::set<PageNumber> free_;
  std::set<PageNumber> unreadable_;
  std::map<std::uint32_t, int> map_uses_;  // usage-map row -> maps the definitions give it
  std::set<PageNumber> roots_;  // index roots met so far: a root two indexes name is the first one's
  bool global_map_known_ = false;
};

}  // namespace

RepairReport repair(const std::string& path, const VerifyProgress& progress) {
  auto db = WritableDatabase::open(path);
  return Repairer(*db, progress).run();
}

}  // namespace jet
