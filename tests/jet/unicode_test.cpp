// The Unicode services behind names, VB string functions, SQL comparisons and Jet 3 text:
// the same answers whichever implementation (ICU, Windows) the build uses.
#include <gtest/gtest.h>

#include <vector>

#include "jet/base/unicode.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace unicode_test_cases {

namespace {

using namespace jet::unicode;

TEST(Unicode, MapsAndFoldsCaseOfAccentedAndOtherScripts) {
  EXPECT_EQ(to_upper(U'é'), U'É');
  EXPECT_EQ(to_upper(U'œ'), U'Œ');
  EXPECT_EQ(to_upper(U'ÿ'), U'Ÿ');
  EXPECT_EQ(to_lower(U'À'), U'à');
  EXPECT_EQ(to_upper(U'σ'), U'Σ');
  EXPECT_EQ(to_upper(U'7'), U'7');
  EXPECT_EQ(fold_case(U'Ç'), fold_case(U'ç'));
  EXPECT_NE(fold_case(U'ç'), fold_case(U'c'));
  EXPECT_EQ(fold_text("ÉCOLE Élémentaire"), fold_text("école élémentaire"));
  EXPECT_NE(fold_text("Ecole"), fold_text("École"));
}

TEST(Unicode, LettersAndDigitsOfAnyScriptButNotPunctuation) {
  for (char32_t c : {U'a', U'Z', U'é', U'Ω', U'ж', U'5', U'٣'}) EXPECT_TRUE(is_letter_or_digit(c)) << int(c);
  for (char32_t c : {U'_', U'-', U' ', U'\'', U'€', U'«'}) EXPECT_FALSE(is_letter_or_digit(c)) << int(c);
}

TEST(Unicode, DictionaryOrderIgnoresCaseButNotAccents) {
  EXPECT_EQ(collate_ignoring_case("abc", "ABC"), 0);
  EXPECT_EQ(collate_ignoring_case("Élève", "éLÈVE"), 0);
  EXPECT_NE(collate_ignoring_case("eleve", "élève"), 0);
  EXPECT_LT(collate_ignoring_case("élan", "fable"), 0);  // é sorts with e, before f
  EXPECT_GT(collate_ignoring_case("Zoé", "arbre"), 0);
  EXPECT_LT(collate_ignoring_case("a", "ab"), 0);
}

TEST(Unicode, DecodesSingleAndDoubleByteCodePages) {
  const std::vector<std::uint8_t> western = {'C', 0xE9, 0x80, 0x9C};
  EXPECT_EQ(decode_code_page(western, 1252), "Cé€œ");
  const std::vector<std::uint8_t> cyrillic = {0xC0, 0xE1};
  EXPECT_EQ(decode_code_page(cyrillic, 1251), "Аб");
  const std::vector<std::uint8_t> japanese = {0x82, 0xA0, 'x'};
  EXPECT_EQ(decode_code_page(japanese, 932), "あx");
  EXPECT_EQ(decode_code_page(western, 9999), "Cé€œ");  // unknown: read as Windows-1252
  EXPECT_EQ(decode_code_page({}, 1252), "");
}

}  // namespace

}  // namespace unicode_test_cases
