// TIFF reader: classic (non-Big) TIFF files of 8-bit, three-sample,
// contiguous pixels, read strip-wise through libtiff's scanline interface.
#include <tiffio.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "image/readers.h"

namespace selvora {

namespace {

// libtiff reports go to handlers set on the handle only: the text is dropped
// and the report counts as handled, so libtiff never falls back to its
// process-wide handlers and nothing is printed.
int DropReport(TIFF*, void*, const char*, const char*, va_list) { return 1; }

// The first four bytes must be "II" 42 0 or "MM" 0 42: classic TIFF in
// either byte order. BigTIFF (43) and everything else is refused here,
// before libtiff sees the file.
bool IsClassicTiff(const char* path) {
    std::FILE* file = std::fopen(path, "rb");
    if (!file) return false;
    unsigned char header[4];
    const bool complete = std::fread(header, 1, sizeof header, file) == sizeof header;
    std::fclose(file);
    if (!complete) return false;
    static const unsigned char kLittle[4] = {'I', 'I', 42, 0};
    static const unsigned char kBig[4] = {'M', 'M', 0, 42};
    return std::memcmp(header, kLittle, 4) == 0 || std::memcmp(header, kBig, 4) == 0;
}

TIFF* OpenQuietly(const char* path) {
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (!options) return nullptr;
    TIFFOpenOptionsSetErrorHandlerExtR(options, DropReport, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options, DropReport, nullptr);
    TIFF* tif = TIFFOpenExt(path, "r", options);
    TIFFOpenOptionsFree(options);  // the handle keeps its own copy of the handlers
    return tif;
}

// Reads the first image of an open file into a new block, or returns null.
unsigned char* ReadPixels(TIFF* tif, int* width, int* height) {
    std::uint32_t rows = 0, columns = 0;
    if (!TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &rows) ||
        !TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &columns))
        return nullptr;
    // The block's size must stay within a signed 32-bit count.
    if (rows == 0 || columns == 0) return nullptr;
    const std::uint64_t blockSize = std::uint64_t{rows} * columns * 3;
    if (blockSize > 0x7FFFFFFFu) return nullptr;

    // Only 8-bit samples, three per pixel, interleaved, are copied as they
    // stand; anything else would need conversion the block has no room for.
    std::uint16_t bitsPerSample = 0, samplesPerPixel = 0, planar = 0;
    if (!TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &bitsPerSample) ||
        !TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &samplesPerPixel) ||
        !TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &planar))
        return nullptr;
    if (bitsPerSample != 8 || samplesPerPixel != 3 || planar != PLANARCONFIG_CONTIG) return nullptr;
    // The scanline interface reads strips only; tiled files are refused.
    if (TIFFIsTiled(tif)) return nullptr;

    const std::size_t rowBytes = std::size_t{columns} * 3;
    const tmsize_t scanlineSize = TIFFScanlineSize(tif);
    // A smaller scanline (subsampled YCbCr, for one) would be overrun by the copy.
    if (scanlineSize <= 0 || static_cast<std::uint64_t>(scanlineSize) < rowBytes) return nullptr;

    unsigned char* scanline = static_cast<unsigned char*>(_TIFFmalloc(scanlineSize));
    if (!scanline) return nullptr;
    unsigned char* block = static_cast<unsigned char*>(std::malloc(blockSize));
    if (!block) {
        _TIFFfree(scanline);
        return nullptr;
    }
    // File rows come top row first; the block holds the bottom row first.
    for (std::uint32_t row = 0; row < rows; ++row) {
        if (TIFFReadScanline(tif, scanline, row, 0) < 0) {
            // A row that does not decode would leave undefined pixels.
            std::free(block);
            _TIFFfree(scanline);
            return nullptr;
        }
        std::memcpy(block + std::size_t{rows - 1 - row} * rowBytes, scanline, rowBytes);
    }
    _TIFFfree(scanline);
    *width = static_cast<int>(columns);
    *height = static_cast<int>(rows);
    return block;
}

}  // namespace

unsigned char* ReadTif(const char* path, int* width, int* height) {
    *width = *height = 0;
    if (!path || !IsClassicTiff(path)) return nullptr;
    TIFF* tif = OpenQuietly(path);
    if (!tif) return nullptr;
    unsigned char* block = ReadPixels(tif, width, height);
    TIFFClose(tif);
    return block;
}

}  // namespace selvora
