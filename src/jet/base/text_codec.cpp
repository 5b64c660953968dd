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

// Appends plain UTF-16LE text (an odd trailing byte is ignored).
void append_utf16le(std::span<const std::uint8_t> bytes, std::string& out) {
  out.reserve(out.size() + bytes.size() / 2);
  char16_t pending = 0;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto unit = static_cast<char16_t>(bytes[i] | (bytes[i + 1] << 8));
    if (unit < 0x80 && !pending) {
      out.push_back(static_cast<char>(unit));  // the common case, kept short
    } else {
      append_unit(out, unit, pending);
    }
  }
  if (pending) append_utf8(out, 0xFFFD);
}

}  // namespace

Utf8Char next_utf8(std::string_view s, std::size_t& i, Utf8Surrogates surrogates) {
  const auto b0 = static_cast<unsigned char>(s[i]);
  if (b0 < 0x80) {
    ++i;
    return {b0, true};
  }
  std::size_t extra = 0;
  char32_t cp = 0, minimum = 0;
  if ((b0 & 0xE0) == 0xC0) {
    extra = 1, cp = b0 & 0x1F, minimum = 0x80;
  } else if ((b0 & 0xF0) == 0xE0) {
    extra = 2, cp = b0 & 0x0F, minimum = 0x800;
  } else if ((b0 & 0xF8) == 0xF0) {
    extra = 3, cp = b0 & 0x07, minimum = 0x10000;
  }
  bool ok = extra != 0 && i + extra < s.size();
  for (std::size_t k = 1; ok && k <= extra; ++k) {
    const auto b = static_cast<unsigned char>(s[i + k]);
    ok = (b & 0xC0) == 0x80;
    cp = (cp << 6) | (b & 0x3F);
  }
  const bool surrogate = cp >= 0xD800 && cp <= 0xDFFF;
  if (!ok || cp < minimum || cp > 0x10FFFF || (surrogate && surrogates == Utf8Surrogates::Refuse)) {
    ++i;
    return {0xFFFD, false};
  }
  i += extra + 1;
  return {cp, true};
}

std::u32string utf8_to_utf32(std::string_view s) {
  std::u32string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size();) out.push_back(next_utf8(s, i).code_point);
  return out;
}

std::u16string utf8_to_utf16(std::string_view s, Utf8Surrogates surrogates) {
  std::u16string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size();) {
    const char32_t cp = next_utf8(s, i, surrogates).code_point;
    if (cp >= 0x10000) {
      out.push_back(static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(cp));
    }
  }
  return out;
}

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
  append_utf16le(bytes, out);
  return out;
}

std::string decode_stored_text(std::span<const std::uint8_t> bytes) {
  std::string out;
  decode_stored_text(bytes, out);
  return out;
}

void decode_stored_text(std::span<const std::uint8_t> bytes, std::string& out) {
  out.clear();
  if (bytes.size() < 2 || bytes[0] != 0xFF || bytes[1] != 0xFE) {
    append_utf16le(bytes, out);
    return;
  }
  // Any zero byte ends a run, in either mode: Jet only uses the two-byte mode for runs
  // whose units have no zero byte, so the marker is unambiguous.
  out.reserve(bytes.size());
  char16_t pending = 0;
  bool compressed = true;
  std::size_t start = 2;
  for (std::size_t i = 2; i <= bytes.size(); ++i) {
    if (i < bytes.size() && bytes[i] != 0x00) continue;
    if (compressed) {
      std::size_t k = start;
      if (pending && k < i) append_unit(out, bytes[k++], pending);
      // One byte is one unit below 0x100: never a surrogate. ASCII stretches go in whole.
      while (k < i) {
        std::size_t ascii = k;
        while (ascii < i && bytes[ascii] < 0x80) ++ascii;
        out.append(reinterpret_cast<const char*>(bytes.data() + k), ascii - k);
        if (ascii == i) break;
        const std::uint8_t b = bytes[ascii];
        out.push_back(static_cast<char>(0xC0 | (b >> 6)));
        out.push_back(static_cast<char>(0x80 | (b & 0x3F)));
        k = ascii + 1;
      }
    } else {
      for (std::size_t k = start; k + 1 < i; k += 2)
        append_unit(out, static_cast<char16_t>(bytes[k] | (bytes[k + 1] << 8)), pending);
    }
    compressed = !compressed;
    start = i + 1;
  }
  if (pending) append_utf8(out, 0xFFFD);
}

}  // namespace jet
