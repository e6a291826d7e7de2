#include "selvora/image/image.h"

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unordered_map>

#include "foundation/crt_compat.h"
#include "image/readers.h"

namespace {

// Copies of an image share its pixel block. The block is freed when the last
// image holding it lets go; only blocks held by more than one image are
// counted here.
std::mutex g_sharedMutex;
std::unordered_map<void*, int>& SharedOwners() {
    static std::unordered_map<void*, int> owners;  // block -> images beyond the first
    return owners;
}

void Share(void* block) {
    if (!block) return;
    std::lock_guard<std::mutex> lock(g_sharedMutex);
    ++SharedOwners()[block];
}

void Release(void* block) {
    if (!block) return;
    {
        std::lock_guard<std::mutex> lock(g_sharedMutex);
        auto it = SharedOwners().find(block);
        if (it != SharedOwners().end()) {
            if (--it->second == 0) SharedOwners().erase(it);
            return;  // another image still holds it
        }
    }
    std::free(block);
}

}  // namespace

CImage::CImage() : type(OV_IMAGE_NONE), width(0), height(0), bits(nullptr) {}

CImage::CImage(const CImage& other)
    : type(other.type), width(other.width), height(other.height), bits(other.bits) {
    if (type != OV_IMAGE_NONE) Share(bits);
}

CImage::~CImage() { CleanUp(); }

CImage& CImage::operator=(const CImage& other) {
    if (this == &other) return *this;
    if (other.type != OV_IMAGE_NONE) Share(other.bits);
    CleanUp();
    type = other.type;
    width = other.width;
    height = other.height;
    bits = other.bits;
    return *this;
}

void CImage::CleanUp() {
    if (type != OV_IMAGE_NONE && bits) Release(bits);
    bits = nullptr;
    type = OV_IMAGE_NONE;
    width = height = 0;
}

// Deliberately only the last three characters choose the reader, in any case:
// "x.tiff" and "x.jpg" are refused, "xbmp" is read as BMP.
int CImage::Load(const char* path) {
    CleanUp();
    if (!path) return 0;
    const std::size_t length = std::strlen(path);
    if (length < 3) return 0;
    const char* extension = path + length - 3;
    if (selvora::_stricmp(extension, "BMP") == 0) return LoadBmp(path);
    if (selvora::_stricmp(extension, "TIF") == 0) return LoadTif(path);
    return 0;
}

int CImage::Store(unsigned char* block, int w, int h, int loadedType) {
    CleanUp();  // a block held before is released, not leaked, whatever the outcome
    if (!block) return 0;
    bits = block;
    width = w;
    height = h;
    type = loadedType;
    return 1;
}

int CImage::LoadBmp(const char* path) {
    int w = 0, h = 0;
    unsigned char* block = path ? selvora::ReadBmp(path, &w, &h) : nullptr;
    return Store(block, w, h, OV_IMAGE_BMP);
}

int CImage::LoadTif(const char* path) {
    int w = 0, h = 0;
    unsigned char* block = path ? selvora::ReadTif(path, &w, &h) : nullptr;
    return Store(block, w, h, OV_IMAGE_TIFF);
}

int CImage::LoadJpg(const char*) { return 0; }
