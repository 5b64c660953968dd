// The engine among other Windows programs: the system's share modes bind every opener, so a
// database Access holds is refused with Jet's numbers and one the engine holds is refused to
// the others; accented paths reach the engine in UTF-8 and the system in UTF-16.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>

#include "jet/base/error.h"
#include "jet/db/database.h"
#include "jet/db/writable_database.h"
#include "jet/tools/compact.h"
#include "jet_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace win32_foreign_opener_test_cases {

namespace {

namespace fs = std::filesystem;
using jet_test::error_of;

// Another program's open of the file, as Access makes it: shared or not shared at all.
HANDLE foreign_open(const std::string& path, bool share) {
  return ::CreateFileW(fs::path(path).wstring().c_str(), GENERIC_READ | GENERIC_WRITE,
                       share ? FILE_SHARE_READ | FILE_SHARE_WRITE : 0, nullptr, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

TEST(ForeignOpeners, AccessHoldingTheDatabaseKeepsTheEngineOutAsItsModeSays) {
  jet_test::ScratchDir dir;
  const std::string path = jet_test::copy_fixture(dir, "testV2000.mdb");
  {
    const HANDLE exclusive = foreign_open(path, false);
    ASSERT_NE(exclusive, INVALID_HANDLE_VALUE);
    EXPECT_EQ(error_of([&] { jet::Database::open(path); }), 3356);
    EXPECT_EQ(error_of([&] { jet::WritableDatabase::open(path); }), 3045);
    ::CloseHandle(exclusive);
  }
  {
    const HANDLE shared = foreign_open(path, true);
    ASSERT_NE(shared, INVALID_HANDLE_VALUE);
    EXPECT_EQ(error_of([&] { jet::WritableDatabase::open(path); }), 3045);
    EXPECT_FALSE(jet::Database::open(path)->table_names().empty());  // shared beside it
    ::CloseHandle(shared);
  }
}

TEST(ForeignOpeners, TheEngineWritingKeepsOtherProgramsOut) {
  jet_test::ScratchDir dir;
  const std::string path = jet_test::copy_fixture(dir, "testV2000.mdb");
  auto db = jet::WritableDatabase::open(path);
  for (const bool share : {false, true}) {
    const HANDLE other = foreign_open(path, share);
    EXPECT_EQ(other, INVALID_HANDLE_VALUE);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    if (other != INVALID_HANDLE_VALUE) ::CloseHandle(other);
  }
}

std::string utf8(const fs::path& p) {
  const std::u8string s = p.u8string();
  return std::string(s.begin(), s.end());
}

TEST(AccentedPaths, ADatabaseInDonneesIsReadCompactedAndReopened) {
  jet_test::ScratchDir dir;
  const fs::path folder = dir.path() / fs::path(u8"Donn\u00e9es");
  fs::create_directory(folder);
  const fs::path source = folder / fs::path(u8"\u00e9t\u00e9.mdb");
  fs::copy_file(jet_test::fixture("testV2000.mdb"), source);
  const std::string destination = utf8(folder / fs::path(u8"\u00e9t\u00e9 compact\u00e9e.mdb"));

  const auto rows = jet::Database::open(utf8(source))->table("Table1").count_rows();
  EXPECT_GE(jet::compact(utf8(source), destination).rows, rows);
  EXPECT_EQ(jet::Database::open(destination)->table("Table1").count_rows(), rows);
  EXPECT_TRUE(jet_test::verify_problems(destination).empty());
  // The system holds both under their accented names, nothing else.
  std::vector<std::wstring> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().wstring());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::wstring>{L"\u00e9t\u00e9 compact\u00e9e.mdb", L"\u00e9t\u00e9.mdb"}));
  // A missing accented path is told by its name, as written.
  const std::string missing = utf8(folder / fs::path(u8"No\u00ebl.mdb"));
  try {
    jet::Database::open(missing);
    ADD_FAILURE() << "opened a missing file";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 3024);
    EXPECT_NE(e.description().find("No\u00ebl.mdb"), std::string::npos) << e.description();
  }
}

}  // namespace

}  // namespace win32_foreign_opener_test_cases
