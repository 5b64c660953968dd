// Text as stored: UTF-16LE, or the compressed form (marker FF FE, then runs of one-byte
// characters U+0000..U+00FF alternating with UTF-16 runs, a zero byte switching between
// them). The API speaks UTF-8.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace jet {

// Decodes stored text (either form). Unpaired surrogates become U+FFFD.
std::string decode_stored_text(std::span<const std::uint8_t> bytes);

// Appends the UTF-8 form of one code point.
void append_utf8(std::string& out, char32_t c);
// Decodes plain UTF-16LE (an odd trailing byte is ignored).
std::string utf16le_to_utf8(std::span<const std::uint8_t> bytes);

// Decodes text stored in a Windows code page (Jet 3 files: 1252 for Western Europe, the
// code page recorded in the header and in each text column). Bytes the code page leaves
// undefined become U+FFFD; an unknown code page is read as 1252, which Access 97 used in
// every Western installation.
std::string code_page_to_utf8(std::span<const std::uint8_t> bytes, std::uint16_t code_page);

}  // namespace jet
