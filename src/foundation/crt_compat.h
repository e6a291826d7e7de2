// The C runtime's case helpers: the library's own byte-wise, C-locale versions
// on platforms that lack them, the C runtime's where it has them (Windows).
#pragma once

#if defined(_WIN32)
#include <string.h>

namespace selvora {
using ::_stricmp;
using ::_strlwr;
using ::_strupr;
}  // namespace selvora
#else
namespace selvora {

// Compares as lowercase unsigned bytes; returns their difference at the first mismatch.
int _stricmp(const char* a, const char* b);
char* _strupr(char* s);
char* _strlwr(char* s);

}  // namespace selvora
#endif
