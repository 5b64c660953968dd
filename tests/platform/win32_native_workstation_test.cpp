// The machine itself as the workstation (Windows build): paths, drive types, INI files, the
// registry and files held by another process, through the system's own functions. Where the
// folder-held workstation imitates a system function, both must answer alike.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>
#include <tuple>

#include "os/win32_text.h"
#include "platform/codepage.h"
#include "platform/environment.h"
#include "platform/error.h"
#include "platform/filelock.h"
#include "platform/localfs.h"
#include "platform/native_workstation.h"
#include "platform/vbfiles.h"
#include "platform/vbstring.h"
#include "platform/workstation.h"
#include "support/scratch_folder.h"

namespace win32_native_workstation_test_cases {

namespace fs = std::filesystem;
using platform::localfs::toUtf8;

void writeBytes(const fs::path& file, const std::string& bytes) {
  fs::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out << bytes;
}

// Runs a command line through the system's command interpreter, as an administrator types it.
int runCommand(const std::wstring& commandLine) {
  return ::_wsystem(commandLine.c_str());
}

class NativeWorkstationTest : public ::testing::Test {
 protected:
  std::string windowsPath(const fs::path& p) const { return toUtf8(p.lexically_normal().make_preferred()); }

  test_support::ScratchFolder scratch_{"quelis-native-"};
  std::unique_ptr<platform::Workstation> machine_ = platform::ThisMachine();
};

TEST_F(NativeWorkstationTest, WindowsPathsAreTheMachinesOwnAccentsIncluded) {
  const fs::path folder = scratch_.path() / platform::localfs::fromUtf8("Données été");
  writeBytes(folder / platform::localfs::fromUtf8("libellé.txt"), "Lille");
  const std::string text = windowsPath(folder) + "\\LIBELLÉ.TXT";
  const platform::ResolvedPath found = machine_->resolve(text);
  EXPECT_TRUE(found.rootExists);
  EXPECT_TRUE(found.isFile()) << text;  // case-blind, as the file system is
  EXPECT_EQ(found.windows.text(), text);
  EXPECT_FALSE(machine_->resolve(windowsPath(folder) + "\\absent.txt").exists());
  EXPECT_THROW(machine_->resolve("relatif\\chemin"), platform::Error);
}

bool underWine() {
  const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
  return ntdll && ::GetProcAddress(ntdll, "wine_get_version");
}

// A drive letter mapped on a folder: on Windows as SUBST maps one; under Wine, where drives
// are links in the prefix's dosdevices folder, the script that runs the tests maps one and
// names it in QUELIS_TEST_DRIVE.
TEST_F(NativeWorkstationTest, DriveTypesComeFromTheSystem) {
  EXPECT_EQ(machine_->GetDriveTypeA("C:\\"), static_cast<unsigned>(DRIVE_FIXED));
  EXPECT_EQ(machine_->GetDriveTypeA("C:"), static_cast<unsigned>(DRIVE_FIXED));
  EXPECT_EQ(machine_->GetDriveTypeA("C:\\Windows"), static_cast<unsigned>(DRIVE_NO_ROOT_DIR));  // not a root
  EXPECT_EQ(machine_->GetDriveTypeA("pas un chemin"), static_cast<unsigned>(DRIVE_NO_ROOT_DIR));

  std::string root;
  fs::path folder;
  std::wstring defined;
  if (const char* mapped = std::getenv("QUELIS_TEST_DRIVE"); mapped && *mapped) {
    root = std::string(1, mapped[0]) + ":\\";
    folder = fs::path(os::widen(root)) / scratch_.path().filename();
  } else if (underWine()) {
    GTEST_SKIP() << "under Wine a drive is mapped in the prefix's dosdevices folder: set QUELIS_TEST_DRIVE";
  } else {
    for (wchar_t c = L'Q'; c <= L'Y' && defined.empty(); ++c)
      if (::GetDriveTypeW((std::wstring(1, c) + L":\\").c_str()) == DRIVE_NO_ROOT_DIR) defined = std::wstring(1, c) + L":";
    ASSERT_FALSE(defined.empty()) << "no free drive letter";
    ASSERT_TRUE(::DefineDosDeviceW(0, defined.c_str(), scratch_.path().wstring().c_str()));
    root = os::narrow(defined) + "\\";
    folder = fs::path(os::widen(root)) / L"sous";
  }
  writeBytes(folder / "Quelis.ini", "[INIT]\r\n");
  const std::string ini = toUtf8(folder / "Quelis.ini");
  EXPECT_EQ(machine_->GetDriveTypeA(root), static_cast<unsigned>(DRIVE_FIXED));
  EXPECT_TRUE(machine_->resolve(ini).rootExists);
  EXPECT_TRUE(machine_->resolve(ini).isFile());
  std::error_code ignored;
  fs::remove_all(folder, ignored);
  if (!defined.empty()) {
    ::DefineDosDeviceW(DDD_REMOVE_DEFINITION, defined.c_str(), nullptr);
    EXPECT_EQ(machine_->GetDriveTypeA(root), static_cast<unsigned>(DRIVE_NO_ROOT_DIR));
    EXPECT_FALSE(machine_->resolve(ini).rootExists);
  }
}

// The INI reader of the folder-held workstation imitates GetPrivateProfileString: on the same
// file, both give the same text and the same count.
TEST_F(NativeWorkstationTest, IniFilesReadAsTheFolderWorkstationReadsThem) {
  const std::string content = platform::Utf8ToCp1252(
      "; réglages\r\n"
      "[INIT]\r\n"
      "  Chemin donnees  =  G:\\QUELIS\\Donnees\\  \r\n"
      "Libellé=\"Centre des impôts fonciers\"\r\n"
      "Vide=\r\n"
      "Apostrophe='l''ouest'\r\n"
      "Chemin donnees=second, ignoré\r\n"
      "[init]\r\n"
      "Autre=dans une seconde section du même nom\r\n"
      "[Réseau]\r\n"
      "Serveur=\\\\srv\\partage\\\r\n");
  writeBytes(scratch_.path() / "Quelis.ini", content);
  writeBytes(scratch_.path() / "poste" / "C" / "Quelis.ini", content);
  const platform::FolderWorkstation folder(scratch_.path() / "poste");
  const std::string native = windowsPath(scratch_.path() / "Quelis.ini");

  struct Query {
    const char* section;
    const char* key;
    const char* fallback;
    long size;
  };
  const Query queries[] = {
      {"INIT", "Chemin donnees", "", 255}, {"init", "CHEMIN DONNEES", "", 255}, {"INIT", "Libellé", "", 255},
      {"INIT", "Vide", "défaut", 255},     {"INIT", "Apostrophe", "", 255},     {"INIT", "Absente", "défaut  ", 255},
      {"INIT", "Autre", "non", 255},       {"Réseau", "Serveur", "", 255},      {"Absente", "Serveur", "x", 255},
      {"INIT", "Chemin donnees", "", 8},   {"INIT", "Libellé", "", 1},
  };
  for (const Query& q : queries) {
    std::string fromFolder(300, ' '), fromMachine(300, ' ');
    const long n1 = folder.GetPrivateProfileStringA(q.section, q.key, q.fallback, fromFolder, q.size, "C:\\Quelis.ini");
    const long n2 = machine_->GetPrivateProfileStringA(q.section, q.key, q.fallback, fromMachine, q.size, native);
    EXPECT_EQ(n2, n1) << q.section << '/' << q.key << " size " << q.size;
    // The count is in characters, as VB's Left$ takes it.
    EXPECT_EQ(platform::Left(fromMachine, static_cast<std::size_t>(n2)),
              platform::Left(fromFolder, static_cast<std::size_t>(n1)))
        << q.section << '/' << q.key;
  }
}

TEST_F(NativeWorkstationTest, IniWritesAreReadBackByBothWorkstations) {
  const std::string native = windowsPath(scratch_.path() / "C" / "Quelis.ini");
  writeBytes(scratch_.path() / "C" / "Quelis.ini", "[INIT]\r\nVersion=4.4.0.1\r\n");
  ASSERT_TRUE(machine_->WritePrivateProfileStringA("INIT", "Chemin donnees", "C:\\QUELIS\\Données\\", native));
  ASSERT_TRUE(machine_->WritePrivateProfileStringA("Nouvelle", "Clé", "été", native));
  const platform::FolderWorkstation folder(scratch_.path());
  for (const auto& [section, key, expected] :
       {std::tuple{"INIT", "Chemin donnees", "C:\\QUELIS\\Données\\"}, std::tuple{"INIT", "Version", "4.4.0.1"},
        std::tuple{"Nouvelle", "Clé", "été"}}) {
    std::string buffer(255, ' ');
    const long n = folder.GetPrivateProfileStringA(section, key, "", buffer, 255, "C:\\Quelis.ini");
    EXPECT_EQ(platform::Left(buffer, static_cast<std::size_t>(n)), expected) << section << '/' << key;
  }
  // A file in a missing folder is not created.
  EXPECT_FALSE(machine_->WritePrivateProfileStringA("INIT", "x", "y", windowsPath(scratch_.path() / "absent" / "a.ini")));
}

// Values written with reg.exe, as an administrator or an installer sets them, in the 32-bit
// view where the 32-bit application keeps its own.
TEST_F(NativeWorkstationTest, RegistryValuesAreReadInTheApplicationsView) {
  const std::wstring key = L"HKLM\\SOFTWARE\\QuelisEssai" + scratch_.path().filename().wstring();
  ASSERT_EQ(runCommand(L"reg add " + key + L" /v Donnees /d \"G:\\QUELIS\\Données\\\\\" /f /reg:32 >NUL 2>&1"), 0);
  ASSERT_EQ(runCommand(L"reg add " + key + L" /v Compteur /t REG_DWORD /d 4294967295 /f /reg:32 >NUL 2>&1"), 0);
  ASSERT_EQ(runCommand(L"reg add " + key + L" /v Seul64 /d x /f /reg:64 >NUL 2>&1"), 0);
  const std::string name = "HKEY_LOCAL_MACHINE\\SOFTWARE\\QuelisEssai" + toUtf8(scratch_.path().filename());

  EXPECT_EQ(machine_->RegRead(name + "\\Donnees"), "G:\\QUELIS\\Données\\");
  EXPECT_EQ(machine_->RegRead("HKLM" + name.substr(18) + "\\compteur"), "-1");  // a Long, case-blind
  for (const std::string& missing : {name + "\\Absente", name + "\\Seul64", name + "x\\Donnees"}) {
    try {
      machine_->RegRead(missing);
      ADD_FAILURE() << missing << " was read";
    } catch (const platform::Error& e) {
      EXPECT_EQ(e.number(), -2147024894);
      EXPECT_EQ(e.description(), "Impossible d'ouvrir la clé de Registre \"" + missing + "\" en lecture.");
    }
  }
  try {
    machine_->RegRead("HKEY_NULLE_PART\\SOFTWARE\\Donnees");
    ADD_FAILURE() << "an unknown hive was read";
  } catch (const platform::Error& e) {
    EXPECT_NE(e.description().find("Racine non valide"), std::string::npos) << e.description();
  }
  runCommand(L"reg delete " + key + L" /f /reg:32 >NUL 2>&1");
  runCommand(L"reg delete " + key + L" /f /reg:64 >NUL 2>&1");
}

// Another process holds a file open without sharing, as Access holds a database's ".ldb": the
// file is seen as held, and Kill refuses it with error 70 and leaves it in place.
TEST_F(NativeWorkstationTest, AFileHeldByAnotherProcessIsNotDeleted) {
  const fs::path lock = scratch_.path() / platform::localfs::fromUtf8("Quelis été.ldb");
  SECURITY_ATTRIBUTES inherit{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  HANDLE childIn = nullptr, toChild = nullptr, fromChild = nullptr, childOut = nullptr;
  ASSERT_TRUE(::CreatePipe(&childIn, &toChild, &inherit, 0));
  ASSERT_TRUE(::CreatePipe(&fromChild, &childOut, &inherit, 0));
  ::SetHandleInformation(toChild, HANDLE_FLAG_INHERIT, 0);
  ::SetHandleInformation(fromChild, HANDLE_FLAG_INHERIT, 0);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = childIn;
  startup.hStdOutput = childOut;
  startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
  std::wstring commandLine = L"\"" + os::widen(QUELIS_HOLD_FILE_EXE) + L"\" \"" + lock.wstring() + L"\"";
  PROCESS_INFORMATION holder{};
  ASSERT_TRUE(::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                               &holder));
  ::CloseHandle(childIn);
  ::CloseHandle(childOut);
  char said[4] = {};
  DWORD got = 0;
  ASSERT_TRUE(::ReadFile(fromChild, said, 4, &got, nullptr));
  ASSERT_EQ(std::string(said, got), "held");

  EXPECT_TRUE(platform::IsLockedByAnother(lock));
  auto env = platform::Environment::ForWorkstation(platform::ThisMachine(), {}, false);
  try {
    env.files().Kill(windowsPath(lock));
    ADD_FAILURE() << "a held file was deleted";
  } catch (const platform::Error& e) {
    EXPECT_EQ(e.number(), 70);
  }
  EXPECT_TRUE(fs::exists(lock));

  ::CloseHandle(toChild);  // the holder lets go when its input ends
  ::WaitForSingleObject(holder.hProcess, 30000);
  ::CloseHandle(holder.hProcess);
  ::CloseHandle(holder.hThread);
  ::CloseHandle(fromChild);
  EXPECT_FALSE(platform::IsLockedByAnother(lock));
  EXPECT_NO_THROW(env.files().Kill(windowsPath(lock)));
  EXPECT_FALSE(fs::exists(lock));
}

}  // namespace win32_native_workstation_test_cases
