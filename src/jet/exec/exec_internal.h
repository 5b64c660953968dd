// Inner workings of the statement executor, shared by its source files (not a public header).
//
// A statement runs in a Run: the databases it reads, its parameters, the tables of other
// databases it opened. A SELECT (or the FROM part of UPDATE / DELETE) works in a Scope: its
// sources (tables read into memory, only the columns the statement names) and a Relation of
// tuples, each tuple one row index per source (-1: no row, the Null side of an outer join).
// Names bind once per tree node, so evaluating a condition over 100k tuples does no lookup.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "jet/sql/ast.h"
#include "jet/sql/evaluator.h"
#include "jet/exec/executor.h"
#include "jet/ddl/relationship_write.h"
#include "jet/table/table_design.h"

namespace jet::sql::detail {

std::string upper(std::string_view s);

// Errors of the executor beyond the parser's.
[[noreturn]] void fail(int number, std::string_view argument = {});

// ---- the databases a statement reads ----------------------------------------------------

class Run {
 public:
  Run(jet::Database* read_db, jet::WritableDatabase* write_db, const DatabaseOpener& opener,
      const Parameters& parameters, const std::vector<ParameterDecl>& declared);

  // A table of the local database (3078 when none) or of the database named by `path`.
  jet::Table table(const NamedTable& ref);
  bool is_local(const NamedTable& ref) const { return ref.database_path().empty(); }
  // SQL text of a saved query of the local database, or nullopt.
  std::optional<std::string> saved_query(std::string_view name) const;

  // The value of a parameter: given by name, or nullptr (declared without a value, or not
  // a parameter at all).
  const Value* parameter(std::string_view name) const;
  jet::WritableDatabase* writable() const noexcept { return write_db_; }
  const EvalOptions& options() const noexcept { return options_; }

  // What the writes do with a row the engine refuses (see executor.h).
  RowErrors row_errors = RowErrors::Fail;
  // Told as UPDATE reads the rows of its table and as UPDATE and DELETE write their rows;
  // null when no one listens.
  const Progress* progress = nullptr;
  void wrote(std::uint64_t done, std::uint64_t total) const {
    if (progress) (*progress)(done, total);
  }
  // Under RowErrors::Skip: whether `e` refuses one row only (the row is passed over).
  bool skips_row(const jet::Error& e) const;
  // A value converted for a column; under RowErrors::Skip a value that cannot be becomes
  // Null, as Jet stores it.
  Value convert(const jet::ColumnDef& column, const Value& value) const;

  // Names the statement could not bind, each once (upper-cased key, name as written).
  void missing(const std::string& name);
  const std::vector<std::string>& missing_names() const noexcept { return missing_order_; }
  // Every column name mentioned anywhere in the statement (upper-cased), for loading.
  std::set<std::string> mentioned;

