// `jet add-query FILE NAME SQL`: saves (or with --replace, replaces) a query from its SQL text.
#include <memory>
#include <string>

#include "command_registry.h"
#include "jet/ddl/query_write.h"

namespace jet_tool {
namespace {

const Registration add_query_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("add-query", "Enregistre une requête à partir de son texte SQL");
  auto file = std::make_shared<std::string>();
  auto name = std::make_shared<std::string>();
  auto sql = std::make_shared<std::string>();
  auto replace = std::make_shared<bool>(false);
  sub->add_option("FILE", *file, "Base")->required();
  sub->add_option("NAME", *name, "Nom de la requête")->required();
  sub->add_option("SQL", *sql, "Texte SQL")->required();
  sub->add_flag("--replace", *replace, "Remplacer la requête de ce nom si elle existe");
  return Command{sub, [=](std::ostream& out) {
                   auto db = jet::WritableDatabase::open(*file);
                   if (*replace) jet::replace_query(*db, *name, *sql);
                   else jet::create_query(*db, *name, *sql);
                   out << "Requête " << *name << " enregistrée.\n";
                   return 0;
                 }};
}};

}  // namespace
}  // namespace jet_tool
