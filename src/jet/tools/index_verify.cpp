#include "jet/tools/index_verify.h"

#include <optional>
#include <span>
#include <string>

#include "jet/base/error.h"
#include "jet/btree/index_key.h"
#include "jet/btree/index_page.h"
#include "jet/btree/index_row_key.h"
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
    try {
      columns_ = key_columns(table_.def(), index_);
    } catch (const Error& e) {
      report(std::string("définition d'index inutilisable : ") + e.what());
      return problems_;
    }
    const os::Services& services = options_.services ? *options_.services : os::system_services();
    IndexRowMatch match(table_, index_, columns_, services, options_.sort_budget, kMaxProblems);
    match_ = &match;
    walk(index_.root_page, 0, std::nullopt);
    links_.finish([this](std::string s) { report(std::move(s)); });
    // Rows are read only while findings are still wanted.
    if (problems_.size() < kMaxProblems)
      match.finish(kMaxProblems - problems_.size(), incomplete_, [this](std::string s) { report(std::move(s)); });
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
  IndexRowMatch* match_ = nullptr;  // where the leaf entries go, in tree order
  bool incomplete_ = false;  // some part of the tree could not be read
};

}  // namespace

std::vector<std::string> verify_index_with(const Table& table, const IndexDef& index,
                                           const IndexVerifyOptions& options) {
  return Checker(table, index, options).run();
}

std::vector<std::string> verify_index(const Table& table, const IndexDef& index) {
  return verify_index_with(table, index, IndexVerifyOptions{});
}

}  // namespace jet
