// The operating-system services one database (or one program) works with.
#pragma once

#include "os/clock.h"
#include "os/file.h"

namespace os {

struct Services {
  FileSystem* files;
  Clock* clock;
  Random* random;
};

// The machine's own file system, local clock and random source.
const Services& system_services();

}  // namespace os
