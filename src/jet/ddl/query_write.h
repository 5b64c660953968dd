// Saved queries written from their Jet SQL text: the statement is parsed, turned into the
// MSysQueries rows Access stores for it (type, parameters, flags, tables, output columns,
// joins, criteria, grouping, sorting; data-definition text as written) and given an
// MSysObjects row of the query's type under the Queries container, with the access rows
// Access gives a new query. Reading the query back gives the same statement.
//
// Every call is one statement (a savepoint inside an open transaction). Union queries are
// refused (3251) by this release.
#pragma once

#include <string>
#include <string_view>

#include "jet/catalog/query_def.h"
#include "jet/db/writable_database.h"

namespace jet {

// The structure of a statement as a saved query. Throws the parser's syntax errors, 3251
// for forms not stored by this release.
QueryDef query_def_of_sql(std::string_view sql);

// 3012 when a table or query of that name exists.
void create_query(WritableDatabase& db, const std::string& name, std::string_view sql);
// Removes the query's rows, catalog row and access rows; 3265 when there is none.
void delete_query(WritableDatabase& db, const std::string& name);
// delete_query when the query exists, then create_query, in one statement.
void replace_query(WritableDatabase& db, const std::string& name, std::string_view sql);

}  // namespace jet
