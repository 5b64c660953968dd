// Values stored by INSERT and UPDATE take the column's type the way Jet converts them: a
// text holding a number goes into a numeric column, a text date into a Date/Time column,
// numbers and dates into a text column as VB prints them (French settings). Range and
// length are then checked by the row encoder (6, 3163).
#include "jet/base/decimal.h"
#include "jet/base/error.h"
#include "jet/record/row_encode.h"
#include "jet/exec/exec_internal.h"
#include "jet/sql/vb_convert.h"

namespace jet::sql::detail {

Value convert_for_column(const jet::ColumnDef& column, const Value& value) {
  if (value.is_null() || value.is_empty()) return Value::null();
  const ValueKind kind = value.kind();
  Value v = value;
  switch (column.type) {
    case ColumnType::Text:
    case ColumnType::Memo:
      if (kind != ValueKind::Text && kind != ValueKind::Binary) v = Value::text(to_text(value));
      break;
    case ColumnType::Byte:
    case ColumnType::Integer:
    case ColumnType::Long:
    case ColumnType::Currency:
    case ColumnType::Single:
    case ColumnType::Double:
      if (kind == ValueKind::Text) {
        const auto n = parse_number(value.as_text());
        if (!n) throw jet::Error(jet::ErrorCode::TypeMismatch);
        v = Value::double_(*n);
      } else if (kind == ValueKind::Date) {
        v = Value::double_(value.as_date());
      } else if (kind == ValueKind::Boolean) {
        v = Value::integer(value.as_boolean() ? -1 : 0);
      }
      break;
    case ColumnType::Numeric:
      // A text's digits go in as written, not through a double.
      if (kind == ValueKind::Text) {
        const auto d = jet::decimal_from_text(value.as_text());
        if (!d) throw jet::Error(jet::ErrorCode::TypeMismatch);
        v = Value::decimal(*d);
      }
      break;
    case ColumnType::DateTime:
      if (kind == ValueKind::Text) v = Value::date(to_date(value));
      break;
    case ColumnType::Boolean:
      if (kind == ValueKind::Text) v = to_boolean(value);
      break;
    default:
      break;
  }
  return coerce_to_column(column, v);
}

}  // namespace jet::sql::detail
