// `jet diff A B`: what differs between two databases, one sentence a line; exit 0 when
// they hold the same things, 1 otherwise.
#include <memory>
#include <string>

#include "command_registry.h"
#include "jet/tools/diff.h"

namespace jet_tool {
namespace {

int diff(const std::string& first, const std::string& second, bool column_numbers, std::ostream& out) {
  jet::DiffOptions options;
  options.column_numbers = column_numbers;
  const auto lines = jet::diff_files(first, second, options);
  for (const auto& line : lines) out << line << '\n';
  return lines.empty() ? 0 : 1;
}

const Registration diff_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("diff", "Différences entre deux bases (vide si identiques)");
  auto first = std::make_shared<std::string>();
  auto second = std::make_shared<std::string>();
  auto numbers = std::make_shared<bool>(false);
  sub->add_option("A", *first, "Première base")->required();
  sub->add_option("B", *second, "Seconde base")->required();
  sub->add_flag("--column-numbers", *numbers, "Comparer aussi les numéros de colonnes");
  return Command{sub, [=](std::ostream& out) { return diff(*first, *second, *numbers, out); }};
}};

}  // namespace
}  // namespace jet_tool
