#include "platform/codepage.h"

#include <array>
#include <cstdint>

#include "jet/api/values.h"
#include "platform/utf8.h"

namespace platform {
namespace {

// Code points of bytes 0x80..0x9F; the rest of the code page is ISO-8859-1.
constexpr std::array<char32_t, 32> kHigh{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

}  // namespace

std::string Utf8ToCp1252(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size());
  for (std::size_t i = 0; i < utf8.size();) {
    const char32_t cp = utf8::next(utf8, i);
    if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) {
      out += static_cast<char>(cp);
      continue;
    }
    char mapped = '?';
    for (std::size_t k = 0; k < kHigh.size(); ++k) {
      if (kHigh[k] == cp) {
        mapped = static_cast<char>(0x80 + k);
        break;
      }
    }
    out += mapped;
  }
  return out;
}

std::string Cp1252ToUtf8(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size() + bytes.size() / 4);
  for (char c : bytes) {
    const auto b = static_cast<unsigned char>(c);
    if (b >= 0x80 && b < 0xA0) utf8::append(out, kHigh[b - 0x80]);
    else utf8::append(out, b);
  }
  return out;
}

std::string Utf16LeToUtf8(std::string_view bytes) {
  return jet::utf16le_to_utf8({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

std::string Utf8ToUtf16Le(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size() * 2);
  auto put = [&](char32_t u) {
    out += static_cast<char>(u & 0xFF);
    out += static_cast<char>((u >> 8) & 0xFF);
  };
  for (std::size_t i = 0; i < utf8.size();) {
    const char32_t cp = utf8::next(utf8, i);
    if (cp >= 0x10000) {
      put(0xD800 + ((cp - 0x10000) >> 10));
      put(0xDC00 + ((cp - 0x10000) & 0x3FF));
    } else {
      put(cp);
    }
  }
  return out;
}

}  // namespace platform
