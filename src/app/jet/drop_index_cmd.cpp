// `jet drop-index FILE TABLE NAME`: removes an index (the primary key included).
#include <memory>
#include <string>

#include "command_registry.h"
#include "jet/ddl/alter_index.h"

namespace jet_tool {
namespace {

const Registration drop_index_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("drop-index", "Supprime un index d'une table");
  auto file = std::make_shared<std::string>();
  auto table = std::make_shared<std::string>();
  auto name = std::make_shared<std::string>();
  sub->add_option("FILE", *file, "Base")->required();
  sub->add_option("TABLE", *table, "Table")->required();
  sub->add_option("NAME", *name, "Nom de l'index")->required();
  return Command{sub, [=](std::ostream& out) {
                   auto db = jet::WritableDatabase::open(*file);
                   jet::drop_index(*db, *table, *name);
                   out << "Index " << *name << " supprimé.\n";
                   return 0;
                 }};
}};

}  // namespace
}  // namespace jet_tool
