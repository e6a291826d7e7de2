// The scratch file of a download on Windows: an exclusive open, then
// MoveFileExW, which replaces the target in one step (rename does not).
#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <sys/stat.h>
#include <windows.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string>

#include "net/scratch_file.h"

namespace selvora {
namespace net {

namespace {

// A path in the process code page, as the C runtime takes it, in UTF-16.
std::wstring Wide(const std::string& path) {
    const int n = MultiByteToWideChar(CP_ACP, 0, path.c_str(), -1, nullptr, 0);
    if (n <= 0) return std::wstring();
    std::wstring wide(static_cast<std::size_t>(n), L'\0');
    MultiByteToWideChar(CP_ACP, 0, path.c_str(), -1, &wide[0], n);
    wide.resize(static_cast<std::size_t>(n - 1));
    return wide;
}

}  // namespace

bool ScratchFile::Create(const std::string& target) {
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100 && handle_ < 0; ++attempt) {
        path_ = target + ".part-" + std::to_string(_getpid()) + "-" + std::to_string(counter++);
        handle_ = _open(path_.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT,
                        _S_IREAD | _S_IWRITE);
        if (handle_ < 0 && errno != EEXIST) break;
    }
    if (handle_ < 0) path_.clear();
    return handle_ >= 0;
}

bool ScratchFile::Write(const char* bytes, std::size_t length) {
    while (length > 0) {
        const unsigned chunk = length > 0x40000000u ? 0x40000000u : static_cast<unsigned>(length);
        const int n = _write(handle_, bytes, chunk);
        if (n <= 0) return false;
        bytes += n;
        length -= static_cast<std::size_t>(n);
    }
    return true;
}

bool ScratchFile::Replace(const std::string& target) {
    const bool closed = _close(handle_) == 0;
    handle_ = -1;
    if (!closed) return false;
    const std::wstring from = Wide(path_), to = Wide(target);
    if (from.empty() || to.empty() ||
        !MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        return false;
    path_.clear();
    return true;
}

void ScratchFile::Discard() {
    if (handle_ >= 0) _close(handle_);
    handle_ = -1;
    if (!path_.empty()) std::remove(path_.c_str());
    path_.clear();
}

}  // namespace net
}  // namespace selvora
