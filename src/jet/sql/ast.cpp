#include "jet/sql/ast.h"

#include "jet/sql/text_util.h"

namespace jet::sql {

bool operator==(const Expr& a, const Expr& b) { return a.node == b.node; }
bool operator==(const TableRef& a, const TableRef& b) { return a.node == b.node; }

bool operator==(const Subquery& a, const Subquery& b) {
  return a.exists == b.exists && ((!a.select && !b.select) ||
                                  (a.select && b.select && *a.select == *b.select));
}

bool operator==(const Select& a, const Select& b) {
  bool same_union = (!a.union_next && !b.union_next) ||
                    (a.union_next && b.union_next && *a.union_next == *b.union_next);
  return a.distinct == b.distinct && a.top == b.top && a.top_percent == b.top_percent &&
         a.items == b.items && a.into == b.into && a.from == b.from && a.where == b.where &&
         a.group_by == b.group_by && a.having == b.having && a.order_by == b.order_by &&
         same_union && a.union_all == b.union_all;
}

bool operator==(const Insert& a, const Insert& b) {
  bool same_select = (!a.select && !b.select) || (a.select && b.select && *a.select == *b.select);
  return a.table == b.table && a.columns == b.columns && a.values == b.values && same_select;
}

namespace {

ExprPtr clone_ptr(const ExprPtr& e) { return e ? clone(*e) : nullptr; }

std::vector<ExprPtr> clone_all(const std::vector<ExprPtr>& list) {
  std::vector<ExprPtr> out;
  out.reserve(list.size());
  for (const auto& e : list) out.push_back(clone_ptr(e));
  return out;
}

struct Cloner {
  Expr operator()(const Literal& n) const { return Expr{n}; }
  Expr operator()(const ColumnRef& n) const { return Expr{n}; }
  Expr operator()(const Unary& n) const { return Expr{Unary{n.op, clone_ptr(n.operand)}}; }
  Expr operator()(const Binary& n) const {
    return Expr{Binary{n.op, clone_ptr(n.left), clone_ptr(n.right)}};
  }
  Expr operator()(const Like& n) const {
    return Expr{Like{n.negated, clone_ptr(n.value), clone_ptr(n.pattern)}};
  }
  Expr operator()(const InList& n) const {
    return Expr{InList{n.negated, clone_ptr(n.value), clone_all(n.items)}};
  }
  Expr operator()(const Between& n) const {
    return Expr{Between{n.negated, clone_ptr(n.value), clone_ptr(n.low), clone_ptr(n.high)}};
  }
  Expr operator()(const IsNull& n) const { return Expr{IsNull{n.negated, clone_ptr(n.value)}}; }
  Expr operator()(const Call& n) const { return Expr{Call{n.name, clone_all(n.args)}}; }
  Expr operator()(const Subquery& n) const { return Expr{n}; }
};

}  // namespace

ExprPtr clone(const Expr& e) { return std::make_unique<Expr>(std::visit(Cloner{}, e.node)); }

ExprPtr make_literal(LiteralKind kind, std::string text) {
  return std::make_unique<Expr>(Expr{Literal{kind, std::move(text)}});
}
ExprPtr make_column(std::string table, std::string name) {
  return std::make_unique<Expr>(Expr{ColumnRef{std::move(table), std::move(name), false}});
}
ExprPtr make_unary(UnaryOp op, ExprPtr operand) {
  return std::make_unique<Expr>(Expr{Unary{op, std::move(operand)}});
}
ExprPtr make_binary(BinaryOp op, ExprPtr left, ExprPtr right) {
  return std::make_unique<Expr>(Expr{Binary{op, std::move(left), std::move(right)}});
}
ExprPtr make_call(std::string name, std::vector<ExprPtr> args) {
  return std::make_unique<Expr>(Expr{Call{std::move(name), std::move(args)}});
}

std::string NamedTable::database_path() const {
  if (!in_database.empty()) return in_database;
  // The connect string is a list of "key=value" parts separated by ';'.
  std::string_view rest = connect;
  while (!rest.empty()) {
    std::size_t semi = rest.find(';');
    std::string_view part = rest.substr(0, semi);
    std::size_t eq = part.find('=');
    if (eq != std::string_view::npos && iequals_ascii(trim_ascii(part.substr(0, eq)), "database")) {
      return std::string(trim_ascii(part.substr(eq + 1)));
    }
    if (semi == std::string_view::npos) break;
    rest.remove_prefix(semi + 1);
  }
  return {};
}

}  // namespace jet::sql
