// TIFF reader: classic (non-Big) TIFF files. 8-bit RGB files stored
// interleaved in strips are copied scanline by scanline, byte for byte; every
// other picture libtiff can read completely is converted to R, G, B by
// libtiff's RGBA interface (grey, bilevel, palette, CMYK, Lab, YCbCr, 16-bit,
// alpha, tiles, separate planes).
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

// The block's size must stay within a signed 32-bit count.
bool BlockFits(std::uint32_t columns, std::uint32_t rows) {
    return columns > 0 && rows > 0 && std::uint64_t{rows} * columns * 3 <= 0x7FFFFFFFu;
}

// 8-bit R, G, B samples stored interleaved in strips: the scanlines hold the
// block's bytes as they stand, and are copied unchanged.
bool IsPlainRgb(TIFF* tif) {
    std::uint16_t bitsPerSample = 0, samplesPerPixel = 0, planar = 0, photometric = 0;
    return TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &bitsPerSample) &&
           TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &samplesPerPixel) &&
           TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &planar) &&
           TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &photometric) && bitsPerSample == 8 &&
           samplesPerPixel == 3 && planar == PLANARCONFIG_CONTIG &&
           photometric == PHOTOMETRIC_RGB && !TIFFIsTiled(tif);
}

// Scanline by scanline; every row must decode.
bool ReadScanlines(TIFF* tif, unsigned char* block, std::uint32_t columns, std::uint32_t rows) {
    const std::size_t rowBytes = std::size_t{columns} * 3;
    const tmsize_t scanlineSize = TIFFScanlineSize(tif);
    if (scanlineSize <= 0 || static_cast<std::uint64_t>(scanlineSize) < rowBytes) return false;
    unsigned char* scanline = static_cast<unsigned char*>(_TIFFmalloc(scanlineSize));
    if (!scanline) return false;
    bool ok = true;
    // File rows come top row first; the block holds the bottom row first.
    for (std::uint32_t row = 0; ok && row < rows; ++row) {
        ok = TIFFReadScanline(tif, scanline, row, 0) >= 0;
        if (ok) std::memcpy(block + std::size_t{rows - 1 - row} * rowBytes, scanline, rowBytes);
    }
    _TIFFfree(scanline);
    return ok;
}

// libtiff multiplies the colour of unassociated alpha into the pixels it
// converts. The alpha is dropped here and the colour wanted as stored, so the
// handle's directory calls such alpha associated, which libtiff passes through.
void KeepColourAsStored(TIFF* tif) {
    std::uint16_t count = 0;
    std::uint16_t* kinds = nullptr;
    if (!TIFFGetField(tif, TIFFTAG_EXTRASAMPLES, &count, &kinds) || count == 0) return;
    auto* kept = static_cast<std::uint16_t*>(_TIFFmalloc(count * tmsize_t{sizeof *kinds}));
    if (!kept) return;
    bool changed = false;
    for (std::uint16_t i = 0; i < count; ++i) {
        kept[i] = kinds[i] == EXTRASAMPLE_UNASSALPHA ? EXTRASAMPLE_ASSOCALPHA : kinds[i];
        changed = changed || kept[i] != kinds[i];
    }
    if (changed) TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, count, kept);
    _TIFFfree(kept);
}

// Rows of the file the RGBA interface decodes at once, so that its raster
// stays small: whole strips or tiles making about kBandPixels pixels. A strip
// or row of tiles beyond kMaxBandPixels is taken in parts of whole 16-row
// groups (a multiple of any YCbCr subsampling), each part decoding the strip
// again from its start: slower, but bounded in memory.
std::uint32_t BandRows(TIFF* tif, std::uint32_t columns, std::uint32_t rows) {
    constexpr std::uint64_t kBandPixels = 1 << 20;
    constexpr std::uint64_t kMaxBandPixels = 1 << 26;
    std::uint32_t unit = 0;
    if (TIFFIsTiled(tif))
        TIFFGetField(tif, TIFFTAG_TILELENGTH, &unit);
    else
        TIFFGetFieldDefaulted(tif, TIFFTAG_ROWSPERSTRIP, &unit);
    if (unit == 0 || unit > rows) unit = rows;
    std::uint64_t band;
    if (std::uint64_t{columns} * unit > kMaxBandPixels) {
        band = kMaxBandPixels / columns / 16 * 16;
        if (band < 16) band = 16;
    } else {
        const std::uint64_t units = kBandPixels / (std::uint64_t{columns} * unit);
        band = (units > 1 ? units : 1) * unit;
    }
    return band < rows ? static_cast<std::uint32_t>(band) : rows;
}

// Any other picture libtiff can read, converted to R, G, B by its RGBA
// interface, band by band.
bool ReadConverted(TIFF* tif, unsigned char* block, std::uint32_t columns, std::uint32_t rows) {
    char message[1024];
    if (!TIFFRGBAImageOK(tif, message)) return false;
    KeepColourAsStored(tif);
    TIFFRGBAImage image;
    if (!TIFFRGBAImageBegin(&image, tif, 1, message)) return false;
    image.req_orientation = ORIENTATION_BOTLEFT;
    // A picture stored top row first comes out of each band upside down.
    const std::uint16_t o = image.orientation;
    const bool flipped = o == ORIENTATION_TOPLEFT || o == ORIENTATION_TOPRIGHT ||
                         o == ORIENTATION_LEFTTOP || o == ORIENTATION_RIGHTTOP;

    const std::uint32_t bandRows = BandRows(tif, columns, rows);
    std::uint32_t* raster = static_cast<std::uint32_t*>(
        _TIFFmalloc(static_cast<tmsize_t>(std::uint64_t{columns} * bandRows * 4)));
    bool ok = raster != nullptr;
    for (std::uint32_t first = 0; ok && first < rows; first += bandRows) {
        const std::uint32_t count = rows - first < bandRows ? rows - first : bandRows;
        image.row_offset = static_cast<int>(first);
        image.col_offset = 0;
        ok = TIFFRGBAImageGet(&image, raster, columns, count) != 0;
        if (!ok) break;
        // The band's rows, bottom row first, and where they go in the block.
        const std::uint32_t to = flipped ? rows - first - count : first;
        unsigned char* out = block + std::size_t{to} * columns * 3;
        for (std::size_t i = 0, n = std::size_t{columns} * count; i < n; ++i) {
            *out++ = static_cast<unsigned char>(TIFFGetR(raster[i]));
            *out++ = static_cast<unsigned char>(TIFFGetG(raster[i]));
            *out++ = static_cast<unsigned char>(TIFFGetB(raster[i]));
        }
    }
    _TIFFfree(raster);
    TIFFRGBAImageEnd(&image);
    return ok;
}

// Reads the first image of an open file into a new block, or returns null.
unsigned char* ReadPixels(TIFF* tif, int* width, int* height) {
    std::uint32_t rows = 0, columns = 0;
    if (!TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &rows) ||
        !TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &columns) || !BlockFits(columns, rows))
        return nullptr;
    unsigned char* block =
        static_cast<unsigned char*>(std::malloc(std::size_t{rows} * columns * 3));
    if (!block) return nullptr;
    const bool ok = IsPlainRgb(tif) ? ReadScanlines(tif, block, columns, rows)
                                    : ReadConverted(tif, block, columns, rows);
    if (!ok) {
        std::free(block);
        return nullptr;
    }
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
