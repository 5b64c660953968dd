#include "jet/sql/format.h"

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "jet/sql/datetime.h"
#include "jet/sql/text_compare.h"
#include "jet/sql/text_util.h"
#include "jet/sql/vb_convert.h"
#include "jet/base/text_codec.h"

namespace jet::sql {
namespace {

const char* const kDays[] = {"dimanche", "lundi", "mardi", "mercredi", "jeudi", "vendredi", "samedi"};
const char* const kDaysShort[] = {"dim.", "lun.", "mar.", "mer.", "jeu.", "ven.", "sam."};
const char* const kMonths[] = {"janvier", "février", "mars", "avril", "mai", "juin", "juillet",
                               "août", "septembre", "octobre", "novembre", "décembre"};
const char* const kMonthsShort[] = {"janv.", "févr.", "mars", "avr.", "mai", "juin", "juil.",
                                    "août", "sept.", "oct.", "nov.", "déc."};
const char* const kThousands = "\xC2\xA0";  // non-breaking space, French grouping

std::string pad2(int n) {
  char b[8];
  std::snprintf(b, sizeof b, "%02d", n);
  return b;
}

char lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

// Length of the run of `c` (case-insensitive) at `i`.
std::size_t run(std::string_view f, std::size_t i, char c) {
  std::size_t n = 0;
  while (i + n < f.size() && lower(f[i + n]) == c) ++n;
  return n;
}

bool has_date_tokens(std::string_view f) {
  bool quoted = false;
  for (std::size_t i = 0; i < f.size(); ++i) {
    char c = lower(f[i]);
    if (f[i] == '"') quoted = !quoted;
    else if (f[i] == '\\') ++i;
    else if (!quoted && (c == 'd' || c == 'm' || c == 'y' || c == 'h' || c == 'n' || c == 's' ||
                         c == 'w' || c == 'q' || c == 't')) {
      return true;
    }
  }
  return false;
}

bool has_number_tokens(std::string_view f) {
  bool quoted = false;
  for (std::size_t i = 0; i < f.size(); ++i) {
    if (f[i] == '"') quoted = !quoted;
    else if (f[i] == '\\') ++i;
    else if (!quoted && (f[i] == '0' || f[i] == '#')) return true;
  }
  return false;
}

std::string format_date(double serial, std::string_view f) {
  DateParts p = date_parts(serial);
  bool twelve = false;
  for (std::size_t i = 0; i + 1 < f.size(); ++i) {
    std::string two = upper_ascii(f.substr(i, 2));
    if (two == "AM" || two == "A/") twelve = true;
  }
  std::string out;
  bool after_hour = false;
  for (std::size_t i = 0; i < f.size();) {
    char c = lower(f[i]);
    if (f[i] == '"') {
      std::size_t close = f.find('"', i + 1);
      if (close == std::string_view::npos) close = f.size();
      out += f.substr(i + 1, close - i - 1);
      i = close + 1;
      continue;
    }
    if (f[i] == '\\' && i + 1 < f.size()) {
      out += f[i + 1];
      i += 2;
      continue;
    }
    std::string rest = upper_ascii(f.substr(i, 5));
    if (rest == "AM/PM") {
      bool pm = p.hour >= 12;
      std::string s = f.substr(i, 5) == "am/pm" ? (pm ? "pm" : "am") : (pm ? "PM" : "AM");
      out += s;
      i += 5;
      continue;
    }
    if (rest.substr(0, 3) == "A/P") {
      bool pm = p.hour >= 12;
      out += f[i] == 'a' ? (pm ? "p" : "a") : (pm ? "P" : "A");
      i += 3;
      continue;
    }
    std::size_t n = run(f, i, c);
    switch (c) {
      case 'd':
        if (n == 1) out += std::to_string(p.day);
        else if (n == 2) out += pad2(p.day);
        else if (n == 3) out += kDaysShort[weekday(serial) - 1];
        else if (n == 4) out += kDays[weekday(serial) - 1];
        else if (n == 5) out += pad2(p.day) + "/" + pad2(p.month) + "/" + std::to_string(p.year);
        else out += std::string(kDays[weekday(serial) - 1]) + " " + std::to_string(p.day) + " " +
                    kMonths[p.month - 1] + " " + std::to_string(p.year);
        break;
      case 'm':
        if (after_hour && n <= 2) {
          out += n == 1 ? std::to_string(p.minute) : pad2(p.minute);
        } else if (n == 1) out += std::to_string(p.month);
        else if (n == 2) out += pad2(p.month);
        else if (n == 3) out += kMonthsShort[p.month - 1];
        else out += kMonths[p.month - 1];
        break;
      case 'y':
        if (n == 1 || n == 3) {
          int doy = static_cast<int>(date_serial(p.year, p.month, p.day) - date_serial(p.year, 1, 1)) + 1;
          out += std::to_string(doy);
          if (n == 3) out += pad2(p.year % 100);
        } else if (n == 2) out += pad2(p.year % 100);
        else out += std::to_string(p.year);
        break;
      case 'h': {
        int h = p.hour;
        if (twelve) h = h % 12 == 0 ? 12 : h % 12;
        out += n == 1 ? std::to_string(h) : pad2(h);
        break;
      }
      case 'n': out += n == 1 ? std::to_string(p.minute) : pad2(p.minute); break;
      case 's': out += n == 1 ? std::to_string(p.second) : pad2(p.second); break;
      case 'w':
        if (n == 1) out += std::to_string(weekday(serial));
        else {
          double jan1 = date_serial(p.year, 1, 1);
          double day = date_serial(p.year, p.month, p.day);
          double start = jan1 - (weekday(jan1) - 1);
          out += std::to_string(static_cast<int>((day - start) / 7) + 1);
        }
        break;
      case 'q': out += std::to_string((p.month - 1) / 3 + 1); break;
      case 't':
        if (n >= 5) {
          out += pad2(p.hour) + ":" + pad2(p.minute) + ":" + pad2(p.second);
          break;
        }
        [[fallthrough]];
      default:
        out.append(f.substr(i, n));
    }
    if (c == 'h') after_hour = true;
    else if (c != ':' && c != ' ' && c != 'm') after_hour = after_hour && (c == '/' || c == '.');
    if (c == 'm') after_hour = false;
    i += n;
  }
  return out;
}

// One section of a number pattern.
std::string format_number(double x, std::string_view f, bool with_sign) {
  // Split the section into what comes before, inside and after the digit placeholders.
  std::size_t first = std::string_view::npos, last = 0;
  bool quoted = false;
  for (std::size_t i = 0; i < f.size(); ++i) {
    if (f[i] == '"') quoted = !quoted;
    else if (!quoted && (f[i] == 'E' || f[i] == 'e') && i + 1 < f.size() &&
             (f[i + 1] == '+' || f[i + 1] == '-') && first != std::string_view::npos) {
      break;  // the exponent belongs to the suffix
    } else if (!quoted && (f[i] == '0' || f[i] == '#' || (f[i] == '.' && first != std::string_view::npos))) {
      if (first == std::string_view::npos) first = i;
      last = i;
    }
  }
  auto literal = [](std::string_view s) {
    std::string out;
    for (std::size_t i = 0; i < s.size(); ++i) {
      if (s[i] == '"') continue;
      if (s[i] == '\\' && i + 1 < s.size()) {
        out += s[++i];
        continue;
      }
      out += s[i];
    }
    return out;
  };
  if (first == std::string_view::npos) return literal(f);
  std::string_view prefix = f.substr(0, first), body = f.substr(first, last - first + 1),
                   suffix = f.substr(last + 1);
  if (f.find('%') != std::string_view::npos) x *= 100;
  // Scientific notation: "0.00E+00".
  std::size_t e_pos = suffix.find_first_of("eE");
  std::string exponent_part;
  if (e_pos != std::string_view::npos && e_pos + 1 < suffix.size() &&
      (suffix[e_pos + 1] == '+' || suffix[e_pos + 1] == '-')) {
    std::size_t digits_end = e_pos + 2;
    while (digits_end < suffix.size() && (suffix[digits_end] == '0' || suffix[digits_end] == '#')) ++digits_end;
    int min_exp_digits = static_cast<int>(digits_end - e_pos - 2);
    int exp = x == 0 ? 0 : static_cast<int>(std::floor(std::log10(std::fabs(x))));
    x /= std::pow(10.0, exp);
    std::string digits = std::to_string(std::abs(exp));
    while (static_cast<int>(digits.size()) < min_exp_digits) digits = "0" + digits;
    exponent_part = std::string(1, suffix[e_pos]) + (exp < 0 ? "-" : (suffix[e_pos + 1] == '+' ? "+" : "")) + digits;
    suffix = suffix.substr(digits_end);
  }
  std::size_t point = body.find('.');
  std::string_view int_part = body.substr(0, point);
  std::string_view frac_part = point == std::string_view::npos ? std::string_view() : body.substr(point + 1);
  // Fraction digits shown at most (every placeholder) and at least (up to the last '0').
  int frac_all = 0, last_zero = 0;
  for (char c : frac_part) {
    if (c == '0' || c == '#') {
      ++frac_all;
      if (c == '0') last_zero = frac_all;
    }
  }
  int frac_zeros = last_zero;
  int int_zeros = 0;
  bool seen_zero = false, grouping = false;
  for (char c : int_part) {
    if (c == '0') seen_zero = true;
    if (seen_zero && (c == '0' || c == '#')) ++int_zeros;
    if (c == ',') grouping = true;
  }
  // Round half away from zero, as Format does.
  double scale = std::pow(10.0, frac_all);
  double a = std::fabs(x);
  double rounded = std::floor(a * scale + 0.5 + 1e-9);
  char buf[512];
  std::snprintf(buf, sizeof buf, "%.0f", rounded);
  std::string digits = buf;
  while (static_cast<int>(digits.size()) <= frac_all) digits = "0" + digits;
  std::string int_digits = digits.substr(0, digits.size() - static_cast<std::size_t>(frac_all));
  std::string frac_digits = digits.substr(digits.size() - static_cast<std::size_t>(frac_all));
  while (static_cast<int>(frac_digits.size()) > frac_zeros && !frac_digits.empty() && frac_digits.back() == '0') {
    frac_digits.pop_back();
  }
  while (int_digits.size() > 1 && int_digits[0] == '0') int_digits.erase(0, 1);
  if (int_digits == "0" && int_zeros == 0) int_digits.clear();
  while (static_cast<int>(int_digits.size()) < int_zeros) int_digits = "0" + int_digits;
  if (grouping) {
    std::string g;
    for (std::size_t i = 0; i < int_digits.size(); ++i) {
      if (i && (int_digits.size() - i) % 3 == 0) g += kThousands;
      g += int_digits[i];
    }
    int_digits = g;
  }
  std::string number = int_digits;
  if (point != std::string_view::npos) {  // VB keeps the separator even with no digits after
    number += ",";
    number += frac_digits;
  }
  bool negative = x < 0 && rounded != 0;
  return (negative && with_sign ? "-" : "") + literal(prefix) + number + exponent_part + literal(suffix);
}

std::vector<std::string_view> sections(std::string_view f) {
  std::vector<std::string_view> out;
  bool quoted = false;
  std::size_t start = 0;
  for (std::size_t i = 0; i < f.size(); ++i) {
    if (f[i] == '"') quoted = !quoted;
    else if (f[i] == '\\') ++i;
    else if (!quoted && f[i] == ';') {
      out.push_back(f.substr(start, i - start));
      start = i + 1;
    }
  }
  out.push_back(f.substr(start));
  return out;
}

std::string format_text(const std::string& s, std::string_view f) {
  std::u32string text = utf8_to_utf32(s);
  bool upper = f.find('>') != std::string_view::npos;
  bool lower_case = f.find('<') != std::string_view::npos;
  if (upper || lower_case) {
    for (char32_t& c : text) {
      if (upper && ((c >= U'a' && c <= U'z') || (c >= 0xE0 && c <= 0xFE && c != 0xF7))) c -= 32;
      if (lower_case && ((c >= U'A' && c <= U'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7))) c += 32;
    }
  }
  std::size_t slots = 0;
  for (char c : f) slots += (c == '@' || c == '&');
  if (slots == 0) return encode_utf8(text);
  // Placeholders fill from the right; extra characters go before the first one.
  std::u32string out;
  std::size_t extra = text.size() > slots ? text.size() - slots : 0;
  std::size_t missing = text.size() < slots ? slots - text.size() : 0;
  std::size_t next = 0, slot = 0;
  for (char c : f) {
    if (c == '@' || c == '&') {
      if (slot == 0) {
        out += text.substr(0, extra);
        next = extra;
      }
      if (slot < missing) {
        if (c == '@') out += U' ';
      } else {
        out += text[next++];
      }
      ++slot;
    } else if (c != '<' && c != '>' && c != '!') {
      out += static_cast<char32_t>(static_cast<unsigned char>(c));
    }
  }
  return encode_utf8(out);
}

}  // namespace

Value format_value(const Value& value, std::string_view pattern) {
  std::string named = upper_ascii(trim_ascii(pattern));
  auto parts = sections(pattern);
  if (value.is_null()) {
    if (parts.size() >= 4) return Value::text(format_number(0, parts[3], false));
    return Value::null();
  }
  if (value.is_empty()) return Value::text("");
  if (pattern.empty() || named == "GENERAL NUMBER" || named == "GENERAL DATE") {
    if (named == "GENERAL DATE" && value.kind() != ValueKind::Date) {
      return Value::text(to_text(Value::date(to_date(value))));
    }
    return Value::text(to_text(value));
  }
  if (named == "YES/NO" || named == "TRUE/FALSE" || named == "ON/OFF") {
    bool t = to_number(value) != 0;
    if (named == "YES/NO") return Value::text(t ? "Oui" : "Non");
    if (named == "TRUE/FALSE") return Value::text(t ? "Vrai" : "Faux");
    return Value::text(t ? "Actif" : "Inactif");
  }
  static const std::pair<const char*, const char*> kNamed[] = {
      {"SHORT DATE", "dd/mm/yyyy"}, {"MEDIUM DATE", "dd-mmm-yy"}, {"LONG DATE", "dddd d mmmm yyyy"},
      {"SHORT TIME", "hh:nn"},      {"MEDIUM TIME", "hh:nn AM/PM"}, {"LONG TIME", "hh:nn:ss"},
      {"FIXED", "0.00"},            {"STANDARD", "#,##0.00"},     {"PERCENT", "0.00%"},
      {"SCIENTIFIC", "0.00E+00"},   {"CURRENCY", "#,##0.00 €"},
  };
  for (auto [name, expansion] : kNamed) {
    if (named == name) return format_value(value, expansion);
  }
  bool numeric_value = value.is_numeric() ||
                       (value.kind() == ValueKind::Text && parse_number(value.as_text()));
  if (has_number_tokens(pattern) && numeric_value && value.kind() != ValueKind::Date) {
    double x = to_number(value);
    if (x == 0 && parts.size() >= 3) return Value::text(format_number(0, parts[2], false));
    if (x < 0 && parts.size() >= 2) return Value::text(format_number(-x, parts[1], false));
    return Value::text(format_number(x, parts[0], true));
  }
  if (has_date_tokens(pattern) &&
      (value.kind() == ValueKind::Date || value.is_numeric() ||
       (value.kind() == ValueKind::Text && parse_date_text(value.as_text())))) {
    return Value::text(format_date(to_date(value), pattern));
  }
  return Value::text(format_text(to_text(value), pattern));
}

}  // namespace jet::sql
