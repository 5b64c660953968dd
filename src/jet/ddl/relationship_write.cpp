#include "jet/ddl/relationship_write.h"

#include <algorithm>
#include <map>

#include "jet/ddl/alter_index_layout.h"
#include "jet/table/btree_build.h"
#include "jet/btree/btree_write_overlay.h"
#include "jet/btree/btree_write_page.h"
#include "jet/catalog/catalog_write.h"
#include "jet/db/create_table.h"
#include "jet/base/error.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/base/names.h"
#include "jet/record/tdef_encode.h"
#include "jet/storage/transaction.h"
#include "jet/record/usage_map_write.h"
#include "jet/storage/format.h"

namespace jet {
namespace {
constexpr std::int16_t kRelationshipType = static_cast<std::int16_t>(ObjectType::Relationship);

[[noreturn]] void refuse_relationship(const std::string& why) {
  throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
              describe(static_cast<int>(ErrorCode::OperationNotSupported)) + " (" + why + ")");
}

std::vector<std::uint16_t> column_numbers(const TableDef& def, const std::string& table,
                                          const std::vector<std::string>& names) {
  std::vector<std::uint16_t> out;
  for (const auto& n : names) {
    const ColumnDef* c = def.find_column(n);
    if (!c) throw Error(ErrorCode::ItemNotFound, table + "." + n);
    out.push_back(c->number);
  }
  return out;
}

bool same_columns(const IndexDef& index, const std::vector<std::uint16_t>& numbers) {
  if (index.columns.size() != numbers.size()) return false;
  for (std::size_t i = 0; i < numbers.size(); ++i)
    if (index.columns[i].column_number != numbers[i] || !index.columns[i].ascending) return false;
  return true;
}

TableWriter relationships_writer(WritableDatabase& db, IndexHook& hook) {
  const CatalogEntry* entry = db.catalog().find_table("MSysRelationships");
  if (!entry) throw Error(ErrorCode::TableNotFound, "MSysRelationships");
  return TableWriter(db.pager(), db.allocator(), entry->name, entry->table_page(), {}, &hook);
}

void set_relationship_column(const TableDef& def, Row& row, std::string_view column, Value value) {
  const ColumnDef* c = def.find_column(column);
  if (!c) throw_damaged(std::string("MSysRelationships"), std::string("colonne ") + std::string(column) + " absente");
  row[c->definition_order] = std::move(value);
}

void add_foreign_keys(WritableDatabase& db, const RelationshipDesign& design, PageNumber from_page, PageNumber to_page) {
  if (from_page == to_page) refuse_relationship("relation d'une table avec elle-même");
  TableDef from = read_table_def(db.pager(), from_page);
  TableDef to = read_table_def(db.pager(), to_page);
  const auto from_columns = column_numbers(from, design.table, design.columns);
  const auto to_columns = column_numbers(to, design.referenced_table, design.referenced_columns);
  for (std::size_t i = 0; i < from_columns.size(); ++i)
    if (from.column_by_number(from_columns[i])->type != to.column_by_number(to_columns[i])->type)
      refuse_relationship("colonnes de types différents");
  auto unique = std::find_if(to.indexes.begin(), to.indexes.end(),
                             [&](const IndexDef& r) { return r.unique() && same_columns(r, to_columns); });
  if (unique == to.indexes.end()) refuse_relationship("aucun index unique sur les colonnes référencées de " + design.referenced_table);

  bool build = false;
  auto own = std::find_if(from.indexes.begin(), from.indexes.end(),
                          [&](const IndexDef& r) { return same_columns(r, from_columns); });
  std::uint32_t real = 0;
  if (own != from.indexes.end()) {
    real = own->number;
  } else {
    from.indexes.push_back(index_layout::new_real_index(db, from, from_columns));
    real = from.indexes.back().number;
    build = true;
  }
  const bool cascade_updates = design.attributes & relationship_attributes::CascadeUpdates;
  const bool cascade_deletes = design.attributes & relationship_attributes::CascadeDeletes;

  LogicalIndex key;
  key.name = design.name;
  key.number = static_cast<std::uint32_t>(from.logical_indexes.size());
  key.real_index = real;
  key.kind = IndexKind::ForeignKey;
  key.related_table_kind = disk::kReferencingSide;
  key.related_table_page = to.page;
  key.related_index = static_cast<std::int32_t>(to.logical_indexes.size());
  key.cascade_updates = cascade_updates;
  key.cascade_deletes = cascade_deletes;

  LogicalIndex back;
  back.name = ".rC";
  for (int n = 1; std::any_of(to.logical_indexes.begin(), to.logical_indexes.end(),
                              [&](const LogicalIndex& li) { return same_name(li.name, back.name); });
       ++n)
    back.name = ".rC" + std::to_string(n);
  back.number = static_cast<std::uint32_t>(to.logical_indexes.size());
  back.real_index = unique->number;
  back.kind = IndexKind::ForeignKey;
  back.related_table_kind = disk::kReferencedSide;
  back.related_table_page = from.page;
  back.related_index = static_cast<std::int32_t>(key.number);
  back.cascade_updates = cascade_updates;
  back.cascade_deletes = cascade_deletes;

  from.logical_indexes.push_back(key);
  to.logical_indexes.push_back(back);
  write_table_def(db.pager(), db.allocator(), from);
  write_table_def(db.pager(), db.allocator(), to);
  if (build) {
    const Table table(db.pager(), design.table, read_table_def(db.pager(), from_page));
    OverlayIndexPageStore store(db.allocator());
    rebuild_index(store, table, *table.def().real_index(real));
  }
}

}  // namespace

