// The previous/next links of an index's levels, checked as the tree walk meets each level's
// pages from left to right, without keeping the pages: the first page of a level names no
// previous page, each next one the page before it, and the last one no next page. Findings
// come out level by level, each page's "previous" before its "next", as a check made once
// the whole tree is known would give them.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "jet/record/row_id.h"

namespace jet {

class IndexLevelLinks {
 public:
  // `room`: the most findings kept for one level.
  explicit IndexLevelLinks(std::size_t room) : room_(room) {}

  void visit(std::size_t depth, PageNumber number, PageNumber prev, PageNumber next) {
    if (levels_.size() <= depth) levels_.resize(depth + 1);
    Level& level = levels_[depth];
    const PageNumber want_prev = level.last ? level.last->number : 0;
    if (level.last) check_next(level, number);
    if (prev != want_prev)
      keep(level, "page " + std::to_string(number) + " : page précédente " + std::to_string(prev) + " au lieu de " +
                      std::to_string(want_prev));
    level.last = Linked{number, next};
  }

  // Checks the last page of each level, then hands over every finding.
  template <typename Report>
  void finish(Report&& report) {
    for (Level& level : levels_) {
      if (level.last) check_next(level, 0);
      for (auto& s : level.findings) report(std::move(s));
    }
  }

 private:
  struct Linked {
    PageNumber number, next;
  };
  struct Level {
    std::optional<Linked> last;
    std::vector<std::string> findings;
  };
  void keep(Level& level, std::string s) const {
    if (level.findings.size() < room_) level.findings.push_back(std::move(s));
  }
  void check_next(Level& level, PageNumber want) const {
    if (level.last->next != want)
      keep(level, "page " + std::to_string(level.last->number) + " : page suivante " +
                      std::to_string(level.last->next) + " au lieu de " + std::to_string(want));
  }

  std::size_t room_;
  std::vector<Level> levels_;
};

}  // namespace jet
