// Format with the patterns applications use: dates, times, zero-padded numbers, named formats.
#include <gtest/gtest.h>

#include "sql_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_format_test_cases {

namespace {

using sqltest::eval;
using sqltest::text_of;

TEST(SqlFormat, DatePatterns) {
  EXPECT_EQ(text_of("Format(#03/25/2006#, 'yyyymmdd')"), "20060325");
  EXPECT_EQ(text_of("Format(#03/25/2006#, 'dd/mm/yyyy')"), "25/03/2006");
  EXPECT_EQ(text_of("Format(#03/05/2006#, 'MM/DD/YYYY')"), "03/05/2006");
  EXPECT_EQ(text_of("Format(#03/05/2006#, 'd/m/yy')"), "5/3/06");
  EXPECT_EQ(text_of("Format(#03/25/2006#, 'dddd d mmmm yyyy')"), "samedi 25 mars 2006");
  EXPECT_EQ(text_of("Format(#08/01/2006#, 'ddd dd mmm')"), "mar. 01 août");
  EXPECT_EQ(text_of("Format('25/03/2006', 'yyyy')"), "2006");
  EXPECT_EQ(text_of("Format(#03/25/2006#, 'Short Date')"), "25/03/2006");
}

TEST(SqlFormat, TimePatterns) {
  EXPECT_EQ(text_of("Format(Now(), 'hh:nn:ss')"), "14:30:15");
  EXPECT_EQ(text_of("Format(#03/25/2006 09:05:03#, 'h:m:s')"), "9:5:3");  // m after h: minutes
  EXPECT_EQ(text_of("Format(#22:05:00#, 'hh:nn AM/PM')"), "10:05 PM");
  EXPECT_EQ(text_of("Format(Now(), 'Long Time')"), "14:30:15");
  EXPECT_EQ(text_of("Format(#03/25/2006 08:00#, 'dd/mm/yyyy hh:nn')"), "25/03/2006 08:00");
}

TEST(SqlFormat, NumberPatterns) {
  EXPECT_EQ(text_of("Format(7, '0000')"), "0007");
  EXPECT_EQ(text_of("Format('12', '0000')"), "0012");
  EXPECT_EQ(text_of("Format(12345, '0000')"), "12345");
  EXPECT_EQ(text_of("Format(2.5, '0')"), "3");  // half away from zero, unlike CInt
  EXPECT_EQ(text_of("Format(-2.5, '0')"), "-3");
  EXPECT_EQ(text_of("Format(3.14159, '0.00')"), "3,14");
  EXPECT_EQ(text_of("Format(0.5, '#.##')"), ",5");
  EXPECT_EQ(text_of("Format(1.5, '0.0#')"), "1,5");
  EXPECT_EQ(text_of("Format(1234567.891, '#,##0.00')"), "1\xC2\xA0" "234\xC2\xA0" "567,89");
  EXPECT_EQ(text_of("Format(0.256, '0.0%')"), "25,6%");
  EXPECT_EQ(text_of("Format(-5, '0;(0)')"), "(5)");
  EXPECT_EQ(text_of("Format(0, '0;(0);\"zéro\"')"), "zéro");
  EXPECT_EQ(text_of("Format(1234.5, 'Fixed')"), "1234,50");
  EXPECT_EQ(text_of("Format(12345, '0.00E+00')"), "1,23E+04");
}

TEST(SqlFormat, TextBooleansAndNull) {
  EXPECT_EQ(text_of("Format('abc', '>')"), "ABC");
  EXPECT_EQ(text_of("Format('ABC', '<')"), "abc");
  EXPECT_EQ(text_of("Format('ab', '@@@@')"), "  ab");
  EXPECT_EQ(text_of("Format(True, 'Yes/No')"), "Oui");
  EXPECT_EQ(text_of("Format(0, 'True/False')"), "Faux");
  EXPECT_EQ(text_of("Format(3.5)"), "3,5");
  EXPECT_TRUE(eval("Format(Null, '0000')").is_null());
}

}  // namespace

}  // namespace sql_format_test_cases
