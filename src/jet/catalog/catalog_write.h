// Writing the catalog: MSysObjects rows (one per table, query, relationship, container...),
// their property blobs, and the MSysACEs rows that give each object its permissions.
//
// Every function works inside the caller's transaction (or autocommits as one statement) and
// keeps MSysObjects' indexes (Id, ParentIdName) up to date; a duplicate name under one parent
// is refused with 3022 before anything is written.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "jet/catalog/catalog.h"
#include "jet/storage/overlay_pager.h"
#include "jet/record/page_allocator.h"
#include "jet/record/properties.h"

namespace jet {

// Well-known object ids.
namespace object_ids {
inline constexpr std::int32_t Root = 0x0F000000;
inline constexpr std::int32_t Tables = 0x0F000001;
inline constexpr std::int32_t Databases = 0x0F000002;
inline constexpr std::int32_t Relationships = 0x0F000003;
inline constexpr std::int32_t MSysDb = 0x10000000;
}  // namespace object_ids

// Flags of MSysObjects rows.
namespace object_flags {
inline constexpr std::uint32_t SystemObject = 0x80000000;
inline constexpr std::uint32_t Hidden = 0x00000008;
}  // namespace object_flags

struct ObjectRow {
  std::int32_t id = 0;
  std::int32_t parent_id = object_ids::Tables;
  std::string name;
  std::int16_t type = static_cast<std::int16_t>(ObjectType::Table);
  std::uint32_t flags = 0;
  double created = 0;   // 0: now
  double updated = 0;   // 0: same as created
  std::vector<std::uint8_t> owner{0xA6, 0x33};  // SID of the owner ("Admin" by default)
  std::vector<std::uint8_t> properties;        // LvProp blob, empty for none
  std::string connect;          // linked tables
  std::string database;         // linked tables: the other file
  std::string foreign_name;     // linked tables
  std::vector<std::uint8_t> lv_extra;
};

// One MSysACEs row: who (SID) may do what (ACM bits) on an object.
struct AccessEntry {
  std::vector<std::uint8_t> sid;
  std::int32_t acm = 0;
  bool inheritable = false;
};

// The SIDs of the default workgroup: Admin, the Admins and Users groups, the object
// creator placeholder and the engine itself.
namespace sids {
std::vector<std::uint8_t> admin();
std::vector<std::uint8_t> users();
std::vector<std::uint8_t> admins();
std::vector<std::uint8_t> creator();
std::vector<std::uint8_t> engine();  // owner of the system tables and containers
}  // namespace sids

// The access-control rows Access gives a new object of `type` (tables, queries).
std::vector<AccessEntry> default_access(ObjectType type);

// The local date and time of `clock` as a Jet date (days since 1899-12-30).
double jet_now(const os::Clock& clock);

class CatalogWriter {
 public:
  CatalogWriter(OverlayPager& pager, PageAllocator& allocator);

  void add(const ObjectRow& row);
  // Replaces the row with the same id (3265 when there is none).
  void update(const ObjectRow& row);
  // Removes the row and the object's MSysACEs rows (3265 when there is none).
  void remove(std::int32_t id);
  void rename(std::int32_t id, const std::string& new_name);
  void set_properties(std::int32_t id, const PropertySet& properties);
  void add_access(std::int32_t object_id, const std::vector<AccessEntry>& entries);

  // The row of that id / of that name under that parent, as stored now.
  std::optional<ObjectRow> find(std::int32_t id);
  std::optional<ObjectRow> find(std::int32_t parent_id, std::string_view name);
  // A fresh id for a non-table object (queries, relationships): tables use their
  // definition page as id.
  std::int32_t next_object_id();
  // Every MSysObjects row, in storage order.
  std::vector<ObjectRow> rows();

 private:
  OverlayPager& pager_;
  PageAllocator& allocator_;
};

}  // namespace jet
