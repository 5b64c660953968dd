// The program-wide values of the update tool, in one object rather than globals so that
// several programs (tests) can run side by side. Names are the program's own.
#pragma once

#include <cstdint>
#include <string>

namespace pipeline {

struct ProgramState {
  std::string VersionComplete;        // "4.4.0.3": the four numbers of the version resource
  std::string VersionCourte;          // "4.4.0": the first three
  std::string TitreMessage;           // "QUELIS - mise à jour " + VersionCourte
  std::string CheminAppli;            // the program's folder, ending in "\"
  std::int32_t TypeConfiguration = 0; // 1 portable, 2 school, 3 network
  bool ModeInteractif = false;        // an operator is present; never set in this release
  std::string FichierIni;             // CheminAppli + "Quelis.ini"
  std::int32_t ChoixBaseEcole = 0;    // 0 none, 1 keep current, 2 Torvandes, 3 Miranel
};

// Values of TypeConfiguration.
inline constexpr std::int32_t kConfigurationPortable = 1;
inline constexpr std::int32_t kConfigurationEcole = 2;
inline constexpr std::int32_t kConfigurationReseau = 3;

}  // namespace pipeline
