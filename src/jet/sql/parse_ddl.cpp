// Data-definition statements and PARAMETERS declarations.
#include <algorithm>
#include <charconv>

#include "jet/sql/parser_impl.h"
#include "jet/sql/text_util.h"

namespace jet::sql::detail {

namespace {

// Type words Jet's DDL accepts (synonyms kept as written, upper-cased).
constexpr std::string_view kTypes[] = {
    "TEXT",     "VARCHAR",  "CHAR",     "CHARACTER", "STRING",   "MEMO",     "LONGTEXT",
    "NOTE",     "BYTE",     "TINYINT",  "SHORT",     "SMALLINT", "INTEGER2", "INTEGER",
    "INT",      "LONG",     "INTEGER4", "SINGLE",    "REAL",     "FLOAT4",   "IEEESINGLE",
    "DOUBLE",   "FLOAT",    "FLOAT8",   "IEEEDOUBLE", "NUMBER",  "CURRENCY", "MONEY",
    "DATETIME", "DATE",     "TIME",     "TIMESTAMP", "BIT",      "YESNO",    "LOGICAL",
    "LOGICAL1", "BOOLEAN",  "COUNTER",  "AUTOINCREMENT", "IDENTITY", "GUID", "UNIQUEIDENTIFIER",
    "BINARY",   "VARBINARY", "LONGBINARY", "OLEOBJECT", "GENERAL", "IMAGE",  "DECIMAL",
    "NUMERIC",  "DEC",      "VALUE",
};

}  // namespace

std::vector<std::string> Parser::name_list(SqlError code) {
  std::vector<std::string> names;
  expect_symbol("(", code);
  do names.push_back(name(code));
  while (accept_symbol(","));
  expect_symbol(")", code);
  return names;
}

DataType Parser::data_type(SqlError code) {
  const Token& t = peek();
  if (t.kind != TokenKind::Name) fail(code);
  std::string word = upper_ascii(t.text);
  if (std::find(std::begin(kTypes), std::end(kTypes), word) == std::end(kTypes)) fail(code);
  next();
  DataType type;
  type.name = word;
  auto number = [&]() {
    if (peek().kind != TokenKind::Number) fail(code);
    const std::string& digits = next().text;
    int value = 0;
    auto [ptr, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (ec != std::errc() || ptr != digits.data() + digits.size()) fail(code);
    return value;
  };
  if (accept_symbol("(")) {
    type.size = number();
    if (accept_symbol(",")) type.scale = number();
    expect_symbol(")", code);
  }
  return type;
}

ColumnDef Parser::column_def(SqlError code) {
  ColumnDef c;
  c.name = name(code);
  c.type = data_type(SqlError::FieldDefinitionSyntax);
  while (true) {
    if (at_word("NOT") && at_word("NULL", 1)) {
      next();
      next();
      c.not_null = true;
      continue;
    }
    Constraint k;
    if (accept_word("CONSTRAINT")) k.name = name(SqlError::ConstraintSyntax);
    if (accept_word("PRIMARY")) {
      expect_word("KEY", SqlError::ConstraintSyntax);
      k.kind = ConstraintKind::PrimaryKey;
    } else if (accept_word("UNIQUE")) {
      k.kind = ConstraintKind::Unique;
    } else if (at_word("NOT") && at_word("NULL", 1)) {
      next();
      next();
      k.kind = ConstraintKind::NotNull;
    } else if (accept_word("REFERENCES")) {
      k.kind = ConstraintKind::ForeignKey;
      k.references = name(SqlError::ConstraintSyntax);
      if (at_symbol("(")) k.referenced_columns = name_list(SqlError::ConstraintSyntax);
    } else {
      if (!k.name.empty()) fail(SqlError::ConstraintSyntax);
      return c;
    }
    c.constraints.push_back(std::move(k));
  }
}

Constraint Parser::table_constraint() {
  Constraint k;
  expect_word("CONSTRAINT", SqlError::ConstraintSyntax);
  k.name = name(SqlError::ConstraintSyntax);
  if (accept_word("PRIMARY")) {
    expect_word("KEY", SqlError::ConstraintSyntax);
    k.kind = ConstraintKind::PrimaryKey;
  } else if (accept_word("UNIQUE")) {
    k.kind = ConstraintKind::Unique;
  } else if (accept_word("FOREIGN")) {
    expect_word("KEY", SqlError::ConstraintSyntax);
    k.kind = ConstraintKind::ForeignKey;
  } else {
    fail(SqlError::ConstraintSyntax);
  }
  k.columns = name_list(SqlError::ConstraintSyntax);
  if (k.kind == ConstraintKind::ForeignKey) {
    expect_word("REFERENCES", SqlError::ConstraintSyntax);
    k.references = name(SqlError::ConstraintSyntax);
    if (at_symbol("(")) k.referenced_columns = name_list(SqlError::ConstraintSyntax);
  }
  return k;
}

CreateTable Parser::create_table() {
  CreateTable t;
  t.name = name(SqlError::CreateTableSyntax);
  expect_symbol("(", SqlError::CreateTableSyntax);
  do {
    if (at_word("CONSTRAINT")) t.constraints.push_back(table_constraint());
    else t.columns.push_back(column_def(SqlError::FieldDefinitionSyntax));
  } while (accept_symbol(","));
  expect_symbol(")", SqlError::CreateTableSyntax);
  if (t.columns.empty()) fail(SqlError::CreateTableSyntax);
  return t;
}

CreateIndex Parser::create_index(bool unique) {
  CreateIndex ix;
  ix.unique = unique;
  ix.name = name(SqlError::CreateIndexSyntax);
  expect_word("ON", SqlError::CreateIndexSyntax);
  ix.table = name(SqlError::CreateIndexSyntax);
  expect_symbol("(", SqlError::CreateIndexSyntax);
  do {
    IndexColumn c;
    c.name = name(SqlError::CreateIndexSyntax);
    if (accept_word("DESC")) c.descending = true;
    else accept_word("ASC");
    ix.columns.push_back(std::move(c));
  } while (accept_symbol(","));
  expect_symbol(")", SqlError::CreateIndexSyntax);
  if (accept_word("WITH")) {
    do {
      if (accept_word("PRIMARY")) {
        ix.options.push_back(IndexOption::Primary);
      } else if (accept_word("DISALLOW")) {
        expect_word("NULL", SqlError::CreateIndexSyntax);
        ix.options.push_back(IndexOption::DisallowNull);
      } else if (accept_word("IGNORE")) {
        expect_word("NULL", SqlError::CreateIndexSyntax);
        ix.options.push_back(IndexOption::IgnoreNull);
      } else {
        fail(SqlError::CreateIndexSyntax);
      }
    } while (!at_end());
  }
  return ix;
}

AlterTable Parser::alter_table() {
  AlterTable a;
  a.table = name(SqlError::AlterTableSyntax);
  if (accept_word("ADD")) {
    if (at_word("CONSTRAINT")) {
      a.action = AlterAction::AddConstraint;
      a.constraint = table_constraint();
    } else {
      accept_word("COLUMN");
      a.action = AlterAction::AddColumn;
      a.column = column_def(SqlError::FieldDefinitionSyntax);
    }
  } else if (accept_word("DROP")) {
    if (accept_word("CONSTRAINT")) {
      a.action = AlterAction::DropConstraint;
    } else {
      accept_word("COLUMN");
      a.action = AlterAction::DropColumn;
    }
    a.name = name(SqlError::AlterTableSyntax);
  } else if (accept_word("ALTER")) {
    accept_word("COLUMN");
    a.action = AlterAction::AlterColumn;
    a.column = column_def(SqlError::FieldDefinitionSyntax);
  } else {
    fail(SqlError::AlterTableSyntax);
  }
  return a;
}

std::vector<ParameterDecl> Parser::parameters() {
  next();  // PARAMETERS
  std::vector<ParameterDecl> decls;
  do {
    ParameterDecl d;
    d.name = name(SqlError::InvalidStatement);
    d.type = data_type(SqlError::InvalidStatement);
    decls.push_back(std::move(d));
  } while (accept_symbol(","));
  expect_symbol(";", SqlError::InvalidStatement);
  return decls;
}

}  // namespace jet::sql::detail
