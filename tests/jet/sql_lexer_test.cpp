// Tokens: names against numbers, quoted texts, dates, brackets, two-character operators,
// offsets for error quoting, and characters Jet SQL does not use.
#include <gtest/gtest.h>

#include "jet/base/error.h"
#include "jet/sql/lexer.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_lexer_test_cases {

namespace {

using namespace jet::sql;

TEST(SqlLexer, KindsAndValues) {
  auto t = tokenize("SELECT [a b].c, 'it''s', \"x\", #1/2/2003#, 6443IND, 12.5E-1, .5 FROM t");
  ASSERT_EQ(t.size(), 19u);
  EXPECT_EQ(t[0].kind, TokenKind::Name);
  EXPECT_EQ(t[1].kind, TokenKind::Bracketed);
  EXPECT_EQ(t[1].text, "a b");
  EXPECT_TRUE(is_symbol(t[2], "."));
  EXPECT_EQ(t[3].text, "c");
  EXPECT_EQ(t[5].kind, TokenKind::Text);
  EXPECT_EQ(t[5].text, "it's");
  EXPECT_EQ(t[7].text, "x");
  EXPECT_EQ(t[9].kind, TokenKind::Date);
  EXPECT_EQ(t[9].text, "1/2/2003");
  EXPECT_EQ(t[11].kind, TokenKind::Name);
  EXPECT_EQ(t[11].text, "6443IND");
  EXPECT_EQ(t[13].kind, TokenKind::Number);
  EXPECT_EQ(t[13].text, "12.5E-1");
  EXPECT_EQ(t[15].kind, TokenKind::Number);
  EXPECT_EQ(t[15].text, ".5");
  EXPECT_TRUE(is_word(t[16], "from"));
  EXPECT_EQ(t.back().kind, TokenKind::End);
}

TEST(SqlLexer, OperatorsAndOffsets) {
  auto t = tokenize("a<>b AND c=<d OR e=>f");
  EXPECT_TRUE(is_symbol(t[1], "<>"));
  EXPECT_TRUE(is_symbol(t[5], "<="));  // Jet accepts =< and => as well
  EXPECT_TRUE(is_symbol(t[9], ">="));
  EXPECT_EQ(t[2].begin, 3u);
  EXPECT_EQ(t[2].end, 4u);
  EXPECT_FALSE(t[1].space_before);
  EXPECT_TRUE(t[3].space_before);
  auto q = tokenize("t.x");  // a qualified name, not a number
  EXPECT_EQ(q[0].kind, TokenKind::Name);
  EXPECT_TRUE(is_symbol(q[1], "."));
}

TEST(SqlLexer, UnterminatedAndUnknown) {
  for (const char* bad : {"a = 'x", "d = #1/2/2003", "[abc", "a = `b`"}) {
    SCOPED_TRACE(bad);
    try {
      tokenize(bad);
      ADD_FAILURE() << "no error";
    } catch (const jet::Error& e) {
      EXPECT_EQ(e.number(), 3075);
    }
  }
}

}  // namespace

}  // namespace sql_lexer_test_cases
