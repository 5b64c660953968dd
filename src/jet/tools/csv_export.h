// CSV export of a table in the conventions of mdbtools' mdb-export defaults, so that the
// two outputs can be compared: header line of column names, comma separator, "\n" rows;
// Text, Memo, Date, Binary, OLE and GUID between double quotes (quotes doubled, other
// bytes raw); numbers bare (Single %.8g, Double %.16g, Currency 4 decimals, Decimal at its
// scale); Yes/No as 1/0; Null as nothing; dates "MM/DD/YY HH:MM:SS" ("MM/DD/YY" for
// columns formatted "Short Date"); columns of types the engine does not interpret print empty.
#pragma once

#include <ostream>
#include <string>

#include "jet/table/table.h"
#include "jet/base/value.h"

namespace jet {

struct CsvStyle {
  // Reproduce limits of mdbtools 1.0 so outputs can be compared byte for byte: Binary
  // values end at their first zero byte, empty texts and binaries print like Null, and
  // GUIDs lack their last hyphen.
  bool mdbtools_quirks = false;
};

// One field as mdb-export prints it.
std::string csv_field(const ColumnDef& column, const Value& value, bool short_date = false,
                      const CsvStyle& style = {});
// The same, appended to `out`.
void append_csv_field(std::string& out, const ColumnDef& column, const Value& value, bool short_date = false,
                      const CsvStyle& style = {});

// The whole table: header line then one line per live row in storage order.
// Returns the number of rows written.
std::uint64_t write_csv(const Table& table, std::ostream& out, const CsvStyle& style = {},
                        const std::vector<bool>& short_date_columns = {});

}  // namespace jet
