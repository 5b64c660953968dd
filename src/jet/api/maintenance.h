// Public interface: whole-file maintenance — compaction into a new file, repair of what an
// interrupted writer leaves, verification of every page, table and index.
#pragma once

#include "jet/api/values.h"      // IWYU pragma: export
#include "jet/tools/compact.h"   // IWYU pragma: export
#include "jet/tools/repair.h"    // IWYU pragma: export
#include "jet/tools/verify.h"    // IWYU pragma: export
