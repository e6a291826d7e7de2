// The BMP reader under libFuzzer: every input is read as input.bmp.
#include <cstddef>
#include <cstdint>

#include "image_fuzzer.h"
#include "selvora/image/image.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    selvora_fuzz::PrepareImageFile("input.bmp");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return selvora_fuzz::LoadImageInput(data, size, OV_IMAGE_BMP);
}
