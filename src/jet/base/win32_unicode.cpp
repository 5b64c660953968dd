// Unicode services through the Windows National Language Support functions (Windows builds,
// where ICU is not available). Case mapping is the system's invariant one, the collation the
// French (France) one, code pages the system's converters: what the original program met.
#include <windows.h>

#include <string>

#include "jet/base/text_codec.h"
#include "jet/base/unicode.h"

namespace jet::unicode {
namespace {

std::wstring to_wide(std::string_view utf8) {
  if (utf8.empty()) return {};
  const int n = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
  std::wstring out(static_cast<std::size_t>(n), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), out.data(), n);
  return out;
}

std::string to_utf8(std::wstring_view wide) {
  if (wide.empty()) return {};
  const int n = ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), nullptr, 0,
                                      nullptr, nullptr);
  std::string out(static_cast<std::size_t>(n), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), out.data(), n, nullptr, nullptr);
  return out;
}

// Maps one character of the Basic Multilingual Plane; the others are returned unchanged.
char32_t map_one(char32_t c, DWORD flags) {
  if (c > 0xFFFF || (c >= 0xD800 && c <= 0xDFFF)) return c;
  wchar_t in = static_cast<wchar_t>(c), out[4] = {};
  const int n = ::LCMapStringEx(LOCALE_NAME_INVARIANT, flags, &in, 1, out, 4, nullptr, nullptr, 0);
  return n == 1 ? static_cast<char32_t>(out[0]) : c;
}

}  // namespace

char32_t to_upper(char32_t c) { return map_one(c, LCMAP_UPPERCASE); }
char32_t to_lower(char32_t c) { return map_one(c, LCMAP_LOWERCASE); }
char32_t fold_case(char32_t c) { return to_lower(to_upper(c)); }

bool is_letter_or_digit(char32_t c) {
  if (c > 0xFFFF) return false;
  const wchar_t w = static_cast<wchar_t>(c);
  WORD type = 0;
  if (!::GetStringTypeW(CT_CTYPE1, &w, 1, &type)) return false;
  return (type & (C1_ALPHA | C1_DIGIT)) != 0;
}

std::string fold_text(std::string_view utf8) {
  std::wstring wide = to_wide(utf8);
  if (wide.empty()) return {};
  // Upper then lower case, as a case-blind key (the system has no full case folding).
  for (DWORD flags : {static_cast<DWORD>(LCMAP_UPPERCASE), static_cast<DWORD>(LCMAP_LOWERCASE)}) {
    const int n = ::LCMapStringEx(LOCALE_NAME_INVARIANT, flags, wide.data(), static_cast<int>(wide.size()), nullptr,
                                  0, nullptr, nullptr, 0);
    std::wstring mapped(static_cast<std::size_t>(n), L'\0');
    ::LCMapStringEx(LOCALE_NAME_INVARIANT, flags, wide.data(), static_cast<int>(wide.size()), mapped.data(), n,
                    nullptr, nullptr, 0);
    wide = std::move(mapped);
  }
  return to_utf8(wide);
}

int collate_ignoring_case(std::string_view a, std::string_view b) {
  const std::wstring wa = to_wide(a), wb = to_wide(b);
  const int r = ::CompareStringEx(L"fr-FR", NORM_IGNORECASE, wa.data(), static_cast<int>(wa.size()), wb.data(),
                                  static_cast<int>(wb.size()), nullptr, nullptr, 0);
  return r == CSTR_LESS_THAN ? -1 : r == CSTR_GREATER_THAN ? 1 : 0;
}

std::string decode_code_page(std::span<const std::uint8_t> bytes, std::uint16_t code_page) {
  if (bytes.empty()) return {};
  const char* data = reinterpret_cast<const char*>(bytes.data());
  UINT page = code_page;
  int n = ::MultiByteToWideChar(page, 0, data, static_cast<int>(bytes.size()), nullptr, 0);
  if (n == 0) {
    page = 1252;  // a code page this system does not know
    n = ::MultiByteToWideChar(page, 0, data, static_cast<int>(bytes.size()), nullptr, 0);
  }
  std::wstring wide(static_cast<std::size_t>(n), L'\0');
  ::MultiByteToWideChar(page, 0, data, static_cast<int>(bytes.size()), wide.data(), n);
  return to_utf8(wide);
}

}  // namespace jet::unicode
