// The value type: exact accessors, numeric conversions and textual forms.
#include <gtest/gtest.h>

#include "jet/base/error.h"
#include "jet/base/value.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace value_test_cases {

namespace {

TEST(JetValue, AccessorsRefuseAnotherKind) {
  const jet::Value v = jet::Value::long_(42);
  EXPECT_EQ(v.kind(), jet::ValueKind::Long);
  EXPECT_EQ(v.as_long(), 42);
  try {
    (void)v.as_text();
    FAIL() << "a Long read as Text";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 13);
  }
  EXPECT_THROW((void)jet::Value::null().to_double(), jet::Error);
  EXPECT_THROW((void)jet::Value::text("12").to_int64(), jet::Error);
  EXPECT_TRUE(jet::Value().is_empty());
  EXPECT_TRUE(jet::Value::null().is_null());
  EXPECT_NE(jet::Value::null(), jet::Value());
}

TEST(JetValue, NumericConversionsFollowVb) {
  EXPECT_EQ(jet::Value::boolean(true).to_int64(), -1);
  EXPECT_EQ(jet::Value::currency(35000).to_double(), 3.5);
  EXPECT_EQ(jet::Value::double_(2.5).to_int64(), 2);   // half to even
  EXPECT_EQ(jet::Value::double_(3.5).to_int64(), 4);
  EXPECT_EQ(jet::Value::double_(-2.5).to_int64(), -2);
  EXPECT_EQ(jet::Value::single(1.25f).to_double(), 1.25);
  EXPECT_THROW((void)jet::Value::double_(1e300).to_int64(), jet::Error);
}

TEST(JetValue, DecimalText) {
  jet::Decimal d;
  d.magnitude = 1234;
  d.scale = 2;
  EXPECT_EQ(d.to_string(), "12.34");
  d.negative = true;
  EXPECT_EQ(d.to_string(), "-12.34");
  d.scale = 6;
  EXPECT_EQ(d.to_string(), "-0.001234");
  d.magnitude = 0;
  EXPECT_EQ(d.to_string(), "0.000000");  // no negative zero
  jet::Decimal big;
  big.magnitude = (static_cast<unsigned __int128>(1) << 96) - 1;
  EXPECT_EQ(big.to_string(), "79228162514264337593543950335");
  EXPECT_DOUBLE_EQ(jet::Value::decimal(d).to_double(), 0.0);
}

TEST(JetValue, GuidTextSwapsTheFirstThreeFields) {
  jet::Guid g;
  for (int i = 0; i < 16; ++i) g.bytes[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(i);
  EXPECT_EQ(g.to_string(), "{03020100-0504-0706-0809-0A0B0C0D0E0F}");
}

TEST(JetValue, DatesCountFromTheEndOf1899) {
  EXPECT_EQ(jet::format_date_time(0.0), "1899-12-30 00:00:00");
  EXPECT_EQ(jet::format_date_time(2.5), "1900-01-01 12:00:00");
  EXPECT_EQ(jet::format_date_time(36526.75), "2000-01-01 18:00:00");
  EXPECT_EQ(jet::format_date_time(-1.25), "1899-12-29 06:00:00");
  EXPECT_EQ(jet::format_date_time(59.0), "1900-02-27 00:00:00");
  EXPECT_EQ(jet::format_date_time(61.0), "1900-03-01 00:00:00");  // 1900 is not a leap year
  EXPECT_EQ(jet::Value::date(27293.0).to_display(), "1974-09-21 00:00:00");
}

TEST(JetValue, DisplayText) {
  EXPECT_EQ(jet::Value::currency(-12345).to_display(), "-1.2345");
  EXPECT_EQ(jet::Value::boolean(false).to_display(), "False");
  EXPECT_EQ(jet::Value::binary({0x0A, 0xFF}).to_display(), "0AFF");
  EXPECT_EQ(jet::Value::null().to_display(), "");
}

}  // namespace

}  // namespace value_test_cases
