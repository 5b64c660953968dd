#include "jet/btree/index_row_key.h"

#include <cmath>
#include <limits>
#include <string>

#include "jet/base/error.h"
#include "jet/base/text_sort.h"

namespace jet {
namespace {

[[noreturn]] void unsupported_key_column(const ColumnDef& column, const std::string& why) {
  throw Error(ErrorCode::OperationNotSupported, column.name + " : " + why);
}

// Position of a column (by number) in the row's values.
std::size_t value_position(const TableDef& table, std::uint16_t number) {
  // Columns are mostly numbered in their order: the search is for the others.
  if (number < table.columns.size() && table.columns[number].number == number) return number;
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    if (table.columns[i].number == number) return i;
  }
  throw Error(ErrorCode::DatabaseDamaged,
              "index sur la colonne " + std::to_string(number) + " absente de la table");
}

std::int64_t whole(const Value& v, const ColumnDef& column, std::int64_t lo, std::int64_t hi) {
  const std::int64_t n = v.to_int64();
  if (n < lo || n > hi) unsupported_key_column(column, "valeur hors limites pour la clé");
  return n;
}

KeyDecimal decimal_key(const Value& v, const ColumnDef& column) {
  Decimal d = v.as_decimal();
  unsigned __int128 m = d.magnitude;
  for (std::uint8_t s = d.scale; s < column.scale; ++s) m *= 10;
  for (std::uint8_t s = d.scale; s > column.scale; --s) {
    if (m % 10 != 0) unsupported_key_column(column, "trop de décimales pour la clé");
    m /= 10;
  }
  KeyDecimal k;
  k.negative = d.negative && m != 0;
  for (int i = 15; i >= 0; --i) {
    k.magnitude[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(m & 0xFF);
    m >>= 8;
  }
  return k;
}

}  // namespace

KeyKind key_kind_for(ColumnType type) {
  switch (type) {
    case ColumnType::Boolean: return KeyKind::Boolean;
    case ColumnType::Byte: return KeyKind::Byte;
    case ColumnType::Integer: return KeyKind::Integer;
    case ColumnType::Long: return KeyKind::Long;
    case ColumnType::Currency: return KeyKind::Currency;
    case ColumnType::Single: return KeyKind::Single;
    case ColumnType::Double: return KeyKind::Double;
    case ColumnType::DateTime: return KeyKind::DateTime;
    case ColumnType::Binary: return KeyKind::Binary;
    case ColumnType::Text:
    case ColumnType::Memo: return KeyKind::Text;
    case ColumnType::Guid: return KeyKind::Guid;
    case ColumnType::Numeric: return KeyKind::Decimal;
    case ColumnType::Ole: break;
  }
  throw Error(ErrorCode::OperationNotSupported, "type de colonne non indexable");
}

std::vector<KeyColumn> key_columns(const TableDef& table, const IndexDef& index) {
  std::vector<KeyColumn> out;
  for (const auto& ic : index.columns) {
    const ColumnDef* c = table.column_by_number(ic.column_number);
    if (c == nullptr) value_position(table, ic.column_number);  // throws
    out.push_back({key_kind_for(c->type), ic.ascending});
  }
  return out;
}

void append_value_key(KeyWriter& w, const Value& v, const ColumnDef& column, bool asc) {
  if (!has_known_key(column))
    throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
                describe(static_cast<int>(ErrorCode::OperationNotSupported)) +
                    " (clé d'index d'un texte au format Access 97 (Jet 3))");
  const KeyKind kind = key_kind_for(column.type);
  if (kind == KeyKind::Boolean) {
    w.boolean(!v.is_null() && !v.is_empty() && v.to_int64() != 0, asc);
    return;
  }
  if (v.is_null() || v.is_empty()) {
    w.null(asc);
    return;
  }
  switch (kind) {
    case KeyKind::Boolean: break;
    case KeyKind::Byte: w.byte(static_cast<std::uint8_t>(whole(v, column, 0, 255)), asc); break;
    case KeyKind::Integer:
      w.integer(static_cast<std::int16_t>(whole(v, column, -32768, 32767)), asc);
      break;
    case KeyKind::Long:
      w.long_integer(static_cast<std::int32_t>(whole(v, column, std::numeric_limits<std::int32_t>::min(),
                                                      std::numeric_limits<std::int32_t>::max())),
                     asc);
      break;
    case KeyKind::Currency:
      if (v.kind() == ValueKind::Currency) {
        w.currency(v.as_currency(), asc);
      } else {
        w.currency(static_cast<std::int64_t>(std::llround(v.to_double() * 10000.0)), asc);
      }
      break;
    case KeyKind::Single: w.single(static_cast<float>(v.to_double()), asc); break;
    case KeyKind::Double: w.real(v.to_double(), asc); break;
    case KeyKind::DateTime:
      w.date_time(v.kind() == ValueKind::Date ? v.as_date() : v.to_double(), asc);
      break;
    case KeyKind::Text:
      if (v.kind() != ValueKind::Text) unsupported_key_column(column, "texte attendu");
      // Only the general order's keys are known; another order's would be guesses.
      if (column.sort_order != 0 && column.sort_order != kGeneralSortOrderId) {
        unsupported_key_column(column, "ordre de tri " + std::to_string(column.sort_order) +
                                " non pris en charge pour les clés d'index");
      }
      w.text(v.as_text(), asc);
      break;
    case KeyKind::Guid: w.guid(guid_canonical_from_row(v.as_guid().bytes), asc); break;
    case KeyKind::Decimal: w.decimal(decimal_key(v, column), asc); break;
    case KeyKind::Binary: w.binary(v.as_binary(), asc); break;
  }
}

void append_row_key(KeyWriter& writer, const TableDef& table, const IndexDef& index, const Row& row) {
  for (const auto& ic : index.columns) {
    const std::size_t at = value_position(table, ic.column_number);
    static const Value kNull = Value::null();
    const Value& v = at < row.size() ? row[at] : kNull;
    append_value_key(writer, v, table.columns[at], ic.ascending);
  }
}

std::vector<std::uint8_t> index_key_for_row(const TableDef& table, const IndexDef& index,
                                            const Row& row) {
  KeyWriter w;
  append_row_key(w, table, index, row);
  return w.take();
}

std::vector<std::uint8_t> index_key_for_values(const TableDef& table, const IndexDef& index,
                                               const std::vector<Value>& values) {
  if (values.size() > index.columns.size()) {
    throw Error(ErrorCode::OperationNotSupported, "plus de valeurs que de colonnes dans l'index");
  }
  KeyWriter w;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const auto& ic = index.columns[i];
    const std::size_t at = value_position(table, ic.column_number);
    append_value_key(w, values[i], table.columns[at], ic.ascending);
  }
  return w.take();
}

bool has_known_key(const ColumnDef& column) noexcept {
  return !(is_textual(column.type) && column.code_page != 0);
}

bool index_keys_known(const TableDef& table, const IndexDef& index) noexcept {
  for (const auto& ic : index.columns) {
    const ColumnDef* column = table.column_by_number(ic.column_number);
    if (column && !has_known_key(*column)) return false;
  }
  return true;
}

bool row_left_out_of_index(const TableDef& table, const IndexDef& index, const Row& row) {
  if (!index.ignore_nulls()) return false;
  for (const auto& ic : index.columns) {
    const std::size_t at = value_position(table, ic.column_number);
    if (at < row.size() && !row[at].is_null()) return false;
  }
  return true;
}

}  // namespace jet
