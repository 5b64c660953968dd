// CSV fields as mdb-export prints them, for values the sample files seldom hold: times that
// round up to midnight, dates past 2000, negative currency below one unit, numbers that
// need an exponent, texts with quotes or a NUL.
#include <gtest/gtest.h>

#include "jet/tools/csv_export.h"

namespace csv_export_test_cases {
namespace {

jet::ColumnDef column_of(jet::ColumnType type) {
  jet::ColumnDef c;
  c.name = "c";
  c.type = type;
  return c;
}

std::string field(jet::ColumnType type, const jet::Value& v, bool short_date = false) {
  return jet::csv_field(column_of(type), v, short_date);
}

TEST(CsvExport, DatesPrintMonthDayTwoDigitYearAndRoundedTime) {
  using jet::ColumnType;
  using jet::Value;
  // 2026-11-24 is day 46350; 0.75 is 18:00.
  EXPECT_EQ(field(ColumnType::DateTime, Value::date(46350.75)), "\"11/24/26 18:00:00\"");
  EXPECT_EQ(field(ColumnType::DateTime, Value::date(46350.75), true), "\"11/24/26\"");
  EXPECT_EQ(field(ColumnType::DateTime, Value::date(2.0)), "\"01/01/00 00:00:00\"");  // 1900-01-01
  // Half a second before midnight rounds up to an hour 24 of the same day, as mdb-export prints it.
  EXPECT_EQ(field(ColumnType::DateTime, Value::date(46350.0 + 86399.6 / 86400.0)), "\"11/24/26 24:00:00\"");
  EXPECT_EQ(field(ColumnType::DateTime, Value::date(1.0 + 3661.0 / 86400.0)), "\"12/31/99 01:01:01\"");
  EXPECT_EQ(field(ColumnType::DateTime, Value::date(-1.5)), "\"00/00/00 00:00:00\"");
}

TEST(CsvExport, NumbersPrintAsPrintfWould) {
  using jet::ColumnType;
  using jet::Value;
  EXPECT_EQ(field(ColumnType::Currency, Value::currency(-5)), "-0.0005");
  EXPECT_EQ(field(ColumnType::Currency, Value::currency(123456789)), "12345.6789");
  EXPECT_EQ(field(ColumnType::Currency, Value::currency(1200)), "0.1200");
  EXPECT_EQ(field(ColumnType::Double, Value::double_(0.1)), "0.1");
  EXPECT_EQ(field(ColumnType::Double, Value::double_(1.0 / 3.0)), "0.3333333333333333");
  EXPECT_EQ(field(ColumnType::Double, Value::double_(1e20)), "1e+20");
  EXPECT_EQ(field(ColumnType::Double, Value::double_(-2.5e-7)), "-2.5e-07");
  EXPECT_EQ(field(ColumnType::Single, Value::single(0.1f)), "0.1");
  EXPECT_EQ(field(ColumnType::Single, Value::single(16777216.0f)), "16777216");
  EXPECT_EQ(field(ColumnType::Long, Value::long_(-2147483647 - 1)), "-2147483648");
  EXPECT_EQ(field(ColumnType::Boolean, Value::boolean(true)), "1");
}

TEST(CsvExport, TextsAreQuotedWithQuotesDoubledAndStopAtANul) {
  using jet::ColumnType;
  using jet::Value;
  EXPECT_EQ(field(ColumnType::Text, Value::text("dit \"oui\"")), "\"dit \"\"oui\"\"\"");
  EXPECT_EQ(field(ColumnType::Text, Value::text("\"")), "\"\"\"\"");
  EXPECT_EQ(field(ColumnType::Text, Value::text(std::string("ab\0\"c", 5))), "\"ab\"");
  EXPECT_EQ(field(ColumnType::Text, Value::text("")), "\"\"");
  EXPECT_EQ(field(ColumnType::Text, Value::null()), "");
}

}  // namespace
}  // namespace csv_export_test_cases
