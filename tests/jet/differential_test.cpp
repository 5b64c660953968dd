// Every table of every fixture read by this engine and by mdbtools (the reference reader):
// same columns, same row count, same values. Values are compared in mdb-export's own
// printing conventions with the CsvStyle that reproduces mdbtools' limits (binary cut at a
// zero byte, empty text printed like Null, GUID hyphen). Row order is compared too, except
// in tables holding moved rows: this engine returns a moved row at its original slot,
// mdbtools where it now lives, so there the rows are compared as a multiset.
#include <gtest/gtest.h>

#include <algorithm>

#include "jet/tools/csv_export.h"
#include "jet/record/data_page.h"
#include "jet/db/database.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace differential_test_cases {

namespace {

const std::string kRowEnd = "<<FIN-DE-LIGNE>>\n";

std::vector<std::string> split_rows(const std::string& text) {
  std::vector<std::string> rows;
  std::size_t start = 0;
  for (std::size_t at; (at = text.find(kRowEnd, start)) != std::string::npos; start = at + kRowEnd.size())
    rows.push_back(text.substr(start, at - start));
  return rows;
}

bool has_moved_rows(const jet::Table& table) {
  for (jet::PageNumber p : table.data_pages()) {
    const jet::DataPage page(table.pager().read(p));
    for (std::uint16_t r = 0; r < page.row_count(); ++r)
      if (!page.deleted(r) && page.overflow(r)) return true;
  }
  return false;
}

TEST(JetDifferential, EveryTableReadsAsMdbtoolsReadsIt) {
  QUELIS_NEEDS_MDBTOOLS();
  jet::CsvStyle style;
  style.mdbtools_quirks = true;
  int tables = 0, rows_compared = 0;
  for (const auto& name : jet_test::all_fixtures()) {
    const std::string path = jet_test::fixture(name);
    auto db = jet::Database::open(path);
    for (const auto& table_name : db->table_names(true)) {
      SCOPED_TRACE(name + " / " + table_name);
      const jet::Table table = db->table(table_name);
      const std::string quoted = jet_test::shell_quote(path) + " " + jet_test::shell_quote(table_name);
      bool ok = false;
      const std::string header = jet_test::run("mdb-export " + quoted + " 2>/dev/null | head -n 1", &ok);
      std::string ours_header;
      for (const auto& c : table.def().columns) ours_header += (ours_header.empty() ? "" : ",") + c.name;
      EXPECT_EQ(header, ours_header + "\n");

      auto theirs = split_rows(jet_test::run("mdb-export -H -R '" + kRowEnd.substr(0, kRowEnd.size() - 1) +
                                             "\\n' " + quoted + " 2>/dev/null"));
      std::vector<std::string> ours;
      table.scan([&](jet::RowId, const jet::Row& row) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
          if (i) line += ',';
          line += jet::csv_field(table.def().columns[i], row[i], false, style);
        }
        ours.push_back(std::move(line));
        return true;
      });
      EXPECT_EQ(ours.size(), table.count_rows());
      ASSERT_EQ(ours.size(), theirs.size());
      if (has_moved_rows(table)) {
        std::sort(ours.begin(), ours.end());
        std::sort(theirs.begin(), theirs.end());
      }
      for (std::size_t i = 0; i < ours.size(); ++i) EXPECT_EQ(ours[i], theirs[i]) << "row " << i;
      ++tables;
      rows_compared += static_cast<int>(ours.size());
    }
  }
  // All fixtures together hold over a hundred tables and some two thousand rows.
  EXPECT_GT(tables, 100);
  EXPECT_GT(rows_compared, 2000);
}

TEST(JetDifferential, ValuesOfEachTypeAsStored) {
  auto db = jet::Database::open(jet_test::fixture("testV2000.mdb"));
  const auto t = db->table("Table1");
  std::vector<jet::Row> rows;
  t.scan([&](jet::RowId, const jet::Row& r) { rows.push_back(r); return true; });
  ASSERT_EQ(rows.size(), 2u);
  const jet::Row& r = rows[0];
  EXPECT_EQ(r[0].as_text(), "abcdefg");
  EXPECT_EQ(r[2], jet::Value::byte(2));
  EXPECT_EQ(r[3], jet::Value::integer(222));
  EXPECT_EQ(r[4], jet::Value::long_(333333333));
  EXPECT_EQ(r[5], jet::Value::double_(444.555));
  EXPECT_EQ(jet::format_date_time(r[6].as_date()), "1974-09-21 00:00:00");
  EXPECT_EQ(r[7], jet::Value::currency(35000));
  EXPECT_EQ(r[8], jet::Value::boolean(true));
  EXPECT_EQ(rows[1][8], jet::Value::boolean(false));

  // Without the mdbtools style, GUIDs keep all their hyphens and binaries all their bytes.
  auto db2 = jet::Database::open(jet_test::fixture("indexTestV2000.mdb"));
  const auto map = db2->table("MSysNameMap");
  bool seen_guid = false;
  map.scan([&](jet::RowId, const jet::Row& row) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (row[i].kind() != jet::ValueKind::Guid) continue;
      const std::string text = jet::csv_field(map.def().columns[i], row[i]);
      EXPECT_EQ(text.size(), 40u);  // quotes, braces, 32 digits, 4 hyphens
      EXPECT_EQ(std::count(text.begin(), text.end(), '-'), 4);
      seen_guid = true;
    }
    return true;
  });
  EXPECT_TRUE(seen_guid);
}

TEST(JetDifferential, NumericColumnsAtTheirScale) {
  auto db = jet::Database::open(jet_test::fixture("fixedNumericTestV2000.mdb"));
  const auto t = db->table("test");
  std::vector<jet::Row> rows;
  t.scan([&](jet::RowId, const jet::Row& r) { rows.push_back(r); return true; });
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0][1].kind(), jet::ValueKind::Decimal);
  EXPECT_EQ(rows[0][1].as_decimal().to_string(), "1");
  EXPECT_EQ(rows[0][5].as_decimal().to_string(), "-1");
  EXPECT_TRUE(rows[0][5].as_decimal().negative);
}

}  // namespace

}  // namespace differential_test_cases
