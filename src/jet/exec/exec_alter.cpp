// Data definition on existing tables: ALTER TABLE (columns and constraints), CREATE and DROP
// INDEX, DROP TABLE, through the engine's schema changes. Each statement is one engine
// statement: a refusal leaves the table as it was.
#include "jet/ddl/alter_column.h"
#include "jet/ddl/alter_index.h"
#include "jet/ddl/alter_table.h"
#include "jet/catalog/catalog.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/ddl/relationship_write.h"
#include "jet/exec/exec_internal.h"
#include "jet/sql/sql_error.h"
#include "jet/storage/transaction.h"

namespace jet::sql::detail {
namespace {

jet::WritableDatabase& writable_for_alter(Run& run) {
  if (!run.writable()) fail(static_cast<int>(SqlError::ReadOnlyObject));
  return *run.writable();
}

// The table's definition as stored (3078 when there is none).
jet::TableDef definition(jet::WritableDatabase& db, const std::string& table) { return db.table(table).def(); }

// The stored name of a column (3265 when the table has none of that name).
std::string stored_column(const jet::TableDef& def, const std::string& name) {
  const jet::ColumnDef* c = def.find_column(name);
  if (!c) throw jet::Error(jet::ErrorCode::ItemNotFound, name);
  return c->name;
}

jet::IndexDesign index_of_constraint(const Constraint& k, const std::vector<std::string>& columns) {
  jet::IndexDesign index;
  index.primary = k.kind == ConstraintKind::PrimaryKey;
  index.unique = true;
  index.required = index.primary;
  index.name = !k.name.empty() ? k.name : (index.primary ? "PrimaryKey" : "Index_" + columns.front());
  for (const auto& c : columns) index.columns.push_back({c, false});
  return index;
}

// A column constraint written after ADD COLUMN / ALTER COLUMN applied to the table.
void apply_column_constraint(Run& run, const std::string& table, const Constraint& k,
                             const std::string& column) {
  jet::WritableDatabase& db = writable_for_alter(run);
  switch (k.kind) {
    case ConstraintKind::NotNull:
      return;  // carried by the column's Required flag
    case ConstraintKind::PrimaryKey:
    case ConstraintKind::Unique:
      jet::create_index(db, table, index_of_constraint(k, {column}));
      return;
    case ConstraintKind::ForeignKey:
      jet::create_relationship(db, relationship_of(db, table, k, {column}));
      return;
  }
}

// ALTER COLUMN to another type: a new column of that type takes the converted values, the
// old one goes, the new one takes its name and place. A value that cannot be converted
// refuses the whole change.
void change_column_type(jet::WritableDatabase& db, const std::string& table, const jet::ColumnDef& old,
                        jet::ColumnDesign design) {
  const std::string final_name = design.name;
  std::string temporary = "~" + final_name;
  const jet::TableDef before = definition(db, table);
  while (before.find_column(temporary)) temporary += "~";
  design.name = temporary;
  const bool required = design.required;
  design.required = false;  // set once the values are in
  jet::add_column(db, table, design);
  {
    const jet::Table now = db.table(table);
    const jet::ColumnDef* from = now.def().find_column(old.name);
    const jet::ColumnDef* to = now.def().find_column(temporary);
    const auto from_at = static_cast<std::size_t>(from->definition_order);
    const auto to_at = static_cast<std::size_t>(to->definition_order);
    std::vector<std::pair<RowId, Row>> rows;
    now.scan([&](RowId id, const Row& row) {
      rows.emplace_back(id, row);
      return true;
    });
    jet::TableWriter writer = db.writer(table);
    for (auto& [id, row] : rows) {
      if (row[from_at].is_null()) continue;
      row[to_at] = convert_for_column(*to, row[from_at]);
      writer.update(id, row);
    }
  }
  jet::drop_column(db, table, old.name);
  jet::ColumnChange rename;
  rename.name = final_name;
  if (required) rename.required = true;
  rename.ordinal_position = static_cast<std::uint16_t>(old.definition_order);
  jet::alter_column(db, table, temporary, rename);
}

void alter_column(Run& run, const std::string& table, const sql::ColumnDef& column) {
  jet::WritableDatabase& db = writable_for_alter(run);
  const jet::TableDef def = definition(db, table);
  const jet::ColumnDef* old = def.find_column(column.name);
  if (!old) throw jet::Error(jet::ErrorCode::ItemNotFound, column.name);
  jet::ColumnDesign design = column_design(column);
  design.name = old->name;
  if (design.type == old->type && !design.autonumber) {
    jet::ColumnChange change;
    if (design.type == ColumnType::Text || design.type == ColumnType::Binary) change.size = design.size;
    if (column.not_null) change.required = true;
    if (change.size || change.required) jet::alter_column(db, table, old->name, change);
  } else {
    change_column_type(db, table, *old, design);
  }
  for (const auto& k : column.constraints) apply_column_constraint(run, table, k, old->name);
}

// DROP CONSTRAINT: a relationship touching the table by that name (its foreign-key index
// carries the same name and goes with it), else an index of the table.
void drop_constraint(jet::WritableDatabase& db, const std::string& table, const std::string& name) {
  for (const jet::Relationship& r : db.catalog().relationships())
    if (upper(r.name) == upper(name) &&
        (upper(r.table) == upper(table) || upper(r.referenced_table) == upper(table))) {
      jet::delete_relationship(db, r.name);
      return;
    }
  const jet::TableDef def = definition(db, table);
  for (const jet::LogicalIndex& index : def.logical_indexes)
    if (upper(index.name) == upper(name)) {
      jet::drop_index(db, table, index.name);
      return;
    }
  throw jet::Error(jet::ErrorCode::ItemNotFound, name);
}

}  // namespace

jet::RelationshipDesign relationship_of(jet::WritableDatabase& db, const std::string& table, const Constraint& k,
                                        const std::vector<std::string>& columns) {
  jet::RelationshipDesign design;
  design.table = table;
  design.referenced_table = k.references;
  design.name = !k.name.empty() ? k.name : k.references + table;
  design.columns = columns;
  design.referenced_columns = k.referenced_columns;
  if (design.referenced_columns.empty()) {
    // Without a column list the reference is to the other table's primary key.
    const jet::TableDef referenced = definition(db, k.references);
    for (const jet::LogicalIndex& index : referenced.logical_indexes) {
      if (index.kind != jet::IndexKind::Primary) continue;
      if (const jet::IndexDef* real = referenced.real_index(index.real_index))
        for (const jet::IndexColumn& ic : real->columns)
          if (const jet::ColumnDef* c = referenced.column_by_number(ic.column_number))
            design.referenced_columns.push_back(c->name);
    }
    if (design.referenced_columns.empty()) throw sql_error(SqlError::ConstraintSyntax);
  }
  if (design.referenced_columns.size() != design.columns.size()) throw sql_error(SqlError::ConstraintSyntax);
  return design;
}

std::int64_t run_alter_table(Run& run, const AlterTable& alter) {
  jet::WritableDatabase& db = writable_for_alter(run);
  const std::string table = db.table(alter.table).name();  // 3078 before anything else
  jet::Statement statement(db.pager());
  try {
    switch (alter.action) {
      case AlterAction::AddColumn:
        jet::add_column(db, table, column_design(alter.column));
        for (const auto& k : alter.column.constraints) apply_column_constraint(run, table, k, alter.column.name);
        break;
      case AlterAction::DropColumn:
        jet::drop_column(db, table, stored_column(definition(db, table), alter.name));
        break;
      case AlterAction::AlterColumn:
        alter_column(run, table, alter.column);
        break;
      case AlterAction::AddConstraint: {
        const Constraint& k = alter.constraint;
        if (k.kind == ConstraintKind::ForeignKey) jet::create_relationship(db, relationship_of(db, table, k, k.columns));
        else jet::create_index(db, table, index_of_constraint(k, k.columns));
        break;
      }
      case AlterAction::DropConstraint:
        drop_constraint(db, table, alter.name);
        break;
    }
    statement.commit();
  } catch (...) {
    statement.rollback();
    db.reload_catalog();
    throw;
  }
  db.reload_catalog();
  return 0;
}

std::int64_t run_create_index(Run& run, const CreateIndex& create) {
  jet::WritableDatabase& db = writable_for_alter(run);
  const std::string table = db.table(create.table).name();
  jet::IndexDesign index;
  index.name = create.name;
  index.unique = create.unique;
  for (const IndexOption option : create.options) {
    if (option == IndexOption::Primary) index.primary = true;
    if (option == IndexOption::DisallowNull) index.required = true;
    if (option == IndexOption::IgnoreNull) index.ignore_nulls = true;
  }
  if (index.primary) index.unique = index.required = true;
  for (const auto& c : create.columns) index.columns.push_back({c.name, c.descending});
  jet::create_index(db, table, index);
  db.reload_catalog();
  return 0;
}

std::int64_t run_drop_index(Run& run, const DropIndex& drop) {
  jet::WritableDatabase& db = writable_for_alter(run);
  const std::string table = db.table(drop.table).name();
  const jet::TableDef def = definition(db, table);
  std::string stored;
  for (const jet::LogicalIndex& index : def.logical_indexes)
    if (upper(index.name) == upper(drop.name)) stored = index.name;
  if (stored.empty()) throw jet::Error(jet::ErrorCode::ItemNotFound, drop.name);
  jet::drop_index(db, table, stored);
  db.reload_catalog();
  return 0;
}

std::int64_t run_drop_table(Run& run, const DropTable& drop) {
  jet::WritableDatabase& db = writable_for_alter(run);
  jet::drop_table(db, db.table(drop.name).name());
  db.reload_catalog();
  return 0;
}

}  // namespace jet::sql::detail
