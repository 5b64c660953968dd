// Column properties as the data-access objects list them: what the definition itself says
// (kept by the engine, some of it changeable only through alter_column), then what the
// table's property blob holds for the column.
#include <algorithm>

#include "jet/ddl/alter_column.h"
#include "jet/ddl/alter_column_internal.h"
#include "jet/base/names.h"
#include "jet/table/table_writer.h"

namespace jet {
namespace {

using namespace column_change;

// DAO's field attribute bits.
constexpr std::int32_t kFixedField = 0x0001;
constexpr std::int32_t kVariableField = 0x0002;
constexpr std::int32_t kAutoIncrField = 0x0010;
constexpr std::int32_t kUpdatableField = 0x0020;
constexpr std::int32_t kHyperlinkField = 0x8000;
// DAO's type code of Numeric columns (the definition stores 0x10).
constexpr std::int16_t kDecimalType = 20;

std::int32_t attributes_of(const ColumnDef& c) {
  std::int32_t a = kUpdatableField | (c.is_fixed() ? kFixedField : kVariableField);
  if (c.flags & column_flags::AutoLong) a |= kAutoIncrField;
  if (c.flags & column_flags::Hyperlink) a |= kHyperlinkField;
  return a;
}

bool stored_true(const PropertyBlock* block, std::string_view name) {
  const Property* p = block ? block->find(name) : nullptr;
  return p && p->value.is_numeric() && p->value.to_double() != 0;
}

std::int32_t size_of(const ColumnDef& c) {
  if (is_long_value(c.type)) return 0;
  if (c.type == ColumnType::Text) return c.length / 2;
  if (c.type == ColumnType::Boolean) return 1;
  if (c.type == ColumnType::Binary) return c.length;
  return static_cast<std::int32_t>(fixed_column_size(c));
}

}  // namespace

namespace column_change {

bool engine_kept(std::string_view property) {
  static const char* const kept[] = {"Type", "Attributes", "CollatingOrder", "SourceField", "SourceTable",
                                     "DataUpdatable", "ForeignName", "FieldSize", "ValidateOnSet"};
  return std::any_of(std::begin(kept), std::end(kept), [&](const char* k) { return same_name(k, property); });
}

}  // namespace column_change

std::vector<ColumnProperty> column_properties(WritableDatabase& db, const std::string& table,
                                              const std::string& column) {
  const CatalogEntry& entry = table_entry(db, table);
  const TableDef def = read_table_def(db.pager(), entry.table_page());
  const ColumnDef& c = column_of(def, entry.name, column);
  const PropertySet properties = read_properties(db, entry);
  const ColumnRules rules = ColumnRules::from_properties(def, properties);
  const bool textual = is_textual(c.type);

  std::vector<ColumnProperty> out;
  out.push_back({"Name", Value::text(c.name), true});
  out.push_back({"Type", Value::integer(c.type == ColumnType::Numeric ? kDecimalType : static_cast<std::int16_t>(c.type)),
                 false});
  out.push_back({"Size", Value::long_(size_of(c)), c.type == ColumnType::Text});
  out.push_back({"OrdinalPosition", Value::integer(static_cast<std::int16_t>(display_position(def, c.number))), true});
  out.push_back({"Required", Value::boolean(rules.required.count(c.name) > 0), true});
  // As DAO reports it: True only when stored so (a column made by SQL DDL reads False, though
  // the writers accept "" in it).
  out.push_back({"AllowZeroLength", Value::boolean(textual && stored_true(properties.column(c.name), "AllowZeroLength")),
                 textual});
  out.push_back({"Attributes", Value::long_(attributes_of(c)), false});
  out.push_back({"CollatingOrder", Value::long_(textual ? c.sort_order : 0x0409), false});
  if (const PropertyBlock* block = properties.column(c.name))
    for (const Property& p : block->properties) {
      const bool listed = std::any_of(out.begin(), out.end(), [&](const ColumnProperty& o) { return same_name(o.name, p.name); });
      if (!listed) out.push_back({p.name, p.value, !engine_kept(p.name)});
    }
  return out;
}

}  // namespace jet
