// Public interface: databases opened for reading or writing, created empty, their catalog,
// tables read row by row and written with their indexes kept in step, inside transactions.
#pragma once

#include "jet/api/values.h"                // IWYU pragma: export
#include "jet/catalog/catalog.h"           // IWYU pragma: export
#include "jet/db/create_database.h"        // IWYU pragma: export
#include "jet/db/database.h"               // IWYU pragma: export
#include "jet/db/writable_database.h"      // IWYU pragma: export
#include "jet/record/row.h"                // IWYU pragma: export
#include "jet/record/table_def.h"          // IWYU pragma: export
#include "jet/storage/transaction.h"       // IWYU pragma: export
#include "jet/table/index_maintain_hook.h" // IWYU pragma: export
#include "jet/table/table.h"               // IWYU pragma: export
#include "jet/table/table_writer.h"        // IWYU pragma: export
