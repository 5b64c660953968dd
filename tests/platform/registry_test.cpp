#include "platform/registry.h"

#include "platform/codepage.h"
#include "platform/environment.h"
#include "platform_test_support.h"

namespace platform_test {
namespace {

using platform::Registry;
using platform::RegRead;

const char* kExport =
    "Windows Registry Editor Version 5.00\r\n"
    "\r\n"
    "; postes NPX\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Ortavia]\r\n"
    "\"Donnees\"=\"\\\\\\\\serveur\\\\données\\\\\"\r\n"
    "\"Echange\"=\"G:\\\\Echange\\\\\"\r\n"
    "\"Cite\"=\"un \\\"mot\\\" cité\"\r\n"
    "@=\"défaut\"\r\n"
    "\"Compteur\"=dword:ffffffff\r\n"
    "\"Etendu\"=hex(2):25,00,54,00,4d,00,50,00,25,00,00,00\r\n"
    "\"Binaire\"=hex:01,02,\\\r\n"
    "  03\r\n"
    "\r\n"
    "[HKEY_CURRENT_USER\\Software\\Quelis]\r\n"
    "\"Dernier\"=\"C:\\\\Quelis\\\\\"\r\n";

TEST(RegistryExport, ReadsEscapedStringsDefaultsAndDwords) {
  const Registry reg = Registry::Parse(platform::Utf8ToCp1252(kExport));
  EXPECT_EQ(RegRead(reg, "HKEY_LOCAL_MACHINE\\SOFTWARE\\Ortavia\\Donnees"), "\\\\serveur\\données\\");
  EXPECT_EQ(RegRead(reg, "HKLM\\Software\\ortavia\\ECHANGE"), "G:\\Echange\\");
  EXPECT_EQ(RegRead(reg, "HKLM\\SOFTWARE\\Ortavia\\Cite"), "un \"mot\" cité");
  EXPECT_EQ(RegRead(reg, "HKLM\\SOFTWARE\\Ortavia\\"), "défaut");
  EXPECT_EQ(RegRead(reg, "HKLM\\SOFTWARE\\Ortavia\\Compteur"), "-1");
  EXPECT_EQ(RegRead(reg, "HKLM\\SOFTWARE\\Ortavia\\Etendu"), "%TMP%");
  EXPECT_EQ(reg.value("HKLM\\SOFTWARE\\Ortavia", "Binaire")->text, "hex:01,02,03");
  EXPECT_EQ(RegRead(reg, "HKEY_CURRENT_USER\\Software\\Quelis\\Dernier"), "C:\\Quelis\\");
}

TEST(RegistryExport, Utf16FileAsRegeditWritesIt) {
  const std::string utf16 = std::string("\xFF\xFE") + platform::Utf8ToUtf16Le(kExport);
  const Registry reg = Registry::Parse(utf16);
  EXPECT_EQ(RegRead(reg, "HKLM\\SOFTWARE\\Ortavia\\Donnees"), "\\\\serveur\\données\\");
}

TEST(RegistryExport, AnsiRegedit4File) {
  const Registry reg = Registry::Parse("REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Ortavia]\r\n\"Donnees\"=\"C:\\\\Donn\xE9" "es\\\\\"\r\n");
  EXPECT_EQ(RegRead(reg, "HKLM\\SOFTWARE\\Ortavia\\Donnees"), "C:\\Données\\");
}

TEST(RegistryExport, MissingValuesKeysAndRootsRaise) {
  const Registry reg = Registry::Parse(kExport);
  try {
    RegRead(reg, "HKEY_LOCAL_MACHINE\\SOFTWARE\\Ortavia\\Absente");
    FAIL() << "no error";
  } catch (const platform::Error& e) {
    EXPECT_EQ(e.number(), -2147024894);
    EXPECT_NE(e.description().find("HKEY_LOCAL_MACHINE\\SOFTWARE\\Ortavia\\Absente"), std::string::npos);
  }
  EXPECT_THROW(RegRead(reg, "HKLM\\SOFTWARE\\Absente\\Donnees"), platform::Error);
  EXPECT_THROW(RegRead(reg, "HKEY_NULLE_PART\\SOFTWARE\\Ortavia\\Donnees"), platform::Error);
  EXPECT_THROW(RegRead(reg, "Donnees"), platform::Error);
  EXPECT_THROW(RegRead(reg, "HKCU\\Software\\Quelis\\"), platform::Error) << "no default value there";
}

TEST(RegistryExport, DeletionsAndMalformedLines) {
  const Registry reg = Registry::Parse(
      "REGEDIT4\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\A]\n\"x\"=\"1\"\n\"y\"=\"2\"\nligne sans sens\n\"z\"=\"non fermé\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\A\\B]\n\"w\"=\"3\"\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\A]\n\"y\"=-\n"
      "[-HKEY_LOCAL_MACHINE\\SOFTWARE\\A\\B]\n");
  EXPECT_EQ(RegRead(reg, "HKLM\\SOFTWARE\\A\\x"), "1");
  EXPECT_THROW(RegRead(reg, "HKLM\\SOFTWARE\\A\\y"), platform::Error);
  EXPECT_THROW(RegRead(reg, "HKLM\\SOFTWARE\\A\\z"), platform::Error);
  EXPECT_FALSE(reg.hasKey("HKLM\\SOFTWARE\\A\\B"));
}

class ShellRegistryTest : public WorkstationTest {};

TEST_F(ShellRegistryTest, RegReadUsesTheWorkstationsRegistryFile) {
  const platform::WScriptShell shell(ws_);
  EXPECT_THROW(shell.RegRead("HKLM\\SOFTWARE\\Ortavia\\Donnees"), platform::Error) << "no registry file";
  writeBytes(ws_.registryFile(), platform::Utf8ToCp1252(kExport));
  EXPECT_EQ(shell.RegRead("HKEY_LOCAL_MACHINE\\SOFTWARE\\Ortavia\\Echange"), "G:\\Echange\\");
}

}  // namespace
}  // namespace platform_test
