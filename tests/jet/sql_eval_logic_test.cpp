// Null propagation and three-valued logic, comparisons (text ignoring case, not accents),
// IN / BETWEEN / IS NULL, and conditions as a WHERE clause sees them.
#include <gtest/gtest.h>

#include "sql_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_eval_logic_test_cases {

namespace {

using jet::Value;
using jet::ValueKind;
using sqltest::error_of;
using sqltest::eval;

bool is_null(const std::string& e) { return eval(e).is_null(); }
bool truth(const std::string& e) { return eval(e).as_boolean(); }

TEST(SqlNulls, ComparisonWithNullIsNeverTrue) {
  EXPECT_TRUE(is_null("Null = Null"));
  EXPECT_TRUE(is_null("1 <> Null"));
  EXPECT_TRUE(is_null("'A' = Null"));
  sqltest::MapResolver row;
  row.values["COAGENT"] = Value::text("7");
  auto where = jet::sql::parse_expression("COAGENT <> null");
  EXPECT_FALSE(jet::sql::evaluate_condition(*where, row));
  auto equal = jet::sql::parse_expression("COAGENT = null");
  EXPECT_FALSE(jet::sql::evaluate_condition(*equal, row));
  auto negated = jet::sql::parse_expression("NOT (COAGENT = null)");
  EXPECT_FALSE(jet::sql::evaluate_condition(*negated, row));
}

TEST(SqlNulls, LogicalOperatorsDecideWithoutNullWhenTheyCan) {
  EXPECT_FALSE(truth("Null AND False"));
  EXPECT_TRUE(is_null("Null AND True"));
  EXPECT_TRUE(truth("Null OR True"));
  EXPECT_TRUE(is_null("False OR Null"));
  EXPECT_TRUE(is_null("NOT Null"));
  EXPECT_TRUE(is_null("Null XOR True"));
  EXPECT_TRUE(is_null("Null EQV Null"));
  EXPECT_TRUE(truth("False IMP Null"));
  EXPECT_TRUE(truth("Null IMP True"));
  EXPECT_TRUE(is_null("True IMP Null"));
  EXPECT_TRUE(is_null("Null IMP False"));
}

TEST(SqlNulls, ArithmeticAndConcatenation) {
  EXPECT_TRUE(is_null("Null + 1"));
  EXPECT_TRUE(is_null("'a' + Null"));
  EXPECT_TRUE(is_null("-Null"));
  EXPECT_EQ(eval("'a' & Null").as_text(), "a");
  EXPECT_EQ(eval("Null & 'b'").as_text(), "b");
  EXPECT_TRUE(is_null("Null & Null"));
  EXPECT_TRUE(is_null("Null LIKE '*'"));
}

TEST(SqlNulls, NullTestsAndLists) {
  EXPECT_TRUE(truth("Null IS NULL"));
  EXPECT_FALSE(truth("'' IS NULL"));
  EXPECT_TRUE(truth("1 IS NOT NULL"));
  EXPECT_TRUE(truth("1 IN (1, Null)"));
  EXPECT_TRUE(is_null("3 IN (1, Null)"));
  EXPECT_TRUE(is_null("3 NOT IN (1, Null)"));
  EXPECT_TRUE(truth("3 NOT IN (1, 2)"));
  EXPECT_TRUE(is_null("Null IN (1, 2)"));
}

TEST(SqlNulls, NullColumnIsNotSelectedByNotIn) {
  sqltest::MapResolver row;
  row.values["CONTRAV"] = Value::null();
  auto where = jet::sql::parse_expression("CONTRAV NOT in ('','1','2','3','4','5','6')");
  EXPECT_FALSE(jet::sql::evaluate_condition(*where, row));
  row.values["CONTRAV"] = Value::text("10");
  EXPECT_TRUE(jet::sql::evaluate_condition(*where, row));
  row.values["CONTRAV"] = Value::text("");
  EXPECT_FALSE(jet::sql::evaluate_condition(*where, row));
}

TEST(SqlLogic, BitwiseOnNumbers) {
  Value v = eval("5 AND 3");  // number literals are Long
  EXPECT_EQ(v.kind(), ValueKind::Long);
  EXPECT_EQ(v.as_long(), 1);
  EXPECT_EQ(eval("5 OR 3").as_long(), 7);
  EXPECT_EQ(eval("5 XOR 3").as_long(), 6);
  EXPECT_EQ(eval("NOT 0").as_long(), -1);
  EXPECT_EQ(eval("Null AND 0").as_long(), 0);
  sqltest::MapResolver r;
  r.values["FLAGS"] = Value::integer(12);
  Value narrow = sqltest::eval("FLAGS AND CInt(4)", r);
  EXPECT_EQ(narrow.kind(), ValueKind::Integer);
  EXPECT_EQ(narrow.as_integer(), 4);
  EXPECT_EQ(sqltest::eval("NOT FLAGS", r).as_integer(), -13);
  EXPECT_TRUE(eval("True AND -1").to_int64() == -1);
  EXPECT_EQ(eval("True AND True").kind(), ValueKind::Boolean);
}

TEST(SqlComparison, TextIgnoresCaseButNotAccents) {
  EXPECT_TRUE(truth("'abc' = 'ABC'"));
  EXPECT_TRUE(truth("'Côte' = 'CÔTE'"));
  EXPECT_FALSE(truth("'e' = 'é'"));
  EXPECT_TRUE(truth("'é' < 'f'"));
  EXPECT_TRUE(truth("'e' < 'é'"));
  EXPECT_TRUE(truth("'b' > 'A'"));
  EXPECT_FALSE(truth("'10' > '9'"));
  EXPECT_TRUE(truth("'abc' <> 'abd'"));
  EXPECT_TRUE(truth("'abc' = 'abc  '"));  // trailing blanks do not count, as in the indexes
  EXPECT_FALSE(truth("'abc' = ' abc'"));
  EXPECT_TRUE(truth("'zoe' < 'zoé'"));
  EXPECT_TRUE(truth("'☃' = '☃'"));  // no General-order code: compared by dictionary order
  EXPECT_TRUE(truth("'☃a' < '☃b'"));
}

TEST(SqlComparison, MixedKindsConvertOrFail) {
  EXPECT_TRUE(truth("'10' > 9"));
  EXPECT_TRUE(truth("'3,5' = 3.5"));
  EXPECT_EQ(error_of("'abc' = 1"), 3464);
  EXPECT_TRUE(truth("#03/25/2006# = 38801"));
  EXPECT_TRUE(truth("True = -1"));
  EXPECT_TRUE(truth("#02/01/2006# = '01/02/2006'"));  // text read day first
  EXPECT_TRUE(truth("'31/12/2005' < #01/01/2006#"));
  EXPECT_EQ(error_of("#01/01/2006# = 'demain'"), 3464);
}

TEST(SqlComparison, BetweenTakesBoundsInEitherOrder) {
  EXPECT_TRUE(truth("5 BETWEEN 1 AND 10"));
  EXPECT_TRUE(truth("5 BETWEEN 10 AND 1"));
  EXPECT_FALSE(truth("5 BETWEEN 1 AND 4"));
  EXPECT_TRUE(truth("5 NOT BETWEEN 1 AND 4"));
  EXPECT_TRUE(truth("'b' BETWEEN 'A' AND 'C'"));
  EXPECT_TRUE(is_null("Null BETWEEN 1 AND 2"));
}

TEST(SqlNames, UnknownNameIsAMissingParameter) {
  try {
    eval("COAGENT = 1");
    FAIL() << "no error";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 3061);
    EXPECT_STREQ(e.what(), "Trop peu de paramètres. 1 attendu.");
  }
  auto refs = jet::sql::referenced_columns(*jet::sql::parse_expression("a.x + f(y, 1) & b.* "));
  ASSERT_EQ(refs.size(), 2u);
  EXPECT_EQ(refs[0].table, "a");
  EXPECT_EQ(refs[1].name, "y");
}

