// Keeping every real index of a table right when a row is added, changed or deleted.
//
// Each call first works out every key change (key codecs, General text order) and checks the unique indexes (a key already
// held by another row raises 3022; keys with a Null column are exempt, as in Jet), and only
// then touches the B-trees: a refused write changes nothing. Ignore-nulls indexes leave out
// rows whose indexed columns are all Null. The table's own pages are not touched here.
//
// Only entries that change need keys: an index whose columns keep their values is left
// alone, and the entry a row has now (to remove or move) is found by its stored bytes when
// its key cannot be computed (a character without a known code). A new key that cannot be
// computed still raises the engine's error (3431).
//
// IndexWriteHook is what the table writer calls around each row write; IndexMaintainer is
// its implementation over an IndexPageStore.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "jet/btree/btree_write_store.h"
#include "jet/record/row.h"
#include "jet/record/table_def.h"

namespace jet {

class IndexWriteHook {
 public:
  virtual ~IndexWriteHook() = default;
  // Refuses (3022, key errors) without writing anything when the row cannot be added.
  virtual void check_insert(const Row& row) = 0;
  virtual void check_update(RowId id, const Row& old_row, const Row& new_row) = 0;
  // Apply the entries of a row written at `id` (checking again first).
  virtual void row_inserted(RowId id, const Row& row) = 0;
  virtual void row_deleted(RowId id, const Row& row) = 0;
  // A row changed, possibly moving from `old_id` to `new_id`.
  virtual void row_updated(RowId old_id, const Row& old_row, RowId new_id,
                           const Row& new_row) = 0;
};

class IndexMaintainer final : public IndexWriteHook {
 public:
  // `table` must outlive the maintainer; its IndexDef root pages must be current.
  IndexMaintainer(IndexPageStore& store, const TableDef& table);

  void check_insert(const Row& row) override;
  void check_update(RowId id, const Row& old_row, const Row& new_row) override;
  void row_inserted(RowId id, const Row& row) override;
  void row_deleted(RowId id, const Row& row) override;
  void row_updated(RowId old_id, const Row& old_row, RowId new_id, const Row& new_row) override;

  // An insert checked once: check_insert that keeps what it worked out (the row's keys), and
  // row_inserted from it without working it out or checking again. For a caller that writes
  // nothing to the table's indexes in between.
  class CheckedInsert;
  CheckedInsert checked_insert(const Row& row);
  void row_inserted(RowId id, CheckedInsert checked);

 private:
  struct Change {
    const IndexDef* index;
    std::optional<std::vector<std::uint8_t>> old_key;  // entry to remove
    std::optional<std::vector<std::uint8_t>> new_key;  // entry to add
    RowId old_id;
    RowId new_id;
  };
  std::vector<Change> plan(const Row* old_row, RowId old_id, const Row* new_row, RowId new_id);
  void check_unique(const std::vector<Change>& changes, const std::optional<RowId>& replaced);
  void apply(const std::vector<Change>& changes);
  std::optional<std::vector<std::uint8_t>> key_of(const IndexDef& index, const Row& row) const;
  std::optional<std::vector<std::uint8_t>> held_key_of(const IndexDef& index, const Row& row,
                                                       RowId id) const;

  IndexPageStore* store_;
  const TableDef* table_;

 public:
  class CheckedInsert {
    friend class IndexMaintainer;
    std::vector<Change> changes;
  };
};

}  // namespace jet
