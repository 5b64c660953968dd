// Where the two on-disk generations of the .mdb format put things. Jet 3 (Access 97) and
// Jet 4 (Access 2000-2003) share their structures (header page, usage maps, data pages,
// table definitions, B-tree index pages, long values) but not their sizes and offsets:
// Jet 3 has 2 KB pages, narrower definition records, one-byte row counts and offsets, and
// stores text in the file's code page instead of UCS-2. Every reader takes its numbers from
// the layout chosen when the header is read (Pager::layout()), never from a version test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "jet/storage/header.h"

namespace jet {

struct FormatLayout {
  FileFormat format = FileFormat::Jet4;
  std::size_t page_size = 4096;
  bool writable = true;          // the engine writes only Jet 4 files
  bool unicode_text = true;      // UCS-2 (possibly compressed) text; else the code page's bytes

  // Header page (0x18.. masked with RC4).
  std::size_t header_masked_length = 128;
  std::size_t header_sort_order_offset = 0x6E;
  std::size_t header_password_length = 40;
  bool header_password_unicode = true;
  bool header_has_creation_date = true;

  // Data pages: row count, then the slot table.
  std::size_t data_row_count = 12;

  // Table definition, offsets in the definition's bytes.
  std::size_t tdef_row_count = 16;
  std::size_t tdef_next_autonumber = 20;
  std::size_t tdef_table_type = 40;
  std::size_t tdef_max_columns = 41;
  std::size_t tdef_variable_columns = 43;
  std::size_t tdef_column_count = 45;
  std::size_t tdef_logical_count = 47;
  std::size_t tdef_real_count = 51;
  std::size_t tdef_owned_pages = 55;
  std::size_t tdef_free_pages = 59;
  std::size_t tdef_real_counts = 63;      // per real index: 4 unknown bytes, row count
  std::size_t real_count_size = 12;

  // One column record.
  std::size_t column_size = 25;
  std::size_t column_number = 5;
  std::size_t column_var_index = 7;
  std::size_t column_sort_order = 11;
  std::size_t column_code_page = 0;       // 0: no code page of its own
  std::size_t column_precision = 11;
  std::size_t column_scale = 12;
  std::size_t column_flags = 15;
  std::size_t column_flags2 = 16;         // 0: none (compressed unicode bit)
  std::size_t column_fixed_offset = 21;
  std::size_t column_length = 23;

  std::size_t name_length_size = 2;       // names: byte length, then the text

  // One real index record.
  std::size_t real_index_size = 52;
  std::size_t real_index_columns = 4;     // ten (column number, order) triples
  std::size_t real_index_usage_map = 34;
  std::size_t real_index_root = 38;
  std::size_t real_index_flags = 46;

  // One logical index record.
  std::size_t logical_index_size = 28;
  std::size_t logical_number = 4;
  std::size_t logical_real_index = 8;
  std::size_t logical_related_kind = 12;
  std::size_t logical_related_index = 13;
  std::size_t logical_related_page = 17;
  std::size_t logical_cascade_updates = 21;
  std::size_t logical_cascade_deletes = 22;
  std::size_t logical_kind = 23;

  bool long_value_maps = true;            // per-column long-value usage maps after the names

  // Rows: width of the column count, of each variable offset and of the variable count.
  std::size_t row_count_size = 2;

  // Index pages.
  std::size_t index_prev = 12;
  std::size_t index_next = 16;
  std::size_t index_tail = 20;
  std::size_t index_prefix = 24;          // shared prefix length: 2 bytes in Jet 4, 1 in Jet 3
  std::size_t index_prefix_size = 2;
  std::size_t index_mask = 0x1B;
  std::size_t index_entries = 0x1E0;
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
