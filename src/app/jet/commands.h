// The sub-commands of the `jet` tool. Each prints to `out` and returns the exit code
// (0 success; verify: 0 sound, 1 unsound). Engine errors propagate as jet::Error.
#pragma once

#include <ostream>
#include <string>

namespace jet_tool {

int info(const std::string& file, std::ostream& out);
int tables(const std::string& file, bool with_system, std::ostream& out);
int schema(const std::string& file, const std::string& table, bool with_properties,
           std::ostream& out);
int export_csv(const std::string& file, const std::string& table, bool mdbtools_quirks, std::ostream& out);
int count(const std::string& file, const std::string& table, std::ostream& out);
int queries(const std::string& file, std::ostream& out);
int relations(const std::string& file, std::ostream& out);
int verify(const std::string& file, std::ostream& out);

}  // namespace jet_tool