 private:
  jet::Database* read_db_;
  jet::WritableDatabase* write_db_;
  const DatabaseOpener& opener_;
  std::map<std::string, Value> parameters_;  // declared ones, upper-cased, in their type
  const Parameters* parameters_given_ = nullptr;
  std::map<std::string, std::unique_ptr<jet::Database>> others_;  // by path as written
  std::set<std::string> missing_;
  std::vector<std::string> missing_order_;
  EvalOptions options_;
};

// ---- sources and tuples -----------------------------------------------------------------

// One table of a FROM clause, with the rows read so far.
struct Source {
  std::string name;   // as defined (or as written for a saved query)
  std::string alias;  // the name statements use for it (alias, else the table name)
  bool local = true;
  bool is_query = false;
  bool nullable = false;  // on the Null side of an outer join
  std::vector<std::string> column_names;
  std::vector<ColumnType> column_types;
  std::vector<int> slot;  // column -> position in a stored row, -1 when not read
  int width = 0;          // values of a stored row
  std::vector<RowId> ids;
  std::vector<std::vector<Value>> rows;
  // A lazy source keeps the ids of its rows only and reads a row again when its values are
  // wanted (the last one read is kept): memory stays a few bytes per row, whatever the
  // table's size, for statements that go through their tuples in order (UPDATE, DELETE).
  bool lazy = false;
  ColumnSelection wanted;       // the columns decoded
  std::int32_t cached_row = -1;  // the row whose values `cached` holds (lazy sources)
  Row cached;
  // Rows read so far.
  std::size_t count() const noexcept { return is_query ? rows.size() : ids.size(); }
  bool all_columns = false;  // read every column (`*`, `t.*`)
  const NamedTable* ref = nullptr;
  std::optional<jet::Table> table;
  std::optional<ResultSet> query_rows;  // a saved query's result
  int find_column(std::string_view name) const;  // -1 when none
};

// Tuples of a fixed width, stored flat.
struct Relation {
  int width = 0;
  std::vector<std::int32_t> cells;
  std::vector<int> members;  // sources the tuples hold a row of
  std::size_t size() const { return width ? cells.size() / static_cast<std::size_t>(width) : 0; }
  const std::int32_t* at(std::size_t i) const { return cells.data() + i * static_cast<std::size_t>(width); }
  void push(const std::int32_t* t) { cells.insert(cells.end(), t, t + width); }
};

// What a name is bound to.
struct Binding {
  enum Kind { Column, Parameter, Missing, Alias } kind = Missing;
  int depth = 0;  // 0: this scope, 1: its parent...
  int source = -1;
  int column = -1;  // column of the source
  const Value* value = nullptr;       // parameter
  const Expr* alias_expr = nullptr;   // select-list alias (ORDER BY)
};

class Scope;

// Evaluation over the current tuple of a scope (and of its parents, for correlated
// subqueries); aggregates come from a table filled for the current group.
class TupleResolver final : public Resolver {
 public:
  explicit TupleResolver(Scope& scope) : scope_(scope) {}
  std::optional<Value> column(const ColumnRef& ref) override;
  std::optional<Value> aggregate(const Call& call) override;
  std::optional<std::vector<Value>> subquery(const Select& select) override;
  const std::unordered_map<const Call*, Value>* aggregates = nullptr;

 private:
  Scope& scope_;
};

class Scope {
 public:
  Scope(Run& run, Scope* parent) : run_(run), parent_(parent) {}
  Run& run() { return run_; }
  Scope* parent() { return parent_; }

  std::vector<Source> sources;
  const std::int32_t* current = nullptr;  // the tuple being evaluated
  // Told every few thousand rows of source `counted_source` read from its table (a long
  // statement shows it is moving before it writes).
  int counted_source = -1;
  std::function<void(std::uint64_t rows)> rows_read;
  const std::vector<SelectItem>* aliases = nullptr;  // select list, for ORDER BY names

  // Adds the sources of a FROM item (tables and joins, left to right).
  void add_sources(const TableRef& ref);
  // Binds a name (cached by node); throws 3079 for an ambiguous one. Missing names are
  // recorded in the run and read as Null.
  const Binding& bind(const ColumnRef& ref, bool allow_alias = false);
  // Binds every name of an expression, and those of its subqueries in scopes of their own.
  void bind_all(const Expr& expr, bool allow_alias = false);
  // Binds every name of a select (its FROM sources added to this scope first).
  void bind_select(const Select& select);
  // The sources of this scope an expression reads (parameters, outer names excluded).
  std::set<int> sources_of(const Expr& expr);

  Value value(const Binding& b);
  // Makes the table sources of this scope lazy (see Source::lazy).
  void make_lazy();
  Value eval(const Expr& e);
  bool test(const Expr& e);
  TupleResolver& resolver() { return resolver_; }

  // Reads a source's rows (the columns the statement mentions), keeping those for which
  // every filter holds.
  void load(int source, const std::vector<const Expr*>& filters);
  // Tuples of a FROM item; `where` are the WHERE conjuncts (used to join comma items and
  // to filter tables early).
  Relation join_tree(const TableRef& ref, const std::vector<const Expr*>& where);
  Relation from_all(const std::vector<TableRefPtr>& from, const Expr* where);
  // Whether the current tuple satisfies `where`, leaving out the parts the joins and the
  // reading of the tables already applied to every tuple they made.
  bool holds(const Expr* where);

