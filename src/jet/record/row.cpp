#include "jet/record/row.h"

#include <cstring>
#include <set>
#include <stdexcept>
#include <string>

#include "jet/record/data_page.h"
#include "jet/record/long_value.h"
#include "jet/record/row_frame.h"
#include "jet/base/text_codec.h"

namespace jet {
namespace {

constexpr int kMaxOverflowHops = 16;


template <class T>
T load(const ByteView& bytes, std::size_t offset) {
  bytes.check(offset, sizeof(T));
  T value;
  std::memcpy(&value, bytes.data() + offset, sizeof(T));
  return value;
}

// Jet 4 text is UCS-2 (or its compressed form); Jet 3 text is in the column's code page.
std::string decode_text(const ColumnDef& column, std::span<const std::uint8_t> bytes) {
  return column.code_page ? code_page_to_utf8(bytes, column.code_page) : decode_stored_text(bytes);
}

// The same into `value`, reusing the buffer of the text it held.
void decode_text_into(const ColumnDef& column, std::span<const std::uint8_t> bytes, Value& value) {
  if (column.code_page) {
    value.assign_text() = code_page_to_utf8(bytes, column.code_page);
  } else {
    decode_stored_text(bytes, value.assign_text());
  }
}

Decimal decode_decimal(const ColumnDef& column, const ByteView& bytes) {
  Decimal d;
  d.negative = bytes.u8(0) & 0x80;
  d.scale = column.scale;
  // Four little-endian 32-bit words, most significant first.
  for (int word = 0; word < 4; ++word)
    d.magnitude = (d.magnitude << 32) | bytes.u32(1 + 4 * static_cast<std::size_t>(word));
  return d;
}

}  // namespace

Value decode_field(const ColumnDef& column, const ByteView& bytes) {
  switch (column.type) {
    case ColumnType::Boolean: return Value::boolean(true);
    case ColumnType::Byte: return Value::byte(bytes.u8(0));
    case ColumnType::Integer: return Value::integer(static_cast<std::int16_t>(bytes.u16(0)));
    case ColumnType::Long: return Value::long_(static_cast<std::int32_t>(bytes.u32(0)));
    case ColumnType::Currency: return Value::currency(static_cast<std::int64_t>(bytes.u64(0)));
    case ColumnType::Single: return Value::single(load<float>(bytes, 0));
    case ColumnType::Double: return Value::double_(load<double>(bytes, 0));
    case ColumnType::DateTime: return Value::date(load<double>(bytes, 0));
    case ColumnType::Guid: {
      Guid g;
      bytes.check(0, 16);
      std::memcpy(g.bytes.data(), bytes.data(), 16);
      return Value::guid(g);
    }
    case ColumnType::Numeric: return Value::decimal(decode_decimal(column, bytes));
    case ColumnType::Text: return Value::text(decode_text(column, bytes.span()));
    case ColumnType::Binary: return Value::binary(bytes.copy());
    case ColumnType::Memo: case ColumnType::Ole: bytes.damaged("valeur longue décodée hors de sa ligne");
  }
  // Types this engine does not interpret (Access keeps some in its own system tables).
  return Value::binary(bytes.copy());
}

Row decode_row(Pager& pager, const TableDef& def, const ByteView& bytes, const ColumnSelection& wanted) {
  Row row;
  decode_row_into(pager, def, bytes, row, wanted);
  return row;
}

namespace {

// Decodes columns of one row: those `each` gives (`each(decode)` calls decode(k) for each
// position k in TableDef::columns it wants). `pager` reads the long values; null when none is
// wanted.
template <typename Each>
void decode_into(const FormatLayout& layout, Pager* pager, const TableDef& def, const ByteView& bytes, Row& row,
                 bool offsets_checked, const Each& each) {
  const RowFrame frame = read_row_frame(bytes, layout, def.variable_columns > 0, offsets_checked);
  const std::size_t mask_at = frame.mask_at;
  const std::uint16_t var_count = frame.var_count;
  const std::size_t fixed_end = frame.fixed_end;
  auto present = [&](std::uint16_t number) {
    if (number >= frame.stored_columns) return false;  // column added after this row was written
    return ((bytes.u8(mask_at + number / 8) >> (number % 8)) & 1) != 0;
  };
  auto var_offset = [&](std::size_t i) { return frame.var_offset(bytes, i); };

  row.resize(def.columns.size());
  each([&](std::size_t k) {
    const ColumnDef& column = def.columns[k];
    Value& value = row[k];
    const bool bit = present(column.number);
    if (column.type == ColumnType::Boolean) {
      // A Yes/No column is never Null: rows written before it was added read No, as in Access.
      value = Value::boolean(bit);
      return;
    }
    if (!bit) {
      value = Value::null();
      return;
    }
    ByteView field;
    if (column.is_fixed()) {
      const std::size_t start = layout.row_count_size + std::size_t{column.fixed_offset};
      const std::size_t size = fixed_column_size(column);
      if (start + size > fixed_end) bytes.damaged("colonne fixe « " + column.name + " » hors de la ligne");
      field = bytes.sub(start, size);
    } else {
      if (column.var_index >= var_count) {
        value = Value::null();
        return;
      }
      const std::size_t start = var_offset(column.var_index);
      const std::size_t end = var_offset(std::size_t{column.var_index} + 1);
      if (start > end || end > mask_at) bytes.damaged("colonne variable « " + column.name + " » hors de la ligne");
      field = bytes.sub(start, end - start);
    }
    if (is_long_value(column.type)) {
      if (field.size() == 0) {
        value = column.type == ColumnType::Memo ? Value::text({}) : Value::binary({});
        return;
      }
      if (!pager) throw std::logic_error("decode_columns_into: long value without a pager");
      std::vector<std::uint8_t> data = read_long_value(*pager, field);
      if (column.type == ColumnType::Memo) decode_text_into(column, data, value);
      else value = Value::binary(std::move(data));
    } else if (column.type == ColumnType::Text) {
      decode_text_into(column, field.span(), value);
    } else {
      value = decode_field(column, field);
    }
  });
}

}  // namespace

void decode_row_into(Pager& pager, const TableDef& def, const ByteView& bytes, Row& row,
                     const ColumnSelection& wanted) {
  decode_into(pager.layout(), &pager, def, bytes, row, false, [&](const auto& decode) {
    for (std::size_t k = 0; k < def.columns.size(); ++k) {
      const std::size_t order = def.columns[k].definition_order;
      if (wanted.empty() || (order < wanted.size() && wanted[order])) decode(k);
      else row[k] = Value::null();
    }
  });
}

void decode_columns_into(const FormatLayout& layout, const TableDef& def, const ByteView& bytes, Row& row,
                         std::span<const std::size_t> positions) {
  decode_into(layout, nullptr, def, bytes, row, true, [&](const auto& decode) {
    for (const std::size_t k : positions)
      if (k < def.columns.size()) decode(k);
  });
}

std::optional<ByteView> locate_row(Pager& pager, RowId id, std::uint32_t owner_page, Page* keep_alive) {
  for (int hop = 0; hop <= kMaxOverflowHops; ++hop) {
    *keep_alive = pager.read(id.page);
    const DataPage page(*keep_alive);
    if (page.owner() != owner_page)
      keep_alive->view().damaged("la page n'appartient pas à la table de la page " + std::to_string(owner_page));
    if (id.row >= page.row_count()) return std::nullopt;
    // The target of a move is flagged deleted (so that scans skip it) but is live.
    if (hop == 0 && page.deleted(id.row)) return std::nullopt;
    if (!page.overflow(id.row)) return page.row_bytes(id.row);
    id = page.overflow_target(id.row);
  }
  pager.read(id.page).view().damaged("chaîne de lignes déplacées trop longue ou circulaire");
}

std::optional<Row> read_row(Pager& pager, const TableDef& def, RowId id, const ColumnSelection& wanted) {
  Page keep;
  auto bytes = locate_row(pager, id, def.page, &keep);
  if (!bytes) return std::nullopt;
  return decode_row(pager, def, *bytes, wanted);
}

}  // namespace jet
