#include "jet/base/text_codec.h"

namespace jet {
namespace {


// Appends UTF-16 code units, pairing surrogates; `pending` carries a high surrogate across
// calls (runs of the compressed form may split a pair).
void append_unit(std::string& out, char16_t unit, char16_t& pending) {
  if (pending) {
    if (unit >= 0xDC00 && unit <= 0xDFFF) {
      append_utf8(out, 0x10000 + ((static_cast<char32_t>(pending) - 0xD800) << 10) + (unit - 0xDC00));
      pending = 0;
      return;
    }
    append_utf8(out, 0xFFFD);
    pending = 0;
  }
  if (unit >= 0xD800 && unit <= 0xDBFF) { pending = unit; return; }
  if (unit >= 0xDC00 && unit <= 0xDFFF) { append_utf8(out, 0xFFFD); return; }
  append_utf8(out, unit);
}

}  // namespace

void append_utf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

std::string utf16le_to_utf8(std::span<const std::uint8_t> bytes) {
  std::string out;
  out.reserve(bytes.size() / 2);
  char16_t pending = 0;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
    append_unit(out, static_cast<char16_t>(bytes[i] | (bytes[i + 1] << 8)), pending);
  if (pending) append_utf8(out, 0xFFFD);
  return out;
}

std::string decode_stored_text(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < 2 || bytes[0] != 0xFF || bytes[1] != 0xFE) return utf16le_to_utf8(bytes);
  // Any zero byte ends a run, in either mode: Jet only uses the two-byte mode for runs
  // whose units have no zero byte, so the marker is unambiguous.
  std::string out;
  out.reserve(bytes.size());
  char16_t pending = 0;
  bool compressed = true;
  std::size_t start = 2;
  for (std::size_t i = 2; i <= bytes.size(); ++i) {
    if (i < bytes.size() && bytes[i] != 0x00) continue;
    if (compressed) {
      for (std::size_t k = start; k < i; ++k) append_unit(out, bytes[k], pending);
    } else {
      for (std::size_t k = start; k + 1 < i; k += 2)
        append_unit(out, static_cast<char16_t>(bytes[k] | (bytes[k + 1] << 8)), pending);
    }
    compressed = !compressed;
    start = i + 1;
  }
  if (pending) append_utf8(out, 0xFFFD);
  return out;
}

}  // namespace jet
