// `jet schema`: table definitions as Jet DDL, then the indexes of each table.
#include <algorithm>
#include <optional>

#include "commands.h"
#include "jet/db/database.h"

namespace jet_tool {
namespace {

std::string type_text(const jet::ColumnDef& c) {
  using jet::ColumnType;
  switch (c.type) {
    // Jet 4 keeps 2 bytes per character, Jet 3 (text in a code page) one.
    case ColumnType::Text: return "Text (" + std::to_string(c.code_page ? c.length : c.length / 2) + ")";
    case ColumnType::Binary: return "Binary (" + std::to_string(c.length) + ")";
    case ColumnType::Numeric:
      return "Numeric (" + std::to_string(c.precision) + ", " + std::to_string(c.scale) + ")";
    case ColumnType::Long: return c.flags & jet::column_flags::AutoLong ? "Long Integer (AutoNumber)" : "Long Integer";
    default: return jet::column_type_name(c.type);
  }
}

// Column properties as comments under the column, in their stored order.
void print_properties(const jet::PropertyBlock* block, std::ostream& out) {
  if (!block) return;
  for (const auto& p : block->properties) {
    out << "\t--\t" << p.name << " = ";
    if (p.value.is_null()) out << "Null";
    else if (p.value.kind() == jet::ValueKind::Binary) out << "(binaire, " << p.value.as_binary().size() << " octets)";
    else out << p.value.to_display();
    out << '\n';
  }
}

void print_table(const jet::Table& t, const jet::PropertySet* properties, std::ostream& out) {
  const auto& def = t.def();
  out << "CREATE TABLE [" << t.name() << "]\n (\n";
  for (std::size_t i = 0; i < def.columns.size(); ++i) {
    const auto& c = def.columns[i];
    out << "\t[" << c.name << "]\t\t\t" << type_text(c);
    if (!(c.flags & jet::column_flags::Nullable) && c.type != jet::ColumnType::Boolean) out << " NOT NULL";
    out << (i + 1 < def.columns.size() ? ", " : "") << '\n';
    if (properties) print_properties(properties->column(c.name), out);
  }
  out << ");\n";
  for (const auto& li : def.logical_indexes) {
    const jet::IndexDef* real = def.real_index(li.real_index);
    out << "-- index [" << li.name << "]";
    if (li.kind == jet::IndexKind::Primary) out << " PRIMARY KEY";
    if (li.kind == jet::IndexKind::ForeignKey) out << " FOREIGN KEY";
    if (real) {
      out << " (";
      for (std::size_t k = 0; k < real->columns.size(); ++k) {
        const jet::ColumnDef* c = def.column_by_number(real->columns[k].column_number);
        out << (k ? ", " : "") << "[" << (c ? c->name : "?") << "]" << (real->columns[k].ascending ? "" : " DESC");
      }
      out << ")";
      if (real->unique()) out << " UNIQUE";
      if (real->ignore_nulls()) out << " IGNORE NULL";
      if (real->required()) out << " DISALLOW NULL";
      out << " racine page " << real->root_page;
    }
    out << '\n';
  }
  out << '\n';
}

}  // namespace

int schema(const std::string& file, const std::string& table, bool with_properties,
           std::ostream& out) {
  auto db = jet::Database::open(file);
  auto show = [&](const std::string& name) {
    std::optional<jet::PropertySet> props;
    if (with_properties) {
      if (const auto* entry = db->catalog().find_table(name)) props = entry->property_set();
    }
    print_table(db->table(name), props ? &*props : nullptr, out);
  };
  if (!table.empty()) {
    show(table);
    return 0;
  }
  for (const auto& name : db->table_names(false)) show(name);
  return 0;
}

}  // namespace jet_tool
