// Sub-commands of the `jet` tool that live in their own source file register themselves
// here, so adding a command never touches main.cpp:
//
//   static const jet_tool::Registration reg{"create", [](CLI::App& app) {
//     auto* sub = app.add_subcommand("create", "...");
//     auto file = std::make_shared<std::string>();
//     sub->add_option("FILE", *file)->required();
//     return jet_tool::Command{sub, [file](std::ostream& out) { return create(*file, out); }};
//   }};
//
// The runner returns the exit code; engine errors propagate as jet::Error (main prints them
// and exits with 2).
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <ostream>
#include <vector>

namespace jet_tool {

struct Command {
  CLI::App* sub = nullptr;
  std::function<int(std::ostream&)> run;
};

using CommandSetup = std::function<Command(CLI::App&)>;

std::vector<CommandSetup>& registered_commands();

struct Registration {
  explicit Registration(CommandSetup setup) { registered_commands().push_back(std::move(setup)); }
};

}  // namespace jet_tool
