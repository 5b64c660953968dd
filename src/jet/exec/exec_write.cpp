// UPDATE, DELETE and INSERT. Every row to change and every new value is worked out first,
// reading the tables as they were before the statement; then the writes run inside one
// Statement (a savepoint of the open transaction, or autocommitted), so a refused row (3022,
// 3163, 3314, 3315...) leaves nothing of the statement behind, unless the run passes refused
// rows over (RowErrors::Skip): each write is a statement of its own inside that one, so a
// refused row leaves nothing of itself and the others stay.
#include <algorithm>
#include <unordered_map>

#include "jet/catalog/catalog.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/exec/exec_internal.h"
#include "jet/sql/parser.h"
#include "jet/sql/sql_error.h"
#include "jet/storage/transaction.h"

namespace jet::sql::detail {
namespace {

jet::WritableDatabase& writable(Run& run) {
  if (!run.writable()) fail(static_cast<int>(SqlError::ReadOnlyObject));
  return *run.writable();
}

void check_bound(Run& run) {
  if (!run.missing_names().empty()) throw too_few_parameters(static_cast<int>(run.missing_names().size()));
}

void bind_joins(Scope& scope, const TableRef& t) {
  if (auto* j = std::get_if<Join>(&t.node)) {
    bind_joins(scope, *j->left);
    bind_joins(scope, *j->right);
    if (j->on) scope.bind_all(*j->on);
  }
}

// The writable local table a statement changes: 3027 for another database or a query.
const Source& target_source(const Scope& scope, int index) {
  const Source& s = scope.sources[static_cast<std::size_t>(index)];
  if (!s.local || s.is_query) fail(static_cast<int>(SqlError::ReadOnlyObject));
  return s;
}

// Tuples of the FROM part that satisfy WHERE.
std::vector<const std::int32_t*> matching(Scope& scope, const Relation& rel, const Expr* where) {
  std::vector<const std::int32_t*> out;
  for (std::size_t i = 0; i < rel.size(); ++i) {
    scope.current = rel.at(i);
    if (scope.holds(where)) out.push_back(rel.at(i));
  }
  scope.current = nullptr;
  return out;
}

// Runs one row's write; under RowErrors::Skip a refused row (the writer undid its own
// part) is passed over. Returns whether the row was written.
template <class Write>
bool write_row(Run& run, Write write) {
  try {
    write();
    return true;
  } catch (const jet::Error& e) {
    if (!run.skips_row(e)) throw;
    return false;
  }
}

// A writer of a local table: the database's own, which keeps the indexes up to date and
// enforces relationships (3201, 3200, cascades).
struct TableChange {
  TableWriter writer;
  TableChange(jet::WritableDatabase& db, const std::string& name) : writer(db.writer(name)) {}
};

}  // namespace

std::int64_t run_update(Run& run, const Update& update) {
  jet::WritableDatabase& db = writable(run);
  Scope scope(run, nullptr);
  scope.add_sources(*update.target);
  bind_joins(scope, *update.target);
  for (const auto& a : update.assignments) {
    scope.bind(a.column);
    scope.bind_all(*a.value);
  }
  if (update.where) scope.bind_all(*update.where);
  check_bound(run);

  // Where each assignment goes.
  struct Target {
    int source, column;
  };
  std::vector<Target> targets;
  for (const auto& a : update.assignments) {
    const Binding& b = scope.bind(a.column);
    if (b.kind != Binding::Column || b.depth != 0) throw sql_error(SqlError::UpdateSyntax);
    target_source(scope, b.source);
    targets.push_back({b.source, b.column});
  }

  std::vector<const Expr*> where;
  conjuncts(update.where.get(), where);
  // Told as work done: the rows of the changed table read, then the rows written. Until the
  // rows to change are known, as many as the table holds are reckoned to come.
  const Source& changed_source = scope.sources[static_cast<std::size_t>(targets.front().source)];
  const std::uint64_t table_rows = changed_source.table ? changed_source.table->def().row_count : 0;
  if (run.progress && table_rows > 0) {
    scope.counted_source = targets.front().source;
    scope.rows_read = [&](std::uint64_t n) { run.wrote(std::min(n, table_rows), 2 * table_rows); };
  }
  // The tuples are gone through in order: rows are read again rather than held.
  scope.make_lazy();
  const Relation rel = scope.join_tree(*update.target, where);
  const auto tuples = matching(scope, rel, update.where.get());

  // Values read only from other databases cannot change under this statement's writes: they
  // are worked out as each row is written, from the tuple kept, rather than all held first.
  bool deferred = true;
  for (const auto& a : update.assignments)
    for (const int s : scope.sources_of(*a.value))
      if (scope.sources[static_cast<std::size_t>(s)].local) deferred = false;

  // The changed rows, in the order they were met; a row met twice takes the values of its
  // last match (its last tuple, or its values replaced column by column).
  struct Change {
    int source;
    std::int32_t row;
    std::uint32_t tuple;   // deferred: the tuple the values come from
    std::uint32_t values;  // otherwise: its entry in `held`
  };
  std::vector<Change> changes;
  std::vector<std::vector<std::pair<int, Value>>> held;
  constexpr std::uint32_t kUnmet = 0xFFFFFFFF;
  std::vector<std::vector<std::uint32_t>> change_of(scope.sources.size());  // per source, per row
  for (std::size_t n = 0; n < tuples.size(); ++n) {
    const std::int32_t* t = tuples[n];
    scope.current = t;
    for (std::size_t i = 0; i < targets.size(); ++i) {
      const std::int32_t row = t[targets[i].source];
      if (row < 0) continue;  // the Null side of an outer join: no row to change
      auto& index = change_of[static_cast<std::size_t>(targets[i].source)];
      if (index.empty()) index.assign(scope.sources[static_cast<std::size_t>(targets[i].source)].count(), kUnmet);
      std::uint32_t& at = index[static_cast<std::size_t>(row)];
      if (at == kUnmet) {
        at = static_cast<std::uint32_t>(changes.size());
        changes.push_back({targets[i].source, row, 0, deferred ? 0 : static_cast<std::uint32_t>(held.size())});
        if (!deferred) held.emplace_back();
      }
      Change& change = changes[at];
      change.tuple = static_cast<std::uint32_t>(n);
      if (deferred) continue;
      Value v = scope.eval(*update.assignments[i].value);
      auto& values = held[change.values];
      bool replaced = false;
      for (auto& [column, value] : values)
        if (column == targets[i].column) value = v, replaced = true;
      if (!replaced) values.emplace_back(targets[i].column, std::move(v));
    }
  }
  scope.current = nullptr;
  change_of.clear();
  change_of.shrink_to_fit();

  jet::Statement statement(db.pager());
  std::unordered_map<int, std::unique_ptr<TableChange>> writers;
  std::int64_t changed = 0;
  std::uint64_t done = 0;
  const std::uint64_t read = scope.rows_read ? table_rows : 0;
  for (const auto& c : changes) {
    run.wrote(read + done++, read + changes.size());
    const Source& s = scope.sources[static_cast<std::size_t>(c.source)];
    auto& w = writers[c.source];
    if (!w) w = std::make_unique<TableChange>(db, s.name);
    const RowId id = s.ids[static_cast<std::size_t>(c.row)];
    // Read again: a cascade of an earlier row may have changed or removed this one.
    std::optional<Row> full = s.table->read(id);
    if (!full) continue;
    const TableDef& def = s.table->def();
    const auto set = [&](int column, const Value& value) {
      (*full)[static_cast<std::size_t>(column)] = run.convert(def.columns[static_cast<std::size_t>(column)], value);
    };
    if (deferred) {
      scope.current = tuples[c.tuple];
      for (std::size_t i = 0; i < targets.size(); ++i)
        if (targets[i].source == c.source) set(targets[i].column, scope.eval(*update.assignments[i].value));
      scope.current = nullptr;
    } else {
      for (const auto& [column, value] : held[c.values]) set(column, value);
    }
    if (write_row(run, [&] { w->writer.update(id, *full); })) ++changed;
  }
  run.wrote(read + changes.size(), read + changes.size());
  statement.commit();
  return changed;
}

std::int64_t run_delete(Run& run, const Delete& del) {
  jet::WritableDatabase& db = writable(run);
  Scope scope(run, nullptr);
  for (const auto& t : del.from) scope.add_sources(*t);
  for (const auto& t : del.from) bind_joins(scope, *t);
  if (del.where) scope.bind_all(*del.where);
  check_bound(run);

  int target = -1;
  std::string named = del.star_table;
  if (named.empty() && !del.columns.empty()) named = del.columns.front().table;
  if (!named.empty()) {
    for (std::size_t i = 0; i < scope.sources.size(); ++i)
      if (upper(scope.sources[i].alias) == upper(named)) target = static_cast<int>(i);
    if (target < 0) throw jet::Error(jet::ErrorCode::TableNotFound, named);
  } else if (scope.sources.size() == 1) {
    target = 0;
  } else {
    fail(static_cast<int>(SqlError::DeleteTableUnspecified));
  }
  const Source& s = target_source(scope, target);

  scope.make_lazy();
  const Relation rel = scope.from_all(del.from, del.where.get());
  const auto tuples = matching(scope, rel, del.where.get());
  std::vector<bool> doomed(s.count(), false);
  std::vector<RowId> ids;
  for (const std::int32_t* t : tuples) {
    const std::int32_t row = t[target];
    if (row < 0 || doomed[static_cast<std::size_t>(row)]) continue;
    doomed[static_cast<std::size_t>(row)] = true;
    ids.push_back(s.ids[static_cast<std::size_t>(row)]);
  }

  jet::Statement statement(db.pager());
  std::int64_t removed = 0;
  if (!ids.empty()) {
    TableChange change(db, s.name);
    for (std::size_t i = 0; i < ids.size(); ++i) {
      run.wrote(i, ids.size());
      if (write_row(run, [&] { change.writer.remove(ids[i]); })) ++removed;
    }
    run.wrote(ids.size(), ids.size());
  }
  statement.commit();
  return removed;
}

namespace {

// Default values of the columns an INSERT leaves out (the DefaultValue property, an
// expression); Null when none.
std::vector<Value> default_values(Run& run, jet::WritableDatabase& db, const TableDef& def,
                                  std::string_view table) {
  std::vector<Value> out(def.columns.size(), Value::null());
  const CatalogEntry* entry = db.catalog().find_table(table);
  if (!entry) return out;
  const PropertySet props = entry->property_set();
  Scope none(run, nullptr);
  for (std::size_t i = 0; i < def.columns.size(); ++i) {
    const PropertyBlock* block = props.column(def.columns[i].name);
    const Property* p = block ? block->find("DefaultValue") : nullptr;
    if (!p || p->value.kind() != ValueKind::Text || p->value.as_text().empty()) continue;
    try {
      const ExprPtr e = parse_expression(p->value.as_text());
      out[i] = convert_for_column(def.columns[i], none.eval(*e));
    } catch (const jet::Error&) {
      // A default Jet cannot evaluate in a query (a form reference...) is left out.
    }
  }
  return out;
}

}  // namespace

std::int64_t run_insert(Run& run, const Insert& insert) {
  jet::WritableDatabase& db = writable(run);
  if (!run.is_local(insert.table)) fail(static_cast<int>(SqlError::ReadOnlyObject));
  const jet::Table table = run.table(insert.table);
  const TableDef& def = table.def();

  std::vector<int> columns;  // target column of each given value
  for (const auto& name : insert.columns) {
    const jet::ColumnDef* c = def.find_column(name);
    if (!c) fail(static_cast<int>(SqlError::UnknownInsertField), name);
    columns.push_back(static_cast<int>(c->definition_order));
  }

  std::vector<std::vector<Value>> rows;
  if (insert.select) {
    const ResultSet rs = run_select(run, *insert.select, nullptr);
    if (columns.empty()) {
      // Without a column list, the query's columns go to the fields of the same name.
      for (const auto& rc : rs.columns()) {
        std::string name = rc.name;
        const jet::ColumnDef* c = def.find_column(name);
        if (!c && rc.base_column) c = def.find_column(*rc.base_column);
        if (!c) fail(static_cast<int>(SqlError::UnknownInsertField), name);
        columns.push_back(static_cast<int>(c->definition_order));
      }
    } else if (columns.size() != rs.columns().size()) {
      throw sql_error(SqlError::ValueCountMismatch);
    }
    rows = rs.rows();
  } else {
    Scope none(run, nullptr);
    for (const auto& v : insert.values) none.bind_all(*v);
    check_bound(run);
    if (columns.empty()) {
      if (insert.values.size() != def.columns.size()) throw sql_error(SqlError::ValueCountMismatch);
      for (std::size_t i = 0; i < def.columns.size(); ++i) columns.push_back(static_cast<int>(i));
    } else if (columns.size() != insert.values.size()) {
      throw sql_error(SqlError::ValueCountMismatch);
    }
    std::vector<Value> row;
    for (const auto& v : insert.values) row.push_back(none.eval(*v));
    rows.push_back(std::move(row));
  }

  const std::vector<Value> defaults = default_values(run, db, def, table.name());
  jet::Statement statement(db.pager());
  std::int64_t inserted = 0;
  if (!rows.empty()) {
    TableChange change(db, table.name());
    for (const auto& given : rows) {
      Row row = defaults;
      for (std::size_t i = 0; i < columns.size(); ++i) {
        const auto c = static_cast<std::size_t>(columns[i]);
        row[c] = run.convert(def.columns[c], given[i]);
      }
      if (write_row(run, [&] { change.writer.insert(row); })) ++inserted;
    }
  }
  statement.commit();
  return inserted;
}

}  // namespace jet::sql::detail
