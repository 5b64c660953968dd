// Data definition: CREATE TABLE (columns, NOT NULL, PRIMARY KEY, UNIQUE and FOREIGN KEY
// constraints, the last as relationships made once the table exists) and
// SELECT ... INTO (a new table made from a query's columns, then filled), through the
// engine's table creation. Columns made by SQL take Jet's DDL defaults: texts of 255
// characters when no size is given, stored uncompressed, and no AllowZeroLength property,
// which Jet reads as accepting "" (DAO then reports False, yet "" goes in).
#include "jet/table/index_maintain_hook.h"
#include "jet/exec/exec_internal.h"
#include "jet/sql/sql_error.h"
#include "jet/table/table_design.h"
#include "jet/storage/transaction.h"

namespace jet::sql::detail {
namespace {

bool one_of(const std::string& word, std::initializer_list<std::string_view> words) {
  for (auto w : words)
    if (word == w) return true;
  return false;
}

}  // namespace

jet::ColumnDesign column_design(const sql::ColumnDef& c) {
  jet::ColumnDesign design;
  design.name = c.name;
  design.compressed_unicode = false;
  const std::string& t = c.type.name;
  if (one_of(t, {"TEXT", "VARCHAR", "CHAR", "CHARACTER", "STRING"})) {
    design.type = ColumnType::Text;
    design.size = static_cast<std::uint16_t>(c.type.size.value_or(255));
    if (design.size < 1 || design.size > 255) throw sql_error(SqlError::FieldDefinitionSyntax);
  } else if (one_of(t, {"MEMO", "LONGTEXT", "NOTE"})) {
    design.type = ColumnType::Memo;
  } else if (one_of(t, {"BYTE", "TINYINT"})) {
    design.type = ColumnType::Byte;
  } else if (one_of(t, {"SHORT", "SMALLINT", "INTEGER2"})) {
    design.type = ColumnType::Integer;
  } else if (one_of(t, {"INTEGER", "INT", "LONG", "INTEGER4"})) {
    design.type = ColumnType::Long;
  } else if (one_of(t, {"COUNTER", "AUTOINCREMENT", "IDENTITY"})) {
    design.type = ColumnType::Long;
    design.autonumber = true;
  } else if (one_of(t, {"SINGLE", "REAL", "FLOAT4", "IEEESINGLE"})) {
    design.type = ColumnType::Single;
  } else if (one_of(t, {"DOUBLE", "FLOAT", "FLOAT8", "IEEEDOUBLE", "NUMBER"})) {
    design.type = ColumnType::Double;
  } else if (one_of(t, {"CURRENCY", "MONEY"})) {
    design.type = ColumnType::Currency;
  } else if (one_of(t, {"DATETIME", "DATE", "TIME", "TIMESTAMP"})) {
    design.type = ColumnType::DateTime;
  } else if (one_of(t, {"BIT", "YESNO", "LOGICAL", "LOGICAL1", "BOOLEAN"})) {
    design.type = ColumnType::Boolean;
  } else if (one_of(t, {"GUID", "UNIQUEIDENTIFIER"})) {
    design.type = ColumnType::Guid;
  } else if (one_of(t, {"BINARY", "VARBINARY"})) {
    design.type = ColumnType::Binary;
    design.size = static_cast<std::uint16_t>(c.type.size.value_or(255));
  } else if (one_of(t, {"LONGBINARY", "OLEOBJECT", "GENERAL", "IMAGE"})) {
    design.type = ColumnType::Ole;
  } else if (one_of(t, {"DECIMAL", "NUMERIC", "DEC"})) {
    design.type = ColumnType::Numeric;
    design.precision = static_cast<std::uint8_t>(c.type.size.value_or(18));
    design.scale = static_cast<std::uint8_t>(c.type.scale.value_or(0));
  } else {
    throw sql_error(SqlError::FieldDefinitionSyntax);
  }
  design.required = c.not_null;
  return design;
}

namespace {

// The index a PRIMARY KEY or UNIQUE constraint makes; NOT NULL marks its columns required.
void apply_constraint(jet::TableDesign& design, const Constraint& k, const std::vector<std::string>& columns) {
  auto column = [&](const std::string& name) -> jet::ColumnDesign& {
    for (auto& c : design.columns)
      if (upper(c.name) == upper(name)) return c;
    throw sql_error(SqlError::ConstraintSyntax);
  };
  switch (k.kind) {
    case ConstraintKind::NotNull:
      for (const auto& c : columns) column(c).required = true;
      return;
    case ConstraintKind::ForeignKey:
      return;  // a relationship, made once the table exists
    case ConstraintKind::PrimaryKey:
    case ConstraintKind::Unique: {
      jet::IndexDesign index;
      index.primary = k.kind == ConstraintKind::PrimaryKey;
      index.unique = true;
      index.required = index.primary;
      index.name = !k.name.empty() ? k.name : (index.primary ? "PrimaryKey" : "Index_" + columns.front());
      for (const auto& c : columns) {
        column(c);
        index.columns.push_back({c, false});
      }
      design.indexes.push_back(std::move(index));
      return;
    }
  }
}

}  // namespace

std::int64_t run_create_table(Run& run, const CreateTable& create) {
  if (!run.writable()) fail(static_cast<int>(SqlError::ReadOnlyObject));
  jet::TableDesign design;
  design.name = create.name;
  for (const auto& c : create.columns) design.columns.push_back(column_design(c));
  for (const auto& c : create.columns)
    for (const auto& k : c.constraints) apply_constraint(design, k, {c.name});
  for (const auto& k : create.constraints) apply_constraint(design, k, k.columns);
  jet::WritableDatabase& db = *run.writable();
  jet::Statement statement(db.pager());
  try {
    db.create_table(design);
    for (const auto& c : create.columns)
      for (const auto& k : c.constraints)
        if (k.kind == ConstraintKind::ForeignKey) jet::create_relationship(db, relationship_of(db, design.name, k, {c.name}));
    for (const auto& k : create.constraints)
      if (k.kind == ConstraintKind::ForeignKey) jet::create_relationship(db, relationship_of(db, design.name, k, k.columns));
    statement.commit();
  } catch (...) {
    statement.rollback();
    db.reload_catalog();
    throw;
  }
  return 0;
}

std::int64_t run_select_into(Run& run, const Select& select) {
  if (!run.writable()) fail(static_cast<int>(SqlError::ReadOnlyObject));
  jet::WritableDatabase& db = *run.writable();
  if (!run.is_local(*select.into)) fail(static_cast<int>(SqlError::ReadOnlyObject));
  const ResultSet rs = run_select(run, select, nullptr);  // the INTO part is this function's

  jet::TableDesign design;
  design.name = select.into->name;
  for (const auto& rc : rs.columns()) {
    jet::ColumnDesign c;
    c.name = rc.name;
    c.type = rc.type;
    c.compressed_unicode = true;
    if (rc.type == ColumnType::Text) c.size = 255;
    design.columns.push_back(std::move(c));
  }
  jet::Statement statement(db.pager());
  try {
    db.create_table(design);
    const jet::Table table = db.table(design.name);
    jet::TableWriter writer = db.writer(design.name);
    for (const auto& row : rs.rows()) {
      Row values(row.size());
      for (std::size_t i = 0; i < row.size(); ++i) values[i] = convert_for_column(table.def().columns[i], row[i]);
      writer.insert(values);
    }
    statement.commit();
  } catch (...) {
    // The new table's pages are dropped with the statement: so must its catalog entry be.
    statement.rollback();
    db.reload_catalog();
    throw;
  }
  return static_cast<std::int64_t>(rs.size());
}

}  // namespace jet::sql::detail
