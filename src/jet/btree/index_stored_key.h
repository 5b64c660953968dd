// Keys as an index holds them, found by their row. A write that leaves a row's entry as it is
// (a deletion, an update of other columns, compaction and repair carrying the entries) takes
// the stored bytes when the key cannot be computed (a character without a known code), so
// such a row never blocks the operations that do not change its entry.
#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "jet/base/error.h"
#include "jet/storage/pager.h"
#include "jet/record/table_def.h"

namespace jet {

// True for the key errors a stored entry can stand in for.
bool key_not_computable(const Error& e);

// The key of the entry of `row` in `index`, walking its leaves; nullopt when it has none.
std::optional<std::vector<std::uint8_t>> stored_key_of_row(Pager& pager, const TableDef& table,
                                                           const IndexDef& index, RowId row);

// Every entry's key by row pointer (RowId::pointer()), read once for many rows.
std::unordered_map<std::uint32_t, std::vector<std::uint8_t>> stored_keys_by_row(
    Pager& pager, const TableDef& table, const IndexDef& index);

}  // namespace jet
