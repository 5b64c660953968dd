// `jet add-relation FILE NAME TABLE COLUMNS REFERENCED REFERENCED_COLUMNS [--attributes N]`:
// creates a relationship; columns are comma-separated, paired in order.
#include <memory>
#include <sstream>
#include <string>

#include "command_registry.h"
#include "jet/ddl/relationship_write.h"

namespace jet_tool {
namespace {

std::vector<std::string> split(const std::string& list) {
  std::vector<std::string> out;
  std::istringstream in(list);
  for (std::string item; std::getline(in, item, ',');) out.push_back(item);
  return out;
}

const Registration add_relation_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("add-relation", "Crée une relation entre deux tables");
  auto file = std::make_shared<std::string>();
  auto design = std::make_shared<jet::RelationshipDesign>();
  auto columns = std::make_shared<std::string>();
  auto referenced = std::make_shared<std::string>();
  sub->add_option("FILE", *file, "Base")->required();
  sub->add_option("NAME", design->name, "Nom de la relation")->required();
  sub->add_option("TABLE", design->table, "Table de la clé étrangère")->required();
  sub->add_option("COLUMNS", *columns, "Colonnes, séparées par des virgules")->required();
  sub->add_option("REFERENCED", design->referenced_table, "Table référencée")->required();
  sub->add_option("REFERENCED_COLUMNS", *referenced, "Colonnes référencées")->required();
  sub->add_option("--attributes", design->attributes, "0 intégrité, 2 sans intégrité, +256 cascade des mises à jour, +4096 cascade des suppressions");
  return Command{sub, [=](std::ostream& out) {
                   design->columns = split(*columns);
                   design->referenced_columns = split(*referenced);
                   auto db = jet::WritableDatabase::open(*file);
                   jet::create_relationship(*db, *design);
                   out << "Relation " << design->name << " créée.\n";
                   return 0;
                 }};
}};

}  // namespace
}  // namespace jet_tool
