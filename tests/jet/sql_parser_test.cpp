// Parsing of expressions and statements: operator precedence, literals and names, statement
// shapes, syntax errors with Jet's numbers and French texts, and printing back.
#include <gtest/gtest.h>

#include "jet/base/error.h"
#include "jet/sql/parser.h"
#include "jet/sql/printer.h"
#include "jet/sql/sql_error.h"
#include "sql_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace sql_parser_test_cases {

namespace {

using namespace jet::sql;
using sqltest::shape;

std::string grouping(const std::string& text) { return shape(*parse_expression(text)); }

TEST(SqlPrecedence, ArithmeticLevelsFollowVb) {
  EXPECT_EQ(grouping("a + b * c"), "(a + (b * c))");
  EXPECT_EQ(grouping("a * b \\ c"), "((a * b) \\ c)");
  EXPECT_EQ(grouping("a \\ b * c"), "(a \\ (b * c))");
  EXPECT_EQ(grouping("a Mod b \\ c"), "(a Mod (b \\ c))");
  EXPECT_EQ(grouping("a + b Mod c"), "(a + (b Mod c))");
  EXPECT_EQ(grouping("a & b + c"), "(a & (b + c))");
  EXPECT_EQ(grouping("a - b - c"), "((a - b) - c)");
  EXPECT_EQ(grouping("a ^ b ^ c"), "((a ^ b) ^ c)");
}

TEST(SqlPrecedence, PowerBindsTighterThanNegation) {
  EXPECT_EQ(grouping("-a ^ b"), "(-(a ^ b))");
  EXPECT_EQ(grouping("a ^ -b"), "(a ^ (-b))");
  EXPECT_EQ(grouping("-a * b"), "((-a) * b)");
}

TEST(SqlPrecedence, ComparisonsNotAndLogicalOperators) {
  EXPECT_EQ(grouping("a = b & c"), "(a = (b & c))");
  EXPECT_EQ(grouping("NOT a = b"), "(NOT (a = b))");
  EXPECT_EQ(grouping("NOT a AND b"), "((NOT a) AND b)");
  EXPECT_EQ(grouping("a OR b AND c"), "(a OR (b AND c))");
  EXPECT_EQ(grouping("a XOR b OR c"), "(a XOR (b OR c))");
  EXPECT_EQ(grouping("a EQV b XOR c"), "(a EQV (b XOR c))");
  EXPECT_EQ(grouping("a IMP b EQV c"), "(a IMP (b EQV c))");
  EXPECT_EQ(grouping("a LIKE b & 'x' AND c IS NULL"), "((a LIKE (b & lit)) AND (c IS NULL))");
}

TEST(SqlPrecedence, BetweenTakesItsOwnAnd) {
  EXPECT_EQ(grouping("a BETWEEN 1 AND 2 AND b"), "((a BETWEEN lit lit) AND b)");
  EXPECT_EQ(grouping("a NOT BETWEEN b + 1 AND c"), "(a BETWEEN (b + lit) c)");
  auto e = parse_expression("a NOT BETWEEN 1 AND 2");
  EXPECT_TRUE(std::get<Between>(e->node).negated);
}

TEST(SqlPrecedence, InListsAndNegatedForms) {
  EXPECT_EQ(grouping("a NOT IN ('', '1') OR b IN (1)"), "((a NOT IN lit lit) OR (b IN lit))");
  EXPECT_EQ(grouping("a NOT LIKE 'x*'"), "(a NOT LIKE lit)");
  EXPECT_EQ(grouping("a IS NOT NULL AND NOT b"), "((a IS NOT NULL) AND (NOT b))");
}

TEST(SqlLiterals, TextsNumbersDatesAndNames) {
  auto text = parse_expression("'l''avis'");
  EXPECT_EQ(std::get<Literal>(text->node).text, "l'avis");
  auto dq = parse_expression("\"dit \"\"oui\"\"\"");
  EXPECT_EQ(std::get<Literal>(dq->node).text, "dit \"oui\"");
  auto number = parse_expression(".5");
  EXPECT_EQ(std::get<Literal>(number->node).kind, LiteralKind::Number);
  EXPECT_EQ(std::get<Literal>(number->node).text, ".5");
  auto date = parse_expression("#03/25/2006 10:30:00#");
  EXPECT_EQ(std::get<Literal>(date->node).kind, LiteralKind::Date);
  auto bracket = parse_expression("[Nom du champ].[N° d'ordre]");
  const auto& ref = std::get<ColumnRef>(bracket->node);
  EXPECT_EQ(ref.table, "Nom du champ");
  EXPECT_EQ(ref.name, "N° d'ordre");
  auto bang = parse_expression("Forms!frmParam");
  EXPECT_EQ(std::get<ColumnRef>(bang->node).table, "Forms");
  auto keyword_call = parse_expression("Left(a, 2) & Right(b, 1)");
  EXPECT_EQ(shape(*keyword_call), "(Left(a, lit) & Right(b, lit))");
}

TEST(SqlLiterals, DigitsFollowedByLettersMakeAName) {
  auto e = parse_expression("6443INDE.COAGENT = 1E3");
  const auto& b = std::get<Binary>(e->node);
  EXPECT_EQ(std::get<ColumnRef>(b.left->node).table, "6443INDE");
  EXPECT_EQ(std::get<Literal>(b.right->node).text, "1E3");
}

jet::Error error_for(const std::string& sql) {
  try {
    parse_statement(sql);
  } catch (const jet::Error& e) {
    return e;
  }
  return jet::Error(0, "no error");
}

TEST(SqlSyntaxErrors, ExpressionErrorsQuoteTheExpression) {
  auto e = error_for("SELECT * FROM t WHERE a = 1 b ORDER BY c");
  EXPECT_EQ(e.number(), 3075);
  EXPECT_STREQ(e.what(), "Erreur de syntaxe (opérateur absent) dans l'expression 'a = 1 b'.");
  auto missing = error_for("UPDATE t SET a = WHERE b = 1");
  EXPECT_EQ(missing.number(), 3075);
  auto unclosed = error_for("SELECT * FROM t WHERE a = 'abc");
  EXPECT_EQ(unclosed.number(), 3075);
  EXPECT_STREQ(unclosed.what(), "Erreur de syntaxe dans la chaîne dans l'expression ''abc'.");
  auto bad_date = error_for("SELECT * FROM t WHERE d = #13/32/2006#");
  EXPECT_EQ(bad_date.number(), 3075);
  EXPECT_STREQ(bad_date.what(),
               "Erreur de syntaxe dans la date dans l'expression 'd = #13/32/2006#'.");
}

TEST(SqlSyntaxErrors, StatementKindsHaveTheirNumbers) {
  struct Case {
    const char* sql;
    int number;
    const char* text;
  } cases[] = {
      {"UPDATE t a = 1", 3144, "Erreur de syntaxe dans l'instruction UPDATE."},
      {"UPDATE t SET = 1", 3144, "Erreur de syntaxe dans l'instruction UPDATE."},
      {"INSERT t VALUES (1)", 3134, "Erreur de syntaxe dans l'instruction INSERT INTO."},
      {"INSERT INTO t (a, b VALUES (1, 2)", 3134, "Erreur de syntaxe dans l'instruction INSERT INTO."},
      {"INSERT INTO t (a) (1)", 3134, "Erreur de syntaxe dans l'instruction INSERT INTO."},
      {"SELECT * FROM WHERE a = 1", 3131, "Erreur de syntaxe dans la clause FROM."},
      {"SELECT * FROM a INNER JOIN b", 3131, "Erreur de syntaxe dans la clause FROM."},
      {"SELECT * FROM (a INNER JOIN b ON a.x = b.x", 3131, "Erreur de syntaxe dans la clause FROM."},
      {"DELETE FROM", 3131, "Erreur de syntaxe dans la clause FROM."},
      {"SELECT a FROM t ORDER a", 3138, "Erreur de syntaxe dans la clause ORDER BY."},
      {"SELEC * FROM t", 3129,
       "Instruction SQL non valide ; 'DELETE', 'INSERT', 'PROCEDURE', 'SELECT' ou 'UPDATE' attendu."},
      {"", 3129,
       "Instruction SQL non valide ; 'DELETE', 'INSERT', 'PROCEDURE', 'SELECT' ou 'UPDATE' attendu."},
      {"SELECT a FROM t; SELECT b FROM t", 3142, "Caractères trouvés après la fin de l'instruction SQL."},
      {"INSERT INTO t (a, b) VALUES (1)", 3346,
       "Le nombre de valeurs de la requête et le nombre de champs de destination sont différents."},
      {"CREATE TABLE t (a WIBBLE)", 3292, "Erreur de syntaxe dans la définition de champ."},
      {"ALTER TABLE t RENAME a", 3293, "Erreur de syntaxe dans l'instruction ALTER TABLE."},
      {"DROP VIEW v", 3295, "Erreur de syntaxe dans l'instruction DROP TABLE ou DROP INDEX."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sql);
    auto e = error_for(c.sql);
    EXPECT_EQ(e.number(), c.number);
    EXPECT_STREQ(e.what(), c.text);
  }
}

TEST(SqlSyntaxErrors, TextsSharedWithTheEngineAgree) {
  for (int number : {3075, 3131, 3134, 3144}) {
    auto e = sql_error(static_cast<SqlError>(number), "a b");
    EXPECT_EQ(e.number(), number);
    EXPECT_EQ(e.description(), jet::describe(number, "a b"));
  }
  // The worded variants of 3075 keep the number.
  EXPECT_EQ(sql_error(SqlError::ExpressionDateSyntax, "#x#").number(), 3075);
  EXPECT_EQ(sql_error(SqlError::WrongArgumentCount, "Left").number(), 3075);
  EXPECT_EQ(too_few_parameters(2).description(), "Trop peu de paramètres. 2 attendu.");
}

TEST(SqlStatements, SelectClauses) {
  Statement st = parse_statement(
      "SELECT DISTINCT TOP 5 t.*, Count(*) AS n, Sum(x) AS total FROM t "
      "WHERE x > 0 GROUP BY t.a, t.b HAVING Count(*) > 1 ORDER BY t.a DESC, t.b;");
  const auto& s = std::get<Select>(st.body);
  EXPECT_EQ(s.distinct, Distinctness::Distinct);
  EXPECT_EQ(s.top, "5");
  ASSERT_EQ(s.items.size(), 3u);
  EXPECT_TRUE(std::get<ColumnRef>(s.items[0].expr->node).star);
  EXPECT_EQ(s.items[1].alias, "n");
  const auto& count = std::get<Call>(s.items[1].expr->node);
  EXPECT_TRUE(std::get<ColumnRef>(count.args[0]->node).star);
  EXPECT_EQ(s.group_by.size(), 2u);
  ASSERT_TRUE(s.having);
  ASSERT_EQ(s.order_by.size(), 2u);
  EXPECT_TRUE(s.order_by[0].descending);
  EXPECT_FALSE(s.order_by[1].descending);
}

TEST(SqlStatements, NestedJoinsAsAccessWritesThem) {
  Statement st = parse_statement(
      "SELECT a.x FROM (a INNER JOIN b ON a.id = b.id) LEFT JOIN (c RIGHT JOIN d ON c.k = d.k) "
      "ON b.k = c.k");
  const auto& s = std::get<Select>(st.body);
  ASSERT_EQ(s.from.size(), 1u);
  const auto& outer = std::get<Join>(s.from[0]->node);
  EXPECT_EQ(outer.kind, JoinKind::Left);
  EXPECT_EQ(std::get<Join>(outer.left->node).kind, JoinKind::Inner);
  EXPECT_EQ(std::get<Join>(outer.right->node).kind, JoinKind::Right);
  std::string printed = to_sql(st);
  EXPECT_TRUE(parse_statement(printed) == st) << printed;
}

TEST(SqlStatements, OtherDatabaseByInClause) {
  Statement st = parse_statement("SELECT * FROM FICHE IN 'C:\\b\\old.mdb' AS F WHERE F.a = 1");
  const auto& t = std::get<NamedTable>(std::get<Select>(st.body).from[0]->node);
  EXPECT_EQ(t.database_path(), "C:\\b\\old.mdb");
  EXPECT_EQ(t.alias, "F");
}

TEST(SqlStatements, InsertSelectAndDeleteFromJoin) {
  Statement ins = parse_statement("INSERT INTO t2 (a, b) SELECT x, y FROM t1 WHERE x IS NOT NULL");
  const auto& i = std::get<Insert>(ins.body);
  ASSERT_TRUE(i.select);
  EXPECT_EQ(i.columns.size(), 2u);
  EXPECT_TRUE(i.values.empty());
  Statement del = parse_statement("DELETE t.* FROM t INNER JOIN u ON t.k = u.k WHERE u.z = 1");
  const auto& d = std::get<Delete>(del.body);
  EXPECT_TRUE(d.star);
  EXPECT_EQ(d.star_table, "t");
  EXPECT_TRUE(std::holds_alternative<Join>(d.from[0]->node));
}

TEST(SqlStatements, DefinitionsAndParameters) {
  Statement ct = parse_statement(
      "CREATE TABLE PAYS (COPAYS TEXT(3) NOT NULL CONSTRAINT PK_PAYS PRIMARY KEY, "
      "LIPAYS TEXT(32), MONTANT CURRENCY, CONSTRAINT FK FOREIGN KEY (COPAYS) REFERENCES R (C))");
  const auto& t = std::get<CreateTable>(ct.body);
  ASSERT_EQ(t.columns.size(), 3u);
  EXPECT_EQ(t.columns[0].type.name, "TEXT");
  EXPECT_EQ(t.columns[0].type.size, 3);
  EXPECT_TRUE(t.columns[0].not_null);
  EXPECT_EQ(t.columns[0].constraints[0].kind, ConstraintKind::PrimaryKey);
  EXPECT_EQ(t.constraints[0].references, "R");

  Statement ix = parse_statement(
      "CREATE UNIQUE INDEX PrimaryKey ON 6443IND (COAGENT, PAI6443 DESC) WITH PRIMARY");
  const auto& i = std::get<CreateIndex>(ix.body);
  EXPECT_TRUE(i.unique);
  EXPECT_EQ(i.table, "6443IND");
  EXPECT_TRUE(i.columns[1].descending);
  ASSERT_EQ(i.options.size(), 1u);

  Statement alter = parse_statement("ALTER TABLE CDIF ADD COLUMN COAGEADMSEC TEXT(3)");
  EXPECT_EQ(std::get<AlterTable>(alter.body).column.name, "COAGEADMSEC");
  Statement drop = parse_statement("ALTER TABLE CDIF DROP COLUMN COAGEADMSEC");
  EXPECT_EQ(std::get<AlterTable>(drop.body).action, AlterAction::DropColumn);
  Statement di = parse_statement("DROP INDEX IdxComGeo ON FICHE");
  EXPECT_EQ(std::get<DropIndex>(di.body).table, "FICHE");

  Statement p = parse_statement(
      "PARAMETERS [Code agent] Text(3), Début DateTime; SELECT * FROM AGENT WHERE COAGENT = [Code agent]");
  ASSERT_EQ(p.parameters.size(), 2u);
  EXPECT_EQ(p.parameters[0].name, "Code agent");
  EXPECT_EQ(p.parameters[1].type.name, "DATETIME");
}

TEST(SqlPrinting, PrintedTextParsesToTheSameTree) {
  const char* statements[] = {
      "SELECT a - (b - c), (a + b) * c, -(a ^ 2), (-a) ^ 2, 2 ^ -1, NOT (a AND b), "
      "(a = b) = c, a & (b = c) AS [mixed name] FROM [my table] AS x",
      "SELECT * FROM t WHERE NOT a IN (1, 2) AND b NOT BETWEEN #1/2/2003# AND #2003-02-01 10:00:00#",
      "UPDATE a INNER JOIN b ON (a.k = b.k) AND (a.j = b.j) SET a.x = b.x, a.[y z] = 'it''s'",
      "DELETE FROM t WHERE [select] = 1 OR [Date] = Date()",
      "INSERT INTO [;database=C:\\x.mdb].t VALUES (1, 'a', Null, True, 1.5E-3)",
      "ALTER TABLE t ADD CONSTRAINT pk PRIMARY KEY (a, b)",
      "CREATE TABLE t (a DECIMAL(10, 2), b LONG REFERENCES u (c))",
  };
  for (const char* sql : statements) {
    SCOPED_TRACE(sql);
    Statement st = parse_statement(sql);
    std::string printed = to_sql(st);
    EXPECT_TRUE(parse_statement(printed) == st) << printed;
  }
  EXPECT_EQ(to_sql(*parse_expression("a - (b - c)")), "a - (b - c)");
  EXPECT_EQ(to_sql(*parse_expression("((a))+(b*c)")), "a + b * c");
  EXPECT_EQ(quote_name("6443IND"), "[6443IND]");
  EXPECT_EQ(quote_name("Where"), "[Where]");
  EXPECT_EQ(quote_name("COAGENT"), "COAGENT");
}

}  // namespace