void create_relationship(WritableDatabase& db, const RelationshipDesign& design) {
  if (design.columns.empty() || design.columns.size() > 10 || design.columns.size() != design.referenced_columns.size())
    refuse_relationship("colonnes de la relation");
  for (const auto& r : db.catalog().relationships())
    if (same_name(r.name, design.name)) throw Error(ErrorCode::ObjectExists, design.name);
  if (db.catalog().find_object(design.name, kRelationshipType)) throw Error(ErrorCode::ObjectExists, design.name);
  const CatalogEntry* from = db.catalog().find_table(design.table);
  if (!from) throw Error(ErrorCode::TableNotFound, design.table);
  const CatalogEntry* to = db.catalog().find_table(design.referenced_table);
  if (!to) throw Error(ErrorCode::TableNotFound, design.referenced_table);
  column_numbers(read_table_def(db.pager(), from->table_page()), design.table, design.columns);
  column_numbers(read_table_def(db.pager(), to->table_page()), design.referenced_table, design.referenced_columns);

  jet::Statement statement(db.pager());
  {
    TableIndexHook hook(db.allocator());
    TableWriter writer = relationships_writer(db, hook);
    const TableDef def = writer.definition();
    for (std::size_t i = 0; i < design.columns.size(); ++i) {
      Row row(def.columns.size(), Value::null());
      set_relationship_column(def, row, "szRelationship", Value::text(design.name));
      set_relationship_column(def, row, "grbit", Value::long_(static_cast<std::int32_t>(design.attributes)));
      set_relationship_column(def, row, "ccolumn", Value::long_(static_cast<std::int32_t>(design.columns.size())));
      set_relationship_column(def, row, "icolumn", Value::long_(static_cast<std::int32_t>(i)));
      set_relationship_column(def, row, "szObject", Value::text(from->name));
      set_relationship_column(def, row, "szColumn", Value::text(design.columns[i]));
      set_relationship_column(def, row, "szReferencedObject", Value::text(to->name));
      set_relationship_column(def, row, "szReferencedColumn", Value::text(design.referenced_columns[i]));
      writer.insert(row);
    }
  }
  CatalogWriter catalog(db.pager(), db.allocator());
  ObjectRow object;
  object.id = catalog.next_object_id();
  object.parent_id = object_ids::Relationships;
  object.name = design.name;
  object.type = kRelationshipType;
  catalog.add(object);
  if (!(design.attributes & relationship_attributes::NoIntegrity))
    add_foreign_keys(db, design, from->table_page(), to->table_page());
  statement.commit();
  db.reload_catalog();
}

void delete_relationship(WritableDatabase& db, const std::string& name) {
  const auto relationships = db.catalog().relationships();
  auto found = std::find_if(relationships.begin(), relationships.end(),
                            [&](const Relationship& r) { return same_name(r.name, name); });
  if (found == relationships.end()) throw Error(ErrorCode::ItemNotFound, name);
  jet::Statement statement(db.pager());
  {
    TableIndexHook hook(db.allocator());
    TableWriter writer = relationships_writer(db, hook);
    const TableDef def = writer.definition();
    const ColumnDef* column = def.find_column("szRelationship");
    std::vector<RowId> rows;
    Table(db.pager(), "MSysRelationships", def).scan([&](RowId id, const Row& row) {
      const Value& v = row[column->definition_order];
      if (v.kind() == ValueKind::Text && same_name(v.as_text(), name)) rows.push_back(id);
      return true;
    });
    for (RowId id : rows) writer.remove(id);
  }
  CatalogWriter catalog(db.pager(), db.allocator());
  if (auto object = catalog.find(object_ids::Relationships, found->name)) catalog.remove(object->id);

  // The foreign-key indexes: the relationship's own on its table and the one pointing back.
  std::map<PageNumber, TableDef> defs;
  for (const CatalogEntry* e : db.catalog().tables(true)) defs[e->table_page()] = read_table_def(db.pager(), e->table_page());
  const CatalogEntry* from = db.catalog().find_table(found->table);
  if (from) {
    const TableDef& def = defs.at(from->table_page());
    auto key = std::find_if(def.logical_indexes.begin(), def.logical_indexes.end(), [&](const LogicalIndex& li) {
      return li.kind == IndexKind::ForeignKey && same_name(li.name, found->name);
    });
    if (key != def.logical_indexes.end()) {
      const PageNumber to_page = key->related_table_page;
      const std::int32_t back = key->related_index;
      const std::uint32_t number = key->number;
      if (defs.count(to_page) && back >= 0) index_layout::remove_logical(db, defs, to_page, static_cast<std::uint32_t>(back));
      index_layout::remove_logical(db, defs, from->table_page(), number);
      for (auto& [page, d] : defs) {
        const TableDef before = read_table_def(db.pager(), page);
        if (encode_table_def(before) != encode_table_def(d)) write_table_def(db.pager(), db.allocator(), d);
      }
    }
  }
  statement.commit();
  db.reload_catalog();
}

}  // namespace jet
