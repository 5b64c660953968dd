// Starting programs on a Linux desktop, for a workstation held in a folder.
#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>

#include "platform/error.h"
#include "platform/localfs.h"
#include "platform/program.h"
#include "platform/vbstring.h"
#include "platform/workstation.h"

extern char** environ;

namespace platform {
namespace {

// Runs `command` through the shell with `argument` as "$1"; waits for it when `wait`.
bool spawnShell(const std::string& command, const std::string& argument, bool wait) {
  const std::string script = command + " \"$1\"";
  const char* argv[] = {"sh", "-c", script.c_str(), "sh", argument.c_str(), nullptr};
  pid_t pid = 0;
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  if (!wait) posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
  const int rc = posix_spawn(&pid, "/bin/sh", nullptr, &attributes, const_cast<char* const*>(argv), environ);
  posix_spawnattr_destroy(&attributes);
  if (rc != 0) return false;
  if (wait) {
    int status = 0;
    waitpid(pid, &status, 0);
  }
  return true;
}

std::string quoted(const std::string& text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

const char* environment(const char* name) {
  const char* value = std::getenv(name);
  return value && *value ? value : nullptr;
}

}  // namespace

DesktopLauncher::DesktopLauncher(const Workstation& workstation, bool interactive)
    : workstation_(&workstation), interactive_(interactive) {}

double DesktopLauncher::Shell(std::string_view pathName, int /*windowStyle*/) {
  const std::string text = Trim(pathName);
  const auto blank = text.find(' ');
  const std::string program = text.substr(0, blank);
  const std::string argument = blank == std::string::npos ? std::string() : text.substr(blank + 1);
  if (program.empty()) throw Error(ErrorCode::FileNotFound);
  if (!interactive_) return ++lastTask_;

  const bool editor = EqualsNoCase(program, "notepad.exe") || EqualsNoCase(program, "notepad");
  std::string local = argument;
  if (!argument.empty() && ParseWinPath(argument)) local = localfs::toUtf8(workstation_->resolve(argument).local);
  bool started = false;
  if (editor) {
    const bool desktop = environment("DISPLAY") || environment("WAYLAND_DISPLAY");
    if (const char* visual = environment("VISUAL")) started = spawnShell(visual, local, !desktop);
    else if (desktop) started = spawnShell("xdg-open", local, false);
    else if (const char* plain = environment("EDITOR")) started = spawnShell(plain, local, true);
    else started = spawnShell("xdg-open", local, false);
  } else {
    const ResolvedPath target = workstation_->resolve(program);
    if (!target.isFile()) throw Error(ErrorCode::FileNotFound);
    started = spawnShell(quoted(localfs::toUtf8(target.local)), local, false);
  }
  if (!started) throw Error(ErrorCode::FileNotFound);
  return ++lastTask_;
}

void DesktopLauncher::AppActivate(double taskId) {
  // The Linux desktop raises a newly opened window itself; only an unknown task is an error.
  if (taskId <= 0 || taskId > lastTask_) throw Error(ErrorCode::InvalidProcedureCall);
}

}  // namespace platform
