#include "jet/sql/functions.h"

#include <cmath>
#include <map>
#include <string>

#include "jet/sql/datetime.h"
#include "jet/sql/format.h"
#include "jet/sql/sql_error.h"
#include "jet/sql/text_compare.h"
#include "jet/sql/text_util.h"
#include "jet/sql/value_ops.h"
#include "jet/sql/vb_convert.h"
#include "jet/base/text_codec.h"

namespace jet::sql {
namespace {

constexpr char32_t kAnsiHigh[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

[[noreturn]] void invalid_call() { throw sql_error(SqlError::InvalidProcedureCall); }

struct Args {
  const Call& call;
  const std::function<Value(const Expr&)>& eval;
  const std::function<double()>& now;

  std::size_t size() const { return call.args.size(); }
  Value operator[](std::size_t i) const { return eval(*call.args[i]); }
};

using Impl = Value (*)(const Args&);

struct Entry {
  std::size_t min_args, max_args;
  Impl impl;
};

std::u32string chars(const Value& v) { return utf8_to_utf32(to_text(v)); }
Value text(std::u32string_view s) { return Value::text(encode_utf8(s)); }

// A count or position argument: Null is an invalid use of Null, anything else a Long.
long long count_arg(const Value& v) {
  if (v.is_null()) throw sql_error(SqlError::InvalidUseOfNull);
  return to_long(v).as_long();
}

// A length for String/Space: a memo holds at most about a billion characters.
std::size_t length_arg(const Value& v) {
  long long n = count_arg(v);
  if (n < 0 || n > (1LL << 30)) invalid_call();
  return static_cast<std::size_t>(n);
}

Value left_right(const Args& a, bool left) {
  Value s = a[0];
  long long n = count_arg(a[1]);
  if (n < 0) invalid_call();
  if (s.is_null()) return s;
  std::u32string c = chars(s);
  std::size_t k = std::min<std::size_t>(static_cast<std::size_t>(n), c.size());
  return text(left ? std::u32string_view(c).substr(0, k)
                   : std::u32string_view(c).substr(c.size() - k));
}

Value mid(const Args& a) {
  Value s = a[0];
  long long start = count_arg(a[1]);
  if (start < 1) invalid_call();
  long long len = -1;
  if (a.size() > 2) {
    len = count_arg(a[2]);
    if (len < 0) invalid_call();
  }
  if (s.is_null()) return s;
  std::u32string c = chars(s);
  if (static_cast<std::size_t>(start) > c.size()) return Value::text("");
  std::size_t from = static_cast<std::size_t>(start - 1);
  std::size_t n = len < 0 ? std::u32string::npos : static_cast<std::size_t>(len);
  return text(std::u32string_view(c).substr(from, n));
}

Value trim(const Args& a, bool front, bool back) {
  Value s = a[0];
  if (s.is_null()) return s;
  std::string t = to_text(s);
  std::size_t b = 0, e = t.size();
  if (front) while (b < e && t[b] == ' ') ++b;
  if (back) while (e > b && t[e - 1] == ' ') --e;
  return Value::text(t.substr(b, e - b));
}

Value change_case(const Args& a, bool upper) {
  Value s = a[0];
  if (s.is_null()) return s;
  std::u32string c = chars(s);
  for (char32_t& ch : c) {
    // Latin-1 and Latin Extended-A letters cover what French text holds; others are kept.
    if (upper) {
      if ((ch >= U'a' && ch <= U'z') || (ch >= 0xE0 && ch <= 0xFE && ch != 0xF7)) ch -= 32;
      else if (ch == 0xFF) ch = 0x178;
      else if (ch >= 0x100 && ch <= 0x17F && ch != 0x131 && ch != 0x138 && ch != 0x149) {
        bool odd_upper = (ch >= 0x139 && ch <= 0x148) || (ch >= 0x179 && ch <= 0x17E);
        if (odd_upper ? (ch % 2 == 0) : (ch % 2 == 1)) ch -= 1;
      }
    } else {
      if ((ch >= U'A' && ch <= U'Z') || (ch >= 0xC0 && ch <= 0xDE && ch != 0xD7)) ch += 32;
      else if (ch == 0x178) ch = 0xFF;
      else if (ch >= 0x100 && ch <= 0x17F && ch != 0x130 && ch != 0x138 && ch != 0x149) {
        bool odd_upper = (ch >= 0x139 && ch <= 0x148) || (ch >= 0x179 && ch <= 0x17E);
        if (odd_upper ? (ch % 2 == 1) : (ch % 2 == 0)) ch += 1;
      }
    }
  }
  return text(c);
}

// InStr([start,] text, sought [, compare]); Jet compares without regard to case.
Value instr(const Args& a) {
  std::size_t i = 0;
  long long start = 1;
  if (a.size() >= 3) {
    start = count_arg(a[0]);
    if (start < 1) invalid_call();
    i = 1;
  }
  Value s = a[i], sought = a[i + 1];
  if (s.is_null() || sought.is_null()) return Value::null();
  std::u32string h = chars(s), n = chars(sought);
  if (static_cast<std::size_t>(start) > h.size()) return Value::long_(0);
  if (n.empty()) return Value::long_(static_cast<std::int32_t>(start));
  for (std::size_t p = static_cast<std::size_t>(start - 1); p + n.size() <= h.size(); ++p) {
    bool same = true;
    for (std::size_t k = 0; k < n.size() && same; ++k) same = compare_char(h[p + k], n[k]) == 0;
    if (same) return Value::long_(static_cast<std::int32_t>(p + 1));
  }
  return Value::long_(0);
}

// Replace(text, find, with [, start [, count]]): the result starts at `start`, as in VB.
Value replace(const Args& a) {
  Value s = a[0], f = a[1], w = a[2];
  if (s.is_null() || f.is_null() || w.is_null()) throw sql_error(SqlError::InvalidUseOfNull);
  long long start = a.size() > 3 ? count_arg(a[3]) : 1;
  long long count = a.size() > 4 ? count_arg(a[4]) : -1;
  if (start < 1 || count < -1) invalid_call();
  std::u32string h = chars(s), n = chars(f), r = chars(w);
  if (static_cast<std::size_t>(start) > h.size()) return Value::text("");
  std::u32string out;
  std::size_t p = static_cast<std::size_t>(start - 1);
  long long done = 0;
  while (p < h.size()) {
    bool hit = !n.empty() && p + n.size() <= h.size() && (count < 0 || done < count);
    for (std::size_t k = 0; hit && k < n.size(); ++k) hit = compare_char(h[p + k], n[k]) == 0;
    if (hit) {
      out += r;
      p += n.size();
      ++done;
    } else {
      out += h[p++];
    }
  }
  return text(out);
}

Value string_fn(const Args& a) {
  std::size_t n = length_arg(a[0]);
  Value c = a[1];
  if (c.is_null()) return c;
  char32_t ch;
  if (c.kind() == ValueKind::Text) {
    std::u32string s = chars(c);
    if (s.empty()) invalid_call();
    ch = s[0];
  } else {
    long long code = to_long(c).as_long() % 256;
    if (code < 0) code += 256;
    ch = ansi_char(static_cast<int>(code));
  }
  return text(std::u32string(n, ch));
}

Value chr(const Args& a) {
  long long code = count_arg(a[0]);
  if (code < 0 || code > 255) invalid_call();
  return text(std::u32string(1, ansi_char(static_cast<int>(code))));
}

Value asc(const Args& a) {
  Value s = a[0];
  if (s.is_null()) throw sql_error(SqlError::InvalidUseOfNull);
  std::u32string c = chars(s);
  if (c.empty()) invalid_call();
  return Value::integer(static_cast<std::int16_t>(ansi_code(c[0])));
}

Value date_part(const Args& a, int which) {
  Value v = a[0];
  if (v.is_null()) return v;
  DateParts p = date_parts(to_date(v));
  int parts[] = {p.year, p.month, p.day, p.hour, p.minute, p.second};
  return Value::integer(static_cast<std::int16_t>(parts[which]));
}

int interval_months(std::string_view unit) {
  if (unit == "YYYY") return 12;
  if (unit == "Q") return 3;
  if (unit == "M") return 1;
  return 0;
}

double interval_seconds(std::string_view unit) {
  if (unit == "D" || unit == "Y" || unit == "W") return 86400;
  if (unit == "WW") return 7 * 86400;
  if (unit == "H") return 3600;
  if (unit == "N") return 60;
  if (unit == "S") return 1;
  return 0;
}

Value date_add(const Args& a) {
  Value unit_v = a[0], n_v = a[1], d_v = a[2];
  if (unit_v.is_null() || n_v.is_null()) throw sql_error(SqlError::InvalidUseOfNull);
  if (d_v.is_null()) return d_v;
  std::string unit = upper_ascii(trim_ascii(to_text(unit_v)));
  double n = std::trunc(to_number(n_v));
  double d = to_date(d_v);
  if (int months = interval_months(unit)) {
    DateParts p = date_parts(d);
    long long total = p.year * 12LL + (p.month - 1) + static_cast<long long>(n) * months;
    int year = static_cast<int>(total / 12), month = static_cast<int>(total % 12) + 1;
    if (year < 100 || year > 9999) invalid_call();
    // The day is kept when the month has it, else the month's last day.
    int day = p.day;
    while (!valid_date(year, month, day)) --day;
    double time = std::fabs(d - std::trunc(d));
    return Value::date(combine_date_time(date_serial(year, month, day), time));
  }
  double seconds = interval_seconds(unit);
  if (seconds == 0) invalid_call();
  // Work in whole seconds from the epoch so that negative dates step correctly.
  DateParts p = date_parts(d);
  double day = date_serial(p.year, p.month, p.day);
  double abs_seconds = day * 86400 + p.hour * 3600 + p.minute * 60 + p.second + n * seconds;
  double new_day = std::floor(abs_seconds / 86400);
  double time = (abs_seconds - new_day * 86400) / 86400;
  double result = combine_date_time(new_day, time);
  if (result < -657434.0 || result >= 2958466.0) invalid_call();
  return Value::date(result);
}

Value date_diff(const Args& a) {
  Value unit_v = a[0], d1_v = a[1], d2_v = a[2];
  if (unit_v.is_null()) throw sql_error(SqlError::InvalidUseOfNull);
  if (d1_v.is_null() || d2_v.is_null()) return Value::null();
  std::string unit = upper_ascii(trim_ascii(to_text(unit_v)));
  DateParts p1 = date_parts(to_date(d1_v)), p2 = date_parts(to_date(d2_v));
  double day1 = date_serial(p1.year, p1.month, p1.day), day2 = date_serial(p2.year, p2.month, p2.day);
  double s1 = day1 * 86400 + p1.hour * 3600 + p1.minute * 60 + p1.second;
  double s2 = day2 * 86400 + p2.hour * 3600 + p2.minute * 60 + p2.second;
  long long r;
  if (unit == "YYYY") r = p2.year - p1.year;
  else if (unit == "Q") r = (p2.year * 4LL + (p2.month - 1) / 3) - (p1.year * 4LL + (p1.month - 1) / 3);
  else if (unit == "M") r = (p2.year * 12LL + p2.month) - (p1.year * 12LL + p1.month);
  else if (unit == "D" || unit == "Y") r = static_cast<long long>(day2 - day1);
  else if (unit == "W") r = static_cast<long long>(day2 - day1) / 7;
  else if (unit == "WW") {
    // Calendar weeks: Sundays crossed between the two dates.
    auto week_start = [](double day) { return day - (weekday(day) - 1); };
    r = static_cast<long long>(week_start(day2) - week_start(day1)) / 7;
  } else if (unit == "H") r = static_cast<long long>(std::floor(s2 / 3600) - std::floor(s1 / 3600));
  else if (unit == "N") r = static_cast<long long>(std::floor(s2 / 60) - std::floor(s1 / 60));
  else if (unit == "S") r = static_cast<long long>(s2 - s1);
  else invalid_call();
  return Value::long_(static_cast<std::int32_t>(r));
}

Value round_fn(const Args& a) {
  Value v = a[0];
  if (v.is_null()) return v;
  long long places = a.size() > 1 ? count_arg(a[1]) : 0;
  if (places < 0) invalid_call();
  double scale = std::pow(10.0, static_cast<double>(places));
  return Value::double_(round_half_even(to_number(v) * scale) / scale);
}

Value int_fix(const Args& a, bool fix) {
  Value v = a[0];
  if (v.is_null()) return v;
  double d = to_number(v);
  double r = fix ? std::trunc(d) : std::floor(d);
  switch (v.kind()) {
    case ValueKind::Byte: case ValueKind::Integer: case ValueKind::Long: return v;
    case ValueKind::Boolean: return Value::integer(v.as_boolean() ? -1 : 0);
    case ValueKind::Currency: return to_currency(Value::double_(r));
    case ValueKind::Date: return Value::date(r);
    case ValueKind::Single: return Value::single(static_cast<float>(r));
    default: return Value::double_(r);
  }
}

Value null_or(const Value& v, Value (*convert)(const Value&)) {
  if (v.is_null()) throw sql_error(SqlError::InvalidUseOfNull);
  return convert(v);
}

const std::map<std::string, Entry>& table() {
  static const std::map<std::string, Entry> entries{
      {"VAL", {1, 1, [](const Args& a) {
         Value v = a[0];
         if (v.is_null()) throw sql_error(SqlError::InvalidUseOfNull);
         return Value::double_(val(to_text(v)));
       }}},
      {"LEFT", {2, 2, [](const Args& a) { return left_right(a, true); }}},
      {"RIGHT", {2, 2, [](const Args& a) { return left_right(a, false); }}},
      {"MID", {2, 3, mid}},
      {"LEN", {1, 1, [](const Args& a) {
         Value v = a[0];
         if (v.is_null()) return v;
         return Value::long_(static_cast<std::int32_t>(chars(v).size()));
       }}},
      {"TRIM", {1, 1, [](const Args& a) { return trim(a, true, true); }}},
      {"LTRIM", {1, 1, [](const Args& a) { return trim(a, true, false); }}},
      {"RTRIM", {1, 1, [](const Args& a) { return trim(a, false, true); }}},
      {"UCASE", {1, 1, [](const Args& a) { return change_case(a, true); }}},
      {"LCASE", {1, 1, [](const Args& a) { return change_case(a, false); }}},
      {"CHR", {1, 1, chr}},
      {"ASC", {1, 1, asc}},
      {"NZ", {1, 2, [](const Args& a) {
         Value v = a[0];
         if (!v.is_null()) return v;
         return a.size() > 1 ? a[1] : Value();
       }}},
      {"IIF", {3, 3, [](const Args& a) { return is_true(a[0]) ? a[1] : a[2]; }}},
      {"ISNULL", {1, 1, [](const Args& a) { return Value::boolean(a[0].is_null()); }}},
      {"ISNUMERIC", {1, 1, [](const Args& a) {
         Value v = a[0];
         if (v.kind() == ValueKind::Text) return Value::boolean(parse_number(v.as_text()).has_value());
         return Value::boolean(v.is_numeric() || v.is_empty());
       }}},
      {"ISDATE", {1, 1, [](const Args& a) {
         Value v = a[0];
         if (v.kind() == ValueKind::Date) return Value::boolean(true);
         if (v.kind() == ValueKind::Text) return Value::boolean(parse_date_text(v.as_text()).has_value());
         return Value::boolean(false);
       }}},
      {"CSTR", {1, 1, [](const Args& a) { return Value::text(to_text(a[0])); }}},
      {"STR", {1, 1, [](const Args& a) {
         // Str keeps VB's leading blank for positive numbers and always uses '.'.
         Value v = a[0];
         if (v.is_null()) return v;
         std::string s = format_double(to_number(v));
         for (char& c : s) if (c == ',') c = '.';
         return Value::text(s[0] == '-' ? s : " " + s);
       }}},
      {"CINT", {1, 1, [](const Args& a) { return null_or(a[0], to_integer); }}},
      {"CLNG", {1, 1, [](const Args& a) { return null_or(a[0], to_long); }}},
      {"CBYTE", {1, 1, [](const Args& a) { return null_or(a[0], to_byte); }}},
      {"CCUR", {1, 1, [](const Args& a) { return null_or(a[0], to_currency); }}},
      {"CSNG", {1, 1, [](const Args& a) { return null_or(a[0], to_single); }}},
      {"CDBL", {1, 1, [](const Args& a) { return Value::double_(to_number(a[0])); }}},
      {"CDATE", {1, 1, [](const Args& a) { return Value::date(to_date(a[0])); }}},
      {"DATEVALUE", {1, 1, [](const Args& a) {
         Value v = a[0];
         if (v.is_null()) return v;
         return Value::date(std::trunc(to_date(v)));
       }}},
      {"CBOOL", {1, 1, [](const Args& a) { return to_boolean(a[0]); }}},
      {"FORMAT", {1, 2, [](const Args& a) {
         return format_value(a[0], a.size() > 1 ? to_text(a[1]) : std::string());
       }}},
      {"DATE", {0, 0, [](const Args& a) { return Value::date(std::trunc(a.now())); }}},
      {"NOW", {0, 0, [](const Args& a) { return Value::date(a.now()); }}},
      {"TIME", {0, 0, [](const Args& a) {
         double n = a.now();
         return Value::date(std::fabs(n - std::trunc(n)));
       }}},
      {"YEAR", {1, 1, [](const Args& a) { return date_part(a, 0); }}},
      {"MONTH", {1, 1, [](const Args& a) { return date_part(a, 1); }}},
      {"DAY", {1, 1, [](const Args& a) { return date_part(a, 2); }}},
      {"HOUR", {1, 1, [](const Args& a) { return date_part(a, 3); }}},
      {"MINUTE", {1, 1, [](const Args& a) { return date_part(a, 4); }}},
      {"SECOND", {1, 1, [](const Args& a) { return date_part(a, 5); }}},
      {"WEEKDAY", {1, 1, [](const Args& a) {
         Value v = a[0];
         if (v.is_null()) return v;
         return Value::integer(static_cast<std::int16_t>(weekday(to_date(v))));
       }}},
      {"DATESERIAL", {3, 3, [](const Args& a) {
         long long y = count_arg(a[0]), m = count_arg(a[1]), d = count_arg(a[2]);
         if (y >= 0 && y < 30) y += 2000;
         else if (y >= 30 && y < 100) y += 1900;
         double s = date_serial(static_cast<int>(y), static_cast<int>(m), static_cast<int>(d));
         if (s < -657434.0 || s >= 2958466.0) invalid_call();
         return Value::date(s);
       }}},
      {"TIMESERIAL", {3, 3, [](const Args& a) {
         double t = time_serial(static_cast<int>(count_arg(a[0])), static_cast<int>(count_arg(a[1])),
                                static_cast<int>(count_arg(a[2])));
         return Value::date(t);
       }}},
      {"DATEADD", {3, 3, date_add}},
      {"DATEDIFF", {3, 4, date_diff}},
      {"INSTR", {2, 4, instr}},
      {"REPLACE", {3, 6, replace}},
      {"STRING", {2, 2, string_fn}},
      {"SPACE", {1, 1, [](const Args& a) {
         return Value::text(std::string(length_arg(a[0]), ' '));
       }}},
      {"ABS", {1, 1, [](const Args& a) {
         Value v = a[0];
         if (v.is_null()) return v;
         auto c = compare_values(v, Value::integer(0));
         return c && *c < 0 ? negate(v) : v;
       }}},
      {"INT", {1, 1, [](const Args& a) { return int_fix(a, false); }}},
      {"FIX", {1, 1, [](const Args& a) { return int_fix(a, true); }}},
      {"SGN", {1, 1, [](const Args& a) {
         Value v = a[0];
         if (v.is_null()) return v;
         double d = to_number(v);
         return Value::integer(static_cast<std::int16_t>(d > 0 ? 1 : d < 0 ? -1 : 0));
       }}},
      {"ROUND", {1, 2, round_fn}},
  };
  return entries;
}

}  // namespace

int ansi_code(char32_t c) {
  if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) return static_cast<int>(c);
  for (int i = 0; i < 32; ++i) {
    if (kAnsiHigh[i] == c) return 0x80 + i;
  }
  return '?';
}

char32_t ansi_char(int code) {
  if (code >= 0x80 && code <= 0x9F) return kAnsiHigh[code - 0x80];
  return static_cast<char32_t>(code);
}

bool is_known_function(std::string_view name) { return table().count(upper_ascii(name)) > 0; }

Value call_function(const Call& call, const std::function<Value(const Expr&)>& eval,
                    const std::function<double()>& now) {
  auto it = table().find(upper_ascii(call.name));
  if (it == table().end()) throw sql_error(SqlError::UndefinedFunction, call.name);
  const Entry& e = it->second;
  if (call.args.size() < e.min_args || call.args.size() > e.max_args) {
    throw sql_error(SqlError::WrongArgumentCount, call.name);
  }
  return e.impl(Args{call, eval, now});
}

}  // namespace jet::sql
