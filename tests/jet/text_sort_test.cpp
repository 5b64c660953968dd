// Facts of the Access 2000-2003 general sort order as its keys express them. (The fixture
// test checks the same keys byte for byte against indexes Access wrote.)
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "jet/base/error.h"
#include "jet/btree/index_key.h"
#include "jet/base/text_sort.h"
#include "jet/base/text_sort_table.h"
#include "jet/base/text_codec.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace text_sort_test_cases {

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes key(const std::string& s, bool asc = true) { return jet::general_text_key(s, asc); }

bool before(const std::string& a, const std::string& b) {
  return jet::compare_keys(key(a), key(b)) < 0;
}

// Asserts that the texts are listed in strictly increasing key order, ascending, and in the
// reverse order with descending keys.
void expect_order(const std::vector<std::string>& texts) {
  for (std::size_t i = 1; i < texts.size(); ++i) {
    EXPECT_TRUE(before(texts[i - 1], texts[i])) << "'" << texts[i - 1] << "' < '" << texts[i] << "'";
    EXPECT_TRUE(jet::compare_keys(key(texts[i - 1], false), key(texts[i], false)) > 0)
        << "descending '" << texts[i - 1] << "' > '" << texts[i] << "'";
  }
}

TEST(TextSort, LettersIgnoreCase) {
  EXPECT_EQ(key("abc"), key("ABC"));
  EXPECT_EQ(key("Dupont"), key("DUPONT"));
  expect_order({"a", "B", "c", "Z"});
}

TEST(TextSort, AccentsOnlyBreakTiesAndCountFromTheLeft) {
  expect_order({"e", "é", "è", "ê", "ë", "f"});
  expect_order({"cote", "coté", "côte", "côté"});
  expect_order({"resume", "résumé", "resumes"});
  EXPECT_EQ(key("ÉCOLE"), key("école"));
  EXPECT_NE(key("ecole"), key("école"));
}

TEST(TextSort, HyphenAndApostropheComeLast) {
  expect_order({"coop", "co-op", "coopa"});
  expect_order({"lavoir", "l'avoir", "lavoirs"});
  expect_order({"Saint Denis", "SaintDenis", "Saint-Denis"});
}

TEST(TextSort, SpacesPunctuationDigitsThenLetters) {
  expect_order({" ", "!", ".", "_", "0", "1", "9", "a"});
  expect_order({"10", "2", "a1"});  // text, not numbers
}

TEST(TextSort, TrailingSpacesIgnoredLeadingOnesKept) {
  EXPECT_EQ(key("abc   "), key("abc"));
  EXPECT_NE(key(" abc"), key("abc"));
  EXPECT_TRUE(before(" abc", "abc"));
  EXPECT_EQ(key("   "), key(""));
}

TEST(TextSort, LigaturesExpandAndCombiningAccentsMatchComposedLetters) {
  EXPECT_EQ(key("Œuvre"), key("oeuvre"));
  EXPECT_EQ(key("cœur"), key("COEUR"));
  EXPECT_EQ(key("Æsop"), key("aesop"));
  EXPECT_EQ(key("straße"), key("strasse"));
  EXPECT_EQ(key("e\xCC\x81"), key("é"));  // e + combining acute
}

TEST(TextSort, ExactBytesOfAccentAndHiddenRuns) {
  // primary 51, end 01, accent run 0E, end 00
  EXPECT_EQ(key("é"), (Bytes{0x51, 0x01, 0x0E, 0x00}));
  // hyphen at position 1: three 01, position code 0x800B, marker 06, hyphen code 82
  EXPECT_EQ(key("A-b"), (Bytes{0x4A, 0x4C, 0x01, 0x01, 0x01, 0x01, 0x80, 0x0B, 0x06, 0x82, 0x00}));
  // descending: everything complemented, then an extra 00
  EXPECT_EQ(key("é", false), (Bytes{0xAE, 0xFE, 0xF1, 0xFF, 0x00}));
  EXPECT_EQ(key(""), (Bytes{0x01, 0x00}));
}

