// Internal: per-character codes of the Access 2000-2003 general sort order.
#pragma once

#include <cstdint>
#include <string_view>

namespace jet::text_sort_detail {

// How a character takes part in a text key.
enum class CharKind : std::uint8_t {
  Ignored,    // contributes nothing at all
  Plain,      // primary bytes only
  Accented,   // primary bytes, plus an accent code ranked after all primary bytes
  Hidden,     // no primary bytes; a positional code ranked last (hyphen, apostrophe, controls)
  Modifier,   // combining mark: adds its value to the accent code of the preceding character
};

struct CharCode {
  char16_t cp;
  CharKind kind;
  std::string_view primary;  // Plain, Accented
  std::string_view extra;    // Accented: accent code; Hidden: its code; Modifier: the addend
};

// The code of `cp`, or nullptr when the character is not covered.
const CharCode* find_char_code(char32_t cp);

}  // namespace jet::text_sort_detail
