// The image readers' fuzzing harness, shared by bmp_fuzzer and tiff_fuzzer:
// feeds arbitrary bytes to CImage::Load as an image file whose name (input.bmp
// or input.tif) picks the reader. The reader takes a path, so each input is
// written to an in-memory file (memfd) that is reached through
// a symbolic link of that name in a private directory (in $TMPDIR,
// else /tmp), created once per process and removed at exit. Every byte of a
// loaded block is checked (see TouchBlock), so that a block smaller than the
// reported size shows up as a heap overflow.
#include <sanitizer/asan_interface.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "image_fuzzer.h"
#include "selvora/image/image.h"

namespace {

std::string g_dir;
std::string g_path;
int g_fd = -1;

void RemoveScratchFile() {
    if (!g_path.empty()) unlink(g_path.c_str());
    if (!g_dir.empty()) rmdir(g_dir.c_str());
    if (g_fd >= 0) close(g_fd);
}

bool WriteInput(const std::uint8_t* data, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = pwrite(g_fd, data + done, size - done, static_cast<off_t>(done));
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return ftruncate(g_fd, static_cast<off_t>(size)) == 0;
}

// Every byte of the block must lie inside one live allocation: AddressSanitizer
// checks that from its shadow memory, and a byte that fails is then read, which
// gives the full heap-overflow report. Blocks up to kReadLimit bytes are also
// read byte for byte; larger ones (a few header bytes can ask for up to 2 GiB of
// mostly untouched memory) would make each input take seconds.
constexpr std::size_t kReadLimit = std::size_t{16} << 20;

__attribute__((no_sanitize("coverage"))) void TouchBlock(const unsigned char* p, std::size_t n) {
    if (const void* bad = __asan_region_is_poisoned(const_cast<unsigned char*>(p), n)) {
        volatile unsigned char byte = *static_cast<const unsigned char*>(bad);
        (void)byte;
    }
    if (n > kReadLimit) return;
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < n; ++i) sum += p[i];
    volatile std::uint64_t sink = sum;
    (void)sink;
}

}  // namespace

namespace selvora_fuzz {

void PrepareImageFile(const char* name) {
    const char* tmp = std::getenv("TMPDIR");
    std::string dir = std::string(tmp && *tmp ? tmp : "/tmp") + "/selvora-fuzz-XXXXXX";
    g_fd = memfd_create(name, 0);
    if (g_fd < 0 || !mkdtemp(&dir[0])) std::abort();
    g_dir = dir;
    g_path = dir + "/" + name;
    const std::string target = "/proc/self/fd/" + std::to_string(g_fd);
    if (symlink(target.c_str(), g_path.c_str()) != 0) std::abort();
    std::atexit(RemoveScratchFile);
}

int LoadImageInput(const std::uint8_t* data, std::size_t size, int loadedType) {
    if (!WriteInput(data, size)) std::abort();
    CImage image;
    if (image.Load(g_path.c_str()) != 1) return 0;
    if (image.GetType() != loadedType) std::abort();  // loaded by the other reader
    const std::int64_t width = image.GetWidth();
    const std::int64_t height = image.GetHeight();
    const auto* bits = static_cast<const unsigned char*>(image.GetBitsPtr());
    if (width <= 0 || height <= 0) return 0;
    if (!bits) std::abort();  // a loaded, non-empty image must have a block
    TouchBlock(bits, static_cast<std::size_t>(width * height * 3));
    return 0;
}

}  // namespace selvora_fuzz
