// `jet alter-column FILE TABLE NAME [--rename X] [--size N] [--required true|false]
// [--allow-zero-length true|false] [--default V] [--position N]`: changes a column of a table
// that may hold rows; a change the stored values do not allow is refused and nothing changes.
#include <memory>
#include <optional>
#include <string>

#include "command_registry.h"
#include "jet/ddl/alter_column.h"

namespace jet_tool {
namespace {

const Registration alter_column_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("alter-column", "Modifie un champ d'une table");
  auto file = std::make_shared<std::string>();
  auto table = std::make_shared<std::string>();
  auto name = std::make_shared<std::string>();
  auto rename = std::make_shared<std::optional<std::string>>();
  auto size = std::make_shared<std::optional<std::uint16_t>>();
  auto required = std::make_shared<std::optional<bool>>();
  auto zero_length = std::make_shared<std::optional<bool>>();
  auto default_value = std::make_shared<std::optional<std::string>>();
  auto position = std::make_shared<std::optional<std::uint16_t>>();
  sub->add_option("FILE", *file, "Base")->required();
  sub->add_option("TABLE", *table, "Table")->required();
  sub->add_option("NAME", *name, "Nom du champ")->required();
  sub->add_option("--rename", *rename, "Nouveau nom");
  sub->add_option("--size", *size, "Nouvelle taille (Texte)");
  sub->add_option("--required", *required, "Null interdit (true|false)");
  sub->add_option("--allow-zero-length", *zero_length, "Chaîne vide autorisée (true|false)");
  sub->add_option("--default", *default_value, "Valeur par défaut (vide : aucune)");
  sub->add_option("--position", *position, "Position d'affichage (à partir de 0)");
  return Command{sub, [=](std::ostream& out) {
                   jet::ColumnChange change;
                   change.name = *rename;
                   change.size = *size;
                   change.required = *required;
                   change.allow_zero_length = *zero_length;
                   change.ordinal_position = *position;
                   if (*default_value)
                     change.properties.emplace_back("DefaultValue", (*default_value)->empty()
                                                                        ? jet::Value::null()
                                                                        : jet::Value::text(**default_value));
                   auto db = jet::WritableDatabase::open(*file);
                   jet::alter_column(*db, *table, *name, change);
                   out << "Champ " << *name << " de la table " << *table << " modifié.\n";
                   return 0;
                 }};
}};

}  // namespace
}  // namespace jet_tool
