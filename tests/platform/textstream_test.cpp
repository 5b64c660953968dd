#include "platform/textstream.h"

#include "platform/codepage.h"
#include "platform/fso.h"
#include "platform_test_support.h"

namespace platform_test {
namespace {

using platform::IOMode;

TEST(CodePage, Windows1252BothWays) {
  EXPECT_EQ(platform::Utf8ToCp1252("été €"), "\xE9t\xE9 \x80");
  EXPECT_EQ(platform::Cp1252ToUtf8("\xC0 \x9C\x92"), "À œ’");
  EXPECT_EQ(platform::Utf8ToCp1252("Ω 中"), "? ?") << "characters outside the code page become '?'";
  EXPECT_EQ(platform::Cp1252ToUtf8(platform::Utf8ToCp1252("Œuvre « Noël » — ½")), "Œuvre « Noël » — ½");
  EXPECT_EQ(platform::Utf16LeToUtf8(platform::Utf8ToUtf16Le("Dépôt 𝄞")), "Dépôt 𝄞");
}

class TextStreamTest : public WorkstationTest {
 protected:
  void SetUp() override { fs::create_directories(c() / "Quelis"); }
  platform::FileSystemObject fso_{ws_};
};

TEST_F(TextStreamTest, WritesWindows1252WithCrLfAndReadsItBack) {
  {
    auto log = fso_.CreateTextFile("C:\\Quelis\\journal.log", true);
    log.WriteLine("Mise à jour des données QUELIS");
    log.WriteLine();
    log.Write("Lancement ");
    log.WriteLine("silencieux");
    log.Close();
  }
  EXPECT_EQ(readBytes(c() / "Quelis" / "journal.log"),
            "Mise \xE0 jour des donn\xE9" "es QUELIS\r\n\r\nLancement silencieux\r\n");

  auto in = fso_.OpenTextFile("c:\\quelis\\JOURNAL.LOG");
  EXPECT_EQ(in.ReadLine(), "Mise à jour des données QUELIS");
  EXPECT_EQ(in.ReadLine(), "");
  EXPECT_FALSE(in.AtEndOfStream());
  EXPECT_EQ(in.ReadLine(), "Lancement silencieux");
  EXPECT_TRUE(in.AtEndOfStream());
  EXPECT_VB_ERROR(in.ReadLine(), 62);
}

TEST_F(TextStreamTest, ReadLinePastTheEndOfAnEmptyFileRaises62) {
  writeBytes(c() / "Quelis" / "libelle.txt", "");
  auto in = fso_.OpenTextFile("C:\\Quelis\\libelle.txt", IOMode::ForReading);
  EXPECT_TRUE(in.AtEndOfStream());
  try {
    in.ReadLine();
    FAIL() << "no error";
  } catch (const platform::Error& e) {
    EXPECT_EQ(e.number(), 62);
    EXPECT_EQ(e.description(), "L'entrée dépasse la fin de fichier");
  }
}

TEST_F(TextStreamTest, ReadsUnixAndOldMacLineEndsAndAFinalLineWithoutEnd) {
  writeBytes(c() / "Quelis" / "l.txt", "un\ndeux\rtrois\r\n\xC9quipe");
  auto in = fso_.OpenTextFile("C:\\Quelis\\l.txt");
  EXPECT_EQ(in.ReadLine(), "un");
  EXPECT_EQ(in.ReadLine(), "deux");
  EXPECT_EQ(in.ReadLine(), "trois");
  EXPECT_EQ(in.ReadLine(), "Équipe");
  EXPECT_TRUE(in.AtEndOfStream());
}

TEST_F(TextStreamTest, UnrepresentableCharactersAreWrittenAsQuestionMarks) {
  auto out = fso_.CreateTextFile("C:\\Quelis\\x.txt");
  out.Write("Ω=ω");
  out.Close();
  EXPECT_EQ(readBytes(c() / "Quelis" / "x.txt"), "?=?");
}

TEST_F(TextStreamTest, UnicodeFilesCarryABomAndRoundTrip) {
  auto out = fso_.CreateTextFile("C:\\Quelis\\u.txt", true, true);
  out.WriteLine("Ω é");
  out.Close();
  EXPECT_EQ(readBytes(c() / "Quelis" / "u.txt"), std::string("\xFF\xFE\xA9\x03 \0\xE9\0\r\0\n\0", 12));
  auto in = fso_.OpenTextFile("C:\\Quelis\\u.txt");
  EXPECT_EQ(in.ReadLine(), "Ω é");
  EXPECT_TRUE(in.AtEndOfStream());
}

TEST_F(TextStreamTest, AppendingKeepsTheContentAndModesAreEnforced) {
  writeBytes(c() / "Quelis" / "a.log", "avant\r\n");
  auto out = fso_.OpenTextFile("C:\\Quelis\\a.log", IOMode::ForAppending);
  out.WriteLine("après");
  EXPECT_VB_ERROR(out.ReadLine(), 54);
  out.Close();
  EXPECT_VB_ERROR(out.WriteLine("trop tard"), 54);
  EXPECT_EQ(readBytes(c() / "Quelis" / "a.log"), "avant\r\napr\xE8s\r\n");

  auto in = fso_.OpenTextFile("C:\\Quelis\\a.log");
  EXPECT_VB_ERROR(in.WriteLine("x"), 54);
}

TEST_F(TextStreamTest, CreateAndOpenFailuresUseVbNumbers) {
  EXPECT_VB_ERROR(fso_.CreateTextFile("C:\\Absent\\journal.log"), 76);
  EXPECT_VB_ERROR(fso_.CreateTextFile("H:\\NPX\\journal.log"), 76);
  writeBytes(c() / "Quelis" / "j.log", "garde");
  EXPECT_VB_ERROR(fso_.CreateTextFile("C:\\Quelis\\j.log", false), 58);
  EXPECT_EQ(readBytes(c() / "Quelis" / "j.log"), "garde");
  EXPECT_VB_ERROR(fso_.OpenTextFile("C:\\Quelis\\absent.txt"), 53);
  EXPECT_VB_ERROR(fso_.OpenTextFile("C:\\Quelis\\absent.txt", IOMode::ForAppending), 53);
  EXPECT_NO_THROW(fso_.OpenTextFile("C:\\Quelis\\neuf.txt", IOMode::ForAppending, true));
  EXPECT_TRUE(fs::exists(c() / "Quelis" / "neuf.txt"));

  // Overwriting replaces the content (two runs within the same second share a log name).
  auto again = fso_.CreateTextFile("C:\\QUELIS\\J.LOG", true);
  again.WriteLine("nouveau");
  again.Close();
  EXPECT_EQ(readBytes(c() / "Quelis" / "j.log"), "nouveau\r\n");
}

}  // namespace
}  // namespace platform_test