namespace {

using namespace jet::sql;

TEST(SqlSubqueries, InExistsAndScalarSubqueries) {
  Statement st = parse_statement(
      "SELECT a, (SELECT Max(b) FROM u WHERE u.k = t.k) AS m FROM t "
      "WHERE a IN (SELECT c FROM v WHERE c > 1) AND NOT EXISTS (SELECT * FROM w WHERE w.k = t.k)");
  const auto& s = std::get<Select>(st.body);
  EXPECT_EQ(sqltest::shape(*s.items[1].expr), "(select)");
  EXPECT_EQ(sqltest::shape(*s.where), "((a IN (select)) AND (NOT EXISTS(select)))");
  const auto& in = std::get<InList>(std::get<Binary>(s.where->node).left->node);
  const auto& inner = *std::get<Subquery>(in.items[0]->node).select;
  ASSERT_TRUE(inner.where);
  EXPECT_EQ(std::get<NamedTable>(inner.from[0]->node).name, "v");
  std::string printed = to_sql(st);
  EXPECT_TRUE(parse_statement(printed) == st) << printed;
  // A different subquery makes a different tree.
  Statement other = parse_statement(
      "SELECT a, (SELECT Max(b) FROM u WHERE u.k = t.k) AS m FROM t "
      "WHERE a IN (SELECT c FROM v WHERE c > 2) AND NOT EXISTS (SELECT * FROM w WHERE w.k = t.k)");
  EXPECT_FALSE(other == st);
}

TEST(SqlSubqueries, UnionAndSelectWithoutSource) {
  Statement st = parse_statement(
      "SELECT COPAYS FROM PAYS UNION ALL SELECT COPAYS FROM ARCHIVE UNION SELECT 'X' ORDER BY 1");
  const auto& s = std::get<Select>(st.body);
  ASSERT_TRUE(s.union_next);
  EXPECT_TRUE(s.union_all);
  ASSERT_TRUE(s.union_next->union_next);
  EXPECT_FALSE(s.union_next->union_all);
  EXPECT_TRUE(s.union_next->union_next->from.empty());
  EXPECT_EQ(s.union_next->union_next->order_by.size(), 1u);
  std::string printed = to_sql(st);
  EXPECT_TRUE(parse_statement(printed) == st) << printed;
}

TEST(SqlAccessText, QueriesAsAccessStoresThem) {
  // Access writes redundant parentheses, double-quoted texts and mixed-case operators.
  const char* texts[] = {
      "SELECT DISTINCT Table1.*, Table2.col1, Table2.col2, Table3.col3 FROM Table1, Table2, Table3 "
      "WHERE (((Table2.col2)=\"foo\" Or (Table2.col2) In (\"buzz\",\"bazz\"))) ORDER BY Table2.col1;",
      "SELECT Count([Table2].[col2]) AS CountOfcol2, Table2_1.col1 FROM Table1, Table2, Table2 AS "
      "Table2_1 WHERE ((([Table1].[col1])>\"10\") And ((Table2_1.col1) Is Not Null)) GROUP BY "
      "Table2_1.col1 HAVING (((Avg(Table2_1.col2))>\"10\"));",
      "UPDATE Table1 SET Table1.col1 = \"foo\", Table1.col2 = [Table2].[col3], Table1.col3 = "
      "[User Name] WHERE ((([Table2].[col1]) Is Not Null));",
      "INSERT INTO Table2 ( col1, col2, col3 ) SELECT [Table1].[col2], [Table2].[col2], "
      "[Table2].[col3] FROM Table3, Table1, Table2;",
      "DELETE Table1.col1, Table1.col2 FROM Table1 WHERE (((Table1.col1)>\"blah\"));",
  };
  for (const char* text : texts) {
    SCOPED_TRACE(text);
    Statement st;
    try {
      st = parse_statement(text);
    } catch (const jet::Error& e) {
      ADD_FAILURE() << e.number() << " " << e.what();
      continue;
    }
    EXPECT_TRUE(parse_statement(to_sql(st)) == st) << to_sql(st);
  }
}

}  // namespace

namespace {

using namespace jet::sql;

TEST(SqlStatements, MakeTableAndFormReferences) {
  Statement st = parse_statement(
      "SELECT COAGENT, LIAGENT INTO AGENT_SAUVE IN 'C:\\s.mdb' FROM AGENT WHERE COAGENT = "
      "Forms!frmParam![Code agent]");
  const auto& s = std::get<Select>(st.body);
  ASSERT_TRUE(s.into);
  EXPECT_EQ(s.into->name, "AGENT_SAUVE");
  EXPECT_EQ(s.into->database_path(), "C:\\s.mdb");
  const auto& ref = std::get<ColumnRef>(std::get<Binary>(s.where->node).right->node);
  EXPECT_EQ(ref.table, "Forms!frmParam");
  EXPECT_EQ(ref.name, "Code agent");
  std::string printed = to_sql(st);
  EXPECT_TRUE(parse_statement(printed) == st) << printed;
}

}  // namespace

}  // namespace sql_parser_test_cases
