// The Jet SQL text of a saved query, laid out the way Access shows it in SQL view: one
// clause per line (FROM, WHERE, GROUP BY, HAVING, ORDER BY, PIVOT), a PARAMETERS
// declaration first, ";" at the end; joins nested with parentheses; names bracketed only
// when they need it. Expressions are printed as stored (Access stores them already quoted).
// Union, data-definition and pass-through queries keep their stored SQL text.
#pragma once

#include <span>
#include <string>

#include "jet/catalog/query_def.h"
#include "jet/catalog/query_rows.h"

namespace jet {

struct SqlLayout {
  std::string line_break = "\r\n";  // Access uses CR LF
  // DAO's QueryDef.SQL ends with a line break after the ";"; the SQL view does not show it.
  bool final_line_break = false;
};

// Throws jet::Error 3049 when the definition cannot be written as SQL (a join between
// tables joined differently, an unknown join kind or parameter type, a missing union part).
std::string query_sql(const QueryDef& def, const SqlLayout& layout = {});

// Shorthand: read_query_def then query_sql.
std::string query_sql(std::span<const QueryRow> rows, const SqlLayout& layout = {});

// Name of a parameter's data type in a PARAMETERS declaration ("Text", "Long", "DateTime"...);
// nullptr for an unknown code.
const char* parameter_type_name(std::int16_t type) noexcept;

// A table, field or alias name as Access writes it: bare when made of letters, digits and
// "_", between brackets otherwise; a name already between brackets is left alone.
std::string sql_name(std::string_view name);
// The same for each part of a dotted name ("Table 1.Field" → "[Table 1].Field"); dots
// inside brackets do not split.
std::string sql_qualified_name(std::string_view name);

}  // namespace jet
