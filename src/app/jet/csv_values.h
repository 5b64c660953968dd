// Fields of a CSV file read as the values of the columns they go to, in the conventions
// `jet export` and mdb-export write: a point before decimals, dates month/day/year (or
// year-month-day) with an optional time, Yes/No as 1/0 or true/false. Text columns take the
// field as it stands. A field that does not read as its column's type raises error 13 with
// the line, the column and the field in the message.
#pragma once

#include <cstddef>
#include <string>

#include "jet/record/table_def.h"
#include "jet/base/value.h"

namespace jet_tool {

jet::Value csv_value(const jet::ColumnDef& column, const std::string& field, std::size_t line);

}  // namespace jet_tool
