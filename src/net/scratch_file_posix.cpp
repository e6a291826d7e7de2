// The scratch file of a download on POSIX: an exclusive open, then rename(2),
// which replaces the target in one step.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>

#include "net/scratch_file.h"

namespace selvora {
namespace net {

bool ScratchFile::Create(const std::string& target) {
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100 && handle_ < 0; ++attempt) {
        path_ = target + ".part-" + std::to_string(::getpid()) + "-" + std::to_string(counter++);
        // 0666 less the umask, as a file made by fopen would have.
        handle_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (handle_ < 0 && errno != EEXIST) break;
    }
    if (handle_ < 0) path_.clear();
    return handle_ >= 0;
}

bool ScratchFile::Write(const char* bytes, std::size_t length) {
    while (length > 0) {
        const ssize_t n = ::write(handle_, bytes, length);
        if (n <= 0) return false;
        bytes += n;
        length -= static_cast<std::size_t>(n);
    }
    return true;
}

bool ScratchFile::Replace(const std::string& target) {
    const bool closed = ::close(handle_) == 0;
    handle_ = -1;
    if (!closed || std::rename(path_.c_str(), target.c_str()) != 0) return false;
    path_.clear();
    return true;
}

void ScratchFile::Discard() {
    if (handle_ >= 0) ::close(handle_);
    handle_ = -1;
    if (!path_.empty()) std::remove(path_.c_str());
    path_.clear();
}

}  // namespace net
}  // namespace selvora
