#include "jet/record/table_def.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <string>

#include "jet/record/data_page.h"
#include "jet/base/names.h"
#include "jet/base/text_codec.h"
#include "jet/storage/format.h"

namespace jet {
namespace {
constexpr std::size_t kMaxDefinitionPages = 1024;

// All bytes of the definition: the first page whole, continuation pages after their header.
std::vector<std::uint8_t> gather(Pager& pager, PageNumber first) {
  std::vector<std::uint8_t> bytes;
  std::set<PageNumber> seen;
  PageNumber current = first;
  while (current != 0 || seen.empty()) {
    const Page page = pager.read(current);
    const ByteView v = page.view();
    if (v.u8(0) != static_cast<std::uint8_t>(PageKind::TableDefinition))
      v.damaged(std::string("définition de table attendue, page de type ") + page_kind_name(v.u8(0)));
    if (!seen.insert(current).second || seen.size() > kMaxDefinitionPages)
      v.damaged("chaînage circulaire des pages de définition de table");
    const std::size_t from = bytes.empty() ? 0 : disk::kTdefPageHeader;
    bytes.insert(bytes.end(), v.data() + from, v.data() + v.size());
    current = v.u32(4);
  }
  return bytes;
}

// A name: its byte length (2 bytes in Jet 4, 1 in Jet 3), then UTF-16LE (Jet 4) or
// code-page text (Jet 3).
std::string read_name(const ByteView& v, std::size_t& pos, const Pager& pager) {
  const FormatLayout& layout = pager.layout();
  const std::size_t length = layout.name_length_size == 1 ? v.u8(pos) : v.u16(pos);
  const ByteView text = v.sub(pos + layout.name_length_size, length);
  pos += layout.name_length_size + length;
  return layout.unicode_text ? utf16le_to_utf8(text.span()) : code_page_to_utf8(text.span(), pager.code_page());
}

}  // namespace

const char* column_type_name(ColumnType type) noexcept {
  switch (type) {
    case ColumnType::Boolean: return "Boolean";
    case ColumnType::Byte: return "Byte";
    case ColumnType::Integer: return "Integer";
    case ColumnType::Long: return "Long Integer";
    case ColumnType::Currency: return "Currency";
    case ColumnType::Single: return "Single";
    case ColumnType::Double: return "Double";
    case ColumnType::DateTime: return "DateTime";
    case ColumnType::Binary: return "Binary";
    case ColumnType::Text: return "Text";
    case ColumnType::Ole: return "OLE";
    case ColumnType::Memo: return "Memo/Hyperlink";
    case ColumnType::Guid: return "Replication ID";
    case ColumnType::Numeric: return "Numeric";
  }
  return "Unknown";
}

bool is_long_value(ColumnType type) noexcept { return type == ColumnType::Memo || type == ColumnType::Ole; }
bool is_textual(ColumnType type) noexcept { return type == ColumnType::Text || type == ColumnType::Memo; }

const ColumnDef* TableDef::find_column(std::string_view name) const noexcept {
  for (const auto& c : columns)
    if (same_name(c.name, name)) return &c;
  return nullptr;
}

const ColumnDef* TableDef::column_by_number(std::uint16_t number) const noexcept {
  for (const auto& c : columns)
    if (c.number == number) return &c;
  return nullptr;
}

const IndexDef* TableDef::real_index(std::uint32_t number) const noexcept {
  for (const auto& i : indexes)
    if (i.number == number) return &i;
  return nullptr;
}

TableDef read_table_def(Pager& pager, PageNumber page) {
  const std::vector<std::uint8_t> bytes = gather(pager, page);
  const ByteView v(bytes.data(), bytes.size(), page, &pager.file_name());
  const FormatLayout& layout = pager.layout();

  TableDef def;
  def.page = page;
  def.row_count = v.u32(layout.tdef_row_count);
  def.next_autonumber = v.u32(layout.tdef_next_autonumber);
  const std::uint8_t table_type = v.u8(layout.tdef_table_type);
  def.system = table_type == 0x53;
  def.max_columns = v.u16(layout.tdef_max_columns);
  def.variable_columns = v.u16(layout.tdef_variable_columns);
  const std::uint16_t column_count = v.u16(layout.tdef_column_count);
  const std::uint32_t logical_count = v.u32(layout.tdef_logical_count);
  const std::uint32_t real_count = v.u32(layout.tdef_real_count);
  def.owned_pages = v.u32(layout.tdef_owned_pages);
  def.free_pages = v.u32(layout.tdef_free_pages);
  // Counts beyond what fits in the bytes are damage, not a reason to allocate.
  if (real_count > bytes.size() / layout.real_index_size ||
      logical_count > bytes.size() / layout.logical_index_size ||
      column_count > bytes.size() / layout.column_size)
    v.damaged("nombre de colonnes ou d'index impossible");
  if (real_count > logical_count && logical_count != 0) v.damaged("plus d'index réels que d'index logiques");

  std::size_t pos = layout.tdef_real_counts;
  std::vector<std::uint32_t> index_rows(real_count);
  for (std::uint32_t i = 0; i < real_count; ++i) index_rows[i] = v.u32(pos + i * layout.real_count_size + 4);
  pos += real_count * layout.real_count_size;

  def.columns.resize(column_count);
  for (std::uint16_t i = 0; i < column_count; ++i) {
    const ByteView c = v.sub(pos + i * layout.column_size, layout.column_size);
    ColumnDef& col = def.columns[i];
    const std::uint8_t type = c.u8(0);
    col.type = static_cast<ColumnType>(type);
    col.number = c.u16(layout.column_number);
    col.var_index = c.u16(layout.column_var_index);
    if (col.type == ColumnType::Numeric) {
      col.precision = c.u8(layout.column_precision);
      col.scale = c.u8(layout.column_scale);
    } else if (is_textual(col.type)) {
      col.sort_order = c.u16(layout.column_sort_order);
      // Single-byte text is read in the column's own code page (the file's when it has none).
      if (!layout.unicode_text) {
        const std::uint16_t code_page = layout.column_code_page ? c.u16(layout.column_code_page) : 0;
        col.code_page = code_page ? code_page : pager.code_page();
      }
    }
    col.flags = c.u8(layout.column_flags);
    col.compressed_unicode = layout.column_flags2 && (c.u8(layout.column_flags2) & 0x01);
    col.fixed_offset = c.u16(layout.column_fixed_offset);
    col.length = c.u16(layout.column_length);
    col.display_index = i;
    if (col.number >= def.max_columns) c.damaged("numéro de colonne au-delà du nombre maximal de colonnes");
    if (!col.is_fixed() && col.var_index >= def.variable_columns && col.type != ColumnType::Boolean)
      c.damaged("rang de colonne variable au-delà du nombre de colonnes variables");
  }
  pos += std::size_t{column_count} * layout.column_size;
  for (auto& col : def.columns) col.name = read_name(v, pos, pager);
  std::stable_sort(def.columns.begin(), def.columns.end(),
                   [](const ColumnDef& a, const ColumnDef& b) { return a.number < b.number; });
  for (std::size_t i = 0; i < def.columns.size(); ++i) {
    def.columns[i].definition_order = static_cast<std::uint32_t>(i);
    if (i > 0 && def.columns[i].number == def.columns[i - 1].number)
      v.damaged("deux colonnes portent le numéro " + std::to_string(def.columns[i].number));
  }

  def.indexes.resize(real_count);
  for (std::uint32_t i = 0; i < real_count; ++i) {
    const ByteView r = v.sub(pos, layout.real_index_size);
    IndexDef& index = def.indexes[i];
    index.number = i;
    index.row_count = index_rows[i];
    for (std::size_t k = 0; k < disk::kMaxIndexColumns; ++k) {
      const std::size_t at = layout.real_index_columns + 3 * k;
      const std::uint16_t number = r.u16(at);
      if (number == 0xFFFF) continue;
      index.columns.push_back({number, (r.u8(at + 2) & 0x01) != 0});
    }
    index.usage_map = r.u32(layout.real_index_usage_map);
    index.root_page = r.u32(layout.real_index_root);
    index.flags = r.u8(layout.real_index_flags);
    pos += layout.real_index_size;
  }

  def.logical_indexes.resize(logical_count);
  for (std::uint32_t i = 0; i < logical_count; ++i) {
    const ByteView l = v.sub(pos, layout.logical_index_size);
    LogicalIndex& index = def.logical_indexes[i];
    index.number = l.u32(layout.logical_number);
    index.real_index = l.u32(layout.logical_real_index);
    index.related_table_kind = l.u8(layout.logical_related_kind);
    index.related_index = static_cast<std::int32_t>(l.u32(layout.logical_related_index));
    index.related_table_page = l.u32(layout.logical_related_page);
    index.cascade_updates = l.u8(layout.logical_cascade_updates) != 0;
    index.cascade_deletes = l.u8(layout.logical_cascade_deletes) != 0;
    const std::uint8_t kind = l.u8(layout.logical_kind);
    index.kind = kind == 1 ? IndexKind::Primary : kind == 2 ? IndexKind::ForeignKey : IndexKind::Normal;
    if (index.real_index >= real_count) l.damaged("index logique sans index réel");
    pos += layout.logical_index_size;
  }
  for (auto& index : def.logical_indexes) index.name = read_name(v, pos, pager);
  // Long-value column maps up to the 0xFFFF end marker; a definition cut short before the
  // marker simply has none listed (they only guide page reuse). Jet 3 keeps none.
  while (layout.long_value_maps && pos + 2 <= bytes.size() && v.u16(pos) != 0xFFFF && pos + 10 <= bytes.size()) {
    def.long_value_maps.push_back({v.u16(pos), v.u32(pos + 2), v.u32(pos + 6)});
    pos += 10;
  }
  return def;
}

std::size_t fixed_column_size(const ColumnDef& column) {
  switch (column.type) {
    case ColumnType::Boolean: return 0;
    case ColumnType::Byte: return 1;
    case ColumnType::Integer: return 2;
    case ColumnType::Long: case ColumnType::Single: return 4;
    case ColumnType::Currency: case ColumnType::Double: case ColumnType::DateTime: return 8;
    case ColumnType::Guid: return 16;
    case ColumnType::Numeric: return 17;
    default: return column.length;
  }
}

}  // namespace jet
