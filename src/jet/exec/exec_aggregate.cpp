// Aggregate functions over the tuples of one group, as Jet computes them: Nulls are skipped
// (Count(*) counts every row, First/Last take the row's value even when Null), an aggregate
// over no value is Null (Count gives 0), Avg and the deviations are Doubles.
#include <cmath>

#include "jet/exec/exec_aggregate.h"
#include "jet/sql/sql_error.h"
#include "jet/sql/value_ops.h"
#include "jet/sql/vb_convert.h"

namespace jet::sql::detail {

Value compute_aggregate(Scope& scope, const Call& call, const std::vector<const std::int32_t*>& tuples) {
  const std::string name = upper(call.name);
  if (call.args.size() != 1) throw sql_error(SqlError::WrongArgumentCount, call.name);
  const Expr& arg = *call.args[0];
  const auto* star = std::get_if<ColumnRef>(&arg.node);
  const bool count_rows = star && star->star;
  if (count_rows && name != "COUNT") throw sql_error(SqlError::ExpressionSyntax, call.name + "(*)");

  const std::int32_t* saved = scope.current;
  std::vector<Value> values;
  values.reserve(tuples.size());
  if (!count_rows) {
    for (const std::int32_t* t : tuples) {
      scope.current = t;
      values.push_back(scope.eval(arg));
    }
  }
  scope.current = saved;

  if (name == "COUNT") {
    if (count_rows) return Value::long_(static_cast<std::int32_t>(tuples.size()));
    std::int32_t n = 0;
    for (const auto& v : values) n += (v.is_null() || v.is_empty()) ? 0 : 1;
    return Value::long_(n);
  }
  if (name == "FIRST") return values.empty() ? Value::null() : values.front();
  if (name == "LAST") return values.empty() ? Value::null() : values.back();

  std::vector<const Value*> present;
  for (const auto& v : values)
    if (!v.is_null() && !v.is_empty()) present.push_back(&v);
  if (present.empty()) return Value::null();

  if (name == "MIN" || name == "MAX") {
    const Value* best = present[0];
    for (const Value* v : present) {
      const int c = order_values(*v, *best);
      if ((name == "MIN" && c < 0) || (name == "MAX" && c > 0)) best = v;
    }
    return *best;
  }
  if (name == "SUM") {
    Value acc = *present[0];
    if (acc.kind() == ValueKind::Text) acc = Value::double_(to_number(acc));
    for (std::size_t i = 1; i < present.size(); ++i) {
      Value v = *present[i];
      if (v.kind() == ValueKind::Text) v = Value::double_(to_number(v));
      acc = arithmetic(BinaryOp::Add, acc, v);
    }
    return acc;
  }
  double sum = 0;
  for (const Value* v : present) sum += to_number(*v);
  const double n = static_cast<double>(present.size());
  const double mean = sum / n;
  if (name == "AVG") return Value::double_(mean);
  // Var, VarP, StDev, StDevP
  const bool population = name == "VARP" || name == "STDEVP";
  if (!population && present.size() < 2) return Value::null();
  double squares = 0;
  for (const Value* v : present) {
    const double d = to_number(*v) - mean;
    squares += d * d;
  }
  const double var = squares / (population ? n : n - 1);
  return Value::double_(name.rfind("STDEV", 0) == 0 ? std::sqrt(var) : var);
}

}  // namespace jet::sql::detail
