#include "jet/sql/text_compare.h"
#include "jet/base/text_codec.h"

#include "jet/base/error.h"
#include "jet/base/text_sort.h"
#include "jet/base/unicode.h"

namespace jet::sql {

std::string encode_utf8(std::u32string_view s) {
  std::string out;
  for (char32_t c : s) append_utf8(out, c);
  return out;
}

namespace {

int compare_dictionary(std::string_view a, std::string_view b) { return unicode::collate_ignoring_case(a, b); }

// UTF-16 length, the unit the index key is cut at.
std::size_t utf16_length(std::string_view s) {
  std::size_t n = 0;
  for (char32_t c : utf8_to_utf32(s)) n += c > 0xFFFF ? 2 : 1;
  return n;
}

}  // namespace

int compare_text(std::string_view a, std::string_view b) {
  try {
    std::vector<std::uint8_t> ka = jet::general_text_key(a), kb = jet::general_text_key(b);
    if (ka != kb) return ka < kb ? -1 : 1;
    if (utf16_length(a) <= jet::kMaxIndexedTextUnits && utf16_length(b) <= jet::kMaxIndexedTextUnits) {
      return 0;
    }
  } catch (const jet::Error&) {
    // A character without a key in the General order: fall back to dictionary order.
  }
  return compare_dictionary(a, b);
}

int compare_char(char32_t a, char32_t b) {
  if (a == b) return 0;
  if (unicode::fold_case(a) == unicode::fold_case(b)) return 0;
  std::u32string sa(1, a), sb(1, b);
  return compare_text(encode_utf8(sa), encode_utf8(sb));
}

}  // namespace jet::sql
