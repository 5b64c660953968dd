// Row encoding against rows Access wrote: re-encoding the decoded values of every row of
// every fixture gives back the stored bytes, and decoding an encoded row gives back the
// values, for every column type.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "jet/db/database.h"
#include "jet/base/error.h"
#include "jet/storage/memory_pager.h"
#include "jet/record/row_encode.h"
#include "jet/base/text_codec.h"
#include "jet_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace write_row_codec_test_cases {

namespace {

std::string hex(const std::vector<std::uint8_t>& bytes) {
  static const char* digits = "0123456789abcdef";
  std::string out;
  for (auto b : bytes) { out += digits[b >> 4]; out += digits[b & 15]; out += ' '; }
  return out;
}

// Long values keep their stored reference: the row codec places it, the long-value writer
// makes it (tested on its own).
jet::LongValueEncoder original_references(const jet::RowLayout& layout) {
  return [&layout](const jet::ColumnDef& column, const jet::Value&) {
    const auto& field = layout.fields.at(column.definition_order);
    if (!field) throw std::logic_error("long value without stored field");
    return field->copy();
  };
}

// Column numbers or variable slots with gaps: a column was deleted.
bool has_deleted_columns(const jet::TableDef& def) {
  std::size_t variable = 0;
  std::uint16_t top_number = 0, top_var = 0;
  for (const jet::ColumnDef& c : def.columns) {
    top_number = std::max<std::uint16_t>(top_number, static_cast<std::uint16_t>(c.number + 1));
    if (!c.is_fixed()) {
      ++variable;
      top_var = std::max<std::uint16_t>(top_var, static_cast<std::uint16_t>(c.var_index + 1));
    }
  }
  return top_number != def.columns.size() || top_var != variable;
}

struct Totals {
  std::size_t old_shape = 0;
  std::size_t with_slack = 0;
  std::size_t rows = 0;
  std::size_t mismatches = 0;
};

void check_table(jet::Database& db, const jet::Table& table, Totals& totals) {
  const jet::TableDef& def = table.def();
  table.scan([&](jet::RowId id, const jet::Row& values) {
    jet::Page keep;
    const auto bytes = jet::locate_row(db.pager(), id, def.page, &keep);
    if (!bytes) return true;
    ++totals.rows;
    const jet::RowLayout layout = jet::read_row_layout(def, *bytes);
    const std::vector<std::uint8_t> again = jet::encode_row(def, values, original_references(layout));
    // A row Access rewrote shorter in place keeps zero slack between its variable data and
    // its offset table; the encoder writes new rows without it.
    std::vector<std::uint8_t> stored = bytes->copy();
    if (layout.slack > 0) {
      const auto from = stored.begin() + static_cast<std::ptrdiff_t>(layout.data_end);
      EXPECT_TRUE(std::all_of(from, from + static_cast<std::ptrdiff_t>(layout.slack), [](auto b) { return b == 0; }));
      stored.erase(from, from + static_cast<std::ptrdiff_t>(layout.slack));
      ++totals.with_slack;
    }
    // Access leaves old bytes in the place of a Null fixed column; readers ignore them.
    for (const jet::ColumnDef& column : def.columns) {
      if (!column.is_fixed() || column.type == jet::ColumnType::Boolean || layout.fields[column.definition_order]) continue;
      const std::size_t from = 2 + column.fixed_offset;
      for (std::size_t k = from; k < std::min(stored.size(), from + std::max<std::size_t>(column.length, 1)) && k < 2 + layout.fixed_length; ++k)
        stored[k] = 0;
    }
    // Rows written before a column was deleted still hold its data: not what a new row holds.
    if (has_deleted_columns(def)) {
      ++totals.old_shape;
      return true;
    }
    if (again != stored) {
      ++totals.mismatches;
      ADD_FAILURE() << db.path() << " " << table.name() << " row " << id.page << ":" << int(id.row)
                    << "\n stored  " << hex(bytes->copy()) << "\n encoded " << hex(again);
    }
    // Decoding what was encoded gives the values back.
    const jet::Row decoded = jet::decode_row(db.pager(), def, jet::ByteView(again.data(), again.size(), 0, nullptr));
    EXPECT_EQ(decoded, values) << table.name();
    return totals.mismatches < 5;
  });
}

TEST(RowCodecOnFixtures, EveryStoredRowIsWhatTheEncoderWrites) {
  Totals totals;
  for (const std::string& name : jet_test::all_fixtures()) {
    auto db = jet::Database::open(jet_test::fixture(name));
    for (const std::string& name : db->table_names(true)) check_table(*db, db->table(name), totals);
  }
  EXPECT_GT(totals.rows, 700u);
  EXPECT_LT(totals.with_slack, 5u);
  EXPECT_LT(totals.old_shape, 20u);
  EXPECT_EQ(totals.mismatches, 0u);
}

}  // namespace

