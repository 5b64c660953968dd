// Changes to saved definitions, through the engine's data-definition services.
#include <algorithm>

#include "jet/api/schema.h"
#include "jet/api/database.h"
#include "platform/dao/constants.h"
#include "platform/dao/dao_error.h"
#include "platform/dao/schema_impl.h"
#include "platform/vbstring.h"

namespace platform::dao::detail {

jet::ColumnDesign columnDesignOf(const FieldDef& field) {
  jet::ColumnDesign design;
  design.name = field.name;
  design.type = columnTypeOf(field.type);
  if (design.type == jet::ColumnType::Text || design.type == jet::ColumnType::Binary) {
    if (field.size < 1 || field.size > 255) throw daoError(dao_errors::InvalidArgument);
    design.size = static_cast<std::uint16_t>(field.size);
  }
  design.autonumber = (field.attributes & dbAutoIncrField) && design.type == jet::ColumnType::Long;
  design.required = field.required;
  design.allow_zero_length = field.allowZeroLength;
  if (!field.defaultValue.empty()) design.default_value = field.defaultValue;
  if (!field.validationRule.empty()) design.properties.emplace_back("ValidationRule", jet::Value::text(field.validationRule));
  if (!field.validationText.empty()) design.properties.emplace_back("ValidationText", jet::Value::text(field.validationText));
  return design;
}

jet::IndexDesign indexDesignOf(const IndexImpl& index) {
  if (index.fields.empty()) throw daoError(dao_errors::NoFieldDefined);
  jet::IndexDesign design;
  design.name = index.name;
  design.primary = index.primary;
  design.unique = index.unique || index.primary;
  design.ignore_nulls = index.ignoreNulls;
  design.required = index.required || index.primary;
  for (const auto& f : index.fields) design.columns.push_back({f->def.name, (f->def.attributes & dbDescending) != 0});
  return design;
}

namespace {

// The stored name of a saved table's column (3265 when none).
std::string storedColumn(DatabaseImpl& db, const std::string& table, std::string_view name) {
  const jet::TableDef def = db.tableDef(table);
  const jet::ColumnDef* column = def.find_column(name);
  if (!column) throw daoError(dao_errors::ItemNotFound);
  return column->name;
}

// A value in the type a property is already stored in (VB's conversions).
jet::Value asStoredType(jet::ColumnType type, const Variant& value) {
  switch (type) {
    case jet::ColumnType::Text:
    case jet::ColumnType::Memo: return jet::Value::text(value.Text());
    case jet::ColumnType::Boolean: return jet::Value::boolean(value.CBool());
    case jet::ColumnType::Byte: return jet::Value::byte(static_cast<std::uint8_t>(value.CLng()));
    case jet::ColumnType::Integer: return jet::Value::integer(value.CInt());
    case jet::ColumnType::Long: return jet::Value::long_(value.CLng());
    case jet::ColumnType::Double: return jet::Value::double_(value.CDbl());
    default: return value.value();
  }
}

// Sets or removes (empty text / Null) properties of a column's block with the types Access
// stores them in: DefaultValue as a Memo, ValidationRule and ValidationText as Texts, all
// three enforced by the engine (DDL); a property already stored keeps its type and flags.
void writeColumnProperties(DatabaseImpl& db, const std::string& table, const std::string& column,
                           const std::vector<std::pair<std::string, Variant>>& values) {
  db.catalogCache.reset();  // the engine may just have changed the table
  const jet::CatalogEntry& entry = db.tableEntry(table);
  const std::int32_t id = entry.id;
  jet::PropertySet properties = entry.property_set();
  bool changed = false;
  for (const auto& [name, value] : values) {
    const bool removal = value.IsNull() || value.IsEmpty() ||
                         (value.kind() == jet::ValueKind::Text && value.value().as_text().empty());
    if (removal) {
      for (jet::PropertyBlock& b : properties.blocks)
        if (b.kind == jet::PropertyBlockKind::Column && EqualsNoCase(b.name, column)) changed |= b.remove(name);
      continue;
    }
    jet::PropertyBlock& block = properties.column_block(column);
    changed = true;
    if (const jet::Property* existing = block.find(name)) {
      block.set(name, existing->type, asStoredType(existing->type, value), existing->flags);
    } else if (const auto form = jet::engine_column_property_form(name)) {
      block.set(name, form->type, asStoredType(form->type, value), form->flags);
    } else {
      block.set(name, value.value());
    }
  }
  if (!changed) return;
  jet::CatalogWriter(db.writable->pager(), db.writable->allocator()).set_properties(id, properties);
  db.writable->reload_catalog();
  db.catalogCache.reset();
}

// Runs `body` as one statement: a failure half way undoes all of it and the catalog views
// are read again so that they match the pages.
template <class Body>
void inStatement(DatabaseImpl& db, Body body) {
  jet::Statement statement(db.writable->pager());
  try {
    body();
    statement.commit();
  } catch (...) {
    statement.rollback();
    db.writable->reload_catalog();
    db.schemaChanged();
    throw;
  }
}

void afterSchemaChange(DatabaseImpl& db) {
  db.writable->reload_catalog();  // also after a rollback: the catalog must match the pages
  db.schemaChanged();
}

}  // namespace

void alterSavedField(FieldImpl& field, const FieldDef& changed) {
  TableDefImpl& table = *field.table;
  DatabaseImpl& db = *table.db;
  db.checkWritable();
  const FieldDef& now = field.def;
  // What the stored definition fixes cannot change on a saved field.
  if (changed.type != now.type || changed.size != now.size || changed.attributes != now.attributes)
    throw daoError(dao_errors::InvalidOperation);
  guarded([&] {
    const jet::TableDef definition = db.tableDef(table.name);
    const jet::ColumnDef* column = definition.find_column(now.name);
    if (!column) throw daoError(dao_errors::ItemNotFound);
    jet::ColumnChange change;
    if (changed.name != now.name) change.name = changed.name;
    if (changed.required != now.required) change.required = changed.required;
    if (changed.allowZeroLength != now.allowZeroLength && jet::is_textual(column->type))
      change.allow_zero_length = changed.allowZeroLength;
    if (changed.ordinalPosition != now.ordinalPosition)
      change.ordinal_position = static_cast<std::uint16_t>(std::max(0, changed.ordinalPosition));
    std::vector<std::pair<std::string, Variant>> texts;
    if (changed.defaultValue != now.defaultValue) texts.emplace_back("DefaultValue", Variant(changed.defaultValue));
    if (changed.validationRule != now.validationRule) texts.emplace_back("ValidationRule", Variant(changed.validationRule));
    if (changed.validationText != now.validationText) texts.emplace_back("ValidationText", Variant(changed.validationText));
    const std::string stored = column->name;
    inStatement(db, [&] {
      if (change.name || change.required || change.allow_zero_length || change.ordinal_position)
        jet::alter_column(*db.writable, table.name, stored, change);
      writeColumnProperties(db, table.name, change.name ? *change.name : stored, texts);
    });
    afterSchemaChange(db);
  });
  field.def = changed;
  guarded([&] { refreshSavedField(field); });
}

void setSavedFieldProperty(FieldImpl& field, const std::string& name, const Variant& value) {
  TableDefImpl& table = *field.table;
  DatabaseImpl& db = *table.db;
  db.checkWritable();
  guarded([&] {
    const std::string stored = storedColumn(db, table.name, field.def.name);
    inStatement(db, [&] { writeColumnProperties(db, table.name, stored, {{name, value}}); });
    afterSchemaChange(db);
    refreshSavedField(field);
  });
}

void appendTable(const std::shared_ptr<DatabaseImpl>& db, TableDefImpl& table) {
  db->checkWritable();
  if (table.saved()) throw daoError(dao_errors::NameExists);
  if (table.fields.empty()) throw daoError(dao_errors::NoFieldDefined);
  guarded([&] {
    jet::TableDesign design;
    design.name = table.name;
    // Fields go in the order of their OrdinalPosition, then of their appending.
    std::vector<std::shared_ptr<FieldImpl>> fields = table.fields;
    std::stable_sort(fields.begin(), fields.end(), [](const auto& a, const auto& b) {
      return a->def.ordinalPosition < b->def.ordinalPosition;
    });
    for (const auto& f : fields) {
      if (f->def.type == 0) throw daoError(dao_errors::InvalidFieldType);
      design.columns.push_back(columnDesignOf(f->def));
    }
    bool primary = false;
    for (const auto& index : table.indexes) {
      if (index->primary && primary) throw daoError(dao_errors::PrimaryKeyExists);
      primary = primary || index->primary;
      design.indexes.push_back(indexDesignOf(*index));
    }
    db->writable->create_table(design);
    db->writable->reload_catalog();
    db->schemaChanged();
  });
  // The object now stands for the saved table.
  table.db = db;
  table.fields.clear();
  table.indexes.clear();
}

void deleteTable(const std::shared_ptr<DatabaseImpl>& db, std::string_view name) {
  db->checkWritable();
  guarded([&] {
    const jet::CatalogEntry* entry = db->catalog().find_table(name);
    if (!entry) throw daoError(dao_errors::ItemNotFound);
    const std::string stored = entry->name;
    jet::drop_table(*db->writable, stored);
    afterSchemaChange(*db);
  });
}

void renameTable(TableDefImpl& table, const std::string& name) {
  DatabaseImpl& db = *table.db;
  db.checkWritable();
  guarded([&] {
    jet::rename_table(*db.writable, db.tableEntry(table.name).name, name);
    afterSchemaChange(db);
  });
  table.name = name;
}

void appendField(const std::shared_ptr<TableDefImpl>& table, const std::shared_ptr<FieldImpl>& field) {
  DatabaseImpl& db = *table->db;
  db.checkWritable();
  if (table->linked()) throw daoError(dao_errors::InvalidOperation);
  if (field->owner != FieldImpl::Owner::Detached) throw daoError(dao_errors::NameExists);
  if (field->def.type == 0) throw daoError(dao_errors::InvalidFieldType);
  guarded([&] {
    jet::ColumnDesign design = columnDesignOf(field->def);
    // The texts are written below with the types Access gives them.
    design.default_value.reset();
    design.properties.clear();
    std::optional<std::uint16_t> position;
    if (field->ordinalPositionSet) position = static_cast<std::uint16_t>(std::max(0, field->def.ordinalPosition));
    inStatement(db, [&] {
      jet::add_column(*db.writable, table->name, design, position);
      writeColumnProperties(db, table->name, field->def.name,
                            {{"DefaultValue", Variant(field->def.defaultValue)},
                             {"ValidationRule", Variant(field->def.validationRule)},
                             {"ValidationText", Variant(field->def.validationText)}});
    });
    afterSchemaChange(db);
  });
  // The object now stands for the saved column.
  field->owner = FieldImpl::Owner::Table;
  field->table = table;
  field->ordinalPositionSet = false;
  guarded([&] { refreshSavedField(*field); });
}

void deleteField(TableDefImpl& table, std::string_view name) {
  DatabaseImpl& db = *table.db;
  db.checkWritable();
  if (table.linked()) throw daoError(dao_errors::InvalidOperation);
  guarded([&] {
    jet::drop_column(*db.writable, table.name, storedColumn(db, table.name, name));
    afterSchemaChange(db);
  });
}

void appendIndex(TableDefImpl& table, const std::shared_ptr<IndexImpl>& index) {
  DatabaseImpl& db = *table.db;
  db.checkWritable();
  if (index->saved()) throw daoError(dao_errors::IndexExists);
  guarded([&] {
    jet::create_index(*db.writable, table.name, indexDesignOf(*index));
    db.writable->reload_catalog();
    db.schemaChanged();
  });
  index->db = table.db;
  index->table = table.name;
}

void deleteIndex(TableDefImpl& table, std::string_view name) {
  DatabaseImpl& db = *table.db;
  db.checkWritable();
  guarded([&] {
    std::string stored;
    for (const jet::LogicalIndex& logical : db.tableDef(table.name).logical_indexes)
      if (EqualsNoCase(logical.name, name)) stored = logical.name;
    if (stored.empty()) throw daoError(dao_errors::ItemNotFound);
    jet::drop_index(*db.writable, table.name, stored);
    db.writable->reload_catalog();
    db.schemaChanged();
  });
}
void appendRelation(const std::shared_ptr<DatabaseImpl>& db, RelationImpl& relation) {
  db->checkWritable();
  if (relation.saved()) throw daoError(dao_errors::NameExists);
  if (relation.fields.empty()) throw daoError(dao_errors::RelationWithoutFields);
  guarded([&] {
    jet::RelationshipDesign design;
    design.name = relation.name;
    design.table = relation.foreignTable;      // holds the foreign key
    design.referenced_table = relation.table;  // the primary side
    for (const auto& f : relation.fields) {
      design.referenced_columns.push_back(f->def.name);
      design.columns.push_back(f->def.foreignName);
    }
    design.attributes = static_cast<std::uint32_t>(relation.attributes);
    jet::create_relationship(*db->writable, design);
    db->writable->reload_catalog();
    db->schemaChanged();
  });
  relation.db = db;
}

void deleteRelation(const std::shared_ptr<DatabaseImpl>& db, std::string_view name) {
  db->checkWritable();
  guarded([&] {
    std::string stored;
    for (const jet::Relationship& r : db->catalog().relationships())
      if (EqualsNoCase(r.name, name)) stored = r.name;
    if (stored.empty()) throw daoError(dao_errors::ItemNotFound);
    jet::delete_relationship(*db->writable, stored);
    db->writable->reload_catalog();
    db->schemaChanged();
  });
}
namespace {

// The saved query's type as QueryDef.Type gives it (the catalog row's flags).
int savedQueryType(DatabaseImpl& db, const std::string& name) {
  const jet::CatalogEntry* entry = db.catalog().find_object(name, static_cast<std::int16_t>(jet::ObjectType::Query));
  return entry ? static_cast<int>(entry->flags & 0xF0) : 0;
}

void afterCatalogChange(DatabaseImpl& db) {
  db.writable->reload_catalog();
  db.schemaChanged();
}

}  // namespace

void saveQuery(const std::shared_ptr<DatabaseImpl>& db, QueryDefImpl& query) {
  db->checkWritable();
  if (query.saved) throw daoError(dao_errors::NameExists);
  if (query.name.empty()) throw daoError(dao_errors::InvalidOperation);
  guarded([&] {
    jet::create_query(*db->writable, query.name, query.sql);
    afterCatalogChange(*db);
  });
  query.db = db;
  query.saved = true;
  query.type = savedQueryType(*db, query.name);
}

void deleteQuery(const std::shared_ptr<DatabaseImpl>& db, std::string_view name) {
  db->checkWritable();
  guarded([&] {
    const jet::CatalogEntry* entry =
        db->catalog().find_object(name, static_cast<std::int16_t>(jet::ObjectType::Query));
    if (!entry) throw daoError(dao_errors::ItemNotFound);
    jet::delete_query(*db->writable, entry->name);
    afterCatalogChange(*db);
  });
}

void changeQuerySql(QueryDefImpl& query, const std::string& sql) {
  query.db->checkWritable();
  guarded([&] {
    jet::replace_query(*query.db->writable, query.name, sql);
    afterCatalogChange(*query.db);
  });
  query.type = savedQueryType(*query.db, query.name);
}

}  // namespace platform::dao::detail