 private:
  Binding resolve(const ColumnRef& ref, bool allow_alias);
  std::optional<std::vector<RowId>> seek_candidates(int index, const std::vector<const Expr*>& filters);
  // Each way `condition` reads as "a column of source `index` = another expression": the
  // column and the other side (none unless it is an equality).
  std::vector<std::pair<int, const Expr*>> equalities_on(const Expr& condition, int index);
  // Sets up a source's stored rows (empty) and their columns; the columns to decode.
  ColumnSelection prepare(int index);
  // Stores a row read from the source's table, kept when every filter holds for it.
  bool keep(int index, RowId id, const Row& row, const std::vector<const Expr*>& filters);
  // The join of `left` to the table `right` through one of its indexes (exec_index_join.cpp),
  // or nullopt when the join must read the whole table.
  std::optional<Relation> index_join(JoinKind kind, const Relation& left, const TableRef& right,
                                     const std::vector<const Expr*>& on, const std::vector<const Expr*>& where);
  Relation join(JoinKind kind, Relation left, Relation right,
                const std::vector<const Expr*>& conditions);
  void leaves(const TableRef& ref, std::vector<int>& out) const;
  Run& run_;
  Scope* parent_;
  std::unordered_map<const ColumnRef*, Binding> bindings_;
  std::set<const Expr*> applied_;  // WHERE parts every tuple made so far satisfies
  TupleResolver resolver_{*this};
  int next_leaf_ = 0;
};

// Restores a scope's current tuple on leaving.
struct CurrentGuard {
  Scope& scope;
  const std::int32_t* saved;
  explicit CurrentGuard(Scope& s) : scope(s), saved(s.current) {}
  ~CurrentGuard() { scope.current = saved; }
};

// AND-ed parts of a condition.
void conjuncts(const Expr* e, std::vector<const Expr*>& out);
// Every column reference of an expression and of its subqueries (for loading columns).
void mention_names(const Expr& e, std::set<std::string>& out);
void mention_names(const Select& s, std::set<std::string>& out);
// Each name of an expression (not those inside subqueries, handed to `sub` whole).
void walk(const Expr& e, const std::function<void(const ColumnRef&)>& ref,
          const std::function<void(const Select&)>& sub);
// Direct sub-expressions (subqueries not entered).
void for_each_child(const Expr& e, const std::function<void(const Expr&)>& f);
// Aggregate calls of an expression (not inside subqueries).
void aggregate_calls(const Expr& e, std::vector<const Call*>& out);

// A value's identity for grouping, DISTINCT and hash joins: equal under Jet's comparison
// (texts case-blind by the General sort order, numbers by value) gives equal keys.
std::string group_key(const Value& v);
// Jet's sort order of two values: Null first, then by value.
int order_values(const Value& a, const Value& b);

// ---- statements -------------------------------------------------------------------------

ResultSet run_select(Run& run, const Select& select, Scope* parent);
std::int64_t run_update(Run& run, const Update& update);
std::int64_t run_delete(Run& run, const Delete& del);
std::int64_t run_insert(Run& run, const Insert& insert);
std::int64_t run_create_table(Run& run, const CreateTable& create);
std::int64_t run_alter_table(Run& run, const AlterTable& alter);
std::int64_t run_create_index(Run& run, const CreateIndex& create);
std::int64_t run_drop_index(Run& run, const DropIndex& drop);
std::int64_t run_drop_table(Run& run, const DropTable& drop);
// The relationship a FOREIGN KEY constraint of `table` over `columns` asks for (the
// referenced table's primary key when it names no columns).
jet::RelationshipDesign relationship_of(jet::WritableDatabase& db, const std::string& table, const Constraint& k,
                                        const std::vector<std::string>& columns);
// The engine's column design of a column written in SQL (Jet's DDL defaults).
jet::ColumnDesign column_design(const sql::ColumnDef& c);
// SELECT ... INTO: the new table, then the query's rows in it; returns the rows.
std::int64_t run_select_into(Run& run, const Select& select);

// A value converted to what a column stores, with VB's rules (text '12' to a Long, a text
// date to a Date...); 13 when it cannot be, 6 out of range, 3163 too long.
Value convert_for_column(const jet::ColumnDef& column, const Value& value);
ColumnType type_of_value(const Value& v);

}  // namespace jet::sql::detail
