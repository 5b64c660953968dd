#include "jet/tools/index_verify.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "jet/base/error.h"
#include "jet/btree/index_key.h"
#include "jet/btree/index_page.h"
#include "jet/btree/index_row_key.h"
#include "jet/record/data_page.h"
#include "jet/record/row.h"
#include "jet/storage/format.h"
#include "jet/tools/index_level_links.h"
#include "jet/tools/index_row_match.h"

namespace jet {
namespace {
constexpr std::size_t kMaxProblems = 200;  // a wrecked index would otherwise flood the report

std::string row_text(RowId r) { return index_row_text(r); }
std::string where(PageNumber page, std::size_t entry) { return index_entry_where(page, entry); }

class Checker {
 public:
  Checker(const Table& table, const IndexDef& index, const IndexVerifyOptions& options)
      : table_(table), index_(index), pager_(table.pager()), options_(options),
        seen_(pager_.page_count(), false) {}

  std::vector<std::string> run() {
    if (walk_tree()) {
      match_->finish(kMaxProblems - problems_.size(), incomplete_, [this](std::string s) { report(std::move(s)); });
    }
    return problems_;
  }

  // Checks the tree and gathers its leaf entries; true when the rows are still to be met
  // with them (through match(): begin_rows, its rows, end_rows).
  bool walk_tree() {
    try {
      columns_ = key_columns(table_.def(), index_);
    } catch (const Error& e) {
      report(std::string("définition d'index inutilisable : ") + e.what());
      return false;
    }
    const os::Services& services = options_.services ? *options_.services : os::system_services();
    match_ = std::make_unique<IndexRowMatch>(table_, index_, columns_, services, options_.sort_budget, kMaxProblems);
    walk(index_.root_page, 0, std::nullopt);
    links_.finish([this](std::string s) { report(std::move(s)); });
    // Rows are read only while findings are still wanted.
    return problems_.size() < kMaxProblems;
  }
  IndexRowMatch& match() { return *match_; }
  void begin_rows() { match_->begin(kMaxProblems - problems_.size(), incomplete_); }
  std::vector<std::string> end_rows() {
    match_->end([this](std::string s) { report(std::move(s)); });
    return problems_;
  }
  std::vector<std::string>& problems() { return problems_; }

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
    if (seen_[number]) {
      report("page " + std::to_string(number) + from + " : atteinte deux fois dans l'arbre");
      incomplete_ = true;
      return std::nullopt;
    }
    seen_[number] = true;
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
    links_.visit(depth, page.number, page.prev, page.next);

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
        // The entry before, in tree order: on this page, or the last of the leaf before.
        const IndexEntry* before = i > 0 ? &page.entries[i - 1] : nullptr;
        const bool has_before = before || last_leaf_entry_;
        const auto& before_key = before ? before->key : last_leaf_entry_->first;
        const RowId before_row = before ? before->row : last_leaf_entry_->second;
        if (has_before && compare_entries(before_key, before_row, e.key, e.row) >= 0) {
          report(where(number, i) + " (ligne " + row_text(e.row) +
                 ") : hors d'ordre après l'entrée de la ligne " + row_text(before_row));
        }
        match_->add(e.key, e.row, number, i);
      }
      if (!page.entries.empty()) {
        last = std::make_pair(page.entries.back().key, page.entries.back().row);
        last_leaf_entry_ = last;
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

  const Table& table_;
  const IndexDef& index_;
  Pager& pager_;
  const IndexVerifyOptions& options_;
  std::vector<KeyColumn> columns_;
  std::vector<std::string> problems_;
  std::vector<bool> seen_;  // a bit per page of the file
  IndexLevelLinks links_{kMaxProblems};
  std::optional<std::size_t> leaf_depth_;
  std::optional<std::pair<std::vector<std::uint8_t>, RowId>> last_leaf_entry_;
  std::unique_ptr<IndexRowMatch> match_;  // where the leaf entries go, in tree order
  bool incomplete_ = false;  // some part of the tree could not be read
};

}  // namespace

std::vector<std::string> verify_index_with(const Table& table, const IndexDef& index,
                                           const IndexVerifyOptions& options) {
  return Checker(table, index, options).run();
}

std::vector<std::vector<std::string>> verify_indexes_with(const Table& table, const IndexVerifyOptions& options,
                                                         const std::function<void(std::uint64_t)>& rows_read) {
  const std::vector<IndexDef>& indexes = table.def().indexes;
  std::vector<std::vector<std::string>> found(indexes.size());
  // The sorts by row run side by side: they share the budget.
  IndexVerifyOptions each = options;
  each.sort_budget = std::max<std::size_t>(options.sort_budget / std::max<std::size_t>(indexes.size(), 1), 256 << 10);
  std::vector<std::unique_ptr<Checker>> checkers;
  std::vector<std::size_t> reading;  // the checkers still meeting their entries with the rows
  // An index whose check fails outright reports only why, as when checked alone.
  const auto failed = [&](std::size_t i, const Error& e) {
    found[i] = {e.description()};
    checkers[i].reset();
    reading.erase(std::remove(reading.begin(), reading.end(), i), reading.end());
  };
  for (std::size_t i = 0; i < indexes.size(); ++i) {
    checkers.push_back(std::make_unique<Checker>(table, indexes[i], each));
    try {
      if (checkers[i]->walk_tree()) {
        checkers[i]->begin_rows();
        reading.push_back(i);
      } else {
        found[i] = std::move(checkers[i]->problems());
        checkers[i].reset();
      }
    } catch (const Error& e) {
      failed(i, e);
    }
  }
  // One reading of the rows for every index, the columns of all of them decoded at once.
  std::vector<ColumnSelection> wanted(indexes.size());
  std::vector<Row> rows(indexes.size());
  ColumnSelection all_wanted(table.def().columns.size(), false);
  Row all_rows;
  for (std::size_t i : reading) {
    wanted[i] = checkers[i]->match().wanted();
    for (std::size_t c = 0; c < all_wanted.size(); ++c) all_wanted[c] = all_wanted[c] || wanted[i][c];
  }
  const auto interrupt_all = [&](const Error& e) {
    for (std::size_t i : reading) checkers[i]->match().interrupt(e.what());
  };
  const auto wanting = [&] {
    return std::any_of(reading.begin(), reading.end(), [&](std::size_t i) { return checkers[i]->match().wants_rows(); });
  };
  Pager& pager = table.pager();
  std::uint64_t read = 0;
  try {
    for (const PageNumber number : table.pages_to_read()) {
      if (!wanting()) break;
      const Page held = pager.read(number);
      if (!table.owns(held)) continue;
      const DataPage page(held);
      for (std::uint16_t r = 0; r < page.row_count() && wanting(); ++r) {
        if (page.deleted(r)) continue;
        const RowId id{number, static_cast<std::uint8_t>(r)};
        Page moved;
        std::optional<ByteView> bytes;
        if (page.overflow(r)) {
          // A moved row is read through its slot; its new place is flagged deleted.
          bytes = locate_row(pager, id, table.def().page, &moved);
          if (!bytes) held.view().damaged("ligne déplacée introuvable (ligne " + std::to_string(r) + ")");
        } else {
          bytes = page.row_bytes(r);
        }
        // The columns of every index at once; a row that does not decode whole is decoded
        // again for each index, which stops only when its own columns fail.
        bool whole = true;
        try {
          decode_row_into(pager, table.def(), *bytes, all_rows, all_wanted);
        } catch (const Error&) {
          whole = false;
        }
        for (std::size_t i : reading) {
          IndexRowMatch& match = checkers[i]->match();
          if (!match.wants_rows()) continue;
          if (!whole) {
            try {
              decode_row_into(pager, table.def(), *bytes, rows[i], wanted[i]);
            } catch (const Error& e) {
              match.interrupt(e.what());
              continue;
            }
          }
          match.take_row(id, whole ? all_rows : rows[i]);
        }
        ++read;
      }
      if (rows_read) rows_read(read);
    }
  } catch (const Error& e) {
    interrupt_all(e);
  }
  for (std::size_t i : std::vector<std::size_t>(reading)) {
    try {
      found[i] = checkers[i]->end_rows();
    } catch (const Error& e) {
      failed(i, e);
    }
  }
  return found;
}

std::vector<std::vector<std::string>> verify_indexes(const Table& table,
                                                    const std::function<void(std::uint64_t)>& rows_read) {
  return verify_indexes_with(table, IndexVerifyOptions{}, rows_read);
}

std::vector<std::string> verify_index(const Table& table, const IndexDef& index) {
  return verify_index_with(table, index, IndexVerifyOptions{});
}

}  // namespace jet
