// `jet drop-table FILE TABLE`: removes a table, its relationships and everything it stored.
#include <memory>
#include <string>

#include "command_registry.h"
#include "jet/ddl/alter_table.h"

namespace jet_tool {
namespace {

const Registration drop_table_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("drop-table", "Supprime une table, ses relations et ses données");
  auto file = std::make_shared<std::string>();
  auto table = std::make_shared<std::string>();
  sub->add_option("FILE", *file, "Base")->required();
  sub->add_option("TABLE", *table, "Table")->required();
  return Command{sub, [=](std::ostream& out) {
                   auto db = jet::WritableDatabase::open(*file);
                   jet::drop_table(*db, *table);
                   out << "Table " << *table << " supprimée.\n";
                   return 0;
                 }};
}};

}  // namespace
}  // namespace jet_tool
