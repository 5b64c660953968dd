#include <windows.h>

#include "os/system_parts.h"

namespace os {
namespace {

class LocalClock final : public Clock {
 public:
  LocalTime now() const override {
    SYSTEMTIME t{};
    ::GetLocalTime(&t);
    return {t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute, t.wSecond};
  }
};

}  // namespace

// The Windows heap hands blocks of more than half a megabyte straight back to the system.
void return_freed_memory_at_once() {}

Clock& system_clock() {
  static LocalClock clock;
  return clock;
}

}  // namespace os
