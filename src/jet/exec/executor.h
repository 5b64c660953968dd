// Running Jet SQL statements against a database, with Jet's semantics.
//
// Executor::select  SELECT (joins, WHERE, GROUP BY/HAVING with aggregates, DISTINCT, TOP,
//     ORDER BY with Nulls first and texts in the General sort order, UNION) into a
//     materialised ResultSet. A query that reads one local table without DISTINCT, grouping
//     or aggregates is updatable: the set names the table and the RowId of each row.
// Executor::execute  INSERT / UPDATE (joins included, tables of other databases read-only)
//     / DELETE, and data definition (CREATE / DROP TABLE, ALTER TABLE, CREATE / DROP INDEX).
//     With RowErrors::Fail the statement is atomic: it either changes every row it should or
//     nothing (inside an open transaction of the pager it is a savepoint of that
//     transaction), and the first refusal is raised. With RowErrors::Skip, Jet's behaviour
//     when the caller does not ask to fail on errors, a row the engine refuses (duplicate
//     key 3022, Required 3314, zero-length 3315, related record 3200/3201) is passed over and
//     a value that cannot be converted to its column (13, 6, 3163) is stored as Null; the
//     other rows are changed and nothing is raised. A statement that cannot run at all
//     (syntax, missing table or column, too few parameters) raises either way.
//     Returns the number of records affected (changed, not passed over).
//
// Names are bound without regard to case. A name that is neither a column of the sources
// nor a parameter given a value counts as a missing parameter: 3061 "Trop peu de
// paramètres. n attendu." before anything runs. Unknown table 3078, ambiguous column 3079.
// Tables of another database ([;database=PATH].T, T IN 'PATH') are opened through the
// DatabaseOpener, which maps the path as written to a local file; a missing file gives 3024
// with the path as written.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/db/database.h"
#include "jet/base/error.h"
#include "jet/record/table_def.h"
#include "jet/record/usage_map.h"
#include "jet/base/value.h"
#include "jet/db/writable_database.h"

namespace jet::sql {

// Opens another database named in a statement, read-only. `path` is the path as written in
// the statement; the opener maps it to a local file. Throws jet::Error (3024 when missing).
using DatabaseOpener = std::function<std::unique_ptr<jet::Database>(std::string_view path)>;

// The default opener: the path taken as a local file.
DatabaseOpener local_file_opener();

// Values of parameters by name, names compared without regard to case.
class Parameters {
 public:
  Parameters() = default;
  Parameters(std::initializer_list<std::pair<std::string, Value>> values);
  void set(std::string_view name, Value value);
  const Value* find(std::string_view name) const;
  bool empty() const noexcept { return values_.empty(); }

 private:
  std::map<std::string, Value> values_;  // keyed by the upper-cased name
};

struct ResultColumn {
  std::string name;        // alias, column name, "T.name" when two sources share it, Expr1000...
  ColumnType type = ColumnType::Text;
  std::optional<std::string> base_table, base_column;  // set for a plain column of a table
};

class ResultSet {
 public:
  const std::vector<ResultColumn>& columns() const noexcept { return columns_; }
  const std::vector<std::vector<Value>>& rows() const noexcept { return rows_; }
  std::size_t size() const noexcept { return rows_.size(); }
  // Column position by name (case-blind); nullopt when none.
  std::optional<std::size_t> column_index(std::string_view name) const;

  // Set when the rows come from one local table as they are (no DISTINCT, grouping or
  // aggregate): the table's name and the RowId of each row, in row order.
  bool updatable() const noexcept { return base_table_.has_value(); }
  const std::optional<std::string>& base_table() const noexcept { return base_table_; }
  const std::vector<RowId>& row_ids() const noexcept { return row_ids_; }

 private:
  friend class SelectRunner;
  std::vector<ResultColumn> columns_;
  std::vector<std::vector<Value>> rows_;
  std::optional<std::string> base_table_;
  std::vector<RowId> row_ids_;
};

// What execute() does with a row the engine refuses.
enum class RowErrors {
  Fail,  // undo the whole statement and raise the refusal (dbFailOnError)
  Skip,  // pass the row over, change the others, raise nothing
};

// Told how far a long statement is (work done, work in all): an UPDATE counts the rows of
// its table it reads, then the rows it writes; a DELETE the rows it removes.
using Progress = std::function<void(std::uint64_t done, std::uint64_t total)>;

class Executor {
 public:
  // Full executor over a writable database.
  Executor(jet::WritableDatabase& db, DatabaseOpener opener = local_file_opener());
  // Selects only, over a database opened for reading; execute() refuses with 3027.
  Executor(jet::Database& db, DatabaseOpener opener = local_file_opener());
  ~Executor();
  Executor(const Executor&) = delete;
  Executor& operator=(const Executor&) = delete;

  // Any statement but a plain SELECT (3065); returns the records affected (0 for data
  // definition).
  std::int64_t execute(std::string_view sql, const Parameters& parameters = {},
                       RowErrors row_errors = RowErrors::Fail);
  ResultSet select(std::string_view sql, const Parameters& parameters = {});
  // Called by UPDATE and DELETE as they write their rows (empty: nothing told).
  void set_progress(Progress progress);

  // Names the statement needs as parameters (declared or not bound to a column), in order
  // of appearance, each once; what a caller shows before asking for values.
  std::vector<std::string> parameter_names(std::string_view sql);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace jet::sql
