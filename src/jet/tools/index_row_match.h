// The half of an index check that meets the leaf entries with the table's rows: every live
// row has exactly one entry (none when the index leaves it out), whose key is the encoding of
// the row's values; no entry names a missing or deleted row; a unique index holds no key
// twice (Nulls apart).
//
// Entries are handed over in tree order and sorted by (row, tree position) in bounded memory
// (spill_sort.h); the rows are read in storage order, which is row order, so one merge of the
// two finds every finding without holding either list.
// Findings come out in a fixed order: second entries of a row (tree order), duplicate keys
// (tree order), rows (storage order), the count of rows without entry when part of the tree
// could not be read, entries of missing rows (row order).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "jet/btree/index_key.h"
#include "jet/record/row_id.h"
#include "jet/table/table.h"
#include "jet/tools/spill_sort.h"

namespace jet {

// "page:row", and "page P, entrée N": how the index findings name rows and entries.
std::string index_row_text(RowId r);
std::string index_entry_where(PageNumber page, std::size_t entry);

class IndexRowMatch {
 public:
  // `room`: the most findings of each kind that can be reported.
  IndexRowMatch(const Table& table, const IndexDef& index, const std::vector<KeyColumn>& columns,
                const os::Services& services, std::size_t budget, std::size_t room);

  // The next leaf entry in tree order: entry `slot` of leaf `page`.
  void add(std::span<const std::uint8_t> key, RowId row, PageNumber page, std::size_t slot);

  // Reads the rows and hands each finding to `report`, in the order above, until `room` of
  // them are found. `incomplete`: part of the tree could not be read, so rows without entry
  // are counted, not listed.
  void finish(std::size_t room, bool incomplete, const std::function<void(std::string)>& report);

  // The same in steps, for one reading of the rows shared by several indexes: begin(), then
  // each live row in storage order (take_row, or interrupt when a row cannot be read), then
  // end(). The columns each row must hold are those of wanted().
  void begin(std::size_t room, bool incomplete);
  // False once no more findings are wanted (the following rows need not be given).
  bool take_row(RowId id, const Row& row);
  // The rows could not be read on from here: `error` is reported, the rest not checked.
  void interrupt(const std::string& error);
  bool wants_rows() const noexcept { return !stopped_ && !interrupted_; }
  void end(const std::function<void(std::string)>& report);
  ColumnSelection wanted() const;

 private:
  // The first entry (in tree order) of one row; the row's later entries are seconds.
  struct Group {
    std::uint32_t pointer = 0;
    PageNumber page = 0;
    std::uint16_t slot = 0;
    std::vector<std::uint8_t> key;
  };
  struct Second {
    std::uint32_t ordinal;
    PageNumber page;
    std::uint16_t slot;
    std::uint32_t row;
    bool operator<(const Second& o) const noexcept { return ordinal < o.ordinal; }
  };
  bool next_group(Group& g);
  void keep(std::vector<std::string>& list, std::string s) const;
  void check_row(RowId id, const Row& row, const Group* entry, bool incomplete);
  bool full() const noexcept;

  const Table& table_;
  const IndexDef& index_;
  const std::vector<KeyColumn>& columns_;
  std::size_t room_;
  SpillSort sorted_;
  std::uint32_t ordinal_ = 0;
  std::vector<std::uint8_t> payload_;  // the record being added
  std::vector<std::uint8_t> previous_key_;  // the last entry's, for duplicates in a unique index
  RowId previous_row_{};
  bool has_previous_ = false;
  bool have_record_ = false;
  SpillSort::Record record_;
  std::vector<Second> seconds_;  // a heap: the earliest `room_` second entries
  std::vector<std::string> duplicates_, rows_, strays_;
  std::size_t unlisted_rows_ = 0;
  // The reading of the rows under way.
  Group group_;
  bool has_group_ = false;
  bool incomplete_ = false;
  bool stopped_ = false;
  std::optional<std::string> interrupted_;
};

}  // namespace jet
