// Table definitions as stored on table-definition pages (possibly chained over several
// pages): columns, real (physical) indexes and logical indexes. Parsing is strict: every
// count and offset is checked against the bytes actually present (3049 otherwise).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "jet/storage/pager.h"
#include "jet/record/usage_map.h"

namespace jet {

// Stored column types.
enum class ColumnType : std::uint8_t {
  Boolean = 0x01,
  Byte = 0x02,
  Integer = 0x03,
  Long = 0x04,
  Currency = 0x05,
  Single = 0x06,
  Double = 0x07,
  DateTime = 0x08,
  Binary = 0x09,
  Text = 0x0A,
  Ole = 0x0B,
  Memo = 0x0C,
  Guid = 0x0F,
  Numeric = 0x10,
};

const char* column_type_name(ColumnType type) noexcept;  // "Text", "Long Integer"...
bool is_long_value(ColumnType type) noexcept;            // Memo, Ole
bool is_textual(ColumnType type) noexcept;               // Text, Memo

// Column flag bits of the definition.
namespace column_flags {
inline constexpr std::uint8_t Fixed = 0x01;
inline constexpr std::uint8_t Nullable = 0x02;
inline constexpr std::uint8_t AutoLong = 0x04;
inline constexpr std::uint8_t Replication = 0x10;
inline constexpr std::uint8_t AutoGuid = 0x40;
inline constexpr std::uint8_t Hyperlink = 0x80;
}  // namespace column_flags

struct ColumnDef {
  std::string name;
  ColumnType type = ColumnType::Text;
  std::uint16_t number = 0;        // column number; deleted columns leave gaps
  std::uint16_t var_index = 0;     // slot in the row's variable-column table
  std::uint16_t fixed_offset = 0;  // offset among the fixed-length data
  std::uint16_t length = 0;        // bytes (Jet 4 Text: 2 per character; 0 for Memo/OLE)
  std::uint8_t flags = 0;          // column_flags
  bool compressed_unicode = false; // text may be stored in the compressed form
  std::uint16_t code_page = 0;     // Jet 3 text: the code page of its bytes; 0 for UCS-2 text
  std::uint16_t sort_order = 0;    // text columns: 0x409 General
  std::uint8_t precision = 0;      // Numeric
  std::uint8_t scale = 0;          // Numeric
  std::uint32_t definition_order = 0;  // position in TableDef::columns and in a Row
  std::uint32_t display_index = 0;     // position in the stored definition

  bool is_fixed() const noexcept { return flags & column_flags::Fixed; }
  bool is_autonumber() const noexcept { return flags & (column_flags::AutoLong | column_flags::AutoGuid); }
};

// One column of a real index.
struct IndexColumn {
  std::uint16_t column_number = 0;
  bool ascending = true;
};

namespace index_flags {
inline constexpr std::uint8_t Unique = 0x01;
inline constexpr std::uint8_t IgnoreNulls = 0x02;
inline constexpr std::uint8_t Required = 0x08;
}  // namespace index_flags

// A physical index: the B-tree of keys.
struct IndexDef {
  std::uint32_t number = 0;       // position among the real indexes
  std::vector<IndexColumn> columns;
  std::uint32_t usage_map = 0;    // row pointer of its page usage map
  PageNumber root_page = 0;       // first (root) index page
  std::uint8_t flags = 0;         // index_flags
  std::uint32_t row_count = 0;    // entry count recorded in the definition

  bool unique() const noexcept { return flags & index_flags::Unique; }
  bool ignore_nulls() const noexcept { return flags & index_flags::IgnoreNulls; }
  bool required() const noexcept { return flags & index_flags::Required; }
};

enum class IndexKind : std::uint8_t { Normal = 0, Primary = 1, ForeignKey = 2 };

// A named index as Access shows it; several may share one real index.
struct LogicalIndex {
  std::string name;
  std::uint32_t number = 0;
  std::uint32_t real_index = 0;   // IndexDef::number backing it
  IndexKind kind = IndexKind::Normal;
  // Foreign keys: the related table's definition page and logical index number,
  // which side the table is on, and the cascade options.
  std::uint8_t related_table_kind = 0;
  std::int32_t related_index = -1;
  PageNumber related_table_page = 0;
  bool cascade_updates = false;
  bool cascade_deletes = false;
};

// The two usage maps of a long-value column's pages, listed after the logical index names.
struct LongValueMaps {
  std::uint16_t column_number = 0;
  std::uint32_t owned_pages = 0;  // row pointers, as TableDef::owned_pages
  std::uint32_t free_pages = 0;
};

struct TableDef {
  PageNumber page = 0;            // first definition page
  std::uint32_t row_count = 0;
  std::uint32_t next_autonumber = 0;
  bool system = false;            // table type byte 0x53
  std::uint16_t max_columns = 0;  // columns a row may hold, deleted ones included
  std::uint16_t variable_columns = 0;
  std::vector<ColumnDef> columns; // by column number (the order Access lists fields in)
  std::vector<IndexDef> indexes;
  std::vector<LogicalIndex> logical_indexes;
  std::uint32_t owned_pages = 0;  // row pointer of the usage map of the table's pages
  std::uint32_t free_pages = 0;   // row pointer of the usage map of pages with room
  std::vector<LongValueMaps> long_value_maps;  // Memo/OLE columns, in stored column order

  const ColumnDef* find_column(std::string_view name) const noexcept;  // case-insensitive
  const ColumnDef* column_by_number(std::uint16_t number) const noexcept;
  const IndexDef* real_index(std::uint32_t number) const noexcept;
};

// Reads the definition starting at `page` (and its continuation pages).
TableDef read_table_def(Pager& pager, PageNumber page);

// Bytes a fixed-length column occupies in a row (0 for Yes/No: its value is the null-mask bit).
std::size_t fixed_column_size(const ColumnDef& column);

}  // namespace jet
