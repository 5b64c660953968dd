// Public interface: whole-file maintenance — compaction into a new file, repair of what an
// interrupted writer leaves, verification of every page, table and index, and the play-back
// of a commit a killed writer left half done.
#pragma once

#include "jet/api/values.h"      // IWYU pragma: export
#include "jet/storage/rollback_journal.h"  // IWYU pragma: export
#include "jet/tools/compact.h"   // IWYU pragma: export
#include "jet/tools/repair.h"    // IWYU pragma: export
#include "jet/tools/verify.h"    // IWYU pragma: export
