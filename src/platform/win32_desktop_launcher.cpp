// Starting programs on Windows: VB's Shell is CreateProcess on the command line as written,
// AppActivate brings the started program's window to the front.
#include <windows.h>

#include <algorithm>
#include <vector>

#include "os/win32_text.h"
#include "platform/error.h"
#include "platform/localfs.h"
#include "platform/program.h"
#include "platform/vbstring.h"
#include "platform/workstation.h"

namespace platform {
namespace {

WORD showCommand(int windowStyle) {
  switch (windowStyle) {
    case vbHide: return SW_HIDE;
    case vbMinimizedFocus: return SW_SHOWMINIMIZED;
    case vbMaximizedFocus: return SW_SHOWMAXIMIZED;
    case 4: return SW_SHOWNOACTIVATE;   // vbNormalNoFocus
    case 6: return SW_SHOWMINNOACTIVE;  // vbMinimizedNoFocus
    default: return SW_SHOWNORMAL;
  }
}

// Starts `commandLine`; the process id, or 0 when Windows refuses.
DWORD start(const std::wstring& commandLine, int windowStyle) {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = showCommand(windowStyle);
  PROCESS_INFORMATION process{};
  std::wstring buffer = commandLine;  // CreateProcessW may write into its command line
  if (!::CreateProcessW(nullptr, buffer.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
    return 0;
  // Like VB, return once the program can take input, so that AppActivate finds its window.
  ::WaitForInputIdle(process.hProcess, 5000);
  ::CloseHandle(process.hThread);
  ::CloseHandle(process.hProcess);
  return process.dwProcessId;
}

struct WindowSearch {
  DWORD process;
  HWND found = nullptr;
};

BOOL CALLBACK visitWindow(HWND window, LPARAM data) {
  auto* search = reinterpret_cast<WindowSearch*>(data);
  DWORD owner = 0;
  ::GetWindowThreadProcessId(window, &owner);
  if (owner == search->process && ::IsWindowVisible(window)) {
    search->found = window;
    return FALSE;
  }
  return TRUE;
}

}  // namespace

DesktopLauncher::DesktopLauncher(const Workstation& workstation, bool interactive)
    : workstation_(&workstation), interactive_(interactive) {}

double DesktopLauncher::Shell(std::string_view pathName, int windowStyle) {
  const std::string text = Trim(pathName);
  const auto blank = text.find(' ');
  const std::string program = text.substr(0, blank);
  const std::string argument = blank == std::string::npos ? std::string() : text.substr(blank + 1);
  if (program.empty()) throw Error(ErrorCode::FileNotFound);
  if (!interactive_) return ++lastTask_;

  // The argument names a file of the workstation: on a workstation held in a folder, the
  // program must be given the file's real place.
  std::string local = argument;
  if (!argument.empty() && ParseWinPath(argument)) local = localfs::toUtf8(workstation_->resolve(argument).local);
  std::wstring commandLine;
  if (EqualsNoCase(program, "notepad.exe") || EqualsNoCase(program, "notepad")) {
    commandLine = L"notepad.exe";
  } else {
    const ResolvedPath target = workstation_->resolve(program);
    if (!target.isFile()) throw Error(ErrorCode::FileNotFound);
    commandLine = L"\"" + target.local.wstring() + L"\"";
  }
  if (!local.empty()) commandLine += L" \"" + os::widen(local) + L"\"";
  const DWORD process = start(commandLine, windowStyle);
  if (process == 0) throw Error(ErrorCode::FileNotFound);
  lastTask_ = process;
  return process;
}

void DesktopLauncher::AppActivate(double taskId) {
  // Only a task this launcher started (or counted, when silent) can be activated.
  if (taskId <= 0 || (!interactive_ && taskId > lastTask_)) throw Error(ErrorCode::InvalidProcedureCall);
  if (!interactive_) return;
  WindowSearch search{static_cast<DWORD>(taskId)};
  ::EnumWindows(visitWindow, reinterpret_cast<LPARAM>(&search));
  if (!search.found) throw Error(ErrorCode::InvalidProcedureCall);
  ::SetForegroundWindow(search.found);
}

}  // namespace platform
