// Text comparison as Jet compares texts in expressions: by the database's "General" sort
// order, the order its text indexes use, so a scan and an index seek agree. Case is ignored,
// accents are not ("e" = "E", "e" <> "é", "é" sorts between "e" and "f"), trailing blanks do
// not count. Texts with characters that order has no code for, and texts equal on the
// indexed length but longer, are compared by the French dictionary order instead.
#pragma once

#include <string_view>

namespace jet::sql {

// <0, 0, >0 like strcmp.
int compare_text(std::string_view a, std::string_view b);

// UTF-8 of code points (decoding: jet::utf8_to_utf32, base/text_codec.h).
std::string encode_utf8(std::u32string_view s);

// Per-character comparison with the same rules, for LIKE and InStr.
int compare_char(char32_t a, char32_t b);

}  // namespace jet::sql
