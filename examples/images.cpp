// images: loads a BMP or TIFF file and prints its size and two corner pixels.
//
//   images picture.bmp
//
// CImage::Load picks the reader by the last three characters of the path, in
// any case: "bmp" or "tif". Only those three count, so "photo.tiff" is
// refused; rename it to "photo.tif" (or call LoadTif directly).
#include <cstddef>
#include <cstdio>

#include <selvora/selvora.h>

// Prints the R, G, B bytes of the pixel at column x of block row r.
static void PrintPixel(const char* label, const unsigned char* block, int width, int r, int x) {
    const unsigned char* p = block + (static_cast<std::size_t>(r) * width + x) * 3;
    std::printf("%s: %d %d %d\n", label, p[0], p[1], p[2]);
}

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: images <file.bmp | file.tif>\n");
        return 1;
    }

    // Load returns 1 on success and 0 on failure (missing file, unsupported
    // format, ...); it prints nothing itself, so the message is ours to give.
    CImage image;
    if (!image.Load(argv[1])) {
        std::fprintf(stderr, "images: cannot load %s\n", argv[1]);
        return 1;
    }
    const int width = image.GetWidth(), height = image.GetHeight();
    if (width <= 0 || height <= 0) {
        std::fprintf(stderr, "images: %s holds no pixels\n", argv[1]);
        return 1;
    }
    std::printf("width: %d\nheight: %d\n", width, height);
    std::printf("type: %d\n", image.GetType());  // OV_IMAGE_BMP (2) or OV_IMAGE_TIFF (3)

    // Whatever the file format, the pixels come as one block of height rows
    // of width * 3 bytes (R, G, B; no padding), and the bottom row of the
    // picture comes first, so the top row is the last one in the block.
    // The block belongs to the image and is freed with it.
    const unsigned char* block = static_cast<const unsigned char*>(image.GetBitsPtr());
    PrintPixel("top-left", block, width, height - 1, 0);
    PrintPixel("bottom-left", block, width, 0, 0);
    return 0;
}
