// The file readers behind CImage. Each returns a malloc'd pixel block of
// height rows of width * 3 bytes (R, G, B, bottom row first) and reports the
// size, or returns null and reports 0 x 0. Nothing is ever printed.
#pragma once

namespace selvora {

unsigned char* ReadBmp(const char* path, int* width, int* height);
unsigned char* ReadTif(const char* path, int* width, int* height);

}  // namespace selvora
