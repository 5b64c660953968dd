// `jet compact SOURCE DESTINATION`: writes a compacted copy of SOURCE (left untouched) into
// DESTINATION, which must not exist.
#include <memory>
#include <string>

#include "command_registry.h"
#include "jet/tools/compact.h"

namespace jet_tool {
namespace {

int compact(const std::string& source, const std::string& destination, std::ostream& out) {
  const jet::CompactReport report = jet::compact(source, destination);
  out << report.tables << " tables, " << report.rows << " lignes, " << report.queries << " requêtes, "
      << report.relationships << " relations, " << report.catalog_rows << " autres objets copiés dans "
      << destination << '\n';
  return 0;
}

const Registration compact_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("compact", "Compacte une base dans un nouveau fichier");
  auto source = std::make_shared<std::string>();
  auto destination = std::make_shared<std::string>();
  sub->add_option("SOURCE", *source, "Base à compacter (non modifiée)")->required();
  sub->add_option("DESTINATION", *destination, "Nouveau fichier (ne doit pas exister)")->required();
  return Command{sub, [=](std::ostream& out) { return compact(*source, *destination, out); }};
}};

}  // namespace
}  // namespace jet_tool
