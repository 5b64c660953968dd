#include "jet/btree/index_maintain.h"

#include "jet/btree/btree_write.h"
#include "jet/btree/btree_write_cache.h"
#include "jet/base/error.h"
#include "jet/btree/index_row_key.h"
#include "jet/btree/index_stored_key.h"

namespace jet {
namespace {

bool key_has_null(const std::vector<KeyColumn>& columns, const std::vector<std::uint8_t>& key) {
  KeyReader r(key);
  for (const auto& c : columns) {
    if (r.next(c).is_null) return true;
  }
  return false;
}

const Value& value_of(const TableDef& table, const Row& row, std::uint16_t number) {
  static const Value kNull = Value::null();
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    if (table.columns[i].number == number) return i < row.size() ? row[i] : kNull;
  }
  return kNull;
}

// The same values in every column of the index: the same entry, whatever its key.
bool same_indexed_values(const TableDef& table, const IndexDef& index, const Row& a, const Row& b) {
  for (const auto& ic : index.columns) {
    if (!(value_of(table, a, ic.column_number) == value_of(table, b, ic.column_number))) return false;
  }
  return true;
}

}  // namespace

IndexMaintainer::IndexMaintainer(IndexPageStore& store, const TableDef& table)
    : store_(&store), table_(&table) {}

std::optional<std::vector<std::uint8_t>> IndexMaintainer::key_of(const IndexDef& index,
                                                                 const Row& row) const {
  if (index.ignore_nulls() && row_left_out_of_index(*table_, index, row)) return std::nullopt;
  return index_key_for_row(*table_, index, row);
}

// The entry a row has now: its key when it can be computed, else the bytes stored for it.
std::optional<std::vector<std::uint8_t>> IndexMaintainer::held_key_of(const IndexDef& index,
                                                                      const Row& row,
                                                                      RowId id) const {
  try {
    return key_of(index, row);
  } catch (const Error& e) {
    if (!key_not_computable(e)) throw;
    auto stored = stored_key_of_row(store_->pager(), *table_, index, id);
    if (!stored) throw;
    return stored;
  }
}

std::vector<IndexMaintainer::Change> IndexMaintainer::plan(const Row* old_row, RowId old_id,
                                                           const Row* new_row, RowId new_id) {
  std::vector<Change> out;
  for (const auto& index : table_->indexes) {
    const bool same_values =
        old_row && new_row && same_indexed_values(*table_, index, *old_row, *new_row);
    if (same_values && old_id == new_id) continue;
    Change c{&index, std::nullopt, std::nullopt, old_id, new_id};
    if (old_row) c.old_key = held_key_of(index, *old_row, old_id);
    if (new_row) c.new_key = same_values ? c.old_key : key_of(index, *new_row);
    if (old_row && new_row && old_id == new_id && c.old_key == c.new_key) continue;
    if (c.old_key || c.new_key) out.push_back(std::move(c));
  }
  return out;
}

// 3022 when a new key of a unique index is held by a row other than `replaced`.
void IndexMaintainer::check_unique(const std::vector<Change>& changes,
                                   const std::optional<RowId>& replaced) {
  IndexPageCache local(64);
  IndexPageCache& cache = store_->page_cache() ? *store_->page_cache() : local;
  for (const auto& c : changes) {
    if (!c.index->unique() || !c.new_key) continue;
    if (key_has_null(key_columns(*table_, *c.index), *c.new_key)) continue;
    if (index_holds_key(cache, store_->pager(), c.index->root_page, *c.new_key, replaced ? &*replaced : nullptr)) {
      throw Error(ErrorCode::DuplicateKey);
    }
  }
}

void IndexMaintainer::apply(const std::vector<Change>& changes) {
  for (const auto& c : changes) {
    store_->select_index(*c.index);
    BtreeWriter writer(*store_, table_->page, c.index->root_page);
    if (c.old_key && !writer.remove(*c.old_key, c.old_id)) {
      throw_damaged(store_->pager().file_name(),
                    "index, page " + std::to_string(c.index->root_page) +
                        " : entrée de la ligne modifiée absente de l'index");
    }
    if (c.new_key) writer.insert(*c.new_key, c.new_id);
  }
}

void IndexMaintainer::check_insert(const Row& row) {
  check_unique(plan(nullptr, {}, &row, {}), std::nullopt);
}

IndexMaintainer::CheckedInsert IndexMaintainer::checked_insert(const Row& row) {
  CheckedInsert checked;
  checked.changes = plan(nullptr, {}, &row, {});
  check_unique(checked.changes, std::nullopt);
  return checked;
}

void IndexMaintainer::row_inserted(RowId id, CheckedInsert checked) {
  for (auto& c : checked.changes) c.new_id = id;
  apply(checked.changes);
}

void IndexMaintainer::check_update(RowId id, const Row& old_row, const Row& new_row) {
  check_unique(plan(&old_row, id, &new_row, id), id);
}

void IndexMaintainer::row_inserted(RowId id, const Row& row) {
  const auto changes = plan(nullptr, {}, &row, id);
  check_unique(changes, std::nullopt);
  apply(changes);
}

void IndexMaintainer::row_deleted(RowId id, const Row& row) {
  apply(plan(&row, id, nullptr, {}));
}

void IndexMaintainer::row_updated(RowId old_id, const Row& old_row, RowId new_id,
                                  const Row& new_row) {
  const auto changes = plan(&old_row, old_id, &new_row, new_id);
  check_unique(changes, old_id);
  apply(changes);
}

}  // namespace jet
