// Changes to saved definitions, through the engine's data-definition services.
#include <algorithm>

#include "jet/alter_index.h"
#include "jet/catalog_write.h"
#include "jet/query_write.h"
#include "jet/relationship_write.h"
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
[[noreturn]] void notYet() { throw daoError(dao_errors::NotSupported); }
}  // namespace

namespace {

// Sets or removes one property of a column block (an empty text removes it).
void setTextProperty(jet::PropertyBlock& block, const char* name, const std::string& value) {
  if (value.empty()) block.remove(name);
  else block.set(name, jet::ColumnType::Memo, jet::Value::text(value), jet::property_flags::Ddl);
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
  if (changed.name != now.name || changed.ordinalPosition != now.ordinalPosition) notYet();
  guarded([&] {
    const jet::CatalogEntry& entry = db.tableEntry(table.name);
    const std::int32_t id = entry.id;
    jet::PropertySet properties = entry.property_set();
    jet::PropertyBlock& block = properties.column_block(now.name);
    if (changed.required) block.set("Required", jet::ColumnType::Boolean, jet::Value::boolean(true), jet::property_flags::Ddl);
    else block.remove("Required");
    const jet::TableDef definition = db.tableDef(table.name);
    const jet::ColumnDef* column = definition.find_column(now.name);
    if (column && jet::is_textual(column->type))
      block.set("AllowZeroLength", jet::ColumnType::Boolean, jet::Value::boolean(changed.allowZeroLength),
                jet::property_flags::Ddl);
    setTextProperty(block, "DefaultValue", changed.defaultValue);
    setTextProperty(block, "ValidationRule", changed.validationRule);
    setTextProperty(block, "ValidationText", changed.validationText);
    jet::CatalogWriter(db.writable->pager(), db.writable->allocator()).set_properties(id, properties);
    db.writable->reload_catalog();
    db.schemaChanged();
  });
  field.def = changed;
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
void deleteTable(const std::shared_ptr<DatabaseImpl>&, std::string_view) { notYet(); }
void appendField(TableDefImpl&, const std::shared_ptr<FieldImpl>&) { notYet(); }
void deleteField(TableDefImpl&, std::string_view) { notYet(); }
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
