#include "jet/sql/printer.h"

#include "jet/sql/parser_impl.h"
#include "jet/sql/text_util.h"

namespace jet::sql {
namespace {

// Binding strength, higher binds tighter; matches the parser's levels.
enum Level {
  kImp = 1, kEqv, kXor, kOr, kAnd, kNot, kCompare, kConcat, kAdd, kMod, kIntDiv, kMul,
  kUnary, kPower, kPrimary,
};

Level level_of(BinaryOp op) {
  switch (op) {
    case BinaryOp::Power: return kPower;
    case BinaryOp::Multiply: case BinaryOp::Divide: return kMul;
    case BinaryOp::IntDivide: return kIntDiv;
    case BinaryOp::Modulo: return kMod;
    case BinaryOp::Add: case BinaryOp::Subtract: return kAdd;
    case BinaryOp::Concat: return kConcat;
    case BinaryOp::Equal: case BinaryOp::NotEqual: case BinaryOp::Less:
    case BinaryOp::LessEqual: case BinaryOp::Greater: case BinaryOp::GreaterEqual:
      return kCompare;
    case BinaryOp::And: return kAnd;
    case BinaryOp::Or: return kOr;
    case BinaryOp::Xor: return kXor;
    case BinaryOp::Eqv: return kEqv;
    case BinaryOp::Imp: return kImp;
  }
  return kPrimary;
}

const char* symbol_of(BinaryOp op) {
  switch (op) {
    case BinaryOp::Power: return "^";
    case BinaryOp::Multiply: return "*";
    case BinaryOp::Divide: return "/";
    case BinaryOp::IntDivide: return "\\";
    case BinaryOp::Modulo: return "Mod";
    case BinaryOp::Add: return "+";
    case BinaryOp::Subtract: return "-";
    case BinaryOp::Concat: return "&";
    case BinaryOp::Equal: return "=";
    case BinaryOp::NotEqual: return "<>";
    case BinaryOp::Less: return "<";
    case BinaryOp::LessEqual: return "<=";
    case BinaryOp::Greater: return ">";
    case BinaryOp::GreaterEqual: return ">=";
    case BinaryOp::And: return "AND";
    case BinaryOp::Or: return "OR";
    case BinaryOp::Xor: return "XOR";
    case BinaryOp::Eqv: return "EQV";
    case BinaryOp::Imp: return "IMP";
  }
  return "?";
}

Level level_of(const Expr& e) {
  struct V {
    Level operator()(const Literal& l) const {
      // A negative number literal does not exist (the parser makes a Negate), so all bind.
      (void)l;
      return kPrimary;
    }
    Level operator()(const ColumnRef&) const { return kPrimary; }
    Level operator()(const Call&) const { return kPrimary; }
    Level operator()(const Unary& u) const { return u.op == UnaryOp::Not ? kNot : kUnary; }
    Level operator()(const Binary& b) const { return level_of(b.op); }
    Level operator()(const Like&) const { return kCompare; }
    Level operator()(const InList&) const { return kCompare; }
    Level operator()(const Between&) const { return kCompare; }
    Level operator()(const IsNull&) const { return kCompare; }
    Level operator()(const Subquery&) const { return kPrimary; }
  };
  return std::visit(V{}, e.node);
}

std::string quote_text(const std::string& s) {
  std::string out = "'";
  for (char c : s) {
    out += c;
    if (c == '\'') out += '\'';
  }
  return out + "'";
}

std::string print(const Expr& e);
std::string print_select(const Select& s);

// `e` printed so that it binds at least as tightly as `min`.
std::string operand(const Expr& e, int min) {
  std::string text = print(e);
  return level_of(e) < min ? "(" + text + ")" : text;
}

std::string print(const Expr& e) {
  struct V {
    std::string operator()(const Literal& l) const {
      switch (l.kind) {
        case LiteralKind::Null: return "Null";
        case LiteralKind::True: return "True";
        case LiteralKind::False: return "False";
        case LiteralKind::Number: return l.text;
        case LiteralKind::Text: return quote_text(l.text);
        case LiteralKind::Date: return "#" + l.text + "#";
      }
      return {};
    }
    std::string operator()(const ColumnRef& c) const {
      std::string out;
      if (!c.table.empty()) out = quote_name(c.table) + ".";
      return out + (c.star ? std::string("*") : quote_name(c.name));
    }
    std::string operator()(const Call& c) const {
      std::string out = c.name + "(";
      for (std::size_t i = 0; i < c.args.size(); ++i) {
        if (i) out += ", ";
        out += print(*c.args[i]);
      }
      return out + ")";
    }
    std::string operator()(const Unary& u) const {
      switch (u.op) {
        case UnaryOp::Not: return "NOT " + operand(*u.operand, kNot);
        case UnaryOp::Negate:
        case UnaryOp::Plus: {
          std::string inner = operand(*u.operand, kUnary);
          std::string sign = u.op == UnaryOp::Negate ? "-" : "+";
          if (!inner.empty() && (inner[0] == '-' || inner[0] == '+')) sign += ' ';
          return sign + inner;
        }
      }
      return {};
    }
    std::string operator()(const Binary& b) const {
      int lv = level_of(b.op);
      if (b.op == BinaryOp::Power) {
        // The exponent may carry a sign of its own; anything else composite gets parentheses.
        std::string right;
        const Expr& r = *b.right;
        auto* u = std::get_if<Unary>(&r.node);
        if (u && u->op != UnaryOp::Not && level_of(*u->operand) == kPrimary) right = print(r);
        else right = operand(r, kPrimary);
        return operand(*b.left, kPower) + " ^ " + right;
      }
      // Left-associative: the right operand needs parentheses at the same level.
      return operand(*b.left, lv) + " " + symbol_of(b.op) + " " + operand(*b.right, lv + 1);
    }
    std::string operator()(const Like& l) const {
      return operand(*l.value, kConcat) + (l.negated ? " NOT LIKE " : " LIKE ") +
             operand(*l.pattern, kConcat);
    }
    std::string operator()(const Subquery& q) const {
      return (q.exists ? "EXISTS (" : "(") + print_select(*q.select) + ")";
    }
    std::string operator()(const InList& l) const {
      std::string out = operand(*l.value, kConcat) + (l.negated ? " NOT IN (" : " IN (");
      auto* sub = l.items.size() == 1 ? std::get_if<Subquery>(&l.items[0]->node) : nullptr;
      if (sub && !sub->exists) return out + print_select(*sub->select) + ")";
      for (std::size_t i = 0; i < l.items.size(); ++i) {
        if (i) out += ", ";
        out += print(*l.items[i]);
      }
      return out + ")";
    }
    std::string operator()(const Between& b) const {
      return operand(*b.value, kConcat) + (b.negated ? " NOT BETWEEN " : " BETWEEN ") +
             operand(*b.low, kConcat) + " AND " + operand(*b.high, kConcat);
    }
    std::string operator()(const IsNull& n) const {
      return operand(*n.value, kConcat) + (n.negated ? " IS NOT NULL" : " IS NULL");
    }
  };
  return std::visit(V{}, e.node);
}

std::string print_named(const NamedTable& t) {
  std::string out;
  if (!t.connect.empty()) out = "[" + t.connect + "].";
  out += quote_name(t.name);
  if (!t.in_database.empty()) out += " IN " + quote_text(t.in_database);
  if (!t.alias.empty()) out += " AS " + quote_name(t.alias);
  return out;
}

std::string print_table(const TableRef& t, bool nested) {
  if (auto* n = std::get_if<NamedTable>(&t.node)) return print_named(*n);
  const Join& j = std::get<Join>(t.node);
  const char* kind = j.kind == JoinKind::Inner ? " INNER JOIN " :
                     j.kind == JoinKind::Left ? " LEFT JOIN " : " RIGHT JOIN ";
  // A join on the right side must be parenthesised; on the left it chains naturally.
  std::string out = print_table(*j.left, false) + kind + print_table(*j.right, true) + " ON " +
                    print(*j.on);
  return nested ? "(" + out + ")" : out;
}

std::string join_list(const std::vector<ExprPtr>& list) {
  std::string out;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (i) out += ", ";
    out += print(*list[i]);
  }
  return out;
}

std::string print_type(const DataType& t) {
  std::string out = t.name;
  if (t.size) {
    out += "(" + std::to_string(*t.size);
    if (t.scale) out += ", " + std::to_string(*t.scale);
    out += ")";
  }
  return out;
}

std::string print_names(const std::vector<std::string>& names) {
  std::string out = "(";
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i) out += ", ";
    out += quote_name(names[i]);
  }
  return out + ")";
}

