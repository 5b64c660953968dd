// Shared pieces of the database comparison: how differences are worded.
#pragma once

#include <string>
#include <vector>

#include "jet/tools/diff.h"
#include "jet/base/value.h"

namespace jet::diff_detail {

// Collects the sentences of one comparison.
class Report {
 public:
  void only_in(const std::string& what, bool in_first) {
    lines.push_back(what + " n'existe que dans la " + (in_first ? "première" : "seconde") + " base.");
  }
  void differs(const std::string& what, const std::string& first, const std::string& second) {
    lines.push_back(what + " : « " + first + " » dans la première base, « " + second + " » dans la seconde.");
  }
  void note(std::string sentence) { lines.push_back(std::move(sentence)); }

  std::vector<std::string> lines;
};

// A value as shown in a sentence: kind and text, long texts and binaries shortened.
std::string shown(const Value& value);

// "la table « T »" and friends.
inline std::string quoted(const std::string& name) { return "« " + name + " »"; }

void diff_rows(Report& report, const Table& first, const Table& second, const DiffOptions& options);

}  // namespace jet::diff_detail
