#include "sql_exec_support.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

#include "jet/table/index_maintain_hook.h"
#include "jet/storage/transaction.h"

namespace sql_exec_test {

std::string show(const jet::Value& v) {
  switch (v.kind()) {
    case jet::ValueKind::Null:
    case jet::ValueKind::Empty:
      return "~";
    case jet::ValueKind::Text:
      return v.as_text();
    case jet::ValueKind::Boolean:
      return v.as_boolean() ? "True" : "False";
    case jet::ValueKind::Date:
      return jet::format_date_time(v.as_date());
    case jet::ValueKind::Binary:
    case jet::ValueKind::Guid:
      return v.to_display();
    case jet::ValueKind::Decimal: {  // every digit, none of a double's rounding
      std::string s = v.as_decimal().to_string();
      if (s.find('.') != std::string::npos) {
        while (s.back() == '0') s.pop_back();
        if (s.back() == '.') s.pop_back();
      }
      return s;
    }
    default: {
      std::ostringstream out;
      out << std::setprecision(15) << v.to_double();
      return out.str();
    }
  }
}

std::vector<std::string> lines(const jet::sql::ResultSet& rs) {
  std::vector<std::string> out;
  for (const auto& row : rs.rows()) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) line += (i ? "|" : "") + show(row[i]);
    out.push_back(line);
  }
  return out;
}

int error_of(const std::function<void()>& action, std::string* text) {
  try {
    action();
  } catch (const jet::Error& e) {
    if (text) *text = e.description();
    return e.number();
  }
  return 0;
}

std::string Scratch::copy(const std::string& fixture, const std::string& as) {
  return dir_.write(as.empty() ? fixture : as, jet_test::read_file(jet_test::fixture(fixture)));
}

Db::Db(const std::string& path, jet::sql::DatabaseOpener opener)
    : db_(jet::WritableDatabase::open(path)),
      exec_(std::make_unique<jet::sql::Executor>(*db_, std::move(opener))) {}

std::vector<std::string> Db::q(const std::string& sql, const jet::sql::Parameters& p) {
  return lines(exec_->select(sql, p));
}

std::int64_t Db::x(const std::string& sql, const jet::sql::Parameters& p) { return exec_->execute(sql, p); }

void Db::fill(const std::string& table, const std::vector<jet::Row>& rows) {
  jet::TableIndexHook hook(db_->allocator());
  jet::TableWriter writer = db_->writer(table, &hook);
  jet::Transaction t(db_->pager());
  for (const auto& r : rows) writer.insert(r);
  t.commit();
}

std::string mdb_export(const std::string& path, const std::string& table) {
  bool ok = false;
  const std::string out = jet_test::run(
      "mdb-export " + jet_test::shell_quote(path) + " " + jet_test::shell_quote(table) + " 2>&1", &ok);
  EXPECT_TRUE(ok) << out;
  return out;
}

jet::Value T(const std::string& s) { return jet::Value::text(s); }
jet::Value L(std::int32_t n) { return jet::Value::long_(n); }

}  // namespace sql_exec_test
