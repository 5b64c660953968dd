// Page kinds and the slot table of data pages (rows stored from the page end downwards).
#pragma once

#include <cstdint>
#include <optional>

#include "jet/storage/format.h"
#include "jet/storage/pager.h"
#include "jet/record/usage_map.h"

namespace jet {

enum class PageKind : std::uint8_t {
  DatabaseHeader = disk::kPageHeaderKind,
  Data = disk::kPageData,
  TableDefinition = disk::kPageTableDef,
  IndexIntermediate = disk::kPageIndexNode,
  IndexLeaf = disk::kPageIndexLeaf,
  UsageMap = disk::kPageUsageMap,
};

const char* page_kind_name(std::uint8_t kind_byte) noexcept;

// The slots of a data page. A slot is a live row, a deleted row, or an overflow pointer
// (4 bytes naming the row that now holds the data).
class DataPage {
 public:
  // Throws 3049 unless `page` is a data page with a consistent slot table.
  explicit DataPage(Page page);

  const Page& page() const noexcept { return page_; }
  std::uint32_t owner() const;  // table-definition page (or "LVAL" for long-value pages)
  bool is_long_value_page() const;
  std::uint16_t row_count() const noexcept { return rows_; }
  std::uint16_t free_space() const;

  bool deleted(std::uint16_t row) const;
  bool overflow(std::uint16_t row) const;
  // The bytes of slot `row` (overflow slots: their 4-byte pointer). The deleted flag is not
  // checked: a row moved here by an overflow pointer carries it so that scans skip it.
  ByteView row_bytes(std::uint16_t row) const;
  // Target of an overflow slot.
  RowId overflow_target(std::uint16_t row) const;
  // Whether row_bytes accepts every row of the page (a quick pass, without its messages).
  bool rows_in_bounds() const noexcept;

 private:
  std::uint16_t slot(std::uint16_t row) const;
  Page page_;
  std::size_t slots_at_ = 0;
  std::uint16_t rows_ = 0;
};

}  // namespace jet
