// SELECT: tuples of the FROM clause filtered by WHERE, grouped (GROUP BY, aggregates,
// HAVING) or not, projected, ordered (Nulls first, texts by the General sort order),
// made distinct, cut by TOP (ties with the last row kept, as Jet does), and UNION.
#include <algorithm>
#include <cmath>
#include <map>

#include "jet/exec/exec_aggregate.h"
#include "jet/exec/exec_internal.h"
#include "jet/sql/printer.h"
#include "jet/sql/sql_error.h"

namespace jet::sql {

class SelectRunner {
 public:
  SelectRunner(detail::Run& run, const Select& select, detail::Scope* parent)
      : run_(run), select_(select), scope_(run, parent) {}

  ResultSet run(bool apply_order);
  static ResultSet run_union(detail::Run& run, const Select& first, detail::Scope* parent);

 private:
  struct Output {
    const Expr* expr = nullptr;  // else a column of a source
    int source = -1, column = -1;
    std::string name;
    bool aliased = false;
  };
  struct Record {
    std::vector<Value> values, keys;
    std::int32_t base_row = -1;
  };

  void plan_outputs();
  void check_grouped(const Expr& e);
  bool covered_by_group(const Expr& e);
  Record record(const std::int32_t* tuple);
  void finish(std::vector<Record>& records, bool apply_order, bool grouped);

  detail::Run& run_;
  const Select& select_;
  detail::Scope scope_;
  std::vector<Output> outputs_;
  ResultSet result_;
};

namespace {

bool is_star(const Expr& e) {
  auto* c = std::get_if<ColumnRef>(&e.node);
  return c && c->star;
}

// The default ordering of records by their keys.
bool keys_less(const std::vector<Value>& a, const std::vector<Value>& b,
               const std::vector<OrderItem>& order) {
  for (std::size_t i = 0; i < a.size(); ++i) {
    int c = detail::order_values(a[i], b[i]);
    if (i < order.size() && order[i].descending) c = -c;
    if (c != 0) return c < 0;
  }
  return false;
}

bool keys_equal(const std::vector<Value>& a, const std::vector<Value>& b) {
  for (std::size_t i = 0; i < a.size(); ++i)
    if (detail::order_values(a[i], b[i]) != 0) return false;
  return true;
}

}  // namespace

void SelectRunner::plan_outputs() {
  int expr_number = 1000;
  for (const auto& item : select_.items) {
    if (is_star(*item.expr)) {
      const auto& ref = std::get<ColumnRef>(item.expr->node);
      for (std::size_t s = 0; s < scope_.sources.size(); ++s) {
        auto& src = scope_.sources[s];
        if (!ref.table.empty() && detail::upper(src.alias) != detail::upper(ref.table)) continue;
        src.all_columns = true;
        for (std::size_t c = 0; c < src.column_names.size(); ++c)
          outputs_.push_back({nullptr, static_cast<int>(s), static_cast<int>(c), src.column_names[c], false});
      }
      continue;
    }
    Output out;
    out.expr = item.expr.get();
    out.aliased = !item.alias.empty();
    if (auto* c = std::get_if<ColumnRef>(&item.expr->node)) {
      const detail::Binding& b = scope_.bind(*c);
      if (b.kind == detail::Binding::Column && b.depth == 0) {
        out.source = b.source;
        out.column = b.column;
        out.name = scope_.sources[static_cast<std::size_t>(b.source)].column_names[static_cast<std::size_t>(b.column)];
      }
    }
    if (out.aliased) out.name = item.alias;
    if (out.name.empty()) out.name = "Expr" + std::to_string(expr_number++);
    outputs_.push_back(out);
  }
  // Two unaliased columns of the same name are told apart by their table.
  std::map<std::string, int> uses;
  for (const auto& o : outputs_) ++uses[detail::upper(o.name)];
  for (auto& o : outputs_) {
    if (o.aliased || o.source < 0 || uses[detail::upper(o.name)] < 2) continue;
    o.name = scope_.sources[static_cast<std::size_t>(o.source)].alias + "." + o.name;
  }
  for (const auto& o : outputs_) {
    ResultColumn rc;
    rc.name = o.name;
    if (o.source >= 0) {
      const auto& src = scope_.sources[static_cast<std::size_t>(o.source)];
      rc.type = src.column_types[static_cast<std::size_t>(o.column)];
      if (!src.is_query) {
        rc.base_table = src.name;
        rc.base_column = src.column_names[static_cast<std::size_t>(o.column)];
      }
    }
    result_.columns_.push_back(std::move(rc));
  }
}

bool SelectRunner::covered_by_group(const Expr& e) {
  for (const auto& g : select_.group_by) {
    if (*g == e) return true;
    auto* gc = std::get_if<ColumnRef>(&g->node);
    auto* ec = std::get_if<ColumnRef>(&e.node);
    if (gc && ec) {
      const detail::Binding& a = scope_.bind(*gc);
      const detail::Binding& b = scope_.bind(*ec, true);
      if (a.kind == detail::Binding::Column && b.kind == detail::Binding::Column &&
          a.depth == b.depth && a.source == b.source && a.column == b.column)
        return true;
    }
  }
  return false;
}

// Every column a grouped query shows must be grouped on or inside an aggregate (3122).
void SelectRunner::check_grouped(const Expr& e) {
  if (covered_by_group(e)) return;
  if (auto* c = std::get_if<Call>(&e.node); c && is_aggregate_function(c->name)) return;
  if (auto* c = std::get_if<ColumnRef>(&e.node)) {
    const detail::Binding& b = scope_.bind(*c, true);
    if (b.kind == detail::Binding::Alias) return check_grouped(*b.alias_expr);
    if (b.kind == detail::Binding::Column && b.depth == 0)
      detail::fail(static_cast<int>(SqlError::NotPartOfAggregate),
                   c->table.empty() ? c->name : c->table + "." + c->name);
    return;
  }
  detail::for_each_child(e, [&](const Expr& x) { check_grouped(x); });
}

SelectRunner::Record SelectRunner::record(const std::int32_t* tuple) {
  scope_.current = tuple;
  Record r;
  r.values.reserve(outputs_.size());
  for (const auto& o : outputs_) {
    if (o.expr) {
      r.values.push_back(scope_.eval(*o.expr));
    } else {
      const auto& src = scope_.sources[static_cast<std::size_t>(o.source)];
      const int row = tuple[o.source];
      const int slot = src.slot[static_cast<std::size_t>(o.column)];
      r.values.push_back(row < 0 || slot < 0 ? Value::null()
                                            : src.rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(slot)]);
    }
  }
  for (const auto& o : select_.order_by) r.keys.push_back(scope_.eval(*o.expr));
  if (!scope_.sources.empty()) r.base_row = tuple[0];
  return r;
}

