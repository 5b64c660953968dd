// The Windows machine the program runs on, as a Workstation: Windows paths are the machine's
// own, drive types, INI files and the registry are the system's (Windows build only).
#pragma once

#include <memory>
#include <string>

#include "platform/workstation.h"

namespace platform {

// Registry values are read in the 32-bit view of the registry: the application is a 32-bit
// program, so on 64-bit Windows its HKEY_LOCAL_MACHINE\SOFTWARE values live there.
std::unique_ptr<Workstation> ThisMachine();

// The folder of the running program, as a Windows path ("C:\QUELIS").
std::string ProgramFolder();

// The console shows the program's UTF-8 output as text, accents included.
void ShowUtf8OnConsole();

}  // namespace platform
