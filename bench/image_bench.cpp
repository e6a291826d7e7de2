// Loading images with CImage against the usual ways of reading the same file:
// a 4096 x 4096 24-bit BMP against stb_image's stbi_load, an uncompressed
// 4096 x 4096 RGB TIFF against a bare libtiff scanline loop, and the same
// picture in separate planes (which goes through libtiff's RGBA conversion)
// against libtiff's whole-image RGBA reading. Both files are
// written at start-up into a temporary directory and removed at exit. Each
// way is checked once against the generated pixels before it is timed.
#include <benchmark/benchmark.h>
#include <tiffio.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "selvora/image/image.h"

#define STB_IMAGE_IMPLEMENTATION
#include <stb/stb_image.h>

namespace {

constexpr int kSide = 4096;
constexpr std::size_t kRowBytes = std::size_t{kSide} * 3;

// The picture, top row y = 0: random-looking, deterministic R, G, B per pixel.
void PixelAt(int x, int y, unsigned char* rgb) {
    std::uint32_t h =
        static_cast<std::uint32_t>(x) * 0x9E3779B1u ^ static_cast<std::uint32_t>(y) * 0x85EBCA77u;
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    h ^= h >> 12;
    rgb[0] = static_cast<unsigned char>(h);
    rgb[1] = static_cast<unsigned char>(h >> 8);
    rgb[2] = static_cast<unsigned char>(h >> 16);
}

// One picture row as R, G, B bytes.
void PictureRow(int y, unsigned char* row) {
    for (int x = 0; x < kSide; ++x) PixelAt(x, y, row + 3 * x);
}

void Put16(unsigned char* p, std::uint32_t v) {
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}

void Put32(unsigned char* p, std::uint32_t v) {
    Put16(p, v);
    Put16(p + 2, v >> 16);
}

// Bottom-up 24-bit BMP, 40-byte information header. Rows of 4096 * 3 bytes
// need no padding.
bool WriteBmp(const std::string& path) {
    unsigned char header[54] = {'B', 'M'};
    const std::uint32_t dataBytes = static_cast<std::uint32_t>(kRowBytes * kSide);
    Put32(header + 2, 54 + dataBytes);  // file size
    Put32(header + 10, 54);             // pixel data offset
    Put32(header + 14, 40);             // information header size
    Put32(header + 18, kSide);          // width
    Put32(header + 22, kSide);          // height: positive, bottom row first
    Put16(header + 26, 1);              // planes
    Put16(header + 28, 24);             // bits per pixel
    Put32(header + 34, dataBytes);      // image size; compression and the rest stay 0
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    bool ok = std::fwrite(header, sizeof header, 1, f) == 1;
    std::vector<unsigned char> row(kRowBytes);
    for (int y = kSide - 1; ok && y >= 0; --y) {
        PictureRow(y, row.data());
        for (std::size_t i = 0; i < kRowBytes; i += 3) std::swap(row[i], row[i + 2]);  // B, G, R
        ok = std::fwrite(row.data(), kRowBytes, 1, f) == 1;
    }
    return std::fclose(f) == 0 && ok;
}

// Uncompressed RGB, 8 bits per sample, 8 rows per strip, the samples
// interleaved or in separate planes.
bool WriteTif(const std::string& path, std::uint16_t planar) {
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    if (!tif) return false;
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(kSide));
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(kSide));
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, planar);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tif, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 8);
    std::vector<unsigned char> row(kRowBytes), plane(kSide);
    bool ok = true;
    if (planar == PLANARCONFIG_CONTIG) {
        for (int y = 0; ok && y < kSide; ++y) {
            PictureRow(y, row.data());
            ok = TIFFWriteScanline(tif, row.data(), static_cast<std::uint32_t>(y), 0) == 1;
        }
    }
    for (std::uint16_t c = 0; planar == PLANARCONFIG_SEPARATE && c < 3; ++c) {
        for (int y = 0; ok && y < kSide; ++y) {
            PictureRow(y, row.data());
            for (int x = 0; x < kSide; ++x) plane[x] = row[3 * x + c];
            ok = TIFFWriteScanline(tif, plane.data(), static_cast<std::uint32_t>(y), c) == 1;
        }
    }
    TIFFClose(tif);
    return ok;
}

// The two files, written on first use into a fresh temporary directory.
struct Files {
    std::string dir, bmp, tif, planes;
    bool ok = false;

