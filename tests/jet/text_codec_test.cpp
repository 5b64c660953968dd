// Stored text: UTF-16LE and the compressed form.
#include <gtest/gtest.h>

#include "jet/base/text_codec.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace text_codec_test_cases {

namespace {

std::string decode(std::vector<std::uint8_t> bytes) { return jet::decode_stored_text(bytes); }

TEST(JetTextCodec, PlainUtf16) {
  EXPECT_EQ(decode({'a', 0, 0xE9, 0, 0xAC, 0x20}), "aé€");
  // A pair of surrogates is one character; a lone one is replaced.
  EXPECT_EQ(decode({0x3D, 0xD8, 0x00, 0xDE}), "\xF0\x9F\x98\x80");
  EXPECT_EQ(decode({0x3D, 0xD8, 'a', 0}), "\xEF\xBF\xBD" "a");
  EXPECT_EQ(decode({'a', 0, 'b'}), "a");  // odd trailing byte ignored
}

TEST(JetTextCodec, CompressedRunsAlternateAtZeroBytes) {
  EXPECT_EQ(decode({0xFF, 0xFE, 'a', 'b', 0xE9}), "abé");
  // One-byte run, switch, two-byte run (euro sign), switch back.
  EXPECT_EQ(decode({0xFF, 0xFE, 'x', 0x00, 0xAC, 0x20, 0x00, 'y'}), "x€y");
  EXPECT_EQ(decode({0xFF, 0xFE}), "");
}

}  // namespace

}  // namespace text_codec_test_cases
