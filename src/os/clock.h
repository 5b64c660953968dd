// The local date and time and a source of random numbers, injected wherever the engine or the
// program stamps a date or draws an identifier, so that tests can fix them.
#pragma once

#include <cstdint>

namespace os {

struct LocalTime {
  int year = 2000, month = 1, day = 1;
  int hour = 0, minute = 0, second = 0;
  bool operator==(const LocalTime&) const = default;
};

class Clock {
 public:
  virtual ~Clock() = default;
  virtual LocalTime now() const = 0;
};

class Random {
 public:
  virtual ~Random() = default;
  virtual std::uint64_t next() = 0;
};

}  // namespace os
