// The machine's own file system and clock, one implementation per system (posix_* and win32_*
// files); services.cpp assembles them with the random source.
#pragma once

#include "os/clock.h"
#include "os/file.h"

namespace os {

FileSystem& system_file_system();
Clock& system_clock();

}  // namespace os
