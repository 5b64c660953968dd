// `jet`: read, write, check and maintain Jet 4 (Access 2000-2003) databases with the
// project's own engine; Access 97 (Jet 3) files are read only.
#include <CLI/CLI.hpp>

#include <iostream>
#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <string>
#include <vector>

#include "os/win32_text.h"
#endif

#include "command_registry.h"
#include "commands.h"
#include "jet/base/error.h"
#include "os/services.h"

namespace jet_tool {
std::vector<CommandSetup>& registered_commands() {
  static std::vector<CommandSetup> commands;
  return commands;
}
}  // namespace jet_tool

namespace {

int run(int argc, char** argv) {
  CLI::App app{
      "Lecture, écriture, contrôle et maintenance des bases Access 2000-2003 (Jet 4) : "
      "consultation, export, SQL, import, création, changements de structure, compactage, "
      "réparation, comparaison. Les bases Access 97 (Jet 3) sont lues, jamais écrites."};
  app.require_subcommand(1);
  std::string file, table;
  bool with_system = false;
  bool quirks = false;
  bool with_properties = false;
  int code = 0;

  auto add = [&](const char* name, const char* help, bool wants_table, bool table_required) {
    CLI::App* sub = app.add_subcommand(name, help);
    sub->add_option("FILE", file, "Base de données (.mdb)")->required();
    if (wants_table) {
      auto* opt = sub->add_option("TABLE", table, "Nom de la table");
      if (table_required) opt->required();
    }
    return sub;
  };
  auto* info = add("info", "Format, ordre de tri, page de codes, nombre de pages", false, false);
  auto* tables = add("tables", "Liste des tables", false, false);
  tables->add_flag("--system", with_system, "Inclure les tables système");
  auto* schema = add("schema", "Définition des tables (colonnes, index)", true, false);
  schema->add_flag("--properties", with_properties,
                   "Propriétés des colonnes (DefaultValue, Required, Description...)");
  auto* exp = add("export", "Contenu d'une table en CSV (conventions de mdb-export)", true, true);
  exp->add_flag("--mdbtools", quirks,
                "Reproduire les limites de mdb-export (binaire coupé au premier octet nul, GUID)");
  auto* count = add("count", "Nombre de lignes d'une table", true, true);
  auto* queries = add("queries", "Requêtes enregistrées : nom et SQL", false, false);
  auto* relations = add("relations", "Relations entre tables", false, false);
  auto* verify = add("verify", "Contrôle complet : 0 saine, 1 incohérente, 2 erreur", false, false);

  std::vector<jet_tool::Command> extra;
  for (const auto& setup : jet_tool::registered_commands()) extra.push_back(setup(app));

  CLI11_PARSE(app, argc, argv);
#ifdef _WIN32
  // Exports are bytes (binary columns, UTF-8 text): the same file on every system, no CR added.
  _setmode(_fileno(stdout), _O_BINARY);
#endif
  std::ios::sync_with_stdio(false);
  try {
    if (*info) code = jet_tool::info(file, std::cout);
    else if (*tables) code = jet_tool::tables(file, with_system, std::cout);
    else if (*schema) code = jet_tool::schema(file, table, with_properties, std::cout);
    else if (*exp) code = jet_tool::export_csv(file, table, quirks, std::cout);
    else if (*count) code = jet_tool::count(file, table, std::cout);
    else if (*queries) code = jet_tool::queries(file, std::cout);
    else if (*relations) code = jet_tool::relations(file, std::cout);
    else if (*verify) code = jet_tool::verify(file, std::cout);
    else {
      for (const auto& command : extra)
        if (*command.sub) code = command.run(std::cout);
    }
  } catch (const jet::Error& e) {
    std::cout.flush();
    std::cerr << "Erreur " << e.number() << " : " << e.description() << '\n';
    return 2;
  }
  std::cout.flush();
  return code;
}

}  // namespace

#ifdef _WIN32
// Windows hands a program its arguments in UTF-16: the engine takes names and values in UTF-8
// (the ANSI arguments of main() would lose every character outside the code page), and the
// console is told to show UTF-8.
int wmain(int argc, wchar_t** wide) {
  std::vector<std::string> arguments;
  for (int i = 0; i < argc; ++i) arguments.push_back(os::narrow(wide[i]));
  std::vector<char*> argv;
  for (std::string& a : arguments) argv.push_back(a.data());
  argv.push_back(nullptr);
  ::SetConsoleOutputCP(CP_UTF8);
  return run(argc, argv.data());
}
#else
int main(int argc, char** argv) {
  os::return_freed_memory_at_once();
  return run(argc, argv);
}
#endif