TEST(SqlNames, AggregatesComeFromTheResolver) {
  struct GroupResolver : sqltest::MapResolver {
    std::optional<Value> aggregate(const jet::sql::Call& call) override {
      if (jet::sql::upper_ascii(call.name) == "COUNT") return Value::long_(4);
      return std::nullopt;
    }
  } group;
  EXPECT_EQ(sqltest::eval("Count(*) * 2", group).as_long(), 8);
  EXPECT_EQ(error_of("Sum(1)"), 3085);
}

}  // namespace

namespace {

TEST(SqlSubqueryEval, ValuesComeFromTheResolver) {
  struct QueryResolver : sqltest::MapResolver {
    int calls = 0;
    std::optional<std::vector<Value>> subquery(const jet::sql::Select&) override {
      ++calls;
      return std::vector<Value>{Value::text("1"), Value::null(), Value::text("3")};
    }
  } r;
  EXPECT_TRUE(sqltest::eval("'3' IN (SELECT c FROM t)", r).as_boolean());
  EXPECT_TRUE(sqltest::eval("'2' IN (SELECT c FROM t)", r).is_null());  // a Null was met
  EXPECT_TRUE(sqltest::eval("EXISTS (SELECT c FROM t)", r).as_boolean());
  EXPECT_EQ(sqltest::eval("(SELECT c FROM t) & 'x'", r).as_text(), "1x");
  EXPECT_EQ(r.calls, 4);
  sqltest::MapResolver plain;
  EXPECT_EQ(sqltest::error_of("EXISTS (SELECT c FROM t)"), 3251);
  (void)plain;
}

}  // namespace

namespace {

TEST(SqlNames, StatementNamesForParameterCounting) {
  auto st = jet::sql::parse_statement(
      "UPDATE a INNER JOIN b ON a.k = b.k SET a.x = [Nouveau code] WHERE b.y = [Ancien code] "
      "AND a.z IN (SELECT q FROM c WHERE c.w = 1)");
  auto refs = jet::sql::referenced_columns(st);
  std::vector<std::string> names;
  for (const auto& r : refs) names.push_back(r.table + "." + r.name);
  std::vector<std::string> expected = {"a.k", "b.k", ".Nouveau code", "b.y", ".Ancien code", "a.z"};
  EXPECT_EQ(names, expected);
}

}  // namespace

}  // namespace sql_eval_logic_test_cases
