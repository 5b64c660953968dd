#include "jet/sql/evaluator.h"

#include <cmath>
#include <cstdlib>

#include "jet/sql/datetime.h"
#include "jet/sql/functions.h"
#include "jet/sql/like.h"
#include "jet/sql/sql_error.h"
#include "jet/sql/text_util.h"
#include "jet/sql/value_ops.h"
#include "jet/sql/vb_convert.h"
#include "os/services.h"

namespace jet::sql {

double local_now() {
  const os::LocalTime t = os::system_services().clock->now();
  return combine_date_time(date_serial(t.year, t.month, t.day), time_serial(t.hour, t.minute, t.second));
}

bool is_aggregate_function(std::string_view name) {
  for (std::string_view a : {"COUNT", "SUM", "MIN", "MAX", "AVG", "FIRST", "LAST", "STDEV",
                             "STDEVP", "VAR", "VARP"}) {
    if (iequals_ascii(a, name)) return true;
  }
  return false;
}

Value literal_value(const Literal& literal) {
  switch (literal.kind) {
    case LiteralKind::Null: return Value::null();
    case LiteralKind::True: return Value::boolean(true);
    case LiteralKind::False: return Value::boolean(false);
    case LiteralKind::Text: return Value::text(literal.text);
    case LiteralKind::Date: {
      auto d = parse_date_literal(literal.text);
      if (!d) throw sql_error(SqlError::ExpressionDateSyntax, "#" + literal.text + "#");
      return Value::date(*d);
    }
    case LiteralKind::Number: {
      const std::string& t = literal.text;
      bool whole = t.find_first_of(".eE") == std::string::npos;
      if (whole && t.size() <= 10) {
        long long n = std::strtoll(t.c_str(), nullptr, 10);
        if (n <= 2147483647LL) return Value::long_(static_cast<std::int32_t>(n));
      }
      return Value::double_(std::strtod(t.c_str(), nullptr));
    }
  }
  return Value::null();
}

namespace {

class Evaluator {
 public:
  Evaluator(Resolver& resolver, const EvalOptions& options) : resolver_(resolver) {
    clock_ = options.now ? options.now : std::function<double()>(local_now);
  }

  Value eval(const Expr& e) {
    return std::visit([&](const auto& node) { return on(node); }, e.node);
  }

 private:
  Value on(const Literal& l) { return literal_value(l); }

  Value on(const ColumnRef& c) {
    if (c.star) throw sql_error(SqlError::TypeMismatch);
    if (auto v = resolver_.column(c)) return *v;
    throw too_few_parameters(1);
  }

  Value on(const Unary& u) {
    Value v = eval(*u.operand);
    switch (u.op) {
      case UnaryOp::Negate: return negate(v);
      case UnaryOp::Plus:
        return v;
      case UnaryOp::Not: return logical_not(v);
    }
    return v;
  }

  Value on(const Binary& b) {
    switch (b.op) {
      case BinaryOp::And: case BinaryOp::Or: case BinaryOp::Xor: case BinaryOp::Eqv:
      case BinaryOp::Imp:
        return logical(b.op, eval(*b.left), eval(*b.right));
      case BinaryOp::Equal: case BinaryOp::NotEqual: case BinaryOp::Less:
      case BinaryOp::LessEqual: case BinaryOp::Greater: case BinaryOp::GreaterEqual:
        return comparison(b.op, eval(*b.left), eval(*b.right));
      default:
        return arithmetic(b.op, eval(*b.left), eval(*b.right));
    }
  }

  Value on(const Like& l) {
    Value v = eval(*l.value), p = eval(*l.pattern);
    if (v.is_null() || p.is_null()) return Value::null();
    bool m = like_match(to_text(v), to_text(p));
    return Value::boolean(m != l.negated);
  }

  std::vector<Value> rows(const Subquery& q) {
    auto values = resolver_.subquery(*q.select);
    if (!values) throw jet::Error(jet::ErrorCode::OperationNotSupported);
    return std::move(*values);
  }

  Value on(const Subquery& q) {
    std::vector<Value> values = rows(q);
    if (q.exists) return Value::boolean(!values.empty());
    return values.empty() ? Value::null() : values.front();
  }

  Value on(const InList& in) {
    Value v = eval(*in.value);
    std::vector<Value> candidates;
    auto* sub = in.items.size() == 1 ? std::get_if<Subquery>(&in.items[0]->node) : nullptr;
    if (sub && !sub->exists) {
      candidates = rows(*sub);
    } else {
      for (const auto& item : in.items) candidates.push_back(eval(*item));
    }
    bool unknown = false;
    for (const Value& candidate : candidates) {
      auto c = compare_values(v, candidate);
      if (!c) unknown = true;
      else if (*c == 0) return Value::boolean(!in.negated);
    }
    if (unknown) return Value::null();
    return Value::boolean(in.negated);
  }

