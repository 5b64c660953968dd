// Runs the built quelis-maj program and captures what it prints.
#pragma once

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace app_test {

namespace fs = std::filesystem;

inline fs::path Binary() { return fs::path(QUELIS_BINARY_DIR) / "src" / "app" / "quelis-maj"; }

struct Outcome {
  int status = -1;     // exit status
  std::string output;  // stdout and stderr together
};

// `arguments` are passed through the shell: quote them. `launcher`, when given, is a command
// that runs the program (setpriv...).
inline Outcome RunBinary(const std::string& arguments, const std::string& launcher = "") {
  Outcome run;
  const std::string command = launcher + (launcher.empty() ? "" : " ") + "'" + Binary().string() + "' " + arguments + " 2>&1";
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return run;
  std::array<char, 4096> buffer{};
  std::size_t n;
  while ((n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0) run.output.append(buffer.data(), n);
  const int raw = pclose(pipe);
  run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return run;
}

inline fs::path TempFolder(const char* stem) {
  std::string pattern = (fs::temp_directory_path() / (std::string(stem) + "-XXXXXX")).string();
  return mkdtemp(pattern.data());
}

}  // namespace app_test
