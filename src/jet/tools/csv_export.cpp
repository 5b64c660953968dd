#include "jet/tools/csv_export.h"

#include <cmath>
#include <cstdio>

namespace jet {
namespace {

void quoted(std::string& out, std::string_view bytes) {
  out += '"';
  for (char c : bytes) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

// Calendar date and time of a Jet date, seconds rounded to the nearest.
std::string mdb_date(double days, bool short_date) {
  if (!(days >= 0.0) || days > 1e6) return short_date ? "00/00/00" : "00/00/00 00:00:00";
  long day = static_cast<long>(days);
  long time = static_cast<long>((days - static_cast<double>(day)) * 86400.0 + 0.5);
  std::string t = format_date_time(static_cast<double>(day));
  char buf[32];
  // t is "YYYY-MM-DD 00:00:00"
  const std::string yy = t.substr(2, 2), mm = t.substr(5, 2), dd = t.substr(8, 2);
  if (short_date) {
    std::snprintf(buf, sizeof buf, "%s/%s/%s", mm.c_str(), dd.c_str(), yy.c_str());
  } else {
    std::snprintf(buf, sizeof buf, "%s/%s/%s %02ld:%02ld:%02ld", mm.c_str(), dd.c_str(), yy.c_str(),
                  time / 3600, time / 60 % 60, time % 60);
  }
  return buf;
}

}  // namespace

std::string csv_field(const ColumnDef& column, const Value& value, bool short_date, const CsvStyle& style) {
  char buf[64];
  std::string out;
  // Types outside the documented set (Access uses some in its own tables) print empty.
  if (std::string_view(column_type_name(column.type)) == "Unknown") return out;
  switch (value.kind()) {
    case ValueKind::Empty: case ValueKind::Null: return {};
    case ValueKind::Boolean: return value.as_boolean() ? "1" : "0";
    case ValueKind::Byte: case ValueKind::Integer: case ValueKind::Long: return std::to_string(value.to_int64());
    case ValueKind::Currency: return value.to_display();
    case ValueKind::Single: std::snprintf(buf, sizeof buf, "%.8g", static_cast<double>(value.as_single())); return buf;
    case ValueKind::Double: std::snprintf(buf, sizeof buf, "%.16g", value.as_double()); return buf;
    case ValueKind::Date: quoted(out, mdb_date(value.as_date(), short_date)); return out;
    case ValueKind::Text: {
      // mdb-export stops a text at its first NUL character.
      const std::string& text = value.as_text();
      if (style.mdbtools_quirks && text.empty()) return out;
      quoted(out, std::string_view(text).substr(0, text.find('\0')));
      return out;
    }
    case ValueKind::Binary: {
      const auto& b = value.as_binary();
      std::string_view bytes(reinterpret_cast<const char*>(b.data()), b.size());
      if (style.mdbtools_quirks && column.type == ColumnType::Binary) bytes = bytes.substr(0, bytes.find('\0'));
      if (style.mdbtools_quirks && bytes.empty()) return out;
      quoted(out, bytes);
      return out;
    }
    case ValueKind::Guid: {
      std::string text = value.as_guid().to_string();
      if (style.mdbtools_quirks) text.erase(24, 1);
      quoted(out, text);
      return out;
    }
    case ValueKind::Decimal: return value.as_decimal().to_string();
  }
  return out;
}

std::uint64_t write_csv(const Table& table, std::ostream& out, const CsvStyle& style,
                        const std::vector<bool>& short_date_columns) {
  const auto& columns = table.def().columns;
  for (std::size_t i = 0; i < columns.size(); ++i) out << (i ? "," : "") << columns[i].name;
  out << '\n';
  std::uint64_t rows = 0;
  std::string line;
  table.scan([&](RowId, const Row& row) {
    line.clear();
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (i) line += ',';
      const bool short_date = i < short_date_columns.size() && short_date_columns[i];
      line += csv_field(columns[i], row[i], short_date, style);
    }
    line += '\n';
    out << line;
    ++rows;
    return true;
  });
  return rows;
}

}  // namespace jet
