#include "jet/record/row_encode.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "jet/base/decimal.h"
#include "jet/base/error.h"
#include "jet/base/bytes.h"
#include "jet/base/text_codec.h"

namespace jet {
namespace {


template <class T>
void store(std::vector<std::uint8_t>& out, T value) {
  std::uint8_t bytes[sizeof(T)];
  std::memcpy(bytes, &value, sizeof(T));  // the host is little-endian, as the file
  out.insert(out.end(), bytes, bytes + sizeof(T));
}

[[noreturn]] void row_type_mismatch() { throw Error(ErrorCode::TypeMismatch); }
[[noreturn]] void row_overflow() { throw Error(ErrorCode::Overflow); }

std::int64_t whole(const Value& v, std::int64_t low, std::int64_t high) {
  if (!v.is_numeric()) row_type_mismatch();
  const std::int64_t n = v.to_int64();
  if (n < low || n > high) row_overflow();
  return n;
}

bool storable_type(ColumnType type) {
  switch (type) {
    case ColumnType::Boolean: case ColumnType::Byte: case ColumnType::Integer: case ColumnType::Long:
    case ColumnType::Currency: case ColumnType::Single: case ColumnType::Double: case ColumnType::DateTime:
    case ColumnType::Binary: case ColumnType::Text: case ColumnType::Ole: case ColumnType::Memo:
    case ColumnType::Guid: case ColumnType::Numeric:
      return true;
  }
  return false;
}

// UTF-16 code units of a text (a character past U+FFFF takes two).
std::size_t utf16_units(std::string_view utf8) {
  std::size_t units = 0;
  for (std::size_t i = 0; i < utf8.size();) units += next_utf8(utf8, i).code_point >= 0x10000 ? 2 : 1;
  return units;
}

}  // namespace

Value coerce_to_column(const ColumnDef& column, const Value& value) {
  Value converted;
  return coerce_into(column, value, converted);
}

const Value& coerce_into(const ColumnDef& column, const Value& value, Value& converted) {
  const auto made = [&converted](Value v) -> const Value& {
    converted = std::move(v);
    return converted;
  };
  if (value.is_null() || value.is_empty()) return made(Value::null());
  switch (column.type) {
    case ColumnType::Boolean:
      if (value.kind() == ValueKind::Boolean) return value;
      if (!value.is_numeric()) row_type_mismatch();
      return made(Value::boolean(value.to_double() != 0));
    case ColumnType::Byte:
      if (value.kind() == ValueKind::Byte) return value;
      return made(Value::byte(static_cast<std::uint8_t>(whole(value, 0, 255))));
    case ColumnType::Integer:
      if (value.kind() == ValueKind::Integer) return value;
      return made(Value::integer(static_cast<std::int16_t>(whole(value, -32768, 32767))));
    case ColumnType::Long:
      if (value.kind() == ValueKind::Long) return value;
      return made(Value::long_(static_cast<std::int32_t>(whole(value, std::numeric_limits<std::int32_t>::min(),
                                                               std::numeric_limits<std::int32_t>::max()))));
    case ColumnType::Currency: {
      if (value.kind() == ValueKind::Currency) return value;
      if (value.kind() == ValueKind::Decimal) return made(Value::currency(currency_of_decimal(value.as_decimal())));
      if (!value.is_numeric()) row_type_mismatch();
      const double scaled = std::nearbyint(value.to_double() * 10000.0);
      if (!(std::fabs(scaled) < 9.2e18)) row_overflow();
      return made(Value::currency(static_cast<std::int64_t>(scaled)));
    }
    case ColumnType::Single: {
      if (value.kind() == ValueKind::Single) return value;
      if (!value.is_numeric()) row_type_mismatch();
      const double d = value.to_double();
      if (std::isfinite(d) && std::fabs(d) > std::numeric_limits<float>::max()) row_overflow();
      return made(Value::single(static_cast<float>(d)));
    }
    case ColumnType::Double:
      if (value.kind() == ValueKind::Double) return value;
      if (!value.is_numeric()) row_type_mismatch();
      return made(Value::double_(value.to_double()));
    case ColumnType::DateTime:
      if (value.kind() == ValueKind::Date) return value;
      if (!value.is_numeric()) row_type_mismatch();
      return made(Value::date(value.to_double()));
    case ColumnType::Text: case ColumnType::Memo:
      if (value.kind() != ValueKind::Text) row_type_mismatch();
      if (column.type == ColumnType::Text && utf16_units(value.as_text()) * 2 > column.length)
        throw Error(ErrorCode::FieldTooSmall);
      return value;
    case ColumnType::Binary: case ColumnType::Ole:
      if (value.kind() != ValueKind::Binary) row_type_mismatch();
      if (column.type == ColumnType::Binary && value.as_binary().size() > column.length)
        throw Error(ErrorCode::FieldTooSmall);
      return value;
    case ColumnType::Guid:
      if (value.kind() != ValueKind::Guid) row_type_mismatch();
      return value;
    case ColumnType::Numeric:
      // Every number converts (Double with 15 digits, Single with 7, Currency exactly); 3349
      // when the whole part does not fit the column's precision.
      if (!value.is_numeric()) row_type_mismatch();
      return made(Value::decimal(fit_decimal(decimal_of(value), column.precision, column.scale)));
  }
  return value;
}

namespace {

// The stored form of a value already converted to the column's type.
std::vector<std::uint8_t> encode_converted(const ColumnDef& column, const Value& value) {
  std::vector<std::uint8_t> out;
  if (value.is_null()) return out;
  if (!storable_type(column.type)) {
    // Types Access keeps for itself: the bytes as read, unchanged.
    if (value.kind() != ValueKind::Binary) row_type_mismatch();
    out = value.as_binary();
    if (column.is_fixed()) out.resize(fixed_column_size(column), 0);
    return out;
  }
  switch (column.type) {
    case ColumnType::Boolean: break;
    case ColumnType::Byte: out.push_back(value.as_byte()); break;
    case ColumnType::Integer: store(out, value.as_integer()); break;
    case ColumnType::Long: store(out, value.as_long()); break;
    case ColumnType::Currency: store(out, value.as_currency()); break;
    case ColumnType::Single: store(out, value.as_single()); break;
    case ColumnType::Double: store(out, value.as_double()); break;
    case ColumnType::DateTime: store(out, value.as_date()); break;
    case ColumnType::Guid: out.assign(value.as_guid().bytes.begin(), value.as_guid().bytes.end()); break;
    case ColumnType::Numeric: {
      const Decimal& d = value.as_decimal();
      out.push_back(d.negative ? 0x80 : 0x00);
      for (int word = 3; word >= 0; --word)
        store(out, static_cast<std::uint32_t>(d.magnitude >> (32 * word)));
      break;
    }
    case ColumnType::Text: out = encode_stored_text(value.as_text(), column.compressed_unicode); break;
    case ColumnType::Binary: out = value.as_binary(); break;
    case ColumnType::Memo: case ColumnType::Ole:
      throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
                  describe(static_cast<int>(ErrorCode::OperationNotSupported)) + " (valeur longue hors de sa ligne)");
  }
  if (column.is_fixed()) out.resize(fixed_column_size(column), 0);
  return out;
}

}  // namespace

