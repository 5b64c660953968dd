// `jet rename-table FILE TABLE NEW`: gives a table a new name (its relationships follow).
#include <memory>
#include <string>

#include "command_registry.h"
#include "jet/ddl/alter_table.h"

namespace jet_tool {
namespace {

const Registration rename_table_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("rename-table", "Renomme une table");
  auto file = std::make_shared<std::string>();
  auto table = std::make_shared<std::string>();
  auto name = std::make_shared<std::string>();
  sub->add_option("FILE", *file, "Base")->required();
  sub->add_option("TABLE", *table, "Table")->required();
  sub->add_option("NEW", *name, "Nouveau nom")->required();
  return Command{sub, [=](std::ostream& out) {
                   auto db = jet::WritableDatabase::open(*file);
                   jet::rename_table(*db, *table, *name);
                   out << "Table " << *table << " renommée en " << *name << ".\n";
                   return 0;
                 }};
}};

}  // namespace
}  // namespace jet_tool
