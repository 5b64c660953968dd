// The FROM list of a query: its tables, with the joins between them folded into nested
// join expressions. Used by the SQL writer; separate because the folding is the one
// non-trivial step of turning rows back into SQL.
#pragma once

#include <string>
#include <vector>

#include "jet/catalog/query_def.h"

namespace jet {

// Each entry is one comma-separated item of the FROM list. Tables keep their order; each
// join removes its two sides from the list and is added at its end, nesting a side that is
// already a join in parentheses. A join between tables already joined adds its condition
// to the innermost join holding both, later conditions first: "ON (b) AND (a)", as Access
// writes it. Throws jet::Error 3049 for an unknown join kind, or when that innermost join is
// of another kind.
std::vector<std::string> from_items(const QueryDef& def);

}  // namespace jet