namespace {

jet::ColumnDef column(std::string name, jet::ColumnType type, std::uint16_t number, bool fixed,
                      std::uint16_t offset_or_index, std::uint16_t length) {
  jet::ColumnDef c;
  c.name = std::move(name);
  c.type = type;
  c.number = number;
  c.flags = static_cast<std::uint8_t>((fixed ? jet::column_flags::Fixed : 0) | jet::column_flags::Nullable);
  if (fixed) c.fixed_offset = offset_or_index;
  else c.var_index = offset_or_index;
  c.length = length;
  c.definition_order = number;
  return c;
}

// One column of every kind; column 3 was deleted (a gap in the numbers, as Access leaves).
jet::TableDef every_type() {
  using T = jet::ColumnType;
  jet::TableDef def;
  def.columns = {column("yes", T::Boolean, 0, true, 0, 1),     column("byte", T::Byte, 1, true, 0, 1),
                 column("int", T::Integer, 2, true, 1, 2),     column("long", T::Long, 4, true, 3, 4),
                 column("money", T::Currency, 5, true, 7, 8),  column("single", T::Single, 6, true, 15, 4),
                 column("double", T::Double, 7, true, 19, 8),  column("date", T::DateTime, 8, true, 27, 8),
                 column("guid", T::Guid, 9, true, 35, 16),     column("num", T::Numeric, 10, true, 51, 17),
                 column("text", T::Text, 11, false, 0, 100),   column("bin", T::Binary, 12, false, 1, 10),
                 column("memo", T::Memo, 13, false, 2, 0),     column("ole", T::Ole, 14, false, 3, 0)};
  for (std::size_t i = 0; i < def.columns.size(); ++i) def.columns[i].definition_order = static_cast<std::uint32_t>(i);
  def.columns[10].compressed_unicode = true;
  def.columns[12].compressed_unicode = true;
  def.columns[9].precision = 18;
  def.columns[9].scale = 4;
  def.max_columns = 15;
  def.variable_columns = 4;
  return def;
}

// Long values inline after their reference, as the long-value writer stores short ones.
std::vector<std::uint8_t> inline_long(const jet::ColumnDef& c, const jet::Value& v) {
  std::vector<std::uint8_t> data = c.type == jet::ColumnType::Memo
                                       ? jet::encode_stored_text(v.as_text(), c.compressed_unicode)
                                       : v.as_binary();
  std::vector<std::uint8_t> field(12, 0);
  const std::uint32_t head = static_cast<std::uint32_t>(data.size()) | 0x80000000u;
  for (int i = 0; i < 4; ++i) field[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(head >> (8 * i));
  field.insert(field.end(), data.begin(), data.end());
  return field;
}

jet::Row decode(const jet::TableDef& def, const std::vector<std::uint8_t>& bytes) {
  jet::MemoryPager none(4096);
  none.add({});  // long values inline only: the pager just bounds their length
  return jet::decode_row(none, def, jet::ByteView(bytes.data(), bytes.size(), 0, nullptr));
}

TEST(RowCodec, EveryTypeRoundTrips) {
  const jet::TableDef def = every_type();
  jet::Guid g;
  for (std::size_t i = 0; i < 16; ++i) g.bytes[i] = static_cast<std::uint8_t>(i * 17);
  const jet::Decimal d{true, 4, 123456789012345678};
  const jet::Row full = {jet::Value::boolean(true), jet::Value::byte(255), jet::Value::integer(-32768),
                         jet::Value::long_(-2147483647 - 1), jet::Value::currency(-922337203685477),
                         jet::Value::single(3.25f), jet::Value::double_(-1e300), jet::Value::date(-657434.25),
                         jet::Value::guid(g), jet::Value::decimal(d), jet::Value::text("Ωmega 😀 é"),
                         jet::Value::binary({0, 1, 2, 255}), jet::Value::text("mémo"),
                         jet::Value::binary({9, 8, 7})};
  EXPECT_EQ(decode(def, jet::encode_row(def, full, inline_long)), full);
  jet::Row nulls(def.columns.size(), jet::Value::null());
  nulls[0] = jet::Value::boolean(false);  // a Yes/No column is never Null: its bit is the value
  EXPECT_EQ(decode(def, jet::encode_row(def, nulls, inline_long)), nulls);
  jet::Row empties = nulls;
  empties[10] = jet::Value::text("");
  empties[12] = jet::Value::text("");
  empties[13] = jet::Value::binary({});
  EXPECT_EQ(decode(def, jet::encode_row(def, empties, inline_long)), empties);
}

TEST(RowCodec, ValuesAreConvertedToTheColumnOrRefused) {
  const jet::TableDef def = every_type();
  auto stored = [&](std::size_t i, const jet::Value& v) { return jet::coerce_to_column(def.columns[i], v); };
  EXPECT_EQ(stored(1, jet::Value::integer(200)), jet::Value::byte(200));
  EXPECT_EQ(stored(3, jet::Value::double_(2.5)), jet::Value::long_(2));  // half to even
  EXPECT_EQ(stored(4, jet::Value::long_(3)), jet::Value::currency(30000));
  EXPECT_EQ(stored(9, jet::Value::long_(-7)), jet::Value::decimal({true, 4, 70000}));
  EXPECT_EQ(stored(9, jet::Value::decimal({false, 6, 1234565})), jet::Value::decimal({false, 4, 12346}));
  EXPECT_EQ(stored(0, jet::Value::integer(-1)), jet::Value::boolean(true));
  EXPECT_EQ(stored(10, jet::Value()), jet::Value::null());
  auto number = [&](std::size_t i, const jet::Value& v) {
    try {
      stored(i, v);
    } catch (const jet::Error& e) {
      return e.number();
    }
    return 0;
  };
  EXPECT_EQ(number(1, jet::Value::integer(256)), 6);
  EXPECT_EQ(number(2, jet::Value::long_(40000)), 6);
  // 18 digits of precision: Jet's numeric field overflow.
  EXPECT_EQ(number(9, jet::Value::decimal({false, 0, static_cast<unsigned __int128>(1e15)})), 3349);
  EXPECT_EQ(number(3, jet::Value::text("12")), 13);
  EXPECT_EQ(number(10, jet::Value::long_(12)), 13);
  EXPECT_EQ(number(10, jet::Value::text(std::string(50, 'a'))), 0);
  EXPECT_EQ(number(10, jet::Value::text(std::string(51, 'a'))), 3163);
  EXPECT_EQ(number(11, jet::Value::binary(std::vector<std::uint8_t>(11))), 3163);
}

TEST(RowCodec, TextIsCompressedOnlyWhenEveryCharacterFitsOneByte) {
  EXPECT_EQ(jet::encode_stored_text("Aéz", true), (std::vector<std::uint8_t>{0xFF, 0xFE, 'A', 0xE9, 'z'}));
  EXPECT_EQ(jet::encode_stored_text("Aé", false), (std::vector<std::uint8_t>{'A', 0, 0xE9, 0}));
  EXPECT_EQ(jet::encode_stored_text("AΩz", true), (std::vector<std::uint8_t>{'A', 0, 0xA9, 0x03, 'z', 0}));
  EXPECT_EQ(jet::encode_stored_text("", true), std::vector<std::uint8_t>{});
  EXPECT_EQ(jet::encode_stored_text("ab", true), (std::vector<std::uint8_t>{'a', 0, 'b', 0}));  // not shorter
  EXPECT_EQ(jet::encode_stored_text("abc", true), (std::vector<std::uint8_t>{0xFF, 0xFE, 'a', 'b', 'c'}));
  EXPECT_EQ(jet::utf8_to_utf16le("😀"), (std::vector<std::uint8_t>{0x3D, 0xD8, 0x00, 0xDE}));
  EXPECT_EQ(jet::utf8_to_utf16le("\xC3"), (std::vector<std::uint8_t>{0xFD, 0xFF}));  // cut sequence
  for (const std::string s : {"plain", "été", "Ωmega", "a\tb", "😀x"})
    EXPECT_EQ(jet::decode_stored_text(jet::encode_stored_text(s, true)), s);
}

}  // namespace

}  // namespace write_row_codec_test_cases
