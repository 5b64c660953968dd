// Changing a column in place: every check over the stored rows runs before anything is
// written, then the definition, the property blob and MSysRelationships are rewritten in one
// statement. Rows are never rewritten: a Text column's size only bounds what may be stored,
// and names and display positions live in the definition alone.
#include <algorithm>

#include "jet/ddl/alter_column.h"
#include "jet/ddl/alter_column_internal.h"
#include "jet/base/error.h"
#include "jet/base/names.h"
#include "jet/record/tdef_encode.h"
#include "jet/storage/transaction.h"

namespace jet {
namespace {

using namespace column_change;

[[noreturn]] void invalid(const std::string& why) {
  throw Error(static_cast<int>(ErrorCode::InvalidOperation),
              describe(static_cast<int>(ErrorCode::InvalidOperation)) + " (" + why + ")");
}

bool truth(const Value& v) {
  if (v.kind() == ValueKind::Boolean) return v.as_boolean();
  if (v.is_numeric()) return v.to_double() != 0;
  if (v.kind() == ValueKind::Text) return same_name(v.as_text(), "true") || same_name(v.as_text(), "oui") || v.as_text() == "-1";
  throw Error(ErrorCode::TypeMismatch);
}

// The typed properties given by name among `properties` move to their own fields.
ColumnChange normalised(const ColumnChange& given) {
  ColumnChange change = given;
  change.properties.clear();
  for (const auto& [name, value] : given.properties) {
    if (same_name(name, "Name")) {
      if (value.kind() != ValueKind::Text) throw Error(ErrorCode::TypeMismatch);
      change.name = value.as_text();
    } else if (same_name(name, "Size")) {
      if (!value.is_numeric()) throw Error(ErrorCode::TypeMismatch);
      const std::int64_t n = value.to_int64();
      if (n < 1 || n > 255) invalid("taille de 1 à 255 caractères");
      change.size = static_cast<std::uint16_t>(n);
    } else if (same_name(name, "Required")) {
      change.required = truth(value);
    } else if (same_name(name, "AllowZeroLength")) {
      change.allow_zero_length = truth(value);
    } else if (same_name(name, "OrdinalPosition")) {
      if (!value.is_numeric()) throw Error(ErrorCode::TypeMismatch);
      change.ordinal_position = static_cast<std::uint16_t>(std::clamp<std::int64_t>(value.to_int64(), 0, 0xFFFF));
    } else if (engine_kept(name)) {
      invalid("la propriété " + name + " est tenue par le moteur");
    } else {
      change.properties.emplace_back(name, value);
    }
  }
  return change;
}

void check_column_name(const std::string& name) {
  TableDesign probe;
  probe.name = "T";
  ColumnDesign column;
  column.name = name;
  column.size = 1;
  probe.columns.push_back(column);
  validate(probe);
}

}  // namespace

void alter_column(WritableDatabase& db, const std::string& table, const std::string& name,
                  const ColumnChange& given) {
  const CatalogEntry saved = table_entry(db, table);
  TableDef def = read_table_def(db.pager(), saved.table_page());
  const ColumnChange change = normalised(given);
  const ColumnDef& found = column_of(def, saved.name, name);
  const std::uint16_t number = found.number;
  const std::string old_name = found.name;
  const ColumnType type = found.type;

  // Checks, before anything is written.
  if (change.name && *change.name != old_name) {
    check_column_name(*change.name);
    const ColumnDef* other = def.find_column(*change.name);
    if (other && other->number != number) throw Error(ErrorCode::FieldDefinedTwice, *change.name);
  }
  if (change.size) {
    if (type != ColumnType::Text) invalid("seule la taille d'un champ Texte se change");
    if (*change.size < 1 || *change.size > 255) invalid("taille de 1 à 255 caractères");
  }
  if (change.allow_zero_length && !is_textual(type)) invalid("chaîne vide d'un champ qui n'est pas du texte");
  const bool scan = (change.size && *change.size * 2 < found.length) || change.required.value_or(false) ||
                    (change.allow_zero_length && !*change.allow_zero_length);
  if (scan) {
    const StoredColumn stored = stored_column(db, saved, def, found);
    if (change.size && stored.longest_text > *change.size) throw Error(ErrorCode::FieldTooSmall);
    if (change.required.value_or(false) && stored.has_null) throw Error(ErrorCode::FieldRequired, old_name);
    if (change.allow_zero_length && !*change.allow_zero_length && stored.has_empty)
      throw Error(ErrorCode::ZeroLengthNotAllowed, old_name);
  }
  const std::string new_name = change.name.value_or(old_name);

  Statement statement(db.pager());
  const std::vector<std::uint8_t> before = encode_table_def(def);
  for (ColumnDef& c : def.columns) {
    if (c.number != number) continue;
    c.name = new_name;
    if (change.size) c.length = static_cast<std::uint16_t>(*change.size * 2);
  }
  if (change.ordinal_position) place_in_display_order(def, number, *change.ordinal_position);
  renumber(def);
  if (encode_table_def(def) != before) write_table_def(db.pager(), db.allocator(), def);

  PropertySet properties = read_properties(db, saved);
  const PropertySet original = properties;
  if (new_name != old_name) {
    // A block left under the new name by a dropped column gives way to the renamed one.
    properties.blocks.erase(std::remove_if(properties.blocks.begin(), properties.blocks.end(),
                                           [&](const PropertyBlock& b) {
                                             return b.kind == PropertyBlockKind::Column &&
                                                    same_name(b.name, new_name) && !same_name(b.name, old_name);
                                           }),
                            properties.blocks.end());
    for (PropertyBlock& b : properties.blocks)
      if (b.kind == PropertyBlockKind::Column && same_name(b.name, old_name)) b.name = new_name;
  }
  auto set = [&](const std::string& property, const Value& value) {
    PropertyBlock* block = nullptr;
    for (PropertyBlock& b : properties.blocks)
      if (b.kind == PropertyBlockKind::Column && same_name(b.name, new_name)) block = &b;
    if (value.is_null()) {
      if (block) block->remove(property);
      return;
    }
    if (!block) block = &properties.column_block(new_name);
    set_column_property(*block, property, value);
  };
  if (change.required) set("Required", Value::boolean(*change.required));
  if (change.allow_zero_length) set("AllowZeroLength", Value::boolean(*change.allow_zero_length));
  for (const auto& [property, value] : change.properties) set(property, value);
  if (!(properties == original)) write_properties(db, saved, properties);

  if (new_name != old_name) rename_in_relationships(db, saved.name, old_name, new_name);
  statement.commit();
  db.reload_catalog();
}

}  // namespace jet
