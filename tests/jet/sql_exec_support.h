// Helpers of the SQL executor tests: a scratch copy of an Access-made database opened for
// writing with an executor over it, results as short texts, error numbers.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "jet/exec/executor.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"

namespace sql_exec_test {

// A value as a short text: Null as "~", numbers without trailing zeros, dates as
// "YYYY-MM-DD HH:MM:SS", Booleans "True"/"False".
std::string show(const jet::Value& v);
// Rows of a result, each row its values joined by "|".
std::vector<std::string> lines(const jet::sql::ResultSet& rs);

// Jet error number thrown by `action` (0 when none); the text goes to `text` if given.
int error_of(const std::function<void()>& action, std::string* text = nullptr);

// A copy of a fixture in a scratch folder.
class Scratch {
 public:
  std::string copy(const std::string& fixture, const std::string& as = {});
  const jet_test::ScratchDir& dir() const { return dir_; }

 private:
  jet_test::ScratchDir dir_;
};

// A copy of a fixture opened for writing, with an executor.
class Db {
 public:
  explicit Db(const std::string& path, jet::sql::DatabaseOpener opener = jet::sql::local_file_opener());
  jet::WritableDatabase& db() { return *db_; }
  jet::sql::Executor& exec() { return *exec_; }
  std::vector<std::string> q(const std::string& sql, const jet::sql::Parameters& p = {});
  std::int64_t x(const std::string& sql, const jet::sql::Parameters& p = {});
  // Appends rows through the engine's table writer (indexes maintained), committed.
  void fill(const std::string& table, const std::vector<jet::Row>& rows);
  void close() { exec_.reset(); db_.reset(); }

 private:
  std::unique_ptr<jet::WritableDatabase> db_;
  std::unique_ptr<jet::sql::Executor> exec_;
};

// mdb-export of a table (CSV text); fails the test when mdbtools cannot read it.
std::string mdb_export(const std::string& path, const std::string& table);

jet::Value T(const std::string& s);
jet::Value L(std::int32_t n);
inline jet::Value N() { return jet::Value::null(); }

}  // namespace sql_exec_test
