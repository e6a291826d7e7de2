// CImage: a raster image loaded from a BMP or TIFF file into one block of
// 24-bit pixels.
#pragma once

#include <cstdint>

#include "selvora/export.h"

// The pixel block holds `height` rows of `width` * 3 bytes, R, G, B per pixel,
// no row padding, the bottom row of the picture first. The block belongs to
// the image until CleanUp or destruction. Copies share the block, which is
// freed when the last image holding it is cleaned up.
class SELVORA_API CImage {
  public:
    CImage();
    CImage(const CImage& other);  // shares the block
    ~CImage();
    CImage& operator=(const CImage& other);  // member-wise: the block is shared, not copied

    void CleanUp();  // frees the block and empties the image

    // Empties the image, then reads the file chosen by the path's last three
    // characters, in any case: "BMP" or "TIF" ("x.tiff" and "x.jpg" are
    // refused). 1 on success, 0 on failure (the image stays empty). Nothing
    // is printed.
    int Load(const char* path);
    int LoadBmp(const char* path);  // uncompressed 1, 4, 8 and 24-bit files
    int LoadTif(const char* path);  // 8-bit, 3-sample, contiguous files
    int LoadJpg(const char* path);  // not supported: always 0

    int GetWidth() { return width; }
    int GetHeight() { return height; }
    void* GetBitsPtr() { return bits; }
    int GetType() { return type; }  // 0 nothing, 2 BMP, 3 TIFF

  private:
    int Store(unsigned char* block, int w, int h, int loadedType);

    std::int32_t type;
    std::int32_t width;
    std::int32_t height;
    void* bits;
};
