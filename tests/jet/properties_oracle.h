// Raw catalog data of the Access-made fixtures, read with mdbtools (installed as the test
// oracle) at test time: table rows exported with control-character separators so that any
// text (line breaks, commas, quotes) survives, binary columns in hex, Null kept apart from "".
#pragma once

#include "jet_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "jet/db/database.h"

namespace jet_oracle {

inline std::string shell_quote(const std::string& s) {
  std::string out = "'";
  for (char c : s) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// Output of a command; throws when it cannot run or exits non-zero.
inline std::string run(const std::string& command) {
  bool ok = false;
  std::string out = jet_test::run(command + " 2>/dev/null", &ok);
  if (!ok) throw std::runtime_error("command failed: " + command);
  return out;
}

inline std::vector<std::filesystem::path> fixtures() {
  std::vector<std::filesystem::path> out;
  for (const std::string& name : jet_test::all_fixtures()) out.push_back(jet_test::fixture(name));
  return out;
}

inline std::filesystem::path fixture(const std::string& name) { return jet_test::fixture(name); }

struct ExportedTable {
  std::vector<std::string> columns;
  std::vector<std::vector<std::optional<std::string>>> rows;  // nullopt = Null

  std::size_t column(const std::string& name) const {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (columns[i] == name) return i;
    }
    throw std::runtime_error("no column " + name);
  }
};

inline std::vector<std::string> split(const std::string& s, char sep) {
  std::vector<std::string> out(1);
  for (char c : s) {
    if (c == sep) {
      out.emplace_back();
    } else {
      out.back() += c;
    }
  }
  return out;
}

// All rows of a table in storage order, as mdb-export reads them.
inline ExportedTable export_table(const std::filesystem::path& db, const std::string& table) {
  const std::string out = run("mdb-export -b hex -Q -d '\x1f' -R '\x1e' -0 '\x1d' " +
                              shell_quote(db.string()) + " " + shell_quote(table));
  ExportedTable t;
  auto lines = split(out, '\x1e');
  if (!lines.empty() && lines.back().empty()) lines.pop_back();
  if (lines.empty()) return t;
  t.columns = split(lines[0], '\x1f');
  for (std::size_t i = 1; i < lines.size(); ++i) {
    auto& row = t.rows.emplace_back();
    for (auto& field : split(lines[i], '\x1f')) {
      if (field == "\x1d") {
        row.emplace_back(std::nullopt);
      } else {
        row.emplace_back(std::move(field));
      }
    }
    row.resize(t.columns.size());
  }
  return t;
}

inline std::vector<std::uint8_t> from_hex(const std::string& hex) {
  std::vector<std::uint8_t> out;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    out.push_back(static_cast<std::uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  }
  return out;
}

struct Blob {
  std::string database;  // fixture file name
  std::string object;    // MSysObjects.Name
  std::vector<std::uint8_t> bytes;
};

// Every non-empty MSysObjects.LvProp of a fixture.
inline std::vector<Blob> property_blobs(const std::filesystem::path& db) {
  const ExportedTable t = export_table(db, "MSysObjects");
  const std::size_t name = t.column("Name");
  const std::size_t prop = t.column("LvProp");
  std::vector<Blob> out;
  for (const auto& row : t.rows) {
    if (row[prop] && !row[prop]->empty()) {
      out.push_back(Blob{db.filename().string(), row[name].value_or(""), from_hex(*row[prop])});
    }
  }
  return out;
}

// The same blobs read through the engine's catalog.
inline std::vector<Blob> engine_property_blobs(const std::filesystem::path& path) {
  const auto db = jet::Database::open(path.string());
  std::vector<Blob> out;
  for (const auto& e : db->catalog().entries()) {
    if (!e.properties.empty()) out.push_back({path.filename().string(), e.name, e.properties});
  }
  return out;
}

}  // namespace jet_oracle
