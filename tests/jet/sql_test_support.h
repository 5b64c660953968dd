// Helpers for the SQL tests: evaluate expression text against named values, and show a tree
// fully parenthesised so tests can state the grouping the parser must produce.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "jet/base/error.h"
#include "jet/sql/evaluator.h"
#include "jet/sql/parser.h"
#include "jet/sql/text_util.h"
#include "jet/base/value.h"

namespace sqltest {

// Columns by name (case-insensitive, qualifier ignored); unknown names are unresolved.
class MapResolver : public jet::sql::Resolver {
 public:
  std::map<std::string, jet::Value> values;
  std::optional<jet::Value> column(const jet::sql::ColumnRef& ref) override {
    auto it = values.find(jet::sql::upper_ascii(ref.name));
    if (it == values.end()) return std::nullopt;
    return it->second;
  }
};

// 25 March 2006 14:30:15, a Saturday.
inline double fixed_now() { return 38801.0 + (14 * 3600 + 30 * 60 + 15) / 86400.0; }

inline jet::Value eval(const std::string& text, MapResolver& resolver) {
  jet::sql::EvalOptions options;
  options.now = fixed_now;
  return jet::sql::evaluate(*jet::sql::parse_expression(text), resolver, options);
}

inline jet::Value eval(const std::string& text) {
  MapResolver none;
  return eval(text, none);
}

// The Jet error number an evaluation or parse raises; 0 when none.
inline int error_of(const std::string& text) {
  try {
    eval(text);
  } catch (const jet::Error& e) {
    return e.number();
  }
  return 0;
}

inline std::string text_of(const std::string& expr) { return eval(expr).as_text(); }

std::string shape(const jet::sql::Expr& e);

}  // namespace sqltest
