// Conversions into and out of Jet's Decimal (a 96-bit magnitude, a sign and a scale) and
// its exact arithmetic. Numbers reach a Decimal column the way Jet converts them through
// OLE Automation: a Double keeps its 15 significant digits, a Single its 7, a Currency its
// four decimals, a text its digits as written; never through a binary double when the source
// is exact.
#pragma once

#include <optional>
#include <string_view>

#include "jet/base/value.h"

namespace jet {

// The number a text holds ("12", "-0,5", "1.25E3", blanks around it), exactly; nullopt when
// the text is not a number. 3349 when it has more digits than a Decimal holds.
std::optional<Decimal> decimal_from_text(std::string_view text);

// A floating value with `significant` digits (15 for a Double, 7 for a Single). 3349 for a
// value beyond the Decimal range, infinities and NaN.
Decimal decimal_from_double(double value, int significant);

// Any numeric value (Yes/No as -1/0, Currency exactly); 13 for other kinds.
Decimal decimal_of(const Value& value);

// The value a Decimal(precision, scale) column stores: decimals past the scale rounded half
// away from zero, 3349 when the whole part has more digits than precision - scale allows.
Decimal fit_decimal(const Decimal& value, int precision, int scale);

// Exact sum, difference and product; 6 (overflow) past 28 digits of magnitude. A product's
// scale is cut back, rounding, to 28 digits when needed, as Jet's own Decimal does.
Decimal decimal_add(const Decimal& a, const Decimal& b);
Decimal decimal_subtract(const Decimal& a, const Decimal& b);
Decimal decimal_multiply(const Decimal& a, const Decimal& b);

// Currency (ten-thousandths) from a Decimal, rounding half to even; 6 beyond its range.
std::int64_t currency_of_decimal(const Decimal& value);

}  // namespace jet
