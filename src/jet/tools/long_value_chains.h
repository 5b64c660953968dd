// Long-value chains that do not end: the last row a chained Memo or OLE value needs still
// names a next row. The engine reads up to the declared length and never sees it, but
// mdbtools follows the pointers (into a loop, or out of the file), and so does the writer
// when it frees the value. verify reports them; repair ends them (the last row's pointer set
// to 0, no byte of data changed).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "jet/record/row_id.h"
#include "jet/table/table.h"

namespace jet {

struct OpenChain {
  RowId row;              // the table's row holding the value
  std::string column;
  RowId last;             // the chain's last row, up to the declared length
  std::uint32_t next = 0; // the pointer it still holds
};

// The open chains of the live rows of `table` (Jet 4 rows; none for Access 97 files). Rows or
// values that cannot be read are left to the row checks.
std::vector<OpenChain> open_chains(const Table& table);
// The same, row by row, for a reading of the table that does more: whether the table can hold
// any (Jet 4, a Memo or OLE column), and the open chains of live row `id`.
bool may_hold_open_chains(const Table& table);
void add_open_chains(const Table& table, RowId id, std::vector<OpenChain>& out);

}  // namespace jet
