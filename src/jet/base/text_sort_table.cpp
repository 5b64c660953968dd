#include "jet/base/text_sort_table.h"

#include <algorithm>
#include <array>

namespace jet::text_sort_detail {

namespace {

std::optional<CharCode> look_up(char32_t unit) {
  const auto runs = code_runs();
  const auto after = std::upper_bound(
      runs.begin(), runs.end(), unit,
      [](char32_t c, const CodeRun& run) { return c < static_cast<char32_t>(run.first); });
  if (after == runs.begin()) return std::nullopt;
  const CodeRun& run = *(after - 1);
  if (run.kind == CharKind::Unknown) return std::nullopt;

  CharCode code;
  code.kind = run.kind;
  code.primary_size = run.primary_size;
  const std::uint32_t primary = run.primary + run.step * (unit - run.first);
  for (std::uint8_t i = 0; i < run.primary_size; ++i) {
    code.primary[i] = static_cast<std::uint8_t>(primary >> (8 * (run.primary_size - 1 - i)));
  }
  code.extra_size = run.extra_size;
  for (std::uint8_t i = 0; i < run.extra_size; ++i) {
    code.extra[i] = static_cast<std::uint8_t>(run.extra >> (8 * (run.extra_size - 1 - i)));
  }
  code.kana_mark = run.kana_mark;
  return code;
}

// Western text keeps to the first few hundred code points: their codes are worked out once.
constexpr char32_t kCachedUnits = 0x180;

}  // namespace

std::optional<CharCode> find_char_code(char32_t unit) {
  static const auto cached = [] {
    std::array<std::optional<CharCode>, kCachedUnits> table;
    for (char32_t c = 0; c < kCachedUnits; ++c) table[c] = look_up(c);
    return table;
  }();
  if (unit < kCachedUnits) return cached[unit];
  if (unit > 0xFFFF) return std::nullopt;
  return look_up(unit);
}

}  // namespace jet::text_sort_detail