std::string print_constraint(const Constraint& k, bool table_level) {
  std::string out;
  if (!k.name.empty()) out = "CONSTRAINT " + quote_name(k.name) + " ";
  switch (k.kind) {
    case ConstraintKind::PrimaryKey: out += "PRIMARY KEY"; break;
    case ConstraintKind::Unique: out += "UNIQUE"; break;
    case ConstraintKind::NotNull: out += "NOT NULL"; break;
    case ConstraintKind::ForeignKey: out += table_level ? "FOREIGN KEY" : ""; break;
  }
  if (table_level) out += " " + print_names(k.columns);
  if (k.kind == ConstraintKind::ForeignKey) {
    if (!out.empty() && out.back() != ' ') out += " ";
    out += "REFERENCES " + quote_name(k.references);
    if (!k.referenced_columns.empty()) out += " " + print_names(k.referenced_columns);
  }
  return out;
}

std::string print_column(const ColumnDef& c) {
  std::string out = quote_name(c.name) + " " + print_type(c.type);
  if (c.not_null) out += " NOT NULL";
  for (const auto& k : c.constraints) out += " " + print_constraint(k, false);
  return out;
}

std::string print_select(const Select& s) {
  std::string out = "SELECT ";
  if (s.distinct == Distinctness::Distinct) out += "DISTINCT ";
  if (s.distinct == Distinctness::DistinctRow) out += "DISTINCTROW ";
  if (s.top) out += "TOP " + *s.top + (s.top_percent ? " PERCENT " : " ");
  for (std::size_t i = 0; i < s.items.size(); ++i) {
    if (i) out += ", ";
    out += print(*s.items[i].expr);
    if (!s.items[i].alias.empty()) out += " AS " + quote_name(s.items[i].alias);
  }
  if (s.into) out += " INTO " + print_named(*s.into);
  if (!s.from.empty()) out += " FROM ";
  for (std::size_t i = 0; i < s.from.size(); ++i) {
    if (i) out += ", ";
    out += print_table(*s.from[i], false);
  }
  if (s.where) out += " WHERE " + print(*s.where);
  if (!s.group_by.empty()) out += " GROUP BY " + join_list(s.group_by);
  if (s.having) out += " HAVING " + print(*s.having);
  if (s.union_next) {
    return out + (s.union_all ? " UNION ALL " : " UNION ") + print_select(*s.union_next);
  }
  if (!s.order_by.empty()) {
    out += " ORDER BY ";
    for (std::size_t i = 0; i < s.order_by.size(); ++i) {
      if (i) out += ", ";
      out += print(*s.order_by[i].expr);
      if (s.order_by[i].descending) out += " DESC";
    }
  }
  return out;
}

