// Internal: the recursive-descent parser shared by the parse_*.cpp files.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "jet/sql/ast.h"
#include "jet/sql/lexer.h"
#include "jet/sql/sql_error.h"

namespace jet::sql::detail {

class Parser {
 public:
  explicit Parser(std::string_view sql);

  Statement statement();
  ExprPtr lone_expression();

 private:
  // ---- tokens
  const Token& peek(std::size_t ahead = 0) const;
  const Token& next();
  bool at_word(std::string_view w, std::size_t ahead = 0) const;
  bool at_symbol(std::string_view s, std::size_t ahead = 0) const;
  bool accept_word(std::string_view w);
  bool accept_symbol(std::string_view s);
  bool at_end() const;  // End token or ';'
  [[noreturn]] void fail(SqlError code, std::string_view argument = {}) const;
  void expect_word(std::string_view w, SqlError code);
  void expect_symbol(std::string_view s, SqlError code);
  bool at_name() const;  // a name that may stand for a table or column here
  std::string name(SqlError code);

  // ---- expressions (parse_expression.cpp)
  // Parses one expression of a clause; on a syntax error inside it, throws 3075 quoting the
  // clause text from `start` up to where the clause ends.
  ExprPtr clause_expression(std::initializer_list<std::string_view> followers);
  ExprPtr expr();
  ExprPtr imp();
  ExprPtr eqv();
  ExprPtr xor_();
  ExprPtr or_();
  ExprPtr and_();
  ExprPtr not_();
  ExprPtr comparison();
  ExprPtr concat();
  ExprPtr additive();
  ExprPtr modulo();
  ExprPtr int_divide();
  ExprPtr multiplicative();
  ExprPtr unary();
  ExprPtr power();
  ExprPtr primary();
  ExprPtr name_or_call();
  ExprPtr subquery(bool exists);
  std::string clause_text(std::size_t start_token) const;

  // ---- statements (parse_statement.cpp)
  Select select();
  Update update();
  Insert insert();
  Delete delete_();
  void select_items(Select& s);
  std::vector<TableRefPtr> table_list(SqlError code);
  TableRefPtr table_source(SqlError code);
  TableRefPtr table_term(SqlError code);
  NamedTable named_table(SqlError code, bool allow_alias);
  void finish(SqlError code);

  // ---- definitions (parse_ddl.cpp)
  std::vector<ParameterDecl> parameters();
  DataType data_type(SqlError code);
  ColumnDef column_def(SqlError code);
  Constraint table_constraint();
  std::vector<std::string> name_list(SqlError code);
  CreateTable create_table();
  CreateIndex create_index(bool unique);
  AlterTable alter_table();

  std::string_view sql_;
  std::vector<Token> tokens_;
  std::size_t pos_ = 0;
};

// Thrown inside expression parsing; clause_expression turns it into 3075 with the clause text.
struct ExpressionFailure {
  SqlError code = SqlError::ExpressionSyntax;
};

bool is_reserved(std::string_view word);

}  // namespace jet::sql::detail
