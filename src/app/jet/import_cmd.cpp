// `jet import FILE TABLE CSV`: loads a CSV file (comma-separated, double quotes around
// fields that need them, header row giving the column names) into a table. A missing table
// is created with one Text(255) column per header field; an existing one receives the rows,
// each value converted to its column's type. As mdb-export and `jet export` write them, an
// empty field is Null and a quoted empty field ("") a zero-length text, so a line holding
// only "" is a row, never a blank line. All rows go in one transaction: a refused row leaves
// the database untouched.
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "app/jet/command_registry.h"
#include "app/jet/csv_values.h"
#include "jet/base/error.h"
#include "jet/base/names.h"
#include "jet/storage/transaction.h"
#include "jet/db/writable_database.h"

namespace jet_tool {
namespace {

// A CSV file the command cannot read: the engine's "operation not allowed", with the reason.
jet::Error bad_csv(const std::string& reason) {
  return jet::Error(static_cast<int>(jet::ErrorCode::OperationNotSupported), "Fichier CSV illisible : " + reason);
}

// A field of a record and whether it was written between quotes.
struct CsvField {
  std::string text;
  bool quoted = false;
};

// One record per call; false at the end of the input. Quoted fields may hold commas,
// doubled quotes and line breaks.
bool next_record(std::istream& in, std::vector<CsvField>& fields) {
  fields.clear();
  std::string field;
  bool was_quoted = false;
  auto push = [&] {
    fields.push_back({std::move(field), was_quoted});
    field.clear();
    was_quoted = false;
  };
  bool quoted = false, any = false, after_quote = false;
  // Straight from the stream's buffer: a formatted get per character costs more than the rest.
  std::streambuf& buffer = *in.rdbuf();
  using traits = std::streambuf::traits_type;
  for (traits::int_type next; !traits::eq_int_type(next = buffer.sbumpc(), traits::eof());) {
    const char c = traits::to_char_type(next);
    any = true;
    if (quoted) {
      if (c == '"') {
        if (traits::eq_int_type(buffer.sgetc(), traits::to_int_type('"'))) {
          buffer.sbumpc();
          field += '"';
        } else {
          quoted = false;
          after_quote = true;
        }
      } else {
        field += c;
      }
    } else if (c == '"' && field.empty() && !after_quote) {
      quoted = was_quoted = true;
    } else if (c == ',') {
      push();
      after_quote = false;
    } else if (c == '\n') {
      if (!field.empty() && field.back() == '\r' && !after_quote) field.pop_back();
      push();
      return true;
    } else if (c != '\r' || !after_quote) {
      field += c;
    }
  }
  if (quoted) throw bad_csv("guillemet non fermé");
  if (any) push();
  return any;
}

int import_csv(const std::string& file, const std::string& table, const std::string& csv, std::ostream& out) {
  std::ifstream in(csv, std::ios::binary);
  if (!in) throw jet::Error(jet::ErrorCode::FileNotFound, csv);
  std::vector<CsvField> header_fields;
  if (!next_record(in, header_fields) || header_fields.empty() ||
      (header_fields.size() == 1 && header_fields[0].text.empty()))
    throw bad_csv("pas de ligne d'en-tête");
  std::vector<std::string> header;
  for (CsvField& f : header_fields) header.push_back(std::move(f.text));
  if (header[0].rfind("\xEF\xBB\xBF", 0) == 0) header[0].erase(0, 3);

  auto db = jet::WritableDatabase::open(file);
  jet::Transaction tx(db->pager());
  bool created = false;
  if (!db->catalog().find_table(table)) {
    jet::TableDesign design;
    design.name = table;
    for (const std::string& name : header) {
      jet::ColumnDesign column;
      column.name = name;
      column.type = jet::ColumnType::Text;
      column.size = 255;
      column.allow_zero_length = true;
      design.columns.push_back(std::move(column));
    }
    db->create_table(design);
    created = true;
  }
  // The database's own writer: indexes kept, relationships enforced (3201 for a row whose
  // foreign key has no referenced row).
  jet::TableWriter writer = db->writer(table);
  const jet::TableDef def = writer.definition();
  std::vector<std::size_t> target;
  for (const std::string& name : header) {
    const jet::ColumnDef* column = def.find_column(name);
    if (!column) throw jet::Error(jet::ErrorCode::ItemNotFound, name);
    target.push_back(column->definition_order);
  }
  std::vector<CsvField> fields;
  std::size_t rows = 0;
  std::size_t line = 1;  // records read, the header being the first
  while (next_record(in, fields)) {
    ++line;
    if (fields.size() == 1 && fields[0].text.empty() && !fields[0].quoted) continue;  // blank line
    if (fields.size() != header.size())
      throw bad_csv("ligne " + std::to_string(line) + " : " + std::to_string(fields.size()) + " champs au lieu de " +
                    std::to_string(header.size()));
    jet::Row row(def.columns.size(), jet::Value::null());
    for (std::size_t i = 0; i < fields.size(); ++i) {
      const jet::ColumnDef& column = def.columns[target[i]];
      if (!fields[i].text.empty())
        row[target[i]] = csv_value(column, fields[i].text, line);
      else if (fields[i].quoted && jet::is_textual(column.type))
        row[target[i]] = jet::Value::text("");  // the column's AllowZeroLength rule decides (3315)
    }
    writer.insert(row);
    ++rows;
  }
  tx.commit();
  out << rows << " ligne(s) importée(s) dans " << (created ? "la nouvelle table " : "la table ") << table << '\n';
  return 0;
}

const Registration import_registration{[](CLI::App& app) {
  auto* sub = app.add_subcommand("import", "Importe un fichier CSV dans une table (créée au besoin)");
  auto file = std::make_shared<std::string>();
  auto table = std::make_shared<std::string>();
  auto csv = std::make_shared<std::string>();
  sub->add_option("FILE", *file, "Base de données")->required();
  sub->add_option("TABLE", *table, "Table de destination")->required();
  sub->add_option("CSV", *csv, "Fichier CSV (en-tête : noms des colonnes)")->required();
  return Command{sub, [file, table, csv](std::ostream& out) { return import_csv(*file, *table, *csv, out); }};
}};

}  // namespace
}  // namespace jet_tool
