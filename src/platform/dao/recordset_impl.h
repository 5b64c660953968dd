// What a Recordset handle refers to (internal to platform/dao).
//
// Row-backed sets (table type, updatable dynasets) keep the RowId of each record and read
// the row again when a field is read, so they see the database as it is now. Snapshots and
// read-only dynasets keep the values they were given at open.
#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "jet/api/database.h"
#include "platform/dao/field_impl.h"
#include "platform/dao/state.h"

namespace platform::dao::detail {

struct RecordsetImpl {
  struct Column {
    FieldDef def;
    int tableColumn = -1;   // position in the base table's Row (row-backed sets)
    int resultColumn = -1;  // position in the kept values
  };

  std::shared_ptr<DatabaseImpl> db;
  std::string name;
  int type = 0;
  bool closed = false;
  bool updatable = false;
  bool tableType = false;
  std::optional<std::string> table;  // base table of a row-backed set
  jet::TableDef def;                 // its definition when opened
  std::vector<Column> columns;
  std::vector<jet::RowId> ids;                   // row-backed: one per record
  std::vector<std::vector<jet::Value>> values;   // kept values, one per record
  std::vector<bool> deleted;
  long cur = -1;    // position: -1 before the first, size() after the last
  long visited = 0; // records reached so far (RecordCount of dynasets and snapshots)
  bool noMatch = true;
  int editMode = 0;
  jet::Row buffer;  // the row being edited or added (base table's column order)
  // The writer and the new-record values of the base table, kept while the schema stays.
  std::unique_ptr<jet::TableWriter> writerCache;
  std::optional<jet::Row> defaultsCache;
  std::uint64_t cacheGeneration = 0;
  // Position of each column by folded name (FoldCase), built at the first lookup by name:
  // code setting fields by name looks one up for every value it writes.
  mutable std::unordered_map<std::string, int> columnsByName;
  mutable std::string foldedName;  // the name looked up, folded (its buffer reused)

  long size() const noexcept { return static_cast<long>(deleted.size()); }
  bool rowBacked() const noexcept { return table.has_value(); }
  bool keepsValues() const noexcept {
    return std::any_of(columns.begin(), columns.end(), [](const Column& c) { return c.resultColumn >= 0; });
  }
  void checkOpen() const;                 // 3420 when closed or its database closed
  bool hasCurrent() const noexcept { return cur >= 0 && cur < size(); }
  void checkCurrent() const;              // 3021 / 3167
  int columnIndex(std::string_view name) const;  // 3265 when absent
  // The base table's row of a record (3167 when gone); only the `wanted` columns (all when
  // empty) are decoded, the others read Null.
  jet::Row readRow(long position, const jet::ColumnSelection& wanted = {}) const;
  Variant value(int column);
  void setValue(int column, const Variant& value);
  void touch() noexcept { visited = std::max(visited, cur + 1); }
  void moveTo(long position);             // cancels a pending edit
  long firstLive(long from, int step) const;  // next live position from `from` (or -1/size())
  void dropStaleCaches();
  jet::TableWriter& writer();
  const jet::Row& defaults();  // a new record: Null, or the column's default value
};

// Opens a record set on `source` (table name, saved query name or SQL) of `db`.
std::shared_ptr<RecordsetImpl> openRecordset(const std::shared_ptr<DatabaseImpl>& db, std::string_view source,
                                             int type, int options);
// The SQL text of a saved query (3265 when none).
std::string savedQuerySql(DatabaseImpl& db, std::string_view name);

}  // namespace platform::dao::detail
