// Tests of real windows need a desktop: under Wine a display (scripts/windows-tests starts
// Xvfb and sets QUELIS_NEED_WINDOWS=1, so that a missing display fails there instead of
// skipping quietly).
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/ui/win32_front_end.h"

#define QUELIS_NEEDS_WINDOWS()                                                               \
  do {                                                                                       \
    if (!platform::ui::Win32FrontEnd::windowsAvailable()) {                                  \
      if (std::getenv("QUELIS_NEED_WINDOWS")) FAIL() << "no desktop to draw windows on";     \
      GTEST_SKIP() << "no desktop to draw windows on (under Wine: no display)";              \
    }                                                                                        \
  } while (false)
