// Aggregate functions of a grouped query (internal to the executor).
#pragma once

#include <cstdint>
#include <vector>

#include "jet/exec/exec_internal.h"

namespace jet::sql::detail {

// The value of the aggregate `call` (Count, Sum, Min, Max, Avg, First, Last, StDev[P],
// Var[P]) over the tuples of a group, its argument evaluated in `scope`.
Value compute_aggregate(Scope& scope, const Call& call, const std::vector<const std::int32_t*>& tuples);

}  // namespace jet::sql::detail
