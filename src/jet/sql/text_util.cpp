#include "jet/sql/text_util.h"

namespace jet::sql {

namespace {
char upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }
bool blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
}  // namespace

bool iequals_ascii(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (upper(a[i]) != upper(b[i])) return false;
  }
  return true;
}

std::string upper_ascii(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = upper(c);
  return out;
}

std::string_view trim_ascii(std::string_view s) {
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  return s;
}

}  // namespace jet::sql
