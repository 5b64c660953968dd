#include "jet/sql/lexer.h"

#include "jet/sql/sql_error.h"
#include "jet/sql/text_util.h"

namespace jet::sql {
namespace {

bool is_name_char(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c >= 0x80;
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_space(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f'; }

// Length of a numeric literal at the start of `s`, or 0. The literal must use the whole run of
// name characters: "6443INDE" is a table name, not the number 6443 followed by a name.
std::size_t number_length(std::string_view s) {
  std::size_t i = 0;
  bool digits = false;
  while (i < s.size() && is_digit(s[i])) ++i, digits = true;
  if (i < s.size() && s[i] == '.') {
    ++i;
    while (i < s.size() && is_digit(s[i])) ++i, digits = true;
  }
  if (!digits) return 0;
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
    std::size_t j = i + 1;
    if (j < s.size() && (s[j] == '+' || s[j] == '-')) ++j;
    if (j < s.size() && is_digit(s[j])) {
      while (j < s.size() && is_digit(s[j])) ++j;
      i = j;
    }
  }
  return i;
}

}  // namespace

bool is_word(const Token& token, std::string_view word) {
  return token.kind == TokenKind::Name && iequals_ascii(token.text, word);
}

bool is_symbol(const Token& token, std::string_view symbol) {
  return token.kind == TokenKind::Symbol && token.text == symbol;
}

std::vector<Token> tokenize(std::string_view sql) {
  std::vector<Token> tokens;
  std::size_t i = 0;
  bool space = false;
  auto rest = [&](std::size_t from) { return std::string(trim_ascii(sql.substr(from))); };
  while (true) {
    while (i < sql.size() && is_space(sql[i])) ++i, space = true;
    Token token;
    token.begin = i;
    token.space_before = space;
    space = false;
    if (i >= sql.size()) {
      token.kind = TokenKind::End;
      token.end = i;
      tokens.push_back(std::move(token));
      return tokens;
    }
    char c = sql[i];
    if (c == '\'' || c == '"') {
      std::size_t j = i + 1;
      std::string value;
      bool closed = false;
      while (j < sql.size()) {
        if (sql[j] == c) {
          if (j + 1 < sql.size() && sql[j + 1] == c) {
            value += c;
            j += 2;
            continue;
          }
          closed = true;
          ++j;
          break;
        }
        value += sql[j++];
      }
      if (!closed) throw sql_error(SqlError::ExpressionStringSyntax, rest(i));
      token.kind = TokenKind::Text;
      token.text = std::move(value);
      i = j;
    } else if (c == '#') {
      std::size_t close = sql.find('#', i + 1);
      if (close == std::string_view::npos) throw sql_error(SqlError::ExpressionDateSyntax, rest(i));
      token.kind = TokenKind::Date;
      token.text = std::string(sql.substr(i + 1, close - i - 1));
      i = close + 1;
    } else if (c == '[') {
      std::size_t close = sql.find(']', i + 1);
      if (close == std::string_view::npos) throw sql_error(SqlError::ExpressionSyntax, rest(i));
      token.kind = TokenKind::Bracketed;
      token.text = std::string(sql.substr(i + 1, close - i - 1));
      i = close + 1;
    } else if (is_name_char(static_cast<unsigned char>(c)) ||
               (c == '.' && i + 1 < sql.size() && is_digit(sql[i + 1]) &&
                (token.space_before || tokens.empty() ||
                 !(tokens.back().kind == TokenKind::Name ||
                   tokens.back().kind == TokenKind::Bracketed || is_symbol(tokens.back(), ")"))))) {
      std::size_t j = i;
      while (j < sql.size() && is_name_char(static_cast<unsigned char>(sql[j]))) ++j;
      std::size_t num = number_length(sql.substr(i));
      // A number may carry a fraction and exponent sign that are not name characters.
      std::size_t after = i + num;
      bool numeric = num > 0 && (after >= sql.size() ||
                                 !is_name_char(static_cast<unsigned char>(sql[after])));
      if (numeric) {
        token.kind = TokenKind::Number;
        token.text = std::string(sql.substr(i, num));
        i = after;
      } else {
        token.kind = TokenKind::Name;
        token.text = std::string(sql.substr(i, j - i));
        i = j;
      }
    } else {
      static constexpr std::string_view two[] = {"<>", "<=", ">=", "=<", "=>"};
      token.kind = TokenKind::Symbol;
      std::string_view sym = sql.substr(i, 1);
      for (auto op : two) {
        if (sql.substr(i, 2) == op) sym = op;
      }
      if (sym == "=<") token.text = "<=";
      else if (sym == "=>") token.text = ">=";
      else token.text = std::string(sym);
      i += sym.size();
      static constexpr std::string_view known = "(),.;*+-/\\^&=<>!?:";
      if (sym.size() == 1 && known.find(sym[0]) == std::string_view::npos) {
        throw sql_error(SqlError::ExpressionSyntax, rest(token.begin));
      }
    }
    token.end = i;
    tokens.push_back(std::move(token));
  }
}

}  // namespace jet::sql
