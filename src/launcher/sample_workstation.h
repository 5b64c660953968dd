// A sample workstation to show the tool at work: the portable configuration with its
// Quelis.ini, the letter templates delivered with the program, and a data location holding
// two data folders. Databases are not part of it: callers drop them into `basesFolders`.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace launcher {

struct SampleWorkstation {
  std::filesystem::path root;                     // the workstation folder
  std::string programFolder;                      // App.Path: "C:\QUELIS"
  std::string dataLocation;                       // "C:\Quelis\Donnees\"
  std::vector<std::string> dataFolders;           // Windows paths, ending in "\"
  std::vector<std::filesystem::path> basesFolders;  // their Bases\ folders on this machine
};

// Builds the sample under `root`, which must be missing or an empty folder: an existing
// non-empty folder is refused (std::runtime_error) and left as it was.
SampleWorkstation BuildSampleWorkstation(const std::filesystem::path& root);

}  // namespace launcher
