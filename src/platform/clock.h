// The clock the program reads (VB's Now, Date, Time) and the formats it writes them in.
// Injectable so that tests fix the date and time.
#pragma once

#include <string>
#include <string_view>

namespace platform {

struct DateTime {
  int year = 2000, month = 1, day = 1;
  int hour = 0, minute = 0, second = 0;
  bool operator==(const DateTime&) const = default;
};

class Clock {
 public:
  virtual ~Clock() = default;
  virtual DateTime Now() const = 0;
};

// The machine's local time.
class SystemClock : public Clock {
 public:
  DateTime Now() const override;
};

// A time that moves only when told to.
class FixedClock : public Clock {
 public:
  explicit FixedClock(DateTime now) : now_(now) {}
  DateTime Now() const override { return now_; }
  void set(DateTime now) { now_ = now; }
  void advanceSeconds(long seconds);  // normalizes minutes, hours, days, months, years

 private:
  DateTime now_;
};

// VB's Format for dates with the named patterns the program uses and their pieces:
// yyyy, yy, mm (minutes right after h/hh, month otherwise), m, dd, d, hh, h, nn, n, ss, s;
// any other character is copied. Format(t, "yyyymmdd") -> "20130115", "hhmmss" -> "143005".
std::string Format(const DateTime& time, std::string_view pattern);

// The short date and the time a French workstation shows: "15/01/2013" and "14:30:05"
// (VB's Date and Time turned into text).
std::string DateText(const DateTime& time);
std::string TimeText(const DateTime& time);

}  // namespace platform
