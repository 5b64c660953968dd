// Parses Jet SQL text into the tree of ast.h. Jet's syntax, not a generic SQL's: bracketed
// names, '...' and "..." texts, #date# literals, `&` concatenation, `\` and Mod, LIKE with Jet
// wildcards, joins nested in parentheses as Access writes them, other databases named by
// `[;database=PATH].TABLE` or `IN 'PATH'`, PARAMETERS declarations.
//
// Errors are jet::Error with the number Jet gives for the statement kind: 3075 (the text of the
// faulty expression quoted), 3131 FROM clause, 3134 INSERT INTO, 3144 UPDATE, 3138 ORDER BY,
// 3141 SELECT, 3129 unknown statement, 3142 text after the end, 3289-3295 definitions.
#pragma once

#include <string_view>

#include "jet/sql/ast.h"

namespace jet::sql {

Statement parse_statement(std::string_view sql);

// One expression on its own (default values, validation rules, search criteria).
ExprPtr parse_expression(std::string_view text);

}  // namespace jet::sql
