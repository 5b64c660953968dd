// Arithmetic with VB's type promotion, integer division and modulo, powers, concatenation
// with '+' and '&', date arithmetic, and the errors of bad operands.
#include <gtest/gtest.h>

#include "sql_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_eval_arithmetic_test_cases {

namespace {

using jet::Value;
using jet::ValueKind;
using sqltest::error_of;
using sqltest::eval;
using sqltest::MapResolver;

TEST(SqlPromotion, IntegerKindsWidenInsteadOfOverflowing) {
  MapResolver r;
  r.values["I"] = Value::integer(32767);
  r.values["J"] = Value::integer(3);
  r.values["B"] = Value::byte(200);
  r.values["L"] = Value::long_(2147483647);
  r.values["S"] = Value::single(1.5f);
  Value small = eval("J + J", r);
  EXPECT_EQ(small.kind(), ValueKind::Integer);
  EXPECT_EQ(small.as_integer(), 6);
  Value wide = eval("I + 1", r);  // literal 1 is a Long
  EXPECT_EQ(wide.kind(), ValueKind::Long);
  EXPECT_EQ(wide.as_long(), 32768);
  Value ii = eval("I + J", r);
  EXPECT_EQ(ii.kind(), ValueKind::Long);
  EXPECT_EQ(ii.as_long(), 32770);
  Value bytes = eval("B + B", r);
  EXPECT_EQ(bytes.kind(), ValueKind::Integer);
  EXPECT_EQ(bytes.as_integer(), 400);
  Value huge = eval("L + 1", r);
  EXPECT_EQ(huge.kind(), ValueKind::Double);
  EXPECT_DOUBLE_EQ(huge.as_double(), 2147483648.0);
  EXPECT_EQ(eval("J * S", r).kind(), ValueKind::Single);
  EXPECT_EQ(eval("L * S", r).kind(), ValueKind::Double);  // Long with Single gives Double
}

TEST(SqlPromotion, CurrencyAndDates) {
  MapResolver r;
  r.values["C"] = Value::currency(15000);  // 1.5
  Value c = eval("C + 2", r);
  EXPECT_EQ(c.kind(), ValueKind::Currency);
  EXPECT_EQ(c.as_currency(), 35000);
  EXPECT_EQ(eval("C * 3", r).as_currency(), 45000);
  EXPECT_EQ(eval("C + 0.25", r).kind(), ValueKind::Double);
  Value next = eval("#03/25/2006# + 1");
  EXPECT_EQ(next.kind(), ValueKind::Date);
  EXPECT_DOUBLE_EQ(next.as_date(), 38802.0);
  Value span = eval("#03/26/2006# - #03/25/2006 12:00#");
  EXPECT_EQ(span.kind(), ValueKind::Double);
  EXPECT_DOUBLE_EQ(span.as_double(), 0.5);
}

TEST(SqlArithmetic, DivisionsModuloAndPowers) {
  EXPECT_DOUBLE_EQ(eval("5 / 2").as_double(), 2.5);
  EXPECT_EQ(eval("7 \\ 2").to_int64(), 3);
  EXPECT_EQ(eval("-7 \\ 2").to_int64(), -3);
  EXPECT_EQ(eval("7.5 \\ 2").to_int64(), 4);  // 7.5 rounds to 8 first
  EXPECT_EQ(eval("6.5 \\ 1").to_int64(), 6);  // half to even
  EXPECT_EQ(eval("7 Mod 3").to_int64(), 1);
  EXPECT_EQ(eval("-7 Mod 3").to_int64(), -1);
  EXPECT_EQ(eval("7.5 Mod 2").to_int64(), 0);
  EXPECT_DOUBLE_EQ(eval("2 ^ 10").as_double(), 1024.0);
  EXPECT_DOUBLE_EQ(eval("2 ^ -1").as_double(), 0.5);
  EXPECT_DOUBLE_EQ(eval("-2 ^ 2").as_double(), -4.0);
  EXPECT_DOUBLE_EQ(eval("2 + 3 * 4 ^ 2 / 8 - 1").as_double(), 7.0);
  EXPECT_EQ(eval("10 - 2 - 3").to_int64(), 5);
}

TEST(SqlArithmetic, Errors) {
  EXPECT_EQ(error_of("1 / 0"), 11);
  EXPECT_EQ(error_of("0 / 0"), 6);
  EXPECT_EQ(error_of("1 \\ 0"), 11);
  EXPECT_EQ(error_of("1 Mod 0"), 11);
  EXPECT_EQ(error_of("(-8) ^ 0.5"), 5);
  EXPECT_EQ(error_of("'a' + 1"), 13);
  EXPECT_EQ(error_of("'a' * 2"), 13);
}

TEST(SqlConcatenation, PlusAndAmpersand) {
  EXPECT_EQ(eval("'3' + '4'").as_text(), "34");
  Value mixed = eval("'3' + 4");
  EXPECT_EQ(mixed.kind(), ValueKind::Double);
  EXPECT_DOUBLE_EQ(mixed.as_double(), 7.0);
  EXPECT_EQ(eval("'3' & 4").as_text(), "34");
  EXPECT_EQ(eval("1.5 & ''").as_text(), "1,5");
  EXPECT_EQ(eval("True & ''").as_text(), "Vrai");
  EXPECT_EQ(eval("#03/25/2006# & ''").as_text(), "25/03/2006");
  EXPECT_EQ(eval("1 + 2 & 3").as_text(), "33");
}

TEST(SqlConcatenation, ApplicationExpressionsOnSampleRows) {
  MapResolver r;
  r.values["LIPERDT"] = Value::text("0Maison individuelle");
  r.values["MDLIBELLE"] = Value::text("SHON créée");
  r.values["LICDIHEUR"] = Value::text("Lundi 9h-12h  ");
  r.values["COAGENT"] = Value::integer(7);
  r.values["COCDIDEP"] = Value::text("25");
  r.values["COCDIDIR"] = Value::text("1");
  r.values["COCDIF"] = Value::text("01");
  r.values["NUPILOTE"] = Value::text("07");
  EXPECT_EQ(eval("Right(LIPERDT, (Len(LIPERDT) - 1))", r).as_text(), "Maison individuelle");
  EXPECT_EQ(eval("'Surface de plancher' & RIGHT(mdlibelle, (LEN(mdlibelle) - 4))", r).as_text(),
            "Surface de plancher créée");
  EXPECT_EQ(eval("rtrim(LICDIHEUR) + ' et sur rendez-vous'", r).as_text(),
            "Lundi 9h-12h et sur rendez-vous");
  EXPECT_EQ(eval("'0' & COAGENT", r).as_text(), "07");
  EXPECT_EQ(eval("(cocdidep & cocdidir & cocdif)", r).as_text(), "25101");
  EXPECT_DOUBLE_EQ(eval("val(nupilote)", r).as_double(), 7.0);
  EXPECT_TRUE(eval("LIPERDT LIKE '0*'", r).as_boolean());
  r.values["LICDIHEUR"] = Value::null();
  EXPECT_TRUE(eval("rtrim(LICDIHEUR) + ' et sur rendez-vous'", r).is_null());
}

TEST(SqlLiteralsEval, NumbersAndDates) {
  EXPECT_EQ(eval("12").kind(), ValueKind::Long);
  EXPECT_EQ(eval("3000000000").kind(), ValueKind::Double);
  EXPECT_EQ(eval("1.25").kind(), ValueKind::Double);
  EXPECT_DOUBLE_EQ(eval("1E3").as_double(), 1000.0);
  EXPECT_DOUBLE_EQ(eval("#03/25/2006#").as_date(), 38801.0);
  EXPECT_DOUBLE_EQ(eval("#2006-03-25#").as_date(), 38801.0);
  EXPECT_DOUBLE_EQ(eval("#25/03/2006#").as_date(), 38801.0);  // 25 cannot be a month
  EXPECT_DOUBLE_EQ(eval("#03/25/2006 18:00#").as_date(), 38801.75);
  EXPECT_DOUBLE_EQ(eval("#03/25/2006 6:00 PM#").as_date(), 38801.75);
  EXPECT_DOUBLE_EQ(eval("#12:00:00#").as_date(), 0.5);
  EXPECT_DOUBLE_EQ(eval("#1/1/1900#").as_date(), 2.0);
  EXPECT_DOUBLE_EQ(eval("#12/29/1899 06:00#").as_date(), -1.25);
  EXPECT_DOUBLE_EQ(eval("#1/2/30#").as_date(), eval("#1/2/1930#").as_date());
  EXPECT_DOUBLE_EQ(eval("#1/2/29#").as_date(), eval("#1/2/2029#").as_date());
}

}  // namespace

}  // namespace sql_eval_arithmetic_test_cases
