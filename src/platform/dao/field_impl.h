// What a Field handle refers to (internal to platform/dao): its definition data, and the
// record set or saved table it belongs to.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jet/api/database.h"
#include "platform/dao/variant.h"

namespace platform::dao::detail {

struct RecordsetImpl;
struct TableDefImpl;

// The definition of a field, as the object model shows it.
struct FieldDef {
  std::string name;
  int type = 0;          // dbText... (0: not set yet)
  long size = 0;
  bool required = false;
  bool allowZeroLength = false;
  std::string defaultValue;
  int ordinalPosition = 0;
  long attributes = 0;
  std::string validationRule;
  std::string validationText;
  std::string foreignName;
  std::string sourceTable;
  std::string sourceField;
  std::uint16_t collatingOrder = 0x0409;
};

struct FieldImpl {
  enum class Owner { Detached, Recordset, Table, Index, Relation };
  Owner owner = Owner::Detached;
  FieldDef def;
  // Record-set fields: the set and the field's position in it.
  std::shared_ptr<RecordsetImpl> recordset;
  int column = -1;
  // Saved table fields: the table the field belongs to.
  std::shared_ptr<TableDefImpl> table;
  // Other properties read from the database (Description, Format, Caption...), in order.
  std::vector<std::pair<std::string, Variant>> extraProperties;
  // A new field whose OrdinalPosition was set goes there when appended (else last).
  bool ordinalPositionSet = false;

  // Raises 3420 when the owner's database was closed.
  void checkAlive() const;
  // Raises 3219 when the definition cannot change any more (saved or record-set field).
  void checkChangeable() const;
};

// A property: its name, value type, reader and (when settable) writer.
struct PropertyImpl {
  std::string name;
  int type = 10;
  bool inherited = false;
  std::function<Variant()> get;
  std::function<void(const Variant&)> set;  // empty: read only (3219)
};

// The definition of a stored column as a FieldDef.
FieldDef fieldDefOf(const jet::ColumnDef& column, const std::string& table);
// The object model's field type constant of a stored column type, and back.
int fieldTypeOf(jet::ColumnType type);
jet::ColumnType columnTypeOf(int fieldType);  // 3259 for a type the engine does not store

}  // namespace platform::dao::detail
