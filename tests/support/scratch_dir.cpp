#include "support/scratch_dir.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <system_error>

namespace selvora_test {

namespace fs = std::filesystem;

// create_directory() reports whether it made the directory, so a name another
// process took meanwhile is never shared: the next suffix is tried.
ScratchDir::ScratchDir(const std::string& prefix) {
    std::random_device seed;
    std::mt19937_64 rng((std::uint64_t{seed()} << 32) ^ seed());
    const fs::path base = fs::path(::testing::TempDir());
    for (int attempt = 0; attempt < 100; ++attempt) {
        const fs::path candidate = base / (prefix + "-" + std::to_string(rng() % 1000000000));
        std::error_code ec;
        if (fs::create_directory(candidate, ec) && !ec) {
            path_ = candidate;
            return;
        }
    }
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    if (!path_.empty()) fs::remove_all(path_, ignored);
}

}  // namespace selvora_test
