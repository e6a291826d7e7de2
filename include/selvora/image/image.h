/// \file
/// CImage: a raster image loaded from a BMP or TIFF file into one block of
/// 24-bit pixels.
#pragma once

#include <cstdint>

#include "selvora/export.h"

/// CImage::GetType of an empty image.
constexpr int OV_IMAGE_NONE = 0;
/// CImage::GetType of an image read from a BMP file.
constexpr int OV_IMAGE_BMP = 2;
/// CImage::GetType of an image read from a TIFF file.
constexpr int OV_IMAGE_TIFF = 3;

/// A raster image loaded from a BMP or TIFF file into one block of 24-bit pixels.
///
/// The pixel block holds `height` rows of `width` * 3 bytes, R, G, B per pixel,
/// no row padding, the bottom row of the picture first. The block belongs to
/// the image until CleanUp or destruction. Copies share the block, which is
/// freed when the last image holding it is cleaned up.
class SELVORA_API CImage {
  public:
    /// An empty image: type OV_IMAGE_NONE, 0 x 0, no block.
    CImage();
    CImage(const CImage& other);  ///< shares the block
    /// CleanUp().
    ~CImage();
    CImage& operator=(const CImage& other);  ///< member-wise: the block is shared, not copied

    /// Frees the block (once no other image shares it) and empties the image.
    void CleanUp();

    /// Empties the image, then reads the file chosen by the path's last three
    /// characters, in any case: "BMP" or "TIF" ("x.tiff" and "x.jpg" are
    /// refused). 1 on success, 0 on failure (the image stays empty). Nothing
    /// is printed.
    int Load(const char* path);
    /// Reads a BMP file: uncompressed 1, 4, 8 and 24-bit files. Empties the
    /// image first; 1 on success, 0 on failure (the image stays empty).
    int LoadBmp(const char* path);
    /// Reads a classic (not Big) TIFF file: 8-bit, 3-sample, contiguous files.
    /// Empties the image first; 1 on success, 0 on failure (the image stays empty).
    int LoadTif(const char* path);
    /// JPEG is not supported: always 0, and the image is left as it was.
    int LoadJpg(const char* path);

    int GetWidth() { return width; }    ///< Width in pixels; 0 when empty.
    int GetHeight() { return height; }  ///< Height in pixels; 0 when empty.
    /// The pixel block, owned by the image; null when empty.
    void* GetBitsPtr() { return bits; }
    int GetType() { return type; }  ///< OV_IMAGE_NONE, OV_IMAGE_BMP or OV_IMAGE_TIFF

  private:
    int Store(unsigned char* block, int w, int h, int loadedType);

    std::int32_t type;
    std::int32_t width;
    std::int32_t height;
    void* bits;
};
