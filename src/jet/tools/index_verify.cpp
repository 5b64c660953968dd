#include "jet/tools/index_verify.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>

#include "jet/base/error.h"
#include "jet/btree/index_key.h"
#include "jet/btree/index_page.h"
#include "jet/btree/index_row_key.h"
#include "jet/btree/index_stored_key.h"
#include "jet/storage/format.h"

namespace jet {
namespace {
constexpr std::size_t kMaxProblems = 200;  // a wrecked index would otherwise flood the report

std::string row_text(RowId r) {
  return std::to_string(r.page) + ":" + std::to_string(r.row);
}

std::string where(PageNumber page, std::size_t entry) {
  return "page " + std::to_string(page) + ", entrée " + std::to_string(entry);
}

// The leaf entries of an index in tree order, their keys one after the other in one buffer:
// an index of millions of entries is checked in a few tens of bytes per entry.
class LeafEntries {
 public:
  struct Entry {
    std::uint32_t key_at;
    std::uint16_t key_size;
    std::uint16_t index;  // position in its page
    PageNumber page;
    RowId row;
  };
  void add(std::span<const std::uint8_t> key, RowId row, PageNumber page, std::size_t index) {
    list_.push_back({static_cast<std::uint32_t>(keys_.size()), static_cast<std::uint16_t>(key.size()),
                     static_cast<std::uint16_t>(index), page, row});
    keys_.insert(keys_.end(), key.begin(), key.end());
  }
  std::size_t size() const noexcept { return list_.size(); }
  bool empty() const noexcept { return list_.empty(); }
  const Entry& operator[](std::size_t i) const { return list_[i]; }
  std::span<const std::uint8_t> key(std::size_t i) const { return {keys_.data() + list_[i].key_at, list_[i].key_size}; }

 private:
  std::vector<std::uint8_t> keys_;
  std::vector<Entry> list_;
};

// Entries by the row they designate: (row pointer, entry number), in order of both.
using ByRow = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

class Checker {
 public:
  Checker(const Table& table, const IndexDef& index)
      : table_(table), index_(index), pager_(table.pager()) {}

  std::vector<std::string> run() {
    try {
      columns_ = key_columns(table_.def(), index_);
    } catch (const Error& e) {
      report(std::string("définition d'index inutilisable : ") + e.what());
      return problems_;
    }
    walk(index_.root_page, 0, std::nullopt);
    check_links();
    check_rows();
    return problems_;
  }

 private:
  void report(std::string s) {
    if (problems_.size() < kMaxProblems) problems_.push_back(std::move(s));
  }

