// Typed property values and damaged blobs.
#include <gtest/gtest.h>

#include <functional>

#include "jet/base/error.h"
#include "jet/record/properties.h"
#include "jet/record/properties_codec.h"
#include "properties_oracle.h"
#include "jet_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace properties_codec_test_cases {

namespace {

using jet::ColumnType;
using jet::Value;
using Bytes = std::vector<std::uint8_t>;

using jet_test::error_of;
TEST(PropertyValues, EveryTypeDecodesItsStoredBytes) {
  EXPECT_EQ(jet::decode_property_value(ColumnType::Boolean, Bytes{0x01}), Value::boolean(true));
  EXPECT_EQ(jet::decode_property_value(ColumnType::Boolean, Bytes{0, 0, 0, 0}), Value::boolean(false));
  EXPECT_EQ(jet::decode_property_value(ColumnType::Byte, Bytes{0xFF}), Value::byte(255));
  EXPECT_EQ(jet::decode_property_value(ColumnType::Integer, Bytes{0x6D, 0x00}), Value::integer(109));
  EXPECT_EQ(jet::decode_property_value(ColumnType::Integer, Bytes{0xFE, 0xFF}), Value::integer(-2));
  EXPECT_EQ(jet::decode_property_value(ColumnType::Long, Bytes{0xDC, 0x19, 0, 0}), Value::long_(6620));
  EXPECT_EQ(jet::decode_property_value(ColumnType::Long, Bytes{0xFF, 0xFF, 0xFF, 0xFF}), Value::long_(-1));
  EXPECT_EQ(jet::decode_property_value(ColumnType::Single, Bytes{0, 0, 0xC8, 0x42}), Value::single(100.0f));
  EXPECT_EQ(jet::decode_property_value(ColumnType::Double, Bytes{0, 0, 0, 0, 0, 0, 0xF8, 0x3F}),
            Value::double_(1.5));
  // 2 January 1900 noon: day 3.5 counted from 30 December 1899.
  EXPECT_EQ(jet::decode_property_value(ColumnType::DateTime, Bytes{0, 0, 0, 0, 0, 0, 0x0C, 0x40}),
            Value::date(3.5));
  EXPECT_EQ(jet::decode_property_value(ColumnType::Currency, Bytes{0x10, 0x27, 0, 0, 0, 0, 0, 0}),
            Value::currency(10000));
  EXPECT_EQ(jet::decode_property_value(ColumnType::Text, Bytes{'0', 0, '8', 0, '.', 0, '5', 0}),
            Value::text("08.5"));
  EXPECT_EQ(jet::decode_property_value(ColumnType::Memo, Bytes{0xC9, 0x00, 't', 0, 0xE9, 0}),
            Value::text("Été"));
  EXPECT_EQ(jet::decode_property_value(ColumnType::Ole, Bytes{1, 2, 3}), Value::binary({1, 2, 3}));

  Bytes guid_bytes(16);
  for (std::size_t i = 0; i < 16; ++i) guid_bytes[i] = static_cast<std::uint8_t>(i * 17);
  const Value guid = jet::decode_property_value(ColumnType::Guid, guid_bytes);
  ASSERT_EQ(guid.kind(), jet::ValueKind::Guid);
  EXPECT_EQ(Bytes(guid.as_guid().bytes.begin(), guid.as_guid().bytes.end()), guid_bytes);
}

TEST(PropertyValues, EncodingIsTheInverseOfDecoding) {
  const std::vector<std::pair<ColumnType, Value>> cases = {
      {ColumnType::Boolean, Value::boolean(true)},   {ColumnType::Byte, Value::byte(7)},
      {ColumnType::Integer, Value::integer(-300)},   {ColumnType::Long, Value::long_(-70000)},
      {ColumnType::Currency, Value::currency(-12345678901)}, {ColumnType::Single, Value::single(-0.25f)},
      {ColumnType::Double, Value::double_(1e300)},   {ColumnType::DateTime, Value::date(45000.75)},
      {ColumnType::Text, Value::text("Délai « 15 j » 😀")}, {ColumnType::Memo, Value::text("")},
      {ColumnType::Binary, Value::binary({0, 255})}, {ColumnType::Numeric, Value::binary(Bytes(17, 9))},
  };
  for (const auto& [type, value] : cases) {
    SCOPED_TRACE(jet::column_type_name(type));
    const Bytes stored = jet::encode_property_value(type, value);
    if (jet::property_natural_width(type) != 0) {
      EXPECT_EQ(stored.size(), jet::property_natural_width(type));
    }
    EXPECT_EQ(jet::decode_property_value(type, stored), value);
  }
  // Text outside the basic plane takes a surrogate pair: four bytes.
  EXPECT_EQ(jet::encode_property_value(ColumnType::Text, Value::text("😀")).size(), 4u);
}

TEST(PropertyValues, WideBooleansAndLoneSurrogatesSurviveRoundTrips) {
  EXPECT_EQ(jet::encode_property_value(ColumnType::Boolean, Value::boolean(true), 4), (Bytes{1, 0, 0, 0}));
  EXPECT_EQ(jet::encode_property_value(ColumnType::Boolean, Value::boolean(true)), (Bytes{1}));
  const Bytes lone{0x41, 0, 0x00, 0xD8, 0x42, 0};  // "A", unpaired high surrogate, "B"
  EXPECT_EQ(jet::encode_property_text(jet::decode_property_text(lone)), lone);
}

TEST(PropertyValues, ValuesOfTheWrongKindAreRefused) {
  EXPECT_EQ(error_of([] { jet::encode_property_value(ColumnType::Long, Value::text("1")); }), 13);
  EXPECT_EQ(error_of([] { jet::encode_property_value(ColumnType::Text, Value::long_(1)); }), 13);
  EXPECT_EQ(error_of([] { jet::encode_property_value(ColumnType::Boolean, Value::null()); }), 13);
  EXPECT_EQ(error_of([] { jet::property_type_for(jet::ValueKind::Null); }), 13);
  EXPECT_EQ(error_of([] { jet::decode_property_value(ColumnType::Long, Bytes{1, 2}); }), 3049);
  EXPECT_EQ(error_of([] { jet::decode_property_value(ColumnType::Guid, Bytes(15)); }), 3049);
}

TEST(PropertyNames, CompareWithoutCaseIncludingAccents) {
  EXPECT_TRUE(jet::property_name_equals("DefaultValue", "DEFAULTVALUE"));
  EXPECT_TRUE(jet::property_name_equals("Été", "éTÉ"));
  EXPECT_FALSE(jet::property_name_equals("Ete", "Été"));
  EXPECT_FALSE(jet::property_name_equals("Format", "Formats"));
}

// A small blob built by hand: pool {"Required", "Format"}, object block with Format, one
// column block "Nom" with Required (DDL).
Bytes sample_blob() {
  jet::PropertySet set;
  set.names = {"Required", "Format"};
  set.object_block().set("Format", Value::text("Short Date"));
  set.column_block("Nom").set("Required", ColumnType::Boolean, Value::boolean(true), 1);
  return jet::encode_properties(set);
}

TEST(PropertyBlobLayout, HandBuiltBlobHasTheStoredLayout) {
  const Bytes blob = sample_blob();
  ASSERT_GE(blob.size(), 10u);
  EXPECT_EQ(Bytes(blob.begin(), blob.begin() + 4), (Bytes{'M', 'R', '2', 0}));
  // Name pool block: length, type 0x80, then (u16 length, UTF-16LE) per name.
  const std::size_t pool_len = blob[4] | (blob[5] << 8);
  EXPECT_EQ(pool_len, 6u + 2 + 16 + 2 + 12);
  EXPECT_EQ(blob[8], 0x80);
  EXPECT_EQ(blob[10], 16);  // "Required": 8 characters
  // Object block right after: type 0, empty name, then Format (type Text, name index 1).
  const std::size_t obj = 4 + pool_len;
  EXPECT_EQ(blob[obj + 4], 0x00);
  EXPECT_EQ(blob[obj + 6], 6);  // name header: its own 4 + 2 bytes, no name
  const std::size_t value = obj + 6 + 6;
  EXPECT_EQ(blob[value], 8 + 20);  // "Short Date" is 10 characters
  EXPECT_EQ(blob[value + 2], 0);
  EXPECT_EQ(blob[value + 3], static_cast<std::uint8_t>(ColumnType::Text));
  EXPECT_EQ(blob[value + 4], 1);

  const jet::PropertySet back = jet::parse_properties(blob);
  ASSERT_EQ(back.blocks.size(), 2u);
  EXPECT_EQ(back.blocks[1].kind, jet::PropertyBlockKind::Column);
  EXPECT_EQ(back.column("nom")->find("Required")->flags, 1);
}

TEST(PropertyBlobLayout, EmptyInputsAndEmptySets) {
  EXPECT_TRUE(jet::parse_properties({}).empty());
  EXPECT_TRUE(jet::encode_properties(jet::PropertySet{}).empty());
}

TEST(DamagedPropertyBlobs, TargetedDamageIsReportedAs3049) {
  Bytes blob = sample_blob();
  auto parse = [](Bytes b) { return [b] { jet::parse_properties(b); }; };

  Bytes bad_magic = blob;
  bad_magic[0] = 'K';
  EXPECT_EQ(error_of(parse(bad_magic)), 3049);
  EXPECT_EQ(error_of(parse(Bytes{'M', 'R'})), 3049);

  Bytes bad_index = blob;
  const std::size_t pool_len = blob[4] | (blob[5] << 8);
  bad_index[4 + pool_len + 12 + 4] = 9;  // name index past the pool
  EXPECT_EQ(error_of(parse(bad_index)), 3049);

  Bytes huge_block = blob;
  huge_block[7] = 0x7F;  // pool block length beyond the blob
  EXPECT_EQ(error_of(parse(huge_block)), 3049);

  Bytes unknown_type = blob;
  unknown_type[4 + pool_len + 4] = 0x02;
  EXPECT_EQ(error_of(parse(unknown_type)), 3049);

  Bytes short_value = blob;
  short_value[4 + pool_len + 12] = 3;  // a value shorter than its own header
  EXPECT_EQ(error_of(parse(short_value)), 3049);

  // Values before any name pool.
  Bytes no_pool(blob.begin(), blob.begin() + 4);
  no_pool.insert(no_pool.end(), blob.begin() + 4 + pool_len, blob.end());
  EXPECT_EQ(error_of(parse(no_pool)), 3049);
}

TEST(DamagedPropertyBlobs, EveryTruncationAndByteChangeOfRealBlobsIsSafe) {
  // A block-aligned prefix is a valid (shorter) blob; any other cut must be reported.
  std::size_t reported = 0;
  const auto blobs = jet_oracle::engine_property_blobs(jet_oracle::fixture("delColTestV2000.mdb"));
  ASSERT_FALSE(blobs.empty());
  for (const auto& b : blobs) {
    SCOPED_TRACE(b.object);
    for (std::size_t n = 1; n < b.bytes.size(); ++n) {
      const Bytes cut(b.bytes.begin(), b.bytes.begin() + n);
      const int number = error_of([&] { jet::parse_properties(cut); });
      if (number == 0 && n == 4) {
        EXPECT_TRUE(jet::parse_properties(cut).empty());  // the header alone: no properties
      } else if (number == 0) {
        EXPECT_EQ(jet::encode_properties(jet::parse_properties(cut)), cut) << "cut at " << n;
      } else {
        EXPECT_EQ(number, 3049) << "cut at " << n;
        ++reported;
      }
    }
    for (std::size_t i = 0; i < b.bytes.size(); ++i) {
      for (std::uint8_t x : {std::uint8_t{0x00}, std::uint8_t{0x7F}, std::uint8_t{0xFF}}) {
        Bytes changed = b.bytes;
        changed[i] = x;
        const int number = error_of([&] { jet::parse_properties(changed); });
        EXPECT_TRUE(number == 0 || number == 3049) << "byte " << i << " number " << number;
      }
    }
  }
  EXPECT_GT(reported, 1000u);
}

}  // namespace

}  // namespace properties_codec_test_cases
