#include "foundation/crt_compat.h"

namespace selvora {
namespace {

unsigned char ToLower(unsigned char c) { return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c; }
unsigned char ToUpper(unsigned char c) { return c >= 'a' && c <= 'z' ? c - ('a' - 'A') : c; }

}  // namespace

int _stricmp(const char* a, const char* b) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(a);
    const unsigned char* q = reinterpret_cast<const unsigned char*>(b);
    int f, l;
    do {
        f = ToLower(*p++);
        l = ToLower(*q++);
    } while (f != 0 && f == l);
    return f - l;
}

char* _strupr(char* s) {
    for (char* p = s; *p; ++p) *p = static_cast<char>(ToUpper(static_cast<unsigned char>(*p)));
    return s;
}

char* _strlwr(char* s) {
    for (char* p = s; *p; ++p) *p = static_cast<char>(ToLower(static_cast<unsigned char>(*p)));
    return s;
}

}  // namespace selvora
