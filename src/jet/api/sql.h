// Public interface: Jet SQL run against a database, saved queries' SQL, and the expression
// language with the VBA conversions, formats and dates it shares with programs.
#pragma once

#include "jet/api/database.h"         // IWYU pragma: export
#include "jet/catalog/query_rows.h"   // IWYU pragma: export
#include "jet/catalog/query_sql.h"    // IWYU pragma: export
#include "jet/exec/executor.h"        // IWYU pragma: export
#include "jet/sql/datetime.h"         // IWYU pragma: export
#include "jet/sql/evaluator.h"        // IWYU pragma: export
#include "jet/sql/format.h"           // IWYU pragma: export
#include "jet/sql/parser.h"           // IWYU pragma: export
#include "jet/sql/value_ops.h"        // IWYU pragma: export
#include "jet/sql/vb_convert.h"       // IWYU pragma: export
