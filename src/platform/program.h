// The running program as VB sees it: App.Path, the version resource (App.Major, App.Minor,
// App.Revision), Command$, starting another program (Shell, AppActivate) and ending (End).
#pragma once

#include <exception>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

class Workstation;

// The version resource of this build: 4.4 revision 3 (the revision carries the last two
// numbers of "4.4.0.3" as 100 * 0 + 3).
inline constexpr int kVersionMajor = 4;
inline constexpr int kVersionMinor = 4;
inline constexpr int kVersionRevision = 3;

struct ProgramInfo {
  // App.Path: the program's folder as a Windows path. VB gives it without a trailing "\"
  // (except for a root); the program appends one itself.
  std::string Path = "C:\\QUELIS";
  int Major = kVersionMajor;
  int Minor = kVersionMinor;
  int Revision = kVersionRevision;
  std::string Command;  // Command$: the arguments after the program name, as typed
};

// VB's End: thrown by End(), caught by the program's main, which then exits. Nothing else
// should catch it (catch (const platform::Error&) does not).
class ProgramEnd : public std::exception {
 public:
  const char* what() const noexcept override { return "fin du programme"; }
};
[[noreturn]] void End();

// Window styles of Shell (vbAppWinStyle).
enum WindowStyle : int { vbHide = 0, vbNormalFocus = 1, vbMinimizedFocus = 2, vbMaximizedFocus = 3 };

// Starting programs. Shell returns the task id AppActivate takes; a program that cannot be
// started raises Error(FileNotFound) as VB's Shell does.
class ProcessLauncher {
 public:
  virtual ~ProcessLauncher() = default;
  virtual double Shell(std::string_view pathName, int windowStyle) = 0;
  virtual void AppActivate(double taskId) = 0;
};

// Records the calls instead of starting anything (tests, silent runs).
class RecordingLauncher : public ProcessLauncher {
 public:
  struct Call {
    std::string pathName;
    int windowStyle;
  };
  double Shell(std::string_view pathName, int windowStyle) override;
  void AppActivate(double taskId) override;

  const std::vector<Call>& calls() const { return calls_; }
  const std::vector<double>& activated() const { return activated_; }

 private:
  std::vector<Call> calls_;
  std::vector<double> activated_;
};

// Starts programs on the desktop. "notepad.exe <Windows path>" (the text after the first blank
// is one path, blanks included) opens the file, resolved on the workstation: on Windows in
// Notepad, on Linux with $VISUAL, else $EDITOR, else xdg-open, detached. Other commands: the
// first word is resolved as a Windows path and run with the rest as one argument. When not
// `interactive` nothing is started (the call is only counted) because nobody is there to see
// a window. On Windows the task id is the process id, as VB's Shell returns it.
class DesktopLauncher : public ProcessLauncher {
 public:
  DesktopLauncher(const Workstation& workstation, bool interactive);
  double Shell(std::string_view pathName, int windowStyle) override;
  void AppActivate(double taskId) override;

 private:
  const Workstation* workstation_;
  bool interactive_;
  double lastTask_ = 0;
};

}  // namespace platform
