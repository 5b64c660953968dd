// Prints a tree back as Jet SQL text that parses to an equal tree: names are bracketed when
// they are not plain words, texts are quoted with doubled quotes, and parentheses appear only
// where Jet's precedence needs them.
#pragma once

#include <string>

#include "jet/sql/ast.h"

namespace jet::sql {

std::string to_sql(const Expr& expr);
std::string to_sql(const TableRef& table);
std::string to_sql(const Statement& statement);

// A name as it must be written: plain when it is a non-reserved word, else [bracketed].
std::string quote_name(const std::string& name);

}  // namespace jet::sql
