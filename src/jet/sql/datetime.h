// Dates as Jet and VB hold them: a double counting days since 30 December 1899, the time of
// day as the fraction. Before that day the fraction still counts forward from midnight
// (-1.25 is 29 December 1899 06:00), as in VB.
#pragma once

#include <optional>
#include <string_view>

namespace jet::sql {

struct DateParts {
  int year = 1899, month = 12, day = 30;
  int hour = 0, minute = 0, second = 0;
};

// Valid range of VB dates: years 100 to 9999.
bool valid_date(int year, int month, int day);
double date_serial(int year, int month, int day);  // may normalise day/month overflow
double time_serial(int hour, int minute, int second);
// Combines a whole-day serial and a time of day (0 <= time < 1) the way VB stores them.
double combine_date_time(double day_serial, double time_of_day);
// Both throw 6 (overflow) outside years 100 to 9999.
DateParts date_parts(double serial);
int weekday(double serial);  // 1 = Sunday ... 7 = Saturday

// Body of a #...# literal: month/day/year (day/month when the first number cannot be a month),
// year-month-day, with an optional time "hh:nn[:ss] [AM|PM]", or a time alone.
std::optional<double> parse_date_literal(std::string_view body);

// Text given to CDate/DateValue on a French system: day/month/year (also '-' or '.'),
// year-month-day, with an optional time, or a time alone.
std::optional<double> parse_date_text(std::string_view text);

}  // namespace jet::sql
