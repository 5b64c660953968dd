#include "platform/profile.h"

#include "platform/codepage.h"
#include "platform/vbstring.h"
#include "platform_test_support.h"

namespace platform_test {
namespace {

class ProfileTest : public WorkstationTest {
 protected:
  void SetUp() override { fs::create_directories(c() / "QUELIS"); }
  fs::path ini() const { return c() / "QUELIS" / "Quelis.ini"; }

  // Reads as the program does: a buffer of 150 spaces, then Left$(buffer, count).
  std::string read(std::string_view section, std::string_view key, std::string_view def = "",
                   long size = 150) {
    std::string buffer(150, ' ');
    const long n = ws_.GetPrivateProfileStringA(section, key, def, buffer, size, "C:\\QUELIS\\Quelis.ini");
    return platform::Left(buffer, static_cast<std::size_t>(n));
  }
};

TEST_F(ProfileTest, SectionAndKeyMatchWithoutCaseAndValuesAreTrimmed) {
  writeBytes(ini(), platform::Utf8ToCp1252("; réglages\r\n[Autre]\r\nChemin donnees=faux\r\n[ init ]\r\n  CHEMIN DONNEES =  C:\\Quelis\\Données\\  \r\n"));
  EXPECT_EQ(read("INIT", "Chemin donnees"), "C:\\Quelis\\Données\\");
  EXPECT_EQ(read("autre", "chemin DONNEES"), "faux");
}

TEST_F(ProfileTest, QuotesAroundAValueAreRemovedInPairsOnly) {
  writeBytes(ini(), "[INIT]\r\na=\"C:\\Quelis\\\"\r\nb='x'\r\nc=\"dem\r\nd=\"x'\r\n");
  EXPECT_EQ(read("INIT", "a"), "C:\\Quelis\\");
  EXPECT_EQ(read("INIT", "b"), "x");
  EXPECT_EQ(read("INIT", "c"), "\"dem");
  EXPECT_EQ(read("INIT", "d"), "\"x'");
}

TEST_F(ProfileTest, MissingFileSectionOrKeyGivesTheDefault) {
  EXPECT_EQ(read("INIT", "Chemin donnees", "rien"), "rien") << "no file";
  writeBytes(ini(), "[INIT]\r\nautre=1\r\n");
  EXPECT_EQ(read("INIT", "Chemin donnees"), "");
  EXPECT_EQ(read("ABSENT", "autre", "défaut  "), "défaut") << "trailing blanks of the default go";
  std::string buffer(150, ' ');
  EXPECT_EQ(ws_.GetPrivateProfileStringA("INIT", "autre", "d", buffer, 150, "Z:\\x.ini"), 1);
  EXPECT_EQ(buffer.substr(0, 1), "d");
}

TEST_F(ProfileTest, ValueIsCutToTheBufferSizeLessOne) {
  const std::string longValue(200, 'x');
  writeBytes(ini(), "[INIT]\r\nChemin donnees=" + longValue + "\r\n");
  std::string buffer(150, ' ');
  EXPECT_EQ(ws_.GetPrivateProfileStringA("INIT", "Chemin donnees", "", buffer, 150, "C:\\QUELIS\\Quelis.ini"), 149);
  EXPECT_EQ(buffer, std::string(149, 'x') + std::string(1, '\0'));

  // A short value: the count, a NUL after it, and the rest of the spaces left alone.
  writeBytes(ini(), "[INIT]\r\nk=\xE9lu\r\n");
  buffer.assign(10, ' ');
  EXPECT_EQ(ws_.GetPrivateProfileStringA("INIT", "k", "", buffer, 10, "C:\\QUELIS\\Quelis.ini"), 3);
  EXPECT_EQ(buffer, std::string("élu") + '\0' + std::string(6, ' '));
}

TEST_F(ProfileTest, WritingCreatesFileSectionAndKey) {
  ASSERT_TRUE(ws_.WritePrivateProfileStringA("INIT", "Chemin donnees", "C:\\Quelis\\Données\\", "C:\\QUELIS\\Quelis.ini"));
  EXPECT_EQ(readBytes(ini()), "[INIT]\r\nChemin donnees=C:\\Quelis\\Donn\xE9" "es\\\r\n");
  EXPECT_EQ(read("INIT", "Chemin donnees"), "C:\\Quelis\\Données\\");

  ASSERT_TRUE(ws_.WritePrivateProfileStringA("Autre", "cle", "v", "C:\\QUELIS\\Quelis.ini"));
  EXPECT_EQ(readBytes(ini()), "[INIT]\r\nChemin donnees=C:\\Quelis\\Donn\xE9" "es\\\r\n[Autre]\r\ncle=v\r\n");
}

TEST_F(ProfileTest, WritingKeepsEveryOtherByteOfTheFile) {
  const std::string before =
      "; configuration QUELIS\r\n[INIT]\r\nAvant=1\r\n  chemin DONNEES = D:\\Ancien\\ \r\nApres=2\r\n\r\n"
      "[Suite]\nunix=oui\n";
  writeBytes(ini(), before);
  ASSERT_TRUE(ws_.WritePrivateProfileStringA("init", "Chemin donnees", "C:\\Quelis\\Donnees\\", "C:\\QUELIS\\Quelis.ini"));
  EXPECT_EQ(readBytes(ini()),
            "; configuration QUELIS\r\n[INIT]\r\nAvant=1\r\nchemin DONNEES=C:\\Quelis\\Donnees\\\r\nApres=2\r\n\r\n"
            "[Suite]\nunix=oui\n");

  // A new key goes after the last key of its section, before the blank line.
  ASSERT_TRUE(ws_.WritePrivateProfileStringA("INIT", "Nouvelle", "3", "C:\\QUELIS\\Quelis.ini"));
  EXPECT_EQ(readBytes(ini()),
            "; configuration QUELIS\r\n[INIT]\r\nAvant=1\r\nchemin DONNEES=C:\\Quelis\\Donnees\\\r\nApres=2\r\n"
            "Nouvelle=3\r\n\r\n[Suite]\nunix=oui\n");
}

TEST_F(ProfileTest, WritingAfterALastLineWithoutEnd) {
  writeBytes(ini(), "[A]\r\nx=1");
  ASSERT_TRUE(ws_.WritePrivateProfileStringA("B", "y", "2", "C:\\QUELIS\\Quelis.ini"));
  EXPECT_EQ(readBytes(ini()), "[A]\r\nx=1\r\n[B]\r\ny=2\r\n");
  writeBytes(ini(), "[A]\r\nx=1");
  ASSERT_TRUE(ws_.WritePrivateProfileStringA("a", "z", "3", "C:\\QUELIS\\Quelis.ini"));
  EXPECT_EQ(readBytes(ini()), "[A]\r\nx=1\r\nz=3\r\n");
}

TEST_F(ProfileTest, WritingIntoAMissingFolderFailsAndCreatesNothing) {
  EXPECT_FALSE(ws_.WritePrivateProfileStringA("INIT", "k", "v", "C:\\Absent\\Quelis.ini"));
  EXPECT_FALSE(fs::exists(c() / "Absent"));
  EXPECT_FALSE(ws_.WritePrivateProfileStringA("INIT", "k", "v", "Q:\\Quelis.ini"));
}

TEST_F(ProfileTest, AReadOnlyFileIsLeftAlone) {
  writeBytes(ini(), "[INIT]\r\nChemin donnees=C:\\Quelis\\\r\n");
  makeReadOnly(ini());
  EXPECT_FALSE(ws_.WritePrivateProfileStringA("INIT", "Chemin donnees", "D:\\", "C:\\QUELIS\\Quelis.ini"));
  EXPECT_EQ(readBytes(ini()), "[INIT]\r\nChemin donnees=C:\\Quelis\\\r\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(c() / "QUELIS"), fs::directory_iterator()), 1)
      << "no temporary file left behind";
}

}  // namespace
}  // namespace platform_test
