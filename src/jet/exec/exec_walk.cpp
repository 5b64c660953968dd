// Walking statement trees for the executor, and the value identities and order it uses.
#include <cmath>
#include <cstring>

#include "jet/exec/exec_internal.h"
#include "jet/sql/sql_error.h"
#include "jet/sql/text_compare.h"
#include "jet/sql/value_ops.h"
#include "jet/base/text_sort.h"

namespace jet::sql::detail {

std::string upper(std::string_view s) {
  std::string out(s);
  for (char& c : out)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return out;
}

void fail(int number, std::string_view argument) {
  throw sql_error(static_cast<SqlError>(number), argument);
}

void conjuncts(const Expr* e, std::vector<const Expr*>& out) {
  if (!e) return;
  if (auto* b = std::get_if<Binary>(&e->node); b && b->op == BinaryOp::And) {
    conjuncts(b->left.get(), out);
    conjuncts(b->right.get(), out);
    return;
  }
  out.push_back(e);
}

namespace {

// Calls `f` on each direct sub-expression; subqueries are handed to `sub`.
template <class F, class S>
void children(const Expr& e, F&& f, S&& sub) {
  std::visit(
      [&](const auto& n) {
        using T = std::decay_t<decltype(n)>;
        if constexpr (std::is_same_v<T, Unary>) {
          f(*n.operand);
        } else if constexpr (std::is_same_v<T, Binary>) {
          f(*n.left);
          f(*n.right);
        } else if constexpr (std::is_same_v<T, Like>) {
          f(*n.value);
          f(*n.pattern);
        } else if constexpr (std::is_same_v<T, InList>) {
          f(*n.value);
          for (const auto& i : n.items) f(*i);
        } else if constexpr (std::is_same_v<T, Between>) {
          f(*n.value);
          f(*n.low);
          f(*n.high);
        } else if constexpr (std::is_same_v<T, IsNull>) {
          f(*n.value);
        } else if constexpr (std::is_same_v<T, Call>) {
          for (const auto& a : n.args) f(*a);
        } else if constexpr (std::is_same_v<T, Subquery>) {
          if (n.select) sub(*n.select);
        }
      },
      e.node);
}

void mention_table(const TableRef& t, std::set<std::string>& out) {
  if (auto* j = std::get_if<Join>(&t.node)) {
    mention_table(*j->left, out);
    mention_table(*j->right, out);
    if (j->on) mention_names(*j->on, out);
  }
}

}  // namespace

void mention_names(const Expr& e, std::set<std::string>& out) {
  if (auto* c = std::get_if<ColumnRef>(&e.node)) {
    if (!c->star) out.insert(upper(c->name));
    return;
  }
  children(
      e, [&](const Expr& x) { mention_names(x, out); },
      [&](const Select& s) { mention_names(s, out); });
}

void mention_names(const Select& s, std::set<std::string>& out) {
  for (const auto& i : s.items) mention_names(*i.expr, out);
  for (const auto& t : s.from) mention_table(*t, out);
  if (s.where) mention_names(*s.where, out);
  for (const auto& g : s.group_by) mention_names(*g, out);
  if (s.having) mention_names(*s.having, out);
  for (const auto& o : s.order_by) mention_names(*o.expr, out);
  if (s.union_next) mention_names(*s.union_next, out);
}

void walk(const Expr& e, const std::function<void(const ColumnRef&)>& ref,
          const std::function<void(const Select&)>& sub) {
  if (auto* c = std::get_if<ColumnRef>(&e.node)) {
    ref(*c);
    return;
  }
  children(e, [&](const Expr& x) { walk(x, ref, sub); }, [&](const Select& s) { sub(s); });
}

void for_each_child(const Expr& e, const std::function<void(const Expr&)>& f) {
  children(e, f, [](const Select&) {});
}

void aggregate_calls(const Expr& e, std::vector<const Call*>& out) {
  if (auto* c = std::get_if<Call>(&e.node); c && is_aggregate_function(c->name)) {
    out.push_back(c);
    return;  // aggregates do not nest
  }
  children(e, [&](const Expr& x) { aggregate_calls(x, out); }, [](const Select&) {});
}

std::string group_key(const Value& v) {
  std::string key;
  auto number = [&](double d) {
    if (d == 0) d = 0;  // -0 and 0 are one value
    key.push_back('N');
    char bytes[sizeof d];
    std::memcpy(bytes, &d, sizeof d);
    key.append(bytes, sizeof d);
  };
  switch (v.kind()) {
    case ValueKind::Empty:
    case ValueKind::Null:
      key.push_back('0');
      break;
    case ValueKind::Text:
      try {
        const auto k = general_text_key(v.as_text());
        key.push_back('T');
        key.append(k.begin(), k.end());
      } catch (const jet::Error&) {
        // No key for some character: the text itself, upper-cased, without trailing blanks.
        std::string t = upper(v.as_text());
        while (!t.empty() && t.back() == ' ') t.pop_back();
        key.push_back('U');
        key += t;
      }
      break;
    case ValueKind::Binary:
      key.push_back('B');
      key.append(v.as_binary().begin(), v.as_binary().end());
      break;
    case ValueKind::Guid:
      key.push_back('G');
      key.append(v.as_guid().bytes.begin(), v.as_guid().bytes.end());
      break;
    default:
      number(v.to_double());
      break;
  }
  return key;
}

int order_values(const Value& a, const Value& b) {
  const bool an = a.is_null() || a.is_empty(), bn = b.is_null() || b.is_empty();
  if (an || bn) return an == bn ? 0 : (an ? -1 : 1);
  if (a.kind() == ValueKind::Text && b.kind() == ValueKind::Text)
    return compare_text(a.as_text(), b.as_text());
  const bool at = a.kind() == ValueKind::Text, bt = b.kind() == ValueKind::Text;
  if (at != bt) {
    // Mixed columns (a union, an expression): numbers before texts, as Jet sorts variants.
    try {
      if (auto c = compare_values(a, b)) return *c;
    } catch (const jet::Error&) {
    }
    return at ? 1 : -1;
  }
  if (a.kind() == ValueKind::Binary || b.kind() == ValueKind::Binary ||
      a.kind() == ValueKind::Guid || b.kind() == ValueKind::Guid) {
    const std::string ka = group_key(a), kb = group_key(b);
    return ka < kb ? -1 : (ka == kb ? 0 : 1);
  }
  const double x = a.to_double(), y = b.to_double();
  return x < y ? -1 : (x > y ? 1 : 0);
}

ColumnType type_of_value(const Value& v) {
  switch (v.kind()) {
    case ValueKind::Boolean: return ColumnType::Boolean;
    case ValueKind::Byte: return ColumnType::Byte;
    case ValueKind::Integer: return ColumnType::Integer;
    case ValueKind::Long: return ColumnType::Long;
    case ValueKind::Currency: return ColumnType::Currency;
    case ValueKind::Single: return ColumnType::Single;
    case ValueKind::Double: return ColumnType::Double;
    case ValueKind::Date: return ColumnType::DateTime;
    case ValueKind::Binary: return ColumnType::Binary;
    case ValueKind::Guid: return ColumnType::Guid;
    case ValueKind::Decimal: return ColumnType::Numeric;
    case ValueKind::Text: return v.as_text().size() > 255 ? ColumnType::Memo : ColumnType::Text;
    default: return ColumnType::Text;
  }
}

}  // namespace jet::sql::detail
