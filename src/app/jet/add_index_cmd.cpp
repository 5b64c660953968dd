// `jet add-index FILE TABLE NAME COLUMNS [--primary] [--unique] [--ignore-nulls] [--required]`:
// adds an index over comma-separated columns ("-" before a column sorts it descending).
#include <memory>
#include <sstream>
#include <string>

#include "command_registry.h"
#include "jet/ddl/alter_index.h"

namespace jet_tool {
namespace {

const Registration add_index_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("add-index", "Crée un index sur une table");
  auto file = std::make_shared<std::string>();
  auto table = std::make_shared<std::string>();
  auto columns = std::make_shared<std::string>();
  auto design = std::make_shared<jet::IndexDesign>();
  sub->add_option("FILE", *file, "Base")->required();
  sub->add_option("TABLE", *table, "Table")->required();
  sub->add_option("NAME", design->name, "Nom de l'index")->required();
  sub->add_option("COLUMNS", *columns, "Colonnes, séparées par des virgules")->required();
  sub->add_flag("--primary", design->primary, "Clé primaire");
  sub->add_flag("--unique", design->unique, "Sans doublons");
  sub->add_flag("--ignore-nulls", design->ignore_nulls, "Ignorer les Null");
  sub->add_flag("--required", design->required, "Null interdit");
  return Command{sub, [=](std::ostream& out) {
                   std::istringstream in(*columns);
                   for (std::string c; std::getline(in, c, ',');) {
                     const bool descending = !c.empty() && c[0] == '-';
                     design->columns.push_back({descending ? c.substr(1) : c, descending});
                   }
                   auto db = jet::WritableDatabase::open(*file);
                   jet::create_index(*db, *table, *design);
                   out << "Index " << design->name << " créé.\n";
                   return 0;
                 }};
}};

}  // namespace
}  // namespace jet_tool
