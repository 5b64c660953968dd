// Reading tables and joining them. A condition that reads one table only filters that table
// as it is read (unless the table is on the Null side of an outer join); equalities between
// the two sides of a join make it a hash join, so joining 100k rows to 100k rows stays linear.
// Every candidate pair is still checked against the whole condition with Jet's comparison.
#include <algorithm>
#include <unordered_map>

#include "jet/base/error.h"
#include "jet/btree/index_cursor.h"
#include "jet/btree/index_key.h"
#include "jet/btree/index_row_key.h"
#include "jet/exec/exec_internal.h"

namespace jet::sql::detail {
namespace {

bool subset(const std::set<int>& a, const std::vector<int>& members) {
  return std::all_of(a.begin(), a.end(), [&](int s) {
    return std::find(members.begin(), members.end(), s) != members.end();
  });
}

// Class of a key part: texts, numbers (and dates), others; a key column whose two sides
// differ in class cannot be hashed (Jet compares '12' = 12 by value).
char key_class(const std::string& key) { return key.empty() ? '0' : (key[0] == 'U' ? 'T' : key[0]); }

}  // namespace

std::vector<std::pair<int, const Expr*>> Scope::equalities_on(const Expr& condition, int index) {
  std::vector<std::pair<int, const Expr*>> out;
  const auto* b = std::get_if<Binary>(&condition.node);
  if (!b || b->op != BinaryOp::Equal) return out;
  for (int side = 0; side < 2; ++side) {
    const Expr& col = side == 0 ? *b->left : *b->right;
    const Expr& other = side == 0 ? *b->right : *b->left;
    const auto* ref = std::get_if<ColumnRef>(&col.node);
    if (!ref || ref->star) continue;
    const Binding& bound = bind(*ref);
    if (bound.kind == Binding::Column && bound.depth == 0 && bound.source == index) out.emplace_back(bound.column, &other);
  }
  return out;
}

// Rows of a local table whose indexed column equals a constant of one of the filters, found
// by seeking its index; nullopt when no filter lends itself to it. The rows found are only
// candidates: the caller still checks every filter.
std::optional<std::vector<RowId>> Scope::seek_candidates(int index, const std::vector<const Expr*>& filters) {
  Source& s = sources[static_cast<std::size_t>(index)];
  if (s.is_query || !s.table) return std::nullopt;
  const TableDef& def = s.table->def();
  for (const Expr* f : filters) {
    for (const auto& [bound_column, other_side] : equalities_on(*f, index)) {
      const Expr& other = *other_side;
      if (!sources_of(other).empty()) continue;
      bool constant = true;
      walk(other, [&](const ColumnRef& r) { if (bind(r).kind == Binding::Alias) constant = false; },
           [&](const Select&) { constant = false; });
      if (!constant) continue;
      const jet::ColumnDef& column = def.columns[static_cast<std::size_t>(bound_column)];
      const IndexDef* chosen = nullptr;
      for (const auto& idx : def.indexes)
        if (!idx.columns.empty() && idx.columns[0].column_number == column.number) chosen = &idx;
      if (!chosen) continue;
      std::vector<std::uint8_t> key;
      try {
        const Value v = convert_for_column(column, eval(other));
        if (v.is_null()) return std::vector<RowId>{};  // = Null holds for no row
        key = index_key_for_values(def, *chosen, {v});
      } catch (const jet::Error&) {
        continue;  // not a value this column can hold: leave it to the scan
      }
      std::vector<RowId> out;
      IndexCursor cursor(s.table->pager(), def, *chosen);
      for (bool on = cursor.seek(key); on; on = cursor.next()) {
        const auto& entry = cursor.entry().key;
        if (entry.size() < key.size() || !std::equal(key.begin(), key.end(), entry.begin())) break;
        out.push_back(cursor.row_id());
      }
      return out;
    }
  }
  return std::nullopt;
}

ColumnSelection Scope::prepare(int index) {
  Source& s = sources[static_cast<std::size_t>(index)];
  const std::size_t n = s.column_names.size();
  s.slot.assign(n, -1);
  int next = 0;
  for (std::size_t c = 0; c < n; ++c)
    if (s.all_columns || s.is_query || run_.mentioned.count(upper(s.column_names[c])))
      s.slot[c] = next++;
  s.width = next;
  s.rows.clear();
  s.ids.clear();
  s.cached_row = -1;
  s.cached.clear();
  // Only the columns the statement mentions are decoded (long values included).
  ColumnSelection wanted;
  if (s.table && s.table->def().columns.size() == n) {
    wanted.resize(n);
    for (std::size_t c = 0; c < n; ++c) wanted[c] = s.slot[c] >= 0;
  }
  s.wanted = wanted;
  return wanted;
}

bool Scope::keep(int index, RowId id, const Row& row, const std::vector<const Expr*>& filters) {
  Source& s = sources[static_cast<std::size_t>(index)];
  if (s.lazy) {
    // The values stay only as the last row read, for the filters.
    s.cached = row;
    s.cached_row = static_cast<std::int32_t>(s.ids.size());
  } else {
    std::vector<Value> values(static_cast<std::size_t>(s.width));
    for (std::size_t c = 0; c < s.slot.size() && c < row.size(); ++c)
      if (s.slot[c] >= 0) values[static_cast<std::size_t>(s.slot[c])] = row[c];
    s.rows.push_back(std::move(values));
  }
  s.ids.push_back(id);
  CurrentGuard guard(*this);
  std::vector<std::int32_t> tuple(sources.size(), -1);
  tuple[static_cast<std::size_t>(index)] = static_cast<std::int32_t>(s.ids.size() - 1);
  current = tuple.data();
  for (const Expr* f : filters) {
    if (!test(*f)) {
      if (!s.lazy) s.rows.pop_back();
      s.ids.pop_back();
      s.cached_row = -1;
      return false;
    }
  }
  return true;
}

void Scope::load(int index, const std::vector<const Expr*>& filters) {
  Source& s = sources[static_cast<std::size_t>(index)];
  const ColumnSelection wanted = prepare(index);
  if (s.is_query) {
    CurrentGuard guard(*this);
    std::vector<std::int32_t> tuple(sources.size(), -1);
    current = tuple.data();
    for (const auto& row : s.query_rows->rows()) {
      s.rows.push_back(row);
      tuple[static_cast<std::size_t>(index)] = static_cast<std::int32_t>(s.rows.size() - 1);
      for (const Expr* f : filters)
        if (!test(*f)) {
          s.rows.pop_back();
          break;
        }
    }
    return;
  }
  std::uint64_t read = 0;
  const bool counted = index == counted_source && rows_read;
  auto take = [&](RowId id, const Row& row) {
    keep(index, id, row, filters);
    if (counted && ++read % 1024 == 0) rows_read(read);
    return true;
  };
  if (auto ids = seek_candidates(index, filters)) {
    for (const RowId id : *ids)
      if (auto row = read_row(s.table->pager(), s.table->def(), id, wanted)) take(id, *row);
    return;
  }
  s.table->scan(wanted, take);
}

Relation Scope::join_tree(const TableRef& ref, const std::vector<const Expr*>& where) {
  if (auto* j = std::get_if<Join>(&ref.node)) {
    Relation left = join_tree(*j->left, where);
    std::vector<const Expr*> on;
    conjuncts(j->on.get(), on);
    if (auto joined = index_join(j->kind, left, *j->right, on, where)) return std::move(*joined);
    Relation right = join_tree(*j->right, where);
    return join(j->kind, std::move(left), std::move(right), on);
  }
  const auto* named = &std::get<NamedTable>(ref.node);
  int index = -1;
  for (std::size_t i = 0; i < sources.size(); ++i)
    if (sources[i].ref == named) index = static_cast<int>(i);
  std::vector<const Expr*> filters;
  if (!sources[static_cast<std::size_t>(index)].nullable) {
    for (const Expr* c : where) {
      const std::set<int> used = sources_of(*c);
      if (used.size() == 1 && *used.begin() == index) {
        filters.push_back(c);
        applied_.insert(c);
      }
    }
  }
  load(index, filters);
  Relation r;
  r.width = static_cast<int>(sources.size());
  r.members = {index};
  const std::size_t rows = sources[static_cast<std::size_t>(index)].count();
  r.cells.assign(rows * static_cast<std::size_t>(r.width), -1);
  for (std::size_t i = 0; i < rows; ++i)
    r.cells[i * static_cast<std::size_t>(r.width) + static_cast<std::size_t>(index)] =
        static_cast<std::int32_t>(i);
  return r;
}

Relation Scope::from_all(const std::vector<TableRefPtr>& from, const Expr* where) {
  std::vector<const Expr*> parts;
  conjuncts(where, parts);
  if (from.empty()) {
    Relation one;
    one.width = static_cast<int>(sources.size());
    one.cells.assign(static_cast<std::size_t>(one.width), -1);
    if (one.width == 0) one.width = 1, one.cells.assign(1, -1);
    return one;
  }
  Relation all = join_tree(*from[0], parts);
  for (std::size_t i = 1; i < from.size(); ++i) {
    Relation next = join_tree(*from[i], parts);
    // Comma joins are inner joins: WHERE parts over both sides serve as their condition.
    std::vector<int> covered = all.members;
    covered.insert(covered.end(), next.members.begin(), next.members.end());
    std::vector<const Expr*> on;
    for (const Expr* c : parts) {
      const std::set<int> used = sources_of(*c);
      if (!used.empty() && subset(used, covered) && !subset(used, all.members) &&
          !subset(used, next.members))
        on.push_back(c), applied_.insert(c);
    }
    all = join(JoinKind::Inner, std::move(all), std::move(next), on);
  }
  return all;
}

bool Scope::holds(const Expr* where) {
  std::vector<const Expr*> parts;
  conjuncts(where, parts);
  for (const Expr* c : parts)
    if (!applied_.count(c) && !test(*c)) return false;
  return true;
}

Relation Scope::join(JoinKind kind, Relation left, Relation right,
                     const std::vector<const Expr*>& conditions) {
  if (kind == JoinKind::Right) {
    std::swap(left, right);
    kind = JoinKind::Left;
  }
  const bool outer = kind == JoinKind::Left;
  Relation out;
  out.width = left.width;
  out.members = left.members;
  out.members.insert(out.members.end(), right.members.begin(), right.members.end());

  // Equalities usable as hash keys: (expression over the left side, over the right side).
  std::vector<std::pair<const Expr*, const Expr*>> keys;
  for (const Expr* c : conditions) {
    const auto* b = std::get_if<Binary>(&c->node);
    if (!b || b->op != BinaryOp::Equal) continue;
    const std::set<int> a = sources_of(*b->left), z = sources_of(*b->right);
    if (a.empty() || z.empty()) continue;
    if (subset(a, left.members) && subset(z, right.members)) keys.emplace_back(b->left.get(), b->right.get());
    else if (subset(a, right.members) && subset(z, left.members)) keys.emplace_back(b->right.get(), b->left.get());
  }

  CurrentGuard guard(*this);
  const std::size_t width = static_cast<std::size_t>(out.width);
  std::vector<std::int32_t> merged(width);
  auto try_pair = [&](const std::int32_t* l, const std::int32_t* r) {
    for (std::size_t s = 0; s < width; ++s) merged[s] = l[s] >= 0 ? l[s] : r[s];
    current = merged.data();
    for (const Expr* c : conditions)
      if (!test(*c)) return false;
    out.push(merged.data());
    return true;
  };
  auto unmatched = [&](const std::int32_t* l) {
    if (outer) out.push(l);
  };

  // Key of a tuple over one side; false when a part is Null (such a tuple matches nothing).
  auto key_of = [&](const std::int32_t* t, bool left_side, std::string& key,
                    std::vector<char>& classes) {
    current = t;
    key.clear();
    classes.clear();
    for (const auto& [l, r] : keys) {
      const Value v = eval(left_side ? *l : *r);
      if (v.is_null() || v.is_empty()) return false;
      const std::string part = group_key(v);
      classes.push_back(key_class(part));
      if (part[0] == 'U') classes.back() = 'U';
      key += std::to_string(part.size());
      key += ':';
      key += part;
    }
    return true;
  };

  if (keys.empty()) {
    for (std::size_t i = 0; i < left.size(); ++i) {
      bool matched = false;
      for (std::size_t k = 0; k < right.size(); ++k) matched |= try_pair(left.at(i), right.at(k));
      if (!matched) unmatched(left.at(i));
    }
    return out;
  }

  std::unordered_map<std::string, std::vector<std::uint32_t>> table;
  std::vector<std::uint32_t> loose;  // right tuples whose key cannot be hashed
  std::vector<std::set<char>> seen(keys.size());
  std::string key;
  std::vector<char> classes;
  for (std::size_t k = 0; k < right.size(); ++k) {
    if (!key_of(right.at(k), false, key, classes)) continue;
    bool hashable = true;
    for (std::size_t p = 0; p < classes.size(); ++p) {
      seen[p].insert(classes[p] == 'U' ? 'T' : classes[p]);
      if (classes[p] == 'U') hashable = false;
    }
    if (hashable) table[key].push_back(static_cast<std::uint32_t>(k));
    else loose.push_back(static_cast<std::uint32_t>(k));
  }
  for (std::size_t i = 0; i < left.size(); ++i) {
    const std::int32_t* l = left.at(i);
    bool matched = false;
    if (key_of(l, true, key, classes)) {
      bool scan_all = false;
      for (std::size_t p = 0; p < classes.size(); ++p) {
        const char c = classes[p] == 'U' ? 'T' : classes[p];
        if (classes[p] == 'U' || seen[p].size() > 1 || (seen[p].size() == 1 && *seen[p].begin() != c))
          scan_all = true;
      }
      if (scan_all) {
        for (std::size_t k = 0; k < right.size(); ++k) matched |= try_pair(l, right.at(k));
      } else {
        auto it = table.find(key);
        if (it != table.end())
          for (std::uint32_t k : it->second) matched |= try_pair(l, right.at(k));
        for (std::uint32_t k : loose) matched |= try_pair(l, right.at(k));
      }
    }
    if (!matched) unmatched(l);
  }
  return out;
}

}  // namespace jet::sql::detail