  Value on(const Between& b) {
    Value v = eval(*b.value), lo = eval(*b.low), hi = eval(*b.high);
    // Jet takes the bounds in either order.
    auto order = compare_values(lo, hi);
    if (order && *order > 0) std::swap(lo, hi);
    Value inside = logical(BinaryOp::And, comparison(BinaryOp::GreaterEqual, v, lo),
                           comparison(BinaryOp::LessEqual, v, hi));
    return b.negated ? logical_not(inside) : inside;
  }

  Value on(const IsNull& n) {
    bool null = eval(*n.value).is_null();
    return Value::boolean(null != n.negated);
  }

  Value on(const Call& c) {
    if (is_aggregate_function(c.name)) {
      if (auto v = resolver_.aggregate(c)) return *v;
      throw sql_error(SqlError::UndefinedFunction, c.name);
    }
    return call_function(c, [&](const Expr& e) { return eval(e); }, clock_);
  }

  Resolver& resolver_;
  std::function<double()> clock_;
};

void collect(const Expr& e, std::vector<ColumnRef>& out) {
  struct V {
    std::vector<ColumnRef>& out;
    void operator()(const Literal&) const {}
    void operator()(const ColumnRef& c) const {
      if (!c.star) out.push_back(c);
    }
    void operator()(const Unary& u) const { collect(*u.operand, out); }
    void operator()(const Binary& b) const {
      collect(*b.left, out);
      collect(*b.right, out);
    }
    void operator()(const Like& l) const {
      collect(*l.value, out);
      collect(*l.pattern, out);
    }
    void operator()(const InList& l) const {
      collect(*l.value, out);
      for (const auto& i : l.items) collect(*i, out);
    }
    void operator()(const Between& b) const {
      collect(*b.value, out);
      collect(*b.low, out);
      collect(*b.high, out);
    }
    void operator()(const IsNull& n) const { collect(*n.value, out); }
    void operator()(const Call& c) const {
      for (const auto& a : c.args) collect(*a, out);
    }
    // Names inside a subquery belong to its own sources; the executor binds them.
    void operator()(const Subquery&) const {}
  };
  std::visit(V{out}, e.node);
}

}  // namespace

Value evaluate(const Expr& expr, Resolver& resolver, const EvalOptions& options) {
  return Evaluator(resolver, options).eval(expr);
}

bool evaluate_condition(const Expr& expr, Resolver& resolver, const EvalOptions& options) {
  return is_true(evaluate(expr, resolver, options));
}

std::vector<ColumnRef> referenced_columns(const Expr& expr) {
  std::vector<ColumnRef> out;
  collect(expr, out);
  return out;
}

namespace {

void collect_table(const TableRef& t, std::vector<ColumnRef>& out) {
  if (auto* j = std::get_if<Join>(&t.node)) {
    collect_table(*j->left, out);
    collect_table(*j->right, out);
    collect(*j->on, out);
  }
}

void collect_select(const Select& s, std::vector<ColumnRef>& out) {
  for (const auto& item : s.items) collect(*item.expr, out);
  for (const auto& t : s.from) collect_table(*t, out);
  if (s.where) collect(*s.where, out);
  for (const auto& g : s.group_by) collect(*g, out);
  if (s.having) collect(*s.having, out);
  for (const auto& o : s.order_by) collect(*o.expr, out);
  if (s.union_next) collect_select(*s.union_next, out);
}

}  // namespace

std::vector<ColumnRef> referenced_columns(const Statement& statement) {
  std::vector<ColumnRef> out;
  if (auto* s = std::get_if<Select>(&statement.body)) {
    collect_select(*s, out);
  } else if (auto* u = std::get_if<Update>(&statement.body)) {
    collect_table(*u->target, out);
    for (const auto& a : u->assignments) collect(*a.value, out);
    if (u->where) collect(*u->where, out);
  } else if (auto* i = std::get_if<Insert>(&statement.body)) {
    for (const auto& v : i->values) collect(*v, out);
    if (i->select) collect_select(*i->select, out);
  } else if (auto* d = std::get_if<Delete>(&statement.body)) {
    for (const auto& t : d->from) collect_table(*t, out);
    if (d->where) collect(*d->where, out);
  }
  return out;
}

}  // namespace jet::sql
