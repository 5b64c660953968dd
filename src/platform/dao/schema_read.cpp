// Saved definition objects read from the catalog and the table definitions.
#include <algorithm>

#include "platform/dao/constants.h"
#include "platform/dao/dao_error.h"
#include "platform/dao/schema_impl.h"
#include "platform/vbstring.h"

namespace platform::dao::detail {

void IndexImpl::checkAlive() const {
  if (db) db->checkOpen();
}
void IndexImpl::checkChangeable() const {
  checkAlive();
  if (saved()) throw daoError(dao_errors::InvalidOperation);
}
void TableDefImpl::checkAlive() const {
  if (db) db->checkOpen();
}
void RelationImpl::checkAlive() const {
  if (db) db->checkOpen();
}
void RelationImpl::checkChangeable() const {
  checkAlive();
  if (saved()) throw daoError(dao_errors::InvalidOperation);
}
void QueryDefImpl::checkAlive() const {
  if (closed) throw daoError(dao_errors::InvalidObject);
  if (db) db->checkOpen();
}

namespace {

bool isTableObject(const jet::CatalogEntry& entry) {
  return entry.type == static_cast<std::int16_t>(jet::ObjectType::Table) ||
         entry.type == static_cast<std::int16_t>(jet::ObjectType::LinkedTable) ||
         entry.type == static_cast<std::int16_t>(jet::ObjectType::LinkedOdbc);
}

bool truthy(const jet::Value& v) {
  if (v.is_null() || v.is_empty()) return false;
  if (v.kind() == jet::ValueKind::Boolean) return v.as_boolean();
  if (v.is_numeric()) return v.to_double() != 0;
  return false;
}

}  // namespace

std::vector<std::shared_ptr<TableDefImpl>> savedTables(const std::shared_ptr<DatabaseImpl>& db) {
  std::vector<std::shared_ptr<TableDefImpl>> tables;
  for (const jet::CatalogEntry& entry : db->catalog().entries()) {
    if (!isTableObject(entry)) continue;
    auto t = std::make_shared<TableDefImpl>();
    t->db = db;
    t->name = entry.name;
    if (entry.type != static_cast<std::int16_t>(jet::ObjectType::Table)) {
      t->connect = entry.connect.empty() ? ";" : entry.connect;
      t->sourceTableName = entry.foreign_name;
      t->attributes = dbAttachedTable;
    } else if (entry.is_system()) {
      t->attributes = dbSystemObject;
    }
    tables.push_back(std::move(t));
  }
  return tables;
}

namespace {

// Where a column stands among the table's fields as Access shows them (its OrdinalPosition).
int displayPosition(const jet::TableDef& def, const jet::ColumnDef& column) {
  int position = 0;
  for (const jet::ColumnDef& c : def.columns)
    if (c.display_index < column.display_index ||
        (c.display_index == column.display_index && c.number < column.number))
      ++position;
  return position;
}

// A saved field's definition and stored properties.
void readSavedField(FieldImpl& f, const jet::CatalogEntry& entry, const jet::TableDef& def,
                    const jet::PropertySet& properties, const jet::ColumnDef& column) {
  f.def = fieldDefOf(column, entry.name);
  f.def.ordinalPosition = displayPosition(def, column);
  f.extraProperties.clear();
  if (const jet::PropertyBlock* block = properties.column(column.name)) {
    for (const jet::Property& p : block->properties) {
      if (EqualsNoCase(p.name, "Required")) f.def.required = truthy(p.value);
      else if (EqualsNoCase(p.name, "AllowZeroLength")) f.def.allowZeroLength = truthy(p.value);
      else if (EqualsNoCase(p.name, "DefaultValue")) f.def.defaultValue = Variant(p.value).Text();
      else if (EqualsNoCase(p.name, "ValidationRule")) f.def.validationRule = Variant(p.value).Text();
      else if (EqualsNoCase(p.name, "ValidationText")) f.def.validationText = Variant(p.value).Text();
      else f.extraProperties.emplace_back(p.name, Variant(p.value));
    }
  }
}

}  // namespace

std::vector<std::shared_ptr<FieldImpl>> savedFields(const std::shared_ptr<TableDefImpl>& table) {
  DatabaseImpl& db = *table->db;
  const jet::CatalogEntry& entry = db.tableEntry(table->name);
  const jet::TableDef def = jet::read_table_def(db.pager(), entry.table_page());
  const jet::PropertySet properties = entry.property_set();
  std::vector<std::shared_ptr<FieldImpl>> fields;
  for (const jet::ColumnDef& column : def.columns) {
    auto f = std::make_shared<FieldImpl>();
    f->owner = FieldImpl::Owner::Table;
    f->table = table;
    readSavedField(*f, entry, def, properties, column);
    fields.push_back(std::move(f));
  }
  // The collection walks the fields in the order Access shows them.
  std::stable_sort(fields.begin(), fields.end(), [](const auto& a, const auto& b) {
    return a->def.ordinalPosition < b->def.ordinalPosition;
  });
  return fields;
}

void refreshSavedField(FieldImpl& field) {
  DatabaseImpl& db = *field.table->db;
  const jet::CatalogEntry& entry = db.tableEntry(field.table->name);
  const jet::TableDef def = jet::read_table_def(db.pager(), entry.table_page());
  const jet::ColumnDef* column = def.find_column(field.def.name);
  if (!column) throw daoError(dao_errors::ItemNotFound);
  readSavedField(field, entry, def, entry.property_set(), *column);
}

std::vector<std::shared_ptr<IndexImpl>> savedIndexes(const std::shared_ptr<TableDefImpl>& table) {
  DatabaseImpl& db = *table->db;
  const jet::TableDef def = db.tableDef(table->name);
  std::vector<std::shared_ptr<IndexImpl>> indexes;
  for (const jet::LogicalIndex& logical : def.logical_indexes) {
    auto index = std::make_shared<IndexImpl>();
    index->db = table->db;
    index->table = table->name;
    index->name = logical.name;
    index->primary = logical.kind == jet::IndexKind::Primary;
    index->foreign = logical.kind == jet::IndexKind::ForeignKey;
    if (const jet::IndexDef* real = def.real_index(logical.real_index)) {
      index->unique = real->unique();
      index->ignoreNulls = real->ignore_nulls();
      index->required = real->required();
      for (const jet::IndexColumn& ic : real->columns) {
        const jet::ColumnDef* column = def.column_by_number(ic.column_number);
        auto f = std::make_shared<FieldImpl>();
        f->owner = FieldImpl::Owner::Index;
        f->def.name = column ? column->name : std::string();
        if (column) f->def.type = fieldTypeOf(column->type);
        f->def.attributes = ic.ascending ? 0 : dbDescending;
        index->fields.push_back(std::move(f));
      }
    }
    indexes.push_back(std::move(index));
  }
  return indexes;
}

std::vector<std::shared_ptr<RelationImpl>> savedRelations(const std::shared_ptr<DatabaseImpl>& db) {
  std::vector<std::shared_ptr<RelationImpl>> relations;
  for (const jet::Relationship& r : db->catalog().relationships()) {
    auto rel = std::make_shared<RelationImpl>();
    rel->db = db;
    rel->name = r.name;
    rel->table = r.referenced_table;
    rel->foreignTable = r.table;
    rel->attributes = static_cast<long>(r.flags);
    for (std::size_t i = 0; i < r.columns.size(); ++i) {
      auto f = std::make_shared<FieldImpl>();
      f->owner = FieldImpl::Owner::Relation;
      f->def.name = i < r.referenced_columns.size() ? r.referenced_columns[i] : std::string();
      f->def.foreignName = r.columns[i];
      rel->fields.push_back(std::move(f));
    }
    relations.push_back(std::move(rel));
  }
  return relations;
}

std::vector<std::shared_ptr<QueryDefImpl>> savedQueries(const std::shared_ptr<DatabaseImpl>& db) {
  std::vector<std::shared_ptr<QueryDefImpl>> queries;
  for (const jet::CatalogEntry* entry : db->catalog().queries()) {
    auto q = std::make_shared<QueryDefImpl>();
    q->db = db;
    q->name = entry->name;
    q->saved = true;
    q->type = static_cast<int>(entry->flags & 0xF0);
    queries.push_back(std::move(q));
  }
  return queries;
}

}  // namespace platform::dao::detail
