// UTF-8 code point stepping shared by the text helpers of this layer.
#pragma once

#include <string>
#include <string_view>

namespace platform::utf8 {

// Decodes the code point at `i` and advances past it, as jet::next_utf8 does: an invalid or
// truncated sequence gives U+FFFD and advances by one byte.
char32_t next(std::string_view text, std::size_t& i);

void append(std::string& out, char32_t codePoint);

// The code points of a UTF-8 text.
std::u32string decode(std::string_view text);
std::string encode(std::u32string_view codePoints);

}  // namespace platform::utf8
