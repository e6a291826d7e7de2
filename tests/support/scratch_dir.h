// A directory of the test's own for the files it writes, removed with all it
// holds when the object goes.
#pragma once

#include <filesystem>
#include <string>

namespace selvora_test {

class ScratchDir {
  public:
    // A new directory under the test temporary directory, named from the
    // prefix and a random suffix. Path() is empty when none could be made.
    explicit ScratchDir(const std::string& prefix);
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::filesystem::path& Path() const { return path_; }

  private:
    std::filesystem::path path_;
};

}  // namespace selvora_test
