#include "platform/vbstring.h"

#include "jet/api/values.h"
#include "platform/error.h"
#include "platform/utf8.h"

namespace platform {
namespace {

std::u32string upper(std::u32string text) {
  for (char32_t& c : text) c = jet::unicode::to_upper(c);
  return text;
}

std::u32string lower(std::u32string text) {
  for (char32_t& c : text) c = jet::unicode::to_lower(c);
  return text;
}

// First position >= from where `find` occurs in `text`, npos when absent.
std::size_t findFrom(const std::u32string& text, const std::u32string& find, std::size_t from,
                     CompareMethod compare) {
  if (compare == CompareMethod::Binary) return text.find(find, from);
  return upper(text).find(upper(find), from);
}

// UTF-16 code units of a text, each upper-cased alone as the NTFS upcase table does.
std::u16string ntfsKey(std::string_view name) {
  std::u16string key;
  key.reserve(name.size());
  for (char32_t cp : utf8::decode(name)) {
    if (cp >= 0x10000) {
      key += static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10));
      key += static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF));
    } else {
      const auto up = jet::unicode::to_upper(cp);
      key += static_cast<char16_t>(up < 0x10000 ? up : cp);
    }
  }
  return key;
}

bool isAscii(std::string_view text) {
  for (char c : text)
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  return true;
}

char asciiUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

}  // namespace

std::string UCase(std::string_view text) { return utf8::encode(upper(utf8::decode(text))); }
std::string LCase(std::string_view text) { return utf8::encode(lower(utf8::decode(text))); }

std::size_t Len(std::string_view text) { return utf8::decode(text).size(); }

std::string Left(std::string_view text, std::size_t length) {
  const std::u32string cps = utf8::decode(text);
  return utf8::encode(std::u32string_view(cps).substr(0, length));
}

std::string Right(std::string_view text, std::size_t length) {
  const std::u32string cps = utf8::decode(text);
  if (length >= cps.size()) return utf8::encode(cps);
  return utf8::encode(std::u32string_view(cps).substr(cps.size() - length));
}

std::string Mid(std::string_view text, std::size_t start) { return Mid(text, start, std::u32string::npos); }

std::string Mid(std::string_view text, std::size_t start, std::size_t length) {
  if (start < 1) throw Error(ErrorCode::InvalidProcedureCall);
  const std::u32string cps = utf8::decode(text);
  if (start > cps.size()) return {};
  return utf8::encode(std::u32string_view(cps).substr(start - 1, length));
}

std::string LTrim(std::string_view text) {
  const auto first = text.find_first_not_of(' ');
  return first == std::string_view::npos ? std::string() : std::string(text.substr(first));
}

std::string RTrim(std::string_view text) {
  const auto last = text.find_last_not_of(' ');
  return last == std::string_view::npos ? std::string() : std::string(text.substr(0, last + 1));
}

std::string Trim(std::string_view text) { return LTrim(RTrim(text)); }

std::string Replace(std::string_view expression, std::string_view find, std::string_view replacement,
                    CompareMethod compare) {
  if (find.empty()) return std::string(expression);
  const std::u32string text = utf8::decode(expression);
  const std::u32string what = utf8::decode(find);
  const std::u32string with = utf8::decode(replacement);
  std::u32string out;
  std::size_t from = 0;
  for (std::size_t at; (at = findFrom(text, what, from, compare)) != std::u32string::npos; from = at + what.size()) {
    out.append(text, from, at - from);
    out += with;
  }
  out.append(text, from);
  return utf8::encode(out);
}

std::size_t InStr(std::size_t start, std::string_view text, std::string_view find, CompareMethod compare) {
  if (start < 1) throw Error(ErrorCode::InvalidProcedureCall);
  const std::u32string hay = utf8::decode(text);
  if (hay.empty()) return 0;
  if (find.empty()) return start;
  if (start > hay.size()) return 0;
  const std::size_t at = findFrom(hay, utf8::decode(find), start - 1, compare);
  return at == std::u32string::npos ? 0 : at + 1;
}

// Plain ASCII upper-cases alone; any other byte takes the full Unicode path, since some
// non-ASCII letters upper-case into ASCII (dotless i into I, long s into S).
bool EqualsNoCase(std::string_view a, std::string_view b) {
  if (isAscii(a) && isAscii(b)) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
      if (asciiUpper(a[i]) != asciiUpper(b[i])) return false;
    return true;
  }
  return upper(utf8::decode(a)) == upper(utf8::decode(b));
}

std::string FoldCase(std::string_view text) {
  std::string out;
  FoldCase(text, out);
  return out;
}

void FoldCase(std::string_view text, std::string& out) {
  if (!isAscii(text)) {
    out = utf8::encode(upper(utf8::decode(text)));
    return;
  }
  out.assign(text);
  for (char& c : out) c = asciiUpper(c);
}

int CompareNtfsOrder(std::string_view a, std::string_view b) {
  const std::u16string ka = ntfsKey(a), kb = ntfsKey(b);
  const int c = ka.compare(kb);  // char16_t compares as unsigned code units
  return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

}  // namespace platform
