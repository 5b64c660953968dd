#include <ctime>
#include <random>

#include "os/posix_file_system.h"
#include "os/services.h"

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
  static PosixFileSystem files;
  static LocalClock clock;
  static SeededRandom random;
  static const Services services{&files, &clock, &random};
  return services;
}

}  // namespace os
