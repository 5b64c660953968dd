// VB conversion rules as Jet's expression service applies them, on a French system: numbers
// print with ',' as decimal separator, Booleans as "Vrai"/"Faux", dates as dd/mm/yyyy hh:nn:ss.
// Every function throws jet::Error: 94 for a Null where a value is required, 13 for a value
// that cannot be converted, 6 for a result out of the type's range.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "jet/base/value.h"

namespace jet::sql {

double round_half_even(double x);

// CStr: the text of a value (Empty gives "").
std::string to_text(const Value& v);
// CDbl, CLng, CInt, CByte, CCur, CSng, CBool, CDate; each returns the typed Value.
double to_number(const Value& v);            // Double; text must be numeric
Value to_long(const Value& v);
Value to_integer(const Value& v);
Value to_byte(const Value& v);
Value to_currency(const Value& v);
Value to_single(const Value& v);
Value to_boolean(const Value& v);
double to_date(const Value& v);              // date serial

// A text read as a number the way VB coerces it: blanks around, sign, either ',' or '.' as
// decimal separator, exponent. Nothing else may follow. nullopt when not numeric.
std::optional<double> parse_number(std::string_view text);

// Val: reads the longest numeric prefix ('.' only, blanks inside ignored, &H / &O prefixes);
// 0 when none.
double val(std::string_view text);

// A Double as VB prints it: up to 15 significant digits, exponent form outside 1E-15..1E15.
std::string format_double(double x, int significant = 15);

}  // namespace jet::sql