struct StatementPrinter {
  std::string operator()(const Select& s) const { return print_select(s); }
  std::string operator()(const Update& u) const {
    std::string out = "UPDATE " + print_table(*u.target, false) + " SET ";
    for (std::size_t i = 0; i < u.assignments.size(); ++i) {
      if (i) out += ", ";
      const auto& a = u.assignments[i];
      if (!a.column.table.empty()) out += quote_name(a.column.table) + ".";
      out += quote_name(a.column.name) + " = " + print(*a.value);
    }
    if (u.where) out += " WHERE " + print(*u.where);
    return out;
  }
  std::string operator()(const Insert& ins) const {
    std::string out = "INSERT INTO " + print_named(ins.table);
    if (!ins.columns.empty()) out += " " + print_names(ins.columns);
    if (ins.select) return out + " " + print_select(*ins.select);
    return out + " VALUES (" + join_list(ins.values) + ")";
  }
  std::string operator()(const Delete& d) const {
    std::string out = "DELETE ";
    if (d.star) out += d.star_table.empty() ? "* " : quote_name(d.star_table) + ".* ";
    for (std::size_t i = 0; i < d.columns.size(); ++i) {
      const ColumnRef& c = d.columns[i];
      out += (c.table.empty() ? "" : quote_name(c.table) + ".") + quote_name(c.name);
      out += i + 1 < d.columns.size() ? ", " : " ";
    }
    out += "FROM ";
    for (std::size_t i = 0; i < d.from.size(); ++i) {
      if (i) out += ", ";
      out += print_table(*d.from[i], false);
    }
    if (d.where) out += " WHERE " + print(*d.where);
    return out;
  }
  std::string operator()(const CreateTable& t) const {
    std::string out = "CREATE TABLE " + quote_name(t.name) + " (";
    bool first = true;
    for (const auto& c : t.columns) {
      if (!first) out += ", ";
      first = false;
      out += print_column(c);
    }
    for (const auto& k : t.constraints) out += ", " + print_constraint(k, true);
    return out + ")";
  }
  std::string operator()(const AlterTable& a) const {
    std::string out = "ALTER TABLE " + quote_name(a.table) + " ";
    switch (a.action) {
      case AlterAction::AddColumn: return out + "ADD COLUMN " + print_column(a.column);
      case AlterAction::AlterColumn: return out + "ALTER COLUMN " + print_column(a.column);
      case AlterAction::DropColumn: return out + "DROP COLUMN " + quote_name(a.name);
      case AlterAction::AddConstraint: return out + "ADD " + print_constraint(a.constraint, true);
      case AlterAction::DropConstraint: return out + "DROP CONSTRAINT " + quote_name(a.name);
    }
    return out;
  }
  std::string operator()(const CreateIndex& ix) const {
    std::string out = std::string("CREATE ") + (ix.unique ? "UNIQUE " : "") + "INDEX " +
                      quote_name(ix.name) + " ON " + quote_name(ix.table) + " (";
    for (std::size_t i = 0; i < ix.columns.size(); ++i) {
      if (i) out += ", ";
      out += quote_name(ix.columns[i].name) + (ix.columns[i].descending ? " DESC" : "");
    }
    out += ")";
    if (!ix.options.empty()) {
      out += " WITH";
      for (IndexOption o : ix.options) {
        out += o == IndexOption::Primary ? " PRIMARY" :
               o == IndexOption::DisallowNull ? " DISALLOW NULL" : " IGNORE NULL";
      }
    }
    return out;
  }
  std::string operator()(const DropIndex& d) const {
    return "DROP INDEX " + quote_name(d.name) + " ON " + quote_name(d.table);
  }
  std::string operator()(const DropTable& d) const { return "DROP TABLE " + quote_name(d.name); }
};

}  // namespace

std::string quote_name(const std::string& name) {
  bool plain = !name.empty() && !detail::is_reserved(name);
  for (std::size_t i = 0; plain && i < name.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(name[i]);
    bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c >= 0x80;
    bool digit = c >= '0' && c <= '9';
    if (!(letter || (digit && i > 0))) plain = false;
  }
  return plain ? name : "[" + name + "]";
}

std::string to_sql(const Expr& expr) { return print(expr); }
std::string to_sql(const TableRef& table) { return print_table(table, false); }

std::string to_sql(const Statement& statement) {
  std::string out;
  if (!statement.parameters.empty()) {
    out = "PARAMETERS ";
    for (std::size_t i = 0; i < statement.parameters.size(); ++i) {
      if (i) out += ", ";
      out += quote_name(statement.parameters[i].name) + " " +
             print_type(statement.parameters[i].type);
    }
    out += "; ";
  }
  return out + std::visit(StatementPrinter{}, statement.body);
}

}  // namespace jet::sql
