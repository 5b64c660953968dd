// Errors of the SQL layer. Every failure is a jet::Error carrying the number and the French
// text Access shows, so callers cannot tell a parse or evaluation error from an engine one.
#pragma once

#include <string_view>

#include "jet/base/error.h"

namespace jet::sql {

// Numbers used by the SQL layer beyond those of jet::ErrorCode.
enum class SqlError : int {
  InvalidProcedureCall = 5,     // VB: bad argument to a function
  Overflow = 6,                 // VB: result does not fit the type
  DivisionByZero = 11,
  TypeMismatch = 13,            // VB: value cannot be converted
  InvalidPattern = 93,          // VB: LIKE pattern with a '[' not closed
  InvalidUseOfNull = 94,
  ExpressionSyntax = 3075,      // "(opérateur absent)" form
  ExpressionStringSyntax = -3075,  // 3075 worded for an unterminated text literal
  ExpressionDateSyntax = -3076,    // 3075 worded for a bad date literal
  ExpressionCommaSyntax = -3077,   // 3075 worded for a misplaced comma
  WrongArgumentCount = -3078,      // 3075 worded for a function called with a bad count
  UndefinedFunction = 3085,
  InvalidStatement = 3129,
  FromClauseSyntax = 3131,
  InsertSyntax = 3134,
  OrderByClauseSyntax = 3138,
  SelectSyntax = 3141,
  CharactersAfterEnd = 3142,
  UpdateSyntax = 3144,
  ConstraintSyntax = 3289,
  CreateTableSyntax = 3290,
  CreateIndexSyntax = 3291,
  FieldDefinitionSyntax = 3292,
  AlterTableSyntax = 3293,
  ValueCountMismatch = 3346,
  DropSyntax = 3295,
  CriteriaTypeMismatch = 3464,
  // Statement execution.
  CannotExecuteSelect = 3065,   // a SELECT given to execute
  ReadOnlyObject = 3027,        // writing to a table of another database, or a read-only one
  AmbiguousField = 3079,
  NotPartOfAggregate = 3122,
  UnknownInsertField = 3127,
  DeleteTableUnspecified = 3128,
  CannotGroupOnField = 3092,
};

// The error for `code`; `argument` fills the placeholder of texts that quote an expression or
// a name. The number of the returned error is always positive (the 3075 variants give 3075).
jet::Error sql_error(SqlError code, std::string_view argument = {});

// 3061 "Trop peu de paramètres. n attendu." for `missing` unresolved names.
jet::Error too_few_parameters(int missing);

}  // namespace jet::sql
