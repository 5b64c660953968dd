#include "jet/sql/datetime.h"

#include <cmath>
#include <cstdint>
#include <vector>

#include "jet/sql/sql_error.h"
#include "jet/sql/text_util.h"

namespace jet::sql {
namespace {

// Days from 1970-01-01 of a proleptic Gregorian date (Howard Hinnant's civil algorithm).
std::int64_t days_from_civil(std::int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

void civil_from_days(std::int64_t z, int& year, int& month, int& day) {
  z += 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const unsigned doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const std::int64_t y = static_cast<std::int64_t>(yoe) + era * 400;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  year = static_cast<int>(y + (month <= 2));
}

const std::int64_t kEpoch = days_from_civil(1899, 12, 30);

int days_in_month(int year, int month) {
  static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : days[month - 1];
}

int expand_year(int year, std::size_t digits) {
  if (digits > 2) return year;
  return year < 30 ? 2000 + year : 1900 + year;
}

struct Numbers {
  std::vector<int> values;
  std::vector<std::size_t> digits;
  char separator = 0;
};

bool is_date_digit(char c) { return c >= '0' && c <= '9'; }

// Splits "12/03/2006" into numbers joined by one kind of separator.
std::optional<Numbers> split_numbers(std::string_view s, std::string_view separators) {
  Numbers out;
  std::size_t i = 0;
  while (i < s.size()) {
    std::size_t start = i;
    int value = 0;
    while (i < s.size() && is_date_digit(s[i])) {
      if (i - start >= 4) return std::nullopt;
      value = value * 10 + (s[i] - '0');
      ++i;
    }
    if (i == start) return std::nullopt;
    out.values.push_back(value);
    out.digits.push_back(i - start);
    if (i == s.size()) break;
    char sep = s[i];
    if (separators.find(sep) == std::string_view::npos) return std::nullopt;
    if (out.separator && out.separator != sep) return std::nullopt;
    out.separator = sep;
    ++i;
    if (i == s.size()) return std::nullopt;
  }
  return out;
}

// "hh:nn[:ss] [AM|PM]" as a fraction of a day.
std::optional<double> parse_time(std::string_view s) {
  s = trim_ascii(s);
  int add_hours = 0;
  bool meridian = false;
  if (s.size() >= 2) {
    std::string tail = upper_ascii(s.substr(s.size() - 2));
    if (tail == "AM" || tail == "PM") {
      meridian = true;
      add_hours = tail == "PM" ? 12 : 0;
      s = trim_ascii(s.substr(0, s.size() - 2));
    }
  }
  auto numbers = split_numbers(s, ":");
  if (!numbers || numbers->values.size() < 2 || numbers->values.size() > 3) return std::nullopt;
  int h = numbers->values[0], n = numbers->values[1];
  int sec = numbers->values.size() == 3 ? numbers->values[2] : 0;
  if (meridian) {
    if (h < 1 || h > 12) return std::nullopt;
    h = h % 12 + add_hours;
  }
  if (h > 23 || n > 59 || sec > 59) return std::nullopt;
  return time_serial(h, n, sec);
}

// Date part; `day_first` picks the reading of a/b/c when both are possible.
std::optional<double> parse_date_part(std::string_view s, bool day_first) {
  auto numbers = split_numbers(s, "/-.");
  if (!numbers || numbers->values.size() != 3) return std::nullopt;
  const auto& v = numbers->values;
  const auto& d = numbers->digits;
  int year, month, day;
  if (d[0] >= 3) {  // year first
    year = v[0], month = v[1], day = v[2];
  } else {
    int first = day_first ? v[1] : v[0];   // month candidate
    int second = day_first ? v[0] : v[1];  // day candidate
    if (first > 12 && second <= 12) std::swap(first, second);
    month = first, day = second, year = expand_year(v[2], d[2]);
  }
  if (!valid_date(year, month, day)) return std::nullopt;
  return date_serial(year, month, day);
}

std::optional<double> parse_date_time(std::string_view text, bool day_first) {
  std::string_view s = trim_ascii(text);
  if (s.empty()) return std::nullopt;
  if (s.find(':') != std::string_view::npos) {
    std::size_t space = s.find(' ');
    if (space == std::string_view::npos || s.substr(0, space).find(':') != std::string_view::npos) {
      return parse_time(s);  // a time alone
    }
    auto date = parse_date_part(s.substr(0, space), day_first);
    auto time = parse_time(s.substr(space + 1));
    if (!date || !time) return std::nullopt;
    return combine_date_time(*date, *time);
  }
  return parse_date_part(s, day_first);
}

}  // namespace

bool valid_date(int year, int month, int day) {
  return year >= 100 && year <= 9999 && month >= 1 && month <= 12 && day >= 1 &&
         day <= days_in_month(year, month);
}

double date_serial(int year, int month, int day) {
  if (year < -200000 || year > 200000 || month < -2400000 || month > 2400000) {
    throw sql_error(SqlError::InvalidProcedureCall);
  }
  // Month overflow carries into the year and day overflow into the month, as DateSerial does.
  int m0 = month - 1;
  year += m0 >= 0 ? m0 / 12 : -((11 - m0) / 12);
  m0 = ((m0 % 12) + 12) % 12;
  return static_cast<double>(days_from_civil(year, static_cast<unsigned>(m0 + 1), 1) - kEpoch +
                             (day - 1));
}

double time_serial(int hour, int minute, int second) {
  return (hour * 3600.0 + minute * 60.0 + second) / 86400.0;
}

double combine_date_time(double day_serial, double time_of_day) {
  return day_serial < 0 ? day_serial - time_of_day : day_serial + time_of_day;
}

DateParts date_parts(double serial) {
  // Beyond years 100-9999 (or NaN) there is no date to take apart.
  if (!(serial > -657435.0 && serial < 2958466.0)) throw sql_error(SqlError::Overflow);
  double whole = std::trunc(serial);
  double fraction = std::fabs(serial - whole);
  // Round to the second; a time that rounds up to midnight moves to the next day.
  long long seconds = std::llround(fraction * 86400.0);
  if (seconds >= 86400) {
    seconds -= 86400;
    whole += serial < 0 ? -1 : 1;
  }
  DateParts p;
  civil_from_days(static_cast<std::int64_t>(whole) + kEpoch, p.year, p.month, p.day);
  p.hour = static_cast<int>(seconds / 3600);
  p.minute = static_cast<int>(seconds / 60 % 60);
  p.second = static_cast<int>(seconds % 60);
  return p;
}

int weekday(double serial) {
  if (!(serial > -657435.0 && serial < 2958466.0)) throw sql_error(SqlError::Overflow);
  // 30 December 1899 was a Saturday.
  long long days = static_cast<long long>(std::trunc(serial));
  return static_cast<int>(((days + 6) % 7 + 7) % 7) + 1;
}

std::optional<double> parse_date_literal(std::string_view body) {
  return parse_date_time(body, false);
}

std::optional<double> parse_date_text(std::string_view text) {
  return parse_date_time(text, true);
}

}  // namespace jet::sql
