// Filling a table in bulk, as the compaction does: rows appended to pages of their own, each
// page written once, when full, and the table's counters once, at the end.
//
// Unlike TableWriter, a row is not a statement of its own: the caller runs the whole fill in
// one transaction and rolls it back on failure. No page the table held before is written.
// Each new page joins the table's usage map when it is started; only the last one joins the
// free-space map (the others are full, as TableWriter leaves them).
//
// Rows come as values (converted and numbered as TableWriter does, without column rules), or
// as the stored bytes of a row of a table laid out the same way (the same table in another
// file): those are carried as they are, only their long values written anew.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "jet/record/data_page_write.h"
#include "jet/record/long_value_write.h"
#include "jet/record/page_allocator.h"
#include "jet/record/row.h"
#include "jet/record/row_encode.h"
#include "jet/record/table_def.h"
#include "jet/storage/overlay_pager.h"
#include "jet/table/table_writer.h"

namespace jet {

class BulkRowWriter {
 public:
  BulkRowWriter(OverlayPager& pager, PageAllocator& allocator, std::string table_name, PageNumber definition_page,
                IndexHook* hook = nullptr);

  const TableDef& definition() const noexcept { return def_; }

  RowId add(const Row& values);

  // Whether rows of `source`, read through `source_pager`, can be carried as stored: same
  // format and page size, the same columns in the same places with the same types.
  bool takes_stored_rows_of(const TableDef& source, const Pager& source_pager) const;
  // The columns add_stored() needs decoded: those of the indexes, for a hook that does not
  // take stored rows; none otherwise.
  ColumnSelection stored_row_needs() const;
  // Carries `bytes`, a live row of such a source, its long values read from `source_pager`.
  // `values` holds at least the columns stored_row_needs() names. nullopt, with nothing
  // written, when the row must go through add() instead (a Null autonumber to number).
  std::optional<RowId> add_stored(Pager& source_pager, const ByteView& bytes, const Row& values);

  // Writes the page being filled and the table's row count and next autonumber. Rows added
  // without it are not in the table.
  void finish();

 private:
  // `values` null: the hook takes the row as stored.
  RowId put(std::span<const std::uint8_t> row, const Row* values);
  void start_page();
  void write_page();

  OverlayPager& pager_;
  PageAllocator& allocator_;
  std::string name_;
  TableDef def_;
  IndexHook* hook_;
  LongValueWriter long_values_;
  std::optional<DataPageEditor> page_;
  PageNumber page_number_ = 0;
  std::uint32_t added_ = 0;
  std::uint32_t next_auto_ = 0;
  std::vector<const ColumnDef*> examined_;  // columns whose stored bytes are looked at
  std::vector<const ColumnDef*> autonumbers_;
  std::vector<std::uint8_t> carried_;       // the stored row being carried, its references rewritten
  std::vector<ByteView> fields_;            // its long values kept out of the row
};

}  // namespace jet
