// Internal: per-character codes of the Access 2000-2003 general sort order, for every
// character of the Basic Multilingual Plane. The codes are kept as runs of consecutive
// characters (text_sort_runs.cpp, generated) and looked up by binary search.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace jet::text_sort_detail {

// How a character takes part in a text key.
enum class CharKind : std::uint8_t {
  Unknown,    // no code (surrogate halves: characters outside the BMP)
  Ignored,    // contributes nothing at all
  Plain,      // primary bytes only
  Accented,   // primary bytes, plus an accent code ranked after all primary bytes
  Hidden,     // no primary bytes; a positional code ranked last (hyphen, apostrophe, controls)
  Modifier,   // combining mark: adds its value to the accent code of the preceding character
  Kana,       // primary bytes, an optional accent code (voicing marks) and a size mark
};

// Characters first.. (up to the next run) share a kind and secondary codes; the primary code,
// a big-endian number of `primary_size` bytes, grows by `step` per character.
struct CodeRun {
  char16_t first;
  CharKind kind;
  std::uint8_t step;
  std::uint8_t primary_size;
  std::uint32_t primary;
  std::uint8_t extra_size;
  std::uint16_t extra;       // Accented, Kana: accent code; Hidden: its code; Modifier: addend
  std::uint8_t kana_mark;    // Kana: 2 for a small kana, 3 otherwise
};

// Every run, sorted by first character, the first starting at U+0000.
std::span<const CodeRun> code_runs();

// A character's codes, bytes laid out as they go into keys.
struct CharCode {
  CharKind kind = CharKind::Unknown;
  std::uint8_t primary_size = 0;
  std::array<std::uint8_t, 4> primary{};
  std::uint8_t extra_size = 0;
  std::array<std::uint8_t, 2> extra{};
  std::uint8_t kana_mark = 0;
};

// The codes of `unit`; nullopt for a character without one.
std::optional<CharCode> find_char_code(char32_t unit);

}  // namespace jet::text_sort_detail
