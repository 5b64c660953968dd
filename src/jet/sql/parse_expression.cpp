// Expressions, by Jet's operator precedence (lowest first): Imp, Eqv, Xor, Or, And, Not,
// comparisons (= <> < > <= >= Like Is Between In), &, + -, Mod, \, * /, unary -, ^.
#include <algorithm>

#include "jet/sql/datetime.h"
#include "jet/sql/parser_impl.h"
#include "jet/sql/text_util.h"

namespace jet::sql::detail {

namespace {

constexpr std::string_view kReserved[] = {
    "ALL",    "ALTER",  "AND",    "AS",      "ASC",   "BETWEEN", "BY",     "CONSTRAINT",
    "CREATE", "DELETE", "DESC",   "DISTINCT", "DISTINCTROW", "DROP", "EQV", "FROM",
    "GROUP",  "HAVING", "IMP",    "IN",      "INNER", "INSERT",  "INTO",   "IS",
    "JOIN",   "LEFT",   "LIKE",   "MOD",     "NOT",   "NULL",    "ON",     "OR",
    "ORDER",  "OUTER",  "PARAMETERS", "RIGHT", "SELECT", "SET",  "TOP",    "UNION",
    "UPDATE", "VALUES", "WHERE",  "XOR",     "TRUE",  "FALSE",
};

// Words that end the expression of a clause, for quoting it in 3075.
constexpr std::string_view kClauseWords[] = {
    "FROM", "WHERE", "GROUP", "HAVING", "ORDER", "SET", "ON", "INNER", "LEFT",
    "RIGHT", "JOIN", "UNION", "AS", "VALUES", "SELECT",
};

[[noreturn]] void expression_failure(SqlError code = SqlError::ExpressionSyntax) {
  throw ExpressionFailure{code};
}

}  // namespace

bool is_reserved(std::string_view word) {
  return std::any_of(std::begin(kReserved), std::end(kReserved),
                     [&](std::string_view r) { return iequals_ascii(r, word); });
}

Parser::Parser(std::string_view sql) : sql_(sql), tokens_(tokenize(sql)) {}

const Token& Parser::peek(std::size_t ahead) const {
  return tokens_[std::min(pos_ + ahead, tokens_.size() - 1)];
}
const Token& Parser::next() {
  const Token& t = tokens_[pos_];
  if (pos_ + 1 < tokens_.size()) ++pos_;
  return t;
}
bool Parser::at_word(std::string_view w, std::size_t ahead) const { return is_word(peek(ahead), w); }
bool Parser::at_symbol(std::string_view s, std::size_t ahead) const {
  return is_symbol(peek(ahead), s);
}
bool Parser::accept_word(std::string_view w) {
  if (!at_word(w)) return false;
  next();
  return true;
}
bool Parser::accept_symbol(std::string_view s) {
  if (!at_symbol(s)) return false;
  next();
  return true;
}
bool Parser::at_end() const { return peek().kind == TokenKind::End || at_symbol(";"); }

void Parser::fail(SqlError code, std::string_view argument) const {
  throw sql_error(code, argument);
}
void Parser::expect_word(std::string_view w, SqlError code) {
  if (!accept_word(w)) fail(code);
}
void Parser::expect_symbol(std::string_view s, SqlError code) {
  if (!accept_symbol(s)) fail(code);
}
bool Parser::at_name() const {
  const Token& t = peek();
  return t.kind == TokenKind::Bracketed || (t.kind == TokenKind::Name && !is_reserved(t.text));
}
std::string Parser::name(SqlError code) {
  if (!at_name()) fail(code);
  return next().text;
}

std::string Parser::clause_text(std::size_t start) const {
  int depth = 0;
  std::size_t i = start;
  for (; i < tokens_.size(); ++i) {
    const Token& t = tokens_[i];
    if (t.kind == TokenKind::End) break;
    if (t.kind == TokenKind::Symbol) {
      if (t.text == "(") ++depth;
      else if (t.text == ")" && --depth < 0) break;
      else if (depth == 0 && (t.text == ";" || t.text == ",")) break;
    } else if (depth == 0 && i > start && t.kind == TokenKind::Name &&
               !(i + 1 < tokens_.size() && is_symbol(tokens_[i + 1], "(")) &&
               std::any_of(std::begin(kClauseWords), std::end(kClauseWords),
                           [&](std::string_view w) { return iequals_ascii(w, t.text); })) {
      break;
    }
  }
  if (i == start) return {};
  std::size_t from = tokens_[start].begin;
  std::size_t to = tokens_[i - 1].end;
  return std::string(sql_.substr(from, to - from));
}

ExprPtr Parser::clause_expression(std::initializer_list<std::string_view> followers) {
  std::size_t start = pos_;
  try {
    ExprPtr e = expr();
    bool follows = at_end();
    for (std::string_view f : followers) {
      if (at_word(f) || at_symbol(f)) follows = true;
    }
    if (!follows) expression_failure();
    return e;
  } catch (const ExpressionFailure& failure) {
    throw sql_error(failure.code, clause_text(start));
  }
}

ExprPtr Parser::expr() { return imp(); }

namespace {
// One left-associative level whose operator is a keyword.
template <class Next>
ExprPtr word_level(Next next_level, auto&& accept, BinaryOp op) {
  ExprPtr left = next_level();
  while (accept()) left = make_binary(op, std::move(left), next_level());
  return left;
}
}  // namespace

ExprPtr Parser::imp() {
  return word_level([&] { return eqv(); }, [&] { return accept_word("IMP"); }, BinaryOp::Imp);
}
ExprPtr Parser::eqv() {
  return word_level([&] { return xor_(); }, [&] { return accept_word("EQV"); }, BinaryOp::Eqv);
}
ExprPtr Parser::xor_() {
  return word_level([&] { return or_(); }, [&] { return accept_word("XOR"); }, BinaryOp::Xor);
}
ExprPtr Parser::or_() {
  return word_level([&] { return and_(); }, [&] { return accept_word("OR"); }, BinaryOp::Or);
}
ExprPtr Parser::and_() {
  return word_level([&] { return not_(); }, [&] { return accept_word("AND"); }, BinaryOp::And);
}

ExprPtr Parser::not_() {
  if (accept_word("NOT")) return make_unary(UnaryOp::Not, not_());
  return comparison();
}

ExprPtr Parser::comparison() {
  ExprPtr left = concat();
  while (true) {
    static constexpr std::pair<std::string_view, BinaryOp> ops[] = {
        {"=", BinaryOp::Equal},      {"<>", BinaryOp::NotEqual},   {"<", BinaryOp::Less},
        {"<=", BinaryOp::LessEqual}, {">", BinaryOp::Greater},     {">=", BinaryOp::GreaterEqual},
    };
    bool matched = false;
    for (auto [symbol, op] : ops) {
      if (accept_symbol(symbol)) {
        left = make_binary(op, std::move(left), concat());
        matched = true;
        break;
      }
    }
    if (matched) continue;
    bool negated = false;
    if (at_word("NOT") && (at_word("LIKE", 1) || at_word("IN", 1) || at_word("BETWEEN", 1))) {
      next();
      negated = true;
    }
    if (accept_word("LIKE")) {
      ExprPtr pattern = concat();
      left = std::make_unique<Expr>(Expr{Like{negated, std::move(left), std::move(pattern)}});
    } else if (accept_word("IN")) {
      if (!accept_symbol("(")) expression_failure();
      std::vector<ExprPtr> items;
      if (at_word("SELECT")) {
        items.push_back(subquery(false));
      } else if (!at_symbol(")")) {
        do items.push_back(expr());
        while (accept_symbol(","));
      }
      if (!accept_symbol(")")) expression_failure();
      if (items.empty()) expression_failure();
      left = std::make_unique<Expr>(Expr{InList{negated, std::move(left), std::move(items)}});
    } else if (accept_word("BETWEEN")) {
      ExprPtr low = concat();
      if (!accept_word("AND")) expression_failure();
      ExprPtr high = concat();
      left = std::make_unique<Expr>(
          Expr{Between{negated, std::move(left), std::move(low), std::move(high)}});
    } else if (accept_word("IS")) {
      bool is_not = accept_word("NOT");
      if (!accept_word("NULL")) expression_failure();
      left = std::make_unique<Expr>(Expr{IsNull{is_not, std::move(left)}});
    } else {
      return left;
    }
  }
}

ExprPtr Parser::concat() {
  ExprPtr left = additive();
  while (accept_symbol("&")) left = make_binary(BinaryOp::Concat, std::move(left), additive());
  return left;
}

ExprPtr Parser::additive() {
  ExprPtr left = modulo();
  while (true) {
    if (accept_symbol("+")) left = make_binary(BinaryOp::Add, std::move(left), modulo());
    else if (accept_symbol("-")) left = make_binary(BinaryOp::Subtract, std::move(left), modulo());
    else return left;
  }
}

ExprPtr Parser::modulo() {
  ExprPtr left = int_divide();
  while (accept_word("MOD")) left = make_binary(BinaryOp::Modulo, std::move(left), int_divide());
  return left;
}

ExprPtr Parser::int_divide() {
  ExprPtr left = multiplicative();
  while (accept_symbol("\\")) {
    left = make_binary(BinaryOp::IntDivide, std::move(left), multiplicative());
  }
  return left;
}

ExprPtr Parser::multiplicative() {
  ExprPtr left = unary();
  while (true) {
    if (accept_symbol("*")) left = make_binary(BinaryOp::Multiply, std::move(left), unary());
    else if (accept_symbol("/")) left = make_binary(BinaryOp::Divide, std::move(left), unary());
    else return left;
  }
}

ExprPtr Parser::unary() {
  if (accept_symbol("-")) return make_unary(UnaryOp::Negate, unary());
  if (accept_symbol("+")) return make_unary(UnaryOp::Plus, unary());
  return power();
}

ExprPtr Parser::power() {
  ExprPtr left = primary();
  while (accept_symbol("^")) {
    // VB accepts a sign on the exponent: 2 ^ -1.
    ExprPtr right;
    if (accept_symbol("-")) right = make_unary(UnaryOp::Negate, primary());
    else if (accept_symbol("+")) right = make_unary(UnaryOp::Plus, primary());
    else right = primary();
    left = make_binary(BinaryOp::Power, std::move(left), std::move(right));
  }
  return left;
}

ExprPtr Parser::primary() {
  const Token& t = peek();
  switch (t.kind) {
    case TokenKind::Number: return make_literal(LiteralKind::Number, next().text);
    case TokenKind::Text: return make_literal(LiteralKind::Text, next().text);
    case TokenKind::Date:
      if (!parse_date_literal(t.text)) expression_failure(SqlError::ExpressionDateSyntax);
      return make_literal(LiteralKind::Date, next().text);
    case TokenKind::Bracketed: return name_or_call();
    case TokenKind::Name:
      if (accept_word("NULL")) return make_literal(LiteralKind::Null);
      if (accept_word("TRUE")) return make_literal(LiteralKind::True);
      if (accept_word("FALSE")) return make_literal(LiteralKind::False);
      if (at_word("EXISTS") && at_symbol("(", 1) && at_word("SELECT", 2)) {
        next();
        next();
        ExprPtr sub = subquery(true);
        if (!accept_symbol(")")) expression_failure();
        return sub;
      }
      // Left, Right and Asc are also keywords; before '(' they are the functions.
      if (is_reserved(t.text) &&
          !((iequals_ascii(t.text, "LEFT") || iequals_ascii(t.text, "RIGHT") ||
             iequals_ascii(t.text, "ASC")) &&
            at_symbol("(", 1))) {
        expression_failure();
      }
      return name_or_call();
    case TokenKind::Symbol:
      if (at_symbol("(") && at_word("SELECT", 1)) {
        next();
        ExprPtr sub = subquery(false);
        if (!accept_symbol(")")) expression_failure();
        return sub;
      }
      if (accept_symbol("(")) {
        ExprPtr inner = expr();
        if (!accept_symbol(")")) expression_failure();
        return inner;
      }
      if (at_symbol("*")) {
        next();
        return std::make_unique<Expr>(Expr{ColumnRef{{}, {}, true}});
      }
      if (at_symbol(",")) expression_failure(SqlError::ExpressionCommaSyntax);
      expression_failure();
    case TokenKind::End: expression_failure();
  }
  expression_failure();
}

// At SELECT inside parentheses; the caller takes the closing parenthesis.
ExprPtr Parser::subquery(bool exists) {
  next();  // SELECT
  auto select_tree = std::make_shared<const Select>(select());
  return std::make_unique<Expr>(Expr{Subquery{std::move(select_tree), exists}});
}

ExprPtr Parser::name_or_call() {
  bool bracketed = peek().kind == TokenKind::Bracketed;
  std::string first = next().text;
  if (!bracketed && at_symbol("(")) {
    next();
    std::vector<ExprPtr> args;
    if (!at_symbol(")")) {
      do args.push_back(expr());
      while (accept_symbol(","));
    }
    if (!accept_symbol(")")) expression_failure();
    return make_call(std::move(first), std::move(args));
  }
  if (at_symbol(".") || at_symbol("!")) {
    next();
    if (accept_symbol("*")) return std::make_unique<Expr>(Expr{ColumnRef{first, {}, true}});
    const Token& second = peek();
    if (second.kind != TokenKind::Bracketed && second.kind != TokenKind::Name) {
      expression_failure();
    }
    std::string name = next().text;
    // Forms!frmParam!txtCode: every part but the last is kept as the qualifier, joined by '!'.
    while ((at_symbol("!") || at_symbol(".")) &&
           (peek(1).kind == TokenKind::Name || peek(1).kind == TokenKind::Bracketed)) {
      next();
      first += "!" + name;
      name = next().text;
    }
    return make_column(std::move(first), std::move(name));
  }
  return make_column({}, std::move(first));
}

}  // namespace jet::sql::detail
