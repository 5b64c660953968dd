#include "jet/sql/vb_convert.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "jet/sql/datetime.h"
#include "jet/sql/sql_error.h"
#include "jet/sql/text_util.h"

namespace jet::sql {
namespace {

[[noreturn]] void vb_type_mismatch() { throw sql_error(SqlError::TypeMismatch); }
[[noreturn]] void vb_overflow() { throw sql_error(SqlError::Overflow); }
void require(const Value& v) {
  if (v.is_null()) throw sql_error(SqlError::InvalidUseOfNull);
}

std::string two(int n) {
  char buf[8];
  std::snprintf(buf, sizeof buf, "%02d", n);
  return buf;
}

std::string date_text(double serial) {
  DateParts p = date_parts(serial);
  bool has_time = p.hour || p.minute || p.second;
  std::string time = two(p.hour) + ":" + two(p.minute) + ":" + two(p.second);
  if (std::trunc(serial) == 0 && has_time) return time;
  std::string date = two(p.day) + "/" + two(p.month) + "/" + std::to_string(p.year);
  return has_time ? date + " " + time : date;
}

double whole_in_range(double x, double low, double high) {
  double r = round_half_even(x);
  if (!(r >= low && r <= high)) vb_overflow();
  return r;
}

}  // namespace

double round_half_even(double x) {
  double r = std::nearbyint(x);  // default rounding mode: to nearest, ties to even
  return r;
}

std::string format_double(double x, int significant) {
  if (x == 0) return "0";
  char buf[64];
  double a = std::fabs(x);
  if (a >= 1e15 || a < 1e-15) {
    std::snprintf(buf, sizeof buf, "%.*E", significant - 1, x);
    // Trim the mantissa's trailing zeros and write the exponent as VB does: E+16, E-05.
    std::string s = buf;
    std::size_t e = s.find('E');
    std::string mant = s.substr(0, e), exp = s.substr(e + 1);
    if (mant.find('.') != std::string::npos) {
      while (mant.back() == '0') mant.pop_back();
      if (mant.back() == '.') mant.pop_back();
    }
    char sign = exp[0];
    std::string digits = exp.substr(1);
    while (digits.size() > 2 && digits[0] == '0') digits.erase(0, 1);
    s = mant + "E" + sign + digits;
    for (char& c : s) if (c == '.') c = ',';
    return s;
  }
  std::snprintf(buf, sizeof buf, "%.*G", significant, x);
  std::string s = buf;
  if (s.find('E') != std::string::npos) {  // %G chose exponent form for a small number
    std::snprintf(buf, sizeof buf, "%.*f", significant + 2, x);
    s = buf;
    while (s.back() == '0') s.pop_back();
    if (s.back() == '.') s.pop_back();
  }
  for (char& c : s) if (c == '.') c = ',';
  return s;
}

std::string to_text(const Value& v) {
  switch (v.kind()) {
    case ValueKind::Empty: return {};
    case ValueKind::Null: throw sql_error(SqlError::InvalidUseOfNull);
    case ValueKind::Boolean: return v.as_boolean() ? "Vrai" : "Faux";
    case ValueKind::Byte: case ValueKind::Integer: case ValueKind::Long:
      return std::to_string(v.to_int64());
    case ValueKind::Currency: {
      std::int64_t c = v.as_currency();
      std::string s = std::to_string(c < 0 ? -(c / 10000) : c / 10000);
      std::int64_t frac = c < 0 ? -(c % 10000) : c % 10000;
      if (c < 0) s = "-" + s;
      if (frac) {
        std::string f = std::to_string(10000 + frac).substr(1);
        while (f.back() == '0') f.pop_back();
        s += "," + f;
      }
      return s;
    }
    case ValueKind::Single: return format_double(v.as_single(), 7);
    case ValueKind::Double: return format_double(v.as_double());
    case ValueKind::Date: return date_text(v.as_date());
    case ValueKind::Text: return v.as_text();
    case ValueKind::Decimal: {
      std::string s = v.as_decimal().to_string();
      for (char& c : s) if (c == '.') c = ',';
      return s;
    }
    case ValueKind::Guid: return v.as_guid().to_string();
    case ValueKind::Binary: {
      const auto& b = v.as_binary();
      return std::string(b.begin(), b.end());
    }
  }
  vb_type_mismatch();
}

std::optional<double> parse_number(std::string_view text) {
  std::string_view s = trim_ascii(text);
  if (s.empty()) return std::nullopt;
  std::string buf;
  std::size_t i = 0;
  if (s[i] == '+' || s[i] == '-') buf += s[i++];
  bool digits = false, point = false;
  for (; i < s.size(); ++i) {
    char c = s[i];
    if (c >= '0' && c <= '9') buf += c, digits = true;
    else if ((c == ',' || c == '.') && !point) buf += '.', point = true;
    else break;
  }
  if (!digits) return std::nullopt;
  if (i < s.size() && (s[i] == 'E' || s[i] == 'e')) {
    buf += 'E';
    ++i;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) buf += s[i++];
    bool exp_digits = false;
    for (; i < s.size() && s[i] >= '0' && s[i] <= '9'; ++i) buf += s[i], exp_digits = true;
    if (!exp_digits) return std::nullopt;
  }
  if (i != s.size()) return std::nullopt;
  return std::strtod(buf.c_str(), nullptr);
}

