// The general sort order beyond Western Europe: Greek, Hebrew, Arabic, Indic scripts, arrows
// and mathematical signs, kana and CJK ideographs all have keys, ordered as Access orders
// them; kana carry size marks in a run of their own. Only characters beyond the Basic
// Multilingual Plane have none.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "jet/base/error.h"
#include "jet/btree/index_key.h"
#include "jet/base/text_sort.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace text_sort_scripts_test_cases {

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes key(const std::string& s, bool asc = true) { return jet::general_text_key(s, asc); }

void expect_order(const std::vector<std::string>& texts) {
  for (std::size_t i = 1; i < texts.size(); ++i) {
    EXPECT_TRUE(jet::compare_keys(key(texts[i - 1]), key(texts[i])) < 0)
        << "'" << texts[i - 1] << "' < '" << texts[i] << "'";
    EXPECT_TRUE(jet::compare_keys(key(texts[i - 1], false), key(texts[i], false)) > 0)
        << "descending '" << texts[i - 1] << "' > '" << texts[i] << "'";
  }
}

TEST(TextSortScripts, AlphabetsInTheirOwnOrderAfterLatin) {
  expect_order({"z", "α", "β", "γ", "ω"});           // Greek follows Latin
  expect_order({"ω", "а", "я"});                     // then Cyrillic
  expect_order({"я", "א", "ב", "ת"});                // then Hebrew
  expect_order({"ת", "ا", "ب", "ي"});                // then Arabic
  expect_order({"ي", "क", "ख"});                     // then Devanagari
  EXPECT_EQ(key("ΑΒΓ"), key("αβγ"));                 // Greek case is ignored
  EXPECT_NE(key("ά"), key("α"));                     // its accents break ties
  expect_order({"αβ", "άβ", "αγ"});
}

TEST(TextSortScripts, SignsAndSymbolsSortBeforeDigits) {
  expect_order({"≤", "≥", "→", "←", "✓", "0", "a"});
  expect_order({"a≥b", "a→b", "a←b", "a✓b", "a0b"});
}

TEST(TextSortScripts, IdeographsHangulAndFullWidthForms) {
  EXPECT_EQ(key("一"), (Bytes{0x9F, 0x02, 0x01, 0x00}));
  expect_order({"ん", "가", "一", "丁", "龥"});  // kana, Hangul, then ideographs
  EXPECT_EQ(key("ＡＢ"), key("ab"));  // full-width Latin sorts as Latin
}

TEST(TextSortScripts, KanaCarrySizeMarksAfterTheAccents) {
  // Primary codes, end of primary, no accent, two more ends, the packed size marks (trailing
  // full-size marks dropped) and the closing bytes of the marks.
  EXPECT_EQ(key("あ"), (Bytes{0x7F, 0x02, 0x01, 0x01, 0x01, 0xFF, 0x02, 0x80, 0xFF, 0x80, 0x00}));
  EXPECT_EQ(key("ぁあ"),
            (Bytes{0x7F, 0x02, 0x7F, 0x02, 0x01, 0x01, 0x01, 0xA0, 0xFF, 0x02, 0x80, 0xFF, 0x80, 0x00}));
  // Four marks take two bytes: 2,3,2 then 2.
  EXPECT_EQ(key("ぁあぁぁ"),
            (Bytes{0x7F, 0x02, 0x7F, 0x02, 0x7F, 0x02, 0x7F, 0x02, 0x01, 0x01, 0x01, 0xAE, 0xA0, 0xFF,
                   0x02, 0x80, 0xFF, 0x80, 0x00}));
  // A voicing mark is an accent code; a hyphen after kana follows the marks behind 0xFF 0x01.
  EXPECT_EQ(key("が"), (Bytes{0x7F, 0x0A, 0x01, 0x03, 0x01, 0x01, 0xFF, 0x02, 0x80, 0xFF, 0x80, 0x00}));
  EXPECT_EQ(key("あ-"), (Bytes{0x7F, 0x02, 0x01, 0x01, 0x01, 0xFF, 0x02, 0x80, 0xFF, 0x80, 0xFF, 0x01,
                               0x80, 0x0B, 0x06, 0x82, 0x00}));
  expect_order({"ぁ", "あ", "い", "か", "が", "き"});  // small kana first, voiced after plain
  EXPECT_EQ(key("カタカナ"), key("かたかな"));      // katakana sort as hiragana
  EXPECT_EQ(key("ｱ"), key("ア"));                   // half-width katakana too
}

TEST(TextSortScripts, GreekExtendedLettersHaveNoWeight) {
  // Access 2000-2003 give polytonic letters no code at all: they vanish from the key.
  EXPECT_EQ(key("ἀβ"), key("β"));
  EXPECT_EQ(key("ᾶ"), key(""));
}

TEST(TextSortScripts, EveryCharacterOfThePlaneHasAKeyButSurrogates) {
  std::size_t unknown = 0;
  for (char32_t c = 0; c <= 0xFFFF; ++c) {
    const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
    if (jet::general_text_key_known(c) == surrogate) {
      ++unknown;
      if (unknown < 10) ADD_FAILURE() << std::hex << static_cast<unsigned>(c);
    }
  }
  EXPECT_EQ(unknown, 0u);
  EXPECT_FALSE(jet::general_text_key_known(0x10000));
  EXPECT_EQ(jet::Error(jet::ErrorCode::UnsupportedKeyCharacter).number(), 3431);
  try {
    key("a\xF0\x9F\x98\x80");
    ADD_FAILURE() << "a character beyond the plane got a key";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 3431);
  }
}

}  // namespace

}  // namespace text_sort_scripts_test_cases
