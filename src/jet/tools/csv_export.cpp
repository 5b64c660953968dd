#include "jet/tools/csv_export.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace jet {
namespace {

void quoted(std::string& out, std::string_view bytes) {
  out += '"';
  for (std::size_t from = 0;;) {
    const std::size_t quote = bytes.find('"', from);
    if (quote == std::string_view::npos) {
      out.append(bytes.substr(from));
      break;
    }
    out.append(bytes.substr(from, quote + 1 - from));
    out += '"';
    from = quote + 1;
  }
  out += '"';
}

void append_two_digits(std::string& out, long v) {
  out += static_cast<char>('0' + v / 10 % 10);
  out += static_cast<char>('0' + v % 10);
}

template <class T>
void append_number(std::string& out, T v) {
  char buf[32];
  const auto r = std::to_chars(buf, buf + sizeof buf, v);
  out.append(buf, r.ptr);
}

// printf's %.<precision>g, which to_chars reproduces for finite values.
void append_general(std::string& out, double v, int precision) {
  char buf[64];
  if (!std::isfinite(v)) {
    out.append(buf, static_cast<std::size_t>(std::snprintf(buf, sizeof buf, "%.*g", precision, v)));
    return;
  }
  const auto r = std::to_chars(buf, buf + sizeof buf, v, std::chars_format::general, precision);
  out.append(buf, r.ptr);
}

// Calendar date and time of a Jet date, seconds rounded to the nearest, between quotes:
// "MM/DD/YY HH:MM:SS" (or "MM/DD/YY").
void append_mdb_date(std::string& out, double days, bool short_date) {
  if (!(days >= 0.0) || days > 1e6) {
    out += short_date ? "\"00/00/00\"" : "\"00/00/00 00:00:00\"";
    return;
  }
  const long day = static_cast<long>(days);
  const long time = static_cast<long>((days - static_cast<double>(day)) * 86400.0 + 0.5);
  int year;
  unsigned month, dom;
  civil_date(day - 25569, year, month, dom);
  char text[] = "\"MM/DD/YY HH:MM:SS\"";
  auto two = [&text](std::size_t at, long v) {
    text[at] = static_cast<char>('0' + v / 10 % 10);
    text[at + 1] = static_cast<char>('0' + v % 10);
  };
  two(1, static_cast<long>(month));
  two(4, static_cast<long>(dom));
  two(7, year % 100);
  if (short_date) {
    text[9] = '"';
    out.append(text, 10);
    return;
  }
  two(10, time / 3600);  // 24 when the time rounds up to midnight
  two(13, time / 60 % 60);
  two(16, time % 60);
  out.append(text, sizeof text - 1);
}

// Currency as "[-]units.dddd".
void append_currency(std::string& out, std::int64_t c) {
  const unsigned long long a = c < 0 ? 0ULL - static_cast<unsigned long long>(c) : static_cast<unsigned long long>(c);
  if (c < 0) out += '-';
  append_number(out, a / 10000);
  out += '.';
  const auto frac = static_cast<long>(a % 10000);
  append_two_digits(out, frac / 100);
  append_two_digits(out, frac % 100);
}

// Types outside the documented set (Access uses some in its own tables) print empty.
bool printable(const ColumnDef& column) { return std::string_view(column_type_name(column.type)) != "Unknown"; }

void append_value(std::string& out, const ColumnDef& column, const Value& value, bool short_date,
                  const CsvStyle& style) {
  switch (value.kind()) {
    case ValueKind::Empty: case ValueKind::Null: return;
    case ValueKind::Boolean: out += value.as_boolean() ? '1' : '0'; return;
    case ValueKind::Byte: case ValueKind::Integer: case ValueKind::Long: append_number(out, value.to_int64()); return;
    case ValueKind::Currency: append_currency(out, value.as_currency()); return;
    case ValueKind::Single: append_general(out, static_cast<double>(value.as_single()), 8); return;
    case ValueKind::Double: append_general(out, value.as_double(), 16); return;
    case ValueKind::Date: append_mdb_date(out, value.as_date(), short_date); return;
    case ValueKind::Text: {
      // mdb-export stops a text at its first NUL character.
      const std::string& text = value.as_text();
      if (style.mdbtools_quirks && text.empty()) return;
      quoted(out, std::string_view(text).substr(0, text.find('\0')));
      return;
    }
    case ValueKind::Binary: {
      const auto& b = value.as_binary();
      std::string_view bytes(reinterpret_cast<const char*>(b.data()), b.size());
      if (style.mdbtools_quirks && column.type == ColumnType::Binary) bytes = bytes.substr(0, bytes.find('\0'));
      if (style.mdbtools_quirks && bytes.empty()) return;
      quoted(out, bytes);
      return;
    }
    case ValueKind::Guid: {
      std::string text = value.as_guid().to_string();
      if (style.mdbtools_quirks) text.erase(24, 1);
      quoted(out, text);
      return;
    }
    case ValueKind::Decimal: out += value.as_decimal().to_string(); return;
  }
}

}  // namespace

void append_csv_field(std::string& out, const ColumnDef& column, const Value& value, bool short_date,
                      const CsvStyle& style) {
  if (printable(column)) append_value(out, column, value, short_date, style);
}

std::string csv_field(const ColumnDef& column, const Value& value, bool short_date, const CsvStyle& style) {
  std::string out;
  append_csv_field(out, column, value, short_date, style);
  return out;
}

std::uint64_t write_csv(const Table& table, std::ostream& out, const CsvStyle& style,
                        const std::vector<bool>& short_date_columns) {
  const auto& columns = table.def().columns;
  for (std::size_t i = 0; i < columns.size(); ++i) out << (i ? "," : "") << columns[i].name;
  out << '\n';
  std::uint64_t rows = 0;
  // Lines gather in one buffer written out in large pieces.
  constexpr std::size_t kFlushAt = 1 << 16;
  std::string buffer;
  buffer.reserve(kFlushAt + 4096);
  std::vector<bool> shown(columns.size()), short_date(columns.size());
  for (std::size_t i = 0; i < columns.size(); ++i) {
    shown[i] = printable(columns[i]);
    short_date[i] = i < short_date_columns.size() && short_date_columns[i];
  }
  auto flush = [&] {
    out.write(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    buffer.clear();
  };
  Table::Cursor cursor(table);
  try {
    while (cursor.next()) {
      const Row& row = cursor.row();
      for (std::size_t i = 0; i < columns.size(); ++i) {
        if (i) buffer += ',';
        if (shown[i]) append_value(buffer, columns[i], row[i], short_date[i], style);
      }
      buffer += '\n';
      ++rows;
      if (buffer.size() >= kFlushAt) flush();
    }
  } catch (...) {
    flush();  // the rows before a damaged one are out, as when each row was written alone
    throw;
  }
  flush();
  return rows;
}

}  // namespace jet