std::vector<std::uint8_t> encode_field(const ColumnDef& column, const Value& raw) {
  Value converted;
  return encode_converted(column, coerce_into(column, raw, converted));
}

RowLayout read_row_layout(const TableDef& def, const ByteView& bytes) {
  RowLayout layout;
  read_row_layout_into(def, bytes, layout);
  return layout;
}

void read_row_layout_into(const TableDef& def, const ByteView& bytes, RowLayout& layout) {
  layout.fields.clear();
  layout.var_count = 0;
  layout.slack = 0;
  layout.column_count = bytes.u16(0);
  const std::size_t mask_size = (std::size_t{layout.column_count} + 7) / 8;
  if (mask_size + 2 > bytes.size()) bytes.damaged("masque des valeurs nulles hors de la ligne");
  const std::size_t mask_at = bytes.size() - mask_size;
  std::size_t var_table = 0;
  layout.fixed_length = mask_at - 2;
  if (def.variable_columns > 0) {
    if (mask_at < 4) bytes.damaged("table des colonnes variables hors de la ligne");
    layout.var_count = bytes.u16(mask_at - 2);
    if (std::size_t{layout.var_count} * 2 + 4 > mask_at) bytes.damaged("table des colonnes variables hors de la ligne");
    var_table = mask_at - 4;
    const std::size_t first_var = bytes.u16(var_table);
    if (first_var < 2) bytes.damaged("zone fixe négative");
    layout.fixed_length = first_var - 2;
    layout.data_end = bytes.u16(var_table - 2 * std::size_t{layout.var_count});
    const std::size_t table_start = var_table - 2 * std::size_t{layout.var_count};
    if (layout.data_end > table_start) bytes.damaged("fin des colonnes variables hors de la ligne");
    layout.slack = table_start - layout.data_end;
  } else {
    layout.data_end = mask_at;
  }
  layout.fields.reserve(def.columns.size());
  for (const ColumnDef& column : def.columns) {
    std::optional<ByteView> field;
    const bool present = column.number < layout.column_count &&
                         ((bytes.u8(mask_at + column.number / 8) >> (column.number % 8)) & 1);
    if (present && column.type != ColumnType::Boolean) {
      if (column.is_fixed()) {
        const std::size_t start = 2 + std::size_t{column.fixed_offset};
        if (start + fixed_column_size(column) <= 2 + layout.fixed_length) field = bytes.sub(start, fixed_column_size(column));
      } else if (column.var_index < layout.var_count) {
        const std::size_t start = bytes.u16(var_table - 2 * std::size_t{column.var_index});
        const std::size_t end = bytes.u16(var_table - 2 * (std::size_t{column.var_index} + 1));
        if (start > end || end > mask_at) bytes.damaged("colonne variable « " + column.name + " » hors de la ligne");
        field = bytes.sub(start, end - start);
      }
    }
    layout.fields.push_back(field);
  }
}

