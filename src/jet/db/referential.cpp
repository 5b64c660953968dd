#include "jet/db/referential.h"

#include <functional>

#include "jet/base/error.h"
#include "jet/btree/index_cursor.h"
#include "jet/btree/index_row_key.h"
#include "jet/db/writable_database.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

// Which side of a relationship a foreign-key index stands for.

// One enforced relationship as seen from the table being written.
struct Link {
  IndexDef own;          // this table's index of the relationship's columns
  TableDef other;        // the table at the other end
  IndexDef other_index;  // its index of the paired columns (same order)
  std::string other_name;
  bool cascade_updates = false;
  bool cascade_deletes = false;
};

std::string table_name(WritableDatabase& db, PageNumber page) {
  for (const CatalogEntry* e : db.catalog().tables(true))
    if (e->table_page() == page) return e->name;
  throw Error(ErrorCode::DatabaseDamaged, "table de la page " + std::to_string(page));
}

// The relationships of `def` on `side` whose own index `concerned` accepts (the other table is
// read only for those: most updates change no key).
std::vector<Link> links(WritableDatabase& db, const TableDef& def, std::uint8_t side,
                        const std::function<bool(const IndexDef&)>& concerned) {
  std::vector<Link> out;
  for (const LogicalIndex& li : def.logical_indexes) {
    if (li.kind != IndexKind::ForeignKey || li.related_table_kind != side || li.related_index < 0) continue;
    const IndexDef* own = def.real_index(li.real_index);
    if (!own) throw Error(ErrorCode::DatabaseDamaged, li.name);
    if (!concerned(*own)) continue;
    Link link;
    link.own = *own;
    link.other = li.related_table_page == def.page ? def : read_table_def(db.pager(), li.related_table_page);
    const auto back = static_cast<std::size_t>(li.related_index);
    if (back >= link.other.logical_indexes.size()) throw Error(ErrorCode::DatabaseDamaged, li.name);
    const LogicalIndex& other_logical = link.other.logical_indexes[back];
    const IndexDef* other_index = link.other.real_index(other_logical.real_index);
    if (!other_index || other_index->columns.size() != own->columns.size()) throw Error(ErrorCode::DatabaseDamaged, li.name);
    link.other_index = *other_index;
    link.other_name = table_name(db, li.related_table_page);
    // Access marks the cascades on both sides; either one is taken as the relationship's.
    link.cascade_updates = li.cascade_updates || other_logical.cascade_updates;
    link.cascade_deletes = li.cascade_deletes || other_logical.cascade_deletes;
    out.push_back(std::move(link));
  }
  return out;
}

// The row's values of the index columns, in index order; nullopt when one is Null.
std::optional<std::vector<Value>> key_values(const TableDef& def, const IndexDef& index, const Row& row) {
  std::vector<Value> values;
  for (const IndexColumn& c : index.columns) {
    const ColumnDef* column = def.column_by_number(c.column_number);
    if (!column) throw Error(ErrorCode::DatabaseDamaged, "colonne " + std::to_string(c.column_number));
    const Value& v = row[column->definition_order];
    if (v.is_null()) return std::nullopt;
    values.push_back(v);
  }
  return values;
}

bool key_changed(const TableDef& def, const IndexDef& index, const Row& old_row, const Row& new_row) {
  bool same_values = true;
  for (const IndexColumn& c : index.columns) {
    const ColumnDef* column = def.column_by_number(c.column_number);
    if (!column || !(old_row[column->definition_order] == new_row[column->definition_order])) same_values = false;
  }
  if (same_values) return false;
  const auto before = key_values(def, index, old_row);
  const auto after = key_values(def, index, new_row);
  if (!before || !after) return before.has_value() != after.has_value();
  return index_key_for_values(def, index, *before) != index_key_for_values(def, index, *after);
}

bool has_row(WritableDatabase& db, const TableDef& def, const IndexDef& index, const std::vector<Value>& values) {
  IndexCursor cursor(db.pager(), def, index);
  return cursor.seek_exact(index_key_for_values(def, index, values));
}

