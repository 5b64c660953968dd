// Decimal columns through Jet SQL: every number converts into them (whole numbers, Double
// with its 15 digits, Single with its 7, Currency exactly, numeric text as written, Yes/No as
// -1/0), Decimal arithmetic stays exact, Decimal values convert out into the other numeric
// columns, and a value whose whole part does not fit the column's precision is refused with
// 3349, leaving the table as it was. mdbtools reads back what was written.
#include <gtest/gtest.h>

#include "jet/base/decimal.h"
#include "jet/base/error.h"
#include "sql_exec_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_exec_decimal_test_cases {

namespace {

using namespace sql_exec_test;
using Lines = std::vector<std::string>;

class SqlDecimal : public ::testing::Test {
 protected:
  void SetUp() override {
    path = scratch.copy("fixedNumericTestV2000.mdb");
    db = std::make_unique<Db>(path);
    // The Access-made table `test` has Decimal(18, 0) columns col2..col7 and one row.
    db->x("CREATE TABLE Montants (id LONG, d DECIMAL(7, 2), n SMALLINT, l LONG, c CURRENCY, x DOUBLE, "
          "s SINGLE, b BIT, t TEXT(30))");
    db->x("INSERT INTO Montants VALUES (1, Null, 12, 20000, 123.4567, 0.1, 1.1, True, '-0,25')");
  }
  Scratch scratch;
  std::string path;
  std::unique_ptr<Db> db;
};

TEST_F(SqlDecimal, NumbersAndNumericTextsGoIntoDecimalColumns) {
  QUELIS_NEEDS_MDBTOOLS();
  EXPECT_EQ(db->x("INSERT INTO test (col1, col2) VALUES ('double', 5.5)"), 1);
  EXPECT_EQ(db->x("INSERT INTO test (col1, col2) VALUES ('beyond long', 2147483648)"), 1);
  EXPECT_EQ(db->x("INSERT INTO test (col1, col2) VALUES ('text', '12')"), 1);
  EXPECT_EQ(db->x("INSERT INTO test (col1, col2) VALUES ('exponent', '-1,5E3')"), 1);
  EXPECT_EQ(db->x("INSERT INTO test (col1, col2) VALUES ('eighteen digits', '999999999999999999')"), 1);
  // Decimals past the column's scale (0 here) are rounded away, half away from zero.
  EXPECT_EQ(db->q("SELECT col1, col2 FROM test WHERE col1 <> 'some data' ORDER BY col2"),
            (Lines{"exponent|-1500", "double|6", "text|12", "beyond long|2147483648",
                   "eighteen digits|999999999999999999"}));
  db->close();
  const std::string csv = mdb_export(path, "test");
  EXPECT_NE(csv.find("\"beyond long\",2147483648,"), std::string::npos) << csv;
  EXPECT_NE(csv.find("\"eighteen digits\",999999999999999999,"), std::string::npos) << csv;
  EXPECT_NE(csv.find("\"exponent\",-1500,"), std::string::npos) << csv;
}

TEST_F(SqlDecimal, EveryNumericKindConvertsIntoADecimalColumn) {
  QUELIS_NEEDS_MDBTOOLS();
  const std::vector<std::pair<std::string, std::string>> cases{
      {"n", "12"},          {"l", "20000"},    {"c", "123.46"},  // Currency rounded to the scale
      {"x", "0.1"},         {"s", "1.1"},      {"b", "-1"},      // Single with its 7 digits, True as -1
      {"t", "-0.25"},       {"l / 8", "2500"},                   // text as written; a Double result
  };
  for (const auto& [source, expected] : cases) {
    EXPECT_EQ(db->x("UPDATE Montants SET d = " + source), 1) << source;
    EXPECT_EQ(db->q("SELECT d FROM Montants"), (Lines{expected})) << source;
  }
  db->close();
  const std::string csv = mdb_export(path, "Montants");
  EXPECT_NE(csv.find("1,2500"), std::string::npos) << csv;
}

TEST_F(SqlDecimal, DecimalArithmeticStaysExact) {
  QUELIS_NEEDS_MDBTOOLS();
  db->x("UPDATE test SET col2 = '123456789012345678'");
  // Through a Double, the product would lose its last digits.
  EXPECT_EQ(db->x("UPDATE test SET col3 = col2 * 2, col4 = col2 + 1, col5 = col2 - col2 - 7"), 1);
  EXPECT_EQ(db->q("SELECT col3, col4, col5 FROM test"), (Lines{"246913578024691356|123456789012345679|-7"}));
  db->x("UPDATE Montants SET d = '12345,67'");
  EXPECT_EQ(db->x("UPDATE Montants SET d = d * 3 + c"), 1);  // 37037.01 + 123.4567
  EXPECT_EQ(db->q("SELECT d FROM Montants"), (Lines{"37160.47"}));
  db->close();
  const std::string csv = mdb_export(path, "test");
  EXPECT_NE(csv.find(",123456789012345678,246913578024691356,123456789012345679,-7,"), std::string::npos) << csv;
}

TEST_F(SqlDecimal, DecimalValuesConvertIntoOtherNumericColumns) {
  db->x("UPDATE Montants SET d = '12,5'");
  EXPECT_EQ(db->x("UPDATE Montants SET n = d, l = d * 3, c = d, x = d, s = d, b = d"), 1);
  // Whole columns round half to even: 12.5 -> 12, 37.5 -> 38.
  EXPECT_EQ(db->q("SELECT n, l, c, x, s, b FROM Montants"), (Lines{"12|38|12.5|12.5|12.5|True"}));
  db->x("UPDATE Montants SET d = '99999,99'");
  EXPECT_EQ(error_of([&] { db->x("UPDATE Montants SET n = d"); }), 6);
  EXPECT_EQ(db->q("SELECT n FROM Montants"), (Lines{"12"}));
}

TEST_F(SqlDecimal, ValuesBeyondThePrecisionAreRefusedAndChangeNothing) {
  std::string text;
  // Decimal(7, 2) keeps five digits before the point.
  EXPECT_EQ(error_of([&] { db->x("UPDATE Montants SET d = 100000"); }, &text), 3349);
  EXPECT_EQ(text, "Dépassement de capacité du champ numérique.");
  EXPECT_EQ(error_of([&] { db->x("UPDATE Montants SET d = '123456,1'"); }), 3349);
  EXPECT_EQ(error_of([&] { db->x("UPDATE Montants SET d = l * 10"); }), 3349);
  EXPECT_EQ(error_of([&] { db->x("UPDATE Montants SET d = 1E300"); }), 3349);
  EXPECT_EQ(error_of([&] { db->x("INSERT INTO test (col2) VALUES ('1000000000000000000')"); }), 3349);
  EXPECT_EQ(error_of([&] { db->x("UPDATE Montants SET d = 'douze'"); }), 13);
  EXPECT_EQ(db->q("SELECT d FROM Montants"), (Lines{"~"}));
  EXPECT_EQ(db->q("SELECT COUNT(*) FROM test"), (Lines{"1"}));
  // 99999.995 rounds up past the precision; 99999.994 fits.
  EXPECT_EQ(error_of([&] { db->x("UPDATE Montants SET d = '99999,995'"); }), 3349);
  EXPECT_EQ(db->x("UPDATE Montants SET d = '-99999,994'"), 1);
  EXPECT_EQ(db->q("SELECT d FROM Montants"), (Lines{"-99999.99"}));
}

TEST(DecimalConversion, TextsDoublesAndLimits) {
  auto text = [](std::string_view s) { return jet::decimal_from_text(s)->to_string(); };
  EXPECT_EQ(text(" 0012,50 "), "12.5");
  EXPECT_EQ(text("-0.000"), "0");
  EXPECT_EQ(text("1.5e-3"), "0.0015");
  EXPECT_EQ(text("79228162514264337593543950335"), "79228162514264337593543950335");  // 2^96 - 1
  EXPECT_EQ(text("0.12345678901234567890123456789"), "0.1234567890123456789012345679");  // 28 decimals
  EXPECT_FALSE(jet::decimal_from_text("12a"));
  EXPECT_FALSE(jet::decimal_from_text("e5"));
  EXPECT_FALSE(jet::decimal_from_text(""));
  EXPECT_EQ(error_of([] { jet::decimal_from_text("79228162514264337593543950336"); }), 3349);
  EXPECT_EQ(jet::decimal_from_double(0.1 + 0.2, 15).to_string(), "0.3");
  EXPECT_EQ(jet::decimal_from_double(-1234567.891, 15).to_string(), "-1234567.891");
  EXPECT_EQ(jet::decimal_from_double(1.1f, 7).to_string(), "1.1");
  EXPECT_EQ(jet::currency_of_decimal(*jet::decimal_from_text("0.00005")), 0);   // half to even
  EXPECT_EQ(jet::currency_of_decimal(*jet::decimal_from_text("0.00015")), 2);
  EXPECT_EQ(jet::currency_of_decimal(*jet::decimal_from_text("0.000051")), 1);
  const jet::Decimal big = *jet::decimal_from_text("79228162514264337593543950335");
  EXPECT_EQ(error_of([&] { jet::decimal_add(big, *jet::decimal_from_text("1")); }), 6);
  // A sum past 96 bits keeps its value by giving up decimals.
  EXPECT_EQ(jet::decimal_add(*jet::decimal_from_text("7922816251426433759354395033.5"),
                             *jet::decimal_from_text("0.5"))
                .to_string(),
            "7922816251426433759354395034");
  EXPECT_EQ(jet::decimal_multiply(*jet::decimal_from_text("-1.5"), *jet::decimal_from_text("0.25")).to_string(),
            "-0.375");
}

}  // namespace

}  // namespace sql_exec_decimal_test_cases
