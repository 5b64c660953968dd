// Data-manipulation statements and their table sources.
#include "jet/sql/parser.h"
#include "jet/sql/parser_impl.h"
#include "jet/sql/text_util.h"

namespace jet::sql {

namespace detail {

Statement Parser::statement() {
  Statement st;
  if (at_word("PARAMETERS")) st.parameters = parameters();
  if (accept_word("SELECT")) {
    st.body = select();
    finish(SqlError::SelectSyntax);
  } else if (accept_word("UPDATE")) {
    st.body = update();
    finish(SqlError::UpdateSyntax);
  } else if (accept_word("INSERT")) {
    st.body = insert();
    finish(SqlError::InsertSyntax);
  } else if (accept_word("DELETE")) {
    st.body = delete_();
    finish(SqlError::FromClauseSyntax);
  } else if (accept_word("CREATE")) {
    if (accept_word("TABLE")) {
      st.body = create_table();
      finish(SqlError::CreateTableSyntax);
    } else {
      bool unique = accept_word("UNIQUE");
      if (!accept_word("INDEX")) fail(SqlError::InvalidStatement);
      st.body = create_index(unique);
      finish(SqlError::CreateIndexSyntax);
    }
  } else if (accept_word("ALTER")) {
    expect_word("TABLE", SqlError::AlterTableSyntax);
    st.body = alter_table();
    finish(SqlError::AlterTableSyntax);
  } else if (accept_word("DROP")) {
    if (accept_word("TABLE")) {
      st.body = DropTable{name(SqlError::DropSyntax)};
    } else if (accept_word("INDEX")) {
      DropIndex d;
      d.name = name(SqlError::DropSyntax);
      expect_word("ON", SqlError::DropSyntax);
      d.table = name(SqlError::DropSyntax);
      st.body = std::move(d);
    } else {
      fail(SqlError::DropSyntax);
    }
    finish(SqlError::DropSyntax);
  } else {
    fail(SqlError::InvalidStatement);
  }
  return st;
}

ExprPtr Parser::lone_expression() {
  ExprPtr e = clause_expression({});
  if (peek().kind != TokenKind::End) fail(SqlError::ExpressionSyntax, std::string(sql_));
  return e;
}

// After the statement: an optional ';' and nothing else.
void Parser::finish(SqlError code) {
  if (accept_symbol(";")) {
    if (peek().kind != TokenKind::End) fail(SqlError::CharactersAfterEnd);
    return;
  }
  if (peek().kind != TokenKind::End) fail(code);
}

Select Parser::select() {
  Select s;
  if (accept_word("DISTINCT")) s.distinct = Distinctness::Distinct;
  else if (accept_word("DISTINCTROW")) s.distinct = Distinctness::DistinctRow;
  else accept_word("ALL");
  if (accept_word("TOP")) {
    if (peek().kind != TokenKind::Number) fail(SqlError::SelectSyntax);
    s.top = next().text;
    s.top_percent = accept_word("PERCENT");
  }
  select_items(s);
  if (accept_word("INTO")) s.into = named_table(SqlError::SelectSyntax, false);
  if (accept_word("FROM")) {
    s.from = table_list(SqlError::FromClauseSyntax);
    // Whatever follows the sources must start a clause: anything else is still FROM clause.
    if (!(at_end() || at_word("WHERE") || at_word("GROUP") || at_word("HAVING") ||
          at_word("ORDER") || at_word("UNION") || at_symbol(")"))) {
      fail(SqlError::FromClauseSyntax);
    }
  } else if (!(at_end() || at_symbol(")") || at_word("UNION") || at_word("ORDER"))) {
    // Without FROM (a select of constants) nothing else may follow.
    fail(SqlError::SelectSyntax);
  }
  if (accept_word("WHERE")) s.where = clause_expression({"GROUP", "HAVING", "ORDER", "UNION", ")"});
  if (at_word("GROUP")) {
    next();
    expect_word("BY", SqlError::SelectSyntax);
    do s.group_by.push_back(clause_expression({",", "HAVING", "ORDER", "UNION", ")"}));
    while (accept_symbol(","));
  }
  if (accept_word("HAVING")) s.having = clause_expression({"ORDER", "UNION", ")"});
  if (accept_word("UNION")) {
    s.union_all = accept_word("ALL");
    expect_word("SELECT", SqlError::SelectSyntax);
    s.union_next = std::make_shared<const Select>(select());
    return s;
  }
  if (at_word("ORDER")) {
    next();
    expect_word("BY", SqlError::OrderByClauseSyntax);
    do {
      OrderItem item;
      item.expr = clause_expression({",", "ASC", "DESC", ")"});
      if (accept_word("DESC")) item.descending = true;
      else accept_word("ASC");
      s.order_by.push_back(std::move(item));
    } while (accept_symbol(","));
    if (!at_end() && !at_symbol(")")) fail(SqlError::OrderByClauseSyntax);
  }
  return s;
}

void Parser::select_items(Select& s) {
  do {
    SelectItem item;
    if (at_word("FROM") || at_end()) fail(SqlError::SelectSyntax);
    item.expr = clause_expression({",", "AS", "FROM", "INTO", "UNION", "ORDER", ")"});
    if (accept_word("AS")) item.alias = name(SqlError::SelectSyntax);
    s.items.push_back(std::move(item));
  } while (accept_symbol(","));
}

std::vector<TableRefPtr> Parser::table_list(SqlError code) {
  std::vector<TableRefPtr> list;
  do list.push_back(table_source(code));
  while (accept_symbol(","));
  return list;
}

// A table term followed by any number of joins: a INNER JOIN b ON ... LEFT JOIN c ON ...
TableRefPtr Parser::table_source(SqlError code) {
  TableRefPtr left = table_term(code);
  while (true) {
    JoinKind kind;
    if (accept_word("INNER")) kind = JoinKind::Inner;
    else if (accept_word("LEFT")) kind = JoinKind::Left, accept_word("OUTER");
    else if (accept_word("RIGHT")) kind = JoinKind::Right, accept_word("OUTER");
    else return left;
    expect_word("JOIN", code);
    TableRefPtr right = table_term(code);
    expect_word("ON", code);
    ExprPtr on = clause_expression({"INNER", "LEFT", "RIGHT", ")", "WHERE", "SET", ",", "ORDER",
                                    "GROUP", "HAVING"});
    auto join = std::make_unique<TableRef>();
    join->node = Join{kind, std::move(left), std::move(right), std::move(on)};
    left = std::move(join);
  }
}

TableRefPtr Parser::table_term(SqlError code) {
  if (accept_symbol("(")) {
    TableRefPtr inner = table_source(code);
    expect_symbol(")", code);
    return inner;
  }
  auto ref = std::make_unique<TableRef>();
  ref->node = named_table(code, true);
  return ref;
}

NamedTable Parser::named_table(SqlError code, bool allow_alias) {
  NamedTable t;
  const Token& first = peek();
  if (first.kind == TokenKind::Bracketed && !first.text.empty() && first.text.front() == ';' &&
      at_symbol(".", 1)) {
    t.connect = next().text;  // [;database=PATH]
    next();
  }
  if (!at_name()) fail(code);
  t.name = next().text;
  if (accept_word("IN")) {
    if (peek().kind != TokenKind::Text) fail(code);
    t.in_database = next().text;
  }
  if (allow_alias) {
    if (accept_word("AS")) t.alias = name(code);
    else if (at_name()) t.alias = next().text;
  }
  return t;
}

Update Parser::update() {
  Update u;
  u.target = table_source(SqlError::UpdateSyntax);
  expect_word("SET", SqlError::UpdateSyntax);
  do {
    Assignment a;
    if (!at_name()) fail(SqlError::UpdateSyntax);
    a.column.name = next().text;
    if (accept_symbol(".") || accept_symbol("!")) {
      a.column.table = std::move(a.column.name);
      const Token& t = peek();
      if (t.kind != TokenKind::Name && t.kind != TokenKind::Bracketed) fail(SqlError::UpdateSyntax);
      a.column.name = next().text;
    }
    expect_symbol("=", SqlError::UpdateSyntax);
    a.value = clause_expression({",", "WHERE"});
    u.assignments.push_back(std::move(a));
  } while (accept_symbol(","));
  if (accept_word("WHERE")) u.where = clause_expression({});
  return u;
}

Insert Parser::insert() {
  Insert ins;
  expect_word("INTO", SqlError::InsertSyntax);
  ins.table = named_table(SqlError::InsertSyntax, false);
  if (accept_symbol("(")) {
    do ins.columns.push_back(name(SqlError::InsertSyntax));
    while (accept_symbol(","));
    expect_symbol(")", SqlError::InsertSyntax);
  }
  if (accept_word("VALUES")) {
    expect_symbol("(", SqlError::InsertSyntax);
    do ins.values.push_back(clause_expression({",", ")"}));
    while (accept_symbol(","));
    expect_symbol(")", SqlError::InsertSyntax);
    if (!ins.columns.empty() && ins.columns.size() != ins.values.size()) {
      fail(SqlError::ValueCountMismatch);
    }
  } else if (accept_word("SELECT")) {
    ins.select = std::make_unique<Select>(select());
  } else {
    fail(SqlError::InsertSyntax);
  }
  return ins;
}

Delete Parser::delete_() {
  Delete d;
  if (accept_symbol("*")) {
    d.star = true;
  } else if (at_name() && (at_symbol(".", 1) || at_symbol("!", 1)) && at_symbol("*", 2)) {
    d.star = true;
    d.star_table = next().text;
    next();
    next();
  } else if (!at_word("FROM")) {
    do {
      ColumnRef c;
      c.name = name(SqlError::FromClauseSyntax);
      if (accept_symbol(".") || accept_symbol("!")) {
        c.table = std::move(c.name);
        c.name = name(SqlError::FromClauseSyntax);
      }
      d.columns.push_back(std::move(c));
    } while (accept_symbol(","));
  }
  expect_word("FROM", SqlError::FromClauseSyntax);
  d.from = table_list(SqlError::FromClauseSyntax);
  if (accept_word("WHERE")) d.where = clause_expression({});
  return d;
}

}  // namespace detail

Statement parse_statement(std::string_view sql) { return detail::Parser(sql).statement(); }

ExprPtr parse_expression(std::string_view text) {
  return detail::Parser(text).lone_expression();
}

}  // namespace jet::sql