  // Visits the subtree of `number`; returns its last entry (key and row) when it has one.
  std::optional<std::pair<std::vector<std::uint8_t>, RowId>> walk(
      PageNumber number, std::size_t depth, std::optional<PageNumber> parent) {
    const std::string from = parent ? " (enfant de la page " + std::to_string(*parent) + ")" : "";
    if (number == 0 || number >= pager_.page_count()) {
      report("page " + std::to_string(number) + from + " : hors du fichier");
      incomplete_ = true;
      return std::nullopt;
    }
    if (!seen_.insert(number).second) {
      report("page " + std::to_string(number) + from + " : atteinte deux fois dans l'arbre");
      incomplete_ = true;
      return std::nullopt;
    }
    if (depth >= disk::kMaxIndexDepth) {
      report("page " + std::to_string(number) + " : arbre trop profond");
      incomplete_ = true;
      return std::nullopt;
    }
    IndexPage page;
    try {
      page = read_index_page(pager_, number);
    } catch (const Error& e) {
      report("page " + std::to_string(number) + from + " illisible : " + e.what());
      incomplete_ = true;
      return std::nullopt;
    }
    if (page.owner != table_.def().page) {
      report("page " + std::to_string(number) + " : appartient à la table de la page " +
             std::to_string(page.owner) + ", pas " + std::to_string(table_.def().page));
    }
    const std::size_t room = pager_.page_size() - pager_.layout().index_entries;
    if (page.free_space != room - page.used_bytes) {
      report("page " + std::to_string(number) + " : espace libre annoncé " +
             std::to_string(page.free_space) + " octets, " + std::to_string(room - page.used_bytes) +
             " en réalité");
    }
    if (levels_.size() <= depth) levels_.resize(depth + 1);
    levels_[depth].push_back({page.number, page.prev, page.next});

    std::optional<std::pair<std::vector<std::uint8_t>, RowId>> last;
    if (page.leaf) {
      if (!leaf_depth_) leaf_depth_ = depth;
      if (*leaf_depth_ != depth) {
        report("page " + std::to_string(number) + " : feuille à la profondeur " +
               std::to_string(depth) + " au lieu de " + std::to_string(*leaf_depth_));
      }
      for (std::size_t i = 0; i < page.entries.size(); ++i) {
        const IndexEntry& e = page.entries[i];
        check_key_decodes(e, number, i);
        const std::size_t n = entries_.size();
        if (n > 0 && compare_entries(entries_.key(n - 1), entries_[n - 1].row, e.key, e.row) >= 0) {
          report(where(number, i) + " (ligne " + row_text(e.row) +
                 ") : hors d'ordre après l'entrée de la ligne " + row_text(entries_[n - 1].row));
        }
        entries_.add(e.key, e.row, number, i);
        last = std::make_pair(e.key, e.row);
      }
      return last;
    }

    const auto children = page.children();
    if (children.empty()) report("page " + std::to_string(number) + " : page intermédiaire vide");
    for (std::size_t i = 0; i < children.size(); ++i) {
      auto child_last = walk(children[i], depth + 1, number);
      if (i < page.entries.size()) {
        const IndexEntry& e = page.entries[i];
        check_key_decodes(e, number, i);
        if (!child_last || compare_entries(child_last->first, child_last->second, e.key, e.row) != 0) {
          report(where(number, i) + " : ne reprend pas la dernière entrée de la page enfant " +
                 std::to_string(e.child));
        }
        last = std::make_pair(e.key, e.row);
      } else if (child_last) {
        last = child_last;
      }
    }
    return last;
  }

  void check_key_decodes(const IndexEntry& e, PageNumber page, std::size_t i) {
    try {
      KeyReader r(e.key);
      for (const auto& c : columns_) r.next(c);
      if (!r.at_end()) throw Error(ErrorCode::DatabaseDamaged, "octets en trop");
    } catch (const Error& ex) {
      report(where(page, i) + " : clé illisible [" + key_to_hex(e.key) + "] (" + ex.what() + ")");
    }
  }

  // Previous/next links must chain the pages of each level in tree order.
  void check_links() {
    for (const auto& level : levels_) {
      for (std::size_t i = 0; i < level.size(); ++i) {
        const PageNumber want_prev = i > 0 ? level[i - 1].number : 0;
        const PageNumber want_next = i + 1 < level.size() ? level[i + 1].number : 0;
        if (level[i].prev != want_prev) {
          report("page " + std::to_string(level[i].number) + " : page précédente " +
                 std::to_string(level[i].prev) + " au lieu de " + std::to_string(want_prev));
        }
        if (level[i].next != want_next) {
          report("page " + std::to_string(level[i].number) + " : page suivante " +
                 std::to_string(level[i].next) + " au lieu de " + std::to_string(want_next));
        }
      }
    }
  }

  bool has_null_column(std::span<const std::uint8_t> key) const {
    try {
      KeyReader r(key);
      for (const auto& c : columns_) {
        if (r.next(c).is_null) return true;
      }
    } catch (const Error&) {
    }
    return false;
  }

