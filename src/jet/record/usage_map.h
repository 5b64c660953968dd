// Page usage maps: bitmaps telling which pages belong to a table (or an index, or the file).
// Stored in a row of a data page: type 0 holds the bitmap inline after a start page;
// type 1 lists pages (kind 0x05) each holding a bitmap slice.
#pragma once

#include <cstdint>
#include <vector>

#include "jet/record/row_id.h"
#include "jet/storage/pager.h"

namespace jet {

// Pages marked in the usage map stored at row `where`, ascending. Throws 3049 on a malformed
// map or one naming a page past the end of the file (a truncated file).
std::vector<PageNumber> read_usage_map(Pager& pager, RowId where);

}  // namespace jet
