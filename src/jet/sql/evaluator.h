// Evaluates expression trees over jet::Value with Jet's semantics (see value_ops.h for the
// operators, functions.h for the built-in functions).
//
// Names are resolved by the caller: a Resolver returns the value of a column or declared
// parameter, or nothing when the name is unknown — the evaluator then raises 3061 "Trop peu
// de paramètres. 1 attendu.", as Jet does for a name it cannot bind (an executor that wants
// the full count first calls referenced_columns()). Aggregates (Count, Sum, Min, Max, Avg,
// First, Last) are computed by the executor and handed back through Resolver::aggregate.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "jet/sql/ast.h"
#include "jet/base/value.h"

namespace jet::sql {

class Resolver {
 public:
  virtual ~Resolver() = default;
  virtual std::optional<Value> column(const ColumnRef& ref) = 0;
  // The value of an aggregate call for the current group; nothing outside a grouped query.
  virtual std::optional<Value> aggregate(const Call& /*call*/) { return std::nullopt; }
  // The first-column values of a subquery for the current row; nothing when the caller
  // cannot run queries (the evaluator then raises 3251).
  virtual std::optional<std::vector<Value>> subquery(const Select& /*select*/) {
    return std::nullopt;
  }
};

struct EvalOptions {
  // The current date and time as a date serial (Now). Defaults to the local clock.
  std::function<double()> now;
};

Value evaluate(const Expr& expr, Resolver& resolver, const EvalOptions& options = {});

// A condition (WHERE, HAVING, ON, IIf): true only for a non-Null, non-zero value.
bool evaluate_condition(const Expr& expr, Resolver& resolver, const EvalOptions& options = {});

// The value of a literal (numbers without a point are Long when they fit, else Double).
Value literal_value(const Literal& literal);

// Every column or parameter name the expression refers to, in order of appearance (names
// inside subqueries excluded: they belong to the subquery's own sources).
std::vector<ColumnRef> referenced_columns(const Expr& expr);
// The same over every expression of a statement (select list, ON, WHERE, GROUP BY, HAVING,
// ORDER BY, SET values, VALUES, INSERT's select); the executor counts the unbound ones for
// 3061 "Trop peu de paramètres. n attendu.".
std::vector<ColumnRef> referenced_columns(const Statement& statement);

bool is_aggregate_function(std::string_view name);

// The machine's local date and time as a date serial, for expressions evaluated outside any
// database (an executor gives its database's clock).
double local_now();

}  // namespace jet::sql
