#include "jet/db/create_database.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "jet/catalog/catalog_write.h"
#include "jet/storage/leftover.h"
#include "jet/db/create_table.h"
#include "jet/record/data_page_write.h"
#include "jet/base/error.h"
#include "jet/storage/format.h"
#include "jet/storage/header.h"
#include "jet/storage/memory_pager.h"
#include "jet/db/system_tables.h"
#include "jet/base/bytes.h"

namespace jet {
namespace {

// Page 0. The part Jet masks holds the code page, the database key (0: not encrypted), the
// password (none: zeros, themselves masked with the creation date), the sort order and
// the creation date.
std::vector<std::uint8_t> header_page(const CreateOptions& options, double created) {
  std::vector<std::uint8_t> p(disk::kPageSize, 0);
  p[1] = 0x01;
  std::memcpy(&p[disk::kHeaderMagic], "Standard Jet DB", disk::kHeaderMagicLength);
  p[disk::kHeaderVersion] = 0x01;  // Jet 4
  // Fixed leading bytes of the masked part, identical in every Jet 4 file.
  static constexpr std::uint8_t kLead[] = {0x00, 0x01, 0x00, 0x00, 0x01, 0x01, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00,
                                           0x03, 0x00, 0x00, 0x00, 0x04, 0x00, 0x00, 0x00, 0x05, 0x00, 0x00, 0x00};
  std::memcpy(&p[disk::kHeaderMaskedStart], kLead, sizeof kLead);
  store_le16(p, disk::kHeaderCodePage, options.code_page);
  const auto whole = static_cast<std::uint32_t>(static_cast<std::int32_t>(created));
  for (std::size_t i = 0; i < disk::kHeaderPasswordLength; ++i) p[disk::kHeaderPassword + i] = static_cast<std::uint8_t>(whole >> (8 * (i % 4)));
  // Written by the Access 2000 engine that made the reference files; its meaning is not known.
  store_le16(p, 0x6A, 0x21AA);
  store_le16(p, disk::kHeaderSortOrder, options.sort_order);
  std::memcpy(&p[disk::kHeaderCreationDate], &created, sizeof created);
  mask_header(std::span(p).subspan(disk::kHeaderMaskedStart, disk::kHeaderMaskedLength));
  store_le16(p, 0x98, 0x0654);
  std::memcpy(&p[0x9C], "4.0", 4);
  // The lock-byte area at the end of the page, as a freshly created file has it.
  p[0xE00] = 0x01;
  for (std::size_t i = 0xE01; i < disk::kPageSize; i += 2) p[i] = 0x01;
  return p;
}

// Page 1: the global usage map (row 0, free pages marked: everything from page 2 on until
// pages are allocated) and a second, empty map Access keeps beside it.
std::vector<std::uint8_t> global_map_page() {
  DataPageEditor page = DataPageEditor::blank(disk::kPageSize, 1);
  std::vector<std::uint8_t> free_map(disk::kMapInlineRowSize, 0xFF);
  std::fill_n(free_map.begin(), disk::kMapInlineBits, 0);  // inline kind, first page 0
  free_map[5] = 0xFC;                      // pages 0 and 1 in use
  page.add_row(free_map);
  page.add_row(std::vector<std::uint8_t>(disk::kMapInlineRowSize, 0));
  return page.release();
}

PropertySet database_properties() {
  // What Access 2000 records on the database object: the format version Access uses
  // to recognise its own files, and its build.
  PropertySet set;
  set.object_block().set("AccessVersion", Value::text("08.50"));
  set.object_block().set("Build", Value::long_(6620));
  return set;
}

struct Entry {
  std::int32_t id;
  std::vector<std::uint8_t> sid;
  std::int32_t acm;
  bool inheritable;
};

// Permissions of the containers and system objects of a new database, as Access sets them.
std::vector<Entry> initial_access() {
  using namespace sids;
  const auto full = 0x000FFFFF, data = 0x000FFEFF;
  std::vector<Entry> e;
  auto access_container = [&](std::int32_t id) {
    e.push_back({id, users(), full, true});
    e.push_back({id, admins(), full, true});
    e.push_back({id, admin(), full, true});
    e.push_back({id, creator(), full, true});
  };
  access_container(static_cast<std::int32_t>(0x80000000u));
  e.push_back({object_ids::Databases, admin(), 0x00060000, false});
  access_container(static_cast<std::int32_t>(0x80000001u));
  access_container(static_cast<std::int32_t>(0x80000002u));
  e.push_back({object_ids::Relationships, creator(), 0x000F00FE, true});
  e.push_back({object_ids::Relationships, admin(), 0x00060001, false});
  e.push_back({object_ids::Relationships, admins(), full, true});
  e.push_back({object_ids::Relationships, users(), full, true});
  access_container(static_cast<std::int32_t>(0x80000003u));
  access_container(static_cast<std::int32_t>(0x80000004u));
  access_container(static_cast<std::int32_t>(0x80000005u));
  e.push_back({object_ids::Tables, creator(), 0x000F00FE, true});
  e.push_back({object_ids::Tables, admin(), data, true});
  e.push_back({object_ids::Tables, admins(), data, true});
  e.push_back({object_ids::Tables, users(), data, true});
  e.push_back({object_ids::MSysDb, admin(), 0x0006000E, false});
  e.push_back({object_ids::MSysDb, users(), 0x0000000E, false});
  e.push_back({object_ids::MSysDb, admins(), 0x0006000E, false});
  e.push_back({3, admin(), 0x00060000, false});
  e.push_back({3, admins(), 0x00060054, false});
  e.push_back({2, admin(), 0x00060000, false});
  e.push_back({2, admins(), 0x00060054, false});
  e.push_back({2, users(), 0x00000014, false});
  e.push_back({4, admin(), 0x00060000, false});
  e.push_back({4, admins(), 0x00060014, false});
  e.push_back({4, users(), 0x00000014, false});
  e.push_back({5, admin(), 0x000E0000, false});
  e.push_back({5, admins(), 0x00060014, false});
  e.push_back({5, users(), 0x00000014, false});
  return e;
}

// Writes the pages under a temporary name, then gives the finished file its name, so that
// no reader ever finds half a database and a file that appeared meanwhile is never replaced.
void write_file(const os::Services& services, const std::string& path, Pager& pages) {
  const std::string temp = path + ".creation";
  os::FileSystem& files = *services.files;
  std::unique_ptr<os::File> file;
  try {
    // What a killed creation of the same name left goes; a creation under way holds its file.
    if (!remove_if_unheld(services, temp)) throw Error(ErrorCode::FileInUse, path);
    file = files.create_new(temp);
  } catch (const os::Failure& failure) {
    if (failure.kind() == os::FailureKind::AlreadyExists) throw Error(ErrorCode::FileInUse, path);
    throw_file_failure(failure, services, path, FileActivity::Writing);
  }
  try {
    for (PageNumber n = 0; n < pages.page_count(); ++n) {
      const Page page = pages.read(n);
      file->write_at(static_cast<std::uint64_t>(n) * disk::kPageSize, page.view().span());
    }
    file->sync();
    file.reset();
    files.publish_new(temp, path);
  } catch (const os::Failure& failure) {
    file.reset();
    try { files.remove(temp); } catch (const os::Failure&) {}
    throw_file_failure(failure, services, path, FileActivity::Writing);
  }
}

}  // namespace

std::unique_ptr<WritableDatabase> create_database(const std::string& path, const CreateOptions& options) {
  const os::Services& services = options.services ? *options.services : os::system_services();
  if (services.files->exists(path)) throw Error(ErrorCode::DatabaseExists, path);
  // The engine's paths are UTF-8; on Windows std::filesystem takes a plain string in the
  // system's code page instead, which would mangle an accented folder name.
  const std::u8string parent_u8 =
      std::filesystem::path(std::u8string(path.begin(), path.end())).parent_path().u8string();
  const std::string parent(parent_u8.begin(), parent_u8.end());
  if (!parent.empty() && !services.files->is_folder(parent)) throw Error(ErrorCode::InvalidPath, path);

  const double created = options.created != 0 ? options.created : jet_now(*services.clock);
  MemoryPager base(disk::kPageSize, path, &services);
  base.add(header_page(options, created));
  base.add(global_map_page());
  OverlayPager pager(base, nullptr);
  PageAllocator allocator(pager);
  pager.begin();

  std::vector<SystemTable> tables = system_tables(options.sort_order);
  for (SystemTable& t : tables) t.def.page = allocator.allocate({});
  UsageMapPages maps(pager, allocator);
  for (SystemTable& t : tables) lay_out_table(pager, allocator, maps, t.def);

  CatalogWriter catalog(pager, allocator);
  auto add = [&](std::int32_t id, std::int32_t parent, const char* name, ObjectType type, std::uint32_t flags,
                 std::vector<std::uint8_t> owner, std::vector<std::uint8_t> properties = {}) {
    ObjectRow row;
    row.id = id;
    row.parent_id = parent;
    row.name = name;
    row.type = static_cast<std::int16_t>(type);
    row.flags = flags;
    row.created = row.updated = created;
    row.owner = std::move(owner);
    row.properties = std::move(properties);
    catalog.add(row);
  };
  const std::uint32_t system = object_flags::SystemObject;
  add(object_ids::Tables, object_ids::Root, "Tables", ObjectType::Container, system, sids::engine());
  add(object_ids::Databases, object_ids::Root, "Databases", ObjectType::Container, system, sids::engine());
  add(object_ids::Relationships, object_ids::Root, "Relationships", ObjectType::Container, system, sids::engine());
  add(object_ids::MSysDb, object_ids::Databases, "MSysDb", ObjectType::Database, system, sids::admin(),
      encode_properties(database_properties()));
  for (const SystemTable& t : tables)
    add(static_cast<std::int32_t>(t.def.page), object_ids::Tables, t.name, ObjectType::Table, system, sids::engine());
  // The containers Access keeps its own objects in (forms, reports...), so that it finds
  // them when it opens the file.
  const char* access_containers[] = {"DataAccessPages", "Forms", "Modules", "Reports", "Scripts", "SysRel"};
  std::uint32_t next_id = 0x80000000u;
  for (const char* name : access_containers)
    add(static_cast<std::int32_t>(next_id++), object_ids::Root, name, ObjectType::Container, 0, sids::admin());

  for (const Entry& e : initial_access()) catalog.add_access(e.id, {{e.sid, e.acm, e.inheritable}});
  pager.commit();

  write_file(services, path, pager);
  try {
    return WritableDatabase::open(path, &services);
  } catch (...) {
    try { services.files->remove(path); } catch (const os::Failure&) {}
    throw;
  }
}

}  // namespace jet
