// What definition handles refer to (internal to platform/dao). A definition object is
// either detached (made by Create..., not yet appended: its data lives here) or saved (it
// reads the database each time it is asked, so it always shows the database as it is).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "jet/api/schema.h"
#include "platform/dao/field_impl.h"
#include "platform/dao/state.h"

namespace platform::dao::detail {

struct IndexImpl {
  std::shared_ptr<DatabaseImpl> db;  // set once saved
  std::string table;                 // the table it belongs to, once saved
  std::string name;
  bool primary = false;
  bool unique = false;
  bool ignoreNulls = false;
  bool required = false;
  bool foreign = false;
  std::vector<std::shared_ptr<FieldImpl>> fields;

  bool saved() const noexcept { return db != nullptr; }
  void checkAlive() const;
  void checkChangeable() const;  // 3219 once saved
};

struct TableDefImpl {
  std::shared_ptr<DatabaseImpl> db;  // set once saved
  std::string name;
  long attributes = 0;
  std::string connect;
  std::string sourceTableName;
  // Detached tables: the fields and indexes appended so far.
  std::vector<std::shared_ptr<FieldImpl>> fields;
  std::vector<std::shared_ptr<IndexImpl>> indexes;

  bool saved() const noexcept { return db != nullptr; }
  void checkAlive() const;
  bool linked() const noexcept { return !connect.empty(); }
};

struct RelationImpl {
  std::shared_ptr<DatabaseImpl> db;  // set once saved
  std::string name;
  std::string table;         // the primary (referenced) table
  std::string foreignTable;  // the table holding the foreign key
  long attributes = 0;
  std::vector<std::shared_ptr<FieldImpl>> fields;

  bool saved() const noexcept { return db != nullptr; }
  void checkAlive() const;
  void checkChangeable() const;
};

struct QueryDefImpl {
  std::shared_ptr<DatabaseImpl> db;  // the database it was made on
  std::string name;                  // empty: a temporary query
  std::string sql;
  bool saved = false;
  bool closed = false;
  int type = 0;
  long recordsAffected = 0;

  void checkAlive() const;
};

// Saved objects as they are in the database now.
std::vector<std::shared_ptr<TableDefImpl>> savedTables(const std::shared_ptr<DatabaseImpl>& db);
std::vector<std::shared_ptr<FieldImpl>> savedFields(const std::shared_ptr<TableDefImpl>& table);
std::vector<std::shared_ptr<IndexImpl>> savedIndexes(const std::shared_ptr<TableDefImpl>& table);
std::vector<std::shared_ptr<RelationImpl>> savedRelations(const std::shared_ptr<DatabaseImpl>& db);
std::vector<std::shared_ptr<QueryDefImpl>> savedQueries(const std::shared_ptr<DatabaseImpl>& db);

// Changes to saved objects (raise what the engine raises, 3219 when it cannot be done).
// A saved field's Name, Required, AllowZeroLength, OrdinalPosition, DefaultValue,
// ValidationRule and ValidationText change the column; Type, Size and Attributes cannot (3219).
void alterSavedField(FieldImpl& field, const FieldDef& changed);
// Sets (or, with Null, removes) a stored property of a saved field (Description, Format...).
void setSavedFieldProperty(FieldImpl& field, const std::string& name, const Variant& value);
// The saved field read again from the database (after a change made elsewhere).
void refreshSavedField(FieldImpl& field);
void appendTable(const std::shared_ptr<DatabaseImpl>& db, TableDefImpl& table);
void deleteTable(const std::shared_ptr<DatabaseImpl>& db, std::string_view name);
void renameTable(TableDefImpl& table, const std::string& name);
// Appending makes the field object stand for the new column of the saved table.
void appendField(const std::shared_ptr<TableDefImpl>& table, const std::shared_ptr<FieldImpl>& field);
void deleteField(TableDefImpl& table, std::string_view name);
void appendIndex(TableDefImpl& table, const std::shared_ptr<IndexImpl>& index);
void deleteIndex(TableDefImpl& table, std::string_view name);
void appendRelation(const std::shared_ptr<DatabaseImpl>& db, RelationImpl& relation);
void deleteRelation(const std::shared_ptr<DatabaseImpl>& db, std::string_view name);
void saveQuery(const std::shared_ptr<DatabaseImpl>& db, QueryDefImpl& query);
void deleteQuery(const std::shared_ptr<DatabaseImpl>& db, std::string_view name);
void changeQuerySql(QueryDefImpl& query, const std::string& sql);

// The engine's design of a detached field / index.
jet::ColumnDesign columnDesignOf(const FieldDef& field);
jet::IndexDesign indexDesignOf(const IndexImpl& index);

}  // namespace platform::dao::detail