  void check_rows() {
    ByRow by_row;
    by_row.reserve(entries_.size());
    for (std::size_t i = 0; i < entries_.size(); ++i)
      by_row.emplace_back(entries_[i].row.pointer(), static_cast<std::uint32_t>(i));
    std::sort(by_row.begin(), by_row.end());
    // A row listed twice: each later entry (in tree order) is reported.
    std::vector<std::uint32_t> again;
    for (std::size_t i = 1; i < by_row.size(); ++i)
      if (by_row[i].first == by_row[i - 1].first) again.push_back(by_row[i].second);
    std::sort(again.begin(), again.end());
    for (const std::uint32_t i : again)
      report(where(entries_[i].page, entries_[i].index) + " : deuxième entrée pour la ligne " +
             row_text(entries_[i].row));
    by_row.erase(std::unique(by_row.begin(), by_row.end(),
                             [](const auto& a, const auto& b) { return a.first == b.first; }),
                 by_row.end());
    if (index_.unique()) {
      for (std::size_t i = 1; i < entries_.size(); ++i) {
        if (compare_keys(entries_.key(i - 1), entries_.key(i)) == 0 && !has_null_column(entries_.key(i))) {
          report(where(entries_[i].page, entries_[i].index) + " : clé en double dans un index unique (lignes " +
                 row_text(entries_[i - 1].row) + " et " + row_text(entries_[i].row) + ")");
        }
      }
    }
    std::vector<std::uint32_t> live;
    try {
      // Only the index's columns are decoded: the rest of each row is not needed here.
      ColumnSelection wanted(table_.def().columns.size(), false);
      for (const auto& ic : index_.columns) {
        if (const ColumnDef* c = table_.def().column_by_number(ic.column_number)) wanted[c->definition_order] = true;
      }
      table_.scan(wanted, [&](RowId id, const Row& row) {
        live.push_back(id.pointer());
        check_row(id, row, by_row);
        return problems_.size() < kMaxProblems;
      });
    } catch (const Error& e) {
      report(std::string("lecture des lignes de la table interrompue : ") + e.what());
      return;
    }
    if (unlisted_rows_ > 0) {
      report(std::to_string(unlisted_rows_) +
             " ligne(s) sans entrée dans la partie lisible de l'index");
    }
    if (!std::is_sorted(live.begin(), live.end())) std::sort(live.begin(), live.end());
    for (const auto& [pointer, i] : by_row) {
      if (!std::binary_search(live.begin(), live.end(), pointer)) {
        report(where(entries_[i].page, entries_[i].index) + " : désigne la ligne " + row_text(entries_[i].row) +
               ", absente ou supprimée");
      }
    }
  }

  void check_row(RowId id, const Row& row, const ByRow& by_row) {
    const auto it = std::lower_bound(by_row.begin(), by_row.end(), std::make_pair(id.pointer(), std::uint32_t{0}));
    const LeafEntries::Entry* e = it == by_row.end() || it->first != id.pointer() ? nullptr : &entries_[it->second];
    const std::optional<std::size_t> at =
        e ? std::optional<std::size_t>(it->second) : std::nullopt;
    if (row_left_out_of_index(table_.def(), index_, row)) {
      if (e) report(where(e->page, e->index) + " : la ligne " + row_text(id) +
                    " n'a que des valeurs Null et devrait être ignorée par l'index");
      return;
    }
    if (!e) {
      // Behind an unreadable part of the tree, missing entries are expected: count them.
      if (incomplete_) {
        ++unlisted_rows_;
      } else {
        report("ligne " + row_text(id) + " : aucune entrée dans l'index");
      }
      return;
    }
    // Keys this engine cannot compute (Jet 3 text) are checked by their order and rows only.
    if (!index_keys_known(table_.def(), index_)) return;
    std::vector<std::uint8_t> want;
    try {
      want = index_key_for_row(table_.def(), index_, row);
    } catch (const Error& ex) {
      // A character without a known code: the stored entry stands (it decodes and is in
      // order), its bytes cannot be checked.
      if (key_not_computable(ex)) return;
      report(where(e->page, e->index) + " : clé de la ligne " + row_text(id) +
             " impossible à calculer (" + ex.what() + ")");
      return;
    }
    const auto stored = entries_.key(*at);
    if (!std::equal(want.begin(), want.end(), stored.begin(), stored.end())) {
      report(where(e->page, e->index) + " : clé [" + key_to_hex(stored) + "] au lieu de [" +
             key_to_hex(want) + "] pour la ligne " + row_text(id));
    }
  }

  const Table& table_;
  const IndexDef& index_;
  Pager& pager_;
  std::vector<KeyColumn> columns_;
  std::vector<std::string> problems_;
  std::set<PageNumber> seen_;
  // The pages of each level in tree order, with their links (entries are not kept).
  struct Linked {
    PageNumber number, prev, next;
  };
  std::vector<std::vector<Linked>> levels_;
  std::optional<std::size_t> leaf_depth_;
  LeafEntries entries_;
  bool incomplete_ = false;        // some part of the tree could not be read
  std::size_t unlisted_rows_ = 0;  // rows without entry when incomplete_
};

}  // namespace

std::vector<std::string> verify_index(const Table& table, const IndexDef& index) {
  return Checker(table, index).run();
}

}  // namespace jet
