// The names of a folder's entries as the folder lists them: on a case-blind file system
// (Windows) a test cannot ask whether "QUELIS.MDB" exists beside "Quelis.mdb", it reads the
// spelling on disk instead.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace test_support {

inline std::vector<std::string> SpelledNames(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::u8string name = entry.path().filename().u8string();
    names.emplace_back(name.begin(), name.end());
  }
  return names;
}

}  // namespace test_support
