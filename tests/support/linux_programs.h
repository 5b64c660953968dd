// Tests that compare the engine's files with what mdbtools reads, or that run the `jet`
// command-line program, start those Linux programs through /bin/sh. The Windows build of the
// tests, run under Wine, has neither: those tests are skipped there, saying why, and run on
// Linux. (scripts/windows-engine-check runs jet.exe under Wine against the Linux build.)
#pragma once

#include <gtest/gtest.h>

#ifdef _WIN32
#define QUELIS_NEEDS_MDBTOOLS() \
  GTEST_SKIP() << "compares with mdbtools, a Linux program the Windows build cannot run"
#define QUELIS_NEEDS_JET_PROGRAM() \
  GTEST_SKIP() << "runs the jet program through /bin/sh, which the Windows build does not have"
#else
#define QUELIS_NEEDS_MDBTOOLS() static_cast<void>(0)
#define QUELIS_NEEDS_JET_PROGRAM() static_cast<void>(0)
#endif
