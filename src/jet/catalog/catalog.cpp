#include "jet/catalog/catalog.h"

#include <algorithm>
#include <map>

#include "jet/base/names.h"
#include "jet/table/table.h"
#include "jet/record/table_def.h"
#include "jet/storage/format.h"

namespace jet {
namespace {
constexpr std::uint32_t kSystemFlags = 0x80000002u;

const Value* field(const Table& table, const Row& row, std::string_view name) {
  const ColumnDef* c = table.def().find_column(name);
  return c ? &row[c->definition_order] : nullptr;
}

std::string text_of(const Value* v) { return v && v->kind() == ValueKind::Text ? v->as_text() : std::string(); }
std::int64_t int_of(const Value* v) { return v && v->is_numeric() ? v->to_int64() : 0; }

}  // namespace

bool CatalogEntry::is_system() const noexcept {
  return (flags & kSystemFlags) != 0 || (name.size() >= 4 && same_name(name.substr(0, 4), "MSys"));
}

Catalog::Catalog(Pager& pager) : pager_(&pager) {
  Table objects(pager, "MSysObjects", read_table_def(pager, disk::kCatalogPage));
  objects.scan([&](RowId, const Row& row) {
    CatalogEntry e;
    e.id = static_cast<std::int32_t>(int_of(field(objects, row, "Id")));
    e.parent_id = static_cast<std::int32_t>(int_of(field(objects, row, "ParentId")));
    e.name = text_of(field(objects, row, "Name"));
    e.type = static_cast<std::int16_t>(int_of(field(objects, row, "Type")));
    e.flags = static_cast<std::uint32_t>(int_of(field(objects, row, "Flags")));
    if (const Value* p = field(objects, row, "LvProp"); p && p->kind() == ValueKind::Binary) e.properties = p->as_binary();
    e.connect = text_of(field(objects, row, "Connect"));
    e.foreign_name = text_of(field(objects, row, "ForeignName"));
    if (const Value* d = field(objects, row, "DateCreate"); d && d->kind() == ValueKind::Date) e.created = d->as_date();
    if (const Value* d = field(objects, row, "DateUpdate"); d && d->kind() == ValueKind::Date) e.updated = d->as_date();
    entries_.push_back(std::move(e));
    return true;
  });
}

std::vector<const CatalogEntry*> Catalog::tables(bool with_system) const {
  std::vector<const CatalogEntry*> out;
  for (const auto& e : entries_)
    if (e.type == static_cast<std::int16_t>(ObjectType::Table) && (with_system || !e.is_system())) out.push_back(&e);
  return out;
}

std::vector<const CatalogEntry*> Catalog::queries() const {
  std::vector<const CatalogEntry*> out;
  for (const auto& e : entries_)
    if (e.type == static_cast<std::int16_t>(ObjectType::Query)) out.push_back(&e);
  return out;
}

const CatalogEntry* Catalog::find_object(std::string_view name, std::int16_t type) const {
  for (const auto& e : entries_)
    if (e.type == type && same_name(e.name, name)) return &e;
  return nullptr;
}

const CatalogEntry* Catalog::find_table(std::string_view name) const {
  return find_object(name, static_cast<std::int16_t>(ObjectType::Table));
}

std::vector<Relationship> Catalog::relationships() const {
  std::vector<Relationship> out;
  const CatalogEntry* entry = find_table("MSysRelationships");
  if (!entry) return out;
  Table table(*pager_, entry->name, read_table_def(*pager_, entry->table_page()));
  // Rows are one column pair each; group them by relationship, pairs ordered by icolumn.
  std::map<std::string, std::pair<std::size_t, std::map<std::int64_t, std::pair<std::string, std::string>>>> pairs;
  table.scan([&](RowId, const Row& row) {
    const std::string name = text_of(field(table, row, "szRelationship"));
    auto found = std::find_if(out.begin(), out.end(), [&](const Relationship& r) { return r.name == name; });
    if (found == out.end()) {
      Relationship r;
      r.name = name;
      r.table = text_of(field(table, row, "szObject"));
      r.referenced_table = text_of(field(table, row, "szReferencedObject"));
      r.flags = static_cast<std::uint32_t>(int_of(field(table, row, "grbit")));
      pairs[name].first = out.size();
      out.push_back(std::move(r));
    }
    pairs[name].second[int_of(field(table, row, "icolumn"))] = {text_of(field(table, row, "szColumn")),
                                                                text_of(field(table, row, "szReferencedColumn"))};
    return true;
  });
  for (auto& [name, slot] : pairs) {
    Relationship& r = out[slot.first];
    for (auto& [index, columns] : slot.second) {
      r.columns.push_back(columns.first);
      r.referenced_columns.push_back(columns.second);
    }
  }
  return out;
}

std::vector<std::vector<std::pair<std::string, Value>>> Catalog::query_rows() const {
  std::vector<std::vector<std::pair<std::string, Value>>> out;
  const CatalogEntry* entry = find_table("MSysQueries");
  if (!entry) return out;
  Table table(*pager_, entry->name, read_table_def(*pager_, entry->table_page()));
  table.scan([&](RowId, const Row& row) {
    std::vector<std::pair<std::string, Value>> named;
    for (const auto& c : table.def().columns) named.emplace_back(c.name, row[c.definition_order]);
    out.push_back(std::move(named));
    return true;
  });
  return out;
}

}  // namespace jet
