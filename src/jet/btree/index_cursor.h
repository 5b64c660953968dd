// A cursor over one real index of a table: entries in index order (key, then row id),
// forwards and backwards, and seeks by key. It walks the B-tree from the root through the
// parent/child links (not the sibling links, which jet verify checks separately), reading
// pages through the Pager, so it sees whatever overlay the pager puts in front of the file.
//
// A damaged tree (wrong page kinds, a page that is its own ancestor, more pages visited than
// the file holds) raises jet::Error 3049; the cursor never loops.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "jet/btree/index_key.h"
#include "jet/btree/index_page.h"
#include "jet/storage/pager.h"
#include "jet/record/table_def.h"
#include "jet/base/value.h"

namespace jet {

// The real index behind the named (logical) index of a table, names compared without regard
// to case; nullptr when the table has no index of that name.
const IndexDef* find_real_index(const TableDef& table, std::string_view logical_name);

class IndexCursor {
 public:
  // `table` and `index` must outlive the cursor.
  IndexCursor(Pager& pager, const TableDef& table, const IndexDef& index);

  void before_first();
  void after_last();
  // Move to the next (previous) entry; false, and positioned after the last (before the
  // first) entry, when there is none.
  bool next();
  bool previous();

  // Positions on the first entry whose key is >= `key`; false (after the last) if none.
  // A key of the first columns only (index_key_for_values) finds the first entry that
  // starts with those values.
  bool seek(std::span<const std::uint8_t> key);
  // Like seek, but true only when that entry's key equals `key` exactly.
  bool seek_exact(std::span<const std::uint8_t> key);
  // Positions on the first entry >= (key, row): the entry of that very row when present.
  bool seek_entry(std::span<const std::uint8_t> key, RowId row);
  // seek() on the key of leading column values.
  bool seek(const std::vector<Value>& values);

  bool on_entry() const noexcept { return state_ == State::OnEntry; }
  // The current entry; 3021 (no current record) when not on one.
  const IndexEntry& entry() const;
  RowId row_id() const { return entry().row; }

  const TableDef& table() const noexcept { return *table_; }
  const IndexDef& index() const noexcept { return *index_; }
  const std::vector<KeyColumn>& columns() const noexcept { return columns_; }

 private:
  enum class State { BeforeFirst, OnEntry, AfterLast };
  struct Frame {
    std::shared_ptr<const IndexPage> page;
    std::vector<PageNumber> children;  // intermediate pages
    std::ptrdiff_t pos = 0;            // child (intermediate) or entry (leaf)
  };

  std::shared_ptr<const IndexPage> load(PageNumber number);
  PageNumber push_one(PageNumber number, bool from_end);
  void push(PageNumber number, bool from_end);
  bool settle_forward();
  bool settle_backward();
  bool seek_with(std::span<const std::uint8_t> key, RowId row, bool with_row);
  void reset();

  Pager* pager_;
  const TableDef* table_;
  const IndexDef* index_;
  std::vector<KeyColumn> columns_;
  std::vector<Frame> path_;
  State state_ = State::BeforeFirst;
  std::uint64_t visits_ = 0;
  std::map<PageNumber, std::shared_ptr<const IndexPage>> cache_;
};

}  // namespace jet
