// Everything the application receives from its machine, in one object: the workstation (files,
// drives, INI, registry), the clock, the program's identity and the program launcher. The
// application's main builds one over the real workstation folder; tests build one over a
// temporary folder with a fixed clock and a recording launcher.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "platform/clock.h"
#include "platform/fso.h"
#include "platform/program.h"
#include "platform/registry.h"
#include "platform/vbfiles.h"
#include "platform/workstation.h"

namespace platform {

// "WScript.Shell": the operations the program uses. RegRead reads the workstation's registry
// (registry.h for values, types and errors).
class WScriptShell {
 public:
  explicit WScriptShell(const Workstation& workstation) : workstation_(&workstation) {}
  std::string RegRead(std::string_view name) const;

 private:
  const Workstation* workstation_;
};

class Environment {
 public:
  Environment(std::unique_ptr<Workstation> workstation, std::shared_ptr<Clock> clock,
              ProgramInfo program, std::shared_ptr<ProcessLauncher> launcher);
  // The same on a workstation held in a folder.
  Environment(std::filesystem::path workstationRoot, std::shared_ptr<Clock> clock,
              ProgramInfo program, std::shared_ptr<ProcessLauncher> launcher);

  // A real run: the machine's clock and a DesktopLauncher bound to this environment's own
  // workstation (which starts programs only when `interactive`).
  static Environment ForWorkstation(std::filesystem::path workstationRoot, ProgramInfo program,
                                    bool interactive);
  static Environment ForWorkstation(std::unique_ptr<Workstation> workstation, ProgramInfo program,
                                    bool interactive);

  // A FixedClock at `now`, a RecordingLauncher and `program` (App.Path "C:\QUELIS" by default).
  static Environment ForTests(std::filesystem::path workstationRoot, DateTime now,
                              ProgramInfo program = {});

  const Workstation& workstation() const { return *workstation_; }
  Clock& clock() const { return *clock_; }
  const ProgramInfo& program() const { return program_; }
  ProcessLauncher& launcher() const { return *launcher_; }
  // The VB statements keep Dir's listing, hence one object per environment.
  VbFiles& files() { return files_; }

  // CreateObject("Scripting.FileSystemObject") and CreateObject("WScript.Shell").
  FileSystemObject CreateFileSystemObject() const { return FileSystemObject(*workstation_); }
  WScriptShell CreateShell() const { return WScriptShell(*workstation_); }

  // VB's Now, and Date / Time as a French workstation shows them in text.
  DateTime Now() const { return clock_->Now(); }
  std::string Date() const { return DateText(clock_->Now()); }
  std::string Time() const { return TimeText(clock_->Now()); }

  // Win32 calls the program declares (forwarded to the workstation).
  unsigned GetDriveTypeA(std::string_view root) const { return workstation_->GetDriveTypeA(root); }
  long GetPrivateProfileStringA(std::string_view section, std::string_view key,
                                std::string_view defaultValue, std::string& returnedString,
                                long size, std::string_view fileName) const {
    return workstation_->GetPrivateProfileStringA(section, key, defaultValue, returnedString,
                                                  size, fileName);
  }
  bool WritePrivateProfileStringA(std::string_view section, std::string_view key,
                                  std::string_view value, std::string_view fileName) const {
    return workstation_->WritePrivateProfileStringA(section, key, value, fileName);
  }

  // VB's Shell and AppActivate through the launcher.
  double Shell(std::string_view pathName, int windowStyle) const {
    return launcher_->Shell(pathName, windowStyle);
  }
  void AppActivate(double taskId) const { launcher_->AppActivate(taskId); }

 private:
  // Held by pointer so that the objects handed out (FileSystemObject, Folder, File...) stay
  // valid when the environment is moved.
  std::unique_ptr<Workstation> workstation_;
  std::shared_ptr<Clock> clock_;
  ProgramInfo program_;
  std::shared_ptr<ProcessLauncher> launcher_;
  VbFiles files_;
};

}  // namespace platform
