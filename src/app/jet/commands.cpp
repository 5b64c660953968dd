#include "commands.h"

#include <algorithm>
#include <map>

#include "jet/tools/csv_export.h"
#include "jet/db/database.h"
#include "jet/base/error.h"
#include "jet/tools/index_verify.h"
#include "jet/catalog/query_rows.h"
#include "jet/catalog/query_sql.h"
#include "jet/tools/verify.h"

namespace jet_tool {

int info(const std::string& file, std::ostream& out) {
  auto db = jet::Database::open(file);
  const auto& h = db->header();
  char sort[16];
  std::snprintf(sort, sizeof sort, "0x%04X", h.sort_order);
  out << "Format : " << jet::format_name(h.format) << '\n'
      << "Ordre de tri : " << jet::sort_order_name(h.sort_order) << " (" << sort << ")\n"
      << "Page de codes : " << h.code_page << '\n'
      << "Taille de page : " << h.page_size << '\n'
      << "Nombre de pages : " << db->pager().page_count() << '\n'
      << "Mot de passe : " << (h.password.empty() ? "aucun" : "oui") << '\n';
  return 0;
}

int tables(const std::string& file, bool with_system, std::ostream& out) {
  auto db = jet::Database::open(file);
  for (const auto& name : db->table_names(with_system)) out << name << '\n';
  return 0;
}

int export_csv(const std::string& file, const std::string& table, bool mdbtools_quirks, std::ostream& out) {
  auto db = jet::Database::open(file);
  jet::CsvStyle style;
  style.mdbtools_quirks = mdbtools_quirks;
  jet::write_csv(db->table(table), out, style);
  return 0;
}

int count(const std::string& file, const std::string& table, std::ostream& out) {
  auto db = jet::Database::open(file);
  out << db->table(table).count_rows() << '\n';
  return 0;
}

int queries(const std::string& file, std::ostream& out) {
  auto db = jet::Database::open(file);
  // MSysQueries rows, grouped by the query they describe.
  std::map<std::int32_t, std::vector<jet::QueryRow>> rows;
  for (const auto& columns : db->catalog().query_rows()) {
    jet::QueryRow row = jet::query_row_from_columns(columns);
    rows[row.object_id].push_back(std::move(row));
  }
  jet::SqlLayout layout;
  layout.line_break = "\n";
  for (const auto* q : db->catalog().queries()) {
    out << q->name << '\n';
    try {
      out << '\t';
      for (char c : jet::query_sql(rows[q->id], layout)) {
        out << c;
        if (c == '\n') out << '\t';
      }
      out << '\n';
    } catch (const jet::Error& e) {
      out << "(SQL illisible : " << e.description() << ")\n";
    }
  }
  return 0;
}

int relations(const std::string& file, std::ostream& out) {
  auto db = jet::Database::open(file);
  for (const auto& r : db->catalog().relationships()) {
    out << r.name << " : " << r.table << " (";
    for (std::size_t i = 0; i < r.columns.size(); ++i) out << (i ? ", " : "") << r.columns[i];
    out << ") -> " << r.referenced_table << " (";
    for (std::size_t i = 0; i < r.referenced_columns.size(); ++i) out << (i ? ", " : "") << r.referenced_columns[i];
    out << ")";
    if (r.flags & 0x2) out << " sans intégrité";
    if (r.flags & 0x100) out << " mise à jour en cascade";
    if (r.flags & 0x1000) out << " suppression en cascade";
    out << '\n';
  }
  return 0;
}

int verify(const std::string& file, std::ostream& out) {
  auto db = jet::Database::open(file);
  const auto problems = jet::verify_database(*db, jet::verify_indexes);
  for (const auto& p : problems) out << p << '\n';
  if (problems.empty()) out << "Base saine.\n";
  return problems.empty() ? 0 : 1;
}

}  // namespace jet_tool
