#include "platform/clock.h"

#include <chrono>
#include <cstdio>

#include "os/services.h"

namespace platform {
namespace {

std::string twoDigits(int value) {
  char text[16];
  std::snprintf(text, sizeof text, "%02d", value);
  return text;
}

}  // namespace

DateTime SystemClock::Now() const {
  const os::LocalTime t = os::system_services().clock->now();
  return {t.year, t.month, t.day, t.hour, t.minute, t.second};
}

void FixedClock::advanceSeconds(long seconds) {
  using namespace std::chrono;
  const sys_days day = year_month_day(year(now_.year), month(static_cast<unsigned>(now_.month)),
                                      std::chrono::day(static_cast<unsigned>(now_.day)));
  const auto moved = sys_seconds(day) + hours(now_.hour) + minutes(now_.minute) +
                     std::chrono::seconds(now_.second) + std::chrono::seconds(seconds);
  const sys_days newDay = floor<days>(moved);
  const year_month_day ymd(newDay);
  const hh_mm_ss<std::chrono::seconds> tod(moved - newDay);
  now_ = {static_cast<int>(ymd.year()), static_cast<int>(static_cast<unsigned>(ymd.month())),
          static_cast<int>(static_cast<unsigned>(ymd.day())), static_cast<int>(tod.hours().count()),
          static_cast<int>(tod.minutes().count()), static_cast<int>(tod.seconds().count())};
}

std::string Format(const DateTime& t, std::string_view pattern) {
  std::string out;
  bool afterHour = false;  // "m" right after an hour token means minutes, as VB reads it
  for (std::size_t i = 0; i < pattern.size();) {
    const char c = static_cast<char>(pattern[i] | 0x20);
    std::size_t run = 1;
    while (i + run < pattern.size() && static_cast<char>(pattern[i + run] | 0x20) == c) ++run;
    switch (c) {
      case 'y':
        out += run >= 3 ? std::to_string(t.year) : twoDigits(t.year % 100);
        afterHour = false;
        break;
      case 'm':
        out += run >= 2 ? twoDigits(afterHour ? t.minute : t.month) : std::to_string(afterHour ? t.minute : t.month);
        afterHour = false;
        break;
      case 'd':
        out += run >= 2 ? twoDigits(t.day) : std::to_string(t.day);
        afterHour = false;
        break;
      case 'h':
        out += run >= 2 ? twoDigits(t.hour) : std::to_string(t.hour);
        afterHour = true;
        break;
      case 'n':
        out += run >= 2 ? twoDigits(t.minute) : std::to_string(t.minute);
        afterHour = false;
        break;
      case 's':
        out += run >= 2 ? twoDigits(t.second) : std::to_string(t.second);
        afterHour = false;
        break;
      default:
        out.append(pattern.substr(i, run));
        break;
    }
    i += run;
  }
  return out;
}

std::string DateText(const DateTime& t) { return Format(t, "dd/mm/yyyy"); }
std::string TimeText(const DateTime& t) { return Format(t, "hh:nn:ss"); }

}  // namespace platform
