#include "jet/catalog/catalog_write.h"

#include <array>

#include "jet/base/error.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/base/names.h"
#include "jet/table/table.h"
#include "jet/table/table_writer.h"
#include "jet/storage/transaction.h"
#include "jet/storage/format.h"

namespace jet {

[[noreturn]] void throw_damaged_catalog(std::string_view column);

namespace {

void set_catalog_column(const TableDef& def, Row& row, std::string_view name, Value value) {
  const ColumnDef* c = def.find_column(name);
  if (!c) throw_damaged_catalog(name);
  row[c->definition_order] = std::move(value);
}

std::int64_t whole(const Value* v) { return v && v->is_numeric() ? v->to_int64() : 0; }
std::string text(const Value* v) { return v && v->kind() == ValueKind::Text ? v->as_text() : std::string(); }
std::vector<std::uint8_t> bytes(const Value* v) {
  return v && v->kind() == ValueKind::Binary ? v->as_binary() : std::vector<std::uint8_t>();
}
double date(const Value* v) { return v && v->kind() == ValueKind::Date ? v->as_date() : 0; }

Value text_or_null(const std::string& s) { return s.empty() ? Value::null() : Value::text(s); }
Value bytes_or_null(const std::vector<std::uint8_t>& b) { return b.empty() ? Value::null() : Value::binary(b); }

// Where the catalog's columns lie in its rows, looked up by name once for a whole scan.
struct ObjectColumns {
  explicit ObjectColumns(const TableDef& def) : def_(def) {}
  const Value* get(const Row& row, std::size_t which) const {
    const ColumnDef* c = columns_[which];
    return c && c->definition_order < row.size() ? &row[c->definition_order] : nullptr;
  }
  enum : std::size_t { Id, ParentId, Name, Type, Flags, DateCreate, DateUpdate, Owner, LvProp, Connect, Database,
                       ForeignName, LvExtra, Count };

