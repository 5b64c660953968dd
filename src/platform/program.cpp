#include "platform/program.h"

namespace platform {

void End() { throw ProgramEnd(); }

double RecordingLauncher::Shell(std::string_view pathName, int windowStyle) {
  calls_.push_back({std::string(pathName), windowStyle});
  return static_cast<double>(calls_.size());
}

void RecordingLauncher::AppActivate(double taskId) { activated_.push_back(taskId); }

}  // namespace platform