    Files() {
        // A folder of its own in the system's temporary folder.
        std::error_code error;
        const std::filesystem::path base = std::filesystem::temp_directory_path(error);
        if (error) return;
        std::random_device random;
        for (int attempt = 0; attempt < 100 && dir.empty(); ++attempt) {
            const std::filesystem::path candidate =
                base / ("image_bench-" + std::to_string(random()));
            if (std::filesystem::create_directory(candidate, error)) dir = candidate.string();
        }
        if (dir.empty()) return;
        bmp = dir + "/picture.bmp";
        tif = dir + "/picture.tif";
        planes = dir + "/planes.tif";
        ok = WriteBmp(bmp) && WriteTif(tif, PLANARCONFIG_CONTIG) &&
             WriteTif(planes, PLANARCONFIG_SEPARATE);
    }
    ~Files() {
        if (dir.empty()) return;
        std::remove(bmp.c_str());
        std::remove(tif.c_str());
        std::remove(planes.c_str());
        std::error_code ignored;
        std::filesystem::remove(dir, ignored);
    }
};

const Files& TheFiles() {
    static const Files files;
    return files;
}

// True when `block` holds the picture: 4096 rows of R, G, B, the bottom row
// first when `bottomFirst`, else the top row first.
bool IsPicture(const unsigned char* block, bool bottomFirst) {
    std::vector<unsigned char> row(kRowBytes);
    for (int i = 0; i < kSide; ++i) {
        PictureRow(bottomFirst ? kSide - 1 - i : i, row.data());
        if (std::memcmp(block + i * kRowBytes, row.data(), kRowBytes) != 0) return false;
    }
    return true;
}

bool FilesReady(benchmark::State& state) {
    if (TheFiles().ok) return true;
    state.SkipWithError("could not write the test images");
    return false;
}

// CImage::Load of `path`; false (and the benchmark skipped) unless it gives a
// 4096 x 4096 block, and, when `checkPixels`, the picture bottom row first.
bool LoadWithCImage(benchmark::State& state, const std::string& path, bool checkPixels) {
    CImage image;
    if (image.Load(path.c_str()) != 1) {
        state.SkipWithError("CImage::Load failed");
        return false;
    }
    const auto* bits = static_cast<const unsigned char*>(image.GetBitsPtr());
    if (image.GetWidth() != kSide || image.GetHeight() != kSide || !bits) {
        state.SkipWithError("CImage::Load gave the wrong size");
        return false;
    }
    if (checkPixels && !IsPicture(bits, true)) {
        state.SkipWithError("CImage::Load gave the wrong pixels");
        return false;
    }
    return true;
}

// One way of loading a file into a 4096 x 4096 block, as the LoadWith...
// functions: false (and the benchmark skipped) when it failed.
using Loader = bool (*)(benchmark::State& state, const std::string& path, bool checkPixels);

// Times `load` on `path`, once checked to give the picture.
void LoadLoop(benchmark::State& state, Loader load, const std::string& path) {
    if (!FilesReady(state) || !load(state, path, true)) return;
    for (auto _ : state) {
        if (!load(state, path, false)) break;
    }
}

void BM_CImage_LoadBmp(benchmark::State& state) { LoadLoop(state, LoadWithCImage, TheFiles().bmp); }
BENCHMARK(BM_CImage_LoadBmp)->Unit(benchmark::kMillisecond)->UseRealTime();

// stbi_load delivers the picture top row first, as R, G, B.
bool LoadWithStb(benchmark::State& state, const std::string& path, bool checkPixels) {
    int w = 0, h = 0, channels = 0;
    unsigned char* pixels = stbi_load(path.c_str(), &w, &h, &channels, 3);
    if (!pixels) {
        state.SkipWithError("stbi_load failed");
        return false;
    }
    const bool sizeOk = w == kSide && h == kSide;
    const bool pixelsOk = !checkPixels || (sizeOk && IsPicture(pixels, false));
    stbi_image_free(pixels);
    if (!sizeOk || !pixelsOk) {
        state.SkipWithError(sizeOk ? "stbi_load gave the wrong pixels"
                                   : "stbi_load gave the wrong size");
        return false;
    }
    return true;
}

void BM_Stb_LoadBmp(benchmark::State& state) { LoadLoop(state, LoadWithStb, TheFiles().bmp); }
BENCHMARK(BM_Stb_LoadBmp)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_CImage_LoadTif(benchmark::State& state) { LoadLoop(state, LoadWithCImage, TheFiles().tif); }