double val(std::string_view text) {
  // Blanks, tabs and line feeds are skipped anywhere, as VB's Val does.
  std::string s;
  for (char c : text) {
    if (c != ' ' && c != '\t' && c != '\n' && c != '\r') s += c;
  }
  if (s.size() >= 2 && s[0] == '&' && (s[1] == 'H' || s[1] == 'h' || s[1] == 'O' || s[1] == 'o')) {
    int base = (s[1] == 'H' || s[1] == 'h') ? 16 : 8;
    std::int64_t n = 0;
    for (std::size_t i = 2; i < s.size(); ++i) {
      int d = -1;
      char c = s[i];
      if (c >= '0' && c <= '9') d = c - '0';
      else if (base == 16 && c >= 'a' && c <= 'f') d = c - 'a' + 10;
      else if (base == 16 && c >= 'A' && c <= 'F') d = c - 'A' + 10;
      if (d < 0 || d >= base) break;
      n = n * base + d;
      if (n > 0xFFFFFFFFLL) break;
    }
    return static_cast<double>(n);
  }
  std::string buf;
  std::size_t i = 0;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) buf += s[i++];
  bool digits = false, point = false;
  for (; i < s.size(); ++i) {
    char c = s[i];
    if (c >= '0' && c <= '9') buf += c, digits = true;
    else if (c == '.' && !point) buf += c, point = true;
    else break;
  }
  if (!digits) return 0;
  if (i < s.size() && (s[i] == 'E' || s[i] == 'e' || s[i] == 'D' || s[i] == 'd')) {
    std::string exp = "E";
    std::size_t j = i + 1;
    if (j < s.size() && (s[j] == '+' || s[j] == '-')) exp += s[j++];
    bool exp_digits = false;
    for (; j < s.size() && s[j] >= '0' && s[j] <= '9'; ++j) exp += s[j], exp_digits = true;
    if (exp_digits) buf += exp;
  }
  return std::strtod(buf.c_str(), nullptr);
}

double to_number(const Value& v) {
  require(v);
  switch (v.kind()) {
    case ValueKind::Empty: return 0;
    case ValueKind::Text: {
      auto n = parse_number(v.as_text());
      if (!n) vb_type_mismatch();
      return *n;
    }
    case ValueKind::Binary: case ValueKind::Guid: vb_type_mismatch();
    default: return v.to_double();
  }
}

Value to_long(const Value& v) {
  return Value::long_(static_cast<std::int32_t>(
      whole_in_range(to_number(v), std::numeric_limits<std::int32_t>::min(),
                     std::numeric_limits<std::int32_t>::max())));
}

Value to_integer(const Value& v) {
  return Value::integer(static_cast<std::int16_t>(whole_in_range(to_number(v), -32768, 32767)));
}

Value to_byte(const Value& v) {
  return Value::byte(static_cast<std::uint8_t>(whole_in_range(to_number(v), 0, 255)));
}

Value to_currency(const Value& v) {
  if (v.kind() == ValueKind::Currency) return v;
  double scaled = to_number(v) * 10000.0;
  if (!(std::fabs(scaled) < 9.2233720368547758e18)) vb_overflow();
  return Value::currency(static_cast<std::int64_t>(round_half_even(scaled)));
}

Value to_single(const Value& v) {
  double d = to_number(v);
  if (std::fabs(d) > std::numeric_limits<float>::max()) vb_overflow();
  return Value::single(static_cast<float>(d));
}

Value to_boolean(const Value& v) {
  require(v);
  if (v.kind() == ValueKind::Text) {
    std::string u = upper_ascii(trim_ascii(v.as_text()));
    if (u == "TRUE" || u == "VRAI") return Value::boolean(true);
    if (u == "FALSE" || u == "FAUX") return Value::boolean(false);
  }
  return Value::boolean(to_number(v) != 0);
}

double to_date(const Value& v) {
  require(v);
  if (v.kind() == ValueKind::Text) {
    if (auto d = parse_date_text(v.as_text())) return *d;
    if (auto n = parse_number(v.as_text())) return *n;
    vb_type_mismatch();
  }
  double d = to_number(v);
  if (d < -657434.0 || d >= 2958466.0) vb_overflow();  // years 100 to 9999
  return d;
}

}  // namespace jet::sql
