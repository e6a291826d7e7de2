// Caps a process's address space, so that the allocations after the cap fail.
#pragma once

#include <gtest/gtest.h>

#ifdef _WIN32
// A job object's memory limit would do on Windows, but Wine accepts the limit
// without enforcing it: the out-of-memory tests skip there.
#define SELVORA_SKIP_WITHOUT_ADDRESS_SPACE_CAP() \
    GTEST_SKIP() << "no memory cap under Wine (a job object's limit is not enforced)"
#else
#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>

#define SELVORA_SKIP_WITHOUT_ADDRESS_SPACE_CAP() static_cast<void>(0)

namespace selvora_test {

// Caps the address space at what the process uses now plus `headroom` bytes.
inline void CapAddressSpace(rlim_t headroom) {
    long pages = 0;
    FILE* statm = std::fopen("/proc/self/statm", "r");
    if (!statm || std::fscanf(statm, "%ld", &pages) != 1) std::abort();
    std::fclose(statm);
    const rlim_t limit = static_cast<rlim_t>(pages) * 4096 + headroom;
    const rlimit cap{limit, limit};
    if (setrlimit(RLIMIT_AS, &cap) != 0) std::abort();
}

}  // namespace selvora_test
#endif
