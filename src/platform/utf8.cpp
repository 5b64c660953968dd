#include "platform/utf8.h"

#include "jet/api/values.h"

namespace platform::utf8 {

char32_t next(std::string_view s, std::size_t& i) { return jet::next_utf8(s, i).code_point; }

void append(std::string& out, char32_t cp) { jet::append_utf8(out, cp); }

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
