#include "jet_test_support.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <gtest/gtest.h>

#include "jet/db/database.h"
#include "jet/base/error.h"
#include "jet/tools/index_verify.h"
#include "jet/tools/verify.h"
#include "support/scratch_folder.h"

#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace jet_test {

std::string fixture(const std::string& name) { return (std::filesystem::path(QUELIS_FIXTURES) / name).string(); }

std::vector<std::string> all_fixtures() {
  std::vector<std::string> out;
  // A missing folder lists nothing here (test listing must not abort); the program's start-up
  // check reports where the folder is expected.
  std::error_code ec;
  for (std::filesystem::directory_iterator it(QUELIS_FIXTURES, ec), end; !ec && it != end; it.increment(ec))
    if (it->path().extension() == ".mdb") out.push_back(it->path().filename().string());
  std::sort(out.begin(), out.end());
  return out;
}

ScratchDir::ScratchDir() : folder_(std::make_unique<test_support::ScratchFolder>("jet-test-")) {}

ScratchDir::~ScratchDir() = default;

const std::filesystem::path& ScratchDir::path() const { return folder_->path(); }

std::string ScratchDir::write(const std::string& name, const std::vector<std::uint8_t>& bytes) const {
  const std::string p = (path() / name).string();
  std::ofstream out(p, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return p;
}

std::vector<std::uint8_t> read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

#ifdef _WIN32
std::string run(const std::string& command, bool* ok) {
  // The commands are /bin/sh command lines; the tests that run them are skipped on Windows
  // (support/linux_programs.h).
  ADD_FAILURE() << "no /bin/sh to run: " << command;
  if (ok) *ok = false;
  return {};
}
#else
std::string run(const std::string& command, bool* ok) {
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) throw std::runtime_error("popen failed: " + command);
  char buf[65536];
  std::size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, pipe)) > 0) out.append(buf, n);
  const int status = pclose(pipe);
  if (ok) *ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
  return out;
}
#endif

std::string shell_quote(const std::string& s) {
  std::string q = "'";
  for (char c : s) {
    if (c == '\'') q += "'\\''";
    else q += c;
  }
  return q + "'";
}

std::string copy_fixture(const ScratchDir& dir, const std::string& name, const std::string& as) {
  return dir.write(as.empty() ? name : as, read_file(fixture(name)));
}

int error_of(const std::function<void()>& action) {
  try {
    action();
  } catch (const jet::Error& e) {
    return e.number();
  }
  return 0;
}

std::string mdb_export(const std::string& path, const std::string& table) {
  bool ok = false;
  const std::string out = run("mdb-export " + shell_quote(path) + " " + shell_quote(table) + " 2>&1", &ok);
  EXPECT_TRUE(ok) << out;
  return out;
}

std::vector<std::string> verify_problems(const std::string& path) {
  auto db = jet::Database::open(path);
  return jet::verify_database(*db, jet::verify_indexes);
}

std::string joined(const std::vector<std::string>& lines) {
  std::string s;
  for (const auto& l : lines) s += l + "\n";
  return s;
}

std::string jet_program() { return std::string(QUELIS_BINARY_DIR) + "/src/app/jet"; }

jet::ColumnDesign column_design(std::string name, jet::ColumnType type, std::uint16_t size) {
  jet::ColumnDesign c;
  c.name = std::move(name);
  c.type = type;
  if (size) c.size = size;
  return c;
}

}  // namespace jet_test
