// Consistency check of one real index against its table, for `jet verify` and the tests.
//
// Reports (one sentence each, naming the page and entry concerned): unreadable or
// mis-typed index pages, free-space counts that disagree with the entries, pages reached
// twice (cycles, shared children), leaves at different depths, entries out of order (key, then row id), intermediate entries that are not the last
// entry of their child, previous/next links that disagree with the tree, keys that do not
// decode, entries whose key differs from the encoding of their row's values (a row whose key
// cannot be computed keeps its stored entry unchecked), entries of
// missing or deleted rows, live rows without exactly one entry (rows an ignore-nulls index
// leaves out must have none) and duplicate keys in a unique index.
// An empty result means the index is sound.
//
// Memory stays within a fixed budget whatever the size of the table: the tree is walked
// page by page, and its leaf entries are met with the rows by sorting them by row
// (index_row_match.h), past the budget through a scratch file in the system's temporary
// folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "jet/table/table.h"
#include "jet/record/table_def.h"
#include "os/services.h"

namespace jet {

struct IndexVerifyOptions {
  // Bytes of leaf entries held in memory while they are sorted by row.
  std::size_t sort_budget = std::size_t{8} << 20;
  // Where the scratch file goes when the budget is exceeded; the machine's when null.
  const os::Services* services = nullptr;
};

std::vector<std::string> verify_index(const Table& table, const IndexDef& index);
// Every index of `table` (one list of findings per index, in the table's order, each as
// verify_index gives it), its rows read once for all of them; `rows_read` is told now and
// page by page how many rows have been read.
std::vector<std::vector<std::string>> verify_indexes(const Table& table,
                                                    const std::function<void(std::uint64_t)>& rows_read = {});
std::vector<std::vector<std::string>> verify_indexes_with(const Table& table, const IndexVerifyOptions& options,
                                                         const std::function<void(std::uint64_t)>& rows_read = {});
std::vector<std::string> verify_index_with(const Table& table, const IndexDef& index,
                                           const IndexVerifyOptions& options);

}  // namespace jet