void SelectRunner::finish(std::vector<Record>& records, bool apply_order, bool grouped) {
  if (apply_order && !select_.order_by.empty())
    std::stable_sort(records.begin(), records.end(), [&](const Record& a, const Record& b) {
      return keys_less(a.keys, b.keys, select_.order_by);
    });
  if (select_.distinct == Distinctness::Distinct) {
    std::set<std::string> seen;
    std::vector<Record> kept;
    for (auto& r : records) {
      std::string key;
      for (const auto& v : r.values) {
        const std::string part = detail::group_key(v);
        key += std::to_string(part.size()) + ":" + part;
      }
      if (seen.insert(key).second) kept.push_back(std::move(r));
    }
    records = std::move(kept);
  }
  if (select_.top) {
    const double n = std::stod(*select_.top);
    std::size_t limit = select_.top_percent
                            ? static_cast<std::size_t>(std::ceil(n * static_cast<double>(records.size()) / 100.0))
                            : static_cast<std::size_t>(n);
    if (limit > 0 && limit < records.size() && !select_.order_by.empty())
      while (limit < records.size() && keys_equal(records[limit].keys, records[limit - 1].keys)) ++limit;
    if (limit < records.size()) records.resize(limit);
  }
  const bool updatable = !grouped && select_.distinct == Distinctness::All && select_.from.size() == 1 &&
                         scope_.sources.size() == 1 && scope_.sources[0].local &&
                         !scope_.sources[0].is_query && !select_.union_next;
  if (updatable) result_.base_table_ = scope_.sources[0].name;
  for (auto& r : records) {
    if (updatable) result_.row_ids_.push_back(scope_.sources[0].ids[static_cast<std::size_t>(r.base_row)]);
    result_.rows_.push_back(std::move(r.values));
  }
  // Columns computed by expressions take the type of their first value.
  for (std::size_t c = 0; c < outputs_.size(); ++c) {
    if (outputs_[c].source >= 0) continue;
    for (const auto& row : result_.rows_)
      if (!row[c].is_null() && !row[c].is_empty()) {
        result_.columns_[c].type = detail::type_of_value(row[c]);
        break;
      }
  }
}

