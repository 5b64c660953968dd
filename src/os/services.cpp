#include "os/services.h"

#include <random>

#include "os/system_parts.h"

namespace os {
namespace {

// Seeded once from the system's entropy; identifiers need uniqueness, not secrecy.
class SeededRandom final : public Random {
 public:
  std::uint64_t next() override {
    thread_local std::mt19937_64 engine{std::random_device{}()};
    return engine();
  }
};

const Services* override_in_force = nullptr;

}  // namespace

const Services& system_services() {
  if (override_in_force) return *override_in_force;
  static SeededRandom random;
  static const Services services{&system_file_system(), &system_clock(), &random};
  return services;
}

ServicesOverride::ServicesOverride(const Services& services) : previous_(override_in_force) {
  override_in_force = &services;
}

ServicesOverride::~ServicesOverride() { override_in_force = previous_; }

}  // namespace os
