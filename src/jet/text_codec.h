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

}  // namespace jet
