#include <ctime>

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

Clock& system_clock() {
  static LocalClock clock;
  return clock;
}

}  // namespace os