// libtiff's handle of `path`; null (and the benchmark skipped) when it cannot
// be opened.
TIFF* OpenTiff(benchmark::State& state, const std::string& path) {
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    if (!tif) state.SkipWithError("TIFFOpen failed");
    return tif;
}

// The end of a libtiff load into `block` (from malloc) through `buffer`
// (from _TIFFmalloc): `ok` when it worked. Frees the buffer and closes the
// file, then checks the pixels when asked for (the picture bottom row first)
// and frees the block; false, with the benchmark stopped on `failure`,
// unless all went well.
bool FinishTiffLoad(benchmark::State& state, TIFF* tif, void* buffer, unsigned char* block, bool ok,
                    bool checkPixels, const char* failure) {
    _TIFFfree(buffer);
    TIFFClose(tif);
    ok = ok && (!checkPixels || IsPicture(block, true));
    benchmark::DoNotOptimize(block);
    std::free(block);
    if (!ok) state.SkipWithError(failure);
    return ok;
}
BENCHMARK(BM_CImage_LoadTif)->Unit(benchmark::kMillisecond)->UseRealTime();

// The bare libtiff way to the same block: one scanline buffer, each row read
// and copied to block row height - 1 - r.
bool LoadWithLibTiff(benchmark::State& state, const std::string& path, bool checkPixels) {
    TIFF* tif = OpenTiff(state, path);
    if (!tif) return false;
    std::uint32_t w = 0, h = 0;
    std::uint16_t bitsPerSample = 0, samplesPerPixel = 0, planar = 0;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &w);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &h);
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &bitsPerSample);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &samplesPerPixel);
    TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &planar);
    if (w != kSide || h != kSide || bitsPerSample != 8 || samplesPerPixel != 3 ||
        planar != PLANARCONFIG_CONTIG) {
        TIFFClose(tif);
        state.SkipWithError("the TIFF file is not the one written");
        return false;
    }
    const std::size_t rowBytes = std::size_t{w} * 3;
    auto* block = static_cast<unsigned char*>(std::malloc(rowBytes * h));
    auto* scanline = static_cast<unsigned char*>(_TIFFmalloc(TIFFScanlineSize(tif)));
    bool ok = block && scanline;
    for (std::uint32_t r = 0; ok && r < h; ++r) {
        ok = TIFFReadScanline(tif, scanline, r, 0) == 1;
        std::memcpy(block + (h - 1 - r) * rowBytes, scanline, rowBytes);
    }
    return FinishTiffLoad(state, tif, scanline, block, ok, checkPixels,
                          "the libtiff scanline loop failed");
}

void BM_LibTiff_ScanlineLoop(benchmark::State& state) {
    LoadLoop(state, LoadWithLibTiff, TheFiles().tif);
}
BENCHMARK(BM_LibTiff_ScanlineLoop)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_CImage_LoadTifConverted(benchmark::State& state) {
    LoadLoop(state, LoadWithCImage, TheFiles().planes);
}
BENCHMARK(BM_CImage_LoadTifConverted)->Unit(benchmark::kMillisecond)->UseRealTime();

// libtiff's own way to R, G, B for any picture: the whole image through
// TIFFReadRGBAImageOriented, bottom row first, then packed to three bytes.
bool LoadWithRgba(benchmark::State& state, const std::string& path, bool checkPixels) {
    TIFF* tif = OpenTiff(state, path);
    if (!tif) return false;
    const std::size_t pixels = std::size_t{kSide} * kSide;
    auto* raster = static_cast<std::uint32_t*>(_TIFFmalloc(tmsize_t(pixels * 4)));
    auto* block = static_cast<unsigned char*>(std::malloc(pixels * 3));
    bool ok = raster && block &&
              TIFFReadRGBAImageOriented(tif, kSide, kSide, raster, ORIENTATION_BOTLEFT, 1) == 1;
    for (std::size_t i = 0; ok && i < pixels; ++i) {
        block[3 * i] = static_cast<unsigned char>(TIFFGetR(raster[i]));
        block[3 * i + 1] = static_cast<unsigned char>(TIFFGetG(raster[i]));
        block[3 * i + 2] = static_cast<unsigned char>(TIFFGetB(raster[i]));
    }
    return FinishTiffLoad(state, tif, raster, block, ok, checkPixels,
                          "libtiff's RGBA reading failed");
}

void BM_LibTiff_ReadRgbaImage(benchmark::State& state) {
    LoadLoop(state, LoadWithRgba, TheFiles().planes);
}
BENCHMARK(BM_LibTiff_ReadRgbaImage)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
