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

// The machine's own file system, local clock and random source, unless a ServicesOverride
// is in force.
const Services& system_services();

// Makes the allocator give large blocks back to the system as soon as they are freed. Called
// once by each program at its start: the engine's helper threads allocate and free large
// sort buffers, which the C library of Linux would otherwise keep in per-thread heaps and
// reuse for small blocks, growing the program's memory by a fifth.
void return_freed_memory_at_once();

// While it lives, system_services() returns `services` instead of the machine's: a whole
// program (engine, platform, pipeline) then runs over a failing disk or a fixed clock without
// each layer having to carry the services. For tests; one at a time, on the thread that runs
// the program, and nothing opened under it may outlive it.
class ServicesOverride {
 public:
  explicit ServicesOverride(const Services& services);
  ~ServicesOverride();
  ServicesOverride(const ServicesOverride&) = delete;
  ServicesOverride& operator=(const ServicesOverride&) = delete;

 private:
  const Services* previous_;
};

}  // namespace os
