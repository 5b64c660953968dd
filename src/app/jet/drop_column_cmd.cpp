// `jet drop-column FILE TABLE NAME`: removes a column (refused while an index or a
// relationship uses it).
#include <memory>
#include <string>

#include "command_registry.h"
#include "jet/ddl/alter_column.h"

namespace jet_tool {
namespace {

const Registration drop_column_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("drop-column", "Supprime un champ d'une table");
  auto file = std::make_shared<std::string>();
  auto table = std::make_shared<std::string>();
  auto name = std::make_shared<std::string>();
  sub->add_option("FILE", *file, "Base")->required();
  sub->add_option("TABLE", *table, "Table")->required();
  sub->add_option("NAME", *name, "Nom du champ")->required();
  return Command{sub, [=](std::ostream& out) {
                   auto db = jet::WritableDatabase::open(*file);
                   jet::drop_column(*db, *table, *name);
                   out << "Champ " << *name << " supprimé de la table " << *table << ".\n";
                   return 0;
                 }};
}};

}  // namespace
}  // namespace jet_tool
