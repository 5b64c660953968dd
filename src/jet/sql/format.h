// VB's Format function for the formats applications use: named formats ("Short Date",
// "Long Time", "Fixed", "Standard", "Percent", "Yes/No"...), date patterns (d dd ddd dddd
// m mm mmm mmmm yy yyyy h hh n nn s ss AM/PM, case-insensitive, m after h meaning minutes),
// number patterns (0 # . , % E+ with up to four ';' sections) and text patterns (@ & < >).
// Output follows French Windows conventions: ',' decimal, non-breaking-space thousands,
// French day and month names.
#pragma once

#include <string_view>

#include "jet/base/value.h"

namespace jet::sql {

// Null gives Null (unless the number pattern has a fourth, Null section).
Value format_value(const Value& value, std::string_view pattern);

}  // namespace jet::sql
