// A file written beside the one it will replace and moved into its place only
// once complete, so that a failed download never damages the old file.
#pragma once

#include <cstddef>
#include <string>

namespace selvora {
namespace net {

class ScratchFile {
  public:
    ScratchFile() = default;
    ~ScratchFile() { Discard(); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    // Creates a new, empty file "<target>.part-<process>-<n>" that no other
    // file had; false when none could be made.
    bool Create(const std::string& target);
    bool Write(const char* bytes, std::size_t length);
    // Closes the file and moves it over target, replacing any file there.
    bool Replace(const std::string& target);
    // Closes and removes the file, if one is open.
    void Discard();
    bool IsOpen() const { return handle_ >= 0; }

  private:
    int handle_ = -1;
    std::string path_;
};

}  // namespace net
}  // namespace selvora
