#include "platform/environment.h"

namespace platform {

std::string WScriptShell::RegRead(std::string_view name) const { return workstation_->RegRead(name); }

Environment::Environment(std::unique_ptr<Workstation> workstation, std::shared_ptr<Clock> clock,
                         ProgramInfo program, std::shared_ptr<ProcessLauncher> launcher)
    : workstation_(std::move(workstation)),
      clock_(std::move(clock)),
      program_(std::move(program)),
      launcher_(std::move(launcher)),
      files_(*workstation_) {}

Environment::Environment(std::filesystem::path workstationRoot, std::shared_ptr<Clock> clock, ProgramInfo program,
                         std::shared_ptr<ProcessLauncher> launcher)
    : Environment(std::make_unique<FolderWorkstation>(std::move(workstationRoot)), std::move(clock),
                  std::move(program), std::move(launcher)) {}

Environment Environment::ForWorkstation(std::unique_ptr<Workstation> workstation, ProgramInfo program,
                                        bool interactive) {
  Environment env(std::move(workstation), std::make_shared<SystemClock>(), std::move(program), nullptr);
  // The launcher resolves paths on the environment's own workstation, which only exists now.
  env.launcher_ = std::make_shared<DesktopLauncher>(*env.workstation_, interactive);
  return env;
}

Environment Environment::ForWorkstation(std::filesystem::path workstationRoot, ProgramInfo program,
                                        bool interactive) {
  return ForWorkstation(std::make_unique<FolderWorkstation>(std::move(workstationRoot)), std::move(program),
                        interactive);
}

Environment Environment::ForTests(std::filesystem::path workstationRoot, DateTime now, ProgramInfo program) {
  return Environment(std::move(workstationRoot), std::make_shared<FixedClock>(now), std::move(program),
                     std::make_shared<RecordingLauncher>());
}

}  // namespace platform
