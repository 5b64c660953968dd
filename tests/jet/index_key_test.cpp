// Key encodings: bytewise order of keys must be the order of the values, descending columns
// reverse it, nulls go first (ascending) or last (descending), and keys decode back.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "jet/base/error.h"
#include "jet/btree/index_key.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace index_key_test_cases {

namespace {

using Bytes = std::vector<std::uint8_t>;

template <typename T>
using Encode = std::function<void(jet::KeyWriter&, T, bool)>;

// Encodes sorted distinct values; checks strict order both ways, null placement and that
// decoding gives the values back.
template <typename T>
void check_kind(jet::KeyKind kind, const std::vector<T>& sorted, Encode<T> encode) {
  for (bool asc : {true, false}) {
    SCOPED_TRACE(asc ? "ascending" : "descending");
    std::vector<Bytes> keys;
    for (const T& v : sorted) {
      jet::KeyWriter w;
      encode(w, v, asc);
      keys.push_back(w.take());
    }
    for (std::size_t i = 1; i < keys.size(); ++i) {
      const auto c = jet::compare_keys(keys[i - 1], keys[i]);
      EXPECT_TRUE(asc ? c < 0 : c > 0) << "values " << i - 1 << " and " << i;
    }
    jet::KeyWriter n;
    n.null(asc);
    for (const auto& k : keys) {
      const auto c = jet::compare_keys(n.bytes(), k);
      EXPECT_TRUE(asc ? c < 0 : c > 0) << "null placement";
    }
    for (std::size_t i = 0; i < keys.size(); ++i) {
      jet::KeyReader r(keys[i]);
      const jet::KeyField f = r.next({kind, asc});
      EXPECT_FALSE(f.is_null);
      EXPECT_TRUE(r.at_end());
      ASSERT_TRUE(std::holds_alternative<T>(f.data)) << "value " << i;
      EXPECT_EQ(std::get<T>(f.data), sorted[i]) << "value " << i;
    }
    jet::KeyReader r(n.bytes());
    EXPECT_TRUE(r.next({kind, asc}).is_null);
  }
}

TEST(IndexKey, WholeNumbersKeepTheirOrder) {
  check_kind<std::uint8_t>(jet::KeyKind::Byte, {0, 1, 127, 128, 255},
                           [](jet::KeyWriter& w, std::uint8_t v, bool a) { w.byte(v, a); });
  check_kind<std::int16_t>(jet::KeyKind::Integer, {-32768, -300, -1, 0, 1, 255, 256, 32767},
                           [](jet::KeyWriter& w, std::int16_t v, bool a) { w.integer(v, a); });
  check_kind<std::int32_t>(jet::KeyKind::Long,
                           {std::numeric_limits<std::int32_t>::min(), -65536, -1, 0, 1, 65536,
                            std::numeric_limits<std::int32_t>::max()},
                           [](jet::KeyWriter& w, std::int32_t v, bool a) { w.long_integer(v, a); });
  check_kind<std::int64_t>(jet::KeyKind::Currency,
                           {std::numeric_limits<std::int64_t>::min(), -10000, -1, 0, 1, 10000,
                            std::numeric_limits<std::int64_t>::max()},
                           [](jet::KeyWriter& w, std::int64_t v, bool a) { w.currency(v, a); });
}

TEST(IndexKey, FloatingPointKeepsItsOrder) {
  const double inf = std::numeric_limits<double>::infinity();
  check_kind<double>(jet::KeyKind::Double, {-inf, -1e300, -2.5, -1.0, -1e-300, 0.0, 1e-300, 1.0, 2.5, 1e300, inf},
                     [](jet::KeyWriter& w, double v, bool a) { w.real(v, a); });
  // Dates: days since 1899-12-30, before that date negative.
  check_kind<double>(jet::KeyKind::DateTime, {-700000.5, -1.25, 0.0, 0.5, 36526.0, 36526.75, 2958465.0},
                     [](jet::KeyWriter& w, double v, bool a) { w.date_time(v, a); });
  const float finf = std::numeric_limits<float>::infinity();
  check_kind<float>(jet::KeyKind::Single, {-finf, -3.5f, -1e-30f, 0.0f, 1e-30f, 3.5f, finf},
                    [](jet::KeyWriter& w, float v, bool a) { w.single(v, a); });
}

TEST(IndexKey, ExactBytesOfFixedKinds) {
  jet::KeyWriter w;
  w.long_integer(1);
  w.integer(-2, false);
  w.boolean(true);
  w.boolean(false, false);
  w.byte(7);
  w.null();
  w.null(false);
  EXPECT_EQ(w.bytes(), (Bytes{0x7F, 0x80, 0x00, 0x00, 0x01,   // Long 1
                               0x80, 0x80, 0x01,               // Integer -2 descending
                               0x7F, 0x00,                     // Yes
                               0x80, 0x00,                     // No, descending
                               0x7F, 0x07,                     // Byte 7
                               0x00, 0xFF}));                  // nulls
  jet::KeyWriter d;
  d.real(1.0);
  EXPECT_EQ(d.bytes(), (Bytes{0x7F, 0xBF, 0xF0, 0, 0, 0, 0, 0, 0}));
}

TEST(IndexKey, YesSortsBeforeNoAndIsNeverNull) {
  jet::KeyWriter yes, no;
  yes.boolean(true);
  no.boolean(false);
  EXPECT_TRUE(jet::compare_keys(yes.bytes(), no.bytes()) < 0);
  jet::KeyReader r(no.bytes());
  const auto f = r.next({jet::KeyKind::Boolean, true});
  EXPECT_FALSE(f.is_null);
  EXPECT_EQ(std::get<bool>(f.data), false);
}

TEST(IndexKey, BinaryGoesInEightByteSegments) {
  auto enc = [](const Bytes& v, bool asc) {
    jet::KeyWriter w;
    w.binary(v, asc);
    return w.take();
  };
  EXPECT_EQ(enc({}, true), (Bytes{0x7F}));
  EXPECT_EQ(enc({1, 2, 3}, true), (Bytes{0x7F, 1, 2, 3, 0, 0, 0, 0, 0, 3}));
  EXPECT_EQ(enc({1, 2, 3, 4, 5, 6, 7, 8}, true), (Bytes{0x7F, 1, 2, 3, 4, 5, 6, 7, 8, 8}));
  EXPECT_EQ(enc({1, 2, 3, 4, 5, 6, 7, 8, 9}, true),
            (Bytes{0x7F, 1, 2, 3, 4, 5, 6, 7, 8, 9, 9, 0, 0, 0, 0, 0, 0, 0, 1}));
  // Descending: data and last length complemented, the intermediate 9 kept.
  EXPECT_EQ(enc({1, 2, 3, 4, 5, 6, 7, 8, 9}, false),
            (Bytes{0x80, 0xFE, 0xFD, 0xFC, 0xFB, 0xFA, 0xF9, 0xF8, 0xF7, 9, 0xF6, 0xFF, 0xFF,
                   0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE}));
  for (bool asc : {true, false}) {
    for (const Bytes& v : {Bytes{5}, Bytes{1, 2, 3, 4, 5, 6, 7, 8}, Bytes(17, 0xAB)}) {
      const auto k = enc(v, asc);
      jet::KeyReader r(k);
      EXPECT_EQ(std::get<Bytes>(r.next({jet::KeyKind::Binary, asc}).data), v);
      EXPECT_TRUE(r.at_end());
    }
  }
}

TEST(IndexKey, GuidUsesTheOrderOfItsTextForm) {
  // {00112233-4455-6677-8899-AABBCCDDEEFF} as stored in a row.
  const Bytes row = {0x33, 0x22, 0x11, 0x00, 0x55, 0x44, 0x77, 0x66,
                     0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
  const auto canonical = jet::guid_canonical_from_row(row);
  EXPECT_EQ(canonical[0], 0x00);
  EXPECT_EQ(canonical[3], 0x33);
  EXPECT_EQ(canonical[4], 0x44);
  EXPECT_EQ(canonical[7], 0x77);
  EXPECT_EQ(canonical[15], 0xFF);
  jet::KeyWriter w;
  w.guid(canonical);
  EXPECT_EQ(w.bytes().size(), 19u);  // flag + 2 segments of 9
  jet::KeyReader r(w.bytes());
  using Guid = std::array<std::uint8_t, 16>;
  EXPECT_EQ(std::get<Guid>(r.next({jet::KeyKind::Guid, true}).data), canonical);
}

jet::KeyDecimal dec(bool negative, std::uint8_t low) {
  jet::KeyDecimal d;
  d.negative = negative;
  d.magnitude[15] = low;
  return d;
}

TEST(IndexKey, DecimalKeepsTheOldOrderingOfJet4) {
  std::vector<jet::KeyDecimal> sorted = {dec(true, 9), dec(true, 1), dec(false, 0), dec(false, 1), dec(false, 200)};
  std::vector<Bytes> asc, desc;
  for (const auto& d : sorted) {
    jet::KeyWriter a, b;
    a.decimal(d, true);
    b.decimal(d, false);
    asc.push_back(a.take());
    desc.push_back(b.take());
    for (bool dir : {true, false}) {
      jet::KeyReader r(dir ? asc.back() : desc.back());
      EXPECT_EQ(std::get<jet::KeyDecimal>(r.next({jet::KeyKind::Decimal, dir}).data), d);
    }
  }
  for (std::size_t i = 1; i < sorted.size(); ++i) EXPECT_TRUE(jet::compare_keys(asc[i - 1], asc[i]) < 0);
  // Descending reverses within a sign, but negatives still come before positives.
  EXPECT_TRUE(jet::compare_keys(desc[0], desc[1]) > 0);
  EXPECT_TRUE(jet::compare_keys(desc[3], desc[4]) > 0);
  EXPECT_TRUE(jet::compare_keys(desc[1], desc[2]) < 0);
  // Row layout: sign, then 32-bit groups most significant first, each little-endian.
  Bytes row(17, 0);
  row[0] = 0x80;
  row[13] = 0x2A;  // least significant group, lowest byte
  row[1 + 3] = 0x01;  // most significant group, highest byte
  const auto k = jet::key_decimal_from_row(row);
  EXPECT_TRUE(k.negative);
  EXPECT_EQ(k.magnitude[15], 0x2A);
  EXPECT_EQ(k.magnitude[0], 0x01);
}

TEST(IndexKey, MultiColumnKeysSortColumnByColumnAndPrefixesComeFirst) {
  auto k = [](std::int32_t a, const char* b) {
    jet::KeyWriter w;
    w.long_integer(a);
    if (b) w.text(b, false);
    return w.take();
  };
  EXPECT_TRUE(jet::compare_keys(k(1, "b"), k(1, "a")) < 0);  // second column descending
  EXPECT_TRUE(jet::compare_keys(k(1, "a"), k(2, "z")) < 0);
  EXPECT_TRUE(jet::compare_keys(k(1, nullptr), k(1, "z")) < 0);
  EXPECT_TRUE(jet::compare_keys(k(1, "a"), k(2, nullptr)) < 0);
  const auto two = k(7, "Été");
  jet::KeyReader r(two);
  EXPECT_EQ(std::get<std::int32_t>(r.next({jet::KeyKind::Long, true}).data), 7);
  EXPECT_TRUE(std::holds_alternative<jet::KeyField::TextKey>(r.next({jet::KeyKind::Text, false}).data));
  EXPECT_TRUE(r.at_end());
}

TEST(IndexKey, MalformedKeysAreReportedAsDamage) {
  auto damaged = [](const Bytes& key, jet::KeyColumn c) {
    try {
      jet::KeyReader r(key);
      r.next(c);
    } catch (const jet::Error& e) {
      return e.number() == 3049;
    }
    return false;
  };
  EXPECT_TRUE(damaged({0x7F, 0x80, 0x00}, {jet::KeyKind::Long, true}));      // truncated
  EXPECT_TRUE(damaged({0x42, 0, 0, 0, 0}, {jet::KeyKind::Long, true}));      // bad flag
  EXPECT_TRUE(damaged({0x7F, 0x51, 0x01}, {jet::KeyKind::Text, true}));      // no end
  EXPECT_TRUE(damaged({0x7F, 0x12}, {jet::KeyKind::Boolean, true}));         // not Yes/No
  EXPECT_TRUE(damaged({0x7F, 1, 0, 0, 0, 0, 0, 0, 0, 0}, {jet::KeyKind::Binary, true}));  // length 0
  EXPECT_TRUE(damaged({}, {jet::KeyKind::Byte, true}));
}

}  // namespace

}  // namespace index_key_test_cases
