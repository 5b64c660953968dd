// Sources of a FROM clause, binding names, evaluating over tuples.
#include <algorithm>

#include "jet/exec/exec_internal.h"
#include "jet/sql/parser.h"
#include "jet/sql/sql_error.h"

namespace jet::sql::detail {

int Source::find_column(std::string_view name) const {
  const std::string u = upper(name);
  for (std::size_t i = 0; i < column_names.size(); ++i)
    if (upper(column_names[i]) == u) return static_cast<int>(i);
  return -1;
}

// ---- sources ----------------------------------------------------------------------------

void Scope::add_sources(const TableRef& ref) {
  if (auto* j = std::get_if<Join>(&ref.node)) {
    const std::size_t first_left = sources.size();
    add_sources(*j->left);
    const std::size_t first_right = sources.size();
    add_sources(*j->right);
    if (j->kind == JoinKind::Left)
      for (std::size_t i = first_right; i < sources.size(); ++i) sources[i].nullable = true;
    if (j->kind == JoinKind::Right)
      for (std::size_t i = first_left; i < first_right; ++i) sources[i].nullable = true;
    return;
  }
  const auto& named = std::get<NamedTable>(ref.node);
  Source s;
  s.ref = &named;
  s.alias = named.alias.empty() ? named.name : named.alias;
  s.local = run_.is_local(named);
  try {
    s.table.emplace(run_.table(named));
  } catch (const jet::Error& e) {
    std::optional<std::string> sql;
    if (e.number() == 3078 && s.local) sql = run_.saved_query(named.name);
    if (!sql) throw;
    // A saved query read as a table: its result, computed once for the statement.
    const Statement st = parse_statement(*sql);
    const auto* select = std::get_if<Select>(&st.body);
    if (!select) throw;
    s.is_query = true;
    s.name = named.name;
    mention_names(*select, run_.mentioned);  // its tables read the columns it names
    s.query_rows = run_select(run_, *select, nullptr);
    for (const auto& c : s.query_rows->columns()) {
      s.column_names.push_back(c.name);
      s.column_types.push_back(c.type);
    }
    sources.push_back(std::move(s));
    return;
  }
  s.name = s.table->name();
  for (const auto& c : s.table->def().columns) {
    s.column_names.push_back(c.name);
    s.column_types.push_back(c.type);
  }
  sources.push_back(std::move(s));
}

// ---- binding ----------------------------------------------------------------------------

Binding Scope::resolve(const ColumnRef& ref, bool allow_alias) {
  Binding b;
  if (!ref.table.empty()) {
    const std::string t = upper(ref.table);
    for (std::size_t s = 0; s < sources.size(); ++s) {
      if (upper(sources[s].alias) != t) continue;
      const int c = sources[s].find_column(ref.name);
      if (c >= 0) {
        b.kind = Binding::Column;
        b.source = static_cast<int>(s);
        b.column = c;
        return b;
      }
      break;
    }
  } else {
    for (std::size_t s = 0; s < sources.size(); ++s) {
      const int c = sources[s].find_column(ref.name);
      if (c < 0) continue;
      if (b.kind == Binding::Column) fail(static_cast<int>(SqlError::AmbiguousField), ref.name);
      b.kind = Binding::Column;
      b.source = static_cast<int>(s);
      b.column = c;
    }
    if (b.kind == Binding::Column) return b;
    if (allow_alias && aliases) {
      const std::string n = upper(ref.name);
      for (const auto& item : *aliases) {
        if (!item.alias.empty() && upper(item.alias) == n) {
          b.kind = Binding::Alias;
          b.alias_expr = item.expr.get();
          return b;
        }
      }
    }
  }
  if (parent_) {
    b = parent_->bind(ref);
    if (b.kind == Binding::Column || b.kind == Binding::Alias) ++b.depth;
    return b;
  }
  const std::string name = ref.table.empty() ? ref.name : ref.table + "." + ref.name;
  if (const Value* v = run_.parameter(name)) {
    b.kind = Binding::Parameter;
    b.value = v;
    return b;
  }
  run_.missing(name);
  b.kind = Binding::Missing;
  return b;
}

const Binding& Scope::bind(const ColumnRef& ref, bool allow_alias) {
  auto it = bindings_.find(&ref);
  if (it != bindings_.end()) return it->second;
  return bindings_.emplace(&ref, resolve(ref, allow_alias)).first->second;
}

void Scope::bind_all(const Expr& expr, bool allow_alias) {
  walk(
      expr,
      [&](const ColumnRef& c) {
        if (!c.star) bind(c, allow_alias);
      },
      [&](const Select& sub) {
        Scope inner(run_, this);
        inner.bind_select(sub);
      });
}

void Scope::bind_select(const Select& select) {
  for (const auto& t : select.from) add_sources(*t);
  aliases = &select.items;
  std::function<void(const TableRef&)> ons = [&](const TableRef& t) {
    if (auto* j = std::get_if<Join>(&t.node)) {
      ons(*j->left);
      ons(*j->right);
      if (j->on) bind_all(*j->on);
    }
  };
  for (const auto& t : select.from) ons(*t);
  for (const auto& item : select.items) {
    if (auto* c = std::get_if<ColumnRef>(&item.expr->node); c && c->star) {
      if (c->table.empty()) continue;
      const std::string t = upper(c->table);
      if (std::none_of(sources.begin(), sources.end(),
                       [&](const Source& s) { return upper(s.alias) == t; }))
        throw jet::Error(jet::ErrorCode::TableNotFound, c->table);
      continue;
    }
    bind_all(*item.expr);
  }
  if (select.where) bind_all(*select.where);
  for (const auto& g : select.group_by) bind_all(*g);
  if (select.having) bind_all(*select.having, true);
  for (const auto& o : select.order_by) bind_all(*o.expr, true);
  if (select.union_next) {
    Scope next(run_, parent_);
    next.bind_select(*select.union_next);
  }
}

std::set<int> Scope::sources_of(const Expr& expr) {
  std::set<int> out;
  bool everything = false;
  walk(
      expr,
      [&](const ColumnRef& c) {
        if (c.star) return;
        const Binding& b = bind(c);
        if (b.kind == Binding::Column && b.depth == 0) out.insert(b.source);
        if (b.kind == Binding::Alias) everything = true;
      },
      [&](const Select&) { everything = true; });
  if (everything)
    for (std::size_t i = 0; i < sources.size(); ++i) out.insert(static_cast<int>(i));
  return out;
}

// ---- evaluation -------------------------------------------------------------------------

Value Scope::value(const Binding& b) {
  switch (b.kind) {
    case Binding::Parameter: return *b.value;
    case Binding::Missing: return Value::null();
    case Binding::Alias: return eval(*b.alias_expr);
    case Binding::Column: break;
  }
  Scope* s = this;
  for (int d = 0; d < b.depth; ++d) s = s->parent_;
  const int row = s->current ? s->current[b.source] : -1;
  if (row < 0) return Value::null();
  Source& src = s->sources[static_cast<std::size_t>(b.source)];
  const int slot = src.slot[static_cast<std::size_t>(b.column)];
  if (slot < 0) return Value::null();
  if (src.lazy) {
    if (src.cached_row != row) {
      auto again = read_row(src.table->pager(), src.table->def(), src.ids[static_cast<std::size_t>(row)], src.wanted);
      // Nothing is written while a statement works out its tuples: the row is still there.
      if (!again) throw_damaged(src.table->pager().file_name(), "ligne disparue pendant l'instruction");
      src.cached = std::move(*again);
      src.cached_row = row;
    }
    return src.cached[static_cast<std::size_t>(b.column)];
  }
  return src.rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(slot)];
}

void Scope::make_lazy() {
  for (Source& s : sources)
    if (!s.is_query && s.table && s.table->def().columns.size() == s.column_names.size()) s.lazy = true;
}

Value Scope::eval(const Expr& e) { return evaluate(e, resolver_, run_.options()); }
bool Scope::test(const Expr& e) { return evaluate_condition(e, resolver_, run_.options()); }

std::optional<Value> TupleResolver::column(const ColumnRef& ref) {
  const Binding& b = scope_.bind(ref, true);
  if (b.kind == Binding::Missing) return std::nullopt;
  return scope_.value(b);
}

std::optional<Value> TupleResolver::aggregate(const Call& call) {
  if (!aggregates) return std::nullopt;
  auto it = aggregates->find(&call);
  if (it == aggregates->end()) return std::nullopt;
  return it->second;
}

std::optional<std::vector<Value>> TupleResolver::subquery(const Select& select) {
  const ResultSet rs = run_select(scope_.run(), select, &scope_);
  std::vector<Value> out;
  out.reserve(rs.size());
  for (const auto& row : rs.rows()) out.push_back(row.empty() ? Value::null() : row[0]);
  return out;
}

}  // namespace jet::sql::detail
