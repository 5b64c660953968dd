#include "platform/utf8.h"

namespace platform::utf8 {

char32_t next(std::string_view s, std::size_t& i) {
  const auto b0 = static_cast<unsigned char>(s[i]);
  std::size_t extra = 0;
  char32_t cp = 0;
  char32_t minimum = 0;
  if (b0 < 0x80) {
    ++i;
    return b0;
  } else if ((b0 & 0xE0) == 0xC0) {
    extra = 1, cp = b0 & 0x1F, minimum = 0x80;
  } else if ((b0 & 0xF0) == 0xE0) {
    extra = 2, cp = b0 & 0x0F, minimum = 0x800;
  } else if ((b0 & 0xF8) == 0xF0) {
    extra = 3, cp = b0 & 0x07, minimum = 0x10000;
  } else {
    ++i;
    return 0xFFFD;
  }
  if (i + extra >= s.size()) {
    ++i;
    return 0xFFFD;
  }
  for (std::size_t k = 1; k <= extra; ++k) {
    const auto b = static_cast<unsigned char>(s[i + k]);
    if ((b & 0xC0) != 0x80) {
      ++i;
      return 0xFFFD;
    }
    cp = (cp << 6) | (b & 0x3F);
  }
  if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
    ++i;
    return 0xFFFD;
  }
  i += extra + 1;
  return cp;
}

void append(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

std::u32string decode(std::string_view text) {
  std::u32string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) out += next(text, i);
  return out;
}

std::string encode(std::u32string_view codePoints) {
  std::string out;
  out.reserve(codePoints.size());
  for (char32_t cp : codePoints) append(out, cp);
  return out;
}

}  // namespace platform::utf8
