#include "jet/sql/like.h"

#include <vector>

#include "jet/sql/sql_error.h"
#include "jet/sql/text_compare.h"
#include "jet/base/text_codec.h"

namespace jet::sql {
namespace {

enum class ElementKind { Literal, AnyOne, Digit, Run, Set };

struct Element {
  ElementKind kind = ElementKind::Literal;
  char32_t ch = 0;
  bool negated = false;
  std::vector<std::pair<char32_t, char32_t>> ranges;  // for Set; single chars as (c, c)
};

[[noreturn]] void bad_pattern() {
  throw sql_error(SqlError::InvalidPattern);
}

std::vector<Element> compile(const std::u32string& p) {
  std::vector<Element> out;
  for (std::size_t i = 0; i < p.size(); ++i) {
    Element e;
    switch (p[i]) {
      case U'*':
        if (!out.empty() && out.back().kind == ElementKind::Run) continue;
        e.kind = ElementKind::Run;
        break;
      case U'?': e.kind = ElementKind::AnyOne; break;
      case U'#': e.kind = ElementKind::Digit; break;
      case U'[': {
        std::size_t close = p.find(U']', i + 1);
        if (close == std::u32string::npos) bad_pattern();
        e.kind = ElementKind::Set;
        std::size_t j = i + 1;
        if (j < close && p[j] == U'!') e.negated = true, ++j;
        for (; j < close; ++j) {
          if (j + 2 < close && p[j + 1] == U'-') {
            e.ranges.emplace_back(p[j], p[j + 2]);
            j += 2;
          } else {
            e.ranges.emplace_back(p[j], p[j]);
          }
        }
        // "[]" matches nothing special: an empty set is taken as the empty string in Jet.
        if (e.ranges.empty() && !e.negated) {
          i = close;
          continue;
        }
        i = close;
        break;
      }
      default: e.ch = p[i];
    }
    out.push_back(std::move(e));
  }
  return out;
}

bool in_set(const Element& e, char32_t c) {
  for (auto [lo, hi] : e.ranges) {
    if (lo == hi ? compare_char(c, lo) == 0
                 : compare_char(lo, c) <= 0 && compare_char(c, hi) <= 0) {
      return true;
    }
  }
  return false;
}

bool matches_one(const Element& e, char32_t c) {
  switch (e.kind) {
    case ElementKind::Literal: return compare_char(e.ch, c) == 0;
    case ElementKind::AnyOne: return true;
    case ElementKind::Digit: return c >= U'0' && c <= U'9';
    case ElementKind::Set: return in_set(e, c) != e.negated;
    case ElementKind::Run: return false;
  }
  return false;
}

}  // namespace

bool like_match(std::string_view text, std::string_view pattern) {
  std::u32string t = utf8_to_utf32(text);
  std::vector<Element> p = compile(utf8_to_utf32(pattern));
  // Greedy matching with back-tracking to the last '*' (linear in practice).
  std::size_t ti = 0, pi = 0;
  std::size_t star_p = std::string_view::npos, star_t = 0;
  while (ti < t.size()) {
    if (pi < p.size() && p[pi].kind == ElementKind::Run) {
      star_p = pi++;
      star_t = ti;
    } else if (pi < p.size() && matches_one(p[pi], t[ti])) {
      ++pi;
      ++ti;
    } else if (star_p != std::string_view::npos) {
      pi = star_p + 1;
      ti = ++star_t;
    } else {
      return false;
    }
  }
  while (pi < p.size() && p[pi].kind == ElementKind::Run) ++pi;
  return pi == p.size();
}

}  // namespace jet::sql
