// selvora image: loads a picture with CImage::Load and writes it as a PPM.
#include <selvora/selvora.h>

#include <cctype>
#include <cstdio>
#include <cstring>

#include "commands.h"

namespace selvora_tool {

namespace {

const char* TypeName(int type) {
    switch (type) {
        case OV_IMAGE_BMP:
            return "BMP";
        case OV_IMAGE_TIFF:
            return "TIFF";
        default:
            return "none";
    }
}

// Binary PPM, rows top first: the block holds the bottom row first.
bool WritePpm(const std::string& path, CImage& image) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) return false;
    const size_t width = size_t(image.GetWidth()), height = size_t(image.GetHeight());
    const size_t row = width * 3;
    const auto* bits = static_cast<const unsigned char*>(image.GetBitsPtr());
    bool ok = std::fprintf(file, "P6\n%zu %zu\n255\n", width, height) > 0;
    for (size_t r = height; ok && r-- > 0;) {
        ok = std::fwrite(bits + r * row, 1, row, file) == row;
    }
    return std::fclose(file) == 0 && ok;
}

bool EndsWithNoCase(const std::string& text, const char* suffix) {
    const size_t n = std::strlen(suffix);
    if (text.size() < n) return false;
    const char* tail = text.c_str() + text.size() - n;
    for (size_t i = 0; i < n; ++i) {
        if (std::tolower(static_cast<unsigned char>(tail[i])) !=
            std::tolower(static_cast<unsigned char>(suffix[i])))
            return false;
    }
    return true;
}

}  // namespace

int RunImage(const std::string& path, const std::string& reader, const std::string& ppmPath) {
    CImage image;
    int loaded = 0;
    if (reader == "bmp") {
        loaded = image.LoadBmp(path.c_str());
    } else if (reader == "tif") {
        loaded = image.LoadTif(path.c_str());
    } else {
        loaded = image.Load(path.c_str());
        // Load picks the reader by the name's last three characters.
        if (!loaded && EndsWithNoCase(path, ".tiff")) {
            return Fail(path + ": not loaded: CImage::Load reads names ending in bmp or tif; " +
                        "for a .tiff name choose the reader with --reader tif");
        }
    }
    if (!loaded) {
        return Fail(path +
                    ": not loaded (uncompressed 1, 4, 8 and 24-bit BMP files and the classic "
                    "TIFF files libtiff can read whole load)");
    }
    std::printf("%s: %d x %d, %s (type %d)\n", path.c_str(), image.GetWidth(), image.GetHeight(),
                TypeName(image.GetType()), image.GetType());
    if (!ppmPath.empty()) {
        if (!WritePpm(ppmPath, image)) return Fail("cannot write " + ppmPath);
        std::printf("written: %s\n", ppmPath.c_str());
    }
    return 0;
}

}  // namespace selvora_tool
