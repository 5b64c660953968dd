// Mutated statements (fixed random start, bounded count) never crash the parser, printer or evaluator:
// each either parses — and then prints back to an equal tree — or fails with a jet::Error.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "jet/base/error.h"
#include "jet/sql/parser.h"
#include "jet/sql/printer.h"
#include "sql_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_robustness_test_cases {

namespace {

using namespace jet::sql;

const char* const kStartStatements[] = {
    "UPDATE FICHE INNER JOIN [;database=C:\\b.mdb].FICHE AS FICHE1 ON (FICHE.NUFICHE = "
    "FICHE1.NUFICHE) AND (FICHE.COCNE = FICHE1.COCNE) SET FICHE.DAFICTOPO = [FICHE1].[DAFICTOPO] "
    "WHERE fiche.cofictyp = '1' AND fiche.coficvtopo is null",
    "SELECT CONTRAV FROM NATTRAV WHERE CONTRAV NOT in ('','1','2') order by CONTRAV",
    "UPDATE MC_DONNEE SET mdlibelle = 'Surface' & RIGHT(mdlibelle, (LEN(mdlibelle) - 4))WHERE "
    "mdlibelle LIKE '*SHON*'",
    "INSERT INTO PILOTE (cotpilote, nupilote) VALUES ('E', chr(124))",
    "SELECT a, Count(*) FROM t WHERE d BETWEEN #1/2/2003# AND #2003-02-01 10:00# GROUP BY a "
    "HAVING Sum(x) > 2 ^ -1 Mod 3 \\ 2 ORDER BY a DESC",
    "DELETE * FROM t WHERE x IN (SELECT y FROM u) OR NOT EXISTS (SELECT * FROM v)",
    "CREATE TABLE t (a TEXT(3) NOT NULL, CONSTRAINT pk PRIMARY KEY (a))",
};

// Characters that matter to the lexer and parser.
const std::string kAlphabet = "()[]'\"#,.;*+-/\\^&=<>!? aZ09eE_é";

class SqlRobustness : public ::testing::Test {
 protected:
  // Evaluates every expression of a parsed WHERE with all names Null: exercises the
  // evaluator on whatever the mutation produced.
  void evaluate_where(const Statement& st) {
    const ExprPtr* where = nullptr;
    if (auto* s = std::get_if<Select>(&st.body)) where = &s->where;
    if (auto* u = std::get_if<Update>(&st.body)) where = &u->where;
    if (auto* d = std::get_if<Delete>(&st.body)) where = &d->where;
    if (!where || !*where) return;
    struct AllNull : Resolver {
      std::optional<jet::Value> column(const ColumnRef&) override { return jet::Value::null(); }
      std::optional<jet::Value> aggregate(const Call&) override { return jet::Value::long_(1); }
      std::optional<std::vector<jet::Value>> subquery(const Select&) override {
        return std::vector<jet::Value>{};
      }
    } resolver;
    try {
      evaluate(**where, resolver);
    } catch (const jet::Error&) {
    }
  }
};

TEST_F(SqlRobustness, MutatedStatementsFailCleanly) {
  std::mt19937 rng(20060325);
  int parsed = 0, rejected = 0;
  for (const char* start : kStartStatements) {
    for (int round = 0; round < 400; ++round) {
      std::string text = start;
      int edits = 1 + static_cast<int>(rng() % 3);
      for (int k = 0; k < edits && !text.empty(); ++k) {
        std::size_t at = rng() % text.size();
        char c = kAlphabet[rng() % kAlphabet.size()];
        switch (rng() % 3) {
          case 0: text.erase(at, 1); break;
          case 1: text.insert(at, 1, c); break;
          default: text[at] = c;
        }
      }
      if (rng() % 8 == 0) text.resize(rng() % (text.size() + 1));  // truncated
      Statement st;
      try {
        st = parse_statement(text);
      } catch (const jet::Error& e) {
        ++rejected;
        EXPECT_GT(e.number(), 0) << text;
        EXPECT_FALSE(std::string(e.what()).empty()) << text;
        continue;
      }
      ++parsed;
      std::string printed = to_sql(st);
      Statement again;
      try {
        again = parse_statement(printed);
      } catch (const jet::Error& e) {
        ADD_FAILURE() << "printed text does not parse: " << printed << " (from " << text << ")";
        continue;
      }
      EXPECT_TRUE(again == st) << printed << " (from " << text << ")";
      evaluate_where(st);
    }
  }
  // Both outcomes occur, so the mutations exercise the parser's success and error paths.
  EXPECT_GT(parsed, 100);
  EXPECT_GT(rejected, 100);
}

}  // namespace

}  // namespace sql_robustness_test_cases
