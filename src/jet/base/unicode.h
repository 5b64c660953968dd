// The Unicode services the engine and the program need beyond UTF-8 itself: case mapping and
// folding, letter tests, French dictionary comparison and code-page decoding. Implemented with
// ICU on Linux (icu_unicode.cpp) and with the Windows National Language Support functions on
// Windows (win32_unicode.cpp), so that a Windows build needs no ICU.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace jet::unicode {

// One-to-one mappings of a code point (a character without a simple mapping is returned as
// it is), as VB's UCase/LCase and the NTFS upcase table map single characters.
char32_t to_upper(char32_t c);
char32_t to_lower(char32_t c);
// The case-blind form of a character (simple folding), for character comparisons.
char32_t fold_case(char32_t c);
// The case-blind form of a whole text (full folding: "ß" and "SS" compare equal), for object
// and property names.
std::string fold_text(std::string_view utf8);
// A letter or a digit of any script.
bool is_letter_or_digit(char32_t c);

// French dictionary order ignoring case but not accents: -1, 0 or 1.
int collate_ignoring_case(std::string_view a_utf8, std::string_view b_utf8);

// Text stored in a single- or double-byte Windows code page, as UTF-8; a byte sequence the
// code page does not map becomes U+FFFD. An unknown code page is read as Windows-1252.
std::string decode_code_page(std::span<const std::uint8_t> bytes, std::uint16_t code_page);

}  // namespace jet::unicode
