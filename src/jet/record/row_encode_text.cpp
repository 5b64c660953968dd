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
  for (const char16_t unit : utf8_to_utf16(utf8)) put_unit(out, unit);
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
