// The image readers' fuzzing harness (image_fuzzer.cpp).
#pragma once

#include <cstddef>
#include <cstdint>

namespace selvora_fuzz {

// Creates the scratch file of that name ("input.bmp", "input.tif"), which
// picks the reader; once per process, removed at exit.
void PrepareImageFile(const char* name);

// Loads data as the scratch file; aborts when the load reports another type
// than loadedType or hands out a block smaller than it says. Returns 0.
int LoadImageInput(const std::uint8_t* data, std::size_t size, int loadedType);

}  // namespace selvora_fuzz
