// Jet SQL, the language layer of the engine: text -> tree -> values.
//
//   parse_statement / parse_expression (parser.h)  Jet's syntax into the tree of ast.h;
//       syntax errors are jet::Error with Jet's numbers and French texts (sql_error.h).
//   to_sql (printer.h)  the tree back to text; parsing it again gives an equal tree.
//   evaluate / evaluate_condition (evaluator.h)  expressions over jet::Value with Jet's
//       semantics (Null logic, case-blind text comparison, VB promotion and conversions,
//       LIKE, built-in functions); names, aggregates and subqueries are bound by the caller
//       through a Resolver, so the statement executor plugs in without changing this layer.
//
// Nothing here touches a database file.
#pragma once

#include "jet/sql/ast.h"
#include "jet/sql/evaluator.h"
#include "jet/sql/parser.h"
#include "jet/sql/printer.h"
#include "jet/sql/sql_error.h"
