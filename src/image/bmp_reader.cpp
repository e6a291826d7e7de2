#include "image/readers.h"

namespace selvora {

unsigned char* ReadBmp(const char*, int* width, int* height) {
    *width = *height = 0;
    return nullptr;  // in progress
}

}  // namespace selvora
