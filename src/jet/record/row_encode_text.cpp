// Text to its stored forms.
#include <string>

#include "jet/base/text_codec.h"
#include "jet/record/row_encode.h"

namespace jet {
namespace {

void put_unit(std::vector<std::uint8_t>& out, char32_t unit) {
  out.push_back(static_cast<std::uint8_t>(unit & 0xFF));
  out.push_back(static_cast<std::uint8_t>(unit >> 8));
}

}  // namespace

std::vector<std::uint8_t> utf8_to_utf16le(std::string_view utf8) {
  std::vector<std::uint8_t> out;
  out.reserve(utf8.size() * 2);
  for (std::size_t i = 0; i < utf8.size();) {
    const char32_t cp = next_utf8(utf8, i).code_point;
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
  // Access compresses only when it saves room (the marker costs two bytes: three characters
  // or more), and only text made wholly of U+0001..U+00FF (one byte per character; a zero
  // byte would switch modes).
  if (compress) {
    std::size_t characters = 0;
    bool narrow = true;
    for (std::size_t i = 0; narrow && i < utf8.size(); ++characters) {
      const char32_t cp = next_utf8(utf8, i).code_point;
      narrow = cp != 0 && cp <= 0xFF;
    }
    if (narrow && characters >= 3) {
      std::vector<std::uint8_t> out{0xFF, 0xFE};
      out.reserve(2 + characters);
      for (std::size_t i = 0; i < utf8.size();) out.push_back(static_cast<std::uint8_t>(next_utf8(utf8, i).code_point));
      return out;
    }
  }
  return utf8_to_utf16le(utf8);
}

}  // namespace jet
