// Page-level mending for jet::repair (repair.h): what the whole-database check finds wrong
// with maps and data pages that can be put right without touching a row.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "jet/record/row_id.h"
#include "jet/storage/overlay_pager.h"

namespace jet::repair_detail {

// Data pages whose row count or row bounds cannot be read: no writer can work on them.
std::set<PageNumber> unreadable_data_pages(Pager& pager);

// Takes out of the usage map at `where` the pages of the file it names that fail `fits`, and
// with `past_end` the pages it names past the end of the file; returns them. Throws 3049
// when the map cannot be read.
std::vector<PageNumber> drop_from_map(OverlayPager& pager, RowId where, const std::function<bool(PageNumber)>& fits,
                                      bool past_end);

// Gives every readable data page (page 1 aside) the free space it truly has; one French
// sentence per page corrected is appended to `actions`.
void correct_free_space(OverlayPager& pager, const std::set<PageNumber>& unreadable, std::vector<std::string>& actions);

}  // namespace jet::repair_detail
