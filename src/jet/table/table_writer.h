// Changing the rows of one table: insert, update, remove, each an atomic statement.
//
// Each call runs in a Statement (transaction.h): inside an open transaction it is a
// savepoint, outside it is autocommitted; a failure half way leaves no trace.
//
// Order of work, so that a refused change writes nothing:
//  1. values are converted to the columns' types (6, 13, 3163, 3349), autonumbers assigned,
//     Required (3314) and AllowZeroLength (3315) rules checked;
//  2. the index hook checks the change (a unique violation throws 3022);
//  3. the row is written (long values, data page, usage maps, row count, autonumber);
//  4. the index hook brings the indexes up to date with the row id.
// A table with indexes and no hook refuses every change (3251): an index is never left
// behind its table.
//
// Rows go to the first page of the table's free-space map with room, else to a new page
// (added to both of the table's maps); a page of the map found without room for a row
// leaves the map. A row that outgrows its page moves to another
// page and its original slot points to it, so its RowId stays valid.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <set>
#include <string>
#include <vector>

#include "jet/record/long_value_write.h"
#include "jet/storage/overlay_pager.h"
#include "jet/record/page_allocator.h"
#include "jet/record/properties.h"
#include "jet/record/row.h"
#include "jet/record/table_def.h"

namespace jet {

// Index maintenance, called by the writer. `old_values` is null for an insert,
// `new_values` null for a removal. check() runs before anything is written and throws to
// refuse; apply() runs after the row is written, in the same statement, with the very
// values (the same objects) check() was given, and nothing written to the table's indexes
// in between.
class IndexHook {
 public:
  virtual ~IndexHook() = default;
  virtual void check(const TableDef& def, const Row* old_values, const Row* new_values,
                     std::optional<RowId> id) = 0;
  virtual void apply(const TableDef& def, const Row* old_values, const Row* new_values, RowId id) = 0;
  // A hook that makes its entries from the bytes of an inserted row (as stored in `def`'s
  // table, its long values not read) says so: a writer carrying stored rows then calls
  // apply_stored() for them instead of check() and apply(), sparing the decoding of values
  // for the hook to decode them where it likes (the compaction: on another thread).
  virtual bool takes_stored_rows() const { return false; }
  virtual void apply_stored(const TableDef& /*def*/, std::span<const std::uint8_t> /*row*/, RowId /*id*/) {}
};

// Column rules kept in the table's properties. Empty rules refuse nothing: the writers that
// carry stored rows (compaction, repair, column changes, system tables) keep every value as
// the source holds it.
struct ColumnRules {
  std::set<std::string> required;             // column names (as in the definition)
  // Text/Memo columns refusing "": only those whose AllowZeroLength property is stored false.
  // Jet treats a column without the property (made by SQL DDL) as accepting "", though DAO
  // reports such a column's AllowZeroLength as False.
  std::set<std::string> zero_length_refused;
  static ColumnRules from_properties(const TableDef& def, const PropertySet& properties);
};

// Values made ready for a row of `def`: converted to the columns' types (6, 13, 3163), `rules`
// checked (3314, 3315, naming `table`). With `next_auto`, a Null autonumber takes the next
// number (a Null GUID one a random GUID) and a larger stored number moves the counter on.
Row prepare_row(const TableDef& def, const Row& values, const ColumnRules& rules, const std::string& table,
                os::Random& random, std::uint32_t* next_auto);

// The stored bytes of a prepared row, its long values written through `long_values` (inline
// only while the row stays well inside a page). Throws 3047 for a row no page can hold.
std::vector<std::uint8_t> encode_stored_row(const TableDef& def, const Row& values, LongValueWriter& long_values,
                                            std::size_t page_size);

class TableWriter {
 public:
  TableWriter(OverlayPager& pager, PageAllocator& allocator, std::string table_name,
              PageNumber definition_page, ColumnRules rules = {}, IndexHook* hook = nullptr);

  RowId insert(const Row& values);
  void update(RowId id, const Row& values);
  void remove(RowId id);

  // The definition as it is now (row count and autonumber follow the writes).
  TableDef definition() const;

 private:
  // The parsed definition and the pages it was read from: reused while the pager still shows
  // those very page buffers (any write, rollback or re-read gives a page a new buffer).
  struct Parsed {
    TableDef def;
    std::vector<Page> pages;
  };
  std::shared_ptr<Parsed> parsed() const;
  Row prepare(const TableDef& def, const Row& values, bool assign_autonumbers, std::uint32_t* next_auto) const;
  void refuse_if_unindexed(const TableDef& def) const;
  RowId place_row(const TableDef& def, const std::vector<std::uint8_t>& row, std::uint16_t flags);
  void write_counters(Parsed& parsed, std::uint32_t rows, std::uint32_t next_auto);
  std::vector<std::uint8_t> encode(const TableDef& def, const Row& values);
  void free_long_values(const TableDef& def, const ByteView& row);

  OverlayPager& pager_;
  PageAllocator& allocator_;
  // Where place_row looks for room first: the page it used last (see place_row).
  PageNumber free_search_from_ = 0;
  LongValueWriter long_values_;
  std::string name_;
  PageNumber page_;
  ColumnRules rules_;
  IndexHook* hook_;
  mutable std::shared_ptr<Parsed> parsed_;
};

}  // namespace jet
