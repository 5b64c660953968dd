#include "jet/db/system_tables.h"

#include <algorithm>

#include "jet/db/create_table.h"
#include "jet/base/names.h"

namespace jet {
namespace {

// Column flag bits Access sets on system tables besides fixed / nullable.
constexpr std::uint8_t kSystemColumn = 0x10;
constexpr std::uint8_t kSystemBinary = 0x20;
// System binary columns hold up to 510 bytes.
constexpr std::uint16_t kSystemBinaryLength = 510;

ColumnDesign col(const char* name, ColumnType type) {
  ColumnDesign c;
  c.name = name;
  c.type = type;
  c.compressed_unicode = false;
  return c;
}

IndexDesign index(const char* name, std::vector<const char*> columns, bool primary, bool unique, bool ignore_nulls,
                bool required = false) {
  IndexDesign s;
  s.name = name;
  for (const char* c : columns) s.columns.push_back({c, false});
  s.primary = primary;
  s.unique = unique;
  s.ignore_nulls = ignore_nulls;
  s.required = required;
  return s;
}

TableDef system_def(const TableDesign& design, std::uint16_t sort_order) {
  TableDef def = table_def_of(design, sort_order);
  def.system = true;
  for (ColumnDef& c : def.columns) {
    c.flags |= kSystemColumn;
    if (c.type == ColumnType::Binary) c.length = kSystemBinaryLength;
    // The columns holding security identifiers carry a flag of their own.
    if (c.name == "Owner" || c.name == "SID") c.flags |= kSystemBinary;
  }
  // Columns and logical indexes are stored in name order; their numbers keep creation order.
  std::vector<ColumnDef*> by_name;
  for (ColumnDef& c : def.columns) by_name.push_back(&c);
  std::stable_sort(by_name.begin(), by_name.end(),
                   [](const ColumnDef* a, const ColumnDef* b) { return fold_name(a->name) < fold_name(b->name); });
  for (std::size_t i = 0; i < by_name.size(); ++i) by_name[i]->display_index = static_cast<std::uint32_t>(i);
  std::stable_sort(def.logical_indexes.begin(), def.logical_indexes.end(),
                   [](const LogicalIndex& a, const LogicalIndex& b) { return fold_name(a.name) < fold_name(b.name); });
  return def;
}

}  // namespace

std::vector<SystemTable> system_tables(std::uint16_t sort_order) {
  std::vector<SystemTable> out;

  TableDesign objects;
  objects.name = "MSysObjects";
  objects.columns = {col("Id", ColumnType::Long),         col("ParentId", ColumnType::Long),
                     col("Name", ColumnType::Text),       col("Type", ColumnType::Integer),
                     col("DateCreate", ColumnType::DateTime), col("DateUpdate", ColumnType::DateTime),
                     col("Owner", ColumnType::Binary),    col("Flags", ColumnType::Long),
                     col("Database", ColumnType::Memo),   col("Connect", ColumnType::Memo),
                     col("ForeignName", ColumnType::Text), col("RmtInfoShort", ColumnType::Binary),
                     col("RmtInfoLong", ColumnType::Ole), col("Lv", ColumnType::Ole),
                     col("LvProp", ColumnType::Ole),      col("LvModule", ColumnType::Ole),
                     col("LvExtra", ColumnType::Ole)};
  objects.indexes = {index("ParentIdName", {"ParentId", "Name"}, false, true, false),
                     index("Id", {"Id"}, true, false, false)};
  out.push_back({"MSysObjects", system_def(objects, sort_order)});
  // Access keeps the identifier index unique without making it required.
  for (IndexDef& real : out.back().def.indexes) real.flags &= static_cast<std::uint8_t>(~index_flags::Required);

  TableDesign aces;
  aces.name = "MSysACEs";
  aces.columns = {col("ObjectId", ColumnType::Long), col("SID", ColumnType::Binary), col("ACM", ColumnType::Long),
                  col("FInheritable", ColumnType::Boolean)};
  aces.indexes = {index("ObjectId", {"ObjectId"}, false, false, false, true)};
  out.push_back({"MSysACEs", system_def(aces, sort_order)});

  TableDesign queries;
  queries.name = "MSysQueries";
  queries.columns = {col("ObjectId", ColumnType::Long), col("Attribute", ColumnType::Byte),
                     col("Order", ColumnType::Binary),  col("Name1", ColumnType::Text),
                     col("Name2", ColumnType::Text),    col("Expression", ColumnType::Memo),
                     col("Flag", ColumnType::Integer),  col("LvExtra", ColumnType::Long)};
  queries.indexes = {index("ObjectIdAttribute", {"ObjectId", "Attribute", "Order"}, true, true, false)};
  out.push_back({"MSysQueries", system_def(queries, sort_order)});
  for (IndexDef& real : out.back().def.indexes) real.flags &= static_cast<std::uint8_t>(~index_flags::Required);

  TableDesign relationships;
  relationships.name = "MSysRelationships";
  relationships.columns = {col("szRelationship", ColumnType::Text), col("grbit", ColumnType::Long),
                           col("ccolumn", ColumnType::Long),        col("icolumn", ColumnType::Long),
                           col("szObject", ColumnType::Text),       col("szColumn", ColumnType::Text),
                           col("szReferencedObject", ColumnType::Text), col("szReferencedColumn", ColumnType::Text)};
  relationships.indexes = {index("szRelationship", {"szRelationship"}, false, false, true),
                           index("szObject", {"szObject"}, false, false, true),
                           index("szReferencedObject", {"szReferencedObject"}, false, false, true)};
  out.push_back({"MSysRelationships", system_def(relationships, sort_order)});
  return out;
}

}  // namespace jet
