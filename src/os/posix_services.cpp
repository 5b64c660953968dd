#include <ctime>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "os/system_parts.h"

namespace os {
namespace {

class LocalClock final : public Clock {
 public:
  LocalTime now() const override {
    const std::time_t t = std::time(nullptr);
    std::tm local{};
    localtime_r(&t, &local);
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec};
  }
};

}  // namespace

void return_freed_memory_at_once() {
#if defined(__GLIBC__)
  // Blocks of 1 MB and more are mapped and unmapped on their own; fixing the threshold also
  // stops it from rising with each large block freed.
  mallopt(M_MMAP_THRESHOLD, 1 << 20);
#endif
}

Clock& system_clock() {
  static LocalClock clock;
  return clock;
}

}  // namespace os
