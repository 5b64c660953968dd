// Helpers shared by the engine's read-side tests: fixture paths, scratch copies, and
// running the mdbtools oracle.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "jet/table/table_design.h"

namespace test_support {
class ScratchFolder;
}

namespace jet_test {

// Path of an Access-made fixture database (read-only).
std::string fixture(const std::string& name);
// Every fixture database, sorted by name.
std::vector<std::string> all_fixtures();

// A fresh directory removed at destruction, everything in it included.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const std::filesystem::path& path() const;
  // Writes `bytes` to a file of that name inside the directory; returns its path.
  std::string write(const std::string& name, const std::vector<std::uint8_t>& bytes) const;

 private:
  std::unique_ptr<test_support::ScratchFolder> folder_;
};

std::vector<std::uint8_t> read_file(const std::string& path);
// Whether a file the engine holds exclusively can be read meanwhile: sharing is advisory on
// POSIX, while Windows refuses every other opener.
#ifdef _WIN32
inline constexpr bool kHeldFileReadable = false;
#else
inline constexpr bool kHeldFileReadable = true;
#endif

// Standard output of a shell command; `ok` tells whether it exited with 0.
std::string run(const std::string& command, bool* ok = nullptr);
// Quotes an argument for /bin/sh.
std::string shell_quote(const std::string& s);

// A scratch copy of a fixture inside `dir` (named `as` when given); returns its path.
std::string copy_fixture(const ScratchDir& dir, const std::string& name, const std::string& as = {});
// The Jet error number `action` raises (jet::Error), 0 when it raises nothing.
int error_of(const std::function<void()>& action);
// What mdbtools exports of a table (CSV with a header line); a failed export fails the test.
std::string mdb_export(const std::string& path, const std::string& table);
// What the engine's checker finds wrong with a database file, every index's entries and order
// included (empty when sound).
std::vector<std::string> verify_problems(const std::string& path);
// The lines, each followed by a line break: a readable failure message.
std::string joined(const std::vector<std::string>& lines);
// The built `jet` program, for tests of its commands.
std::string jet_program();

// A column of a table design: `size` for Text and Binary (0 keeps the default).
jet::ColumnDesign column_design(std::string name, jet::ColumnType type, std::uint16_t size = 0);

}  // namespace jet_test
