#include "jet/table_def.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <string>

#include "jet/data_page.h"
#include "jet/names.h"
#include "jet/text_codec.h"

namespace jet {
namespace {

constexpr std::size_t kPageHeader = 8;       // kind, unknown, free space, next page
constexpr std::size_t kRealIndexCounts = 12; // per real index, before the columns
constexpr std::size_t kColumnSize = 25;
constexpr std::size_t kRealIndexSize = 52;
constexpr std::size_t kLogicalIndexSize = 28;
constexpr std::size_t kMaxIndexColumns = 10;
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
    const std::size_t from = bytes.empty() ? 0 : kPageHeader;
    bytes.insert(bytes.end(), v.data() + from, v.data() + v.size());
    current = v.u32(4);
  }
  return bytes;
}

// A name: byte length (2 bytes) then UTF-16LE.
std::string read_name(const ByteView& v, std::size_t& pos) {
  const std::uint16_t length = v.u16(pos);
  const ByteView text = v.sub(pos + 2, length);
  pos += 2 + std::size_t{length};
  return utf16le_to_utf8(text.span());
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

  TableDef def;
  def.page = page;
  def.row_count = v.u32(16);
  def.next_autonumber = v.u32(20);
  const std::uint8_t table_type = v.u8(40);
  def.system = table_type == 0x53;
  def.max_columns = v.u16(41);
  def.variable_columns = v.u16(43);
  const std::uint16_t column_count = v.u16(45);
  const std::uint32_t logical_count = v.u32(47);
  const std::uint32_t real_count = v.u32(51);
  def.owned_pages = v.u32(55);
  def.free_pages = v.u32(59);
  // Counts beyond what fits in the bytes are damage, not a reason to allocate.
  if (real_count > bytes.size() / kRealIndexSize || logical_count > bytes.size() / kLogicalIndexSize ||
      column_count > bytes.size() / kColumnSize)
    v.damaged("nombre de colonnes ou d'index impossible");
  if (real_count > logical_count && logical_count != 0) v.damaged("plus d'index réels que d'index logiques");

  std::size_t pos = 63;
  std::vector<std::uint32_t> index_rows(real_count);
  for (std::uint32_t i = 0; i < real_count; ++i) index_rows[i] = v.u32(pos + i * kRealIndexCounts + 4);
  pos += real_count * kRealIndexCounts;

  def.columns.resize(column_count);
  for (std::uint16_t i = 0; i < column_count; ++i) {
    const ByteView c = v.sub(pos + i * kColumnSize, kColumnSize);
    ColumnDef& col = def.columns[i];
    const std::uint8_t type = c.u8(0);
    col.type = static_cast<ColumnType>(type);
    col.number = c.u16(5);
    col.var_index = c.u16(7);
    if (col.type == ColumnType::Numeric) {
      col.precision = c.u8(11);
      col.scale = c.u8(12);
    } else if (is_textual(col.type)) {
      col.sort_order = c.u16(11);
    }
    col.flags = c.u8(15);
    col.compressed_unicode = c.u8(16) & 0x01;
    col.fixed_offset = c.u16(21);
    col.length = c.u16(23);
    col.display_index = i;
    if (col.number >= def.max_columns) c.damaged("numéro de colonne au-delà du nombre maximal de colonnes");
    if (!col.is_fixed() && col.var_index >= def.variable_columns && col.type != ColumnType::Boolean)
      c.damaged("rang de colonne variable au-delà du nombre de colonnes variables");
  }
  pos += std::size_t{column_count} * kColumnSize;
  for (auto& col : def.columns) col.name = read_name(v, pos);
  std::stable_sort(def.columns.begin(), def.columns.end(),
                   [](const ColumnDef& a, const ColumnDef& b) { return a.number < b.number; });
  for (std::size_t i = 0; i < def.columns.size(); ++i) {
    def.columns[i].definition_order = static_cast<std::uint32_t>(i);
    if (i > 0 && def.columns[i].number == def.columns[i - 1].number)
      v.damaged("deux colonnes portent le numéro " + std::to_string(def.columns[i].number));
  }

  def.indexes.resize(real_count);
  for (std::uint32_t i = 0; i < real_count; ++i) {
    const ByteView r = v.sub(pos, kRealIndexSize);
    IndexDef& index = def.indexes[i];
    index.number = i;
    index.row_count = index_rows[i];
    for (std::size_t k = 0; k < kMaxIndexColumns; ++k) {
      const std::uint16_t number = r.u16(4 + 3 * k);
      if (number == 0xFFFF) continue;
      index.columns.push_back({number, (r.u8(6 + 3 * k) & 0x01) != 0});
    }
    index.usage_map = r.u32(34);
    index.root_page = r.u32(38);
    index.flags = r.u8(46);  // after four bytes of unknown use
    pos += kRealIndexSize;
  }

  def.logical_indexes.resize(logical_count);
  for (std::uint32_t i = 0; i < logical_count; ++i) {
    const ByteView l = v.sub(pos, kLogicalIndexSize);
    LogicalIndex& index = def.logical_indexes[i];
    index.number = l.u32(4);
    index.real_index = l.u32(8);
    index.related_table_kind = l.u8(12);
    index.related_index = static_cast<std::int32_t>(l.u32(13));
    index.related_table_page = l.u32(17);
    index.cascade_updates = l.u8(21) != 0;
    index.cascade_deletes = l.u8(22) != 0;
    const std::uint8_t kind = l.u8(23);
    index.kind = kind == 1 ? IndexKind::Primary : kind == 2 ? IndexKind::ForeignKey : IndexKind::Normal;
    if (index.real_index >= real_count) l.damaged("index logique sans index réel");
    pos += kLogicalIndexSize;
  }
  for (auto& index : def.logical_indexes) index.name = read_name(v, pos);
  // Long-value column maps up to the 0xFFFF end marker; a definition cut short before the
  // marker simply has none listed (they only guide page reuse).
  while (pos + 2 <= bytes.size() && v.u16(pos) != 0xFFFF && pos + 10 <= bytes.size()) {
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
