#include "sql_test_support.h"

#include "jet/sql/printer.h"

namespace sqltest {

using namespace jet::sql;

std::string shape(const Expr& e) {
  struct V {
    std::string operator()(const Literal&) const { return "lit"; }
    std::string operator()(const ColumnRef& c) const { return c.star ? "*" : c.name; }
    std::string operator()(const Unary& u) const {
      const char* op = u.op == UnaryOp::Not ? "NOT " : u.op == UnaryOp::Negate ? "-" : "+";
      return std::string("(") + op + shape(*u.operand) + ")";
    }
    std::string operator()(const Binary& b) const {
      // Reuse the printer for the operator's spelling by printing a two-leaf copy.
      Expr leaf{Binary{b.op, make_column("", "x"), make_column("", "y")}};
      std::string printed = to_sql(leaf);  // "x OP y"
      std::string op = printed.substr(2, printed.size() - 4);
      return "(" + shape(*b.left) + " " + op + " " + shape(*b.right) + ")";
    }
    std::string operator()(const Like& l) const {
      return "(" + shape(*l.value) + (l.negated ? " NOT LIKE " : " LIKE ") + shape(*l.pattern) + ")";
    }
    std::string operator()(const InList& l) const {
      std::string s = "(" + shape(*l.value) + (l.negated ? " NOT IN" : " IN");
      for (const auto& i : l.items) s += " " + shape(*i);
      return s + ")";
    }
    std::string operator()(const Between& b) const {
      return "(" + shape(*b.value) + " BETWEEN " + shape(*b.low) + " " + shape(*b.high) + ")";
    }
    std::string operator()(const IsNull& n) const {
      return "(" + shape(*n.value) + (n.negated ? " IS NOT NULL)" : " IS NULL)");
    }
    std::string operator()(const Subquery& q) const {
      return q.exists ? "EXISTS(select)" : "(select)";
    }
    std::string operator()(const Call& c) const {
      std::string s = c.name + "(";
      for (std::size_t i = 0; i < c.args.size(); ++i) s += (i ? ", " : "") + shape(*c.args[i]);
      return s + ")";
    }
  };
  return std::visit(V{}, e.node);
}

}  // namespace sqltest
