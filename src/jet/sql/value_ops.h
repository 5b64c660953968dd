// Operators of Jet expressions over values, with VB's rules for variants: Null propagates
// (except through '&' and where And/Or/Imp can decide without it), numbers widen to the wider
// operand type and widen again instead of overflowing (Integer -> Long -> Double), a Date plus
// a number stays a Date, texts compare without regard to case.
#pragma once

#include <optional>

#include "jet/sql/ast.h"
#include "jet/base/value.h"

namespace jet::sql {

// + - * / \ Mod ^ & ; throws 13 (mismatch), 11 (division by zero), 6 (overflow), 5.
Value arithmetic(BinaryOp op, const Value& a, const Value& b);
Value negate(const Value& v);

// Order of two values: nullopt when either is Null. A text compared with a number must read
// as a number, else 3464 (type mismatch in criteria expression).
std::optional<int> compare_values(const Value& a, const Value& b);
Value comparison(BinaryOp op, const Value& a, const Value& b);  // = <> < <= > >=

// And Or Xor Eqv Imp: three-valued on Booleans, bitwise on other numbers.
Value logical(BinaryOp op, const Value& a, const Value& b);
Value logical_not(const Value& v);

// Whether a condition holds: Null and zero do not.
bool is_true(const Value& v);

}  // namespace jet::sql