ResultSet SelectRunner::run(bool apply_order) {
  scope_.bind_select(select_);
  if (!scope_.parent() && !run_.missing_names().empty())
    throw too_few_parameters(static_cast<int>(run_.missing_names().size()));
  plan_outputs();

  std::vector<const Call*> calls;
  for (const auto& item : select_.items) detail::aggregate_calls(*item.expr, calls);
  if (select_.having) detail::aggregate_calls(*select_.having, calls);
  for (const auto& o : select_.order_by) detail::aggregate_calls(*o.expr, calls);
  const bool grouped = !select_.group_by.empty() || !calls.empty() || select_.having;
  if (grouped) {
    for (const auto& item : select_.items) {
      if (is_star(*item.expr)) detail::fail(static_cast<int>(SqlError::CannotGroupOnField));
      check_grouped(*item.expr);
    }
    if (select_.having) check_grouped(*select_.having);
    for (const auto& o : select_.order_by) check_grouped(*o.expr);
  }

  detail::Relation rel = scope_.from_all(select_.from, select_.where.get());
  std::vector<const std::int32_t*> tuples;
  tuples.reserve(rel.size());
  for (std::size_t i = 0; i < rel.size(); ++i) {
    scope_.current = rel.at(i);
    if (scope_.holds(select_.where.get())) tuples.push_back(rel.at(i));
  }

  std::vector<Record> records;
  if (!grouped) {
    records.reserve(tuples.size());
    for (const std::int32_t* t : tuples) records.push_back(record(t));
    scope_.current = nullptr;
    finish(records, apply_order, false);
    return std::move(result_);
  }

  // Groups in the order of their GROUP BY values (Jet sorts to group).
  std::map<std::string, std::size_t> index;
  std::vector<std::vector<const std::int32_t*>> groups;
  std::vector<std::vector<Value>> group_values;
  for (const std::int32_t* t : tuples) {
    scope_.current = t;
    std::string key;
    std::vector<Value> values;
    for (const auto& g : select_.group_by) {
      values.push_back(scope_.eval(*g));
      const std::string part = detail::group_key(values.back());
      key += std::to_string(part.size()) + ":" + part;
    }
    auto [it, fresh] = index.emplace(key, groups.size());
    if (fresh) {
      groups.emplace_back();
      group_values.push_back(std::move(values));
    }
    groups[it->second].push_back(t);
  }
  if (select_.group_by.empty() && groups.empty()) {
    groups.emplace_back();  // aggregates over no row still give one row
    group_values.emplace_back();
  }
  std::vector<std::size_t> order(groups.size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return keys_less(group_values[a], group_values[b], {});
  });

  const std::vector<std::int32_t> empty_tuple(std::max<std::size_t>(scope_.sources.size(), 1), -1);
  std::unordered_map<const Call*, Value> aggregates;
  scope_.resolver().aggregates = &aggregates;
  for (std::size_t g : order) {
    aggregates.clear();
    for (const Call* c : calls) aggregates[c] = detail::compute_aggregate(scope_, *c, groups[g]);
    const std::int32_t* first = groups[g].empty() ? empty_tuple.data() : groups[g].front();
    scope_.current = first;
    if (select_.having && !scope_.test(*select_.having)) continue;
    records.push_back(record(first));
  }
  scope_.resolver().aggregates = nullptr;
  scope_.current = nullptr;
  finish(records, apply_order, true);
  return std::move(result_);
}

ResultSet SelectRunner::run_union(detail::Run& run, const Select& first, detail::Scope* parent) {
  ResultSet all;
  bool distinct = false;
  const Select* last = &first;
  for (const Select* s = &first; s; s = s->union_next.get()) {
    SelectRunner part(run, *s, parent);
    ResultSet rs = part.run(false);
    if (s == &first) all.columns_ = rs.columns_;
    else if (rs.columns_.size() != all.columns_.size())
      throw sql_error(SqlError::SelectSyntax);
    for (auto& r : rs.rows_) all.rows_.push_back(std::move(r));
    if (s->union_next && !s->union_all) distinct = true;
    last = s;
  }
  if (distinct) {
    std::set<std::string> seen;
    std::vector<std::vector<Value>> kept;
    for (auto& r : all.rows_) {
      std::string key;
      for (const auto& v : r) {
        const std::string part = detail::group_key(v);
        key += std::to_string(part.size()) + ":" + part;
      }
      if (seen.insert(key).second) kept.push_back(std::move(r));
    }
    all.rows_ = std::move(kept);
  }
  if (!last->order_by.empty()) {
    // The union's ORDER BY names its output columns.
    std::vector<std::pair<std::size_t, bool>> keys;
    for (const auto& o : last->order_by) {
      auto* c = std::get_if<ColumnRef>(&o.expr->node);
      std::optional<std::size_t> at;
      if (c) at = all.column_index(c->name);
      if (!at) throw sql_error(SqlError::OrderByClauseSyntax);
      keys.emplace_back(*at, o.descending);
    }
    std::stable_sort(all.rows_.begin(), all.rows_.end(), [&](const auto& a, const auto& b) {
      for (const auto& [i, desc] : keys) {
        int c = detail::order_values(a[i], b[i]);
        if (desc) c = -c;
        if (c != 0) return c < 0;
      }
      return false;
    });
  }
  return all;
}

namespace detail {

ResultSet run_select(Run& run, const Select& select, Scope* parent) {
  if (select.union_next) return SelectRunner::run_union(run, select, parent);
  SelectRunner runner(run, select, parent);
  return runner.run(true);
}

}  // namespace detail

std::optional<std::size_t> ResultSet::column_index(std::string_view name) const {
  const std::string u = detail::upper(name);
  for (std::size_t i = 0; i < columns_.size(); ++i)
    if (detail::upper(columns_[i].name) == u) return i;
  return std::nullopt;
}

}  // namespace jet::sql
