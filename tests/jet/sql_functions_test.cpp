// Built-in functions one by one, with VB's conversion rules and their errors.
#include <gtest/gtest.h>

#include "sql_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_functions_test_cases {

namespace {

using jet::Value;
using jet::ValueKind;
using sqltest::error_of;
using sqltest::eval;
using sqltest::text_of;

TEST(SqlFunctions, Val) {
  EXPECT_DOUBLE_EQ(eval("Val('  12 34abc')").as_double(), 1234.0);
  EXPECT_DOUBLE_EQ(eval("Val('1.5e2x')").as_double(), 150.0);
  EXPECT_DOUBLE_EQ(eval("Val('abc')").as_double(), 0.0);
  EXPECT_DOUBLE_EQ(eval("Val('&H1F')").as_double(), 31.0);
  EXPECT_DOUBLE_EQ(eval("Val('-3,5')").as_double(), -3.0);
  EXPECT_DOUBLE_EQ(eval("Val('07')").as_double(), 7.0);
  EXPECT_EQ(error_of("Val(Null)"), 94);
}

TEST(SqlFunctions, LeftRightMidLen) {
  EXPECT_EQ(text_of("Left('abcdef', 2)"), "ab");
  EXPECT_EQ(text_of("Left('ab', 5)"), "ab");
  EXPECT_EQ(text_of("Right('abcdef', 2)"), "ef");
  EXPECT_EQ(text_of("Right('élève', 3)"), "ève");
  EXPECT_EQ(text_of("Mid('abcdef', 2, 3)"), "bcd");
  EXPECT_EQ(text_of("Mid('abcdef', 4)"), "def");
  EXPECT_EQ(text_of("Mid('abc', 5)"), "");
  EXPECT_TRUE(eval("Left(Null, 2)").is_null());
  EXPECT_TRUE(eval("Mid(Null, 2)").is_null());
  EXPECT_EQ(error_of("Left('a', -1)"), 5);
  EXPECT_EQ(error_of("Mid('abc', 0)"), 5);
  EXPECT_EQ(error_of("Left('abc', Null)"), 94);
  EXPECT_EQ(eval("Len('Libellé')").as_long(), 7);
  EXPECT_TRUE(eval("Len(Null)").is_null());
}

TEST(SqlFunctions, TrimAndCase) {
  EXPECT_EQ(text_of("Trim('  a b  ')"), "a b");
  EXPECT_EQ(text_of("LTrim('  a b  ')"), "a b  ");
  EXPECT_EQ(text_of("RTrim('  a b  ')"), "  a b");
  EXPECT_EQ(text_of("UCase('élève œuvre')"), "ÉLÈVE ŒUVRE");
  EXPECT_EQ(text_of("LCase('ÉCOLE Ÿ')"), "école ÿ");
  EXPECT_TRUE(eval("UCase(Null)").is_null());
}

TEST(SqlFunctions, ChrAndAscUseTheWindowsCodePage) {
  EXPECT_EQ(text_of("Chr(124)"), "|");
  EXPECT_EQ(text_of("Chr(128)"), "€");
  EXPECT_EQ(text_of("Chr(233)"), "é");
  EXPECT_EQ(eval("Asc('A')").as_integer(), 65);
  EXPECT_EQ(eval("Asc('é')").as_integer(), 233);
  EXPECT_EQ(eval("Asc('€uro')").as_integer(), 128);
  EXPECT_EQ(error_of("Asc('')"), 5);
  EXPECT_EQ(error_of("Chr(256)"), 5);
  EXPECT_EQ(error_of("Chr(Null)"), 94);
}

TEST(SqlFunctions, NzIIfIsNull) {
  EXPECT_EQ(text_of("Nz(Null, 'x')"), "x");
  EXPECT_EQ(eval("Nz(5, 0)").as_long(), 5);
  EXPECT_TRUE(eval("Nz(Null)").is_empty());
  EXPECT_EQ(text_of("IIf(1 > 2, 'a', 'b')"), "b");
  EXPECT_EQ(text_of("IIf(Null, 'a', 'b')"), "b");
  EXPECT_EQ(eval("IIf(True, 1, 1 / 0)").as_long(), 1);  // the other branch is not evaluated
  EXPECT_TRUE(eval("IsNull(Null)").as_boolean());
  EXPECT_FALSE(eval("IsNull('')").as_boolean());
  EXPECT_TRUE(eval("IsNumeric('3,5')").as_boolean());
  EXPECT_FALSE(eval("IsNumeric('3a')").as_boolean());
}

TEST(SqlConversions, ToTextFrenchConventions) {
  EXPECT_EQ(text_of("CStr(3.5)"), "3,5");
  EXPECT_EQ(text_of("CStr(True)"), "Vrai");
  EXPECT_EQ(text_of("CStr(1 = 2)"), "Faux");
  EXPECT_EQ(text_of("CStr(#03/25/2006#)"), "25/03/2006");
  EXPECT_EQ(text_of("CStr(#03/25/2006 14:05:00#)"), "25/03/2006 14:05:00");
  EXPECT_EQ(text_of("CStr(#14:05:00#)"), "14:05:00");
  EXPECT_EQ(text_of("CStr(1 / 3)"), "0,333333333333333");
  EXPECT_EQ(text_of("CStr(1E16)"), "1E+16");
  EXPECT_EQ(text_of("CStr(0.00001)"), "0,00001");
  EXPECT_EQ(text_of("CStr(-2.5E-20)"), "-2,5E-20");
  EXPECT_EQ(text_of("Str(3.5)"), " 3.5");
  EXPECT_EQ(error_of("CStr(Null)"), 94);
}

TEST(SqlConversions, WholeNumbersRoundHalfToEven) {
  EXPECT_EQ(eval("CInt(2.5)").as_integer(), 2);
  EXPECT_EQ(eval("CInt(3.5)").as_integer(), 4);
  EXPECT_EQ(eval("CInt(-2.5)").as_integer(), -2);
  EXPECT_EQ(eval("CInt(2.51)").as_integer(), 3);
  EXPECT_EQ(eval("CInt('12')").as_integer(), 12);
  EXPECT_EQ(eval("CLng(1.5)").as_long(), 2);
  EXPECT_EQ(eval("CLng('-7,5')").as_long(), -8);
  EXPECT_EQ(error_of("CInt(32768)"), 6);
  EXPECT_EQ(error_of("CInt('abc')"), 13);
  EXPECT_EQ(error_of("CLng(Null)"), 94);
  EXPECT_EQ(eval("CInt(True)").as_integer(), -1);
}

TEST(SqlConversions, DoublesDatesBooleans) {
  EXPECT_DOUBLE_EQ(eval("CDbl('3,5')").as_double(), 3.5);
  EXPECT_DOUBLE_EQ(eval("CDate('25/03/2006')").as_date(), 38801.0);
  EXPECT_DOUBLE_EQ(eval("CDate('25/03/2006 18:00')").as_date(), 38801.75);
  EXPECT_DOUBLE_EQ(eval("CDate('2006-03-25')").as_date(), 38801.0);
  EXPECT_DOUBLE_EQ(eval("CDate('05/03/2006')").as_date(), 38781.0);  // 5 March, day first
  EXPECT_DOUBLE_EQ(eval("CDate(38801.5)").as_date(), 38801.5);
  EXPECT_EQ(error_of("CDate('abc')"), 13);
  EXPECT_EQ(error_of("CDate('31/02/2006')"), 13);
  EXPECT_FALSE(eval("CBool(0)").as_boolean());
  EXPECT_TRUE(eval("CBool(-3)").as_boolean());
  EXPECT_TRUE(eval("CBool('Vrai')").as_boolean());
  EXPECT_FALSE(eval("CBool('false')").as_boolean());
  EXPECT_EQ(error_of("CBool('oui')"), 13);
}

TEST(SqlDateFunctions, ClockAndParts) {
  Value today = eval("Date()");
  EXPECT_EQ(today.kind(), ValueKind::Date);
  EXPECT_DOUBLE_EQ(today.as_date(), 38801.0);
  EXPECT_DOUBLE_EQ(eval("Now()").as_date(), sqltest::fixed_now());
  EXPECT_NEAR(eval("Time()").as_date(), (14 * 3600 + 30 * 60 + 15) / 86400.0, 1e-9);
  EXPECT_EQ(eval("Year(#03/25/2006#)").as_integer(), 2006);
  EXPECT_EQ(eval("Month(#03/25/2006#)").as_integer(), 3);
  EXPECT_EQ(eval("Day(#03/25/2006#)").as_integer(), 25);
  EXPECT_EQ(eval("Year('25/03/2006')").as_integer(), 2006);
  EXPECT_EQ(eval("Hour(Now())").as_integer(), 14);
  EXPECT_EQ(eval("Weekday(#03/25/2006#)").as_integer(), 7);  // Saturday
  EXPECT_TRUE(eval("Year(Null)").is_null());
  EXPECT_DOUBLE_EQ(eval("DateSerial(2006, 14, 1)").as_date(), eval("#02/01/2007#").as_date());
  EXPECT_DOUBLE_EQ(eval("DateSerial(2006, 3, 0)").as_date(), eval("#02/28/2006#").as_date());
  EXPECT_EQ(error_of("DateSerial(2147483647, 2147483647, 1)"), 5);
  EXPECT_EQ(error_of("Year(1E300)"), 6);
  EXPECT_EQ(error_of("Format(1E300, 'yyyy')"), 6);
}

TEST(SqlDateFunctions, DateAdd) {
  auto same = [](const char* a, const char* b) {
    EXPECT_DOUBLE_EQ(eval(a).as_date(), eval(b).as_date()) << a;
  };
  same("DateAdd('m', 1, #01/31/2006#)", "#02/28/2006#");
  same("DateAdd('m', -2, #03/31/2004#)", "#01/31/2004#");
  same("DateAdd('yyyy', 1, #02/29/2004#)", "#02/28/2005#");
  same("DateAdd('q', 1, #11/30/2005#)", "#02/28/2006#");
  same("DateAdd('d', -1, #03/01/2006#)", "#02/28/2006#");
  same("DateAdd('ww', 2, #03/25/2006#)", "#04/08/2006#");
  same("DateAdd('h', 30, #03/25/2006#)", "#03/26/2006 06:00#");
  same("DateAdd('n', -90, #03/25/2006#)", "#03/24/2006 22:30#");
  same("DateAdd('s', 61, #03/25/2006 10:00#)", "#03/25/2006 10:01:01#");
  EXPECT_TRUE(eval("DateAdd('d', 1, Null)").is_null());
  EXPECT_EQ(error_of("DateAdd('x', 1, #03/25/2006#)"), 5);
}

TEST(SqlDateFunctions, DateDiff) {
  EXPECT_EQ(eval("DateDiff('d', #03/25/2006#, #04/01/2006#)").as_long(), 7);
  EXPECT_EQ(eval("DateDiff('d', #04/01/2006#, #03/25/2006#)").as_long(), -7);
  EXPECT_EQ(eval("DateDiff('m', #01/31/2006#, #02/01/2006#)").as_long(), 1);
  EXPECT_EQ(eval("DateDiff('yyyy', #12/31/2005#, #01/01/2006#)").as_long(), 1);
  EXPECT_EQ(eval("DateDiff('q', #03/31/2006#, #04/01/2006#)").as_long(), 1);
  EXPECT_EQ(eval("DateDiff('ww', #03/25/2006#, #03/26/2006#)").as_long(), 1);  // Sat -> Sun
  EXPECT_EQ(eval("DateDiff('w', #03/25/2006#, #03/26/2006#)").as_long(), 0);
  EXPECT_EQ(eval("DateDiff('w', #03/25/2006#, #04/08/2006#)").as_long(), 2);
  EXPECT_EQ(eval("DateDiff('h', #03/25/2006 23:59#, #03/26/2006 00:01#)").as_long(), 1);
  EXPECT_EQ(eval("DateDiff('n', #03/25/2006 23:59#, #03/26/2006 00:01#)").as_long(), 2);
  EXPECT_EQ(eval("DateDiff('s', #03/25/2006#, #03/25/2006 00:01:05#)").as_long(), 65);
  EXPECT_TRUE(eval("DateDiff('d', Null, #03/25/2006#)").is_null());
}

TEST(SqlTextFunctions, InStrReplaceStringSpace) {
  EXPECT_EQ(eval("InStr('abcabc', 'C')").as_long(), 3);
  EXPECT_EQ(eval("InStr(4, 'abcabc', 'c')").as_long(), 6);
  EXPECT_EQ(eval("InStr('abc', '')").as_long(), 1);
  EXPECT_EQ(eval("InStr('abc', 'x')").as_long(), 0);
  EXPECT_TRUE(eval("InStr(Null, 'a')").is_null());
  EXPECT_EQ(text_of("Replace('a-b-c', '-', '/')"), "a/b/c");
  EXPECT_EQ(text_of("Replace('aXbx', 'x', '')"), "ab");
  EXPECT_EQ(text_of("Replace('a-b-c', '-', '+', 3)"), "b+c");
  EXPECT_EQ(text_of("Replace('a-b-c', '-', '+', 1, 1)"), "a+b-c");
  EXPECT_EQ(text_of("String(3, 'xy')"), "xxx");
  EXPECT_EQ(text_of("String(2, 42)"), "**");
  EXPECT_EQ(text_of("Space(3)"), "   ");
  EXPECT_EQ(error_of("Space(-1)"), 5);
  EXPECT_EQ(error_of("Space(2000000000)"), 5);
  EXPECT_EQ(error_of("String(2000000000, 'x')"), 5);
}

TEST(SqlNumericFunctions, AbsIntFixSgnRound) {
  EXPECT_EQ(eval("Abs(-3)").as_long(), 3);
  EXPECT_DOUBLE_EQ(eval("Int(-2.5)").as_double(), -3.0);
  EXPECT_DOUBLE_EQ(eval("Fix(-2.5)").as_double(), -2.0);
  EXPECT_EQ(eval("Sgn(-0.1)").as_integer(), -1);
  EXPECT_DOUBLE_EQ(eval("Round(0.125, 2)").as_double(), 0.12);  // exact half: to even
  EXPECT_DOUBLE_EQ(eval("Round(0.375, 2)").as_double(), 0.38);
  EXPECT_DOUBLE_EQ(eval("Round(2.5)").as_double(), 2.0);
}

TEST(SqlFunctions, UnknownFunctionsAndWrongCounts) {
  try {
    eval("Foo(1)");
    FAIL() << "no error";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 3085);
    EXPECT_STREQ(e.what(), "Fonction 'Foo' non définie dans l'expression.");
  }
  EXPECT_EQ(error_of("Left('a')"), 3075);
  EXPECT_EQ(error_of("Now(1)"), 3075);
  EXPECT_EQ(error_of("lcase('A', 'B')"), 3075);
}

}  // namespace

}  // namespace sql_functions_test_cases
