// `jet drop-query FILE NAME`: deletes a saved query.
#include <memory>
#include <string>

#include "command_registry.h"
#include "jet/ddl/query_write.h"

namespace jet_tool {
namespace {

const Registration drop_query_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("drop-query", "Supprime une requête enregistrée");
  auto file = std::make_shared<std::string>();
  auto name = std::make_shared<std::string>();
  sub->add_option("FILE", *file, "Base")->required();
  sub->add_option("NAME", *name, "Nom de la requête")->required();
  return Command{sub, [=](std::ostream& out) {
                   auto db = jet::WritableDatabase::open(*file);
                   jet::delete_query(*db, *name);
                   out << "Requête " << *name << " supprimée.\n";
                   return 0;
                 }};
}};

}  // namespace
}  // namespace jet_tool
