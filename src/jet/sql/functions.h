// Built-in functions of Jet expressions (VB's, as Jet's expression service provides them):
// Val, Left, Right, Mid, Len, Trim, LTrim, RTrim, UCase, LCase, Chr, Asc, Nz, IIf, IsNull,
// IsNumeric, IsDate, CStr, CInt, CLng, CByte, CCur, CSng, CDbl, CDate, CBool, Str, Format, Date,
// Now, Time, Year, Month, Day, Hour, Minute, Second, Weekday, DateSerial, TimeSerial,
// DateValue, DateAdd, DateDiff, InStr, Replace, String, Space, Abs, Int, Fix, Sgn, Round.
// Names ignore case; an unknown name raises 3085, a wrong argument count 3075.
#pragma once

#include <functional>
#include <string_view>

#include "jet/sql/ast.h"
#include "jet/base/value.h"

namespace jet::sql {

// `eval` evaluates an argument; arguments are evaluated only when needed (IIf evaluates the
// branch it returns, as Jet does in queries). `now` gives the current date serial.
Value call_function(const Call& call, const std::function<Value(const Expr&)>& eval,
                    const std::function<double()>& now);

bool is_known_function(std::string_view name);

// Chr/Asc code of a character in Windows-1252 (the code page of French Windows); '?' (63)
// for a character the code page lacks. And the reverse for codes 0-255.
int ansi_code(char32_t c);
char32_t ansi_char(int code);

}  // namespace jet::sql
