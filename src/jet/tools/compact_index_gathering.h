// The index entries of a table filled by the compaction, gathered as its rows go in.
//
// Rows go in without index maintenance: the indexes are built in bulk once the table is
// full, from the entries gathered here as each row goes in (reading the rows back would
// decode every row once more per index). Entries past a memory budget wait in sorted runs in
// scratch files beside the new database ("<name>.tri<N>").
//
// The keys are made and sorted on a helper thread, batch by batch, while the rows of the
// next batch are copied. A row carried as stored joins the batch as its bytes, decoded on the
// helper thread; one written from values joins it as its indexed values (copied into values
// kept from batch to batch, so that their buffers serve again).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "jet/base/hand_off.h"
#include "jet/btree/index_key.h"
#include "jet/record/row.h"
#include "jet/record/table_def.h"
#include "jet/storage/format_layout.h"
#include "jet/table/index_entry_sort.h"
#include "jet/table/table_writer.h"
#include "os/services.h"

namespace jet::compact_detail {

class GatheredIndexes final : public IndexHook {
 public:
  // `budget`: bytes of entries held in memory, shared among the table's indexes.
  GatheredIndexes(const TableDef& def, const FormatLayout& layout, const os::Services& services,
                  const std::string& path, std::size_t budget);

  void check(const TableDef&, const Row*, const Row*, std::optional<RowId>) override {}
  void apply(const TableDef& def, const Row* old_values, const Row* new_values, RowId id) override;
  bool takes_stored_rows() const override { return stored_; }
  void apply_stored(const TableDef& def, std::span<const std::uint8_t> row, RowId id) override;

  // The entries of index `i` of every row, or null when they must be read back.
  IndexEntrySort* take(std::size_t i);

 private:
  static constexpr std::size_t kBatchRows = 2048;
  // A row of a batch: its stored bytes ([at, at + length) of `bytes`) or its values
  // (`rows[at]`).
  struct Entry {
    RowId id;
    std::uint32_t at = 0, length = 0;
    bool stored = false;
  };
  // On cache lines of its own: the batch filled row by row beside the one being read would
  // make the two cores pass their line back and forth at every row.
  struct alignas(64) Batch {
    std::vector<Entry> entries;
    std::vector<Row> rows;
    std::size_t valued = 0;  // rows in use
    std::vector<std::uint8_t> bytes;
    void clear() {
      entries.clear();
      bytes.clear();
      valued = 0;
    }
  };
  // A column's key, as one of the table's indexes holds it: an index's key is its columns'
  // keys one after the other, so a column several indexes hold is keyed once per row.
  struct Part {
    std::size_t at = 0;  // position in TableDef::columns (past them for a column not there)
    std::uint16_t number = 0;
    bool ascending = true;
  };
  enum class Made : std::uint8_t { Not, Done, NotComputable };

  void hand_over();
  // Every row handed so far is in the sorts.
  void settle();
  void gather(const Batch& batch);
  void gather_row(const Row& values, RowId id);
  void drop(std::size_t i);

  const TableDef def_;
  const FormatLayout& layout_;
  const std::string path_;  // named by a damaged row's error
  IndexEntrySort::Pool pool_;  // declared before the sorts: they draw on it until they are gone
  std::vector<std::unique_ptr<IndexEntrySort>> entries_;
  std::vector<bool> complete_;
  std::vector<std::size_t> indexed_;  // positions of the columns some index holds
  std::vector<Part> parts_;
  std::vector<std::vector<std::size_t>> index_parts_;  // each index's parts, in key order
  bool stored_ = true;                                 // rows carried as stored are taken as bytes
  // The helper thread's: the parts of the row at hand, and a key put together from them.
  alignas(64) KeyWriter made_keys_;
  std::vector<Made> made_;
  std::vector<std::pair<std::size_t, std::size_t>> spans_;  // each made part in `made_keys_`
  std::vector<std::uint8_t> key_;
  Row decoded_;  // a stored row's indexed values
  Batch filling_, handed_;
  alignas(64) HandOff helper_;  // declared last: gone first, once the batch under way is done
};

}  // namespace jet::compact_detail
