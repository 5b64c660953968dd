#include <windows.h>

#include <random>

#include "os/services.h"
#include "os/win32_file_system.h"

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

// Seeded once from the system's entropy; identifiers need uniqueness, not secrecy.
class SeededRandom final : public Random {
 public:
  std::uint64_t next() override {
    thread_local std::mt19937_64 engine{std::random_device{}()};
    return engine();
  }
};

}  // namespace

const Services& system_services() {
  static Win32FileSystem files;
  static LocalClock clock;
  static SeededRandom random;
  static const Services services{&files, &clock, &random};
  return services;
}

}  // namespace os