// Rows of the other table whose key equals `values`.
std::vector<RowId> referring_rows(WritableDatabase& db, const Link& link, const std::vector<Value>& values) {
  const auto key = index_key_for_values(link.other, link.other_index, values);
  IndexCursor cursor(db.pager(), link.other, link.other_index);
  std::vector<RowId> rows;
  for (bool on = cursor.seek(key); on && cursor.entry().key == key; on = cursor.next()) rows.push_back(cursor.row_id());
  return rows;
}

void check_referencing(WritableDatabase& db, const TableDef& def, const Row* old_values, const Row& new_values) {
  const auto concerned = [&](const IndexDef& own) {
    return !old_values || key_changed(def, own, *old_values, new_values);
  };
  for (const Link& link : links(db, def, disk::kReferencingSide, concerned)) {
    const auto values = key_values(def, link.own, new_values);
    if (!values) continue;
    if (!has_row(db, link.other, link.other_index, *values)) throw Error(ErrorCode::RelatedRecordRequired, link.other_name);
  }
}

void check_referenced(WritableDatabase& db, const TableDef& def, const Row& old_values, const Row* new_values) {
  const auto concerned = [&](const IndexDef& own) {
    return !new_values || key_changed(def, own, old_values, *new_values);
  };
  for (const Link& link : links(db, def, disk::kReferencedSide, concerned)) {
    const bool cascades = new_values ? link.cascade_updates : link.cascade_deletes;
    if (cascades) continue;
    const auto values = key_values(def, link.own, old_values);
    if (values && !referring_rows(db, link, *values).empty()) throw Error(ErrorCode::RelatedRecordsExist, link.other_name);
  }
}

void cascade(WritableDatabase& db, const TableDef& def, const Row& old_values, const Row* new_values) {
  const auto concerned = [&](const IndexDef& own) {
    return !new_values || key_changed(def, own, old_values, *new_values);
  };
  for (const Link& link : links(db, def, disk::kReferencedSide, concerned)) {
    if (!(new_values ? link.cascade_updates : link.cascade_deletes)) continue;
    const auto values = key_values(def, link.own, old_values);
    if (!values) continue;
    const std::vector<RowId> rows = referring_rows(db, link, *values);
    if (rows.empty()) continue;
    TableWriter writer = db.writer(link.other_name);
    for (RowId row_id : rows) {
      const TableDef other = writer.definition();
      std::optional<Row> row = read_row(db.pager(), other, row_id);
      if (!row) continue;  // already removed further down the same cascade
      if (!new_values) {
        writer.remove(row_id);
        continue;
      }
      // The referring columns take the new key, column by column in index order.
      for (std::size_t i = 0; i < link.own.columns.size(); ++i) {
        const ColumnDef* from = def.column_by_number(link.own.columns[i].column_number);
        const ColumnDef* to = other.column_by_number(link.other_index.columns[i].column_number);
        (*row)[to->definition_order] = (*new_values)[from->definition_order];
      }
      writer.update(row_id, *row);
    }
  }
}

// Primary keys and required indexes take no row with a Null in one of their columns.
void check_required_indexes(const TableDef& def, const Row& row) {
  for (const IndexDef& index : def.indexes) {
    if (!index.required()) continue;
    for (const IndexColumn& c : index.columns)
      if (const ColumnDef* column = def.column_by_number(c.column_number); column && row[column->definition_order].is_null())
        throw Error(ErrorCode::IndexNullNotAllowed);
  }
}

}  // namespace

ReferentialHook::ReferentialHook(WritableDatabase& db) : db_(db), indexes_(db.allocator()) {}

void ReferentialHook::check(const TableDef& def, const Row* old_values, const Row* new_values,
                            std::optional<RowId> id) {
  if (new_values) check_required_indexes(def, *new_values);
  indexes_.check(def, old_values, new_values, id);
  if (new_values) check_referencing(db_, def, old_values, *new_values);
  if (old_values) check_referenced(db_, def, *old_values, new_values);
}

void ReferentialHook::apply(const TableDef& def, const Row* old_values, const Row* new_values, RowId id) {
  indexes_.apply(def, old_values, new_values, id);
  if (old_values) cascade(db_, def, *old_values, new_values);
}

}  // namespace jet
