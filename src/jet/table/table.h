// A table opened for reading: its definition and a cursor over its live rows in storage
// order (pages of its usage map ascending, slots ascending). A row moved to another page
// is met at its original slot; its new place is flagged deleted and skipped by the scan.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "jet/storage/pager.h"
#include "jet/record/row.h"
#include "jet/record/table_def.h"

namespace jet {

class Table {
 public:
  Table(Pager& pager, std::string name, TableDef def);

  const std::string& name() const noexcept { return name_; }
  const TableDef& def() const noexcept { return def_; }
  Pager& pager() const noexcept { return *pager_; }

  // Data pages of the table (from its usage map, kept only if they are data pages it owns).
  const std::vector<PageNumber>& data_pages() const;
  // Pages to read for the rows: the data pages when known, else every page the usage map
  // lists, each to be kept only if it is one of the table's data pages (owns): one reading
  // of each page instead of one to sort them out (data_pages) and one for the rows.
  const std::vector<PageNumber>& pages_to_read() const;
  bool owns(const Page& page) const;

  // Row by id (follows overflow pointers); nullopt when deleted.
  std::optional<Row> read(RowId id) const { return read_row(*pager_, def_, id); }

  // Sequential scan of live rows.
  class Cursor {
   public:
    // `wanted`: the columns to decode (all when empty), see ColumnSelection.
    explicit Cursor(const Table& table, ColumnSelection wanted = {});
    bool next();  // false at the end
    RowId row_id() const noexcept { return current_; }
    const Row& row() const noexcept { return row_; }

   private:
    const Table* table_;
    const std::vector<PageNumber>* pages_;  // see Table::pages_to_read
    std::size_t page_index_ = 0;
    int slot_ = -1;
    std::optional<Page> page_;
    RowId current_{};
    Row row_;
    ColumnSelection wanted_;
  };
  Cursor cursor() const { return Cursor(*this); }

  // Calls `visit` for each live row; stops early when it returns false.
  void scan(const std::function<bool(RowId, const Row&)>& visit) const;
  // The same, decoding only the `wanted` columns (the others read Null).
  void scan(const ColumnSelection& wanted, const std::function<bool(RowId, const Row&)>& visit) const;
  // The same, handing over each live row's stored bytes undecoded (a moved row's from its
  // new place): for copies that carry rows as they are.
  void scan_stored(const std::function<bool(RowId, const ByteView&)>& visit) const;
  std::uint64_t count_rows() const;

 private:
  Pager* pager_;
  std::string name_;
  TableDef def_;
  mutable std::optional<std::vector<PageNumber>> data_pages_;
  mutable std::optional<std::vector<PageNumber>> listed_pages_;  // by the usage map
};

}  // namespace jet
