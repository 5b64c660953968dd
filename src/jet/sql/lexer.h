// Splits Jet SQL text into tokens. Keywords are not told apart from names here: the parser
// decides by context, since Jet lets many keywords (Date, Year, Text...) also name things.
// Offsets are byte positions in the UTF-8 input, so errors can quote the text around them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace jet::sql {

enum class TokenKind {
  Name,        // plain identifier (letters, digits, '_', non-ASCII) — may be a keyword
  Bracketed,   // [any text] — always a name, never a keyword
  Number,      // 12, 1.5, .5, 1E3
  Text,        // '...' or "..." with the doubled quote already undone
  Date,        // #...# without the hashes
  Symbol,      // ( ) , . ; * + - / \ ^ & = <> < > <= >= ! ?
  End,
};

struct Token {
  TokenKind kind = TokenKind::End;
  std::string text;        // name, bracket content, number or text value, date body, symbol
  std::size_t begin = 0;   // offset of the first character (quotes and brackets included)
  std::size_t end = 0;     // offset just past the token
  bool space_before = false;
};

// Tokenizes `sql`. An unterminated text, date or bracket, or a character Jet SQL does not
// use, throws the matching 3075 error quoting the rest of the statement from that point.
std::vector<Token> tokenize(std::string_view sql);

// True when `token` is the plain name `word`, compared without regard to ASCII case.
bool is_word(const Token& token, std::string_view word);
bool is_symbol(const Token& token, std::string_view symbol);

}  // namespace jet::sql
