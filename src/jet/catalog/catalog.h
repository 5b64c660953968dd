// The system catalog: MSysObjects rows (tables, queries, relationships, containers) read from
// the table whose definition is always on page 2, and the relationships of MSysRelationships.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "jet/storage/pager.h"
#include "jet/record/properties.h"
#include "jet/base/value.h"

namespace jet {

// MSysObjects.Type values.
enum class ObjectType : std::int16_t {
  Table = 1,
  Database = 2,
  Container = 3,
  Query = 5,
  LinkedTable = 6,
  LinkedOdbc = 4,
  Relationship = 8,
};

struct CatalogEntry {
  std::int32_t id = 0;
  std::int32_t parent_id = 0;
  std::string name;
  std::int16_t type = 0;
  std::uint32_t flags = 0;
  std::vector<std::uint8_t> properties;  // LvProp blob (empty if none)
  std::string connect;                   // linked tables
  std::string foreign_name;              // linked tables
  double created = 0;
  double updated = 0;

  PageNumber table_page() const noexcept { return static_cast<PageNumber>(id & 0x00FFFFFF); }
  // System objects: "MSys..." tables and those flagged system/hidden by Access.
  bool is_system() const noexcept;
  // The object's properties and its columns' (DefaultValue, Required, Description...),
  // decoded from the LvProp blob; empty when it has none. Throws 3049 on a damaged blob.
  PropertySet property_set() const { return parse_properties(properties); }
};

struct Relationship {
  std::string name;
  std::string table;              // szObject: the table holding the foreign key
  std::string referenced_table;   // szReferencedObject
  std::vector<std::string> columns;             // szColumn, by icolumn
  std::vector<std::string> referenced_columns;  // szReferencedColumn
  std::uint32_t flags = 0;        // grbit: 1 no integrity, 256 cascade updates, 4096 cascade deletes...
};

class Catalog {
 public:
  // Reads MSysObjects (page 2). Throws 3049 when it cannot be read.
  explicit Catalog(Pager& pager);

  const std::vector<CatalogEntry>& entries() const noexcept { return entries_; }
  // User tables (not system), in catalog order; with_system adds the system tables.
  std::vector<const CatalogEntry*> tables(bool with_system) const;
  std::vector<const CatalogEntry*> queries() const;
  // Local table of that name (case-insensitive), or nullptr.
  const CatalogEntry* find_table(std::string_view name) const;
  const CatalogEntry* find_object(std::string_view name, std::int16_t type) const;

  // MSysRelationships rows grouped by relationship name (empty when the table is absent).
  std::vector<Relationship> relationships() const;
  // MSysQueries rows, in storage order, columns by name (empty when the table is absent).
  std::vector<std::vector<std::pair<std::string, Value>>> query_rows() const;

 private:
  Pager* pager_;
  std::vector<CatalogEntry> entries_;
};

}  // namespace jet
