// A sample workstation to show the tool at work: the portable configuration whose
// Quelis.ini still names the old layout "C:\Quelis\" (so the tool first moves that data
// into "Donnees\" + its site code), the letter templates delivered with the program, and two
// sites, each database being the reference application database (reference_database.h):
//   - Lille (0590100), in the old layout: a database at 4.4.0.1 and the backup of
//     18 January 2013 holding survey data to restore;
//   - Arras (0620200), already in the new layout, whose database is already at 4.4.0.3:
//     the tool refuses it (error 1) and leaves it as it is.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace echantillon {

struct SampleWorkstation {
  std::filesystem::path root;                     // the workstation folder
  std::string programFolder;                      // App.Path: "C:\QUELIS"
  std::string dataLocation;                       // "C:\Quelis\Donnees\" once migrated
  std::vector<std::string> dataFolders;           // Windows paths, ending in "\", once migrated
  std::vector<std::filesystem::path> basesFolders;  // their Bases\ folders on this machine, once migrated
  std::string updatedDatabase;                    // Windows path of Lille's database, once migrated
  std::string refusedDatabase;                    // Windows path of Arras's database
};

// Builds the sample under `root`, which must be missing or an empty folder: an existing
// non-empty folder is refused (std::runtime_error) and left as it was. `fiches` is the
// number of case records of each database.
SampleWorkstation BuildSampleWorkstation(const std::filesystem::path& root, int fiches = 200);

}  // namespace echantillon
