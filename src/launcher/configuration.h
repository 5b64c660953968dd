// What the program's folder and version resource tell start-up: the configuration of the
// workstation and the version texts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace launcher {

struct Configuration {
  std::int32_t type;   // TypeConfiguration
  std::string label;   // the text of LblConfiguration
  bool known;          // false: the folder matched none of the known places
};

// The configuration of a program folder (CheminAppli, already ending in "\"): whole-text,
// case-blind comparison with C:\QUELISECOLE\, C:\QUELIS\ and G:\QUELIS\ in that order; any
// other folder is the portable configuration, flagged unknown.
Configuration DetectConfiguration(std::string_view cheminAppli);

struct VersionTexts {
  std::string courte;    // major.minor.x
  std::string complete;  // major.minor.x.y
};

// The version resource keeps the last two numbers in its revision as 100 * x + y.
VersionTexts VersionFromResource(int major, int minor, int revision);

// The run-log folder of the network configuration.
inline constexpr std::string_view kDossierLogReseau = "H:\\NPX\\LOG\\Quelis\\";

}  // namespace launcher