std::vector<std::uint8_t> encode_row(const TableDef& def, const Row& values, const LongValueEncoder& long_values) {
  if (values.size() != def.columns.size())
    throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
                describe(static_cast<int>(ErrorCode::OperationNotSupported)) + " (nombre de valeurs)");
  std::uint16_t column_count = def.max_columns;
  std::size_t fixed_length = 0;
  std::size_t var_count = 0;
  for (const ColumnDef& column : def.columns) {
    column_count = std::max<std::uint16_t>(column_count, static_cast<std::uint16_t>(column.number + 1));
    if (column.is_fixed()) fixed_length = std::max(fixed_length, std::size_t{column.fixed_offset} + fixed_column_size(column));
    else var_count = std::max<std::size_t>(var_count, std::size_t{column.var_index} + 1);
  }
  std::vector<std::uint8_t> mask((std::size_t{column_count} + 7) / 8, 0);
  std::vector<std::uint8_t> row(2 + fixed_length, 0);
  store_le16(row, 0, column_count);
  std::vector<std::vector<std::uint8_t>> var_fields(var_count);
  for (std::size_t i = 0; i < def.columns.size(); ++i) {
    const ColumnDef& column = def.columns[i];
    Value converted;
    const Value& value = is_long_value(column.type) ? values[i] : coerce_into(column, values[i], converted);
    if (value.is_null() || value.is_empty()) continue;
    if (column.type == ColumnType::Boolean) {
      if (value.as_boolean()) mask[column.number / 8] |= static_cast<std::uint8_t>(1u << (column.number % 8));
      continue;
    }
    mask[column.number / 8] |= static_cast<std::uint8_t>(1u << (column.number % 8));
    if (is_long_value(column.type)) {
      Value long_converted;
      const Value& checked = coerce_into(column, value, long_converted);
      const bool empty = column.type == ColumnType::Memo ? checked.as_text().empty() : checked.as_binary().empty();
      if (!empty) var_fields[column.var_index] = long_values(column, checked);
      continue;
    }
    std::vector<std::uint8_t> field = encode_converted(column, value);
    if (column.is_fixed()) std::copy(field.begin(), field.end(), row.begin() + 2 + column.fixed_offset);
    else var_fields[column.var_index] = std::move(field);
  }
  std::vector<std::size_t> offsets;
  if (var_count > 0) {
    for (const auto& field : var_fields) {
      offsets.push_back(row.size());
      row.insert(row.end(), field.begin(), field.end());
    }
    offsets.push_back(row.size());
    const std::size_t table_at = row.size();
    row.resize(table_at + 2 * offsets.size() + 2);
    // Reversed: the end offset first (lowest address), variable column 0 last.
    for (std::size_t k = 0; k < offsets.size(); ++k) store_le16(row, table_at + 2 * (offsets.size() - 1 - k), offsets[k]);
    store_le16(row, row.size() - 2, var_count);
  }
  row.insert(row.end(), mask.begin(), mask.end());
  return row;
}

}  // namespace jet
