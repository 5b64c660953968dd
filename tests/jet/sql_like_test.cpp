// LIKE patterns: wildcards, digit class, sets, negated sets, ranges, literal brackets, case.
#include <gtest/gtest.h>

#include "jet/base/error.h"
#include "jet/sql/like.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_like_test_cases {

namespace {

using jet::sql::like_match;

TEST(SqlLike, StarAndQuestionMark) {
  EXPECT_TRUE(like_match("SHON existante", "*SHON*"));
  EXPECT_TRUE(like_match("Surface SHON", "*SHON*"));
  EXPECT_FALSE(like_match("SHOB", "*SHON*"));
  EXPECT_TRUE(like_match("0123", "0*"));
  EXPECT_FALSE(like_match("1023", "0*"));
  EXPECT_TRUE(like_match("", "*"));
  EXPECT_FALSE(like_match("", "?"));
  EXPECT_TRUE(like_match("abc", "a?c"));
  EXPECT_FALSE(like_match("ac", "a?c"));
  EXPECT_TRUE(like_match("aXbYc", "a*b*c"));
  EXPECT_FALSE(like_match("aXbY", "a*b*c"));
  EXPECT_TRUE(like_match("abcbc", "*bc"));
  EXPECT_TRUE(like_match("é", "?"));  // one character, two bytes
}

TEST(SqlLike, CaseIgnoredAccentsKept) {
  EXPECT_TRUE(like_match("shon", "*SHON*"));
  EXPECT_TRUE(like_match("ÉCOLE", "école"));
  EXPECT_FALSE(like_match("ecole", "école"));
}

TEST(SqlLike, DigitsSetsAndRanges) {
  EXPECT_TRUE(like_match("a1c", "a#c"));
  EXPECT_FALSE(like_match("abc", "a#c"));
  EXPECT_TRUE(like_match("b", "[a-c]"));
  EXPECT_TRUE(like_match("B", "[a-c]"));
  EXPECT_FALSE(like_match("d", "[a-c]"));
  EXPECT_TRUE(like_match("d", "[!a-c]"));
  EXPECT_FALSE(like_match("a", "[!a-c]"));
  EXPECT_TRUE(like_match("x", "[xyz]"));
  EXPECT_FALSE(like_match("w", "[xyz]"));
  EXPECT_TRUE(like_match("P12", "[A-Z]##"));
  EXPECT_TRUE(like_match("-", "[a-]"));  // a trailing '-' is itself
}

TEST(SqlLike, BracketsMakeWildcardsLiteral) {
  EXPECT_TRUE(like_match("a*b", "a[*]b"));
  EXPECT_FALSE(like_match("axb", "a[*]b"));
  EXPECT_TRUE(like_match("5?", "5[?]"));
  EXPECT_TRUE(like_match("n#1", "n[#]#"));
}

TEST(SqlLike, UnclosedBracketIsAnError) {
  try {
    like_match("x", "a[b");
    FAIL() << "no error";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 93);
  }
}

}  // namespace

}  // namespace sql_like_test_cases
