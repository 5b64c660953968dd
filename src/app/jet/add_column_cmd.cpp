// `jet add-column FILE TABLE NAME TYPE [--size N] [--required] [--default V] [--position N]`:
// appends a column to a table that may hold rows. TYPE is a type name (Text, Memo, Long,
// Integer, Byte, Boolean, Currency, Single, Double, DateTime, Binary, OLE, GUID, Decimal,
// AutoNumber) or the data-access objects' type code in decimal ("10" for Text, "12" for Memo).
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "command_registry.h"
#include "jet/ddl/alter_column.h"
#include "jet/base/error.h"
#include "jet/base/names.h"

namespace jet_tool {
namespace {

jet::ColumnDesign design_of_type(const std::string& type) {
  static const std::map<std::string, jet::ColumnType> names{
      {"boolean", jet::ColumnType::Boolean}, {"yesno", jet::ColumnType::Boolean}, {"byte", jet::ColumnType::Byte},
      {"integer", jet::ColumnType::Integer}, {"long", jet::ColumnType::Long}, {"currency", jet::ColumnType::Currency},
      {"single", jet::ColumnType::Single}, {"double", jet::ColumnType::Double}, {"datetime", jet::ColumnType::DateTime},
      {"date", jet::ColumnType::DateTime}, {"binary", jet::ColumnType::Binary}, {"text", jet::ColumnType::Text},
      {"ole", jet::ColumnType::Ole}, {"longbinary", jet::ColumnType::Ole}, {"memo", jet::ColumnType::Memo},
      {"guid", jet::ColumnType::Guid}, {"decimal", jet::ColumnType::Numeric}, {"numeric", jet::ColumnType::Numeric},
      {"autonumber", jet::ColumnType::Long}, {"counter", jet::ColumnType::Long}};
  static const std::map<int, jet::ColumnType> codes{
      {1, jet::ColumnType::Boolean}, {2, jet::ColumnType::Byte}, {3, jet::ColumnType::Integer},
      {4, jet::ColumnType::Long}, {5, jet::ColumnType::Currency}, {6, jet::ColumnType::Single},
      {7, jet::ColumnType::Double}, {8, jet::ColumnType::DateTime}, {9, jet::ColumnType::Binary},
      {10, jet::ColumnType::Text}, {11, jet::ColumnType::Ole}, {12, jet::ColumnType::Memo},
      {15, jet::ColumnType::Guid}, {20, jet::ColumnType::Numeric}};
  jet::ColumnDesign design;
  std::string folded = jet::fold_name(type);
  if (!type.empty() && type.find_first_not_of("0123456789") == std::string::npos) {
    auto it = codes.find(std::stoi(type));
    if (it == codes.end()) throw jet::Error(jet::ErrorCode::OperationNotSupported, type);
    design.type = it->second;
  } else {
    auto it = names.find(folded);
    if (it == names.end()) throw jet::Error(jet::ErrorCode::OperationNotSupported, type);
    design.type = it->second;
    design.autonumber = folded == "autonumber" || folded == "counter";
  }
  design.size = design.type == jet::ColumnType::Binary ? 255 : 50;
  return design;
}

const Registration add_column_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("add-column", "Ajoute un champ à une table");
  auto file = std::make_shared<std::string>();
  auto table = std::make_shared<std::string>();
  auto name = std::make_shared<std::string>();
  auto type = std::make_shared<std::string>();
  auto size = std::make_shared<std::optional<std::uint16_t>>();
  auto required = std::make_shared<bool>(false);
  auto default_value = std::make_shared<std::optional<std::string>>();
  auto position = std::make_shared<std::optional<std::uint16_t>>();
  sub->add_option("FILE", *file, "Base")->required();
  sub->add_option("TABLE", *table, "Table")->required();
  sub->add_option("NAME", *name, "Nom du champ")->required();
  sub->add_option("TYPE", *type, "Type (nom ou code numérique)")->required();
  sub->add_option("--size", *size, "Taille (Texte, Binaire)");
  sub->add_flag("--required", *required, "Null interdit");
  sub->add_option("--default", *default_value, "Valeur par défaut");
  sub->add_option("--position", *position, "Position d'affichage (à partir de 0)");
  return Command{sub, [=](std::ostream& out) {
                   jet::ColumnDesign design = design_of_type(*type);
                   design.name = *name;
                   if (*size) design.size = **size;
                   design.required = *required;
                   design.default_value = *default_value;
                   auto db = jet::WritableDatabase::open(*file);
                   jet::add_column(*db, *table, design, *position);
                   out << "Champ " << *name << " ajouté à la table " << *table << ".\n";
                   return 0;
                 }};
}};

}  // namespace
}  // namespace jet_tool
