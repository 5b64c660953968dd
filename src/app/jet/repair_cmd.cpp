// `jet repair FILE`: repairs the database in place and lists what was put right; a file
// whose damage cannot be repaired is refused (3049) and left as it was.
#include <memory>
#include <string>

#include "command_registry.h"
#include "jet/tools/repair.h"

namespace jet_tool {
namespace {

int repair(const std::string& file, std::ostream& out) {
  const jet::RepairReport report = jet::repair(file);
  for (const auto& action : report.actions) out << action << '\n';
  if (!report.changed()) out << "Base saine, rien à réparer.\n";
  return 0;
}

const Registration repair_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("repair", "Répare une base sur place (index, tables d'utilisation, compteurs)");
  auto file = std::make_shared<std::string>();
  sub->add_option("FILE", *file, "Base à réparer")->required();
  return Command{sub, [=](std::ostream& out) { return repair(*file, out); }};
}};

}  // namespace
}  // namespace jet_tool
