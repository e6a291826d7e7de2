// BMP reader: uncompressed 1, 4, 8 and 24-bit files whose information header
// has at least the 40 bytes of the first Windows version (the longer later
// versions included). The file is read sequentially in large pieces and
// decoded from memory; running out of data behaves exactly as a failed
// single-byte read would at that point of the file.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "image/readers.h"

namespace selvora {
namespace {

constexpr std::size_t kHeaderBytes = 54;  // 14-byte file header + 40-byte info header
constexpr std::uint32_t kMinInfoHeaderBytes = 40;
constexpr std::uint64_t kMaxBlockBytes = 0x7FFFFFFF;  // the block size must fit an int

std::uint16_t U16(const unsigned char* p) { return static_cast<std::uint16_t>(p[0] | (p[1] << 8)); }

std::uint32_t U32(const unsigned char* p) {
    return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
           (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

std::int32_t I32(const unsigned char* p) {
    const std::uint32_t u = U32(p);
    std::int32_t i;
    std::memcpy(&i, &u, sizeof i);
    return i;
}

// The file's bytes, read in large pieces. Running out of data here is what a
// failed read of the file would be: once the file has ended, every further
// request gets nothing more.
class Source {
  public:
    explicit Source(FILE* file) : file_(file) {}
    ~Source() { std::free(buffer_); }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    bool Open() {
        buffer_ = static_cast<unsigned char*>(std::malloc(kCapacity));
        return buffer_ != nullptr;
    }

    // Makes at least `want` (at most kCapacity) bytes available unless the
    // file ends first; returns how many are available.
    std::size_t Fill(std::size_t want) {
        std::size_t avail = end_ - pos_;
        if (avail >= want || ended_) return avail;
        std::memmove(buffer_, buffer_ + pos_, avail);
        pos_ = 0;
        end_ = avail;
        while (end_ < want && !ended_) {
            const std::size_t room = kCapacity - end_;
            const std::size_t got = std::fread(buffer_ + end_, 1, room, file_);
            end_ += got;
            if (got != room) ended_ = true;
        }
        return end_ - pos_;
    }

    // True once the file has ended and every byte of it was taken.
    bool Exhausted() const { return ended_ && pos_ == end_; }

    const unsigned char* Data() const { return buffer_ + pos_; }
    void Consume(std::size_t n) { pos_ += n; }

    // Drops up to n bytes; returns how many the file still had.
    std::uint64_t Skip(std::uint64_t n) {
        std::uint64_t done = 0;
        while (done < n) {
            const std::size_t avail = Fill(1);
            if (avail == 0) break;
            const std::uint64_t left = n - done;
            const std::size_t take = left < avail ? static_cast<std::size_t>(left) : avail;
            pos_ += take;
            done += take;
        }
        return done;
    }

    static constexpr std::size_t kCapacity = 1 << 18;

  private:
    FILE* file_;
    unsigned char* buffer_ = nullptr;
    std::size_t pos_ = 0;
    std::size_t end_ = 0;
    bool ended_ = false;
};

// Reads `height` rows of 24-bit pixels (B, G, R in the file) into the block as
// R, G, B. A pixel the file cannot supply in full is not written (it stays
// zero); the load fails only when a row's padding bytes are missing.
bool ReadRows24(Source& src, unsigned char* block, std::size_t width, std::size_t height,
                bool topDown) {
    const std::size_t rowBytes = width * 3;
    const std::size_t padding = (4 - rowBytes % 4) % 4;
    for (std::size_t r = 0; r < height; ++r) {
        // Past the end of the file every remaining pixel stays unwritten, and
        // a row that needs padding cannot get it.
        if (src.Exhausted()) return padding == 0;
        unsigned char* out = block + (topDown ? height - 1 - r : r) * rowBytes;
        std::size_t left = width;
        while (left > 0) {
            const std::size_t avail = src.Fill(3);
            if (avail < 3) {  // the file ends inside this pixel
                src.Consume(avail);
                break;
            }
            const std::size_t n = left < avail / 3 ? left : avail / 3;
            const unsigned char* in = src.Data();
            for (const unsigned char* end = in + 3 * n; in != end; in += 3, out += 3) {
                out[0] = in[2];
                out[1] = in[1];
                out[2] = in[0];
            }
            src.Consume(3 * n);
            left -= n;
        }
        if (padding) {
            if (src.Fill(padding) < padding) return false;
            src.Consume(padding);
        }
    }
    return true;
}

// Reads `height` rows of palette indices, most significant bits first, and
// stores their palette colours as R, G, B. Every byte of a row, padding
// included, must be there.
bool ReadRowsIndexed(Source& src, unsigned char* block, std::size_t width, std::size_t height,
                     unsigned bitsPerPixel, const unsigned char (*palette)[3], bool topDown) {
    const std::size_t rowBytes = width * 3;
    const std::size_t dataBytes = (width * bitsPerPixel + 7) / 8;
    const std::size_t padding = (4 - dataBytes % 4) % 4;
    const unsigned mask = (1u << bitsPerPixel) - 1;
    for (std::size_t r = 0; r < height; ++r) {
        unsigned char* out = block + (topDown ? height - 1 - r : r) * rowBytes;
        std::size_t pixelsLeft = width;
        std::size_t bytesLeft = dataBytes;
        while (bytesLeft > 0) {
            const std::size_t avail = src.Fill(1);
            if (avail == 0) return false;
            const std::size_t n = bytesLeft < avail ? bytesLeft : avail;
            const unsigned char* in = src.Data();
            if (bitsPerPixel == 8) {
                for (std::size_t i = 0; i < n; ++i, out += 3) {
                    const unsigned char* colour = palette[in[i]];
                    out[0] = colour[0];
                    out[1] = colour[1];
                    out[2] = colour[2];
                }
                pixelsLeft -= n;
            } else {
                for (std::size_t i = 0; i < n; ++i) {
                    const unsigned byte = in[i];
                    for (unsigned bitsLeft = 8; bitsLeft > 0 && pixelsLeft > 0; --pixelsLeft) {
                        bitsLeft -= bitsPerPixel;
                        const unsigned char* colour = palette[(byte >> bitsLeft) & mask];
                        out[0] = colour[0];
                        out[1] = colour[1];
                        out[2] = colour[2];
                        out += 3;
                    }
                }
            }
            src.Consume(n);
            bytesLeft -= n;
        }
        if (padding) {
            if (src.Fill(padding) < padding) return false;
            src.Consume(padding);
        }
    }
    return true;
}

// The open file and the pixel block, released on every way out.
struct Resources {
    FILE* file;
    unsigned char* block = nullptr;
    ~Resources() {
        std::free(block);
        std::fclose(file);
    }
};

unsigned char* Read(const char* path, int* width, int* height) {
    FILE* file = std::fopen(path, "rb");
    if (!file) return nullptr;
    std::setvbuf(file, nullptr, _IONBF, 0);  // Source does the buffering
    Resources res{file};
    Source src(file);
    if (!src.Open()) return nullptr;

    const std::size_t got = src.Fill(kHeaderBytes);
    const unsigned char* header = src.Data();
    if (got < 2 || header[0] != 'B' || header[1] != 'M') return nullptr;
    if (got < kHeaderBytes) return nullptr;
    // File header: file size (2), reserved (6), reserved (8), pixel data offset (10).
    const std::uint32_t dataOffset = U32(header + 10);
    // Information header from byte 14: its size, then the fields of the 40-byte
    // header that every later version begins with.
    const std::uint32_t infoHeaderSize = U32(header + 14);
    const std::int32_t w = I32(header + 18);
    const std::int32_t h = I32(header + 22);
    const std::uint16_t bitsPerPixel = U16(header + 28);
    const std::uint32_t compression = U32(header + 30);
    std::uint32_t coloursUsed = U32(header + 46);
    src.Consume(kHeaderBytes);

    if (infoHeaderSize < kMinInfoHeaderBytes) return nullptr;  // the 12-byte OS/2 header and junk
    if (compression != 0) return nullptr;
    const bool indexed = bitsPerPixel == 1 || bitsPerPixel == 4 || bitsPerPixel == 8;
    if (!indexed && bitsPerPixel != 24) return nullptr;  // 16, 32 and other depths
    if (w <= 0 || h == 0) return nullptr;
    const bool topDown = h < 0;  // rows stored top row first
    const std::uint64_t rows = topDown ? static_cast<std::uint64_t>(-static_cast<std::int64_t>(h))
                                       : static_cast<std::uint64_t>(h);
    const std::uint64_t columns = static_cast<std::uint64_t>(w);
    if (rows * columns * 3 > kMaxBlockBytes) return nullptr;

    // The palette: entries of blue, green, red, reserved, right after the whole
    // information header. Indices the file's palette does not cover give
    // black, so no index reads outside the table.
    unsigned char palette[256][3] = {};
    std::uint64_t counter = kHeaderBytes;
    if (indexed) {
        const std::uint64_t rest = infoHeaderSize - kMinInfoHeaderBytes;
        counter += rest;
        if (counter > dataOffset || src.Skip(rest) != rest) return nullptr;
        const std::uint32_t tableSize = 1u << bitsPerPixel;
        if (coloursUsed == 0) coloursUsed = tableSize;
        counter += 4 * static_cast<std::uint64_t>(coloursUsed);
        if (counter > dataOffset) return nullptr;
        const std::uint32_t kept = coloursUsed < tableSize ? coloursUsed : tableSize;
        if (src.Fill(4 * kept) < 4 * kept) return nullptr;
        const unsigned char* entries = src.Data();
        for (std::uint32_t i = 0; i < kept; ++i) {
            palette[i][0] = entries[4 * i + 2];
            palette[i][1] = entries[4 * i + 1];
            palette[i][2] = entries[4 * i];
        }
        src.Consume(4 * kept);
        // Entries past the last reachable index are read and dropped.
        const std::uint64_t unused = 4 * static_cast<std::uint64_t>(coloursUsed - kept);
        if (src.Skip(unused) != unused) return nullptr;
    } else if (counter > dataOffset) {
        return nullptr;
    }
    src.Skip(dataOffset - counter);  // up to the pixel data; running past the end is harmless

    const std::size_t rowCount = static_cast<std::size_t>(rows);
    const std::size_t columnCount = static_cast<std::size_t>(columns);
    res.block = static_cast<unsigned char*>(std::calloc(rowCount, columnCount * 3));
    if (!res.block) return nullptr;
    const bool ok = indexed ? ReadRowsIndexed(src, res.block, columnCount, rowCount, bitsPerPixel,
                                              palette, topDown)
                            : ReadRows24(src, res.block, columnCount, rowCount, topDown);
    if (!ok) return nullptr;

    *width = w;
    *height = static_cast<int>(rows);
    unsigned char* block = res.block;
    res.block = nullptr;
    return block;
}

}  // namespace

unsigned char* ReadBmp(const char* path, int* width, int* height) {
    *width = *height = 0;
    if (!path) return nullptr;
    return Read(path, width, height);
}

}  // namespace selvora