TEST(TextSort, OnlyTheFirst255UnitsCount) {
  const std::string a300(300, 'a');
  EXPECT_EQ(key(a300), key(std::string(255, 'a') + "b"));
  EXPECT_NE(key(std::string(254, 'a') + "b"), key(std::string(255, 'a')));
}

// Windows-1252 bytes 0x80-0x9F as Unicode (undefined ones map to the C1 controls).
char32_t from_cp1252(unsigned b) {
  static constexpr char32_t k80[32] = {
      0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
      0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
      0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
  return (b >= 0x80 && b < 0xA0) ? k80[b - 0x80] : static_cast<char32_t>(b);
}

std::string utf8(char32_t c) {
  std::string s;
  if (c < 0x80) {
    s += static_cast<char>(c);
  } else if (c < 0x800) {
    s += static_cast<char>(0xC0 | (c >> 6));
    s += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    s += static_cast<char>(0xE0 | (c >> 12));
    s += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    s += static_cast<char>(0x80 | (c & 0x3F));
  }
  return s;
}

TEST(TextSort, EveryWindows1252CharacterHasAKey) {
  for (unsigned b = 1; b < 256; ++b) {
    const char32_t c = from_cp1252(b);
    EXPECT_TRUE(jet::general_text_key_known(c)) << std::hex << b;
    EXPECT_NO_THROW(key("x" + utf8(c) + "y")) << std::hex << b;
  }
  expect_order({"$", "€", "a"});
  expect_order({"od", "Œ", "of"});  // Œ sorts as OE
}

TEST(TextSort, CharactersBeyondThePlaneAndBadUtf8AreRefused) {
  for (const std::string bad : {"\xF0\x9F\x98\x80", "\xF0\x90\x8C\xB0", "\xC3", "\xC0\xAF", "\xED\xA0\x80"}) {
    try {
      key("a" + bad);
      ADD_FAILURE() << "accepted " << bad;
    } catch (const jet::Error& e) {
      EXPECT_EQ(e.number(), static_cast<int>(jet::ErrorCode::UnsupportedKeyCharacter));
    }
  }
  EXPECT_FALSE(jet::general_text_key_known(0x1F600));
  EXPECT_FALSE(jet::general_text_key_known(0xD83D));
  // A refused text leaves a key being built untouched.
  jet::KeyWriter w;
  w.long_integer(1);
  const auto before_text = w.bytes();
  EXPECT_THROW(w.text("\xF0\x9F\x98\x80"), jet::Error);
  EXPECT_EQ(w.bytes(), before_text);
}

// Plain ASCII text takes a shorter way to its key: it must give the very key of the full way,
// taken here by adding a non-ASCII character that the order ignores (it adds no byte).
TEST(TextSort, AsciiTextGivesTheKeyOfTheFullWay) {
  std::string ignored;
  for (char32_t c = 0x80; c < 0x3000 && ignored.empty(); ++c) {
    const auto code = jet::text_sort_detail::find_char_code(c);
    if (code && code->kind == jet::text_sort_detail::CharKind::Ignored) {
      const std::uint8_t unit[] = {static_cast<std::uint8_t>(c & 0xFF), static_cast<std::uint8_t>(c >> 8)};
      ignored = jet::utf16le_to_utf8(unit);
    }
  }
  ASSERT_FALSE(ignored.empty());
  std::vector<std::string> texts = {"", "Dupont", "l'arbre", "Jean-Pierre", "  avant", "a b", "0123456789",
                                    "MIXTE mixte", std::string(300, 'x'), std::string(254, 'y') + "-z"};
  for (char c = 1; c < 127; ++c) texts.push_back(std::string("a") + c + "Z");
  for (const std::string& text : texts) {
    for (const bool ascending : {true, false}) {
      SCOPED_TRACE(text + (ascending ? " asc" : " desc"));
      EXPECT_EQ(key(text, ascending), key(text + ignored, ascending));
    }
  }
}

}  // namespace

}  // namespace text_sort_test_cases