 private:
  const TableDef& def_;
  const std::array<const ColumnDef*, Count> columns_ = [this] {
    static constexpr std::array<std::string_view, Count> names = {
        "Id",       "ParentId", "Name",    "Type",     "Flags",       "DateCreate", "DateUpdate",
        "Owner",    "LvProp",   "Connect", "Database", "ForeignName", "LvExtra"};
    std::array<const ColumnDef*, Count> found{};
    for (std::size_t i = 0; i < Count; ++i) found[i] = def_.find_column(names[i]);
    return found;
  }();
};

ObjectRow object_of(const ObjectColumns& c, const Row& row) {
  using C = ObjectColumns;
  ObjectRow o;
  o.id = static_cast<std::int32_t>(whole(c.get(row, C::Id)));
  o.parent_id = static_cast<std::int32_t>(whole(c.get(row, C::ParentId)));
  o.name = text(c.get(row, C::Name));
  o.type = static_cast<std::int16_t>(whole(c.get(row, C::Type)));
  o.flags = static_cast<std::uint32_t>(whole(c.get(row, C::Flags)));
  o.created = date(c.get(row, C::DateCreate));
  o.updated = date(c.get(row, C::DateUpdate));
  o.owner = bytes(c.get(row, C::Owner));
  o.properties = bytes(c.get(row, C::LvProp));
  o.connect = text(c.get(row, C::Connect));
  o.database = text(c.get(row, C::Database));
  o.foreign_name = text(c.get(row, C::ForeignName));
  o.lv_extra = bytes(c.get(row, C::LvExtra));
  return o;
}

Row row_of(const TableDef& def, const ObjectRow& o, double now) {
  Row row(def.columns.size(), Value::null());
  const double created = o.created != 0 ? o.created : now;
  set_catalog_column(def, row, "Id", Value::long_(o.id));
  set_catalog_column(def, row, "ParentId", Value::long_(o.parent_id));
  set_catalog_column(def, row, "Name", Value::text(o.name));
  set_catalog_column(def, row, "Type", Value::integer(o.type));
  set_catalog_column(def, row, "DateCreate", Value::date(created));
  set_catalog_column(def, row, "DateUpdate", Value::date(o.updated != 0 ? o.updated : created));
  set_catalog_column(def, row, "Owner", bytes_or_null(o.owner));
  set_catalog_column(def, row, "Flags", Value::long_(static_cast<std::int32_t>(o.flags)));
  set_catalog_column(def, row, "LvProp", bytes_or_null(o.properties));
  set_catalog_column(def, row, "Connect", text_or_null(o.connect));
  set_catalog_column(def, row, "Database", text_or_null(o.database));
  set_catalog_column(def, row, "ForeignName", text_or_null(o.foreign_name));
  set_catalog_column(def, row, "LvExtra", bytes_or_null(o.lv_extra));
  return row;
}

struct Located {
  RowId id;
  ObjectRow row;
};

template <class Pred>
std::optional<Located> locate(Pager& pager, Pred pred) {
  const TableDef def = read_table_def(pager, disk::kCatalogPage);
  const Table table(pager, "MSysObjects", def);
  const ObjectColumns columns(def);
  std::optional<Located> found;
  table.scan([&](RowId id, const Row& row) {
    ObjectRow o = object_of(columns, row);
    if (!pred(o)) return true;
    found = Located{id, std::move(o)};
    return false;
  });
  return found;
}

}  // namespace

double jet_now(const os::Clock& clock) {
  const os::LocalTime t = clock.now();
  // Days from 1899-12-30 to the local date (proleptic Gregorian calendar, years from March so
  // that the leap day ends the year).
  const int y = t.month <= 2 ? t.year - 1 : t.year;
  const int era = (y >= 0 ? y : y - 399) / 400;
  const int year_of_era = y - era * 400;
  const int day_of_year = (153 * (t.month + (t.month > 2 ? -3 : 9)) + 2) / 5 + t.day - 1;
  const int day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  const long days_since_1970 = static_cast<long>(era) * 146097 + day_of_era - 719468;
  return static_cast<double>(days_since_1970) + 25569.0 +
         (t.hour * 3600 + t.minute * 60 + t.second) / 86400.0;
}

namespace sids {
// The built-in accounts of the default workgroup as Access stores them: short SIDs for the
// Admin user, the Users group and the creator placeholder, a long one for the Admins group.
std::vector<std::uint8_t> admin() { return {0xA6, 0x33}; }
std::vector<std::uint8_t> users() { return {0xA7, 0x33}; }
std::vector<std::uint8_t> creator() { return {0xA7, 0x36}; }
std::vector<std::uint8_t> engine() { return {0xA7, 0x31}; }
std::vector<std::uint8_t> admins() {
  return {0xA4, 0xF7, 0x46, 0x67, 0xE1, 0x71, 0x67, 0xEE, 0xD7, 0xB1, 0x0F, 0x8F, 0xFE, 0xEF, 0x76, 0xFF, 0xAA,
          0xE3, 0x66, 0x51, 0x05, 0xBD, 0xD2, 0x9D, 0x4D, 0x4B, 0x39, 0x52, 0xD9, 0xFB, 0x9A, 0x07, 0x66, 0x0C,
          0x5B, 0xD2, 0xD8, 0x7D, 0xDD, 0xB3, 0x1E, 0x65, 0x90, 0x19, 0x00, 0x94, 0x89, 0xC2, 0x3C, 0x25, 0x6A,
          0xCF, 0xDB, 0x34, 0x9A, 0x57, 0xAF, 0x50, 0xC5, 0x14, 0x9A, 0x98, 0x30, 0xE6, 0x2C, 0x35, 0x55, 0x3F,
          0x0E, 0x95, 0xCF, 0xB6, 0xEC, 0xB5, 0x70, 0xB2, 0xF0, 0xA9, 0x9B, 0x1C, 0xDB, 0xCE, 0x60, 0x74, 0x7B,
          0x7B, 0x13, 0xCF, 0x1D, 0xAF, 0xC3, 0xD6, 0x18, 0x5F, 0x9C, 0x5B, 0xE4, 0xE8, 0x7E, 0x37, 0xED, 0xB3,
          0x70};
}
}  // namespace sids

std::vector<AccessEntry> default_access(ObjectType type) {
  // Full rights but "change owner" for the owner, the Admins and the Users, not inherited.
  constexpr std::int32_t kFullData = 0x000FFEFF;
  (void)type;
  return {{sids::admin(), kFullData, false}, {sids::admins(), kFullData, false}, {sids::users(), kFullData, false}};
}

CatalogWriter::CatalogWriter(OverlayPager& pager, PageAllocator& allocator) : pager_(pager), allocator_(allocator) {}

std::vector<ObjectRow> CatalogWriter::rows() {
  const TableDef def = read_table_def(pager_, disk::kCatalogPage);
  std::vector<ObjectRow> out;
  const ObjectColumns columns(def);
  Table(pager_, "MSysObjects", def).scan([&](RowId, const Row& row) {
    out.push_back(object_of(columns, row));
    return true;
  });
  return out;
}

std::optional<ObjectRow> CatalogWriter::find(std::int32_t id) {
  auto found = locate(pager_, [&](const ObjectRow& o) { return o.id == id; });
  if (!found) return std::nullopt;
  return std::move(found->row);
}

std::optional<ObjectRow> CatalogWriter::find(std::int32_t parent_id, std::string_view name) {
  auto found = locate(pager_, [&](const ObjectRow& o) { return o.parent_id == parent_id && same_name(o.name, name); });
  if (!found) return std::nullopt;
  return std::move(found->row);
}

std::int32_t CatalogWriter::next_object_id() {
  // Objects without a definition page are numbered upwards from 0x80000000.
  std::uint32_t next = 0x80000000u;
  for (const ObjectRow& o : rows()) {
    const auto id = static_cast<std::uint32_t>(o.id);
    if ((id & 0xFF000000u) == 0x80000000u && id >= next) next = id + 1;
  }
  return static_cast<std::int32_t>(next);
}

void CatalogWriter::add(const ObjectRow& row) {
  Statement statement(pager_);
  if (find(row.parent_id, row.name)) throw Error(ErrorCode::DuplicateKey);
  TableIndexHook hook(allocator_);
  TableWriter writer(pager_, allocator_, "MSysObjects", disk::kCatalogPage, {}, &hook);
  writer.insert(row_of(writer.definition(), row, jet_now(*pager_.services().clock)));
  statement.commit();
}

void CatalogWriter::update(const ObjectRow& row) {
  Statement statement(pager_);
  auto found = locate(pager_, [&](const ObjectRow& o) { return o.id == row.id; });
  if (!found) throw Error(ErrorCode::ItemNotFound);
  TableIndexHook hook(allocator_);
  TableWriter writer(pager_, allocator_, "MSysObjects", disk::kCatalogPage, {}, &hook);
  writer.update(found->id, row_of(writer.definition(), row, jet_now(*pager_.services().clock)));
  statement.commit();
}

void CatalogWriter::rename(std::int32_t id, const std::string& new_name) {
  Statement statement(pager_);
  auto row = find(id);
  if (!row) throw Error(ErrorCode::ItemNotFound);
  if (auto other = find(row->parent_id, new_name); other && other->id != id) throw Error(ErrorCode::DuplicateKey);
  row->name = new_name;
  row->updated = jet_now(*pager_.services().clock);
  update(*row);
  statement.commit();
}

void CatalogWriter::set_properties(std::int32_t id, const PropertySet& properties) {
  Statement statement(pager_);
  auto row = find(id);
  if (!row) throw Error(ErrorCode::ItemNotFound);
  row->properties = encode_properties(properties);
  update(*row);
  statement.commit();
}

namespace {

PageNumber aces_page(Pager& pager) {
  auto found = locate(pager, [](const ObjectRow& o) {
    return o.parent_id == object_ids::Tables && same_name(o.name, "MSysACEs");
  });
  if (!found) throw Error(ErrorCode::TableNotFound, "MSysACEs");
  return static_cast<PageNumber>(found->row.id & 0x00FFFFFF);
}

}  // namespace

void CatalogWriter::remove(std::int32_t id) {
  Statement statement(pager_);
  auto found = locate(pager_, [&](const ObjectRow& o) { return o.id == id; });
  if (!found) throw Error(ErrorCode::ItemNotFound);
  TableIndexHook hook(allocator_);
  TableWriter(pager_, allocator_, "MSysObjects", disk::kCatalogPage, {}, &hook).remove(found->id);
  // Its access-control rows go with it.
  const PageNumber page = aces_page(pager_);
  const TableDef def = read_table_def(pager_, page);
  std::vector<RowId> doomed;
  const ColumnDef* object = def.find_column("ObjectId");
  if (!object) throw_damaged_catalog("ObjectId");
  Table(pager_, "MSysACEs", def).scan([&](RowId rid, const Row& row) {
    if (whole(&row[object->definition_order]) == id) doomed.push_back(rid);
    return true;
  });
  TableWriter aces(pager_, allocator_, "MSysACEs", page, {}, &hook);
  for (RowId rid : doomed) aces.remove(rid);
  statement.commit();
}

void CatalogWriter::add_access(std::int32_t object_id, const std::vector<AccessEntry>& entries) {
  Statement statement(pager_);
  const PageNumber page = aces_page(pager_);
  TableIndexHook hook(allocator_);
  TableWriter writer(pager_, allocator_, "MSysACEs", page, {}, &hook);
  const TableDef def = writer.definition();
  for (const AccessEntry& e : entries) {
    Row row(def.columns.size(), Value::null());
    set_catalog_column(def, row, "ObjectId", Value::long_(object_id));
    set_catalog_column(def, row, "SID", Value::binary(e.sid));
    set_catalog_column(def, row, "ACM", Value::long_(e.acm));
    set_catalog_column(def, row, "FInheritable", Value::boolean(e.inheritable));
    writer.insert(row);
  }
  statement.commit();
}

void throw_damaged_catalog(std::string_view column) {
  throw Error(ErrorCode::DatabaseDamaged, std::string("catalogue sans colonne ") + std::string(column));
}

}  // namespace jet
