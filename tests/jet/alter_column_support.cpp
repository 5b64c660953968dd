#include "alter_column_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "jet/tools/csv_export.h"
#include "jet/db/database.h"
#include "jet/base/error.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/tools/index_verify.h"
#include "jet/base/names.h"
#include "jet/tools/verify.h"
#include "jet_test_support.h"

namespace alter_column_test {

std::string problems(const std::string& path) {
  auto db = jet::Database::open(path);
  std::string text;
  for (const auto& p : jet::verify_database(*db, jet::verify_indexes)) text += p + "\n";
  return text;
}

std::string mdb_export(const std::string& path, const std::string& table) {
  bool ok = false;
  const std::string out =
      jet_test::run("mdb-export " + jet_test::shell_quote(path) + " " + jet_test::shell_quote(table) + " 2>&1", &ok);
  EXPECT_TRUE(ok) << out;
  return out;
}

std::string our_export(const std::string& path, const std::string& table) {
  auto db = jet::Database::open(path);
  std::ostringstream out;
  jet::CsvStyle style;
  style.mdbtools_quirks = true;
  jet::write_csv(db->table(table), out, style);
  return out.str();
}

::testing::AssertionResult same_lines(const std::string& ours, const std::string& theirs) {
  if (ours == theirs) return ::testing::AssertionSuccess();
  std::istringstream a(ours), b(theirs);
  std::string x, y;
  for (int line = 1;; ++line) {
    const bool more_a = static_cast<bool>(std::getline(a, x));
    const bool more_b = static_cast<bool>(std::getline(b, y));
    if (x != y || more_a != more_b)
      return ::testing::AssertionFailure() << "line " << line << ": engine «" << x.substr(0, 160) << "» mdbtools «"
                                           << y.substr(0, 160) << "»";
    if (!more_a) break;
  }
  return ::testing::AssertionFailure() << "differ";
}

std::string mdb_schema(const std::string& path) {
  bool ok = false;
  const std::string out = jet_test::run("mdb-schema " + jet_test::shell_quote(path) + " 2>&1", &ok);
  EXPECT_TRUE(ok) << out;
  return out;
}

std::vector<std::vector<std::string>> parse_csv(const std::string& text) {
  std::vector<std::vector<std::string>> lines;
  std::vector<std::string> fields;
  std::string field;
  bool quoted = false, any = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (quoted) {
      if (c == '"' && i + 1 < text.size() && text[i + 1] == '"') field += '"', ++i;
      else if (c == '"') quoted = false;
      else field += c;
    } else if (c == '"') {
      quoted = true;
    } else if (c == ',') {
      fields.push_back(field), field.clear();
    } else if (c == '\n') {
      fields.push_back(field), field.clear();
      lines.push_back(fields), fields.clear();
      any = false;
      continue;
    } else {
      field += c;
    }
    any = true;
  }
  if (any) fields.push_back(field), lines.push_back(fields);
  return lines;
}

std::vector<std::vector<std::string>> project(const std::vector<std::vector<std::string>>& csv,
                                              const std::vector<std::string>& columns) {
  std::vector<std::vector<std::string>> out;
  if (csv.empty()) return out;
  std::vector<std::size_t> at;
  for (const auto& name : columns) {
    auto it = std::find_if(csv[0].begin(), csv[0].end(), [&](const std::string& h) { return jet::same_name(h, name); });
    EXPECT_NE(it, csv[0].end()) << name;
    at.push_back(it == csv[0].end() ? 0 : static_cast<std::size_t>(it - csv[0].begin()));
  }
  for (const auto& line : csv) {
    std::vector<std::string> picked;
    for (std::size_t i : at) picked.push_back(i < line.size() ? line[i] : "<absent>");
    out.push_back(picked);
  }
  return out;
}

std::vector<jet::Row> rows_of(const std::string& path, const std::string& table) {
  auto db = jet::Database::open(path);
  std::vector<jet::Row> rows;
  db->table(table).scan([&](jet::RowId, const jet::Row& row) {
    rows.push_back(row);
    return true;
  });
  return rows;
}

jet::TableDef definition(const std::string& path, const std::string& table) {
  auto db = jet::Database::open(path);
  return db->table(table).def();
}

std::vector<std::string> display_order(const jet::TableDef& def) {
  std::vector<const jet::ColumnDef*> order;
  for (const auto& c : def.columns) order.push_back(&c);
  std::sort(order.begin(), order.end(), [](auto* a, auto* b) { return a->display_index < b->display_index; });
  std::vector<std::string> names;
  for (auto* c : order) names.push_back(c->name);
  return names;
}

void insert(jet::WritableDatabase& db, const std::string& table,
            const std::vector<std::pair<std::string, jet::Value>>& values) {
  jet::TableIndexHook hook(db.allocator());
  jet::TableWriter writer = db.writer(table, &hook);
  const jet::TableDef def = writer.definition();
  jet::Row row(def.columns.size(), jet::Value::null());
  for (const auto& [name, value] : values) {
    const jet::ColumnDef* c = def.find_column(name);
    ASSERT_NE(c, nullptr) << name;
    row[c->definition_order] = value;
  }
  writer.insert(row);
}

std::vector<std::string> mdb_columns(const std::string& path, const std::string& table) {
  const auto csv = parse_csv(mdb_export(path, table));
  return csv.empty() ? std::vector<std::string>{} : csv[0];
}

}  // namespace alter_column_test
