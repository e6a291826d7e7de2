#include "image/readers.h"

namespace selvora {

unsigned char* ReadTif(const char*, int* width, int* height) {
    *width = *height = 0;
    return nullptr;  // in progress
}

}  // namespace selvora
