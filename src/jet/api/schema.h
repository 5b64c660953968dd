// Public interface: designing tables and changing a database's schema (columns, indexes,
// tables, relationships, saved queries, object properties), each inside the caller's
// transaction.
#pragma once

#include "jet/api/database.h"               // IWYU pragma: export
#include "jet/catalog/catalog_write.h"      // IWYU pragma: export
#include "jet/ddl/alter_column.h"           // IWYU pragma: export
#include "jet/ddl/alter_index.h"            // IWYU pragma: export
#include "jet/ddl/alter_table.h"            // IWYU pragma: export
#include "jet/ddl/query_write.h"            // IWYU pragma: export
#include "jet/ddl/relationship_write.h"     // IWYU pragma: export
#include "jet/table/table_design.h"         // IWYU pragma: export
