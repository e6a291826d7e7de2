// What the tests need to know of the platform they run on.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace selvora_test {

// True when the test runs under Wine rather than Windows.
bool RunningUnderWine();

#ifdef _WIN32
// The path of a file in the folder of the running program.
std::string BesideThisProgram(const std::string& fileName);
#endif

}  // namespace selvora_test

// The expected bits of some angles and samples are glibc's sin, cos and atan2
// (the library takes them from the C runtime: glibc on Linux, msvcrt.dll on
// Windows). Where another C runtime rounds the call differently in the last
// bit, the rest of the test is skipped there, naming the call.
#ifdef _WIN32
#define SELVORA_SKIP_UNLESS_GLIBC_MATHS(call)                                        \
    GTEST_SKIP() << "msvcrt's " << call << " differs from glibc's in the last bit; " \
                 << "the expected bits are glibc's (see README, Windows)"
#else
#define SELVORA_SKIP_UNLESS_GLIBC_MATHS(call) static_cast<void>(0)
#endif

// Some tests run each call in a forked child process, to see it end by a
// signal or run past an alarm. Windows has no fork: those tests have no
// Windows version yet and skip there.
#ifdef _WIN32
#define SELVORA_SKIP_WITHOUT_FORK() \
    GTEST_SKIP() << "runs each call in a forked child process; no Windows version yet"
#endif
