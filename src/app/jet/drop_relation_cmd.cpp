// `jet drop-relation FILE NAME`: deletes a relationship and its foreign-key indexes.
#include <memory>
#include <string>

#include "command_registry.h"
#include "jet/ddl/relationship_write.h"

namespace jet_tool {
namespace {

const Registration drop_relation_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("drop-relation", "Supprime une relation");
  auto file = std::make_shared<std::string>();
  auto name = std::make_shared<std::string>();
  sub->add_option("FILE", *file, "Base")->required();
  sub->add_option("NAME", *name, "Nom de la relation")->required();
  return Command{sub, [=](std::ostream& out) {
                   auto db = jet::WritableDatabase::open(*file);
                   jet::delete_relationship(*db, *name);
                   out << "Relation " << *name << " supprimée.\n";
                   return 0;
                 }};
}};

}  // namespace
}  // namespace jet_tool
