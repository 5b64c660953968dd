#include "jet/storage/format_layout.h"

#include "jet/base/error.h"

namespace jet {
namespace {

FormatLayout make_jet3() {
  FormatLayout l;
  l.format = FileFormat::Jet3;
  l.page_size = 2048;
  l.writable = false;
  l.unicode_text = false;

  l.header_masked_length = 126;
  l.header_sort_order_offset = 0x3A;
  l.header_password_length = 20;
  l.header_password_unicode = false;
  l.header_has_creation_date = false;

  l.data_row_count = 8;

  l.tdef_row_count = 12;
  l.tdef_next_autonumber = 16;
  l.tdef_table_type = 20;
  l.tdef_max_columns = 21;
  l.tdef_variable_columns = 23;
  l.tdef_column_count = 25;
  l.tdef_logical_count = 27;
  l.tdef_real_count = 31;
  l.tdef_owned_pages = 35;
  l.tdef_free_pages = 39;
  l.tdef_real_counts = 43;
  l.real_count_size = 8;

  l.column_size = 18;
  l.column_number = 1;
  l.column_var_index = 3;
  l.column_sort_order = 9;
  l.column_code_page = 11;
  l.column_precision = 11;
  l.column_scale = 12;
  l.column_flags = 13;
  l.column_flags2 = 0;
  l.column_fixed_offset = 14;
  l.column_length = 16;

  l.name_length_size = 1;

  l.real_index_size = 39;
  l.real_index_columns = 0;
  l.real_index_usage_map = 30;
  l.real_index_root = 34;
  l.real_index_flags = 38;

  l.logical_index_size = 20;
  l.logical_number = 0;
  l.logical_real_index = 4;
  l.logical_related_kind = 8;
  l.logical_related_index = 9;
  l.logical_related_page = 13;
  l.logical_cascade_updates = 17;
  l.logical_cascade_deletes = 18;
  l.logical_kind = 19;

  l.long_value_maps = false;

  l.row_count_size = 1;

  l.index_prev = 8;
  l.index_next = 12;
  l.index_tail = 16;
  l.index_prefix = 20;
  l.index_prefix_size = 1;
  l.index_mask = 0x16;
  l.index_entries = 0xF8;
  return l;
}

}  // namespace

const FormatLayout& jet4_layout() noexcept {
  static const FormatLayout layout{};
  return layout;
}

const FormatLayout& jet3_layout() noexcept {
  static const FormatLayout layout = make_jet3();
  return layout;
}

const FormatLayout& layout_of(FileFormat format) noexcept {
  return format == FileFormat::Jet3 ? jet3_layout() : jet4_layout();
}

}  // namespace jet

namespace jet {

void require_writable(const FormatLayout& layout, const std::string& file) {
  if (layout.writable) return;
  std::string text = describe(static_cast<int>(ErrorCode::PreviousVersion));
  text += " (base '" + file + "' au format " + format_name(layout.format) +
          " : ouverte en lecture seule, aucune modification possible)";
  throw Error(static_cast<int>(ErrorCode::PreviousVersion), std::move(text));
}

}  // namespace jet
