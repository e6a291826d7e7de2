// What the tests need to know of the platform they run on.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <string>

namespace selvora_test {

// True when the test runs under Wine rather than Windows.
bool RunningUnderWine();

// The process's environment: a variable set, replacing its value, or removed.
void SetEnv(const std::string& name, const std::string& value);
void UnsetEnv(const std::string& name);

// Runs body(argument) on a new thread whose stack reserves \p bytes, and
// waits for it to end.
void RunOnThreadWithStack(std::size_t bytes, void (*body)(void*), void* argument);

// Whether such a thread's stack is as small as asked (to the page). Under
// Wine a small stack comes out larger than asked.
bool ThreadStacksAreAsAsked();

#ifdef _WIN32
// The running program's own path.
std::filesystem::path ThisProgram();
// The path of a file in the folder of the running program.
std::string BesideThisProgram(const std::string& fileName);
#endif

}  // namespace selvora_test

// What WinINet decides by itself (how it reads a response, how it follows a
// redirect) the library leaves to it: a test of such a rule stops on Windows.
#ifdef _WIN32
#define SELVORA_SKIP_ON_WINDOWS(why) GTEST_SKIP() << why
#else
#define SELVORA_SKIP_ON_WINDOWS(why) static_cast<void>(0)
#endif

// Where Wine differs from what Windows documents, the test stops under Wine
// and says how; the library keeps to Windows.
#define SELVORA_SKIP_UNDER_WINE(how)         \
    if (!selvora_test::RunningUnderWine()) { \
    } else                                   \
        GTEST_SKIP() << "under Wine: " << how
