// Reading a whole table back through the data-access objects, for tests that judge a
// database by its contents.
#pragma once

#include <string>
#include <vector>

#include "platform/dao/dao.h"

namespace test_support {

// Every row of `table` of the database at the Windows path `path`, in storage order, each
// field named in `fields` as its display text ("" for Null).
inline std::vector<std::vector<std::string>> TableRows(platform::dao::DBEngine& engine, const std::string& path,
                                                       const std::string& table,
                                                       const std::vector<std::string>& fields) {
  std::vector<std::vector<std::string>> out;
  platform::dao::Database db = engine.OpenDatabase(path, false, true);
  platform::dao::Recordset rs = db.OpenRecordset(table, platform::dao::dbOpenTable);
  while (!rs.Eof()) {
    std::vector<std::string> row;
    for (const auto& field : fields) row.push_back(rs(field).value().to_display());
    out.push_back(std::move(row));
    rs.MoveNext();
  }
  rs.Close();
  db.Close();
  return out;
}

}  // namespace test_support
