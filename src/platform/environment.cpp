#include "platform/environment.h"

namespace platform {

std::string WScriptShell::RegRead(std::string_view name) const {
  return platform::RegRead(Registry::Load(workstation_->registryFile()), name);
}

Environment::Environment(std::filesystem::path workstationRoot, std::shared_ptr<Clock> clock, ProgramInfo program,
                         std::shared_ptr<ProcessLauncher> launcher)
    : workstation_(std::make_unique<Workstation>(std::move(workstationRoot))),
      clock_(std::move(clock)),
      program_(std::move(program)),
      launcher_(std::move(launcher)),
      files_(*workstation_) {}

Environment Environment::ForWorkstation(std::filesystem::path workstationRoot, ProgramInfo program,
                                        bool interactive) {
  Environment env(std::move(workstationRoot), std::make_shared<SystemClock>(), std::move(program), nullptr);
  // The launcher resolves paths on the environment's own workstation, which only exists now.
  env.launcher_ = std::make_shared<DesktopLauncher>(*env.workstation_, interactive);
  return env;
}

Environment Environment::ForTests(std::filesystem::path workstationRoot, DateTime now, ProgramInfo program) {
  return Environment(std::move(workstationRoot), std::make_shared<FixedClock>(now), std::move(program),
                     std::make_shared<RecordingLauncher>());
}

}  // namespace platform
