#include "launcher/configuration.h"

#include "pipeline/program_state.h"
#include "platform/vbstring.h"

namespace launcher {

Configuration DetectConfiguration(std::string_view cheminAppli) {
  const std::string upper = platform::UCase(cheminAppli);
  if (upper == "C:\\QUELISECOLE\\") return {pipeline::kConfigurationEcole, "Configuration ECOLE", true};
  if (upper == "C:\\QUELIS\\") return {pipeline::kConfigurationPortable, "Configuration PORTABLE", true};
  if (upper == "G:\\QUELIS\\") return {pipeline::kConfigurationReseau, "Configuration NPX-CDIF", true};
  return {pipeline::kConfigurationPortable, "Configuration PORTABLE", false};
}

VersionTexts VersionFromResource(int major, int minor, int revision) {
  VersionTexts texts;
  texts.courte = std::to_string(major) + "." + std::to_string(minor) + "." +
                 std::to_string(revision / 100);
  texts.complete = texts.courte + "." + std::to_string(revision % 100);
  return texts;
}

}  // namespace launcher
