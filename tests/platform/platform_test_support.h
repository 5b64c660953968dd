// A throw-away workstation folder for the platform tests: real files in /tmp, removed after.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/scratch_folder.h"
#include "platform/error.h"
#include "platform/workstation.h"

namespace platform_test {

namespace fs = std::filesystem;

class TempFolder {
 public:
  TempFolder() : path_(test_support::MakeScratchFolder("quelis-platform-")) {}
  ~TempFolder() {
    std::error_code ec;
    for (fs::recursive_directory_iterator it(path_, ec), end; !ec && it != end; it.increment(ec))
      fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
    fs::remove_all(path_, ec);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

inline void writeBytes(const fs::path& file, const std::string& bytes) {
  fs::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out << bytes;
}

inline std::string readBytes(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

inline void makeReadOnly(const fs::path& file) {
  fs::permissions(file, fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                  fs::perm_options::remove);
}

// A workstation with drives C: and D: present.
class WorkstationTest : public ::testing::Test {
 protected:
  WorkstationTest() {
    fs::create_directories(root() / "C");
    fs::create_directories(root() / "D");
  }
  const fs::path& root() const { return temp_.path(); }
  fs::path c() const { return root() / "C"; }

  TempFolder temp_;
  platform::FolderWorkstation ws_{temp_.path()};
};

}  // namespace platform_test

// Expects `statement` to raise platform::Error with the given VB number.
#define EXPECT_VB_ERROR(statement, expectedNumber)                                      \
  do {                                                                                  \
    try {                                                                               \
      statement;                                                                        \
      ADD_FAILURE() << #statement " raised nothing, expected error " << (expectedNumber); \
    } catch (const platform::Error& e) {                                                \
      EXPECT_EQ(e.number(), (expectedNumber)) << #statement ": " << e.description();    \
    }                                                                                   \
  } while (0)
