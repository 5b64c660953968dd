// `jet create FILE`: a new, empty Access 2000 database.
#include <memory>
#include <string>

#include "app/jet/command_registry.h"
#include "jet/db/create_database.h"

namespace jet_tool {
namespace {

int create(const std::string& file, std::ostream& out) {
  auto db = jet::create_database(file);
  out << "Base créée : " << db->path() << '\n';
  return 0;
}

const Registration create_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("create", "Crée une base Access 2000 vide");
  auto file = std::make_shared<std::string>();
  sub->add_option("FILE", *file, "Fichier à créer (ne doit pas exister)")->required();
  return Command{sub, [file](std::ostream& out) { return create(*file, out); }};
}};

}  // namespace
}  // namespace jet_tool
