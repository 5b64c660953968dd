// Text as stored: UTF-16LE, or the compressed form (marker FF FE, then runs of one-byte
// characters U+0000..U+00FF alternating with UTF-16 runs, a zero byte switching between
// them). The API speaks UTF-8.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace jet {

// Decodes stored text (either form). Unpaired surrogates become U+FFFD.
std::string decode_stored_text(std::span<const std::uint8_t> bytes);
// The same into `out` (replacing what it held, reusing its buffer).
void decode_stored_text(std::span<const std::uint8_t> bytes, std::string& out);

// Appends the UTF-8 form of one code point.
void append_utf8(std::string& out, char32_t c);

// UTF-8 decoding, the one treatment of bad input for the whole program: a byte that starts
// no well-formed sequence (a stray continuation byte, a lead byte cut short, an overlong
// form, a value past U+10FFFF, an encoded surrogate) is read alone and becomes U+FFFD, so
// every byte is consumed exactly once and what follows a bad byte decodes normally.
// Surrogates are accepted only under KeepSurrogates: property texts carry unpaired ones
// through in three-byte form so that they are written back unchanged.
enum class Utf8Surrogates { Refuse, Keep };
struct Utf8Char {
  char32_t code_point = 0;
  bool valid = true;  // false when this is the U+FFFD of a bad byte
};
// Decodes the character at `i` (< s.size()) and advances past it.
Utf8Char next_utf8(std::string_view s, std::size_t& i, Utf8Surrogates surrogates = Utf8Surrogates::Refuse);
std::u32string utf8_to_utf32(std::string_view s);
// UTF-16 code units; characters past U+FFFF become surrogate pairs.
std::u16string utf8_to_utf16(std::string_view s, Utf8Surrogates surrogates = Utf8Surrogates::Refuse);
// Decodes plain UTF-16LE (an odd trailing byte is ignored).
std::string utf16le_to_utf8(std::span<const std::uint8_t> bytes);

// Decodes text stored in a Windows code page (Jet 3 files: 1252 for Western Europe, the
// code page recorded in the header and in each text column). Bytes the code page leaves
// undefined become U+FFFD; an unknown code page is read as 1252, which Access 97 used in
// every Western installation.
std::string code_page_to_utf8(std::span<const std::uint8_t> bytes, std::uint16_t code_page);

}  // namespace jet
