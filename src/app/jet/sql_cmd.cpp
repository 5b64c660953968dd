// `jet sql FILE STATEMENT [--fail-on-error]`: runs one Jet SQL statement.
//
// A SELECT prints its rows as CSV in the conventions of `jet export` (header line of column
// names, then one line per row); any other statement prints the number of records it
// affected. Without --fail-on-error the rows the engine refuses are passed over, as Jet does
// when it is not asked to fail on errors; with it the statement changes every row or none
// and the refusal is reported. Errors reach main, which prints their number and text.
#include <memory>
#include <string>
#include <variant>

#include "command_registry.h"
#include "jet/tools/csv_export.h"
#include "jet/db/database.h"
#include "jet/exec/executor.h"
#include "jet/sql/parser.h"
#include "jet/db/writable_database.h"

namespace jet_tool {
namespace {

bool is_plain_select(const std::string& sql) {
  const jet::sql::Statement st = jet::sql::parse_statement(sql);
  const auto* select = std::get_if<jet::sql::Select>(&st.body);
  return select && !select->into;
}

void print_rows(const jet::sql::ResultSet& rs, std::ostream& out) {
  const auto& columns = rs.columns();
  std::vector<jet::ColumnDef> defs(columns.size());
  for (std::size_t i = 0; i < columns.size(); ++i) {
    defs[i].name = columns[i].name;
    defs[i].type = columns[i].type;
    out << (i ? "," : "") << columns[i].name;
  }
  out << '\n';
  std::string line;
  for (const auto& row : rs.rows()) {
    line.clear();
    for (std::size_t i = 0; i < defs.size(); ++i) {
      if (i) line += ',';
      line += jet::csv_field(defs[i], row[i]);
    }
    line += '\n';
    out << line;
  }
}

int run_sql(const std::string& file, const std::string& sql, bool fail_on_error, std::ostream& out) {
  if (is_plain_select(sql)) {
    // Reading needs no exclusive hold on the file.
    auto db = jet::Database::open(file);
    jet::sql::Executor executor(*db);
    print_rows(executor.select(sql), out);
    return 0;
  }
  auto db = jet::WritableDatabase::open(file);
  jet::sql::Executor executor(*db);
  const auto rows = fail_on_error ? jet::sql::RowErrors::Fail : jet::sql::RowErrors::Skip;
  out << executor.execute(sql, {}, rows) << '\n';
  return 0;
}

const Registration sql_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("sql", "Exécute une instruction SQL (SELECT : lignes en CSV)");
  auto file = std::make_shared<std::string>();
  auto sql = std::make_shared<std::string>();
  auto fail_on_error = std::make_shared<bool>(false);
  sub->add_option("FILE", *file, "Base de données (.mdb)")->required();
  sub->add_option("STATEMENT", *sql, "Instruction SQL")->required();
  sub->add_flag("--fail-on-error", *fail_on_error,
                "Tout ou rien : la première ligne refusée annule l'instruction et est signalée");
  return Command{sub, [=](std::ostream& out) { return run_sql(*file, *sql, *fail_on_error, out); }};
}};

}  // namespace
}  // namespace jet_tool
