// Where the two on-disk generations of the .mdb format put things. Jet 3 (Access 97) and
// Jet 4 (Access 2000-2003) share their structures (header page, usage maps, data pages,
// table definitions, B-tree index pages, long values) but not their sizes and offsets:
// The Jet 4 values are the names of format.h. Jet 3 has 2 KB pages, narrower definition records, one-byte row counts and offsets, and
// stores text in the file's code page instead of UCS-2. Every reader takes its numbers from
// the layout chosen when the header is read (Pager::layout()), never from a version test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "jet/storage/format.h"
#include "jet/storage/header.h"

namespace jet {

struct FormatLayout {
  FileFormat format = FileFormat::Jet4;
  std::size_t page_size = disk::kPageSize;
  bool writable = true;          // the engine writes only Jet 4 files
  bool unicode_text = true;      // UCS-2 (possibly compressed) text; else the code page's bytes

  // Header page (0x18.. masked with RC4).
  std::size_t header_masked_length = disk::kHeaderMaskedLength;
  std::size_t header_sort_order_offset = disk::kHeaderSortOrder;
  std::size_t header_password_length = disk::kHeaderPasswordLength;
  bool header_password_unicode = true;
  bool header_has_creation_date = true;

  // Data pages: row count, then the slot table.
  std::size_t data_row_count = disk::kDataRowCount;

  // Table definition, offsets in the definition's bytes.
  std::size_t tdef_row_count = disk::kTdefRowCount;
  std::size_t tdef_next_autonumber = disk::kTdefNextAutonumber;
  std::size_t tdef_table_type = disk::kTdefTableType;
  std::size_t tdef_max_columns = disk::kTdefMaxColumns;
  std::size_t tdef_variable_columns = disk::kTdefVariableColumns;
  std::size_t tdef_column_count = disk::kTdefColumnCount;
  std::size_t tdef_logical_count = disk::kTdefLogicalCount;
  std::size_t tdef_real_count = disk::kTdefRealCount;
  std::size_t tdef_owned_pages = disk::kTdefOwnedPages;
  std::size_t tdef_free_pages = disk::kTdefFreePages;
  std::size_t tdef_real_counts = disk::kTdefRealCounts;      // per real index: 4 unknown bytes, row count
  std::size_t real_count_size = disk::kTdefRealCountSize;

  // One column record.
  std::size_t column_size = disk::kColumnSize;
  std::size_t column_number = disk::kColumnNumber;
  std::size_t column_var_index = disk::kColumnVarIndex;
  std::size_t column_sort_order = disk::kColumnSortOrder;
  std::size_t column_code_page = 0;       // 0: no code page of its own
  std::size_t column_precision = disk::kColumnPrecision;
  std::size_t column_scale = disk::kColumnScale;
  std::size_t column_flags = disk::kColumnFlags;
  std::size_t column_flags2 = disk::kColumnFlags2;         // 0: none (compressed unicode bit)
  std::size_t column_fixed_offset = disk::kColumnFixedOffset;
  std::size_t column_length = disk::kColumnLength;

  std::size_t name_length_size = disk::kNameLengthSize;       // names: byte length, then the text

  // One real index record.
  std::size_t real_index_size = disk::kRealIndexSize;
  std::size_t real_index_columns = disk::kRealIndexColumns;     // ten (column number, order) triples
  std::size_t real_index_usage_map = disk::kRealIndexUsageMap;
  std::size_t real_index_root = disk::kRealIndexRoot;
  std::size_t real_index_flags = disk::kRealIndexFlags;

  // One logical index record.
  std::size_t logical_index_size = disk::kLogicalIndexSize;
  std::size_t logical_number = disk::kLogicalNumber;
  std::size_t logical_real_index = disk::kLogicalRealIndex;
  std::size_t logical_related_kind = disk::kLogicalRelatedKind;
  std::size_t logical_related_index = disk::kLogicalRelatedIndex;
  std::size_t logical_related_page = disk::kLogicalRelatedPage;
  std::size_t logical_cascade_updates = disk::kLogicalCascadeUpdates;
  std::size_t logical_cascade_deletes = disk::kLogicalCascadeDeletes;
  std::size_t logical_kind = disk::kLogicalKind;

  bool long_value_maps = true;            // per-column long-value usage maps after the names

  // Rows: width of the column count, of each variable offset and of the variable count.
  std::size_t row_count_size = 2;

  // Index pages.
  std::size_t index_prev = disk::kIndexPrev;
  std::size_t index_next = disk::kIndexNext;
  std::size_t index_tail = disk::kIndexTail;
  std::size_t index_prefix = disk::kIndexPrefix;          // shared prefix length: 2 bytes in Jet 4, 1 in Jet 3
  std::size_t index_prefix_size = 2;
  std::size_t index_mask = disk::kIndexMask;
  std::size_t index_entries = disk::kIndexEntries;
};

const FormatLayout& jet4_layout() noexcept;
const FormatLayout& jet3_layout() noexcept;
// The layout of a format this engine reads (Jet 3 or Jet 4).
const FormatLayout& layout_of(FileFormat format) noexcept;

// Throws 3041 (a database of a previous version), naming `file` and its format, unless the
// engine writes files of `layout`. Called before anything is opened for writing, so that a
// refused file is never touched.
void require_writable(const FormatLayout& layout, const std::string& file);

}  // namespace jet
