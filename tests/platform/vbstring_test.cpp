#include "platform/vbstring.h"

#include <algorithm>
#include <vector>

#include "platform_test_support.h"

namespace platform_test {
namespace {

using namespace platform;

TEST(VbCase, UpperAndLowerCaseFrenchAccentedLetters) {
  EXPECT_EQ(UCase("c:\\quelisécole\\données\\"), "C:\\QUELISÉCOLE\\DONNÉES\\");
  EXPECT_EQ(LCase("ÉLÈVE À ÇA Œuvre"), "élève à ça œuvre");
  EXPECT_EQ(UCase("straße"), "STRAßE") << "one character stays one character, as Windows maps it";
}

TEST(VbLength, CountsCharactersNotBytes) {
  EXPECT_EQ(Len("Déjà"), 4u);
  EXPECT_EQ(Left("Données", 3), "Don");
  EXPECT_EQ(Right("C:\\Quelis\\Bases\\", 6), "Bases\\");
  EXPECT_EQ(Right("é", 5), "é");
  EXPECT_EQ(Mid("élève", 2, 3), "lèv");
  EXPECT_EQ(Mid("élève", 4), "ve");
  EXPECT_EQ(Mid("abc", 9), "");
  EXPECT_VB_ERROR(Mid("abc", 0), 5);
}

TEST(VbTrim, RemovesSpacesOnly) {
  EXPECT_EQ(Trim("  C:\\Quelis\\  "), "C:\\Quelis\\");
  EXPECT_EQ(Trim("\tx "), "\tx");
  EXPECT_EQ(LTrim("  a "), "a ");
  EXPECT_EQ(RTrim("  a "), "  a");
  EXPECT_EQ(Trim("   "), "");
}

TEST(VbReplace, BinaryAndTextCompare) {
  EXPECT_EQ(Replace("C:\\Quelis\\Donnees\\X\\", "\\Donnees\\", "\\"), "C:\\Quelis\\X\\");
  EXPECT_EQ(Replace("C:\\Quelis\\donnees\\X\\", "\\Donnees\\", "\\"), "C:\\Quelis\\donnees\\X\\")
      << "binary compare is case-sensitive";
  EXPECT_EQ(Replace("\\\\SRV\\Données\\ABC\\QUELIS\\", "\\\\srv\\DONNÉES\\", "\\\\srv\\Échange\\",
                    CompareMethod::Text),
            "\\\\srv\\Échange\\ABC\\QUELIS\\");
  EXPECT_EQ(Replace("aaa", "a", "aa"), "aaaaaa") << "replaced text is not scanned again";
  EXPECT_EQ(Replace("Quelis.mdb", "", "x"), "Quelis.mdb");
}

TEST(VbInStr, PositionsInCharacters) {
  EXPECT_EQ(InStr(1, "données.mdb", ".mdb"), 8u);
  EXPECT_EQ(InStr(1, "QUELIS", "lis", CompareMethod::Text), 4u);
  EXPECT_EQ(InStr(1, "QUELIS", "lis"), 0u);
  EXPECT_EQ(InStr(5, "abcabc", "abc"), 0u);
  EXPECT_EQ(InStr(2, "abcabc", "abc"), 4u);
}

TEST(NtfsOrder, SortsByUpperCasedUtf16Units) {
  std::vector<std::string> names{"b", "École", "A", "_x", "10", "2", "Zèbre", "a1", "zz", "ÿ", "Ab"};
  std::sort(names.begin(), names.end(), [](const std::string& x, const std::string& y) {
    return CompareNtfsOrder(x, y) < 0;
  });
  // Digits before letters, '_' (0x5F) after 'Z' (0x5A), accented capitals (È 0xC8, É 0xC9)
  // after ASCII so "ZZ" comes before "ZÈBRE", and ÿ upper-cases to Ÿ (0x178), above Latin-1.
  EXPECT_EQ(names, (std::vector<std::string>{"10", "2", "A", "a1", "Ab", "b", "zz", "Zèbre", "_x", "École", "ÿ"}));
  EXPECT_EQ(CompareNtfsOrder("QUELIS", "quelis"), 0);
  EXPECT_TRUE(EqualsNoCase("Données", "DONNÉES"));
  EXPECT_FALSE(EqualsNoCase("Donnees", "DONNÉES"));
  EXPECT_TRUE(EqualsNoCase("Fiche_2", "fICHE_2"));
  EXPECT_FALSE(EqualsNoCase("FICHE", "FICHES"));
  EXPECT_FALSE(EqualsNoCase("a[", "A{"));  // only letters fold
  // Folded forms are equal exactly when the texts are EqualsNoCase.
  EXPECT_EQ(FoldCase("Numéro_de_Fiche"), "NUMÉRO_DE_FICHE");
  EXPECT_EQ(FoldCase("élève"), FoldCase("ÉLÈVE"));
  EXPECT_NE(FoldCase("eleve"), FoldCase("ÉLÈVE"));
}

}  // namespace
}  // namespace platform_test
