// Text to its stored forms.
#include <string>

#include "jet/record/row_encode.h"

namespace jet {
namespace {

// Next code point of `s` from `i` (advanced); malformed sequences give U+FFFD.
char32_t next_code_point(std::string_view s, std::size_t& i) {
  const auto b0 = static_cast<unsigned char>(s[i++]);
  if (b0 < 0x80) return b0;
  int extra = 0;
  char32_t cp = 0;
  if ((b0 & 0xE0) == 0xC0) { extra = 1; cp = b0 & 0x1F; }
  else if ((b0 & 0xF0) == 0xE0) { extra = 2; cp = b0 & 0x0F; }
  else if ((b0 & 0xF8) == 0xF0) { extra = 3; cp = b0 & 0x07; }
  else return 0xFFFD;
  for (int k = 0; k < extra; ++k) {
    if (i >= s.size() || (static_cast<unsigned char>(s[i]) & 0xC0) != 0x80) return 0xFFFD;
    cp = (cp << 6) | (static_cast<unsigned char>(s[i++]) & 0x3F);
  }
  static constexpr char32_t kMin[] = {0, 0x80, 0x800, 0x10000};
  if (cp < kMin[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0xFFFD;
  return cp;
}

void put_unit(std::vector<std::uint8_t>& out, char32_t unit) {
  out.push_back(static_cast<std::uint8_t>(unit & 0xFF));
  out.push_back(static_cast<std::uint8_t>(unit >> 8));
}

}  // namespace

std::vector<std::uint8_t> utf8_to_utf16le(std::string_view utf8) {
  std::vector<std::uint8_t> out;
  out.reserve(utf8.size() * 2);
  for (std::size_t i = 0; i < utf8.size();) {
    const char32_t cp = next_code_point(utf8, i);
    if (cp >= 0x10000) {
      put_unit(out, 0xD800 + ((cp - 0x10000) >> 10));
      put_unit(out, 0xDC00 + ((cp - 0x10000) & 0x3FF));
    } else {
      put_unit(out, cp);
    }
  }
  return out;
}

std::vector<std::uint8_t> encode_stored_text(std::string_view utf8, bool compress) {
  std::vector<std::uint8_t> wide = utf8_to_utf16le(utf8);
  // Access compresses only when it saves room: the marker costs two bytes.
  if (!compress || wide.size() / 2 < 3) return wide;
  // The compressed form holds one byte per character; a zero byte would switch modes, so
  // only text made wholly of U+0001..U+00FF is compressed.
  std::vector<std::uint8_t> narrow{0xFF, 0xFE};
  for (std::size_t i = 0; i < wide.size(); i += 2) {
    if (wide[i + 1] != 0 || wide[i] == 0) return wide;
    narrow.push_back(wide[i]);
  }
  return narrow;
}

}  // namespace jet
