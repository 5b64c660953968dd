// Keys of table rows (and of values given for a seek) for a table's real index: picks the
// key kind of each indexed column from its definition and encodes jet::Value values.
#pragma once

#include <cstdint>
#include <vector>

#include "jet/btree/index_key.h"
#include "jet/record/row.h"
#include "jet/record/table_def.h"
#include "jet/base/value.h"

namespace jet {

// Key kind of a column type. Memo keys like Text; OLE cannot be indexed (3251).
KeyKind key_kind_for(ColumnType type);

// The key columns of `index` (kind and direction), in key order. 3049 when the index names
// a column the table does not have.
std::vector<KeyColumn> key_columns(const TableDef& table, const IndexDef& index);

// Appends one column's key for `value`. Numbers of another numeric kind are converted (a
// value out of the column's range raises 3251); a Yes/No column keys Null as No, as Jet does.
// Text columns must use the general sort order (3251 otherwise); Jet 3 text columns, whose
// keys follow the Access 97 sort order this engine does not compute, raise 3251 too.
void append_value_key(KeyWriter& writer, const Value& value, const ColumnDef& column,
                      bool ascending);

// The key of `row` (values in TableDef::columns order) in `index`.
std::vector<std::uint8_t> index_key_for_row(const TableDef& table, const IndexDef& index,
                                            const Row& row);
// The same, appended to `writer` (whose buffer a caller making many keys reuses).
void append_row_key(KeyWriter& writer, const TableDef& table, const IndexDef& index, const Row& row);

// The key of leading values of the index's columns (fewer values than columns make a prefix
// key, for seeks on the first columns only).
std::vector<std::uint8_t> index_key_for_values(const TableDef& table, const IndexDef& index,
                                               const std::vector<Value>& values);

// Whether this engine computes the keys of `column` (not those of Jet 3 text), and of every
// column of `index`. Readers walk such indexes by their stored entries only.
bool has_known_key(const ColumnDef& column) noexcept;
bool index_keys_known(const TableDef& table, const IndexDef& index) noexcept;

// True when an ignore-nulls index leaves the row out: every indexed column is Null.
bool row_left_out_of_index(const TableDef& table, const IndexDef& index, const Row& row);

}  // namespace jet
